// SPDX-License-Identifier: BSL-1.0
#include "engine/UnicodeExpression.hpp"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <iterator>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/CompileErrors.hpp"
#include "engine/Limits.hpp"
#include "engine/Tokens.hpp"
#include "engine/UnicodeAtoms.hpp"
#include "engine/UnicodeNotation.hpp"
#include "engine/UnicodeTraits.hpp"
#include "engine/Walk.hpp"

namespace RegexClass::engine {
namespace {

using WideMatch = boost::match_results<Utf8Iterator>;
using WideSub = boost::sub_match<Utf8Iterator>;
using WideMatcher =
    boost::BOOST_REGEX_DETAIL_NS::perl_matcher<Utf8Iterator, WideMatch::allocator_type,
                                               UnicodeTraits>;

}  // namespace
}  // namespace RegexClass::engine

/// The engine asks whether a match is empty, and needn't count its characters for that.
template <>
RegexClass::engine::WideSub::difference_type RegexClass::engine::WideSub::length() const {
  return matched ? second.Position() - first.Position() : 0;
}

namespace boost::BOOST_REGEX_DETAIL_NS {

/// The engine limits the states of a match by the length of the text, which it knows of iterators
/// with random access alone. Here it may be counted.
template <>
void RegexClass::engine::WideMatcher::estimate_max_state_count(void*) {
  estimate_max_state_count(static_cast<std::random_access_iterator_tag*>(nullptr));
}

}  // namespace boost::BOOST_REGEX_DETAIL_NS

namespace RegexClass::engine {
namespace {

/// The ICU locale for the order of a locale.
std::string OrderOf(const std::locale& locale) {
  static constexpr std::string_view kCategory = "LC_COLLATE=";
  std::string name = locale.name();
  const std::size_t found = name.find(kCategory);
  if (found != std::string::npos) {
    name.erase(0, found + kCategory.size());
    name.erase(std::min(name.find(';'), name.size()));
  }
  const std::string language = name.substr(0, name.find_first_of(".@"));
  if (name == "*") return "root";
  return language == "C" || language == "POSIX" ? "en_US_POSIX" : name;
}

bool IsAscii(const char* first, const char* last) {
  constexpr std::ptrdiff_t kBlock = 4096;  // seen at once, so that the loop needs no way out
  while (first != last) {
    const char* const end = first + std::min(kBlock, last - first);
    unsigned char seen = 0;
    for (; first != end; ++first) seen |= static_cast<unsigned char>(*first);
    if (seen >= 0x80) return false;
  }
  return true;
}

/// Whether a list means the same to the narrow engine: its classes have the same ASCII members.
bool IsListOfAscii(std::string_view list) {
  static const std::set<std::string_view> names = {"alnum", "alpha", "blank", "cntrl", "digit",
                                                   "graph", "lower", "print", "punct", "space",
                                                   "upper", "word",  "xdigit"};
  if (list.find("[.") != list.npos || list.find("[=") != list.npos) return false;
  for (std::size_t at = 0; (at = list.find("[:", at)) != list.npos;) {
    at += 2;
    const std::size_t end = list.find(":]", at);
    if (end == list.npos || names.count(list.substr(at, end - at)) == 0) return false;
    at = end + 2;
  }
  return true;
}

/// Whether an expression means the same to the narrow engine, in the classic locale, on a text of
/// nothing but ASCII. Not when it might: what is no everyday escape has only the long way.
bool IsAlikeInAscii(const Translation& translation) {
  static constexpr std::string_view kEscapes = "123456789wWdDsSlLuUbBAzZntrfQE";
  const std::string_view text = translation.text;
  if ((translation.flags & boost::regbase::collate) != 0) return false;
  if (!IsAscii(text.data(), text.data() + text.size())) return false;
  if ((translation.flags & boost::regbase::literal) != 0) return true;
  bool alike = true;
  ForEachToken(text, false, [&](const Token& each) {
    const std::string_view token = each.text;
    if (token.front() == '[' && !IsListOfAscii(token)) alike = false;
    for (std::size_t i = 0; (i = token.find('\\', i)) != token.npos; i += 2) {
      const char c = i + 1 < token.size() ? token[i + 1] : 'x';
      const bool letter = std::isalnum(static_cast<unsigned char>(c)) != 0;
      if (letter && kEscapes.find(c) == kEscapes.npos) alike = false;
    }
  });
  return alike;
}

using GroupNames = boost::BOOST_REGEX_DETAIL_NS::named_subexpressions;

/// The names of groups, in bytes: the engine keeps their hashes, which are those of characters.
/// `compiled` holds the groups, `text` their names.
std::shared_ptr<GroupNames> NamesInBytes(const GroupNames& compiled, std::string_view text) {
  auto names = std::make_shared<GroupNames>();
  std::set<std::string_view> known;
  ForEachToken(text, false, [&](const Token& token) {
    if (token.text != "(?<" && token.text != "(?'") return;
    const std::size_t begin = token.at + token.text.size();
    const std::size_t end = text.find(token.text.back() == '<' ? '>' : '\'', begin);
    const std::string_view name = text.substr(begin, std::min(end, text.size()) - begin);
    if (!known.insert(name).second) return;
    const Utf8Text bytes = {name.data(), name.data() + name.size()};
    std::vector<EngineChar> characters(Utf8Iterator(bytes, bytes.first),
                                       Utf8Iterator(bytes, bytes.last));
    std::transform(characters.begin(), characters.end(), characters.begin(), ToCodePoint);
    const EngineChar* const first = characters.data();
    const auto groups = compiled.equal_range(first, first + characters.size());
    for (auto group = groups.first; group != groups.second; ++group) {
      names->set_name(bytes.first, bytes.last, group->index);
    }
  });
  return names;
}

/// Makes `narrow` the results of `wide` in bytes, but for the names of groups.
void ToBytes(const WideMatch& wide, boost::cmatch& narrow) {
  narrow.set_size(wide.size(), wide.prefix().first.Position(), wide.suffix().second.Position());
  narrow.set_base(wide.base().Position());
  narrow.set_first(wide[0].first.Position());
  const auto set = [&](std::size_t mark) {
    const WideSub& part = wide[static_cast<int>(mark)];
    if (mark != 0) narrow.set_first(part.first.Position(), mark);
    narrow.set_second(part.second.Position(), mark, part.matched);
  };
  std::size_t closedLast = 0;
  for (std::size_t mark = 0; mark < wide.size(); ++mark) {
    const WideSub& part = wide[static_cast<int>(mark)];
    if (mark == 0 || part.matched) set(mark);
    if (&wide.get_last_closed_paren() == &part) closedLast = mark;
  }
  if (closedLast != 0) set(closedLast);
}

/// A match for the engine's formatter: the results in bytes, read as characters. Each part is read
/// as a text of its own: under another model a match may begin and end inside a character.
class CharacterResults {
 public:
  using value_type = WideSub;

