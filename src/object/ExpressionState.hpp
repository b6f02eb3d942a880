// SPDX-License-Identifier: BSL-1.0
// The private record behind each RegularExpression.
#ifndef REGEXCLASS_OBJECT_EXPRESSIONSTATE_HPP
#define REGEXCLASS_OBJECT_EXPRESSIONSTATE_HPP

#include <locale>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "RegularExpression.hpp"
#include "notifications/Slot.hpp"
#include "object/LocaleDll.hpp"
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

  /// Calls `callable` with the Model of the locale model that is set, and gives its result.
  template <class Callable>
  decltype(auto) WithModel(Callable&& callable) {
    return models.With(settings.localeModel, std::forward<Callable>(callable));
  }
  template <class Callable>
  decltype(auto) WithModel(Callable&& callable) const {
    return models.With(settings.localeModel, std::forward<Callable>(callable));
  }

  // Compilation.
  /// Makes every model compile again when it is next used.
  void MarkNotCompiled();
  /// Compiles unless that was done. The one way from the settings to an expression.
  RegularExpression::ExpressionErrorCode ParseExpression();
  std::string ExpressionError() const;
  unsigned int NumberOfSubexpressions() const;

  /// The settings, for whatever changes the string to match, alone or with others: the results that
  /// point into the string go.
  Settings& SettingsToChangeString() {
    stringResults = nullptr;
    return settings;
  }
  /// The results of the match that is being reported; null when none is.
  const boost::cmatch* CurrentResults() const {
    return walkResults != nullptr ? walkResults : stringResults;
  }

  RegularExpression* const owner;
  Settings settings;
  CatalogueTexts texts;
  Notifications notifications;
  std::locale locale;  // of CppLocale and UnicodeLocale: the global one of the moment
  Models models;

  // The results belong to the operation that has published them here.
  const boost::cmatch* walkResults = nullptr;    // of the match that a walk is reporting
  const boost::cmatch* stringResults = nullptr;  // of a running Match, MatchAll or Search
  std::string_view fileContent;                  // of the file that a walk is reporting
  std::vector<RegularExpression::FileSearchProblem> grepFilesErrors;
  std::vector<RegularExpression::FileSearchProblem> findFilesErrors;
  std::vector<RegularExpression::FileChangeProblem> changeFilesErrors;

  bool busy = false;           // the engine runs for an operation that raises notifications
  bool changingFiles = false;  // ChangeFiles runs
};

/// Gives a variable another value for the life of the scope, however that ends.
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

/// Publishes the results of one match of a walk for the length of its report.
class CurrentResultsScope {
 public:
  CurrentResultsScope(ExpressionState& state, const boost::cmatch& results)
      : current_(state.walkResults, &results, nullptr) {}

 private:
  ScopedValue<const boost::cmatch*> current_;
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

/// The length of a walk. The results of a report don't outlast a walk that runs inside it.
class WalkScope {
 public:
  explicit WalkScope(ExpressionState& state)
      : busy_(state), current_(state.walkResults, state.walkResults, nullptr) {}

 private:
  BusyScope busy_;
  ScopedValue<const boost::cmatch*> current_;
};

}  // namespace RegexClass

#endif  // REGEXCLASS_OBJECT_EXPRESSIONSTATE_HPP
