// SPDX-License-Identifier: BSL-1.0
// The tables of examples in docs/, row by row, against the library.

#include <algorithm>
#include <clocale>
#include <regex>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "FileTestHelpers.hpp"
#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

/// The texts in backquotes of a cell, as they are meant. One without any is a text about it.
Texts Quoted(const std::string& cell) {
  RE re = Make("``((?:[^`]|`[^`])+)``|`([^`]*)`", Replaced(cell, "\\|", "|"));
  Texts texts;
  re.SetOnGreppingClosure([&](RE*, const std::vector<REMatch>& match, auto&&...) {
    std::string text = Replaced(match[1].text + match[2].text, "⏎", "\n");
    text = Replaced(Replaced(text, "␍", "\r"), "␌", "\f");
    texts.push_back(Replaced(text, "␀", std::string(1, '\0')));
  });
  re.Grep();
  return texts;
}

/// The rows of the table between the marks of `name`, cut into cells behind the first bar.
std::vector<Texts> Table(const std::string& name, const std::string& page = "guide.md") {
  const std::string guide = ReadFile(REGEXCLASS_DOCS + ("/" + page));
  const std::size_t begin = guide.find("<!-- table: " + name + " -->\n");
  RE re = Make("\n", guide.substr(begin, guide.find("<!-- end -->", begin) - begin));
  const Texts lines = Pieces(re);
  std::vector<Texts> rows;
  re.SetExpression(" ?(?<!\\\\)\\|");
  for (std::size_t i = 3; i < lines.size(); ++i) {  // behind the mark, the head and the rule
    re.SetStringToMatch(lines[i]);
    rows.push_back(Pieces(re));
  }
  EXPECT_GT(rows.size(), 4U) << name;
  return rows;
}

/// The number of an enumerator, in a list of their names by number.
template <class Enumeration>
Enumeration Named(const std::string& name, const std::string& names) {
  RE re = Make("", names);
  const Texts all = Pieces(re);
  const auto found = std::find(all.begin(), all.end(), name);
  EXPECT_NE(found, all.end()) << name;
  return static_cast<Enumeration>(found - all.begin());
}
RE::Options Option(const std::string& name) {
  return Named<RE::Options>(
      name,
      "EscapeInLists CharClasses Intervals LimitedOps NewlineAlt BkPlusQm BkBraces BkParens BkRefs "
      "BkVbar Literal Icase NoCollate BasicSyntax ExtendedSyntax NormalSyntax EmacsSyntax "
      "AwkSyntax GrepSyntax EgrepSyntax SedSyntax PerlSyntax");
}
RE::Matches MatchOption(const std::string& name) {
  return Named<RE::Matches>(
      name,
      "MatchDefault MatchNotBol MatchNotEol MatchNotBob MatchNotEob MatchNotBow MatchNotEow "
      "MatchNotDotNewline MatchNotDotNull MatchAny MatchNotNull MatchContinuous MatchPartial");
}

/// Expects the first match of the expression to be what `cell` says.
void ExpectMatch(RE& re, const std::string& expression, const std::string& text,
                 const std::string& cell) {
  SCOPED_TRACE(expression + " on " + text);
  re.SetExpression(Quoted(expression).at(0));
  re.SetStringToMatch(Quoted(text).at(0));
  Recorder recorder(re);
  re.Search();
  EXPECT_EQ(re.GetExpressionError(), "");
  Texts found;
  for (const Report& report : recorder.Reports()) found.push_back(report.matches[0].text);
  EXPECT_EQ(found, Quoted(cell));
}

using Options = std::set<int>;
Options OptionsOf(const RE& re) {
  Options options;
  for (int option = 0; option < 64; ++option) {  // more than there are
    if (re.IsExpressionOption(static_cast<RE::Options>(option))) options.insert(option);
  }
  return options;
}

/// The options that a cell names; a syntax brings its switches, and its name unless only those are
/// asked for.
Options OptionsNamed(const std::string& cell, bool switches = false) {
  Options options;
  for (const std::string& name : Quoted(cell)) {
    RE re;
    re.ClearExpressionOptions();
    re.AddExpressionOption(Option(name));
    options.merge(OptionsOf(re));
  }
  if (switches) options.erase(options.lower_bound(RE::BasicSyntax), options.end());
  return options;
}

TEST(Guide, NamesOfOptionSets) {
  for (const Texts& row : Table("names")) {
    RE re;
    for (const std::string& step : Quoted(row[0])) {
      const RE::Options option = Option(step.substr(1));
      step[0] == '+' ? re.AddExpressionOption(option) : re.DeleteExpressionOption(option);
    }
    EXPECT_EQ(OptionsOf(re), OptionsNamed(row[1])) << row[0];
  }
}

