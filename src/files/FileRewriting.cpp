// SPDX-License-Identifier: BSL-1.0
#include "files/FileRewriting.hpp"

#include <algorithm>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "platform/FileName.hpp"

namespace RegexClass {
namespace {

using platform::Error;
using platform::File;
using platform::FoundFile;
using platform::NewFile;
using platform::Present;
using platform::RewriteTarget;
using platform::TemporaryFile;

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

/// The problem of making a new content of `source`, the file `name`.
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

}  // namespace

/// What a file is to have in place of what it has.
class FileRewriter::Content {
 public:
  virtual ~Content() = default;

  /// Opens what it is made of, for a file that is open. `problem` tells what fails.
  virtual bool Open(RewriteTarget& target, Problem& problem) = 0;
  /// Writes it. `old` is the file, at its start.
  virtual Fault Make(File& old, Writer& to) = 0;
  /// The file that Make() reads, and its name.
  virtual File& Source(File& old) = 0;
  virtual const std::string& SourceName() const = 0;

  /// Sees to it that the old content can be made when it is gone.
  virtual Error KeepOld(File& old) = 0;
  /// Writes the old content. `made` has the new one, and is at its start.
  virtual Fault MakeOld(File& made, Writer& to) = 0;

  virtual std::size_t Changes() const = 0;
};

namespace {

/// The old content with matches replaced.
class ChangedContent final : public FileRewriter::Content {
 public:
  ChangedContent(std::string name, PendingChanges changes)
      : name_(std::move(name)), changes_(std::move(changes)) {}

  bool Open(RewriteTarget&, Problem&) override { return true; }
  Fault Make(File& old, Writer& to) override {
    return Replay(old, to, changes_, &PendingChange::matched, &PendingChange::replacement);
  }
  File& Source(File& old) override { return old; }
  const std::string& SourceName() const override { return name_; }
  Error KeepOld(File&) override { return 0; }
  Fault MakeOld(File& made, Writer& to) override {
    return Replay(made, to, changes_, &PendingChange::replacement, &PendingChange::matched);
  }
  std::size_t Changes() const override { return changes_.size(); }

 private:
  const std::string name_;
  const PendingChanges changes_;
};

/// The content of another file.
class OtherContent final : public FileRewriter::Content {
 public:
  explicit OtherContent(FoundFile source) : source_(std::move(source)) {}

  bool Open(RewriteTarget& target, Problem& problem) override {
    const Error error = target.OpenSource(source_, file_);
    if (error == 0) return true;
    problem.file = source_.name;
    problem.kind = RE::OpenFileFailed;
    problem.lastError = static_cast<std::uint32_t>(error);
    return false;
  }
  Fault Make(File&, Writer& to) override {
    const Error error = file_->Rewind();
    return error != 0 ? Fault{Fault::kRead, error} : CopyAll(*file_, to);
  }
  File& Source(File&) override { return *file_; }
  const std::string& SourceName() const override { return source_.name; }
  Error KeepOld(File& old) override {
    Error error = 0;
    for (const TemporaryFile::Way create : TemporaryFile::kWays) {
      error = create(old_);
      if (error != 0) continue;
      if ((error = old.Rewind()) != 0) return error;
      Writer writer(*old_.file);
      const Fault fault = CopyAll(old, writer);
      error = ErrorOf(fault);
      if (!IsOutOfSpace(fault)) break;
    }
    return error;
  }
  Fault MakeOld(File&, Writer& to) override {
    const Error error = old_.file->Rewind();
    return error != 0 ? Fault{Fault::kRead, error} : CopyAll(*old_.file, to);
  }
  std::size_t Changes() const override { return 1; }

