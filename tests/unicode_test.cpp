// SPDX-License-Identifier: BSL-1.0
// The model UnicodeLocale, against ICU's own reading of UTF-8, a slow model that decodes first, and
// Unicode's data where Debian's unicode-data is installed.

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include "SearchWays.hpp"
#include "TestHelpers.hpp"
#include "engine/unicode/Utf8.hpp"

namespace RegexClass::test {
namespace {

using engine::EngineChar;
using Character = std::pair<EngineChar, std::string>;  // negative for a byte that isn't UTF-8

RE Unicode(const std::string& expression, const std::string& text, bool icase = false) {
  RE re = Make(expression, text);
  re.SetLocaleModel(RE::UnicodeLocale);
  re.SetMergeCopy(true);
  if (icase) re.AddExpressionOption(RE::Icase);
  return re;
}

std::string Utf8(EngineChar codePoint) {
  std::string bytes;
  engine::AppendUtf8(codePoint, bytes);
  return bytes;
}

#pragma GCC diagnostic ignored "-Wconversion"  // for U8_NEXT

/// The characters of a text by ICU. What it takes for one fault is as many characters as bytes.
std::vector<Character> Decode(const std::string& text) {
  std::vector<Character> characters;
  const auto size = static_cast<std::int32_t>(text.size());
  for (std::int32_t begin = 0, end = 0; begin < size; begin = end) {
    UChar32 c = 0;
    U8_NEXT(text.data(), end, size, c);
    if (c < 0)
      end = begin + 1, c = -static_cast<unsigned char>(text[static_cast<std::size_t>(begin)]);
    characters.push_back(
        {c, text.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin))});
  }
  return characters;
}

/// All sequences of one to four bytes: of those at which Unicode's table of well-formed sequences
/// changes, or with REGEXCLASS_TEST_CASES of all (some minutes).
TEST(UnicodeTest, IteratorReadsAsIcuDoesInBothDirections) {
  std::string bytes =
      "\x01\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEE\xEF\xF0\xF1\xF3\xF4\xF5"
      "\xFF";
  if (Cases(0) > 0)
    for (bytes.clear(); bytes.size() < 256;) bytes += static_cast<char>(bytes.size());
  std::string text;
  const std::function<void()> check = [&] {
    const auto expected = Decode(text);
    const std::string around = '\xC3' + text + "\x80\x80\x80";  // where nothing is to be read
    const char* const first = around.data() + 1;
    const engine::Utf8Text whole = {first, first + text.size()};
    engine::Utf8Iterator place(whole, whole.first);
    for (const auto& [c, itself] : expected) {
      const engine::Utf8Iterator before = place++;
      engine::Utf8Iterator back = place;
      const EngineChar found = engine::ToCodePoint(*before);
      ASSERT_TRUE(--back == before && *back == *before);
      ASSERT_EQ(c, found > engine::kLastCodePoint ? engine::kIllFormedByte - found : found);
      ASSERT_EQ(std::string(before.Position(), place.Position()), itself);
      for (const char* at = before.Position(); at != place.Position(); ++at)
        ASSERT_EQ(back.MoveTo(at), at == before.Position());
    }
    for (std::size_t i = 0; i < bytes.size() && text.size() < 4; ++i) {
      text += bytes[i];
      check();
      text.pop_back();
    }
  };
  check();
}

/// An expression of characters, lists and their repeats, and what it finds in a text that is
/// decoded first.
class DecodingModel {
 public:
  DecodingModel(Random& random, const Texts& alphabet, bool icase) : icase_(icase) {
    for (std::size_t n = 1 + random.Below(3); n > 0; --n) {
      Add(random, Decode(alphabet[random.Below(kWellFormed)])[0].first);
    }
  }
  const std::string& Expression() const { return expression_; }