TEST(Guide, Syntaxes) {
  for (const Texts& row : Table("syntaxes")) {
    const Options switches = OptionsNamed(row[1], true);
    EXPECT_TRUE(switches.empty() || switches == OptionsNamed(row[0], true)) << row[0];
    for (const std::string& name : Quoted(row[0])) {
      RE re;
      re.AddExpressionOption(Option(name));
      ExpectMatch(re, row[2], row[3], row[4]);
    }
  }
}

TEST(Guide, Switches) {
  for (const Texts& row : Table("switches")) {
    RE re;
    re.AddExpressionOption(RE::ExtendedSyntax);
    re.AddExpressionOption(Option(Quoted(row[0])[0]));
    ExpectMatch(re, row[2], row[3], row[4]);
    re.DeleteExpressionOption(Option(Quoted(row[0])[0]));
    ExpectMatch(re, row[2], row[3], row[5]);
  }
}

TEST(Guide, MatchOptions) {
  for (const Texts& row : Table("matches")) {
    RE re;
    ExpectMatch(re, row[2], row[3], row[5]);
    re.AddMatchOption(MatchOption(Quoted(row[0])[0]));
    ExpectMatch(re, row[2], row[3], row[4]);
  }
}

TEST(Guide, Unicode) {
  if (!IsBuilt(RE::UnicodeLocale)) GTEST_SKIP() << "no ICU";
  for (const Texts& row : Table("unicode")) {
    RE re;
    re.SetLocale(std::locale::classic());
    if (row[4] != " error") ExpectMatch(re, row[1], row[2], row[4]);
    re.SetLocaleModel(RE::UnicodeLocale);
    ExpectMatch(re, row[1], row[2], row[3]);
  }
}

TEST(Guide, MatchSets) {
  for (const Texts& row : Table("match sets")) {
    RE re;
    for (const std::string& step : Quoted(row[0])) {
      const RE::Matches option = MatchOption(step.substr(1));
      step[0] == '+' ? re.AddMatchOption(option) : re.DeleteMatchOption(option);
    }
    const Texts names = Quoted(row[1]);
    for (int number = RE::MatchDefault; number <= RE::MatchPartial; ++number) {
      const auto is = [&](const auto& name) { return MatchOption(name) == number; };
      EXPECT_EQ(re.IsMatchOption(static_cast<RE::Matches>(number)),
                std::any_of(names.begin(), names.end(), is))
          << row[0] << number;
    }
  }
}

TEST(Guide, Formats) {
  for (const Texts& row : Table("formats")) {
    RE re = Make("(\\w+)@(\\w+)(!)?", "to ann@home now");
    re.SetFormatString(Quoted(row[0])[0] + std::string("\0behind the end", 15));
    for (std::size_t column = 1; column < 5; ++column) {
      static const int kTypes[] = {RE::FormatAll, RE::FormatPerl, RE::FormatSed, 7};
      re.SetFormatType(static_cast<RE::FormatTypes>(kTypes[column - 1]));
      Recorder recorder(re);
      EXPECT_TRUE(re.Search());
      EXPECT_EQ(Texts{recorder.Reports().at(0).formatted}, Quoted(row[column % 4 + column / 4]))
          << row[0] << ", column " << column;
    }
  }
}

TEST(Guide, NamedGroups) {
  for (const Texts& row : Table("named groups")) {
    RE re = Make(Quoted(row[1])[0], Quoted(row[3])[0]);
    re.SetFormatString(Quoted(row[2])[0]);
    re.SetMergeCopy(true);
    EXPECT_EQ(Merged(re), Quoted(row[4])[0]) << row[0] << re.GetExpressionError();
  }
}

TEST(Guide, Splits) {
  for (const Texts& row : Table("splits")) {
    SCOPED_TRACE(row[0] + " on " + row[1] + " up to " + row[2]);
    RE re = Make(Quoted(row[0])[0], Quoted(row[1])[0]);
    re.SetMaximumSplits(std::stoul(row[2]));
    for (const bool deletes : {false, true}) {
      re.SetSplitInputDelete(deletes);
      EXPECT_EQ(Pieces(re), Quoted(row[3]));
      EXPECT_EQ(Texts{re.GetStringToMatch()}, Quoted(row[deletes ? 4 : 1]));
      EXPECT_EQ(Texts{re.GetExpression()}, Quoted(row[0]));
    }
  }
}

void ExpectCode(const std::string& expression, RE::Options syntax, RE::LocaleModels model,
                int code) {
  SCOPED_TRACE(expression);
  RE re = Make(expression, "a");
  re.AddExpressionOption(syntax);
  re.SetLocaleModel(model);
  const bool good = code == RE::NoError;
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(re.ParseExpression(), code);
    EXPECT_EQ(re.GetExpressionError().empty(), good);
  }
  // Not as the engine has it.
  EXPECT_EQ(re.GetExpressionError().rfind("Invalid range end", 0) == 0, code == RE::BadRange);
  EXPECT_EQ(re.NumberOfSubexpressions(), 0U);
  EXPECT_TRUE(good || (!re.Match() && !re.Search() && Merged(re).empty()));
}

