// SPDX-License-Identifier: BSL-1.0
#include "engine/Expression.hpp"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <utility>

#include "engine/CompileErrors.hpp"
#include "engine/Limits.hpp"
#include "engine/ProgramReader.hpp"
#include "engine/SyntaxTranslation.hpp"

namespace RegexClass::engine {

namespace constants = boost::regex_constants;

template <class Traits>
void Expression<Traits>::Imbue(const typename Traits::locale_type& locale) {
  regex_.imbue(locale);
  locale_ = locale;
}

template <class Traits>
void Expression<Traits>::Compile(const std::string& text, std::uint32_t word) {
  const std::string_view source = text.c_str();
  const Translation translation = Translate(source, word);
  if (!locale_) Imbue(Traits::DefaultLocale());
  compiledUnder_ = Traits::LocaleName();
  try {
    if (translation.error != constants::error_ok) throw ErrorOf(translation);
    RequireShallow(translation);
    regex_.assign(translation.text, translation.flags);
    finder_ = std::make_shared<EarnedFinder>();
    groupCount_ = static_cast<unsigned int>(regex_.mark_count());
  } catch (const boost::regex_error& error) {
    throw Told(error, source, translation, regex_.get_traits().Messages());
  }
}

/// The way of the engine from match to match of a text; see RegularExpression::Grep for its rule on
/// empty matches.
///
/// With a finder, the engine is tried at the candidates alone. It has the whole text in view there,
/// as always, so that assertions and what looks ahead and behind mean what they mean.
template <class Traits>
class Expression<Traits>::Walk {
 public:
  /// The results of each match come into `results`. `ahead` is how much of the text will be
  /// searched for certain.
  Walk(const Expression& expression, const char* first, const char* last, std::size_t ahead,
       Flags flags, boost::cmatch& results)
      : finder_(*expression.finder_),
        regex_(expression.regex_),
        first_(first),
        last_(last),
        flags_(flags),
        results_(results) {
    CandidateFinder* const finder =
        (flags & (boost::match_partial | boost::match_continuous)) != 0
            ? nullptr
            : finder_.For(ahead, [&]() -> std::unique_ptr<CandidateFinder> {
                const auto pattern = ReadProgram(expression.regex_);
                return pattern ? CandidateFinder::Make(*pattern) : nullptr;
              });
    if (finder != nullptr) candidates_.emplace(*finder, first, last);
  }
  ~Walk() {
    finder_.Searched(static_cast<std::size_t>(from_ - first_));
    if (gaveUp_) finder_.GaveUp();
    if (candidates_) finder_.Helped();
  }

  /// Finds the next match.
  bool Next() {
    const bool found = candidates_ ? NextOfCandidates() : NextOfEngine();
    if (!found) {
      from_ = last_;
      return false;
    }
    RequireProgress(results_, from_);
    from_ = results_[0].second;
    return true;
  }

 private:
  using Matcher = boost::BOOST_REGEX_DETAIL_NS::perl_matcher<const char*,
                                                             boost::cmatch::allocator_type, Traits>;

  bool NextOfEngine() {
    if (!matcher_) return Begin().find();
    if (!insisted_) {
      if (results_[0].second == last_) return false;
      if (results_.length() == 0) {
        // Behind an empty match, one that isn't empty is tried for in the same place.
        const boost::cmatch former(results_);
        insisted_ = FindHere();
        if (insisted_) return true;
        results_ = former;
      }
    }
    insisted_ = false;
    return matcher_->find();
  }

  /// No candidate's match is empty.
  bool NextOfCandidates() {
    for (const char* at = candidates_->Next(from_); at != nullptr; at = candidates_->Next(at + 1)) {
      if (!WouldBeTried(at) || !FindAt(at)) continue;
      // The engine takes the text before the match from where it was sent.
      auto& before = const_cast<boost::csub_match&>(results_.prefix());
      before.first = from_;
      before.matched = before.first != before.second;
      return true;
    }
    gaveUp_ = candidates_->GaveUp();
    if (!gaveUp_) return false;
    candidates_.reset();
    if (matcher_) GoTo(from_);
    return matcher_ ? matcher_->find() : Begin().find();
  }