  /// The text with each match in angle brackets.
  std::string Marked(const std::string& text) const {
    const auto characters = Decode(text);
    std::string marked;
    const auto copy = [&](std::size_t from, std::size_t to) {
      for (; from < to; ++from) marked += characters[from].second;
    };
    for (std::size_t at = 0; at <= characters.size();) {
      const int found = End(0, characters, at);
      const auto end = found < 0 ? at : static_cast<std::size_t>(found);
      if (found >= 0) marked += '<';
      copy(at, end);
      if (found >= 0) marked += '>';
      if (found >= 0 && end == characters.size()) break;
      if (end == at) copy(at, std::min(at + 1, characters.size()));
      at = std::max(end, at + 1);
    }
    return marked;
  }

  static constexpr std::size_t kWellFormed = 14;  // so many of the alphabet begin with a code point

 private:
  /// A character or a list, so and so often, as often as can be.
  struct Piece {
    std::string text;
    std::function<bool(EngineChar)> matches;
    std::size_t least = 1, most = 1;
  };

  EngineChar Fold(EngineChar c) const {
    return icase_ && c > 0 ? u_foldCase(c, U_FOLD_CASE_DEFAULT) : c;
  }

  void Add(Random& random, EngineChar c) {
    const auto itself = [this, c](EngineChar other) { return Fold(other) == Fold(c); };
    const auto inRange = [this](EngineChar other) {
      return Fold(other) >= 0xE0 && Fold(other) <= 0x3C9;
    };
    const std::vector<Piece> kinds = {
        {"[à-ω]", inRange},
        {Utf8(c), itself},
        {".", [](EngineChar) { return true; }},
        {"[^" + Utf8(c) + "]", [itself](EngineChar other) { return !itself(other); }},
        {"\\p{L}", [](EngineChar other) { return other > 0 && u_isalpha(other); }},
        {"[\\P{L}]", [](EngineChar other) { return other < 0 || !u_isalpha(other); }}};
    static const char* const kRepeats[] = {"", "+", "?", "*"};
    pieces_.push_back(kinds[random.Below(kinds.size())]);
    const std::size_t repeat = random.Below(4);
    pieces_.back().least = repeat < 2 ? 1 : 0;
    pieces_.back().most = repeat % 2 == 0 ? 1 : 99;
    expression_ += pieces_.back().text + kRepeats[repeat];
  }

  /// Where a match of the pieces from `piece` on that begins at `at` ends; -1 when none does.
  int End(std::size_t piece, const std::vector<Character>& text, std::size_t at) const {
    if (piece == pieces_.size()) return static_cast<int>(at);
    const Piece& it = pieces_[piece];
    std::size_t count = 0;
    while (count < it.most && at + count < text.size() && it.matches(text[at + count].first))
      ++count;
    for (; count + 1 > it.least; --count) {
      const int end = End(piece + 1, text, at + count);
      if (end >= 0 || count == 0) return end;
    }
    return -1;
  }

  const bool icase_;
  std::string expression_;
  std::vector<Piece> pieces_;
};

TEST(UnicodeTest, WalksAreThoseOfAModelThatDecodesFirst) {
  const Texts alphabet = {"a",           "B",      "b",    "é",    "É",        "ς",
                          "Σ",           "中",     "😀",    "\n",   "_",        "٣",
                          "\U00012028",  "\uFFFD", "\x80", "\xC3", "\xE4\xB8", "\xF0\x9F\x98",
                          "\xED\xA0\x80"};
  Random random(1);
  for (int i = Cases(10000); i > 0; --i) {
    random.Below(4) == 0 ? UseAny(random) : Use(Ways::kEngine);
    std::string text, merged;
    for (std::size_t n = random.Below(random.Flip() ? 9 : 40); n > 0; --n)
      text += alphabet[random.Below(alphabet.size())];
    const bool icase = random.Flip();
    const DecodingModel model(random, alphabet, icase);
    RE re = Unicode(model.Expression(), text, icase);
    re.SetFormatString("<$&>");
    re.Merge(merged);
    ASSERT_EQ(merged, model.Marked(text)) << model.Expression() << " in " << text;
  }
}

