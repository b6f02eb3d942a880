#include "FileJob.hpp"

#include "FilePatterns.hpp"

namespace tool {

namespace {

/// Gives the object the options that the walk goes by, so that what is checked here is what runs,
/// and a replacement is made by the same expression.
void UsePerlSyntax(RE& object) {
  if (!object.IsExpressionOption(RE::NormalSyntax) || object.IsExpressionOption(RE::Literal)) {
    Problems::Note("note: operations on files read the expression in the syntax perl");
  }
  const bool ignoreCase = object.IsExpressionOption(RE::Icase);
  object.ClearExpressionOptions();
  object.AddExpressionOption(RE::NormalSyntax);
  if (ignoreCase) object.AddExpressionOption(RE::Icase);
}

const char* Words(RE::SearchProblemKind kind) {
  switch (kind) {
    case RE::FileNotOpened:
      return "can't open";
    case RE::FileNotRead:
      return "can't read";
    case RE::FileNotSearched:
      return "can't search to the end";
  }
  return "failed";
}

}  // namespace

FileJob::FileJob(const Request& r)
    : request(r), style(r.style), printer(r.style, true, true), progress(r.style.Silent()) {
  Apply(r.setUp, object);
  if (!r.inputs.empty()) {
    object.SetFilesToMatch(PatternOf(r.inputs, object.GetDirectoryRecursion(), problems));
  } else if (object.GetFilesToMatch().empty()) {
    throw Failure("no files are named");
  }
  UsePerlSyntax(object);
  CheckExpression(object, false);
}

void FileJob::TellSearchProblems(const std::vector<RE::FileSearchProblem>* list) {
  progress.Clear();
  if (list == nullptr) return;
  for (const RE::FileSearchProblem& problem : *list) {
    const std::string reason = problem.code != 0 ? SystemWords(static_cast<int>(problem.code))
                                                 : "the expression is too complex for it";
    problems.Tell(problem.file, Words(problem.kind) + (": " + reason));
  }
}

}  // namespace tool
