// GrepFiles and FindFiles, and the preparation of a walk that they share with ChangeFiles.

#include "files/Walk.hpp"
#include "module/ThreadRecord.hpp"

namespace RegexClass {
namespace {

using FileSearchProblem = RegularExpression::FileSearchProblem;

RegularExpression::SearchProblemKind KindOf(ombrik::FilesContinueKind kind) {
  switch (kind) {
    case ombrik::FilesContinueKind::kNotOpened:
      return RegularExpression::FileNotOpened;
    case ombrik::FilesContinueKind::kNotRead:
      return RegularExpression::FileNotRead;
    default:
      return RegularExpression::FileNotSearched;
  }
}

void CopySearchProblems(const std::vector<ombrik::FilesContinueInfo>* problems,
                        std::vector<FileSearchProblem>& target) {
  if (problems == nullptr) return;
  for (const ombrik::FilesContinueInfo& problem : *problems) {
    target.push_back({problem.file, KindOf(problem.kind), problem.number});
  }
}

const std::vector<FileSearchProblem>* NullIfEmpty(const std::vector<FileSearchProblem>& problems) {
  return problems.empty() ? nullptr : &problems;
}

bool RaiseGreppingFiles(ExpressionState& state, const char* file, const ombrik::RegEx& walker) {
  bool more = true;
  if (const auto subscriber = state.notifications.onGreppingFiles.Current()) {
    subscriber(state.owner, file, MarksOf(walker), walker.Line(), more);
  }
  return more;
}

bool RaiseFindFiles(ExpressionState& state, const char* file) {
  bool more = true;
  if (const auto subscriber = state.notifications.onFindFiles.Current()) {
    subscriber(state.owner, file, more);
  }
  return more;
}

bool GrepFilesAdapter(const char* file, const ombrik::RegEx& walker) {
  return RaiseGreppingFiles(RunningObject::Innermost(), file, walker);
}

bool FindFilesAdapter(const char* file) { return RaiseFindFiles(RunningObject::Innermost(), file); }

}  // namespace

bool PrepareWalker(ombrik::RegEx& walker, ExpressionState& state) {
  const Settings& settings = state.settings;
  if (!settings.HasExpression() || settings.filesToMatch.empty()) return false;

  walker.SetFilesContinue(settings.continueFiles);
  if (settings.localeModel == RegularExpression::W32Locale) {
    walker.SetLocalizationModel(ombrik::kWin32Localization);
  } else if (settings.localeModel == RegularExpression::CLocale) {
    walker.SetLocalizationModel(ombrik::kCLocalization);
  }
  try {
    const bool icase = state.owner->IsExpressionOption(RegularExpression::Icase);
    if (walker.SetExpression(settings.expression.c_str(), icase) != 0) return false;
    state.ParseExpression();
  } catch (const boost::regex_error&) {
    return false;
  }
  return true;
}

std::vector<REMatch> MarksOf(const ombrik::RegEx& walker) {
  std::vector<REMatch> marks(walker.Marks());
  int mark = 0;
  for (REMatch& match : marks) {
    match.position = static_cast<std::int32_t>(walker.Position(mark));
    match.text = walker[mark];
    ++mark;
  }
  return marks;
}

unsigned int ExpressionState::GrepFiles() {
  grepFilesErrors.clear();
  ombrik::RegEx walker;
  if (!PrepareWalker(walker, *this)) return 0;

  unsigned int matches = 0;
  {
    const RunningObject running(*this);
    matches = walker.GrepFiles(&GrepFilesAdapter, settings.filesToMatch.c_str(),
                               settings.directoryRecursion, EngineMatchFlags(false));
  }
  CopySearchProblems(walker.FilesContinueErrorsGrep(), grepFilesErrors);
  return matches;
}

unsigned int ExpressionState::FindFiles() {
  findFilesErrors.clear();
  ombrik::RegEx walker;
  if (!PrepareWalker(walker, *this)) return 0;

  unsigned int files = 0;
  {
    const RunningObject running(*this);
    files = walker.FindFiles(&FindFilesAdapter, settings.filesToMatch.c_str(),
                             settings.directoryRecursion, EngineMatchFlags(false));
  }
  CopySearchProblems(walker.FilesContinueErrorsFind(), findFilesErrors);
  return files;
}

unsigned int RegularExpression::GrepFiles() { return state->GrepFiles(); }
unsigned int RegularExpression::FindFiles() { return state->FindFiles(); }
const std::vector<RegularExpression::FileSearchProblem>* RegularExpression::GetGrepFilesErrors()
    const {
  return NullIfEmpty(state->grepFilesErrors);
}
const std::vector<RegularExpression::FileSearchProblem>* RegularExpression::GetFindFilesErrors()
    const {
  return NullIfEmpty(state->findFilesErrors);
}

}  // namespace RegexClass