  explicit CharacterResults(const boost::cmatch& results) : results_(results) {
    texts_.reserve(results.size() + 2);
    for (int mark = -2; mark < static_cast<int>(results.size()); ++mark) Add(results[mark]);
    none_.matched = false;
  }
  CharacterResults(const CharacterResults&) = delete;
  CharacterResults& operator=(const CharacterResults&) = delete;

  std::size_t size() const { return results_.size(); }
  const WideSub& operator[](int mark) const {
    const std::size_t index = static_cast<std::size_t>(mark) + 2;
    return index < parts_.size() ? parts_[index] : none_;
  }
  const WideSub& prefix() const { return (*this)[-1]; }
  const WideSub& suffix() const { return (*this)[-2]; }
  const WideSub& get_last_closed_paren() const {
    for (int mark = 1; mark < static_cast<int>(size()); ++mark) {
      if (&results_.get_last_closed_paren() == &results_[mark]) return (*this)[mark];
    }
    return none_;
  }
  int named_subexpression_index(const EngineChar* first, const EngineChar* last) const {
    const std::string name = Name(first, last);
    return results_.named_subexpression_index(name.data(), name.data() + name.size());
  }
  const WideSub& named_subexpression(const EngineChar* first, const EngineChar* last) const {
    return (*this)[named_subexpression_index(first, last)];
  }

 private:
  static std::string Name(const EngineChar* first, const EngineChar* last) {
    std::string name;
    for (; first != last; ++first) AppendUtf8(*first, name);
    return name;
  }
  void Add(const boost::csub_match& part) {
    const Utf8Text& text = texts_.emplace_back(Utf8Text{part.first, part.second});
    WideSub& wide = parts_.emplace_back();
    wide.first = Utf8Iterator(text, part.first);
    wide.second = Utf8Iterator(text, part.second);
    wide.matched = part.matched;
  }

  const boost::cmatch& results_;
  std::vector<Utf8Text> texts_;  // stay where they are, the parts point to them
  std::vector<WideSub> parts_;   // from -2 on
  WideSub none_;
};

/// Where the engine's formatter puts its characters.
class Appender {
 public:
  using iterator_category = std::output_iterator_tag;
  using value_type = void;
  using difference_type = void;
  using pointer = void;
  using reference = void;

  explicit Appender(std::string& out) : out_(&out) {}
  Appender& operator=(EngineChar c) {
    AppendUtf8(c, *out_);
    return *this;
  }
  Appender& operator*() { return *this; }
  Appender& operator++() { return *this; }
  Appender& operator++(int) { return *this; }

 private:
  std::string* out_;
};

}  // namespace

struct Expression<Unicode>::Program {
  Program(std::string_view source, std::uint32_t word, const Translation& translation,
          const std::locale& locale) {
    const UnicodeNotation notation = ToUnicode(translation);
    const bool ordered = (translation.flags & boost::regbase::collate) != 0 ||
                         translation.text.find("[=") != std::string::npos;
    if (ordered) regex.imbue(OrderOf(locale));
    const EngineChar* const first = notation.text.data();
    try {
      regex.assign(first, first + notation.text.size() - 1, translation.flags);
    } catch (const boost::regex_error& error) {
      const auto index = static_cast<std::size_t>(std::max<std::ptrdiff_t>(error.position(), 0));
      const std::size_t position = notation.positions[std::min(index, notation.text.size() - 1)];
      throw boost::regex_error(error.what(), error.code(), static_cast<std::ptrdiff_t>(position));
    }
    groupNames = NamesInBytes(*regex.get_named_subs(), translation.text);
    if (!IsAlikeInAscii(translation)) return;
    ascii.emplace();
    ascii->Imbue({std::locale::classic(), nullptr});
    ascii->Compile(std::string(source), word);
  }