  /// Whether the engine alone would try a match at `at`. Its map of first bytes leaves out a byte
  /// too many for some expressions that change the case, and isn't asked where a search begins in
  /// some.
  bool WouldBeTried(const char* at) const {
    constexpr unsigned int kAny = boost::BOOST_REGEX_DETAIL_NS::mask_any;
    if ((regex_.get_map()[static_cast<unsigned char>(*at)] & kAny) != 0) return true;
    switch (regex_.get_restart_type()) {
      case boost::regbase::restart_any:
        return false;
      case boost::regbase::restart_line:
        return at == from_;
      default:
        return at == first_;
    }
  }

  /// Whether a match begins at `at`.
  bool FindAt(const char* at) {
    if (!matcher_) {
      // The engine's first attempt is always at the start of the text.
      Begin();
      const bool found = FindHere();
      if (at == first_) return found;
    }
    GoTo(at);
    return FindHere();
  }

  /// Whether a match that isn't empty begins where the engine is.
  bool FindHere() {
    const Flags here = boost::match_not_null | boost::match_continuous;
    matcher_->setf(here);
    const bool found = matcher_->find();
    matcher_->unsetf(here & ~flags_);
    return found;
  }

  /// Makes the engine go on at `place`, as if the last match had ended there.
  void GoTo(const char* place) { results_.set_second(place); }

  Matcher& Begin() { return matcher_.emplace(first_, last_, results_, regex_, flags_, first_); }

  EarnedFinder& finder_;
  const boost::basic_regex<char, Traits>& regex_;
  std::optional<Matcher> matcher_;
  const char* const first_;
  const char* const last_;
  const char* from_ = first_;  // the end of the match before
  const Flags flags_;
  boost::cmatch& results_;
  bool insisted_ = false;  // the last match was found in the place of an empty one
  std::optional<Candidates> candidates_;
  bool gaveUp_ = false;
};

template <class Traits>
bool Expression<Traits>::Search(const char* first, const char* last, boost::cmatch& results,
                                Flags flags) const {
  RequireAddressable(first, last);
  return Walk(*this, first, last, 0, flags, results).Next();
}

template <class Traits>
bool Expression<Traits>::MatchWhole(const char* first, const char* last, boost::cmatch& results,
                                    Flags flags) const {
  RequireAddressable(first, last);
  return boost::regex_match(first, last, results, regex_, flags);
}

template <class Traits>
unsigned int Expression<Traits>::Grep(const char* first, const char* last, Flags flags,
                                      const Report& report) const {
  RequireAddressable(first, last);
  boost::cmatch results;
  Walk walk(*this, first, last, static_cast<std::size_t>(last - first), flags, results);
  unsigned int count = 0;
  while (walk.Next()) {
    ++count;
    if (!report(results)) break;
  }
  return count;
}

template <class Traits>
void Expression<Traits>::Merge(const char* first, const char* last, const char* format, Flags flags,
                               std::string& out) const {
  RequireAddressable(first, last);
  const bool copy = (flags & boost::format_no_copy) == 0;
  const bool all = (flags & boost::format_first_only) == 0;
  boost::cmatch results;
  Walk walk(*this, first, last, all ? static_cast<std::size_t>(last - first) : 0, flags, results);
  while (walk.Next()) {
    if (copy) out.append(first, results[0].first);
    results.format(std::back_inserter(out), format, flags, regex_);
    first = results[0].second;
    if (!all) break;
  }
  if (copy) out.append(first, last);
}

template <class Traits>
std::string Expression<Traits>::Format(const boost::cmatch& results, const char* format,
                                       Flags flags) {
  return results.format(format, flags);
}

template class Expression<CppTraits>;
template class Expression<W32Traits>;
template class Expression<CTraits>;

}  // namespace RegexClass::engine
