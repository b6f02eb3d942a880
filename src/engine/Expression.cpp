#include "engine/Expression.hpp"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <stdexcept>
#include <string_view>

#include "engine/CompileErrors.hpp"
#include "engine/SyntaxTranslation.hpp"

namespace RegexClass::engine {
namespace {

namespace constants = boost::regex_constants;

/// Gives up on a match that ends before it begins, or that begins before `from`, the end of the
/// match before: \K in a look-ahead or a look-behind can bring that about. The engine would find
/// the one for ever, and text of two matches can't be replaced twice.
void RequireProgress(const boost::cmatch& results, const char* from) {
  if (results[0].second < results[0].first || results[0].first < from) {
    throw boost::regex_error(constants::error_complexity);
  }
}

/// Positions are told as numbers of 32 bits with a sign.
void RequireAddressable(const char* first, const char* last) {
  if (last - first > std::numeric_limits<std::int32_t>::max()) {
    throw std::length_error("RegexClass: a text of more than 2147483647 bytes");
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
  const std::string_view source = text.c_str();
  const Translation translation = Translate(source, word);
  if (!locale_) Imbue(Traits::DefaultLocale());
  compiledUnder_ = Traits::LocaleName();
  try {
    if (translation.error != constants::error_ok) throw ErrorOf(translation);
    RequireShallow(translation);
    regex_.assign(translation.text, translation.flags);
    groupCount_ = static_cast<unsigned int>(regex_.mark_count());
  } catch (const boost::regex_error& error) {
    throw Told(error, source, translation, regex_.get_traits().Messages());
  }
}

template <class Traits>
bool Expression<Traits>::Search(const char* first, const char* last, boost::cmatch& results,
                                Flags flags) const {
  RequireAddressable(first, last);
  const bool found = boost::regex_search(first, last, results, regex_, flags);
  if (found) RequireProgress(results, first);
  return found;
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
  RequireAddressable(first, last);
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

std::string FormatMatch(const boost::cmatch& results, const char* format,
                        boost::match_flag_type flags) {
  return results.format(format, flags);
}

}  // namespace RegexClass::engine