 private:
  const FoundFile source_;
  std::unique_ptr<File> file_;
  TemporaryFile old_;
};

/// Makes the new content in a temporary file, by the first way to one that has the space. False
/// when none has come about, and then `problem` tells why.
bool MakeNewContent(FileRewriter::Content& content, RewriteTarget& target, TemporaryFile& temporary,
                    Problem& problem) {
  bool made = false;
  Error error = 0;
  for (const TemporaryFile::Way create : TemporaryFile::kWays) {
    error = create(temporary);
    if (error != 0) continue;
    File& source = content.Source(target.Content());
    if (source.HasHoles()) temporary.file->LeaveHoles();
    if ((error = target.Content().Rewind()) != 0) break;
    made = true;
    Writer writer(*temporary.file);
    const Fault fault = content.Make(target.Content(), writer);
    if (fault.what == Fault::kNone) return true;
    problem = ProblemOf(fault, content.SourceName(), source, temporary);
    if (!IsOutOfSpace(fault)) return false;
  }
  if (!made) {
    problem.kind = RE::CreateTemporaryFailed;
    problem.file = "NoName";
    problem.lastError = static_cast<std::uint32_t>(error);
  }
  return false;
}

/// Writes to a new file the content that `from` has. What is reserved beforehand wouldn't be
/// brought to the device by a rename, where a file system does that; and writing tells as well when
/// there is no space.
Error Fill(NewFile& file, File& from) {
  if (from.HasHoles()) file.Content().LeaveHoles();
  if (const Error error = from.Rewind()) return error;
  Writer writer(file.Content());
  return ErrorOf(CopyAll(from, writer));
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

/// Copies the temporary file over the target. When the writing breaks off, makes the old content
/// again and writes that.
Error OverwriteFile(RewriteTarget& target, File& temporary, FileRewriter::Content& content) {
  File& file = target.Content();
  std::uint64_t size = 0;
  if (const Error error = temporary.Size(size)) return error;
  if (const Error error = temporary.Rewind()) return error;
  if (const Error error = target.CheckUnchanged()) return error;
  const bool hasHoles = temporary.HasHoles();
  bool touched = false;
  const Error error =
      Overwrite(file, size, touched, [&](Writer& writer) { return CopyAll(temporary, writer); });
  if (error == 0 && hasHoles) file.DigHolesOf(temporary);
  if (error != 0 && touched && temporary.Rewind() == 0) {
    Overwrite(file, 0, touched, [&](Writer& writer) { return content.MakeOld(temporary, writer); });
  }
  return error;
}

/// Whether the copy to save is there already, with the content of the target: what is left of a run
/// that was ended before it changed the file.
bool IsSaved(RewriteTarget& target, const FoundFile& file, const std::string& copyName) {
  FoundFile present = file;
  present.name = copyName;
  present.directory = file.directory->Above(
      std::max(copyName.find_last_of(platform::Separators()) + 1, platform::RootLength(copyName)));
  std::unique_ptr<File> copy;
  if (present.directory == nullptr || target.OpenSource(present, copy) != 0) return false;
  if (target.Content().Rewind() != 0) return false;
  std::vector<char> one(kBlock);
  std::vector<char> other(kBlock);
  std::size_t size = 0;
  std::size_t otherSize = 0;
  do {
    if (target.Content().Read(one.data(), kBlock, size) != 0) return false;
    if (copy->Read(other.data(), kBlock, otherSize) != 0) return false;
    if (size != otherSize || !std::equal(one.data(), one.data() + size, other.data())) return false;
  } while (size != 0);
  return true;
}

/// A problem of a kind with its file alone. Of an error that is no number of the system's, the kind
/// has its own way to tell.
Problem ProblemWith(RE::ChangeProblemKind kind, const std::string& file, Error error) {
  Problem problem;
  problem.file = file;
  problem.kind = error == platform::kErrorChanged ? RE::OpenFileFailed : kind;
  problem.lastError = error == platform::kErrorChanged ? 0 : static_cast<std::uint32_t>(error);
  return problem;
}

}  // namespace

std::string SavedCopyName(const std::string& file, const std::string& extension) {
  return file.substr(0, file.rfind('.')) + '.' + extension;
}

/// One file's rewriting, ready to be published; or what has failed.
struct FileRewriter::Rewriting {
  explicit Rewriting(FoundFile found) : file(std::move(found)) {}

