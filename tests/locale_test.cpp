// Locale models and message catalogues, with real locales and real catalogues: they are made in a
// scratch directory, which is also the current one of the tests.

#include <array>
#include <atomic>
#include <cctype>
#include <clocale>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <locale.h>
#include <locale>
#include <map>
#include <nl_types.h>
#include <optional>
#include <stdexcept>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "TestHelpers.hpp"
#include "object/ResourceMessages.hpp"

namespace {
/// How many catalogues can still be opened.
std::atomic<int> opensLeft{1 << 30};
}  // namespace

/// The C library loses a copy of LOCPATH each time that it looks for a locale.
extern "C" [[gnu::visibility("default")]] const char*
__lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier): the tool's name for it
  return "leak:__argz_add_sep\n";
}

/// Takes the place of the system's, so that an open can be made to fail.
extern "C" nl_catd catopen(const char* name, int flag) {
  static const auto system =
      reinterpret_cast<nl_catd (*)(const char*, int)>(dlsym(RTLD_NEXT, "catopen"));
  const nl_catd catalogue = system(opensLeft > 0 ? name : "/no/such/catalogue", flag);
  if (reinterpret_cast<std::intptr_t>(catalogue) != -1) --opensLeft;
  return catalogue;
}

namespace RegexClass::test {
namespace {

namespace fs = std::filesystem;

constexpr std::array<RE::LocaleModels, 3> kModels = {RE::CppLocale, RE::W32Locale, RE::CLocale};
constexpr std::array<RE::LocaleModels, 2> kCatalogueModels = {RE::CppLocale, RE::W32Locale};
const char* const kGerman = "de_DE.ISO-8859-1";
const char* const kAustrian = "de_AT.ISO-8859-1";
const std::string kParenthesisText = "Unmatched marking parenthesis";

using Messages = std::map<int, std::string>;

void WriteCatalogue(const fs::path& file, const Messages& messages) {
  std::ofstream source("source.msg", std::ios::trunc);
  source << "$set 1\n";
  for (const auto& [number, text] : messages) source << number << ' ' << text << '\n';
  source.close();
  fs::remove(file);
  ASSERT_EQ(std::system(("gencat '" + file.string() + "' source.msg").c_str()), 0);
}

class Scratch : public testing::Environment {
  void SetUp() override {
    directory_ = fs::temp_directory_path() / ("locale_test." + std::to_string(getpid()));
    fs::create_directory(directory_);
    fs::current_path(directory_);
    setenv("LOCPATH", directory_.c_str(), 1);
    for (const char* const command : {"localedef -i de_DE -f ISO-8859-1 ./de_DE.ISO-8859-1",
                                      "localedef -i de_AT -f ISO-8859-1 ./de_AT.ISO-8859-1"}) {
      ASSERT_EQ(std::system(command), 0);
    }
    WriteCatalogue("A.cat", {{208, "A parenthesis"}, {218, "A gives up"}, {251, "A empty"}});
    WriteCatalogue("B.cat", {{208, "B parenthesis"}, {218, "B gives up"}, {251, "B empty"}});
  }
  void TearDown() override {
    fs::current_path("/");
    fs::remove_all(directory_);
  }
  fs::path directory_;
};
const auto* const scratch = testing::AddGlobalTestEnvironment(new Scratch);

class LocaleTest : public testing::Test {
 protected:
  void SetUp() override { SetUser("C"); }
  void TearDown() override {
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

RE Under(RE::LocaleModels model, const std::string& localeDll = "") {
  RE re;
  re.SetLocaleModel(model);
  re.SetLocaleDll(localeDll);
  return re;
}

/// Compiles, and gives the code.
int Parse(RE& re, const std::string& expression) {
  re.SetExpression(expression);
  return re.ParseExpression();
}

/// What the object says to an unbalanced parenthesis.
std::string ParenthesisText(RE& re) {
  static std::atomic<int> count{0};
  const std::string different(static_cast<std::size_t>(count++ % 50), 'x');
  EXPECT_EQ(Parse(re, '(' + different), RE::UnmatchedParenthesis);
  return re.GetExpressionError();
}

bool StartsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

/// The text of the library itself that tells which catalogue an object loads by that name; empty
/// when it loads none.
std::string Loaded(const std::string& localeDll, RE::LocaleModels model = RE::CppLocale) {
  RE other = Under(model, "no such catalogue");  // so that the name isn't in force yet
  Parse(other, "a");
  RE re = Under(model, localeDll);
  Parse(re, "a");
  re.SetExpression("");
  const std::string text = re.GetExpressionError();
  return text == "Empty expression" ? "" : text;
}

// ------------------------------------------------------------------------------------ locales

struct FreeLocale {
  void operator()(locale_t locale) const { freelocale(locale); }
};

/// The characters, zero and line feed left out, that an expression matches.
std::string Matched(RE& re) {
  std::string matched;
  for (int i = 1; i < 256; ++i) {
    if (i == '\n') continue;
    re.SetStringToMatch(std::string(1, static_cast<char>(i)));
    if (re.Match()) matched += static_cast<char>(i);
  }
  return matched;
}

template <class Predicate>
std::string Chosen(Predicate predicate) {
  std::string chosen;
  for (int i = 1; i < 256; ++i) {
    if (i != '\n' && predicate(i)) chosen += static_cast<char>(i);
  }
  return chosen;
}

/// All classes, the case of all characters and the ranges between a choice of them, against the C
/// library's functions.
void CompareWithSystem(RE::LocaleModels model, const char* name) {
  const std::unique_ptr<std::remove_pointer_t<locale_t>, FreeLocale> handle(
      newlocale(LC_ALL_MASK, name, nullptr));
  const locale_t locale = handle.get();
  RE re = Under(model);
  re.SetLocale(std::locale(name));

  const std::pair<const char*, int (*)(int, locale_t)> classes[] = {
      {"alpha", isalpha_l}, {"upper", isupper_l}, {"lower", islower_l}, {"punct", ispunct_l},
      {"alnum", isalnum_l}, {"print", isprint_l}, {"cntrl", iscntrl_l}, {"space", isspace_l}};
  for (const auto& entry : classes) {
    const auto isMember = entry.second;
    re.SetExpression(std::string("[[:") + entry.first + ":]]");
    EXPECT_EQ(Matched(re), Chosen([&](int c) { return isMember(c, locale) != 0; })) << entry.first;
  }

  const std::string letters = "aAbBoOzZ\xE4\xC4\xDF\xE9";
  for (const char letter : letters) {
    RE folding = re;
    folding.SetLocale(re.GetLocale());
    folding.AddExpressionOption(RE::Icase);
    folding.SetExpression(std::string(1, letter));
    const auto lower = [&](int c) { return tolower_l(c, locale); };
    const int wanted = lower(static_cast<unsigned char>(letter));
    EXPECT_EQ(Matched(folding), Chosen([&](int c) { return lower(c) == wanted; })) << letter;
  }

  const auto order = [&](int a, int b) {
    const char left[] = {static_cast<char>(a), 0}, right[] = {static_cast<char>(b), 0};
    return strcoll_l(left, right, locale);
  };
  Random random(static_cast<std::uint32_t>(model));
  const std::string bounds = Chosen(
      [](int c) { return std::string("[]\\-^").find(static_cast<char>(c)) == std::string::npos; });
  for (const bool collate : {false, true}) {
    if (collate) re.DeleteExpressionOption(RE::NoCollate);
    for (int i = 0; i < 300; ++i) {
      const std::string& from = random.Flip() ? letters : bounds;
      const char first = from[random.Below(from.size())], last = from[random.Below(from.size())];
      const auto a = static_cast<unsigned char>(first), b = static_cast<unsigned char>(last);
      const bool good = collate ? order(a, b) <= 0 : a <= b;
      SCOPED_TRACE(std::to_string(a) + '-' + std::to_string(b) + (collate ? " collated" : ""));
      ASSERT_EQ(Parse(re, std::string("[") + first + '-' + last + ']'),
                good ? RE::NoError : RE::BadRange);
      if (!good) continue;
      EXPECT_EQ(Matched(re), Chosen([&](int c) {
                  return collate ? order(a, c) <= 0 && order(c, b) <= 0 : a <= c && c <= b;
                }));
    }
  }
}

TEST_F(LocaleTest, EachModelHasTheLettersOfItsLocale) {
  for (const char* name : {"C", kGerman}) {
    for (const RE::LocaleModels model : kModels) {
      SCOPED_TRACE(std::string(name) + " model " + std::to_string(model));
      SetUser(model == RE::W32Locale ? name : "C");
      std::setlocale(LC_ALL, model == RE::CLocale ? name : "C");
      CompareWithSystem(model, name);
    }
  }
}

// The engine asks the C library what counts as the same letter; the answer is that of the locale
// that is current, not of the first one that was.
TEST_F(LocaleTest, EquivalenceFollowsTheLocaleOfTheCLibrary) {
  for (const char* name : {"C", kGerman, "C"}) {
    std::setlocale(LC_ALL, name);
    RE re = Under(RE::CLocale);
    re.SetExpression("[[=a=]]");
    EXPECT_EQ(Matched(re).find('\xE4') != std::string::npos, name == kGerman);
    EXPECT_EQ(Matched(re).find('b'), std::string::npos);
  }
}

TEST_F(LocaleTest, SettersMarkTheModelsThatTheyConcern) {
  RE re = Make("(a)", "");
  const auto compiled = [&] {
    std::string models;
    for (const RE::LocaleModels model : kModels) {
      re.SetLocaleModel(model);
      models += std::as_const(re).NumberOfSubexpressions() == 1 ? '1' : '0';
    }
    return models;
  };
  const auto compile = [&] {
    for (const RE::LocaleModels model : kModels) {
      re.SetLocaleModel(model);
      ASSERT_EQ(re.ParseExpression(), RE::NoError);
    }
  };
  compile();
  re.SetLocale(re.GetLocale());
  EXPECT_EQ(compiled(), "011");
  compile();
  re.SetLocaleDll("");
  EXPECT_EQ(compiled(), "111");
  re.SetLocaleDll("other");
  EXPECT_EQ(compiled(), "001");
  compile();
  EXPECT_EQ(compiled(), "111");
}

// -------------------------------------------------------------------------------- catalogues

struct User {
  const char *all, *messages, *lang;
  std::vector<std::string> extensions;  // of the files that are tried
};

TEST_F(LocaleTest, FirstOfTheNamesThatLoadsIsTheCatalogue) {
  const std::vector<std::string> german = {"DeD", "De", "dll"}, none = {"dll"};
  const std::vector<std::string> austrian = {"De\xD6", "De", "dll"};
  const User users[] = {{kGerman, "", "", german}, {"", kGerman, "C", german},
                        {"", "", kGerman, german}, {kAustrian, "C", "C", austrian},
                        {"C", kGerman, "", none},  {"no", kGerman, "", none},
                        {"", "", "", none}};
  const std::string bases[] = {"base", "./base", "dir.ext/base", "dir.ext\\base"};
  fs::create_directory("dir.ext");
  SetUser(kGerman);  // gencat takes the bytes for letters of this locale
  for (const std::string extension : {"DeD", "De\xD6", "De", "dll"}) {
    WriteCatalogue("made." + extension, {{251, extension}});
  }
  for (const User& user : users) {
    SetUser(user.all, user.messages, user.lang);
    for (unsigned present = 0; present < 1U << user.extensions.size(); ++present) {
      for (const std::string& base : bases) {
        std::string expected;
        std::vector<fs::path> files;
        for (std::size_t i = 0; i < user.extensions.size(); ++i) {
          if ((present >> i & 1) == 0) continue;
          files.emplace_back(base + '.' + user.extensions[i]);
          fs::copy_file("made." + user.extensions[i], files.back());
          if (expected.empty()) expected = user.extensions[i];
        }
        for (const RE::LocaleModels model : kCatalogueModels) {
          EXPECT_EQ(Loaded(base, model), expected) << base << " of " << user.all << present;
        }
        for (const fs::path& file : files) fs::remove(file);
      }
    }
  }
}

TEST_F(LocaleTest, NameWithExtensionIsTheOnlyOneTried) {
  SetUser(kGerman);
  WriteCatalogue("ext.cat.dll", {{251, "dll"}});
  WriteCatalogue("ext.cat.DeD", {{251, "DeD"}});
  EXPECT_EQ(Loaded("ext.cat"), "");
  std::ofstream("ext.cat") << "this is no catalogue";
  EXPECT_EQ(Loaded("ext.cat"), "");
  WriteCatalogue("ext.cat", {{251, "itself"}});
  EXPECT_EQ(Loaded("ext.cat"), "itself");
  EXPECT_EQ(Loaded(fs::absolute("ext.cat").string()), "itself");

  fs::create_directory("path");
  WriteCatalogue("path/ext.cat", {{251, "path"}});
  setenv("NLSPATH", (fs::current_path() / "path/%N").c_str(), 1);
  EXPECT_EQ(Loaded("ext.cat"), "itself");
  fs::remove("ext.cat");
  EXPECT_EQ(Loaded("ext.cat"), "path");
  unsetenv("NLSPATH");
}

TEST_F(LocaleTest, LongTextsAreCutAndFilesWithLongNamesKeepTheirTexts) {
  const std::string text(300, 't');
  WriteCatalogue("long.cat", {{208, text}, {251, text}});
  for (const RE::LocaleModels model : kCatalogueModels) {
    EXPECT_EQ(Loaded("./long.cat", model), text.substr(0, 254));
    const std::string absolute = fs::absolute("long.cat").string();
    const std::string file = fs::path(absolute).filename().string();
    const std::string directory = absolute.substr(0, absolute.size() - file.size());
    for (const std::size_t length : {255U, 256U}) {
      std::string name = directory;
      name.append(length - absolute.size(), '/').append(file);
      ASSERT_EQ(name.size(), length);
      EXPECT_EQ(Loaded(name, model), length == 255 ? text.substr(0, 254) : "");
      RE re = Under(model, name);  // the engine's are read all the same
      EXPECT_TRUE(StartsWith(ParenthesisText(re), text.substr(0, 254)));
      EXPECT_FALSE(StartsWith(re.GetExpressionError(), text.substr(0, 255)));
    }
  }
}

TEST_F(LocaleTest, TextsStayUntilAnotherCatalogueLoads) {
  WriteCatalogue("letter.cat", {{143, "digits"}, {251, "nothing there"}});
  for (const RE::LocaleModels model : kModels) {
    RE re = Under(model, "letter.cat");
    const auto split = [&re] {
      std::vector<std::string> pieces;
      re.SetStringToMatch("a1b c");
      re.Split(pieces);
      return pieces.at(0);
    };
    const bool read = model != RE::CLocale;
    EXPECT_EQ(re.ParseExpression(), RE::NoExpression);
    EXPECT_EQ(re.GetExpressionError(), "Empty expression");
    EXPECT_EQ(split(), "a1b");  // compiles for the first time
    EXPECT_EQ(split(), read ? "a" : "a1b");
    EXPECT_EQ(re.GetExpressionError(), read ? "nothing there" : "Empty expression");
    for (const char* name : {"", "missing.cat"}) {
      re.SetLocaleDll(name);
      EXPECT_EQ(split(), read ? "a" : "a1b") << name;
      EXPECT_EQ(split(), read ? "a" : "a1b") << name;
    }
    RE assigned;
    assigned = re;
    EXPECT_EQ(assigned.GetExpressionError(), read ? "nothing there" : "Empty expression");
    re.SetLocaleDll("A.cat");  // has no letter
    split();
    EXPECT_EQ(split(), "a1b");
    EXPECT_EQ(re.GetExpressionError(), read ? "A empty" : "Empty expression");
  }
}

TEST_F(LocaleTest, EngineReadsItsMessagesFromTheCatalogue) {
  WriteCatalogue("engine.cat", {{1, "(@"},
                                {2, ")~"},
                                {5, "%"},
                                {22, "!"},
                                {208, "Klammer"},
                                {211, "Bereich"},
                                {221, ""},
                                {301, "buchstabe"},
                                {305, "luecke"}});
  for (const RE::LocaleModels model : kCatalogueModels) {
    RE re = Under(model, "engine.cat");
    EXPECT_EQ(Parse(re, "@a~(b)%."), RE::NoError);
    EXPECT_EQ(re.NumberOfSubexpressions(), 2U);
    re.SetStringToMatch("abx.");
    EXPECT_TRUE(re.MatchAll());
    EXPECT_EQ(Parse(re, "[[:Buchstabe:]]\\d[[:upper:]]"), RE::NoError);
    re.SetStringToMatch("x1X");
    EXPECT_TRUE(re.MatchAll());
    EXPECT_TRUE(StartsWith(ParenthesisText(re), "Klammer"));
    EXPECT_EQ(Parse(re, "[b-a]"), RE::BadRange);
    EXPECT_TRUE(StartsWith(re.GetExpressionError(), "Bereich")) << re.GetExpressionError();
    EXPECT_EQ(Parse(re, "a**"), RE::BadRepeat);  // not in the catalogue
    EXPECT_TRUE(StartsWith(re.GetExpressionError(), "Invalid preceding regular expression"));
    RE plain = Under(model);
    EXPECT_EQ(Parse(plain, "[[:buchstabe:]]"), RE::BadCharacterClass);
  }
}

/// What the engine says when it gives up on a text.
std::string GivingUpText(RE& re) {
  EXPECT_EQ(Parse(re, "(?:a+)+(?:a+)+(?:a+)+(?:a+)+b"), RE::NoError);
  re.SetStringToMatch(std::string(60, 'a') + "c");
  RE other = Under(re.GetLocaleModel(), "B.cat");
  Parse(other, "b");
  try {
    re.Search();
  } catch (const std::runtime_error& error) {
    return error.what();
  }
  return "doesn't give up";
}

/// Objects with catalogues that change at random: each gets the texts of its own, whatever the
/// others did, and what is compiled keeps those that it was compiled with.
void TakeTurns(std::uint32_t seed, int steps) {
  using Texts = std::pair<std::string, std::string>;
  const Texts builtIn(kParenthesisText, "The complexity of matching");
  const Texts a("A parenthesis", "A gives up"), b("B parenthesis", "B gives up");
  const std::map<std::string, Texts> texts = {
      {"", builtIn}, {"missing.cat", builtIn}, {"A.cat", a}, {"./A.cat", a}, {"B.cat", b}};
  struct Item {
    RE re;
    std::string told;  // to the bad expression that is compiled
  };
  Random random(seed);
  std::array<Item, 4> items;
  for (int step = 0; step < steps; ++step) {
    Item& item = items[random.Below(items.size())];
    switch (random.Below(5)) {
      case 0:
        item.re = Under(kModels[random.Below(kModels.size())]);
        item.told.clear();
        break;
      case 1:
        item.re.SetLocaleDll(
            std::next(texts.begin(), static_cast<std::ptrdiff_t>(random.Below(texts.size())))
                ->first);
        if (item.re.GetLocaleModel() != RE::CLocale) item.told.clear();
        break;
      case 2:
        item.re.SetLocale(std::locale::classic());
        if (item.re.GetLocaleModel() == RE::CppLocale) item.told.clear();
        break;
      case 3:
        EXPECT_EQ(Parse(item.re, "a"), RE::NoError);
        item.told.clear();
        break;
      default: {
        const bool none = item.re.GetLocaleModel() == RE::CLocale;
        const auto& [bad, givingUp] = none ? builtIn : texts.at(item.re.GetLocaleDll());
        if (random.Below(20) == 0) {
          const std::string told = GivingUpText(item.re);
          EXPECT_TRUE(StartsWith(told, givingUp)) << told << " for " << givingUp;
        }
        item.told = ParenthesisText(item.re);
        EXPECT_TRUE(StartsWith(item.told, bad)) << item.told << " for " << bad;
      }
    }
    for (Item& each : items) {
      if (each.told.empty()) continue;
      each.re.ParseExpression();
      EXPECT_EQ(each.re.GetExpressionError(), each.told);
    }
  }
}

TEST_F(LocaleTest, ObjectsWithDifferentCataloguesTakeTurns) { TakeTurns(1, 3000); }

TEST_F(LocaleTest, ObjectsWithDifferentCataloguesTakeTurnsOnManyThreads) {
  std::vector<std::thread> threads;
  for (std::uint32_t seed = 2; seed < 8; ++seed) threads.emplace_back(TakeTurns, seed, 400);
  for (std::thread& thread : threads) thread.join();
}

// -------------------------------------------------------------------------- failing catalogues

/// A facet that the engine asks for the case of letters: it fails when it is told to, and may use
/// an object of its own.
class Case : public std::ctype<char> {
 public:
  bool fails = false;
  bool compiles = false;

 protected:
  char do_tolower(char c) const override {
    if (fails) throw std::runtime_error("no case");
    if (compiles) {
      RE re;
      EXPECT_EQ(Parse(re, "a"), RE::NoError);
    }
    return std::ctype<char>::do_tolower(c);
  }
};

struct CaseLocale {
  Case* facet = std::make_unique<Case>().release();  // the locale's
  std::locale locale{std::locale::classic(), facet};
};

TEST_F(LocaleTest, FailureIsRememberedAndToldByAnObjectThatDidNotCompile) {
  WriteCatalogue("failure.cat", {{252, "Geht nicht: "}});
  for (const std::string catalogue : {"", "failure.cat"}) {
    for (const std::string before : {"", "(a)", "(a"}) {
      SCOPED_TRACE(testing::Message() << catalogue << " after " << before);
      CaseLocale failing;
      RE re = Under(RE::CppLocale, catalogue);
      re.AddExpressionOption(RE::Icase);
      Parse(re, before);
      re.SetLocale(failing.locale);
      failing.facet->fails = true;
      EXPECT_EQ(Parse(re, "x"), RE::LocaleDllFailure);
      const std::string text =
          catalogue.empty() ? "Unable to open the Locale DLL ." : "Geht nicht: failure.cat.";
      EXPECT_EQ(re.GetExpressionError(), before == "(a)" ? "" : text);
      EXPECT_FALSE(re.Search());
      failing.facet->fails = false;
      EXPECT_EQ(re.ParseExpression(), RE::LocaleDllFailure);  // not tried again
      EXPECT_EQ(Parse(re, "y"), RE::NoError);
      EXPECT_EQ(re.GetExpressionError(), "");
      failing.facet->fails = true;
      EXPECT_EQ(Parse(re, "z"), RE::LocaleDllFailure);
      EXPECT_EQ(re.GetExpressionError(), "");
      re.SetLocaleModel(RE::W32Locale);
      EXPECT_EQ(re.ParseExpression(), RE::NoError);
    }
  }
}

TEST_F(LocaleTest, FacetMayUseAnObjectWhileTheExpressionCompiles) {
  CaseLocale locale;
  locale.facet->compiles = true;
  RE re;
  re.SetLocale(locale.locale);
  re.AddExpressionOption(RE::Icase);
  EXPECT_EQ(Parse(re, "A"), RE::NoError);
}

// After a failure to imbue, the object doesn't go on under the locale that it had before.
TEST_F(LocaleTest, LocaleIsTakenWhenItsCatalogueCanBeReadAgain) {
  RE re;
  re.AddExpressionOption(RE::Icase);
  ASSERT_EQ(Parse(re, "x"), RE::NoError);
  CaseLocale failing;
  failing.facet->fails = true;
  re.SetLocale(failing.locale);
  re.SetLocaleDll("A.cat");
  opensLeft = 1;
  EXPECT_EQ(re.ParseExpression(), RE::LocaleDllFailure);
  opensLeft = 1 << 30;
  RE other;  // back to the catalogue that the object was compiled with
  Parse(other, "x");
  re.SetLocaleDll("");
  EXPECT_EQ(re.ParseExpression(), RE::LocaleDllFailure);
}

TEST_F(LocaleTest, CatalogueThatVanishesAfterItWasFoundIsAFailure) {
  for (const RE::LocaleModels model : kCatalogueModels) {
    RE other = Under(model);
    Parse(other, "a");
    RE re = Under(model, "A.cat");
    opensLeft = 1;
    EXPECT_EQ(Parse(re, "a"), RE::LocaleDllFailure);
    // While the object is imbued the name is the one that was found; the other model has found
    // the catalogue already when its messages are read, and looks for the name again.
    EXPECT_EQ(re.GetExpressionError(), model == RE::CppLocale
                                           ? "Unable to open the Locale DLL A.cat."
                                           : "Unable to open the Locale DLL .");
    EXPECT_EQ(re.ParseExpression(), RE::LocaleDllFailure);
    // It is in force nevertheless, and fails others until it can be read.
    RE another = Under(model, "A.cat");
    EXPECT_EQ(Parse(another, "a"), RE::LocaleDllFailure);
    EXPECT_EQ(another.GetExpressionError(), "Unable to open the Locale DLL .");
    opensLeft = 1;
    EXPECT_TRUE(StartsWith(ParenthesisText(another), "A parenthesis"));
    opensLeft = 1 << 30;
    EXPECT_TRUE(StartsWith(ParenthesisText(re), "A parenthesis"));
    EXPECT_TRUE(StartsWith(ParenthesisText(other), kParenthesisText));
  }
}

TEST_F(LocaleTest, FacetNumbersCataloguesPerThread) {
  const ResourceMessages facet(1);
  const std::locale& any = std::locale::classic();
  EXPECT_EQ(facet.open("missing.cat", any), -1);
  for (const int expected : {0, 1, 2}) EXPECT_EQ(facet.open("A.cat", any), expected);
  facet.close(1);
  facet.close(1);
  facet.close(99);
  EXPECT_EQ(facet.open("B.cat", any), 1);
  EXPECT_EQ(facet.get(1, 7, 251, "default"), "B empty");
  EXPECT_EQ(facet.get(1, 7, 250, "default"), "default");
  EXPECT_EQ(facet.get(3, 7, 251, "default"), "default");
  std::thread([&] {
    EXPECT_EQ(facet.get(1, 7, 251, "default"), "default");
    facet.close(1);
    EXPECT_EQ(facet.open("A.cat", any), 0);
    facet.close(0);
  }).join();
  { const ResourceMessages another(1); }  // doesn't release a record that holds catalogues
  EXPECT_EQ(facet.get(1, 7, 251, "default"), "B empty");
  for (const int number : {2, 0, 1}) facet.close(number);
  EXPECT_EQ(facet.open("A.cat", any), 0);
  facet.close(0);
}

}  // namespace
}  // namespace RegexClass::test
