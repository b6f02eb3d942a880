// Locale models and message catalogues, with real locales and real catalogues: they are made in a
// scratch directory, which is also the current one of the tests.

#include <atomic>
#include <clocale>
#include <cstdarg>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <locale.h>
#include <locale>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "TestHelpers.hpp"
#include "object/ResourceMessages.hpp"
#include "platform/MessageCatalogue.hpp"

/// How often the system is still asked for the catalogue that is wanted.
static std::atomic<int> opensLeft;

/// The C library loses a copy of LOCPATH each time that it looks for a locale.
extern "C" [[gnu::visibility("default")]] const char*
__lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier): the tool's name for it
  return "leak:__argz_add_sep\n";
}

/// Takes the place of the system's, so that opening a catalogue can be made to fail.
extern "C" int open(const char* name, int flags, ...) {
  const std::string_view view = name;
  if (view.size() > 4 && view.substr(view.size() - 4) == ".cat" && opensLeft-- <= 0) {
    errno = ENOENT;
    return -1;
  }
  va_list rest;
  va_start(rest, flags);
  const auto mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : mode_t{0};
  va_end(rest);
  return openat(AT_FDCWD, name, flags, mode);
}

namespace RegexClass::test {
namespace {

namespace fs = std::filesystem;

const auto kModels = {RE::CppLocale, RE::W32Locale, RE::CLocale};
const char* const kGerman = "de_DE.ISO-8859-1";
const std::string kEmpty = "Empty expression";

/// `messages` has a line for each, with its number and its text.
void WriteCatalogue(const std::string& file, const std::string& messages) {
  std::ofstream("source.msg") << "$set 1\n" << messages << '\n';
  fs::remove(file);
  ASSERT_EQ(std::system(("gencat '" + file + "' source.msg").c_str()), 0);
}

/// For both models that have catalogues.
class LocaleTest : public testing::TestWithParam<RE::LocaleModels> {
 protected:
  static void SetUpTestSuite() {
    const std::string name = "locale_test." + std::to_string(getpid());
    fs::current_path(fs::temp_directory_path());
    fs::create_directories(name + "/dir.ext");
    fs::current_path(name);
    setenv("LOCPATH", fs::current_path().c_str(), 1);
    EXPECT_EQ(std::system("localedef -i de_DE -f ISO-8859-1 ./de_DE.ISO-8859-1"), 0);
    EXPECT_EQ(std::system("localedef -i de_AT -f ISO-8859-1 ./de_AT.ISO-8859-1"), 0);
    WriteCatalogue("A.cat", "208 A parenthesis\n218 A gave up\n251 A");
    WriteCatalogue("B.cat", "208 B parenthesis\n218 B gave up\n251 B");
  }
  static void TearDownTestSuite() { fs::remove_all(fs::current_path()); }
  void SetUp() override {
    SetUser("C");
    std::setlocale(LC_ALL, "C");
    opensLeft = 1 << 30;
  }
  /// Sets the user's system locale.
  static void SetUser(const char* all, const char* messages = "", const char* lang = "") {
    setenv("LC_ALL", all, 1);
    setenv("LC_MESSAGES", messages, 1);
    setenv("LANG", lang, 1);
  }
};
INSTANTIATE_TEST_SUITE_P(Model, LocaleTest, testing::Values(RE::CppLocale, RE::W32Locale));

RE Under(RE::LocaleModels model, const std::string& localeDll = "") {
  RE re;
  re.SetLocaleModel(model);
  re.SetLocaleDll(localeDll);
  return re;
}

int Parse(RE& re, const std::string& expression) {
  re.SetExpression(expression);
  return re.ParseExpression();
}

/// The text of the error in an expression, without where it is.
std::string Told(RE& re, const std::string& expression = "(") {
  Parse(re, expression);
  const std::string text = re.GetExpressionError();
  return text.substr(0, text.find("  The error occurred"));
}

/// The catalogue that an object loads by that name, as its text for an empty expression tells.
std::string Loaded(const std::string& localeDll, RE::LocaleModels model) {
  RE re = Under(model, "no such catalogue");  // so that the name isn't in force yet
  Parse(re, "a");
  re.SetLocaleDll(localeDll);
  Parse(re, "a");
  return Told(re, "");
}

// Classes, the case of letters and ranges between them, against the C library.
TEST_P(LocaleTest, EachModelHasTheLettersOfItsLocale) {
  for (const char* name : {"C", kGerman, "C"}) {
    for (const RE::LocaleModels model : kModels) {
      SetUser(model == RE::W32Locale ? name : "C");
      std::setlocale(LC_ALL, model == RE::CLocale ? name : "C");
      const locale_t locale = newlocale(LC_ALL_MASK, name, nullptr);
      RE re = Under(model);
      Parse(re, "[[:alpha:]]");  // to be compiled again under the locale
      re.SetLocale(std::locale(name));
      const auto compare = [&](const std::string& expression, const auto& isMember) {
        re.SetExpression(expression);
        for (unsigned char c = 255; c > '\n'; --c) {
          re.SetStringToMatch(std::string(1, static_cast<char>(c)));
          EXPECT_EQ(re.Match(), isMember(c))
              << expression << c << " in " << name << " of " << model;
        }
      };
      compare("[[:alpha:]]", [&](int c) { return isalpha_l(c, locale) != 0; });
      compare("[[:punct:]]", [&](int c) { return ispunct_l(c, locale) != 0; });
      re.SetStringToMatch("\xE4");
      re.SetExpression("[[=a=]]");
      EXPECT_EQ(re.Match(), name == kGerman) << model;

      re.DeleteExpressionOption(RE::NoCollate);
      const auto ordered = [&](char left, char right) {
        return strcoll_l(std::string(1, left).c_str(), std::string(1, right).c_str(), locale) <= 0;
      };
      const auto lower = [&](char c) { return tolower_l(static_cast<unsigned char>(c), locale); };
      const std::string letters = "aAbBzZ\xE4\xC4\xDF\xE9";
      for (const char a : letters) {
        for (const char b : letters) {
          compare({'[', a, '-', b, ']'},
                  [&](char c) { return ordered(a, b) && ordered(a, c) && ordered(c, b); });
        }
        re.AddExpressionOption(RE::Icase);
        compare(std::string(1, a), [&](char c) { return lower(c) == lower(a); });
        re.DeleteExpressionOption(RE::Icase);
      }
      freelocale(locale);
    }
  }
}

TEST_P(LocaleTest, FirstOfTheNamesThatLoadsIsTheCatalogue) {
  SetUser(kGerman);  // gencat takes the bytes for letters of this locale
  for (const std::string name : {"DeD", "De\xD6", "De", "dll"}) WriteCatalogue(name, "251 " + name);
  const auto check = [](auto all, auto messages, auto lang, const std::vector<std::string>& tried) {
    SetUser(all, messages, lang);
    for (unsigned present = 0; present < 1U << tried.size(); ++present) {
      for (const std::string base : {"base.", "./base.", "dir.ext/base.", "dir.ext\\base."}) {
        std::string expected = kEmpty;
        for (std::size_t i = tried.size(); i-- > 0;) {
          fs::remove(base + tried[i]);
          if ((present >> i & 1) != 0) fs::copy_file(expected = tried[i], base + tried[i]);
        }
        EXPECT_EQ(Loaded(base.substr(0, base.size() - 1), GetParam()), expected) << base << all;
      }
    }
  };
  check(kGerman, "", "", {"DeD", "De", "dll"});
  check("", kGerman, "C", {"DeD", "De", "dll"});
  check("", "", kGerman, {"DeD", "De", "dll"});
  check("de_AT.ISO-8859-1", "C", "C", {"De\xD6", "De", "dll"});
  check("no", kGerman, "", {"dll"});
}

TEST_P(LocaleTest, NameWithExtensionIsTheOnlyOneTried) {
  setenv("NLSPATH", (fs::current_path() / "dir.ext/%N").c_str(), 1);
  WriteCatalogue("ext.cat.dll", "251 dll");
  std::ofstream("ext.cat") << "this is no catalogue";
  EXPECT_EQ(Loaded("ext.cat", GetParam()), kEmpty);
  WriteCatalogue("dir.ext/ext.cat", "251 path");
  EXPECT_EQ(Loaded("ext.cat", GetParam()), "path");
  WriteCatalogue("ext.cat", "251 itself");
  EXPECT_EQ(Loaded("ext.cat", GetParam()), "itself");
  fs::remove("dir.ext/ext.cat");

  // Long texts are cut, and files with long names keep their texts.
  const std::string text(300, 't'), cut(254, 't');
  WriteCatalogue("long.cat", "208 " + text + "\n251 " + text);
  const std::string absolute = fs::absolute("long.cat").string();
  for (const std::size_t length : {255U, 256U}) {
    const std::string name = std::string(length - absolute.size(), '/') + absolute;
    EXPECT_EQ(Loaded(name, GetParam()), length == 255 ? cut : kEmpty);
    RE re = Under(GetParam(), name);  // the engine's are read all the same
    EXPECT_EQ(Told(re), cut);
  }
}

TEST_P(LocaleTest, TextsStayUntilAnotherCatalogueLoads) {
  WriteCatalogue("letter.cat", "143 digits\n251 nothing there");
  for (const RE::LocaleModels model : kModels) {
    const bool read = model != RE::CLocale;
    RE re = Under(model, "letter.cat");
    const auto check = [&](const std::string& piece, const std::string& text) {
      std::vector<std::string> pieces;
      re.SetStringToMatch("a1b c");
      re.Split(pieces);
      EXPECT_EQ(pieces.at(0), read ? piece : "a1b");
      EXPECT_EQ(Told(re, ""), read ? text : kEmpty);
    };
    check("a1b", "nothing there");  // compiles for the first time
    for (const char* name : {"letter.cat", "", "missing.cat"}) {
      re.SetLocaleDll(name);
      check("a", "nothing there");
    }
    re.SetLocaleDll("A.cat");  // has no letter
    check("a", "A");
    check("a1b", "A");
  }
}

TEST_P(LocaleTest, EngineReadsItsMessagesFromTheCatalogue) {
  WriteCatalogue("engine.cat", "1 (@\n2 )~\n5 %\n22 !\n208 Klammer\n211 Bereich\n301 buchstabe");
  RE re = Under(GetParam(), "engine.cat");
  re.SetExpression("@a~(b)%.[[:Buchstabe:]][^[:buchstabe:]]\\d[[:upper:]]\\D");
  re.SetStringToMatch("abx.x11Xa");
  EXPECT_TRUE(re.MatchAll());
  EXPECT_EQ(Told(re), "Klammer");
  EXPECT_EQ(Told(re, "[b-a]"), "Bereich");
  RE builtIn = Under(GetParam());
  EXPECT_EQ(Told(re, "a**"), Told(builtIn, "a**"));  // not in the catalogue
  EXPECT_EQ(Parse(builtIn, "[[:buchstabe:]]"), RE::BadCharacterClass);
}

// Each object gets the texts of its own catalogue, whatever the others do meanwhile.
TEST_P(LocaleTest, ObjectsWithDifferentCataloguesTakeTurnsOnManyThreads) {
  const auto takeTurns = [](std::uint32_t seed) {
    RE builtIn = Under(RE::CLocale);
    const std::vector<std::string> names = {"", "missing.cat", "A.cat", "./A.cat", "B.cat"};
    Random random(seed);
    std::vector<RE> objects(4);
    for (int step = 0; step < 800; ++step) {
      RE& re = objects[random.Below(objects.size())];
      const auto action = random.Below(20);
      if (action < 4) re = Under(std::data(kModels)[random.Below(kModels.size())]);
      if (action < 8) re.SetLocaleDll(names[random.Below(names.size())]);
      if (action < 10) re.SetLocale(std::locale::classic());
      std::string name = fs::path(re.GetLocaleDll()).stem().string();
      if (name == "missing" || re.GetLocaleModel() == RE::CLocale) name.clear();
      EXPECT_EQ(Told(re), name.empty() ? Told(builtIn) : name + " parenthesis");
      if (action < 19) continue;
      Parse(re, "(?:a+)+(?:a+)+(?:a+)+(?:a+)+b");
      re.SetStringToMatch(std::string(60, 'a') + "c");
      try {
        re.Search();
        ADD_FAILURE() << "doesn't give up";
      } catch (const std::runtime_error& error) {
        EXPECT_EQ(error.what()[0], name.empty() ? 'T' : name[0]);
      }
    }
  };
  std::vector<std::thread> threads;
  for (std::uint32_t seed = 1; seed < 7; ++seed) threads.emplace_back(takeTurns, seed);
  for (std::thread& thread : threads) thread.join();
}

/// A facet that the engine asks for the case of letters. It uses an object of its own.
struct Case : std::ctype<char> {
  bool fails = true;
  char do_tolower(char c) const override {
    EXPECT_EQ(Make("a", "").ParseExpression(), RE::NoError);
    return fails ? throw std::runtime_error("no case") : std::ctype<char>::do_tolower(c);
  }
};

TEST_P(LocaleTest, FailureIsRememberedAndToldByAnObjectThatDidNotCompile) {
  WriteCatalogue("failure.cat", "252 Geht nicht: ");
  for (const std::string catalogue : {"", "failure.cat"}) {
    for (const std::string before : {"", "(a)", "(a"}) {
      RE re;
      re.AddExpressionOption(RE::Icase);
      Parse(re, before);
      Case* const facet = std::make_unique<Case>().release();  // the locale's
      re.SetLocale(std::locale(std::locale::classic(), facet));
      // After a failure to imbue, the object doesn't go on under the locale that it had before.
      re.SetLocaleDll("A.cat");
      opensLeft = 1;
      EXPECT_EQ(Parse(re, "x"), RE::LocaleDllFailure);
      opensLeft = 1 << 30;
      Make("a", "").ParseExpression();  // back to the catalogue that it was compiled with
      re.SetLocaleDll(catalogue);
      const std::string text =
          catalogue.empty() ? "Unable to open the Locale DLL ." : "Geht nicht: failure.cat.";
      EXPECT_EQ(Told(re, "x"), before == "(a)" ? "" : text) << before;
      facet->fails = false;
      EXPECT_EQ(re.ParseExpression(), RE::LocaleDllFailure);  // not tried again
      EXPECT_FALSE(re.Search());
      EXPECT_EQ(Parse(re, "y"), RE::NoError);
      facet->fails = true;
      EXPECT_EQ(Told(re, "z"), "");
    }
  }
}

TEST_P(LocaleTest, CatalogueThatVanishesAfterItWasFoundIsAFailure) {
  const std::string text = "Unable to open the Locale DLL ";
  Loaded("", GetParam());
  RE re = Under(GetParam(), "A.cat"), another = re;
  opensLeft = 1;
  // While the object is imbued the name is the one that was found; the other model has found
  // the catalogue already when its messages are read, and looks for the name again.
  EXPECT_EQ(Told(re, "a"), text + (GetParam() == RE::CppLocale ? "A.cat." : "."));
  // It is in force nevertheless, and fails others until it can be read.
  EXPECT_EQ(Told(another, "a"), text + ".");
  EXPECT_EQ(another.ParseExpression(), RE::LocaleDllFailure);
  opensLeft = 1 << 30;
  for (RE* const each : {&another, &re}) EXPECT_EQ(Told(*each), "A parenthesis");
}

TEST_P(LocaleTest, FacetNumbersCataloguesPerThread) {
  const ResourceMessages facet(1);
  for (const int expected : {0, 1, 2}) EXPECT_EQ(facet.open("A.cat", {}), expected);
  for (const int number : {1, 1, 99}) facet.close(number);
  EXPECT_EQ(facet.open("B.cat", {}), 1);
  std::thread([&] {
    EXPECT_EQ(facet.get(1, 7, 251, "default"), "default");
    facet.close(1);
    EXPECT_EQ(facet.open("A.cat", {}), 0);
  }).join();
  { const ResourceMessages another(1); }  // doesn't release a record that holds catalogues
  EXPECT_EQ(facet.get(1, 7, 251, "default"), "B");
  for (const int number : {2, 0, 1}) facet.close(number);
}

TEST_P(LocaleTest, CatalogueHasTheTextOfEveryErrorAndOfItsPlace) {
  std::string messages = "230 ; alles:\n231 ; ein Teil:\n232 !\n";
  for (int code = 202; code <= 221; ++code) {
    const std::string number = std::to_string(code);
    messages += number + " T" + number + "\n";
  }
  WriteCatalogue("all.cat", messages);
  const std::pair<const char*, const char*> cases[] = {
      {"*a", "T213; alles:'!*a'."},
      {"a)", "T208; alles:'a!)'."},
      {"a\\", "T205; alles:'a\\!'."},
      {"(a)\\2", "T206; alles:'(a)\\2!'."},
      {"\\x{zz}", "T210; alles:'!\\x{zz}'."},
      {"[b-a]", "T211; alles:'[b-a]!'."},
      {"([z-a", "T207; alles:'(![z-a'."},
      {"(?<=a*)b", "T202"},
      {"(?(1)a|b|c)", "T202; alles:'(?!(1)a|b|c)'."},
      {"0123456789ab)0123456789ab", "T208; ein Teil:'23456789ab!)012345678'."},
  };
  RE re = Under(GetParam(), "all.cat");
  for (const auto& [expression, text] : cases) EXPECT_EQ(Told(re, expression), text);
  re.AddExpressionOption(RE::BasicSyntax);
  EXPECT_EQ(Told(re, "a\\)"), "T208; alles:'a!\\)'.");
  EXPECT_EQ(Told(re, "a\\{x\\}"), "T210; alles:'a\\{!x\\}'.");
}

TEST_P(LocaleTest, DamagedCatalogueHarmsNobody) {
  WriteCatalogue("good.cat", "143 s\n208 parenthesis\n251 nothing there\n252 failed");
  std::ifstream in("good.cat", std::ios::binary);
  const std::string good{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  for (std::size_t bit = 0; bit < 9 * good.size(); ++bit) {  // each bit turned, each byte the last
    std::string bad = good;
    if (bit < 8 * bad.size()) {
      bad[bit / 8] = static_cast<char>(bad[bit / 8] ^ 1 << bit % 8);
    } else {
      bad.resize(bit - 8 * bad.size());
    }
    std::ofstream("bad.cat", std::ios::binary) << bad;
    for (const int number : {251, 0, -1}) {
      EXPECT_LE(platform::MessageCatalogue("bad.cat").Text(number).size(), 254U) << bit;
    }
  }
  EXPECT_EQ(Loaded("good.cat", GetParam()), "nothing there");
}

TEST_P(LocaleTest, CLocaleCompilesAgainWhenTheLocaleHasChanged) {
  RE re = Under(RE::CLocale);
  re.AddExpressionOption(RE::Icase);
  re.SetExpression("\xE4");
  re.SetStringToMatch("\xC4");
  for (const char* const name : {"C", kGerman, "C"}) {
    std::setlocale(LC_ALL, name);
    EXPECT_EQ(re.Search(), name == kGerman) << name;
    EXPECT_EQ(re.MatchAll(), name == kGerman) << name;
  }
}

}  // namespace
}  // namespace RegexClass::test
