// SPDX-License-Identifier: BSL-1.0
// The tour goes on with files: finds the files of a pattern that hold a match, prints the matches,
// and shows on copies of these files what changing them would do.
//
//   demo_files PATTERN EXPRESSION FORMAT

#include <RegularExpression.hpp>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

using RegexClass::RegularExpression;
using RegexClass::REMatch;
namespace fs = std::filesystem;

namespace {

void Headline(const std::string& text) { std::cout << "\n--- " << text << "\n"; }

/// Prints what a walk couldn't search.
void PrintProblems(const std::vector<RegularExpression::FileSearchProblem>* problems) {
  if (problems == nullptr) return;
  for (const RegularExpression::FileSearchProblem& problem : *problems) {
    std::cout << problem.file << ": "
              << (problem.code != 0 ? std::strerror(static_cast<int>(problem.code))
                                    : "the engine gave up on it")
              << '\n';
  }
}

void GrepTheFiles(RegularExpression& re) {
  Headline("GrepFiles: " + re.GetExpression() + " in " + re.GetFilesToMatch());
  re.SetOnGreppingFilesClosure([](RegularExpression*, const std::string& file,
                                  const std::vector<REMatch>& match, unsigned int line, bool&) {
    std::cout << file << ':' << line << ": byte " << match[0].position << ": " << match[0].text
              << '\n';
  });
  std::cout << re.GrepFiles() << " matches\n";
  PrintProblems(re.GetGrepFilesErrors());
}

/// Copies each file with a match into `scratch`.
void CopyTheFiles(RegularExpression re, const fs::path& scratch) {
  Headline("FindFiles: those with a match, copied to a scratch directory");
  re.SetOnFindFilesClosure([&](RegularExpression*, const std::string& file, bool&) {
    fs::copy_file(file, scratch / fs::path(file).filename(), fs::copy_options::overwrite_existing);
  });
  std::cout << re.FindFiles() << " files\n";
}

void ChangeTheCopies(RegularExpression re, const fs::path& scratch) {
  re.SetFilesToMatch((scratch / "*").string());
  re.SetSaveExtension("orig");

  Headline("ChangeFiles, with every match vetoed: the files that would change");
  re.SetOnChangingFilesClosure([](RegularExpression*, const std::string& file,
                                  const std::vector<REMatch>& match, unsigned int line,
                                  bool& change) {
    std::cout << fs::path(file).filename().string() << ", first on line " << line << ": "
              << match[0].text << '\n';
    change = false;
  });
  re.ChangeFiles();

  Headline("ChangeFiles: " + re.GetFormatString() + " in their place, with saved copies");
  re.SetOnChangingFilesClosure(nullptr);
  std::cout << re.ChangeFiles() << " matches replaced\n";
}

void PrintDifferences(const fs::path& scratch) {
  Headline("The lines that differ from the saved copies");
  for (const fs::directory_entry& entry : fs::directory_iterator(scratch)) {
    if (entry.path().extension() == ".orig") continue;
    std::ifstream before(fs::path(entry.path()).replace_extension("orig"));
    std::ifstream after(entry.path());
    std::string oldLine;
    std::string newLine;
    while (std::getline(before, oldLine) && std::getline(after, newLine)) {
      if (oldLine != newLine) std::cout << "- " << oldLine << "\n+ " << newLine << '\n';
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: demo_files PATTERN EXPRESSION FORMAT\n";
    return 2;
  }
  RegularExpression re;
  re.SetFilesToMatch(argv[1]);
  re.SetExpression(argv[2]);
  re.SetFormatString(argv[3]);
  if (re.ParseExpression() != RegularExpression::NoError) {
    std::cerr << "demo_files: " << re.GetExpressionError() << '\n';
    return 2;
  }
  const fs::path scratch = fs::temp_directory_path() / "regexclass-demo";
  fs::remove_all(scratch);
  fs::create_directory(scratch);
  GrepTheFiles(re);
  CopyTheFiles(re, scratch);
  ChangeTheCopies(re, scratch);
  PrintDifferences(scratch);
  fs::remove_all(scratch);
}
