// Expressions are built as trees, printed in the dialect of every combination of the switches that
// change the notation, and must match what the same tree matches when it is printed in the
// engine's own extended notation and given to the engine directly.

#include <map>
#include <optional>
#include <stdexcept>
#include <sys/mman.h>

#include <gtest/gtest.h>

#include "TestHelpers.hpp"
#include "engine/Expression.hpp"
#include "engine/SyntaxTranslation.hpp"

namespace RegexClass::test {
namespace {

using namespace engine;

struct Node {
  enum Kind {
    kLiteral,
    kDot,
    kList,
    kGroup,
    kAlternation,
    kConcatenation,
    kRepeat,
    kBackReference
  };
  Kind kind = kDot;
  std::string text = {};  // a literal's character, a list's members, a repeat's bounds or operator
  std::vector<Node> parts = {};
};

const std::string kOperatorCharacters = "\\.[]*^$(){}+?|\n";

Node Literal(char c) { return {Node::kLiteral, std::string(1, c)}; }
Node Group(Node part) { return {Node::kGroup, "", {std::move(part)}}; }
Node Repeat(Node part, std::string how) {
  return {Node::kRepeat, std::move(how), {std::move(part)}};
}
Node Join(Node::Kind kind, Node a, Node b) { return {kind, "", {std::move(a), std::move(b)}}; }

/// Prints in the dialect of a word; nothing when the dialect can't say it.
class Dialect {
 public:
  /// `newline` and `escaped`: which of two notations is taken where there is a choice.
  Dialect(std::uint32_t word, bool newline, bool escaped)
      : word_(word), newline_(newline), escaped_(escaped) {}

  /// `first` and `last`: whether the node stands at that end of an expression, a group or an
  /// alternative, where the basic syntaxes have rules of their own.
  std::optional<std::string> Print(const Node& node, bool first = true, bool last = true) const {
    const auto part = [&](std::size_t i, bool isFirst, bool isLast) {
      return Print(node.parts[i], isFirst, isLast);
    };
    switch (node.kind) {
      case Node::kLiteral:
        return Character(node.text[0], first, last);
      case Node::kDot:
        return ".";
      case Node::kList:
        return List(node.text);
      case Node::kGroup:
        return Concatenate({Operator("("), part(0, true, true), Operator(")")});
      case Node::kAlternation:
        return Concatenate({part(0, true, true), Alternative(), part(1, true, true)});
      case Node::kConcatenation:
        return Concatenate({part(0, first, false), part(1, false, last)});
      case Node::kRepeat:
        if (node.text.size() == 1) {
          return Concatenate({part(0, first, false), Operator(node.text)});
        }
        return Concatenate({part(0, first, false), Operator("{"), node.text, Operator("}")});
      default:
        return Has(kBkRefs) ? std::optional<std::string>("\\1") : std::nullopt;
    }
  }

 private:
  using Text = std::optional<std::string>;
  bool Has(std::uint32_t bit) const { return (word_ & bit) != 0; }

  static Text Concatenate(const std::vector<Text>& parts) {
    std::string all;
    for (const Text& part : parts) {
      if (!part) return std::nullopt;
      all += *part;
    }
    return all;
  }

