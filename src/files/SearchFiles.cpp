// SPDX-License-Identifier: BSL-1.0
// GrepFiles and FindFiles.

#include "files/FileOperations.hpp"

namespace RegexClass {
namespace {

const FileWalker::Problems* NullIfEmpty(const FileWalker::Problems& problems) {
  return problems.empty() ? nullptr : &problems;
}

/// Whether the walk takes what it has found in a directory.
bool RaiseSelectingFiles(ExpressionState& state, const std::string& path,
                         platform::DirectoryEntry::Kind kind, bool selected) {
  if (const auto subscriber = state.notifications.onSelectingFiles.Current()) {
    subscriber(state.owner, path, static_cast<RegularExpression::EntryKinds>(kind), selected);
  }
  return selected;
}

bool RaiseGreppingFiles(ExpressionState& state, const FileWalker& walker) {
  const FileContentScope content(state, walker.Content());
  bool more = true;
  if (const auto subscriber = state.notifications.onGreppingFiles.Current()) {
    subscriber(state.owner, walker.File().name, walker.Marks(), walker.Line(), more);
  }
  return more;
}

bool RaiseFindFiles(ExpressionState& state, const FileWalker& walker) {
  const FileContentScope content(state, walker.Content());
  bool more = true;
  if (const auto subscriber = state.notifications.onFindFiles.Current()) {
    subscriber(state.owner, walker.File().name, more);
  }
  return more;
}

}  // namespace

std::optional<FileWalker> WalkerFor(ExpressionState& state) {
  const Settings& settings = state.settings;
  std::optional<FileWalker> walker;
  if (!settings.HasExpression() || settings.filesToMatch.empty()) return walker;
  try {
    state.WithModel([&](auto& model) {
      walker.emplace(
          settings, model.walk.For(settings),
          [&state](const std::string& path, platform::DirectoryEntry::Kind kind, bool selected) {
            return RaiseSelectingFiles(state, path, kind, selected);
          });
    });
  } catch (const boost::regex_error&) {
    return walker;
  }
  state.ParseExpression();
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
std::string_view RegularExpression::GetFileContent() const { return state->fileContent; }
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