/// What a walk finds, one behind the other; "!" and the code for an expression that is no good.
std::string Found(const std::string& expression, const std::string& text, bool icase = false,
                  const std::string& format = "$&") {
  RE re = Unicode(expression, text, icase);
  if (const int code = re.ParseExpression()) return '!' + std::to_string(code);
  std::string found;
  re.SetFormatString(format);
  re.SetMergeCopy(false);
  re.Merge(found);
  return found;
}

// What the narrow engine may do for the wide one, and what it may not.
TEST(UnicodeTest, AsciiIsMatchedAlikeOnBothWays) {
  std::istringstream words(
      "a B k s _ . ^ $ \\b \\< \\w \\W \\S \\d \\v \\L \\u [^a] [a-z] [\\W\\d] [[:punct:]] "
      "[[:upper:][:space:]] [Z-a] [A-z] [5-8B-D] \\Z (?i) ( ) | ? * +? {2} (?<=a) (?!k) \\1 \\K "
      "\\n");
  Texts tokens(std::istream_iterator<std::string>(words), {});
  tokens.push_back(" ");
  std::string alphabet;
  for (char c = 0; c < 127; ++c) alphabet += c;
  alphabet += "aaaBBkkssKS  \n\n\r_1";
  Random random(2);
  Use(Ways::kEngine);
  for (int i = Cases(20000); i > 0; --i) {
    std::string expression, found[2];
    for (std::size_t n = 1 + random.Below(5); n > 0; --n)
      expression += tokens[random.Below(tokens.size())];
    const std::string text = random.Text(alphabet, 12);
    const bool icase = random.Flip();
    for (std::string& each : found) {
      try {
        each = Found(expression, text, icase, "\\u$&<\\L$1$^N$`>(?1a:b)\\x41\\U$'\\E$$");
      } catch (const std::runtime_error&) {
        each = "too complex";
      }
      expression += "(\\x41){0}";  // has no narrow way
    }
    if (found[0].substr(0, 1) == "!") continue;  // no good, for whatever comes first
    ASSERT_EQ(found[0], found[1]) << expression << " in " << text;

    std::vector<Report> reports[2];  // of the model CppLocale, and of the wide engine
    for (const bool wide : {false, true}) {
      RE re = Unicode(expression, text);
      re.SetLocaleModel(wide ? RE::UnicodeLocale : RE::CppLocale);
      re.AddExpressionOption(RE::ExtendedSyntax);
      re.AddMatchOption(RE::MatchPartial);
      Recorder recorder(re);
      try {
        re.Grep();
        reports[wide] = recorder.Reports();
      } catch (const std::runtime_error&) {
      }
    }
    ASSERT_EQ(reports[0], reports[1]) << expression << " in " << text;
  }
}

TEST(UnicodeTest, SpeaksUnicode) {
  const struct {
    const char *expression, *text, *found;
    bool icase = false;
  } rows[] = {
      {"\\w+", "-Grüße٣e\u0301-", "Grüße٣e\u0301"},
      {"[à-ü]|\\x{1F600}|\\N{GREEK SMALL LETTER ALPHA}", "aé😀α", "é😀α"},
      {"[[=e=]]|\\bö", "é-ö", "éö"},
      {"\\X", "e\u0301x", "e\u0301x"},
      {"(?P<größe>é)x\\k<größe>(?<=é)", "éxé", "éxé"},
      {"[[:blank:]]", "\v\t ", "\t "},
      {"[[:blank:]]", "\v\té ", "\t "},
      {"k|ß|[Ρ]", "\u212Assẞϱ", "\u212Aẞϱ", true},
      {"\\p{Lu}", "aBc", "aBc", true},  // a letter that differs from a capital by case alone
      {"(?i:a)\\p{Lu}|[[:^upper:]\\P{L}]{2}", "aBbc1", "aBbc"},
      {"\\pL\\P{Lu}[\\p{Script=Greek}\\p{Nd}][\\PL]", "ébα-", "ébα-"},
      {"\\S[\\W][[:punct:]]", "é $", "é $"},
      {"(?x:a #[\f)(?-x)#[\\p{Greek}]", "a#α", "a#α"},
      {"(?i:(?(?=x)x|b)\\p{Lu})\\c[[\\c]\\p{Greek}]", "bc\x1Bα", "bc\x1Bα"},
      {"^.$", "a\U00012028", ""},  // not the end of a line, whatever its low bits
      {"(.)\\1", "\xFF\xFE\xFE", "\xFE\xFE"},
      {"[^a]\\W.", "\x80\xC3\xC3\x81", "\x80\xC3\xC3\x81"},
      {"\xFF|\\p{Cn}|[\\x{0}-\\x{10FFFF}]|\\w|\\p{So}", "\xFF", ""},
      {"\\p{Nope}", "", "!4"},
      {"[\\p{Nope]", "", "!4"},
      {"\\p{L", "", "!5"},
      {"\\x{110000}", "", "!10"},
      {"[ü-à]", "", "!11"},
  };
  for (const Ways ways : kAllWays) {
    Use(ways);
    for (const auto& row : rows)
      EXPECT_EQ(Found(row.expression, row.text, row.icase), row.found) << row.expression;
  }
  RE re = Unicode("éé\xFFééééééé(", "");
  re.ParseExpression();
  EXPECT_NE(re.GetExpressionError().find("'ééééé(>>>HERE>>>'"), std::string::npos);
  EXPECT_EQ(re.GetExpressionErrorPosition(), 20);
  // In the order of a locale, and by number without one.
  re = Unicode("[a-z]", "é");
  EXPECT_FALSE(re.Search());
  re.DeleteExpressionOption(RE::NoCollate);
  EXPECT_TRUE(re.Search());
}

