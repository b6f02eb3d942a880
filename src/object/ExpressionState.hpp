// SPDX-License-Identifier: BSL-1.0
// The private record behind each RegularExpression.
#ifndef REGEXCLASS_OBJECT_EXPRESSIONSTATE_HPP
#define REGEXCLASS_OBJECT_EXPRESSIONSTATE_HPP

#include <cstddef>
#include <cstdint>
#include <locale>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "RegularExpression.hpp"
#include "catalogues/LocaleDll.hpp"
#include "notifications/Slot.hpp"
#include "object/Models.hpp"
#include "object/Settings.hpp"

namespace RegexClass {

class ExpressionState {
 public:
  explicit ExpressionState(RegularExpression* object) : owner(object) {}
  ExpressionState(RegularExpression* object, const ExpressionState& source);
  ExpressionState(const ExpressionState&) = delete;
  ExpressionState& operator=(const ExpressionState& source);
  /// Exchanges all but what belongs to running operations.
  void Swap(ExpressionState& other) noexcept;

  /// What there is for the locale model that is set.
  ModelState& CurrentModel() { return models.At(settings.localeModel); }
  const ModelState& CurrentModel() const { return models.At(settings.localeModel); }
  /// The expression of the last compile under it that succeeded.
  const std::shared_ptr<const engine::Expression>& Expression() const {
    return CurrentModel().expression;
  }

  // Compilation.
  /// Makes every model compile again when it is next used.
  void MarkNotCompiled();
  /// Makes `options` those of the expression, and returns the former ones in it.
  void SetExpressionOptions(ExpressionOptions& options) noexcept;
  /// Compiles unless that was done. The one way from the settings to an expression.
  RegularExpression::ExpressionErrorCode ParseExpression();
  std::string ExpressionError() const;
  std::ptrdiff_t ExpressionErrorPosition() const;
  bool IsLinear();
  unsigned int NumberOfSubexpressions() const;

  /// The settings, for whatever changes the string to match, alone or with others: the match that
  /// points into the string goes.
  Settings& SettingsToChangeString() {
    stringMatch = nullptr;
    return settings;
  }
  /// How a search of an operation is run.
  engine::SearchSettings SearchSettings(bool allowPartial) const {
    return {EngineMatchFlags(settings.matchOptions, allowPartial), stepLimit};
  }
  /// The match that is being reported; null when none is.
  const engine::Match* CurrentMatch() const {
    return walkMatch != nullptr ? walkMatch : stringMatch;
  }

  RegularExpression* const owner;
  Settings settings;
  CatalogueTexts texts;
  Notifications notifications;
  RewritingSettings rewriting;
  std::uint64_t stepLimit = 0;
  std::locale locale;  // of CppLocale and UnicodeLocale: the global one of the moment
  Models models;

  // The matches belong to the operation that has published them here.
  const engine::Match* walkMatch = nullptr;    // the one that a walk is reporting
  std::string spareText;                       // whose memory the next walk over the string uses
  const engine::Match* stringMatch = nullptr;  // of a running Match, MatchAll or Search
  std::string_view fileContent;                // of the file that a walk is reporting
  std::vector<RegularExpression::FileSearchProblem> selectFilesErrors;
  std::vector<RegularExpression::FileSearchProblem> grepFilesErrors;
  std::vector<RegularExpression::FileSearchProblem> findFilesErrors;
  std::vector<RegularExpression::FileChangeProblem> changeFilesErrors;

  bool busy = false;           // the engine runs for an operation that raises notifications
  bool changingFiles = false;  // ChangeFiles runs

 private:
  /// The compile that has failed for the present settings; null when none has.
  const CompileRecord* Failure() const;
};

/// Sets a variable to another value for the life of the scope, however that ends.
template <class T>
class ScopedValue {
 public:
  /// Sets `variable` to `during` now, and to `after` at the end.
  ScopedValue(T& variable, T during, T after) : variable_(variable), after_(after) {
    variable = during;
  }
  ScopedValue(const ScopedValue&) = delete;
  ScopedValue& operator=(const ScopedValue&) = delete;
  ~ScopedValue() { variable_ = after_; }

 private:
  T& variable_;
  T after_;
};

/// Publishes one match of a walk for the length of its report.
class CurrentMatchScope {
 public:
  CurrentMatchScope(ExpressionState& state, const engine::Match& match)
      : current_(state.walkMatch, &match, nullptr) {}

 private:
  ScopedValue<const engine::Match*> current_;
};

/// Publishes the content of a file for the length of a report of it.
class FileContentScope {
 public:
  FileContentScope(ExpressionState& state, std::string_view content)
      : content_(state.fileContent, content, state.fileContent) {}

 private:
  ScopedValue<std::string_view> content_;
};

/// Marks the object busy for the life of the scope. Nested runs keep it busy to the end of the
/// outermost one.
class BusyScope {
 public:
  explicit BusyScope(ExpressionState& state) : busy_(state.busy, true, state.busy) {}

 private:
  ScopedValue<bool> busy_;
};

/// The length of a walk. The match of a report doesn't outlast a walk that runs inside it.
class WalkScope {
 public:
  explicit WalkScope(ExpressionState& state)
      : busy_(state), current_(state.walkMatch, state.walkMatch, nullptr) {}

 private:
  BusyScope busy_;
  ScopedValue<const engine::Match*> current_;
};

}  // namespace RegexClass

#endif  // REGEXCLASS_OBJECT_EXPRESSIONSTATE_HPP
