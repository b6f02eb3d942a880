// SPDX-License-Identifier: BSL-1.0
#include "files/FileRewriting.hpp"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

namespace RegexClass {
namespace {

using platform::Error;
using platform::File;
using platform::FileServices;
using platform::FoundFile;
using platform::NewFile;
using platform::Target;
using platform::TemporaryFile;
using platform::TemporaryNaming;

using RE = RegularExpression;
using Problem = RE::FileChangeProblem;

constexpr std::size_t kBlock = 65536;

/// What ended a replay.
struct Fault {
  enum What { kNone, kRead, kWrite, kChanged } what = kNone;
  Error error = 0;
  const PendingChange* change = nullptr;  // for kChanged
};

/// The fault as an error number, for where its kind doesn't matter.
Error ErrorOf(const Fault& fault) {
  return fault.what == Fault::kNone || fault.error != 0 ? fault.error : platform::kErrorBroken;
}

/// Reads a file in blocks, from its start.
class Reader {
 public:
  explicit Reader(File& file) : file_(file), block_(kBlock) {}

  /// Hands the next `size` bytes to `take`, in pieces. A file that ends before them is a fault.
  template <class Take>
  Fault Read(std::uint64_t size, Take take) {
    while (size > 0) {
      if (const Fault fault = Fill(); fault.what != Fault::kNone) return fault;
      if (begin_ == end_) return {Fault::kRead};
      const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(size, end_ - begin_));
      if (const Fault fault = take(block_.data() + begin_, count); fault.what) return fault;
      begin_ += count;
      size -= count;
    }
    return {};
  }

  /// The same for all that is left.
  template <class Take>
  Fault ReadRest(Take take) {
    while (true) {
      if (const Fault fault = Fill(); fault.what != Fault::kNone) return fault;
      if (begin_ == end_) return {};
      if (const Fault fault = take(block_.data() + begin_, end_ - begin_); fault.what) return fault;
      begin_ = end_;
    }
  }

 private:
  Fault Fill() {
    if (begin_ != end_) return {};
    begin_ = end_ = 0;
    const Error error = file_.Read(block_.data(), block_.size(), end_);
    return {error != 0 ? Fault::kRead : Fault::kNone, error};
  }

  File& file_;
  std::vector<char> block_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
};

/// Writes a file in blocks.
class Writer {
 public:
  explicit Writer(File& file) : file_(file) { block_.reserve(kBlock); }

  Fault Write(const char* bytes, std::size_t size) {
    size_ += size;
    if (block_.size() + size > kBlock) {
      if (const Fault fault = Flush(); fault.what != Fault::kNone) return fault;
    }
    if (size >= kBlock) return Hand(bytes, size);
    block_.append(bytes, size);
    return {};
  }

  Fault Flush() {
    const Fault fault = Hand(block_.data(), block_.size());
    block_.clear();
    return fault;
  }

  /// How much has been written, what waits in the block included.
  std::uint64_t Size() const { return size_; }

 private:
  Fault Hand(const char* bytes, std::size_t size) {
    if (size == 0) return {};
    const Error error = file_.Write(bytes, size);
    return {error != 0 ? Fault::kWrite : Fault::kNone, error};
  }

