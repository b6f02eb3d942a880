// SPDX-License-Identifier: BSL-1.0
// Locale models and message catalogues, with real locales and real catalogues.

#include <clocale>
#include <locale.h>
#include <locale>
#include <thread>

#include <gtest/gtest.h>

#include "FileTestHelpers.hpp"
#include "SystemCalls.hpp"
#include "TestHelpers.hpp"
#include "object/ResourceMessages.hpp"

/// The C library loses a copy of LOCPATH each time that it looks for a locale.
extern "C" [[gnu::visibility("default")]] const char*
__lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier): the tool's name for it
  return "leak:argz_add_sep\n";
}

namespace RegexClass::test {
namespace {

const auto kModels = {RE::CppLocale, RE::W32Locale, RE::CLocale};
const char* const kGerman = "de_DE.ISO-8859-1";
const std::string kEmpty = "Empty expression";

/// `messages` has a line for each, with its number and its text.
void WriteCatalogue(const std::string& file, const std::string& messages) {
  WriteFile("source.msg", "$set 1\n" + messages + '\n');
  fs::remove(file);
  ASSERT_EQ(std::system(("gencat '" + file + "' source.msg").c_str()), 0);
}

/// Sets the user's system locale.
void SetUser(const char* all, const char* messages = "", const char* lang = "") {
  setenv("LC_ALL", all, 1);
  setenv("LC_MESSAGES", messages, 1);
  setenv("LANG", lang, 1);
}

/// The locales that the tests need, for the whole program.
struct Locales : Scratch {
  Locales() {
    setenv("LOCPATH", fs::current_path().c_str(), 1);
    EXPECT_EQ(std::system("localedef -i de_DE -f ISO-8859-1 ./de_DE.ISO-8859-1"), 0);
    EXPECT_EQ(std::system("localedef -i de_AT -f ISO-8859-1 ./de_AT.ISO-8859-1"), 0);
  }
};

/// A directory with the catalogues A.cat and B.cat; each test runs for both models that have such.
class Locale : public testing::TestWithParam<RE::LocaleModels>, protected Scratch {
 protected:
  Locale() {
    static const Locales locales;
    fs::current_path(path + "/here");
    SetUser("C");
    WriteCatalogue("A.cat", "208 A parenthesis\n218 A gave up\n251 A");
    WriteCatalogue("B.cat", "208 B parenthesis\n218 B gave up\n251 B");
  }

 public:
  ~Locale() override {
    std::locale::global(std::locale::classic());
    std::setlocale(LC_ALL, "C");
  }
};
INSTANTIATE_TEST_SUITE_P(Model, Locale, testing::Values(RE::CppLocale, RE::W32Locale));

/// Lets the system open so many catalogues, for the life of the result.
HookedSystemCalls OpensOnly(int count) {
  return HookedSystemCalls([left = count](std::string_view name, Words& arguments) mutable {
    if (name != "open" && name != "openat") return 0;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): words of a system call are pointers, too
    const std::string file = reinterpret_cast<const char*>(arguments[name == "open" ? 0 : 1]);
    return fs::path(file).extension() == ".cat" && left-- <= 0 ? ENOENT : 0;
  });
}

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
  EXPECT_EQ(Parse(re, "a"), RE::NoError);
  return Told(re, "");
}

TEST_P(Locale, HasItsLettersUnderEachModel) {
  // An expression, a text, and whether they match in the C locale and in the German one.
  const std::tuple<const char*, const char*, bool, bool> cases[] = {
      {"[[:alpha:]]", "\xE4", false, true}, {"[[:punct:]]", "\xA7", false, true},
      {"[[:upper:]]", "\xC4", false, true}, {"\\w+", "a\xDF", false, true},
      {"[[=a=]]", "\xE4", false, true},     {"[[=a=]]", "b", false, false},
      {"[a-b]", "\xE4", false, true},       {"[a-b]", "B", false, false},
      {"[\xE4-\xF6]", "b", false, true},    {"[Z-a]", "_", true, false}};
  WriteFile("letter", "\xE4");
  RE lasting = Under(RE::CLocale);  // compiles again when the locale has changed
  lasting.SetExpression("(?i)\xE4");
  lasting.SetStringToMatch("\xC4");
  for (const char* name : {"C", kGerman, "C"}) {
    for (const RE::LocaleModels model : kModels) {
      SetUser(model == RE::W32Locale ? name : "C");
      std::locale::global(std::locale(model == RE::CppLocale ? name : "C"));
      std::setlocale(LC_ALL, model == RE::CLocale ? name : "C");
      EXPECT_EQ(lasting.Search(), model == RE::CLocale && name == kGerman);
      RE re = Under(model);
      Parse(re, "[[:alpha:]]");  // to be compiled again under the locale
      re.SetLocale(std::locale(name));
      re.SetFilesToMatch("letter");
      EXPECT_EQ(re.FindFiles() + re.GrepFiles(), name == kGerman ? 2U : 0U);
      re.SetExpression("(?i)\xE4");
      re.SetStringToMatch("\xC4");
      EXPECT_EQ(re.MatchAll(), name == kGerman);
      re.DeleteExpressionOption(RE::NoCollate);
      for (const auto& [expression, text, inC, inGerman] : cases) {
        re.SetExpression(expression);
        re.SetStringToMatch(text);
        EXPECT_EQ(re.MatchAll(), name == kGerman ? inGerman : inC)
            << expression << text << " in " << name << " of " << model;
      }
    }
  }
}

