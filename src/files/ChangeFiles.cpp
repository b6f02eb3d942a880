// SPDX-License-Identifier: BSL-1.0
// ChangeFiles: records the matches that the walker reports, and has each file rewritten when the
// walker has come to the next. RewriteFile: has one file rewritten.

#include <algorithm>
#include <functional>
#include <locale>
#include <string>
#include <utility>

#include "files/FileOperations.hpp"
#include "files/FileRewriting.hpp"
#include "rewriting/Format.hpp"

namespace RegexClass {
namespace {

using Replacement = std::function<std::string(const std::string& matched)>;

/// What makes the replacement of a match, by an expression that stays as it is whatever a
/// notification sets. Like the walker's, it takes classes and case from the global locale.
Replacement MakeReplacement(ExpressionState& state) {
  const ModelState& current = state.CurrentModel();
  if (!current.record.accepted) engine::Throw(current.record.error, current.record.message);
  engine::Error error;
  const auto own = current.model->MakeCompiler()->Compile(
      state.settings.expression, SyntaxWord(state.settings.expressionOptions), error);
  if (own == nullptr) engine::Throw(error, error.message);
  const engine::SearchSettings settings = state.SearchSettings(false);
  return [&state, own, settings](const std::string& matched) {
    std::string replacement;
    own->Merge(matched, settings, {state.settings.formatString.c_str()}, replacement);
    return replacement;
  };
}

bool HasSaveExtension(const std::string& file, const std::string& extension) {
  const std::size_t dot = file.rfind('.');
  if (extension.empty() || dot == std::string::npos) return false;
  const std::locale locale;
  const auto same = [&locale](char a, char b) {
    return std::tolower(a, locale) == std::tolower(b, locale);
  };
  return std::equal(file.begin() + static_cast<std::ptrdiff_t>(dot) + 1, file.end(),
                    extension.begin(), extension.end(), same);
}

/// One run of ChangeFiles on an object.
class ChangeRun {
 public:
  explicit ChangeRun(ExpressionState& state)
      : state_(state),
        rewriter_(state.settings, state.rewriting, state.changeFilesErrors),
        replacement_(MakeReplacement(state)) {}

  /// Walks, and returns the number of changes in files that have been rewritten.
  unsigned int Walk(FileWalker& walker) {
    walker.SetReportProblem([this](const FileWalker::Problem& problem) { PassOn(problem); });
    try {
      const BusyScope busy(state_);
      walker.Grep([this](const FileWalker& found) { return Collect(found); });
    } catch (...) {
      rewriter_.Flush();  // those before the file in hand
      throw;
    }
    if (!rewriter_.GivenUp()) FinishFile();
    rewriter_.Flush();
    return rewriter_.ChangesApplied();
  }

 private:
  bool Collect(const FileWalker& found) {
    if (rewriter_.GivenUp()) return false;
    if (found.File().name != fileInWork_.name) BeginFile(found.File());
    if (passedOver_ || !RaiseChangingFiles(found)) return false;

    PendingChange change = {found.Position(), found.Text(), std::string()};
    change.replacement = replacement_(change.matched);
    pendingChanges_.push_back(std::move(change));
    return true;
  }

  /// Makes a file the one in work, and decides once whether it is passed over.
  void BeginFile(const platform::FoundFile& file) {
    FinishFile();
    fileInWork_ = file;
    passedOver_ = HasSaveExtension(file.name, state_.settings.saveExtension);
    if (passedOver_) return;
    platform::FileToRewrite told;
    const platform::Error error = platform::RewriteTarget::Look(file, told);
    passedOver_ = error != 0 || !told.writable;
    if (error != 0) Fail(file.name, static_cast<std::uint32_t>(error));
  }

  /// A problem of the walk. The file in work ends with it: either it has been left, or the rest of
  /// it couldn't be searched, and then it stays as it is.
  void PassOn(const FileWalker::Problem& problem) {
    if (rewriter_.GivenUp()) return;
    if (problem.file == fileInWork_.name) pendingChanges_.clear();
    FinishFile();
    Fail(problem.file, problem.code);
  }

  void Fail(const std::string& file, std::uint32_t error) {
    if (rewriter_.GivenUp()) return;
    FileRewriter::Problem problem;
    problem.file = file;
    problem.kind = RegularExpression::OpenFileFailed;
    problem.lastError = error;
    rewriter_.Tell(problem);
  }

  /// Rewrites the file in work. Afterwards there is none, whatever came of it.
  void FinishFile() {
    const platform::FoundFile file = std::exchange(fileInWork_, platform::FoundFile());
    rewriter_.Change(file, std::exchange(pendingChanges_, PendingChanges()));
  }

  bool RaiseChangingFiles(const FileWalker& found) {
    const FileContentScope content(state_, found.Content());
    bool change = true;
    if (const auto subscriber = state_.notifications.onChangingFiles.Current()) {
      subscriber(state_.owner, found.File().name, found.SubMatches(), found.Line(), change);
    }
    return change;
  }

  ExpressionState& state_;
  FileRewriter rewriter_;
  const Replacement replacement_;
  platform::FoundFile fileInWork_;  // whose matches are being recorded; without a name for none
  bool passedOver_ = false;         // it isn't to be rewritten
  PendingChanges pendingChanges_;
};

}  // namespace

unsigned int ChangeFiles(ExpressionState& state) {
  if (!state.changingFiles) state.changeFilesErrors.clear();
  auto walker = WalkerFor(state, platform::Links::kRefused);
  if (!walker) return 0;
  ChangeRun run(state);
  const ScopedValue<bool> changing(state.changingFiles, true, state.changingFiles);
  return run.Walk(*walker);
}

bool RewriteFile(ExpressionState& state, const std::string& name, const std::string& source,
                 std::size_t named) {
  if (!state.changingFiles) state.changeFilesErrors.clear();
  FileRewriter rewriter(state.settings, state.rewriting, state.changeFilesErrors);
  platform::FoundFile file = Locate(name.c_str(), named);
  const auto fail = [&](RegularExpression::ChangeProblemKind kind, platform::Error error) {
    FileRewriter::Problem problem;
    problem.file = file.name;
    problem.kind = kind;
    problem.lastError = static_cast<std::uint32_t>(error);
    rewriter.Tell(problem);
  };
  platform::FileToRewrite told;
  if (const platform::Error error = platform::RewriteTarget::Look(file, told)) {
    fail(RegularExpression::OpenFileFailed, error);
  } else if (!told.writable) {
    fail(RegularExpression::ReplaceFileFailed, platform::kErrorDenied);
  } else {
    file.identity = told.identity;
    rewriter.Replace(file, Locate(source.c_str(), named));
  }
  rewriter.Flush();
  return rewriter.ChangesApplied() != 0;
}

bool RegularExpression::RewriteFile(const std::string& name, const std::string& source,
                                    std::size_t named) {
  return RegexClass::RewriteFile(*state, name, source, named);
}
unsigned int RegularExpression::ChangeFiles() { return RegexClass::ChangeFiles(*state); }
const std::vector<RegularExpression::FileChangeProblem>* RegularExpression::GetChangeFilesErrors()
    const {
  return state->changeFilesErrors.empty() ? nullptr : &state->changeFilesErrors;
}

}  // namespace RegexClass