  FoundFile file;
  std::unique_ptr<Content> content;
  std::unique_ptr<RewriteTarget> target;  // open and locked from here to the end
  TemporaryFile temporary;                // with the new content; may be gone
  std::unique_ptr<NewFile> replacement;   // null when the content is to be written over
  std::unique_ptr<NewFile> copy;          // null when none is to be saved
  std::string copyName;
  bool mayOverwrite = true;  // also when the file has other names
  std::optional<Problem> problem;

  void Fail(RE::ChangeProblemKind kind, const std::string& name, Error error) {
    problem = ProblemWith(kind, name, error);
  }
  /// Whether `error` puts an end to it, rather than to the replacement alone.
  bool IsFatal(Error error) const {
    return error == platform::kErrorStale || error == platform::kErrorChanged ||
           (error == platform::kErrorManyNames && !mayOverwrite);
  }
};

FileRewriter::FileRewriter(const Settings& settings, const RewritingSettings& rewriting,
                           std::vector<Problem>& problems)
    : settings_(settings), rewriting_(rewriting), problems_(problems) {}

FileRewriter::~FileRewriter() = default;

bool FileRewriter::GivenUp() const { return !settings_.continueFiles && !problems_.empty(); }

void FileRewriter::Change(const FoundFile& file, PendingChanges changes) {
  const bool equal = std::all_of(changes.begin(), changes.end(), [](const PendingChange& change) {
    return change.matched == change.replacement;
  });
  if (equal) {  // also when there is none
    changesApplied_ += static_cast<unsigned int>(changes.size());
    return;
  }
  Rewrite(file, std::make_unique<ChangedContent>(file.name, std::move(changes)));
}

void FileRewriter::Replace(const FoundFile& file, const FoundFile& source) {
  Rewrite(file, std::make_unique<OtherContent>(source));
}

void FileRewriter::Rewrite(const FoundFile& file, std::unique_ptr<Content> content) {
  changesInHand_ += content->Changes();
  Rewriting rewriting(file);
  rewriting.content = std::move(content);
  Prepare(rewriting);
  Queue(std::move(rewriting));
}

void FileRewriter::Tell(const Problem& problem) {
  Rewriting failed{FoundFile()};
  failed.problem = problem;
  Queue(std::move(failed));
}

void FileRewriter::Queue(Rewriting rewriting) {
  // Nothing that comes after a problem may be done when it is to end the run, and what is written
  // over can't be taken back.
  const bool alone = !rewriting_.syncTogether || !settings_.continueFiles ||
                     (!rewriting.problem && rewriting.replacement == nullptr);
  std::uint64_t size = 0;
  if (rewriting.temporary.file != nullptr && rewriting.temporary.file->Size(size) == 0) {
    bytesInHand_ += size;
  }
  if (!alone) rewriting.temporary = TemporaryFile();
  queue_.push_back(std::move(rewriting));
  if (alone || queue_.size() >= File::MostTogether() || bytesInHand_ > kMostBytes ||
      changesInHand_ > kMostChanges) {
    Flush();
  }
}

void FileRewriter::Prepare(Rewriting& r) {
  const std::string& name = r.file.name;
  r.target = std::make_unique<RewriteTarget>();
  if (const Error error = r.target->Open(r.file)) {
    return r.Fail(RE::OpenFileFailed, name, error);
  }
  r.mayOverwrite = r.file.links == platform::Links::kMeant || rewriting_.changeHardLinks;
  if (r.target->HasOtherNames() && !r.mayOverwrite) {
    return r.Fail(RE::ReplaceFileFailed, name, platform::kErrorManyNames);
  }
  Problem problem;
  if (!r.content->Open(*r.target, problem) ||
      !MakeNewContent(*r.content, *r.target, r.temporary, problem)) {
    r.problem = std::move(problem);
    return;
  }
  if (const Error error = r.target->Unwritable()) {
    return r.Fail(RE::ReplaceFileFailed, name, error);
  }
  Error error = r.target->CreateReplacement(r.replacement);
  if (error == 0) error = Fill(*r.replacement, *r.temporary.file);
  if (error != 0) r.replacement.reset();  // and the space that it took
  if (r.IsFatal(error)) return r.Fail(RE::ReplaceFileFailed, name, error);
  if (!settings_.saveExtension.empty()) PrepareCopy(r);
}

void FileRewriter::PrepareCopy(Rewriting& r) {
  r.copyName = SavedCopyName(r.file.name, settings_.saveExtension);
  const Present present = rewriting_.keepCopies ? Present::kKept : Present::kReplaced;
  Error error = r.target->CreateCopy(r.copyName, present, r.copy);
  if (error == platform::kErrorExists && rewriting_.keepCopies &&
      IsSaved(*r.target, r.file, r.copyName)) {
    return;
  }
  if (error == 0) error = Fill(*r.copy, r.target->Content());
  if (error != 0) r.Fail(RE::SaveCopyFailed, r.copyName, error);
}

void FileRewriter::Flush() {
  std::vector<Rewriting> queue = std::move(queue_);
  queue_.clear();
  bytesInHand_ = 0;
  changesInHand_ = 0;
  // The copies first: what is on the device of them doesn't depend on what follows.
  std::vector<File*> files;
  for (const auto& member : {&Rewriting::copy, &Rewriting::replacement}) {
    for (Rewriting& r : queue) {
      if (!r.problem && r.*member != nullptr) files.push_back(&(r.*member)->Content());
    }
  }
  std::map<File*, Error> synced;
  if (queue.size() > 1) {
    const std::vector<Error> errors = File::SyncTogether(files);
    for (std::size_t i = 0; i < files.size(); ++i) synced[files[i]] = errors[i];
  } else {
    for (File* const file : files) synced[file] = file->Sync();
  }
  for (Rewriting& next : queue) {
    if (GivenUp()) return;
    Rewriting r = std::move(next);  // closed when it is done
    if (!r.problem) Publish(r, synced);
    if (r.problem) problems_.push_back(std::move(*r.problem));
  }
}

void FileRewriter::Publish(Rewriting& r, const std::map<File*, Error>& synced) {
  const std::string& name = r.file.name;
  const auto sync = [&synced](NewFile& file) { return synced.at(&file.Content()); };
  if (const Error error = r.target->CheckUnchanged()) {
    return r.Fail(RE::OpenFileFailed, name, error);
  }
  Error error = r.replacement != nullptr ? sync(*r.replacement) : 0;
  if (error != 0 && !platform::IsOutOfSpace(error)) {  // the device's
    return r.Fail(RE::ReplaceFileFailed, name, error);
  }
  if (r.copy != nullptr) {
    Error copied = sync(*r.copy);
    if (copied == 0) copied = r.copy->Publish();
    if (copied != 0) return r.Fail(RE::SaveCopyFailed, r.copyName, copied);
  }
  if (r.replacement != nullptr) {
    if (error == 0) error = r.replacement->Publish();
    if (r.IsFatal(error)) return r.Fail(RE::ReplaceFileFailed, name, error);
    r.replacement.reset();
    if (error == 0) {
      changesApplied_ += static_cast<unsigned int>(r.content->Changes());
      return;
    }
  }
  WriteOver(r);
}

void FileRewriter::WriteOver(Rewriting& r) {
  const std::string& name = r.file.name;
  Problem problem;
  if (r.temporary.file == nullptr && !MakeNewContent(*r.content, *r.target, r.temporary, problem)) {
    r.problem = std::move(problem);
    return;
  }
  Error error = r.content->KeepOld(r.target->Content());
  if (error == 0) error = OverwriteFile(*r.target, *r.temporary.file, *r.content);
  // Also an attempt that failed may have cost the file its set-user bit.
  const Error restored = r.target->RestoreAttributes();
  if (error != 0) return r.Fail(RE::ReplaceFileFailed, name, error);
  changesApplied_ += static_cast<unsigned int>(r.content->Changes());
  if (restored != 0) r.Fail(RE::RestoreAttributesFailed, name, restored);
}

}  // namespace RegexClass
