// SPDX-License-Identifier: BSL-1.0
// GrepFiles and FindFiles.

#include <type_traits>

#include "files/FileOperations.hpp"

namespace RegexClass {
namespace {

const FileWalker::Problems* NullIfEmpty(const FileWalker::Problems& problems) {
  return problems.empty() ? nullptr : &problems;
}

bool RaiseGreppingFiles(ExpressionState& state, const FileWalker& walker) {
  bool more = true;
  if (const auto subscriber = state.notifications.onGreppingFiles.Current()) {
    subscriber(state.owner, walker.File().name, walker.Marks(), walker.Line(), more);
  }
  return more;
}

bool RaiseFindFiles(ExpressionState& state, const FileWalker& walker) {
  bool more = true;
  if (const auto subscriber = state.notifications.onFindFiles.Current()) {
    subscriber(state.owner, walker.File().name, more);
  }
  return more;
}

}  // namespace

std::optional<FileWalker> WalkerFor(ExpressionState& state) {
  auto walker = state.WithModel([&](const auto& model) {
    // Not the object's expression, but one of the same kind.
    return FileWalker::Make(state.settings, std::decay_t<decltype(model.expression)>());
  });
  if (walker) state.ParseExpression();
  return walker;
}

unsigned int GrepFiles(ExpressionState& state) {
  state.grepFilesErrors.clear();
  auto walker = WalkerFor(state);
  if (!walker) return 0;
  const unsigned int matches =
      walker->Grep([&](const FileWalker& found) { return RaiseGreppingFiles(state, found); });
  const auto& problems = walker->SearchProblems();
  state.grepFilesErrors.insert(state.grepFilesErrors.end(), problems.begin(), problems.end());
  return matches;
}

unsigned int FindFiles(ExpressionState& state) {
  state.findFilesErrors.clear();
  auto walker = WalkerFor(state);
  if (!walker) return 0;
  const unsigned int files =
      walker->Find([&](const FileWalker& found) { return RaiseFindFiles(state, found); });
  const auto& problems = walker->SearchProblems();
  state.findFilesErrors.insert(state.findFilesErrors.end(), problems.begin(), problems.end());
  return files;
}

unsigned int RegularExpression::GrepFiles() { return RegexClass::GrepFiles(*state); }
unsigned int RegularExpression::FindFiles() { return RegexClass::FindFiles(*state); }
const std::vector<RegularExpression::FileSearchProblem>* RegularExpression::GetGrepFilesErrors()
    const {
  return NullIfEmpty(state->grepFilesErrors);
}
const std::vector<RegularExpression::FileSearchProblem>* RegularExpression::GetFindFilesErrors()
    const {
  return NullIfEmpty(state->findFilesErrors);
}

}  // namespace RegexClass