TEST_P(Locale, HasTheFirstOfTheNamesThatLoadsForACatalogue) {
  SetUser(kGerman);  // gencat takes the bytes for letters of this locale
  fs::create_directory("dir.ext");
  for (const std::string name : {"DeD", "De\xD6", "De", "dll"}) WriteCatalogue(name, "251 " + name);
  const std::tuple<const char*, const char*, const char*, Texts> cases[] = {
      {kGerman, "", "", {"DeD", "De", "dll"}},
      {"", kGerman, "C", {"DeD", "De", "dll"}},
      {"", "", kGerman, {"DeD", "De", "dll"}},
      {"de_AT.ISO-8859-1", "C", "C", {"De\xD6", "De", "dll"}},
      {"no", kGerman, "", {"dll"}}};
  for (const auto& [all, messages, lang, tried] : cases) {
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
  }
}

TEST_P(Locale, HasACatalogueWithAnExtensionOrNone) {
  setenv("NLSPATH", (fs::current_path() / "dir.ext/%N").c_str(), 1);
  fs::create_directory("dir.ext");
  WriteCatalogue("ext.cat.dll", "251 dll");
  WriteFile("ext.cat", "this is no catalogue");
  EXPECT_EQ(Loaded("ext.cat", GetParam()), kEmpty);
  for (const std::string file : {"dir.ext/ext.cat", "ext.cat"}) {  // the second is looked for first
    WriteCatalogue(file, "251 " + file);
    EXPECT_EQ(Loaded("ext.cat", GetParam()), file);
  }
  // Long texts are cut, and files with long names keep their texts.
  const std::string text(300, 't'), absolute = fs::absolute("long.cat").string();
  WriteCatalogue("long.cat", "208 " + text + "\n251 " + text);
  for (const std::size_t length : {255U, 256U}) {
    const std::string name = std::string(length - absolute.size(), '/') + absolute;
    EXPECT_EQ(Loaded(name, GetParam()), length == 255 ? text.substr(0, 254) : kEmpty);
    RE re = Under(GetParam(), name);  // the engine's are read all the same
    EXPECT_EQ(Told(re), text.substr(0, 254));
  }
}

TEST_P(Locale, KeepsItsTextsUntilAnotherCatalogueLoads) {
  WriteCatalogue("letter.cat", "143 digits\n251 nothing there");
  for (const RE::LocaleModels model : kModels) {
    RE re = Under(model, "letter.cat");
    const auto check = [&](const std::string& piece, const std::string& text) {
      re.SetStringToMatch("a1b c");
      EXPECT_EQ(Pieces(re).at(0), model != RE::CLocale ? piece : "a1b");
      RE copy(re);
      for (RE* const each : {&re, &copy}) {
        EXPECT_EQ(Told(*each, ""), model != RE::CLocale ? text : kEmpty);
      }
    };
    check("a1b", "nothing there");  // compiles for the first time
    for (const char* name : {"letter.cat", "", "missing.cat"}) {
      re.SetLocaleDll(name);
      check("a", "nothing there");
    }
    re.SetLocaleModel(RE::CLocale);  // has no letter, whatever the object has read
    EXPECT_EQ(Pieces(re).at(0), "a1b");
    re.SetLocaleModel(model);
    re.SetLocaleDll("A.cat");  // has no letter
    check("a", "A");
    check("a1b", "A");
  }
}

