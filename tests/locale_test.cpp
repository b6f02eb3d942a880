// SPDX-License-Identifier: BSL-1.0
// Locale models and message catalogues, with real catalogues.

#include <exception>
#include <locale>
#include <thread>

#include <gtest/gtest.h>

#include "LocaleTestHelpers.hpp"
#include "SystemCalls.hpp"
#include "catalogues/ResourceMessages.hpp"

namespace RegexClass::test {
namespace {

/// A directory with the catalogues A.cat and B.cat; each test runs for both models that have such.
class Locale : public testing::TestWithParam<RE::LocaleModels>, protected Scratch {
 protected:
  Locale() {
    SetVariable("LC_ALL", "C");
    WriteCatalogue("A.cat", "208 A parenthesis\n218 A gave up\n251 A");
    WriteCatalogue("B.cat", "208 B parenthesis\n218 B gave up\n251 B");
  }
};
INSTANTIATE_TEST_SUITE_P(Model, Locale, testing::Values(RE::CppLocale, RE::W32Locale));

/// Lets the system open so many catalogues, for the life of the result.
HookedSystemCalls OpensOnly(int count) {
  return HookedSystemCalls([left = count](std::string_view name, Words& arguments) mutable {
    if (name != "openat" && name != "LoadLibraryExW") return 0;
    // NOLINTBEGIN(performance-no-int-to-ptr): words of a system call are pointers, too
    const fs::path file = kIsPosix ? fs::path(reinterpret_cast<const char*>(arguments[1]))
                                   : fs::path(reinterpret_cast<const wchar_t*>(arguments[0]));
    // NOLINTEND(performance-no-int-to-ptr)
    return file.extension() == ".cat" && left-- <= 0 ? ENOENT : 0;
  });
}

TEST_P(Locale, HasACatalogueWithAnExtensionOrNone) {
  WriteCatalogue("ext.cat.dll", "251 dll");
  WriteFile("ext.cat", "this is no catalogue");
  EXPECT_EQ(Loaded("./ext.cat", GetParam()), kEmpty);
  WriteCatalogue("ext.cat", "251 cat");
  EXPECT_EQ(Loaded("./ext.cat", GetParam()), "cat");
  // Long texts are cut, and files with long names keep their texts.
  const std::string text(300, 't'),
      texts = std::string("208 ").append(text).append("\n251 " + text);
  std::string way;
  while (way.size() < 250) way += "./";
  for (const std::string file : {"l.cat", "le.cat"}) {
    WriteCatalogue(file, texts);
    EXPECT_EQ(Loaded(way + file, GetParam()), file == "l.cat" ? text.substr(0, 254) : kEmpty);
    RE re = Under(GetParam(), way + file);  // the engine's are read all the same
    EXPECT_EQ(Told(re), text.substr(0, 254));
  }
}

TEST_P(Locale, KeepsItsTextsUntilAnotherCatalogueLoads) {
  WriteCatalogue("letter.cat", "143 digits\n251 nothing there");
  for (const RE::LocaleModels model : kModels) {
    RE re = Under(model, "./letter.cat");
    const auto check = [&](const std::string& piece, const std::string& text) {
      re.SetStringToMatch("a1b c");
      EXPECT_EQ(Pieces(re).at(0), model != RE::CLocale ? piece : "a1b");
      RE copy(re);
      for (RE* const each : {&re, &copy}) {
        EXPECT_EQ(Told(*each, ""), model != RE::CLocale ? text : kEmpty);
      }
    };
    check("a1b", "nothing there");  // compiles for the first time
    for (const char* name : {"./letter.cat", "", "./missing.cat"}) {
      re.SetLocaleDll(name);
      check("a", "nothing there");
    }
    re.SetLocaleModel(RE::CLocale);  // has no letter, whatever the object has read
    EXPECT_EQ(Pieces(re).at(0), "a1b");
    re.SetLocaleModel(model);
    re.SetLocaleDll("./A.cat");  // has no letter
    check("a", "A");
    check("a1b", "A");
  }
}

TEST_P(Locale, TellsTheEngineTheTextsOfTheCatalogue) {
  WriteCatalogue("engine.cat", "1 (@\n2 )~\n5 %\n22 !\n208 Klammer\n301 buchstabe");
  RE re = Under(GetParam(), "./engine.cat"), builtIn = Under(GetParam());
  re.SetExpression("@a~(b)%.[[:Buchstabe:]][^[:buchstabe:]]\\d[[:upper:]]\\D");
  re.SetStringToMatch("abx.x11Xa");
  EXPECT_TRUE(re.MatchAll());
  EXPECT_EQ(Told(re), "Klammer");
  EXPECT_EQ(Told(re, "a**"), Told(builtIn, "a**"));  // not in the catalogue
  EXPECT_EQ(Parse(builtIn, "[[:buchstabe:]]"), RE::BadCharacterClass);

  // What would take the stack is seen in other characters, too; \Q quotes nothing then.
  WriteCatalogue("escape.cat", "12 ~");
  std::string deep = "\\Q";
  for (int i = 0; i < 100000; ++i) deep += "~<";
  RE escape = Under(GetParam(), "./escape.cat");
  EXPECT_EQ(Parse(escape, deep), RE::OutOfSpace);

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
      {"0123456789ab)0123456789ab", "T216; ein Teil:'23456789ab!)012345678'.", RE::NormalSyntax},
      {"a\\)", "T216; alles:'a!\\)'.", RE::BasicSyntax},
      {"a+[\\]\\{x\\}", "T210; alles:'a+[\\]\\{!x\\}'.", RE::BasicSyntax},
  };
  for (const auto& [expression, text, syntax] : cases) {
    RE all = Under(GetParam(), "./all.cat");
    all.AddExpressionOption(syntax);
    EXPECT_EQ(Told(all, expression), text);
  }
}

// Each object gets the texts of its own catalogue, whatever the others do meanwhile.
TEST_P(Locale, LetsObjectsOnManyThreadsTakeTurns) {
  const auto takeTurns = [](std::uint32_t seed) {
    RE builtIn = Under(RE::CLocale);
    const Texts names = {"", "./missing.cat", "./A.cat", "././A.cat", "./B.cat"};
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
      Parse(re, "(?:a+)+(?:a+)+(?:a+)+(?:a+)+(?=b)b");
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
  const std::exception_ptr failure = std::make_exception_ptr(std::runtime_error("no case"));
  std::exception_ptr thrown = failure;
  char do_tolower(char c) const override {
    EXPECT_EQ(Make("a", "").ParseExpression(), RE::NoError);
    if (thrown) std::rethrow_exception(thrown);
    return std::ctype<char>::do_tolower(c);
  }
};

TEST_P(Locale, RemembersAFailureAndTellsItOfAnObjectThatDidNotCompile) {
  WriteCatalogue("failure.cat", "252 Geht nicht: ");
  for (const std::string catalogue : {"", "./failure.cat"}) {
    for (const std::string before : {"", "(a)", "(a"}) {
      RE re;
      re.AddExpressionOption(RE::Icase);
      Parse(re, before);
      Case* const facet = std::make_unique<Case>().release();  // the locale's
      re.SetLocale(std::locale(std::locale::classic(), facet));
      // After a failure to imbue, the object doesn't go on under the locale that it had before.
      re.SetLocaleDll("./A.cat");
      {
        const auto limit = OpensOnly(1);
        EXPECT_EQ(Parse(re, "x"), RE::LocaleDllFailure);
      }
      Make("a", "").ParseExpression();  // back to the catalogue that it was compiled with
      re.SetLocaleDll(catalogue);
      const std::string text =
          catalogue.empty() ? "Unable to open the Locale DLL ." : "Geht nicht: ./failure.cat.";
      EXPECT_EQ(Told(re, "x"), before == "(a)" ? "" : text) << before;
      facet->thrown = nullptr;
      EXPECT_EQ(re.ParseExpression(), RE::LocaleDllFailure);  // not tried again
      EXPECT_FALSE(re.Search());
      EXPECT_EQ(Parse(re, "y"), RE::NoError);
      facet->thrown = facet->failure;
      EXPECT_EQ(Told(re, "z"), "");
      // What else a facet throws passes, and Split leaves the expression that it has set.
      facet->thrown = std::make_exception_ptr(1);
      re.SetStringToMatch("a");
      re.SetExpression("");
      EXPECT_THROW(Pieces(re), int);
      EXPECT_NE(re.GetExpression(), "");
    }
  }
}

TEST_P(Locale, FailsWithACatalogueThatVanishesAfterItWasFound) {
  const std::string text = "Unable to open the Locale DLL ";
  Loaded("", GetParam());
  RE re = Under(GetParam(), "./A.cat"), another = re;
  {
    const auto limit = OpensOnly(1);
    // While the object is imbued the name is the one that was found; the other model has found
    // the catalogue already when its messages are read, and looks for the name again.
    EXPECT_EQ(Told(re, "a"), text + (GetParam() == RE::CppLocale ? "./A.cat." : "."));
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
  for (const int expected : {0, 1, 2}) EXPECT_EQ(facet.open("./A.cat", {}), expected);
  for (const int number : {1, 1, 99}) facet.close(number);
  EXPECT_EQ(facet.open("./B.cat", {}), 1);
  std::thread([&] {
    EXPECT_EQ(facet.get(1, 7, 251, "default"), "default");
    facet.close(1);
    EXPECT_EQ(facet.open("./A.cat", {}), 0);
  }).join();
  { const ResourceMessages another(1); }  // doesn't release a record that holds catalogues
  EXPECT_EQ(facet.get(1, 7, 251, "default"), "B");
  for (const int number : {2, 0, 1}) facet.close(number);
}

}  // namespace
}  // namespace RegexClass::test
