// ChangeFiles: records the matches that the walker reports, and has each file rewritten when the
// walker has come to the next.

#include <algorithm>
#include <functional>
#include <locale>
#include <string>
#include <type_traits>
#include <utility>

#include "files/FileRewriting.hpp"
#include "files/Walk.hpp"
#include "module/ThreadRecord.hpp"

namespace RegexClass {

/// One run of ChangeFiles on an object.
struct ChangeRun {
  std::function<std::string(const std::string& matched)> replacement;
  std::string fileInWork;  // whose matches are being recorded; empty for none
  PendingChanges pendingChanges;
  unsigned int changesApplied = 0;
};

namespace {

/// What makes the replacement of a match, by an expression that stays as it is whatever a
/// notification sets. Like the walker's, it takes classes and case from the global locale.
std::function<std::string(const std::string&)> MakeReplacement(ExpressionState& state) {
  using Replacement = std::function<std::string(const std::string&)>;
  return state.WithModel([&state](const auto& expression, const CompileState& record) {
    if (expression.Failed()) {
      throw boost::regex_error(
          record.message, static_cast<boost::regex_constants::error_type>(expression.ErrorCode()));
    }
    std::decay_t<decltype(expression)> own;
    own.Compile(state.settings.expression, state.EngineSyntaxFlags());
    const auto flags = state.EngineMatchFlags(false) | boost::format_all;
    return Replacement([&state, own, flags](const std::string& matched) {
      std::string replacement;
      own.Merge(matched.data(), matched.data() + matched.size(),
                state.settings.formatString.c_str(), flags, replacement);
      return replacement;
    });
  });
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

/// Rewrites the file in work. Afterwards there is none, whatever came of it.
void FinishFile(ExpressionState& state, ChangeRun& run) {
  const std::string file = std::exchange(run.fileInWork, std::string());
  const PendingChanges changes = std::exchange(run.pendingChanges, PendingChanges());
  run.changesApplied += ApplyPendingChanges(platform::FileServices::System(), file, changes,
                                            state.settings.saveExtension, state.changeFilesErrors);
}

/// Whether a failure has put an end to the run.
bool GivenUp(const ExpressionState& state) {
  return !state.settings.continueFiles && !state.changeFilesErrors.empty();
}

bool RaiseChangingFiles(ExpressionState& state, const std::string& file,
                        const ombrik::RegEx& walker) {
  bool change = true;
  if (const auto subscriber = state.notifications.onChangingFiles.Current()) {
    subscriber(state.owner, file, MarksOf(walker), walker.Line(), change);
  }
  return change;
}

bool CollectChange(ExpressionState& state, const char* name, const ombrik::RegEx& walker) {
  if (GivenUp(state)) return false;
  ChangeRun& run = *state.changeRun;
  const std::string file = name;
  if (file != run.fileInWork) FinishFile(state, run);
  if (HasSaveExtension(file, state.settings.saveExtension) ||
      platform::FileServices::System().IsReadOnly(file)) {
    return false;
  }
  if (!RaiseChangingFiles(state, file, walker)) return false;

  PendingChange change = {walker.Position(0), walker[0], std::string()};
  change.replacement = run.replacement(change.matched);
  run.pendingChanges.push_back(std::move(change));
  run.fileInWork = file;
  return true;
}

bool ChangeFilesAdapter(const char* file, const ombrik::RegEx& walker) {
  return CollectChange(RunningObject::Innermost(), file, walker);
}

}  // namespace

unsigned int ExpressionState::ChangeFiles() {
  if (changeRun == nullptr) changeFilesErrors.clear();
  ombrik::RegEx walker;
  if (!PrepareWalker(walker, *this)) return 0;

  ChangeRun run;
  run.replacement = MakeReplacement(*this);
  const ScopedValue<ChangeRun*> innermost(changeRun, &run, changeRun);
  {
    const RunningObject running(*this);
    const BusyScope busyNow(*this);
    walker.GrepFiles(&ChangeFilesAdapter, settings.filesToMatch.c_str(),
                     settings.directoryRecursion, EngineMatchFlags(false));
  }
  if (!GivenUp(*this)) FinishFile(*this, run);
  return run.changesApplied;
}

unsigned int RegularExpression::ChangeFiles() { return state->ChangeFiles(); }
const std::vector<RegularExpression::FileChangeProblem>* RegularExpression::GetChangeFilesErrors()
    const {
  return state->changeFilesErrors.empty() ? nullptr : &state->changeFilesErrors;
}

}  // namespace RegexClass