TEST_P(Locale, TellsTheEngineTheTextsOfTheCatalogue) {
  WriteCatalogue("engine.cat", "1 (@\n2 )~\n5 %\n22 !\n208 Klammer\n301 buchstabe");
  RE re = Under(GetParam(), "engine.cat"), builtIn = Under(GetParam());
  re.SetExpression("@a~(b)%.[[:Buchstabe:]][^[:buchstabe:]]\\d[[:upper:]]\\D");
  re.SetStringToMatch("abx.x11Xa");
  EXPECT_TRUE(re.MatchAll());
  EXPECT_EQ(Told(re), "Klammer");
  EXPECT_EQ(Told(re, "a**"), Told(builtIn, "a**"));  // not in the catalogue
  EXPECT_EQ(Parse(builtIn, "[[:buchstabe:]]"), RE::BadCharacterClass);

  std::string messages = "230 ; alles:\n231 ; ein Teil:\n232 !";
  for (int code = 202; code <= 221; ++code) {
    const std::string number = std::to_string(code);
    messages.append("\n").append(number).append(" T").append(number);
  }
  WriteCatalogue("all.cat", messages);
  const std::tuple<const char*, const char*, RE::Options> cases[] = {
      {"[b-a]", "T211; alles:'[b-a]!'.", RE::NormalSyntax},
      {"([z-a", "T207; alles:'(![z-a'.", RE::NormalSyntax},
      {"(?<=a*)b", "T202", RE::NormalSyntax},
      {"0123456789ab)0123456789ab", "T208; ein Teil:'23456789ab!)012345678'.", RE::NormalSyntax},
      {"a\\)", "T208; alles:'a!\\)'.", RE::BasicSyntax},
      {"a+[\\]\\{x\\}", "T210; alles:'a+[\\]\\{!x\\}'.", RE::BasicSyntax},
  };
  for (const auto& [expression, text, syntax] : cases) {
    RE all = Under(GetParam(), "all.cat");
    all.AddExpressionOption(syntax);
    EXPECT_EQ(Told(all, expression), text);
  }
}

// Each object gets the texts of its own catalogue, whatever the others do meanwhile.
TEST_P(Locale, LetsObjectsOnManyThreadsTakeTurns) {
  const auto takeTurns = [](std::uint32_t seed) {
    RE builtIn = Under(RE::CLocale);
    const Texts names = {"", "missing.cat", "A.cat", "./A.cat", "B.cat"};
    Random random(seed);
    std::vector<RE> objects(4);
    for (int step = 0; step < 400; ++step) {
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
  for (std::uint32_t seed = 1; seed < 5; ++seed) threads.emplace_back(takeTurns, seed);
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

TEST_P(Locale, RemembersAFailureAndTellsItOfAnObjectThatDidNotCompile) {
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
      {
        const auto limit = OpensOnly(1);
        EXPECT_EQ(Parse(re, "x"), RE::LocaleDllFailure);
      }
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

TEST_P(Locale, FailsWithACatalogueThatVanishesAfterItWasFound) {
  const std::string text = "Unable to open the Locale DLL ";
  Loaded("", GetParam());
  RE re = Under(GetParam(), "A.cat"), another = re;
  {
    const auto limit = OpensOnly(1);
    // While the object is imbued the name is the one that was found; the other model has found
    // the catalogue already when its messages are read, and looks for the name again.
    EXPECT_EQ(Told(re, "a"), text + (GetParam() == RE::CppLocale ? "A.cat." : "."));
    // It is in force nevertheless, and fails others until it can be read.
    EXPECT_EQ(Told(another, "a"), text + ".");
    EXPECT_EQ(another.ParseExpression(), RE::LocaleDllFailure);
    another.SetFilesToMatch("none");
    EXPECT_THROW(another.ChangeFiles(), std::runtime_error);
  }
  for (RE* const each : {&another, &re}) EXPECT_EQ(Told(*each), "A parenthesis");
}

TEST_P(Locale, NumbersTheCataloguesOfAFacetPerThread) {
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

TEST_P(Locale, SurvivesADamagedCatalogue) {
  WriteCatalogue("good.cat", "143 s\n208 parenthesis\n251 nothing there\n252 failed");
  const std::string good = ReadFile("good.cat");
  for (std::size_t bit = 0; bit < 9 * good.size(); ++bit) {  // each bit turned, each byte the last
    std::string bad = good;
    if (bit < 8 * bad.size()) {
      bad[bit / 8] = static_cast<char>(bad[bit / 8] ^ 1 << bit % 8);
    } else {
      bad.resize(bit - 8 * bad.size());
    }
    WriteFile("bad.cat", bad);
    RE re = Under(GetParam(), bit % 2 == 0 ? "bad.cat" : "./bad.cat");  // so that it is read again
    EXPECT_EQ(Parse(re, ""), RE::NoExpression);
    EXPECT_LE(Told(re, "(").size(), 254U) << bit;
  }
}

}  // namespace
}  // namespace RegexClass::test