  boost::basic_regex<EngineChar, UnicodeTraits> regex;
  std::shared_ptr<GroupNames> groupNames;
  std::optional<Expression<CppTraits>> ascii;  // the same for a text that is all ASCII
};

void Expression<Unicode>::Imbue(const std::locale& locale) {
  program_.reset();
  locale_ = locale;
}

void Expression<Unicode>::Compile(const std::string& text, std::uint32_t word) {
  const std::string_view source = text.c_str();
  const Translation translation = Translate(source, word);
  if (!locale_) Imbue(std::locale());
  try {
    if (translation.error != boost::regex_constants::error_ok) throw ErrorOf(translation);
    RequireShallow(translation, translation.text);
    program_ = std::make_shared<const Program>(source, word, translation, *locale_);
    helps_ = std::make_shared<Helps>();
    groupCount_ = static_cast<unsigned int>(program_->regex.mark_count());
  } catch (const boost::regex_error& error) {
    throw Told(error, source, translation, nullptr);
  }
}

const Expression<CppTraits>* Expression<Unicode>::ForAscii(const char* first,
                                                           const char* last) const {
  return program_->ascii && IsAscii(first, last) ? &*program_->ascii : nullptr;
}

bool Expression<Unicode>::Search(const char* first, const char* last, boost::cmatch& results,
                                 Flags flags) const {
  RequireAddressable(first, last);
  if (const auto* const ascii = ForAscii(first, last)) {
    return ascii->Search(first, last, results, flags);
  }
  const Utf8Text text = {first, last};
  WideMatch found;
  if (!Walk(*helps_, program_->regex, Utf8Iterator(text, first), Utf8Iterator(text, last), 0, flags,
            found)
           .Next()) {
    return false;
  }
  results.set_named_subs(program_->groupNames);
  ToBytes(found, results);
  return true;
}

bool Expression<Unicode>::MatchWhole(const char* first, const char* last, boost::cmatch& results,
                                     Flags flags) const {
  RequireAddressable(first, last);
  if (const auto* const ascii = ForAscii(first, last)) {
    return ascii->MatchWhole(first, last, results, flags);
  }
  const Utf8Text text = {first, last};
  WideMatch found;
  if (!boost::regex_match(Utf8Iterator(text, first), Utf8Iterator(text, last), found,
                          program_->regex, flags)) {
    return false;
  }
  results.set_named_subs(program_->groupNames);
  ToBytes(found, results);
  return true;
}

unsigned int Expression<Unicode>::Grep(const char* first, const char* last, Flags flags,
                                       const Report& report) const {
  RequireAddressable(first, last);
  if (const auto* const ascii = ForAscii(first, last)) {
    return ascii->Grep(first, last, flags, report);
  }
  const Utf8Text text = {first, last};
  WideMatch found;
  Walk walk(*helps_, program_->regex, Utf8Iterator(text, first), Utf8Iterator(text, last),
            static_cast<std::size_t>(last - first), flags, found);
  boost::cmatch results;
  results.set_named_subs(program_->groupNames);
  unsigned int count = 0;
  while (walk.Next()) {
    ++count;
    ToBytes(found, results);
    if (!report(results)) break;
  }
  return count;
}

void Expression<Unicode>::Merge(const char* first, const char* last, const char* format,
                                Flags flags, std::string& out) const {
  const char* const formatEnd = format + std::char_traits<char>::length(format);
  const auto* const ascii = IsAscii(format, formatEnd) ? ForAscii(first, last) : nullptr;
  if (ascii != nullptr) return ascii->Merge(first, last, format, flags, out);
  const bool copy = (flags & boost::format_no_copy) == 0;
  const bool all = (flags & boost::format_first_only) == 0;
  const char* done = first;
  Grep(first, last, flags, [&](const boost::cmatch& results) {
    if (copy) out.append(done, results[0].first);
    out += Format(results, format, flags);
    done = results[0].second;
    return all;
  });
  if (copy) out.append(done, last);
}

std::string Expression<Unicode>::Format(const boost::cmatch& results, const char* format,
                                        Flags flags) {
  const Utf8Text text = {format, format + std::char_traits<char>::length(format)};
  const std::vector<EngineChar> characters(Utf8Iterator(text, text.first),
                                           Utf8Iterator(text, text.last));
  const CharacterResults match(results);
  const UnicodeTraits traits;
  std::string out;
  boost::BOOST_REGEX_DETAIL_NS::basic_regex_formatter<Appender, CharacterResults, UnicodeTraits,
                                                      const EngineChar*>
      formatter(Appender(out), match, traits);
  formatter.format(characters.data(), characters.data() + characters.size(), flags);
  return out;
}

}  // namespace RegexClass::engine
