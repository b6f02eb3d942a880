// The tables of examples in docs/, row by row, against the library.

#include <RegularExpression.hpp>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

namespace {

using RegexClass::RegularExpression;
using RegexClass::REMatch;
using Row = std::vector<std::string>;

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

/// The texts in backquotes of a cell, as they are meant. One without any is a text about it.
Row Quoted(const std::string& cell) {
  RegularExpression re;
  re.SetExpression("``((?:[^`]|`[^`])+)``|`([^`]*)`");
  re.SetStringToMatch(cell);
  Row texts;
  re.SetOnGreppingClosure([&](RegularExpression*, const std::vector<REMatch>& match, unsigned int,
                              unsigned int, bool&) {
    const std::string text = Replaced(match[1].text + match[2].text, "⏎", "\n");
    texts.push_back(Replaced(text, "␀", std::string(1, '\0')));
  });
  re.Grep();
  return texts;
}

/// The rows of the table between the marks of `name`, cut into cells.
std::vector<Row> Table(const std::string& name, const std::string& page = "guide.md") {
  std::ifstream file(REGEXCLASS_DOCS + ("/" + page));
  const std::string guide{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const std::size_t begin = guide.find("<!-- table: " + name + " -->\n");
  RegularExpression re;
  re.SetStringToMatch(guide.substr(begin, guide.find("<!-- end -->", begin) - begin));
  re.SetExpression("\n");
  Row lines;
  re.Split(lines);
  std::vector<Row> rows;
  re.SetExpression(" ?(?<!\\\\)\\| ?");
  for (std::size_t i = 3; i < lines.size(); ++i) {  // behind the mark, the head and the rule
    re.SetStringToMatch(lines[i]);
    rows.emplace_back();
    re.Split(rows.back());
    for (std::string& cell : rows.back()) cell = Replaced(cell, "\\|", "|");
  }
  EXPECT_GT(rows.size(), 4U) << name;
  return rows;
}

template <class Enumeration>
using Names = std::map<std::string, Enumeration>;

const Names<RegularExpression::Options> kOptions = {
    {"EscapeInLists", RegularExpression::EscapeInLists},
    {"CharClasses", RegularExpression::CharClasses},
    {"Intervals", RegularExpression::Intervals},
    {"LimitedOps", RegularExpression::LimitedOps},
    {"NewlineAlt", RegularExpression::NewlineAlt},
    {"BkPlusQm", RegularExpression::BkPlusQm},
    {"BkBraces", RegularExpression::BkBraces},
    {"BkParens", RegularExpression::BkParens},
    {"BkRefs", RegularExpression::BkRefs},
    {"BkVbar", RegularExpression::BkVbar},
    {"Literal", RegularExpression::Literal},
    {"Icase", RegularExpression::Icase},
    {"NoCollate", RegularExpression::NoCollate},
    {"BasicSyntax", RegularExpression::BasicSyntax},
    {"ExtendedSyntax", RegularExpression::ExtendedSyntax},
    {"NormalSyntax", RegularExpression::NormalSyntax},
    {"EmacsSyntax", RegularExpression::EmacsSyntax},
    {"AwkSyntax", RegularExpression::AwkSyntax},
    {"GrepSyntax", RegularExpression::GrepSyntax},
    {"EgrepSyntax", RegularExpression::EgrepSyntax},
    {"SedSyntax", RegularExpression::SedSyntax},
    {"PerlSyntax", RegularExpression::PerlSyntax},
};

const Names<RegularExpression::Matches> kMatches = {
    {"MatchNotBol", RegularExpression::MatchNotBol},
    {"MatchNotEol", RegularExpression::MatchNotEol},
    {"MatchNotBob", RegularExpression::MatchNotBob},
    {"MatchNotEob", RegularExpression::MatchNotEob},
    {"MatchNotBow", RegularExpression::MatchNotBow},
    {"MatchNotEow", RegularExpression::MatchNotEow},
    {"MatchNotDotNewline", RegularExpression::MatchNotDotNewline},
    {"MatchNotDotNull", RegularExpression::MatchNotDotNull},
    {"MatchNotNull", RegularExpression::MatchNotNull},
    {"MatchContinuous", RegularExpression::MatchContinuous},
    {"MatchPartial", RegularExpression::MatchPartial},
};

/// Expects the first match to be what `cell` says.
void ExpectMatch(RegularExpression& re, const std::string& expression, const std::string& text,
                 const std::string& cell) {
  SCOPED_TRACE(expression + " on " + text);
  re.SetExpression(expression);
  re.SetStringToMatch(text);
  Row found;
  re.SetOnSearchingClosure([&](RegularExpression*, const std::vector<REMatch>& match, unsigned int,
                               unsigned int) { found = {match[0].text}; });
  re.Search();
  EXPECT_EQ(re.GetExpressionError(), "");
  EXPECT_EQ(found, Quoted(cell));
}

TEST(Guide, Syntaxes) {
  for (const Row& row : Table("syntaxes")) {
    for (const std::string& name : Quoted(row[0])) {
      RegularExpression re;
      re.AddExpressionOption(kOptions.at(name));
      const Row switches = Quoted(row[1]);
      for (const std::string& option : switches) {
        EXPECT_TRUE(re.IsExpressionOption(kOptions.at(option)) || option == "ExtendedSyntax" ||
                    option == "BasicSyntax")
            << name << ": " << option;
      }
      ExpectMatch(re, Quoted(row[2])[0], Quoted(row[3])[0], row[4]);
    }
  }
}

TEST(Guide, Switches) {
  for (const Row& row : Table("switches")) {
    const auto option = kOptions.at(Quoted(row[0])[0]);
    RegularExpression re;
    re.AddExpressionOption(RegularExpression::ExtendedSyntax);
    re.AddExpressionOption(option);
    ExpectMatch(re, Quoted(row[2])[0], Quoted(row[3])[0], row[4]);
    re.DeleteExpressionOption(option);
    ExpectMatch(re, Quoted(row[2])[0], Quoted(row[3])[0], row[5]);
  }
}

TEST(Guide, MatchOptions) {
  for (const Row& row : Table("matches")) {
    RegularExpression re;
    ExpectMatch(re, Quoted(row[2])[0], Quoted(row[3])[0], row[5]);
    re.AddMatchOption(kMatches.at(Quoted(row[0])[0]));
    ExpectMatch(re, Quoted(row[2])[0], Quoted(row[3])[0], row[4]);
  }
}

TEST(Guide, Formats) {
  for (const Row& row : Table("formats")) {
    RegularExpression re;
    re.SetExpression("(\\w+)@(\\w+)(!)?");
    re.SetStringToMatch("to ann@home now");
    re.SetFormatString(Quoted(row[0])[0]);
    re.SetOnSearchingClosure([&](RegularExpression* object, auto&&...) {
      std::size_t column = 1;
      for (const auto type : {RegularExpression::FormatAll, RegularExpression::FormatPerl,
                              RegularExpression::FormatSed}) {
        std::string out;
        object->SetFormatType(type);
        object->Format(out);
        EXPECT_EQ(out, Quoted(row[column])[0]) << row[0] << ", column " << column;
        ++column;
      }
    });
    EXPECT_TRUE(re.Search());
  }
}

TEST(Guide, Splits) {
  for (const Row& row : Table("splits")) {
    const std::size_t first = row.size() - 2;  // the cell of an empty expression is none
    RegularExpression re;
    if (first == 1) re.SetExpression(Quoted(row[0])[0]);
    re.SetStringToMatch(Quoted(row[first])[0]);
    Row pieces;
    re.Split(pieces);
    EXPECT_EQ(pieces, Quoted(row[first + 1])) << row[0] << " on " << row[first];
  }
}

TEST(Guide, ExpressionErrors) {
  for (const Row& row : Table("errors")) {
    if (Quoted(row.back()).empty()) continue;
    RegularExpression re;
    re.AddExpressionOption(kOptions.at(Quoted(row[4])[0]));
    re.SetExpression(Quoted(row[3])[0]);
    EXPECT_EQ(std::to_string(re.ParseExpression()), row[1]) << row[3];
  }
}

TEST(Guide, FilePatterns) {
  namespace fs = std::filesystem;
  const fs::path before = fs::current_path();
  const fs::path folder =
      fs::path(testing::TempDir()) / ("guide-test-files." + std::to_string(getpid()));
  fs::remove_all(folder);
  fs::create_directories(folder / "sub" / "deep");
  fs::current_path(folder);
  for (const char* const file :
       {".hidden.txt", "a.txt", "b.txt", "c;d.txt", "e.log", "sub/f.txt", "sub/deep/g.txt"}) {
    std::ofstream(file) << "x";
  }
  fs::create_symlink("a.txt", "link.txt");
  for (const Row& row : Table("patterns")) {
    RegularExpression re;
    re.SetExpression("x");
    re.SetFilesToMatch(Quoted(row[0])[0]);
    re.SetDirectoryRecursion(row[1] == "yes");
    Row files;
    re.SetOnFindFilesClosure(
        [&](RegularExpression*, const std::string& file, bool&) { files.push_back(file); });
    re.FindFiles();
    EXPECT_EQ(files, row.size() > 2 ? Quoted(row[2]) : Row()) << row[0];
    EXPECT_EQ(re.GetFindFilesErrors(), nullptr);
  }
  fs::current_path(before);
  fs::remove_all(folder);
}

TEST(Moving, FromStdRegex) {
  for (const Row& row : Table("std", "moving.md")) {
    const std::string expression = Quoted(row[0])[0];
    const std::string text = Quoted(row[1])[0];
    Row found;
    bool error = false;
    try {
      std::smatch match;
      if (std::regex_search(text, match, std::regex(expression))) found = {match.str()};
    } catch (const std::regex_error&) {
      error = true;
    }
    EXPECT_EQ(error, row[2] == "an error") << expression;
    EXPECT_EQ(found, Quoted(row[2])) << expression;
    RegularExpression re;
    ExpectMatch(re, expression, text, row[3]);
  }
}

}  // namespace