  File& file_;
  std::string block_;
  std::uint64_t size_ = 0;
};

/// Copies all of `from`, from where it stands, to `to`.
Fault CopyAll(File& from, Writer& to) {
  const Fault fault = Reader(from).ReadRest(
      [&to](const char* bytes, std::size_t size) { return to.Write(bytes, size); });
  return fault.what != Fault::kNone ? fault : to.Flush();
}

/// Copies `from` to `to` with the `before` of each change, which must be there, replaced by its
/// `after`. The stretches between the matches are equally long in the old content and the new, so
/// that with the roles changed this makes the old content of the new.
Fault Replay(File& from, Writer& to, const PendingChanges& changes,
             std::string PendingChange::*before, std::string PendingChange::*after) {
  Reader reader(from);
  const auto copy = [&to](const char* bytes, std::size_t size) { return to.Write(bytes, size); };
  std::uint64_t consumed = 0;
  for (const PendingChange& change : changes) {
    if (const Fault fault = reader.Read(change.position - consumed, copy); fault.what) return fault;
    const char* expected = (change.*before).data();
    const auto compare = [&](const char* bytes, std::size_t size) {
      const bool same = std::equal(bytes, bytes + size, expected);
      expected += size;
      return same ? Fault() : Fault{Fault::kChanged, 0, &change};
    };
    if (const Fault fault = reader.Read((change.*before).size(), compare); fault.what) return fault;
    const std::string& text = change.*after;
    if (const Fault fault = to.Write(text.data(), text.size()); fault.what) return fault;
    consumed = change.position + change.matched.size();
  }
  if (const Fault fault = reader.ReadRest(copy); fault.what != Fault::kNone) return fault;
  return to.Flush();
}

/// The system measures files in more bits than a problem's position has.
std::uint32_t PositionOf(std::uint64_t offset) { return static_cast<std::uint32_t>(offset); }

/// The problem of a replay of the file `name`.
Problem ProblemOf(const Fault& fault, const std::string& name, File& source,
                  TemporaryFile& temporary) {
  Problem problem;
  problem.lastError = static_cast<std::uint32_t>(fault.error);
  if (fault.what == Fault::kWrite) {
    problem.kind = RE::WriteTemporaryFailed;
    problem.file = temporary.name;
    problem.position = PositionOf(temporary.file->Offset());
    return problem;
  }
  problem.file = name;
  if (fault.what == Fault::kRead) {
    problem.kind = RE::ReadFileFailed;
    problem.position = PositionOf(source.Offset());
  } else {
    problem.kind = RE::TextChanged;
    problem.position = PositionOf(fault.change->position);
    problem.text = fault.change->matched;
  }
  return problem;
}

bool IsOutOfSpace(const Fault& fault) {
  return fault.what == Fault::kWrite && platform::IsOutOfSpace(fault.error);
}

/// Replays the target into a temporary file, by the first way to one that has the space. False when
/// none has come about, and then `problem` tells why.
bool MakeNewContent(FileServices& services, const std::string& name, Target& target,
                    const PendingChanges& changes, TemporaryFile& temporary, Problem& problem) {
  bool replayed = false;
  Error error = 0;
  for (const TemporaryNaming naming :
       {TemporaryNaming::kFirst, TemporaryNaming::kSecond, TemporaryNaming::kThird}) {
    error = services.CreateTemporary(naming, temporary);
    if (error != 0) continue;
    if (replayed && (error = target.Content().Rewind()) != 0) break;
    replayed = true;
    Writer writer(*temporary.file);
    const Fault fault = Replay(target.Content(), writer, changes, &PendingChange::matched,
                               &PendingChange::replacement);
    if (fault.what == Fault::kNone) return true;
    problem = ProblemOf(fault, name, target.Content(), temporary);
    if (!IsOutOfSpace(fault)) return false;
  }
  if (!replayed) {
    problem.kind = RE::CreateTemporaryFailed;
    problem.file = "NoName";
    problem.lastError = static_cast<std::uint32_t>(error);
  }
  return false;
}

/// Makes a whole file of the content that `from` has, and gives it its name.
Error WriteNewFile(File& from, NewFile& file) {
  std::uint64_t size = 0;
  Error error = from.Rewind();
  if (error == 0) error = from.Size(size);
  if (error == 0) error = file.Content().Reserve(size);
  Writer writer(file.Content());
  if (error == 0) error = ErrorOf(CopyAll(from, writer));
  return error == 0 ? file.Publish() : error;
}

Error SaveCopy(Target& target, const std::string& copyName) {
  std::unique_ptr<NewFile> copy;
  const Error error = target.CreateCopy(copyName, copy);
  return error == 0 ? WriteNewFile(target.Content(), *copy) : error;
}

/// Writes a content of `size` bytes, which `write` hands to the writer it is given, over the
/// target's. `touched` tells whether a failure came after that had begun.
template <class Write>
Error Overwrite(File& target, std::uint64_t size, bool& touched, Write write) {
  touched = false;
  if (const Error error = target.Reserve(size)) return error;
  if (const Error error = target.Rewind()) return error;
  touched = true;
  Writer writer(target);
  const Error error = ErrorOf(write(writer));
  return error == 0 ? target.Truncate(writer.Size()) : error;
}

/// Copies the temporary file over the target. When the writing breaks off, makes the old content of
/// the new again and writes that.
Error OverwriteFile(File& target, File& temporary, const PendingChanges& changes) {
  std::uint64_t size = 0;
  if (const Error error = temporary.Size(size)) return error;
  if (const Error error = temporary.Rewind()) return error;
  bool touched = false;
  const Error error =
      Overwrite(target, size, touched, [&](Writer& writer) { return CopyAll(temporary, writer); });
  if (error != 0 && touched && temporary.Rewind() == 0) {
    Overwrite(target, 0, touched, [&](Writer& writer) {
      return Replay(temporary, writer, changes, &PendingChange::replacement,
                    &PendingChange::matched);
    });
  }
  return error;
}

/// Puts a new file with the content of the temporary one in the place of the target. Where that
/// can't be done, or can't keep what belongs to the target, copies the content over the target's,
/// which may cost attributes; `restored` tells whether they could be put back.
Error ReplaceFile(Target& target, File& temporary, const PendingChanges& changes, Error& restored) {
  restored = 0;
  if (const Error error = target.Unwritable()) return error;
  std::unique_ptr<NewFile> replacement;
  Error error = target.CreateReplacement(replacement);
  if (error == 0) error = WriteNewFile(temporary, *replacement);
  if (error == 0 || error == platform::kErrorStale) return error;
  replacement.reset();  // and the space that it took
  error = OverwriteFile(target.Content(), temporary, changes);
  // Also an attempt that failed may have cost the file its set-user bit.
  restored = target.RestoreAttributes();
  return error;
}

}  // namespace

