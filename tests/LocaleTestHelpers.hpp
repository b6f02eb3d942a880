// SPDX-License-Identifier: BSL-1.0
// Message catalogues, as each system has them, and what objects tell of them.
#ifndef REGEXCLASS_TESTS_LOCALETESTHELPERS_HPP
#define REGEXCLASS_TESTS_LOCALETESTHELPERS_HPP

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "FileTestHelpers.hpp"
#include "TestHelpers.hpp"

namespace RegexClass::test {

inline const auto kModels = {RE::CppLocale, RE::W32Locale, RE::CLocale};
inline const std::string kEmpty = "Empty expression";

/// `messages` has a line for each, with its number and its text.
inline void WriteCatalogue(const std::string& file, const std::string& messages) {
#ifdef _WIN32
  char program[MAX_PATH];
  GetModuleFileNameA(nullptr, program, MAX_PATH);
  fs::remove(file);
  fs::copy_file(fs::path(program).replace_filename("catalogue.dll"), file);
  constexpr int kBlock = 16;
  std::map<int, std::map<int, std::wstring>> blocks;
  std::istringstream lines(messages);
  std::string text;
  for (int number = 0; lines >> number && std::getline(lines.ignore(), text);) {
    blocks[number / kBlock + 1][number % kBlock].assign(text.begin(), text.end());
  }
  const HANDLE update = BeginUpdateResourceA(file.c_str(), TRUE);
  for (auto& [number, strings] : blocks) {
    std::wstring block;
    for (int i = 0; i < kBlock; ++i) block += static_cast<wchar_t>(strings[i].size()) + strings[i];
    UpdateResourceA(update, reinterpret_cast<LPCSTR>(RT_STRING), MAKEINTRESOURCEA(number), 0,
                    block.data(), static_cast<DWORD>(block.size() * sizeof(wchar_t)));
  }
  ASSERT_TRUE(EndUpdateResourceA(update, FALSE));
#else
  WriteFile("source.msg", "$set 1\n" + messages + '\n');
  fs::remove(file);
  ASSERT_EQ(std::system(("gencat '" + file + "' source.msg").c_str()), 0);
#endif
}

inline RE Under(RE::LocaleModels model, const std::string& localeDll = "") {
  RE re;
  re.SetLocaleModel(model);
  re.SetLocaleDll(localeDll);
  return re;
}

inline int Parse(RE& re, const std::string& expression) {
  re.SetExpression(expression);
  return re.ParseExpression();
}

/// The text of the error in an expression, without where it is.
inline std::string Told(RE& re, const std::string& expression = "(") {
  Parse(re, expression);
  const std::string text = re.GetExpressionError();
  return text.substr(0, text.find("  The error occurred"));
}

/// The catalogue that an object loads by that name, as its text for an empty expression tells.
inline std::string Loaded(const std::string& localeDll, RE::LocaleModels model) {
  RE re = Under(model, "no such catalogue");  // so that the name isn't in force yet
  Parse(re, "a");
  re.SetLocaleDll(localeDll);
  EXPECT_EQ(Parse(re, "a"), RE::NoError);
  return Told(re, "");
}

/// Expects the first of the extensions to be loaded with which there is a catalogue, whichever
/// there are.
inline void ExpectTried(const Texts& extensions, RE::LocaleModels model) {
  fs::create_directory("dir.ext");
  for (const std::string& name : extensions) WriteCatalogue(name, "251 " + name);
  for (unsigned present = 0; present < 1U << extensions.size(); ++present) {
    for (const std::string base : {"./base.", "dir.ext/base.", "dir.ext\\base."}) {
      std::string expected = kEmpty;
      for (std::size_t i = extensions.size(); i-- > 0;) {
        const std::string file = base + extensions[i];
        fs::remove(file);
        if ((present >> i & 1) != 0) fs::copy_file(expected = extensions[i], file);
      }
      EXPECT_EQ(Loaded(base.substr(0, base.size() - 1), model), expected) << base;
    }
  }
}

}  // namespace RegexClass::test

#endif  // REGEXCLASS_TESTS_LOCALETESTHELPERS_HPP
