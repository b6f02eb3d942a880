// The private record behind each RegularExpression.
#ifndef REGEXCLASS_OBJECT_EXPRESSIONSTATE_HPP
#define REGEXCLASS_OBJECT_EXPRESSIONSTATE_HPP

#include <cstdint>
#include <locale>
#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "RegularExpression.hpp"
#include "engine/Expression.hpp"
#include "notifications/Slot.hpp"
#include "object/LocaleDll.hpp"

namespace RegexClass {

struct ChangeRun;

/// What an object is set up to do: all that is compared, and all that a copy takes over beside
/// the notifications and the catalogue's texts.
struct Settings {
  std::set<RegularExpression::Options> expressionOptions = {
      RegularExpression::EscapeInLists, RegularExpression::CharClasses,
      RegularExpression::Intervals,     RegularExpression::BkRefs,
      RegularExpression::NoCollate,     RegularExpression::NormalSyntax};
  std::set<RegularExpression::Matches> matchOptions = {RegularExpression::MatchDefault};
  RegularExpression::FormatTypes formatType = RegularExpression::FormatAll;
  RegularExpression::LocaleModels localeModel = RegularExpression::CppLocale;
  std::string expression;
  std::string stringToMatch;
  std::string filesToMatch;
  std::string formatString;
  std::string saveExtension;
  std::string localeDll;
  bool directoryRecursion = false;
  bool mergeCopy = false;
  bool mergeOnlyFirst = false;
  unsigned long maximumSplits = 0;
  bool splitInputDelete = false;
  bool continueFiles = true;

  bool operator==(const Settings& other) const;

  /// Whether there is anything to compile. A text ends at its first zero byte.
  bool HasExpression() const { return !expression.empty() && expression.front() != '\0'; }
};

/// The compile record of one locale model.
struct CompileState {
  bool parsed = false;  // a compile was tried for the present settings, and this came of it:
  RegularExpression::ExpressionErrorCode code = RegularExpression::NoError;
  std::string message;  // of the last failure; a later success doesn't clear it
};

class ExpressionState {
 public:
  explicit ExpressionState(RegularExpression* object) : owner(object) {}
  ExpressionState(RegularExpression* object, const ExpressionState& source);
  ExpressionState(const ExpressionState&) = delete;
  ExpressionState& operator=(const ExpressionState& source);

  /// Calls `callable` with the engine object and the compile record of the current model, and
  /// gives its result. The one place that knows which belong to which model.
  template <class Callable>
  decltype(auto) WithModel(Callable&& callable) {
    return Choose(*this, std::forward<Callable>(callable));
  }
  template <class Callable>
  decltype(auto) WithModel(Callable&& callable) const {
    return Choose(*this, std::forward<Callable>(callable));
  }

  /// Makes every model compile again when it is next used.
  void MarkNotParsed();

  // Compilation.
  RegularExpression::ExpressionErrorCode ParseExpression();
  std::string ExpressionError() const;
  unsigned int NumberOfSubexpressions() const;

  // Matching.
  /// The words that the compiler and the matching operations hand to the engine.
  std::uint32_t EngineSyntaxFlags() const;
  boost::match_flag_type EngineMatchFlags(bool allowPartial) const;
  /// The results of the match that is being reported; null when none is.
  const boost::cmatch* CurrentResults() const {
    return currentResults != nullptr ? currentResults : results.get();
  }
  /// The match vector of the current results; only while there are some.
  std::vector<REMatch> CurrentMatches() const;
  /// To be called before the string to match changes, too: `results` point into it.
  void ReleaseResults() { results.reset(); }

  // Files.
  unsigned int GrepFiles();
  unsigned int FindFiles();
  unsigned int ChangeFiles();

  RegularExpression* const owner;
  Settings settings;
  CatalogueTexts texts;
  Notifications notifications;

  std::locale locale;          // of the model CppLocale: the global one of the moment
  bool localeChanged = false;  // SetLocale was called, and cppExpression wasn't imbued since

  CompileState cppCompile;
  CompileState w32Compile;
  CompileState cCompile;
  engine::Expression<engine::CppTraits> cppExpression;
  engine::Expression<engine::W32Traits> w32Expression;
  engine::Expression<engine::CTraits> cExpression;

  std::unique_ptr<boost::cmatch> results;         // of a running Match, MatchAll or Search
  const boost::cmatch* currentResults = nullptr;  // of the match that a walk is reporting
  std::vector<RegularExpression::FileSearchProblem> grepFilesErrors;
  std::vector<RegularExpression::FileSearchProblem> findFilesErrors;
  std::vector<RegularExpression::FileChangeProblem> changeFilesErrors;
  ChangeRun* changeRun = nullptr;  // the innermost run of ChangeFiles

  bool busy = false;  // the engine runs for an operation that raises notifications

 private:
  template <class Self, class Callable>
  static decltype(auto) Choose(Self& self, Callable&& callable) {
    switch (self.settings.localeModel) {
      case RegularExpression::W32Locale:
        return callable(self.w32Expression, self.w32Compile);
      case RegularExpression::CLocale:
        return callable(self.cExpression, self.cCompile);
      default:
        return callable(self.cppExpression, self.cppCompile);
    }
  }
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

/// Publishes the results of one match for the length of its report.
class CurrentResultsScope {
 public:
  CurrentResultsScope(ExpressionState& state, const boost::cmatch& results)
      : current_(state.currentResults, &results, nullptr) {}

 private:
  ScopedValue<const boost::cmatch*> current_;
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
      : busy_(state), current_(state.currentResults, state.currentResults, nullptr) {}

 private:
  BusyScope busy_;
  ScopedValue<const boost::cmatch*> current_;
};

}  // namespace RegexClass

#endif  // REGEXCLASS_OBJECT_EXPRESSIONSTATE_HPP
