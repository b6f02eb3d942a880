// SPDX-License-Identifier: BSL-1.0
// Expressions are rows of tokens, printed in the dialect of any combination of the switches that
// change the notation, and must match what the same row matches when it is printed in the engine's
// own extended notation and given to the engine directly.

#include <memory>
#include <optional>
#include <stdexcept>

#include <gtest/gtest.h>

#include "TestHelpers.hpp"
#include "engine/boost/Traits.hpp"
#include "engine/models/Models.hpp"
#include "engine/syntax/SyntaxTranslation.hpp"

namespace RegexClass::test {
namespace {

using namespace engine;
using Text = std::optional<std::string>;

// The tokens: a, b, the dot and the operators stand for themselves, { for a bounded repeat, 1 for a
// back reference, a capital for a bracket list, and with its high bit set an operator's character
// for a literal.
const std::string kOperators = "\\.[]*^$(){}+?|\n";
const char* const kLists[] = {"ab", "^a", "]\na", "a\\", "b:[", "[:alpha:]", "(|)"};

/// Prints in the dialect of a word; nothing when the dialect can't say it.
class Dialect {
 public:
  /// `random` chooses where there are two notations.
  Dialect(std::uint32_t word, Random& random) : word_(word), random_(random) {}

  Text Print(const std::string& tokens) const {
    std::string text;
    bool first = true, behindAnchor = false;  // where the basic syntaxes have rules of their own
    for (std::size_t i = 0; i < tokens.size(); ++i) {
      const bool last = i + 1 == tokens.size() || tokens[i + 1] == ')' || tokens[i + 1] == '|';
      const Text piece = Piece(tokens[i], first, first || behindAnchor, last);
      if (!piece) return std::nullopt;
      text += *piece;
      behindAnchor = first && tokens[i] == '^';
      first = tokens[i] == '(' || tokens[i] == '|';
    }
    return text;
  }

 private:
  bool Has(std::uint32_t bit) const { return (word_ & bit) != 0; }
  bool IsPerl() const { return (word_ & kNormal) == kNormal; }
  bool IsBasic() const { return Has(kBkParens) && !IsPerl(); }

  /// `start`: whether a repeat would have nothing to repeat.
  Text Piece(char token, bool first, bool start, bool last) const {
    if ((token & 0x80) != 0) return Literal(static_cast<char>(token & 0x7F), first, start, last);
    if (token >= 'A' && token <= 'G') return List(kLists[token - 'A']);
    Text op = Operator(token);
    switch (token) {
      case '1':
        return Has(kBkRefs) ? Text("\\1") : std::nullopt;
      case '{':
        return op ? *op + "1,2" + *Operator('}') : op;
      case '|':
        return Has(kNewlineAlt) && (!op || random_.Flip()) ? "\n" : op;
      case '*':
      case '+':
      case '?':
        return IsBasic() && start && op == Text({token}) ? std::nullopt : op;
      case '^':
        return IsBasic() && !first ? std::nullopt : op;
      case '$':
        return IsBasic() && !last ? std::nullopt : op;
      default:
        return op;
    }
  }

  Text Operator(char op) const {
    Text plain({op}), escaped({'\\', op});
    switch (op) {
      case '(':
      case ')':
        return Has(kBkParens) ? escaped : plain;
      case '{':
      case '}':
        return !Has(kIntervals) ? std::nullopt : Has(kBkBraces) ? escaped : plain;
      case '+':
      case '?':
        return Has(kBkPlusQm) ? escaped : Has(kLimitedOps) ? std::nullopt : plain;
      case '|':
        return Has(kBkVbar) ? escaped : Has(kLimitedOps) ? std::nullopt : plain;
      default:
        return plain;
    }
  }

  Text Literal(char c, bool first, bool start, bool last) const {
    Text plain({c}), escaped({'\\', c}), either = random_.Flip() ? plain : escaped;
    const Text op = Operator(c);
    if (c == '\n') return Has(kNewlineAlt) ? escaped : plain;
    if (c == '}' && !IsPerl()) return either;
    if (!op) return either;
    if (op == escaped) return plain;
    const bool repeats = c == '*' || c == '+' || c == '?';
    const bool ordinary = (repeats && start) || (c == '^' && !first) || (c == '$' && !last);
    return IsBasic() && ordinary ? plain : escaped;
  }

