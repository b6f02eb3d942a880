// SPDX-License-Identifier: BSL-1.0
// ChangeFiles: records the matches that the walker reports, and has each file rewritten when the
// walker has come to the next.

#include <algorithm>
#include <functional>
#include <locale>
#include <string>
#include <type_traits>
#include <utility>

#include "files/FileOperations.hpp"
#include "files/FileRewriting.hpp"

namespace RegexClass {
namespace {

using Replacement = std::function<std::string(const std::string& matched)>;

/// What makes the replacement of a match, by an expression that stays as it is whatever a
/// notification sets. Like the walker's, it takes classes and case from the global locale.
Replacement MakeReplacement(ExpressionState& state) {
  return state.WithModel([&state](const auto& model) {
    if (!model.record.accepted) {
      throw boost::regex_error(model.record.message, model.record.engineError);
    }
    std::decay_t<decltype(model.expression)> own;
    own.Compile(state.settings.expression, SyntaxWord(state.settings.expressionOptions));
    const auto flags = EngineMatchFlags(state.settings.matchOptions, false) | boost::format_all;
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

/// One run of ChangeFiles on an object.
class ChangeRun {
 public:
  ChangeRun(ExpressionState& state, platform::FileServices& services)
      : state_(state), services_(services), replacement_(MakeReplacement(state)) {}

  /// Walks, and gives the number of changes in files that have been rewritten.
  unsigned int Walk(FileWalker& walker) {
    {
      const BusyScope busy(state_);
      walker.Grep([this](const FileWalker& found) { return Collect(found); });
    }
    if (!GivenUp()) FinishFile();
    return changesApplied_;
  }

 private:
  /// Whether a failure has put an end to the run.
  bool GivenUp() const {
    return !state_.settings.continueFiles && !state_.changeFilesErrors.empty();
  }

  bool Collect(const FileWalker& found) {
    if (GivenUp()) return false;
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
    passedOver_ =
        HasSaveExtension(file.name, state_.settings.saveExtension) || !services_.MayRewrite(file);
  }

  /// Rewrites the file in work. Afterwards there is none, whatever came of it.
  void FinishFile() {
    const platform::FoundFile file = std::exchange(fileInWork_, platform::FoundFile());
    const PendingChanges changes = std::exchange(pendingChanges_, PendingChanges());
    if (changes.empty()) return;
    changesApplied_ += ApplyPendingChanges(services_, file, changes, state_.settings.saveExtension,
                                           state_.changeFilesErrors);
  }

  bool RaiseChangingFiles(const FileWalker& found) {
    const FileContentScope content(state_, found.Content());
    bool change = true;
    if (const auto subscriber = state_.notifications.onChangingFiles.Current()) {
      subscriber(state_.owner, found.File().name, found.Marks(), found.Line(), change);
    }
    return change;
  }

  ExpressionState& state_;
  platform::FileServices& services_;
  const Replacement replacement_;
  platform::FoundFile fileInWork_;  // whose matches are being recorded; without a name for none
  bool passedOver_ = false;         // it isn't to be rewritten
  PendingChanges pendingChanges_;
  unsigned int changesApplied_ = 0;
};

}  // namespace

unsigned int ChangeFiles(ExpressionState& state, platform::FileServices& services) {
  if (!state.changingFiles) state.changeFilesErrors.clear();
  auto walker = WalkerFor(state);
  if (!walker) return 0;
  ChangeRun run(state, services);
  const ScopedValue<bool> changing(state.changingFiles, true, state.changingFiles);
  return run.Walk(*walker);
}

unsigned int RegularExpression::ChangeFiles() {
  return RegexClass::ChangeFiles(*state, platform::FileServices::System());
}
const std::vector<RegularExpression::FileChangeProblem>* RegularExpression::GetChangeFilesErrors()
    const {
  return state->changeFilesErrors.empty() ? nullptr : &state->changeFilesErrors;
}

}  // namespace RegexClass
