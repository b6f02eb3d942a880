#include "engine/Expression.hpp"

#include <cstddef>
#include <iterator>

#include "engine/SyntaxTranslation.hpp"

namespace RegexClass::engine {
namespace {

namespace constants = boost::regex_constants;

/// The engine takes a range such as [b-a] for a bad class name, and reports it behind the closing
/// bracket of the list; the name of a class that is really bad is reported where it begins.
bool IsBadRange(const boost::regex_error& error, const std::string& text) {
  const auto position = static_cast<std::size_t>(error.position());
  return error.code() == constants::error_ctype && position > 0 && position <= text.size() &&
         text[position - 1] == ']';
}

/// The error that is told for `error`, with the engine's text for it.
template <class Traits>
boost::regex_error Told(const boost::regex_error& error, const std::string& text,
                        const Traits& traits) {
  if (!IsBadRange(error, text)) return error;
  const std::string wrong = traits.error_string(constants::error_ctype);
  std::string message = error.what();
  if (message.compare(0, wrong.size(), wrong) == 0) {
    message.replace(0, wrong.size(), traits.error_string(constants::error_range));
  }
  return boost::regex_error(message, constants::error_range, error.position());
}

/// Gives up on a match that ends before it begins, or that begins before `from`, the end of the
/// match before: \K in a look-ahead or a look-behind can bring that about. The engine would find
/// the one for ever, and text of two matches can't be replaced twice.
void RequireProgress(const boost::cmatch& results, const char* from) {
  if (results[0].second < results[0].first || results[0].first < from) {
    throw boost::regex_error(constants::error_complexity);
  }
}

}  // namespace

template <class Traits>
void Expression<Traits>::Imbue(const typename Traits::locale_type& locale) {
  regex_.imbue(locale);
  locale_ = locale;
}

template <class Traits>
void Expression<Traits>::Compile(const std::string& text, std::uint32_t word) {
  const Translation translation = Translate(text.c_str(), word);
  if (!locale_) Imbue(Traits::DefaultLocale());
  const auto& traits = regex_.get_traits();
  try {
    if (translation.error != constants::error_ok) {
      throw boost::regex_error(traits.error_string(translation.error), translation.error,
                               static_cast<std::ptrdiff_t>(translation.errorPosition));
    }
    regex_.assign(translation.text, translation.flags);
    failed_ = false;
    errorCode_ = 0;
    groupCount_ = static_cast<unsigned int>(regex_.mark_count());
  } catch (const boost::regex_error& error) {
    const boost::regex_error told = Told(error, translation.text, traits);
    failed_ = true;
    errorCode_ = told.code();
    throw told;
  }
}

template <class Traits>
bool Expression<Traits>::Search(const char* first, const char* last, boost::cmatch& results,
                                Flags flags) const {
  const bool found = boost::regex_search(first, last, results, regex_, flags);
  if (found) RequireProgress(results, first);
  return found;
}

template <class Traits>
bool Expression<Traits>::MatchWhole(const char* first, const char* last, boost::cmatch& results,
                                    Flags flags) const {
  return boost::regex_match(first, last, results, regex_, flags | boost::match_all);
}

template <class Traits>
unsigned int Expression<Traits>::Grep(const char* first, const char* last, Flags flags,
                                      const Report& report) const {
  return boost::regex_grep(
      [&report, from = first](const boost::cmatch& results) mutable {
        RequireProgress(results, from);
        from = results[0].second;
        return report(results);
      },
      first, last, regex_, flags);
}

template <class Traits>
void Expression<Traits>::Merge(const char* first, const char* last, const char* format, Flags flags,
                               std::string& out) const {
  const bool copy = (flags & boost::format_no_copy) == 0;
  const bool all = (flags & boost::format_first_only) == 0;
  boost::regex_grep(
      [&](const boost::cmatch& results) {
        RequireProgress(results, first);
        if (copy) out.append(first, results[0].first);
        results.format(std::back_inserter(out), format, flags, regex_);
        first = results[0].second;
        return all;
      },
      first, last, regex_, flags);
  if (copy) out.append(first, last);
}

template class Expression<CppTraits>;
template class Expression<W32Traits>;
template class Expression<CTraits>;

}  // namespace RegexClass::engine