std::string SavedCopyName(const std::string& file, const std::string& extension) {
  return file.substr(0, file.rfind('.')) + '.' + extension;
}

unsigned int ApplyPendingChanges(FileServices& services, const FoundFile& file,
                                 const PendingChanges& changes, const std::string& saveExtension,
                                 std::vector<Problem>& problems) {
  if (file.name.empty()) return 0;
  const auto fail = [&problems](RE::ChangeProblemKind kind, const std::string& name, Error error) {
    Problem problem;
    problem.file = name;
    problem.kind = kind;
    problem.lastError = static_cast<std::uint32_t>(error);
    problems.push_back(std::move(problem));
  };

  std::unique_ptr<Target> target;  // open and locked from here to the end
  if (const Error error = services.Open(file, target)) {
    fail(RE::OpenFileFailed, file.name, error);
    return 0;
  }
  TemporaryFile temporary;
  Problem problem;
  if (!MakeNewContent(services, file.name, *target, changes, temporary, problem)) {
    problems.push_back(std::move(problem));
    return 0;
  }
  if (!saveExtension.empty()) {
    const std::string copyName = SavedCopyName(file.name, saveExtension);
    if (const Error error = SaveCopy(*target, copyName)) {
      fail(RE::SaveCopyFailed, copyName, error);
      return 0;
    }
  }
  Error restored = 0;
  if (const Error error = ReplaceFile(*target, *temporary.file, changes, restored)) {
    fail(RE::ReplaceFileFailed, file.name, error);
    return 0;
  }
  if (restored != 0) fail(RE::RestoreAttributesFailed, file.name, restored);
  return static_cast<unsigned int>(changes.size());
}

}  // namespace RegexClass
