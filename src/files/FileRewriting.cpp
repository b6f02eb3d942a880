#include "files/FileRewriting.hpp"

#include <cerrno>
#include <cstddef>
#include <memory>
#include <utility>

namespace RegexClass {
namespace {

using platform::Error;
using platform::File;
using platform::FileServices;
using platform::TemporaryFile;
using platform::TemporaryNaming;

using RE = RegularExpression;
using Problem = RE::FileChangeProblem;

constexpr std::size_t kTailBlock = 4096;
constexpr std::size_t kCopyBlock = 65536;

/// What ended a replay.
struct Fault {
  enum What { kNone, kRead, kWrite, kChanged } what = kNone;
  Error error = 0;
  const PendingChange* change = nullptr;  // for kChanged
};

/// The fault as an error number, for where its kind doesn't matter.
Error ErrorOf(const Fault& fault) {
  return fault.what == Fault::kNone || fault.error != 0 ? fault.error : EIO;
}

/// Copies `size` bytes through a buffer of that size. A file that ends before them is a fault.
Fault CopyExactly(File& from, File& to, std::size_t size) {
  const auto buffer = std::make_unique<char[]>(size);
  std::size_t count = 0;
  if (const Error error = from.Read(buffer.get(), size, count); error != 0 || count < size) {
    return {Fault::kRead, error};
  }
  if (const Error error = to.Write(buffer.get(), size)) return {Fault::kWrite, error};
  return {};
}

/// Copies what is left of `from`, in blocks.
Fault CopyRest(File& from, File& to, std::size_t block) {
  const auto buffer = std::make_unique<char[]>(block);
  while (true) {
    std::size_t count = 0;
    if (const Error error = from.Read(buffer.get(), block, count)) return {Fault::kRead, error};
    if (count == 0) return {};
    if (const Error error = to.Write(buffer.get(), count)) return {Fault::kWrite, error};
  }
}

/// Copies `from` to `to` with the `before` of each change, which must be there, replaced by its
/// `after`. The stretches between the matches are equally long in the old content and the new, so
/// that with the roles changed this makes the old content of the new.
Fault Replay(File& from, File& to, const PendingChanges& changes,
             std::string PendingChange::*before, std::string PendingChange::*after) {
  std::uint64_t consumed = 0;
  for (const PendingChange& change : changes) {
    const std::uint64_t gap = change.position - consumed;
    if (const Fault fault = CopyExactly(from, to, static_cast<std::size_t>(gap)); fault.what) {
      return fault;
    }
    std::string found((change.*before).size(), '\0');
    std::size_t count = 0;
    if (const Error error = from.Read(found.data(), found.size(), count);
        error != 0 || count < found.size()) {
      return {Fault::kRead, error};
    }
    if (found != change.*before) return {Fault::kChanged, 0, &change};
    if (const Error error = to.Write((change.*after).data(), (change.*after).size())) {
      return {Fault::kWrite, error};
    }
    consumed = change.position + change.matched.size();
  }
  return CopyRest(from, to, kTailBlock);
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

Error OpenTemporaryFile(FileServices& services, TemporaryFile& temporary) {
  Error error = 0;
  for (const TemporaryNaming naming :
       {TemporaryNaming::kSystemDirectory, TemporaryNaming::kUserDirectory,
        TemporaryNaming::kApplicationDirectory}) {
    error = services.CreateTemporary(naming, temporary);
    if (error == 0) return 0;
  }
  temporary.name = "NoName";
  return error;
}

/// Saves a copy of `file`. What is left of one that broke off is removed, unless a file of that
/// name was there before.
Error SaveCopy(FileServices& services, const std::string& file, const std::string& copyName) {
  std::unique_ptr<File> source;
  if (const Error error = services.OpenForReading(file, source)) return error;
  std::unique_ptr<File> copy;
  bool created = false;
  Error error = services.OpenForCopyOf(file, copyName, copy, created);
  std::uint64_t size = 0;
  if (error == 0) error = source->Size(size);
  if (error == 0) error = copy->Reserve(size);
  if (error == 0) error = ErrorOf(CopyRest(*source, *copy, kCopyBlock));
  if (error == 0) error = copy->Truncate(copy->Offset());
  if (error == 0) error = copy->Close();
  if (error != 0 && created) services.Remove(copyName);
  return error;
}

/// Writes a content of `size` bytes, which `write` hands to the file it is given, over `file`.
/// `touched` tells whether a failure came after that had begun.
template <class Write>
Error Overwrite(FileServices& services, const std::string& file, std::uint64_t size, bool& touched,
                Write write) {
  touched = false;
  std::unique_ptr<File> target;
  if (const Error error = services.OpenForOverwriting(file, target)) return error;
  if (const Error error = target->Reserve(size)) return error;
  touched = true;
  Error error = write(*target);
  if (error == 0) error = target->Truncate(target->Offset());
  if (error == 0) error = target->Close();
  return error;
}

/// Copies the temporary file over `file`. When the writing breaks off, makes the old content of
/// the new again and writes that.
Error ReplaceFile(FileServices& services, const std::string& file, File& temporary,
                  const PendingChanges& changes) {
  std::uint64_t size = 0;
  if (const Error error = temporary.Size(size)) return error;
  if (const Error error = temporary.Rewind()) return error;
  bool touched = false;
  const Error error = Overwrite(services, file, size, touched, [&](File& target) {
    return ErrorOf(CopyRest(temporary, target, kCopyBlock));
  });
  if (error != 0 && touched && temporary.Rewind() == 0) {
    Overwrite(services, file, 0, touched, [&](File& target) {
      return ErrorOf(
          Replay(temporary, target, changes, &PendingChange::replacement, &PendingChange::matched));
    });
  }
  return error;
}

}  // namespace

std::string SavedCopyName(const std::string& file, const std::string& extension) {
  return file.substr(0, file.rfind('.')) + '.' + extension;
}

unsigned int ApplyPendingChanges(FileServices& services, const std::string& file,
                                 const PendingChanges& changes, const std::string& saveExtension,
                                 std::vector<Problem>& problems) {
  if (file.empty()) return 0;
  const auto fail = [&problems](RE::ChangeProblemKind kind, const std::string& name, Error error) {
    Problem problem;
    problem.file = name;
    problem.kind = kind;
    problem.lastError = static_cast<std::uint32_t>(error);
    problems.push_back(std::move(problem));
  };

  TemporaryFile temporary;
  {
    std::unique_ptr<File> source;
    if (const Error error = services.OpenForReading(file, source)) {
      fail(RE::OpenFileFailed, file, error);
      return 0;
    }
    if (const Error error = OpenTemporaryFile(services, temporary)) {
      fail(RE::CreateTemporaryFailed, temporary.name, error);
      return 0;
    }
    const Fault fault = Replay(*source, *temporary.file, changes, &PendingChange::matched,
                               &PendingChange::replacement);
    if (fault.what != Fault::kNone) {
      problems.push_back(ProblemOf(fault, file, *source, temporary));
      return 0;
    }
  }  // others may write to the file again; from here on only its attributes and bytes are set

  if (!saveExtension.empty()) {
    const std::string copyName = SavedCopyName(file, saveExtension);
    if (const Error error = SaveCopy(services, file, copyName)) {
      fail(RE::SaveCopyFailed, copyName, error);
      return 0;
    }
  }

  platform::Attributes attributes;
  Error attributesError = services.GetAttributes(file, attributes);
  const Error replaceError = ReplaceFile(services, file, *temporary.file, changes);
  // Also an attempt that failed may have cost the file its set-user bit.
  if (attributesError == 0) attributesError = services.SetAttributes(file, attributes);
  if (replaceError != 0) {
    fail(RE::ReplaceFileFailed, file, replaceError);
    return 0;
  }
  if (attributesError != 0) fail(RE::RestoreAttributesFailed, file, attributesError);
  return static_cast<unsigned int>(changes.size());
}

}  // namespace RegexClass