  Text Operator(const std::string& op) const {
    const Text plain = op;
    const Text escaped = "\\" + op;
    switch (op[0]) {
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

  Text Alternative() const {
    const Text bar = Operator("|");
    return Has(kNewlineAlt) && (newline_ || !bar) ? Text("\n") : bar;
  }

  Text Character(char c, bool first, bool last) const {
    const std::string plain(1, c);
    const std::string escaped = "\\" + plain;
    if (Has(kBkParens) && (word_ & kNormal) != kNormal) {
      if (c == '*' || c == '^' || c == '$') {
        const bool ordinary = c == '*' ? first : c == '^' ? !first : !last;
        return ordinary ? plain : escaped;
      }
      if ((c == '+' || c == '?') && first && Operator(plain) == plain) return plain;
    }
    if (c == '}' && (word_ & kNormal) != kNormal) return escaped_ ? escaped : plain;
    if (c == '\n') return Has(kNewlineAlt) ? escaped : plain;
    if (std::string("(){}+?|").find(c) != std::string::npos) {
      const Text op = Operator(plain);
      return !op ? (escaped_ ? escaped : plain) : *op == plain ? escaped : plain;
    }
    return kOperatorCharacters.find(c) != std::string::npos ? escaped : plain;
  }

  Text List(const std::string& members) const {
    if (members == "[:alpha:]" && !Has(kCharClasses)) return std::nullopt;
    if (members == "b:[") return Has(kCharClasses) ? "[b:[]" : "[[:b]";
    std::string list = "[";
    for (const char c : members)
      list += c == '\\' && Has(kEscapeInLists) ? "\\\\" : std::string(1, c);
    return list + "]";
  }

  const std::uint32_t word_;
  const bool newline_;
  const bool escaped_;
};

/// In the engine's own notation, which is the dialect of the plain word.
std::string Extended(const Node& node) { return *Dialect(kNormal, false, true).Print(node); }

std::vector<Node> Atoms() {
  std::vector<Node> atoms = {Literal('a'), Literal('b'), {Node::kDot}};
  for (const char* members : {"ab", "^a", "]a", "a\\", "b:[", "[:alpha:]", "(|)"}) {
    atoms.push_back({Node::kList, members});
  }
  for (const char c : kOperatorCharacters) atoms.push_back(Literal(c));
  return atoms;
}

std::vector<Node> Expressions() {
  const std::vector<Node> atoms = Atoms();
  const Node a = Literal('a');
  const Node b = Literal('b');
  std::vector<Node> all = atoms;
  for (const Node& atom : atoms) {
    for (const char* how : {"*", "+", "?", "2,2", "1,2", "0,1"}) {
      all.push_back(Repeat(atom, how));
      all.push_back(Repeat(Group(Join(Node::kConcatenation, atom, b)), how));
    }
    for (const Node& other : atoms) {
      all.push_back(Join(Node::kAlternation, atom, other));
      all.push_back(Join(Node::kConcatenation, atom, other));
    }
    all.push_back(Join(Node::kConcatenation, Group(atom), {Node::kBackReference}));
    // The one place where the rule of the first match and that of the longest differ.
    all.push_back(Group(Join(Node::kAlternation, atom, Join(Node::kConcatenation, atom, b))));
  }
  all.push_back(Repeat(Group(Join(Node::kAlternation, a, Group(b))), "*"));
  return all;
}

/// All matches with their groups, in all texts, as one text; or the code of the error.
std::string MatchesOf(const std::string& text, boost::regbase::flag_type flags,
                      const std::vector<std::string>& inputs) {
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
  std::vector<std::string> inputs = AllStrings("ab", 3);
  for (const char c : kOperatorCharacters) {
    for (const char* around : {"", "a", "ab"}) inputs.push_back(around + std::string(2, c) + "b");
  }
  inputs.insert(inputs.end(), {"[:b", "a:b", "alph"});

  std::map<std::pair<std::string, boost::regbase::flag_type>, std::string> known;
  const auto matches = [&](const std::string& text, boost::regbase::flag_type flags) {
    const auto [entry, isNew] = known.try_emplace({text, flags});
    if (isNew) entry->second = MatchesOf(text, flags, inputs);
    return entry->second;
  };

  const std::vector<Node> expressions = Expressions();
  std::size_t compared = 0;
  for (std::uint32_t word = 0; word < 0x400; ++word) {
    for (const bool noCollate : {false, true}) {
      // NoCollate has no say in the notation, but in the rule of matching.
      const std::uint32_t whole = word | (noCollate ? kNoCollate : 0u);
      if (noCollate && (whole & kNormal) != kNormal) continue;
      const boost::regbase::flag_type reference =
          noCollate ? 0u : boost::regbase::no_perl_ex | boost::regbase::collate;
      const Dialect dialect(whole, (word % 3) != 0, (word % 5) != 0);
      for (const Node& node : expressions) {
        const auto text = dialect.Print(node);
        if (!text) continue;
        const Translation translation = Translate(*text, whole);
        ASSERT_EQ(translation.error, boost::regex_constants::error_ok) << *text;
        ASSERT_EQ(matches(translation.text, translation.flags), matches(Extended(node), reference))
            << "word " << std::hex << whole << ", expression " << *text << ", translated "
            << translation.text << ", in the extended notation " << Extended(node);
        ++compared;
      }
    }
  }
  EXPECT_GT(compared, 500000u);
}

TEST(Syntax, LeavesPlainNormalAndLiteralTextsAlone) {
  for (const char* text : {"(?:a+?|[[:alpha:]\\]]{2,3})\\1\n", "a{,x}", "\\Q(\\E(?<n>x)\\k<n>"}) {
    EXPECT_EQ(Translate(text, kNormal | kIcase).text, text);
    EXPECT_EQ(Translate(text, kNormal | kIcase).flags, boost::regbase::icase);
    EXPECT_EQ(Translate(text, kLiteral | kBkParens | kNoCollate).text, text);
  }
}

TEST(Syntax, KeepsEscapesThatTakeTheirOwnText) {
  const std::uint32_t basic = kCharClasses | kIntervals | kLimitedOps | kBkBraces | kBkParens;
  const std::pair<const char*, const char*> cases[] = {
      {"\\Qa+(b)\\E+", "\\Qa+(b)\\E\\+"},
      {"\\x{41}\\{2\\}", "\\x{41}{2}"},
      {"\\c(+", "\\c(\\+"},
      {"\\p{alpha}", "\\p{alpha}"},
      {"\\w\\1", "\\w1"},
      {"[[.(.]+]", "[[.(.]+]"},
      {"[\\]", "[\\\\]"},
      {"a\\", "a\\"},
      {"[a", "[a"},
      {"^*a$b", "^\\*a\\$b"},
      {"\\(^*a$\\)*$", "(^\\*a$)*$"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(Translate(text, basic).text, expected);
}

TEST(Engine, RefusesATextWhoseOffsetsDoNotFit) {
  constexpr std::size_t kSize = std::size_t{1} << 31;  // addresses alone, no memory
  void* const text = mmap(nullptr, kSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(text, MAP_FAILED);
  const char* const first = static_cast<const char*>(text);
  Expression<CppTraits> expression;
  expression.Compile("a", kNormal);
  boost::cmatch results;
  std::string out;
  const auto flags = boost::match_default;
  const auto report = [](const boost::cmatch&) { return true; };
  EXPECT_THROW(expression.Search(first, first + kSize, results, flags), std::length_error);
  EXPECT_THROW(expression.MatchWhole(first, first + kSize, results, flags), std::length_error);
  EXPECT_THROW(expression.Grep(first, first + kSize, flags, report), std::length_error);
  EXPECT_THROW(expression.Merge(first, first + kSize, "", flags, out), std::length_error);
  munmap(text, kSize);
}

}  // namespace
}  // namespace RegexClass::test