TEST(Guide, ExpressionErrors) {
  for (const Texts& row : Table("errors")) {
    for (const auto model : {RE::CppLocale, RE::W32Locale, RE::CLocale, RE::UnicodeLocale}) {
      if (!IsBuilt(model)) continue;
      const int code = std::stoi(row[1]);
      for (const auto& text : Quoted(row[3])) ExpectCode(text, RE::NormalSyntax, model, code);
      for (const auto& text : Quoted(row[4])) ExpectCode(text, RE::BasicSyntax, model, code);
    }
  }
}

TEST(Guide, Records) {
  for (const Texts& row : Table("records", "stream-format.md")) {
    RE re;
    std::istringstream("2 1 12 1 3 0 0 0 0 1 5 0 0 3 old 0 0 0 0 0") >> re;
    std::istringstream in(Quoted(row[0])[0]);
    in >> re;
    EXPECT_EQ(in.rdstate(), row[1] == " good" ? std::ios_base::goodbit : std::ios_base::failbit);
    in.clear();
    std::ostringstream out;
    out << re;
    EXPECT_EQ(Texts{out.str()}, Quoted(row[2])) << row[0];
    EXPECT_EQ(Texts{std::string(std::istreambuf_iterator<char>(in), {})}, Quoted(row[3]));
  }
}

TEST(Guide, FilePatterns) {
  if (fs::path::preferred_separator != '/') GTEST_SKIP() << "names have other rules here";
  const Scratch scratch;
  ASSERT_EQ(0, std::system("mkdir -p sub/deep/.x; mkfifo pipe; ln -s a.txt link.txt; ln -s .. up;"
                           "ln -s loop loop; ln -s no nowhere; for f in .hidden a b 'c;d' Ä sub/f "
                           "sub/deep/.x/g sub/deep/g; do echo x >\"$f.txt\"; done; echo x >e.log"));
  std::setlocale(LC_CTYPE, "C.UTF-8");
  for (const Texts& row : Table("patterns")) {
    RE re = Make("x", "");
    re.SetFilesToMatch(Quoted(row[0])[0]);
    re.SetDirectoryRecursion(row[1] == " yes");
    Texts files;
    re.SetOnFindFilesClosure([&](RE*, const std::string& file, bool&) { files.push_back(file); });
    re.FindFiles();
    EXPECT_EQ(files, Quoted(row[2])) << row[0];
    EXPECT_EQ(re.GetFindFilesErrors(), nullptr);
  }
  std::setlocale(LC_CTYPE, "C");
}

TEST(Guide, ChangesOfFiles) {
  for (const Texts& row : Table("changes")) {
    const Scratch scratch;
    WriteFile("file", Quoted(row[2])[0]);
    RE re = Make(Quoted(row[0])[0], "");
    re.SetFormatString(Quoted(row[1])[0]);
    re.SetFilesToMatch("file");
    re.SetFormatType(RE::FormatSed);  // which, as these, has no say
    re.SetMergeOnlyFirst(true);
    re.AddMatchOption(RE::MatchPartial);
    EXPECT_EQ(re.ChangeFiles(), std::stoul(row[4])) << row[0];
    EXPECT_EQ(Texts{ReadFile("file")}, Quoted(row[3]));
  }
}

TEST(Moving, FromStdRegex) {
  for (const Texts& row : Table("std", "moving.md")) {
    const std::string text = Quoted(row[1])[0];
    Texts found;
    bool error = false;
    try {
      std::smatch match;
      if (std::regex_search(text, match, std::regex(Quoted(row[0])[0]))) found = {match.str()};
    } catch (const std::regex_error&) {
      error = true;
    }
#ifdef _LIBCPP_VERSION  // libc++'s std::regex is another
    constexpr bool kAsInTable = false;
#else
    constexpr bool kAsInTable = true;
#endif
    EXPECT_TRUE(!kAsInTable || error == (row[2] == " an error")) << row[0];
    EXPECT_TRUE(!kAsInTable || found == Quoted(row[2])) << row[0];
    RE re;
    ExpectMatch(re, row[0], row[1], row[3]);
  }
}

TEST(Moving, FromPcre2AndRe2) {
  for (const Texts& row : Table("pcre", "moving.md")) {
    RE re = Make(Quoted(row[0])[0], "");
    EXPECT_EQ(re.ParseExpression() != RE::NoError, row[4] == " an error") << row[0];
    if (row[4] != " an error") ExpectMatch(re, row[0], row[1], row[4]);
  }
}

}  // namespace
}  // namespace RegexClass::test
