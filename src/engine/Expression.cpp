// SPDX-License-Identifier: BSL-1.0
#include "engine/Expression.hpp"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <utility>

#include "engine/CompileErrors.hpp"
#include "engine/Limits.hpp"
#include "engine/SyntaxTranslation.hpp"
#include "engine/Walk.hpp"

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
    RequireShallow(translation, regex_.get_traits().InDefaultNotation(translation.text));
    regex_.assign(translation.text, translation.flags);
    helps_ = std::make_shared<Helps>();
    groupCount_ = static_cast<unsigned int>(regex_.mark_count());
  } catch (const boost::regex_error& error) {
    throw Told(error, source, translation, regex_.get_traits().Messages());
  }
}

template <class Traits>
bool Expression<Traits>::Search(const char* first, const char* last, boost::cmatch& results,
                                Flags flags) const {
  RequireAddressable(first, last);
  return Walk(*helps_, regex_, first, last, 0, flags, results).Next();
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
  Walk walk(*helps_, regex_, first, last, static_cast<std::size_t>(last - first), flags, results);
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
  Walk walk(*helps_, regex_, first, last, all ? static_cast<std::size_t>(last - first) : 0, flags,
            results);
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