// By number, and in the order of a locale: where case doesn't count, a list has what it has where
// it does, and all that differs from that by case alone.
TEST(UnicodeTest, RangesAreClosedOverCase) {
  std::vector<EngineChar> characters;
  std::string text, ascii;
  for (EngineChar c = 1; c < 0x20000; ++c) {
    if (c >= 0x180 && u_tolower(c) == u_toupper(c)) continue;
    characters.push_back(c);
    (c < 0x80 ? ascii : text) += Utf8(c);
  }
  text = ascii + text;
  Random random(3);
  for (int i = Cases(150); i > 0; --i) {
    UseAny(random);
    const std::size_t end = random.Flip() ? 0x7F : characters.size();
    const bool byOrder = random.Below(3) == 0;
    std::string members;
    for (std::size_t n = 1 + random.Below(4); n > 0; --n) {
      std::ostringstream member;
      const EngineChar c = characters[random.Below(end)];
      if (c < 0x80 && u_isalnum(c))
        member << static_cast<char>(c);
      else
        member << "\\x{" << std::hex << c << '}';
      members += (members.empty() || random.Flip() || members.back() == '-' ? "" : "-");
      members += member.str();
    }
    // The code, and what matches.
    const auto found = [&](const std::string& list, const std::string& in, bool icase) {
      RE re = Unicode(list, in, icase);
      if (byOrder) re.DeleteExpressionOption(RE::NoCollate);
      std::pair<int, std::string> result(re.ParseExpression(), "");
      std::vector<std::vector<REMatch>> matches;
      re.Grep(matches);
      for (const auto& match : matches) result.second += match[0].text;
      return result;
    };
    auto expected = found("[" + members + "]", text, false);
    std::set<EngineChar> folded;
    for (const auto& [c, itself] : Decode(std::exchange(expected.second, "")))
      folded.insert(u_foldCase(c, U_FOLD_CASE_DEFAULT));
    const bool negated = random.Flip();
    const std::string& in = random.Flip() ? text : ascii;
    for (const auto& [c, itself] : Decode(in)) {
      const bool inside = folded.count(u_foldCase(c, U_FOLD_CASE_DEFAULT)) != 0;
      if (expected.first == RE::NoError && inside != negated) expected.second += itself;
    }
    ASSERT_EQ(found((negated ? "[^" : "[") + members + "]", in, true), expected) << members;
  }
}