  Text List(const std::string& members) const {
    if (members == "[:alpha:]" && !Has(kCharClasses)) return std::nullopt;
    if (members == "b:[") return Has(kCharClasses) ? "[b:[]" : "[[:b]";
    std::string list = "[";
    for (const char c : members) {
      list += c == '\\' && Has(kEscapeInLists) ? "\\\\" : std::string(1, c);
    }
    return list + "]";
  }

  const std::uint32_t word_;
  Random& random_;
};

/// All matches with their groups, in all texts, as one text; or the code of the error.
std::string MatchesOf(const std::string& text, boost::regbase::flag_type flags,
                      const Texts& inputs) {
  try {
    const boost::regex regex(text, flags);
    std::string all;
    for (const std::string& input : inputs) {
      for (boost::sregex_iterator i(input.begin(), input.end(), regex), end; i != end; ++i) {
        for (int group = 0; group < static_cast<int>(i->size()); ++group) {
          all += std::to_string(i->position(group)) + ":" + std::to_string(i->length(group)) + " ";
        }
      }
      all += "/";
    }
    return all;
  } catch (const boost::regex_error& error) {
    return "error " + std::to_string(error.code());
  }
}

TEST(Syntax, EverySwitchKeepsItsMeaningInEveryCombination) {
  Texts inputs = AllStrings("ab", 3);
  for (const char c : kOperators) {
    for (const char* around : {"", "a", "ab"}) inputs.push_back(around + std::string(2, c) + "b");
  }
  inputs.insert(inputs.end(), {"[:b", "a:b", "alph"});
  std::string tokens = "aaaabbb...ABCDEFG(((()))))|||**++??{{1^^$$";
  for (const char c : kOperators) tokens += static_cast<char>(c | 0x80);

  Random random(1);
  for (int i = 0; i < Cases(60000); ++i) {
    const auto word = static_cast<std::uint32_t>(random.Below(0x400)) | kNoCollate;
    const bool perl = (word & kNormal) == kNormal;
    const std::string row = random.Text(tokens, 6);
    const Text text = Dialect(word, random).Print(row);
    if (!text || text->empty()) continue;
    const std::string extended = *Dialect(kNormal, random).Print(row);
    const Translation translation = Translate(*text, word);
    ASSERT_EQ(
        MatchesOf(translation.text, translation.flags, inputs),
        MatchesOf(extended, perl ? boost::regbase::normal : boost::regbase::no_perl_ex, inputs))
        << "word " << std::hex << word << ", expression " << *text << ", translated "
        << translation.text << ", in the extended notation " << extended;
  }
}

// The end of a group that nothing has begun, behind an expression that is good.
TEST(Syntax, TellsWhereAnExpressionIsBroken) {
  Random random(2);
  for (int i = 0; i < Cases(20000); ++i) {
    const auto word = static_cast<std::uint32_t>(random.Below(0x400)) | kNoCollate;
    const Dialect dialect(word, random);
    const Text begin = dialect.Print("("), end = dialect.Print(")");
    const Text row = dialect.Print(random.Text("ab\xDB.AG(((()))||**++{", 6));
    if (!row) continue;
    std::string good = "a" + *row;
    if ((word & kNormal) == kNormal && random.Flip()) good.insert(0, *begin + "?P<n>" + *end);
    const auto compiler = CppModel().MakeCompiler();
    Error error;
    if (compiler->Compile(good, word, error) == nullptr) continue;
    EXPECT_EQ(compiler->Compile(good + *end + "b", word, error), nullptr) << good;
    EXPECT_EQ(error.code, ErrorCode::kRightParenthesis) << good;
    EXPECT_EQ(error.position, static_cast<std::ptrdiff_t>(good.size())) << good;
  }
}

TEST(Syntax, ReadsPythonsNames) {
  const struct {
    const char *text, *read;
    std::uint32_t word = kNormal;
  } rows[] = {
      {"(?P<n>a)((?P<m>b)|(?P>m))", "(?<n>a)((?<m>b)|(?P>m))"},
      {"\\(?P<n>[(?P<n>]\\Q(?P<n>\\E(?#(?P<n>)", "\\(?P<n>[(?P<n>]\\Q(?P<n>\\E(?#(?P<n>)"},
      {"(?x: #(?P<n>\n(?P<n>a))#(?P<m>b)", "(?x: #(?P<n>\n(?<n>a))#(?<m>b)"},
      {"\\(?P<n>a\\)(?P<n>", "(?<n>a)\\(?P<n>", kNormal | kBkParens},
      {"a(?P<n>", "a(?P<n>", kNormal | kLiteral},
      {"a(?P<n>", "a(?P<n>", kBkRefs | kIntervals},
  };
  for (const auto& row : rows) {
    Translation translation = Translate(row.text, row.word);
    ReadPythonNames(translation, translation.text);
    EXPECT_EQ(translation.text, row.read);
  }
}

TEST(Syntax, LeavesAloneWhatNoSwitchGoverns) {
  const std::pair<const char*, std::uint32_t> cases[] = {{"a{x}", kNormal | kBkVbar},
                                                         {"(a)\\g{1}", kNormal | kBkBraces},
                                                         {"\\c(\\Qa+(b)", kBkParens},
                                                         {"[[.].](]", kBkParens}};
  for (const auto& [text, word] : cases) {
    const Translation translation = Translate(text, word);
    EXPECT_EQ(translation.text, text);
    EXPECT_EQ(translation.error, boost::regex_constants::error_ok) << text;
  }
  EXPECT_EQ(Translate("", kBkRefs).error, boost::regex_constants::error_empty);
}

TEST(Engine, HasTheTraitsOfTheEnginesOwn) {
  const boost::cpp_regex_traits<char> theirs;
  const CatalogueTraits ours;
  for (const std::string name :
       {"alnum",   "alpha", "blank", "cntrl", "d",    "digit",  "graph", "h",
        "l",       "lower", "print", "punct", "s",    "space",  "u",     "SPAce",
        "unicode", "upper", "v",     "w",     "word", "xdigit", "none",  ""}) {
    const char* const end = name.data() + name.size();
    const auto ourClass = ours.lookup_classname(name.data(), end);
    const auto theirClass = theirs.lookup_classname(name.data(), end);
    ASSERT_EQ(ourClass == 0, theirClass == 0) << name;
    for (int i = 0; i < 256; ++i) {
      const char c = static_cast<char>(i);
      EXPECT_EQ(ours.isctype(c, ourClass), theirs.isctype(c, theirClass)) << name << ' ' << i;
      EXPECT_EQ(ours.syntax_type(c), theirs.syntax_type(c)) << i;
    }
    EXPECT_EQ(ours.lookup_collatename(name.data(), end),
              theirs.lookup_collatename(name.data(), end));
  }
  for (const std::string number :
       {"12x", "0x1F}", "+5", " 7", "-3", "", "99999999999999999999", "1,2"}) {
    for (const int radix : {8, 10, 16}) {
      const char* first[] = {number.data(), number.data()};
      const char* const end = number.data() + number.size();
      EXPECT_EQ(ours.toi(first[0], end, radix), theirs.toi(first[1], end, radix)) << number;
      EXPECT_EQ(first[0], first[1]) << number;
    }
  }
}

TEST(Engine, RefusesATextWhoseOffsetsDoNotFit) {
  constexpr std::size_t kSize = std::size_t{1} << 31;
  const std::unique_ptr<char[]> untouched(new char[kSize]);
  const std::string_view text(untouched.get(), kSize);
  for (const auto& model : kModels) {
    Error error;
    const auto expression = model().MakeCompiler()->Compile("a", kNormal, error);
    if (expression == nullptr) continue;  // a model that this build doesn't have
    Match match;
    std::string out;
    EXPECT_THROW(expression->Search(text, {}, match), std::length_error);
    EXPECT_THROW(expression->MatchWhole(text, {}, match), std::length_error);
    EXPECT_THROW(expression->Grep(text, {}, nullptr), std::length_error);
    EXPECT_THROW(expression->Merge(text, {}, {""}, out), std::length_error);
  }
}

}  // namespace
}  // namespace RegexClass::test
