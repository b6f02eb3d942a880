// SPDX-License-Identifier: BSL-1.0
// SelectFiles, GrepFiles and FindFiles.

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
    subscriber(state.owner, walker.File().name, walker.SubMatches(), walker.Line(), more);
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

std::optional<FileWalker> WalkerFor(ExpressionState& state, platform::Links found) {
  const Settings& settings = state.settings;
  std::optional<FileWalker> walker;
  if (!settings.HasExpression() || settings.filesToMatch.empty()) return walker;
  ModelState& model = state.CurrentModel();
  const auto expression = model.walk.For(*model.model, settings);
  if (expression == nullptr) return walker;
  walker.emplace(
      settings, expression, state.SearchSettings(false), found,
      [&state](const std::string& path, platform::DirectoryEntry::Kind kind, bool selected) {
        return RaiseSelectingFiles(state, path, kind, selected);
      });
  state.ParseExpression();
  return walker;
}

std::vector<std::string> SelectFiles(ExpressionState& state) {
  state.selectFilesErrors.clear();
  std::vector<std::string> names;
  FileWalker::Problems problems;
  const std::string patterns = state.settings.filesToMatch.c_str();
  const bool goOn = state.settings.continueFiles;
  const auto fail = [&](const std::string& name, RegularExpression::SearchProblemKind kind,
                        int error) {
    problems.push_back({name, kind, static_cast<std::uint32_t>(error)});
    return goOn;
  };
  platform::FileReader reader(0);
  const FileVisitor visitor = {
      [&](const std::string& path, platform::DirectoryEntry::Kind kind, bool selected) {
        return RaiseSelectingFiles(state, path, kind, selected);
      },
      [&](platform::FoundFile& file) {
        using Outcome = platform::FileReader::Outcome;
        const Outcome outcome = reader.Look(file);
        if (outcome == Outcome::kNotOpened) {
          return fail(file.name, RegularExpression::FileNotOpened, reader.Error());
        }
        if (outcome == Outcome::kRead) names.push_back(file.name);
        return true;
      },
      [&](const std::string& directory, bool opened, int error) {
        return fail(directory, KindOfDirectoryProblem(opened), error);
      }};
  SelectFiles(patterns, state.settings.directoryRecursion, platform::Links::kFollowed, visitor);
  state.selectFilesErrors.insert(state.selectFilesErrors.end(), problems.begin(), problems.end());
  return names;
}

unsigned int GrepFiles(ExpressionState& state) {
  state.grepFilesErrors.clear();
  auto walker = WalkerFor(state, platform::Links::kFollowed);
  if (!walker) return 0;
  const unsigned int matches =
      walker->Grep([&](const FileWalker& found) { return RaiseGreppingFiles(state, found); });
  const auto& problems = walker->SearchProblems();
  state.grepFilesErrors.insert(state.grepFilesErrors.end(), problems.begin(), problems.end());
  return matches;
}

unsigned int FindFiles(ExpressionState& state) {
  state.findFilesErrors.clear();
  auto walker = WalkerFor(state, platform::Links::kFollowed);
  if (!walker) return 0;
  const unsigned int files =
      walker->Find([&](const FileWalker& found) { return RaiseFindFiles(state, found); });
  const auto& problems = walker->SearchProblems();
  state.findFilesErrors.insert(state.findFilesErrors.end(), problems.begin(), problems.end());
  return files;
}

std::vector<std::string> RegularExpression::SelectFiles() {
  return RegexClass::SelectFiles(*state);
}
unsigned int RegularExpression::GrepFiles() { return RegexClass::GrepFiles(*state); }
std::string_view RegularExpression::GetFileContent() const { return state->fileContent; }
unsigned int RegularExpression::FindFiles() { return RegexClass::FindFiles(*state); }
const std::vector<RegularExpression::FileSearchProblem>* RegularExpression::GetGrepFilesErrors()
    const {
  return NullIfEmpty(state->grepFilesErrors);
}
const std::vector<RegularExpression::FileSearchProblem>* RegularExpression::GetSelectFilesErrors()
    const {
  return NullIfEmpty(state->selectFilesErrors);
}
const std::vector<RegularExpression::FileSearchProblem>* RegularExpression::GetFindFilesErrors()
    const {
  return NullIfEmpty(state->findFilesErrors);
}

}  // namespace RegexClass