// The case of a format, on every way to it.
TEST(UnicodeTest, FormatsHaveUnicodesCase) {
  RE re = Unicode("(?<größe>\\w+)", "grüße ÉTÉ \xFF");
  re.SetFormatString("\\U$1-\\L$+{größe}\\E-\\u$1\xFE");
  const std::string expected = "GRÜßE-grüße-Grüße\xFE ÉTÉ-été-ÉTÉ\xFE \xFF";
  std::string merged;
  re.Merge(merged);
  EXPECT_EQ(merged, expected);
  re.SetOnMergingClosure([](auto*, auto&, auto, auto, bool&) {});
  re.Merge(merged);
  EXPECT_EQ(merged, expected);

  re = Make(".", "é");  // of which the match is half of the character
  re.SetFormatString("<$0$'>");
  re.SetOnSearchingClosure([&merged](RE* running, auto&&...) {
    running->SetLocaleModel(RE::UnicodeLocale);
    running->Format(merged);
  });
  EXPECT_TRUE(re.Search() && merged == "<é>");
}

/// The lines of a file of Unicode's: a range of code points, and what they are.
void ForEachLine(const std::string& file,
                 const std::function<void(EngineChar, EngineChar, const std::string&,
                                          const std::string&)>& line) {
  std::ifstream in("/usr/share/unicode/" + file);
  for (std::string text; std::getline(in, text);) {
    std::istringstream words(text.substr(0, text.find('#')));
    std::string range, property, value;
    if (!(words >> range) || range.empty()) continue;
    while (words >> value && value == ";") {
    }
    property = value.substr(0, value.find(';'));
    words >> value;
    line(std::stoi(range, nullptr, 16),
         std::stoi(range.substr(range.find_last_of('.') + 1), nullptr, 16), property, value);
  }
}

// What ICU, which may be of another version of Unicode, says otherwise of a code point is left out.
TEST(UnicodeTest, PropertiesAreThoseOfUnicodesData) {
  const auto step = Cases(0) > 0 ? 1 : 11;  // of the code points of a range
  const std::pair<const char*, UProperty> files[] = {
      {"extracted/DerivedGeneralCategory.txt", UCHAR_GENERAL_CATEGORY},
      {"Scripts.txt", UCHAR_SCRIPT},
      {"DerivedCoreProperties.txt", UCHAR_INVALID_CODE}};  // the names of properties
  for (const auto& [file, kind] : files) {
    const bool areValues = kind != UCHAR_INVALID_CODE;
    std::map<std::string, std::string> members;
    ForEachLine(file, [&, property = kind](EngineChar first, EngineChar last,
                                           const std::string& name, const std::string&) {
      const auto its = areValues ? property : u_getPropertyEnum(name.c_str());
      const int value = areValues ? u_getPropertyValueEnum(property, name.c_str()) : 1;
      if (!areValues && its >= UCHAR_BINARY_LIMIT) return;  // has values
      for (EngineChar c = first; c <= last; c += step)
        if (!U_IS_SURROGATE(c) && u_getIntPropertyValue(c, its) == value) members[name] += Utf8(c);
    });
    for (const auto& [name, text] : members) {
      EXPECT_TRUE(Unicode("\\p{" + name + "}+", text).MatchAll()) << name;
      if (!areValues) continue;  // these overlap
      for (const auto& [other, otherText] : members) {
        Use(other == name ? Ways::kPlaces : Ways::kEngine, SIZE_MAX / 2);
        EXPECT_EQ(Found("\\p{" + name + "}", otherText), other == name ? text : "") << other;
      }
    }
  }
}

TEST(UnicodeTest, CaseIsFoldedAsUnicodesDataSays) {
  Use(Ways::kAll);
  ForEachLine("CaseFolding.txt",
              [](EngineChar c, EngineChar, const std::string& kind, const std::string& folded) {
                const bool simple = kind == "C" || kind == "S";
                const EngineChar other = simple ? std::stoi(folded, nullptr, 16) : c;
                if (simple && u_foldCase(c, U_FOLD_CASE_DEFAULT) != other) return;
                EXPECT_EQ(Found(Utf8(c), Utf8(other), true), Utf8(other)) << folded;
              });
}

}  // namespace
}  // namespace RegexClass::test
