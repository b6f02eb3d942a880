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
  using Replacement = std::function<std::string(const std::string& matched)>;
  ChangeRun(Replacement make, platform::FileServices& system)
      : replacement(std::move(make)), services(system) {}

  const Replacement replacement;
  platform::FileServices& services;
  platform::FoundFile fileInWork;  // whose matches are being recorded; without a name for none
  bool passedOver = false;         // it isn't to be rewritten
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
  const platform::FoundFile file = std::exchange(run.fileInWork, platform::FoundFile());
  const PendingChanges changes = std::exchange(run.pendingChanges, PendingChanges());
  if (changes.empty()) return;
  run.changesApplied += ApplyPendingChanges(run.services, file, changes,
                                            state.settings.saveExtension, state.changeFilesErrors);
}

/// Whether a failure has put an end to the run.
bool GivenUp(const ExpressionState& state) {
  return !state.settings.continueFiles && !state.changeFilesErrors.empty();
}

bool RaiseChangingFiles(ExpressionState& state, const ombrik::RegEx& walker) {
  bool change = true;
  if (const auto subscriber = state.notifications.onChangingFiles.Current()) {
    subscriber(state.owner, walker.File().name, MarksOf(walker), walker.Line(), change);
  }
  return change;
}

/// Makes the file that the walker is in the one in work, and decides once whether it is passed
/// over.
void BeginFile(ExpressionState& state, ChangeRun& run, const platform::FoundFile& file) {
  FinishFile(state, run);
  run.fileInWork = file;
  run.passedOver =
      HasSaveExtension(file.name, state.settings.saveExtension) || !run.services.MayRewrite(file);
}

bool CollectChange(ExpressionState& state, const ombrik::RegEx& walker) {
  if (GivenUp(state)) return false;
  ChangeRun& run = *state.changeRun;
  if (walker.File().name != run.fileInWork.name) BeginFile(state, run, walker.File());
  if (run.passedOver) return false;
  if (!RaiseChangingFiles(state, walker)) return false;

  PendingChange change = {walker.Position(0), walker[0], std::string()};
  change.replacement = run.replacement(change.matched);
  run.pendingChanges.push_back(std::move(change));
  return true;
}

bool ChangeFilesAdapter(const char*, const ombrik::RegEx& walker) {
  return CollectChange(RunningObject::Innermost(), walker);
}

}  // namespace

unsigned int ExpressionState::ChangeFiles() {
  if (changeRun == nullptr) changeFilesErrors.clear();
  ombrik::RegEx walker;
  if (!PrepareWalker(walker, *this)) return 0;

  ChangeRun run(MakeReplacement(*this), platform::FileServices::System());
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
