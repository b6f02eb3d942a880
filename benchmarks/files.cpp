// The operations on files beside the tools that people use for the same, on a tree of files that
// this machine has.

#include <RegularExpression.hpp>
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "Table.hpp"

namespace RegexClass::benchmarks {
namespace {

namespace fs = std::filesystem;

/// The most that one folder of the system gives to the tree.
constexpr std::uintmax_t kMost = 60 << 20;

/// Copies up to `most` bytes of regular files, and gives how many bytes it copied.
std::uintmax_t Copy(const fs::path& source, const fs::path& target, std::uintmax_t most) {
  std::uintmax_t size = 0;
  const auto options = fs::directory_options::skip_permission_denied;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(source, options)) {
    if (size >= most) break;
    if (entry.is_symlink() || !entry.is_regular_file()) continue;
    const fs::path copy = target / entry.path().relative_path();
    fs::create_directories(copy.parent_path());
    std::error_code error;
    if (!fs::copy_file(entry.path(), copy, error)) continue;  // there already, or unreadable
    fs::permissions(copy, fs::perms::owner_write, fs::perm_options::add);
    size += entry.file_size();
  }
  return size;
}

/// A tree of 200 MB of what the system has; one that is there already is taken as it is.
fs::path Tree() {
  const fs::path tree = fs::path(REGEXCLASS_BENCHMARK_FOLDER) / "tree";
  if (fs::exists(tree)) return tree;
  const fs::path unfinished = tree.string() + ".unfinished";
  fs::remove_all(unfinished);
  std::uintmax_t missing = 200 << 20;
  for (const char* const source : {"/usr/share/doc", "/usr/share/perl", "/usr/include",
                                   "/usr/share", "/usr/lib", "/usr/bin"}) {
    if (!fs::exists(source)) continue;
    missing -= std::min(missing, Copy(source, unfinished, std::min(missing, kMost)));
  }
  fs::rename(unfinished, tree);
  return tree;
}

/// Runs a command line of the shell with its output in a file: into /dev/null, grep wouldn't look
/// for more than one match.
Run Shell(const std::string& command) {
  const std::string line =
      "cd '" REGEXCLASS_BENCHMARK_FOLDER "' && { LC_ALL=C " + command + "; } >output";
  return [line](benchmark::State& state) {
    for (auto round : state) {
      if (std::system(line.c_str()) != 0) state.SkipWithError("the command failed");
    }
  };
}

using Object = std::shared_ptr<RegularExpression>;

Object Make(const std::string& expression, const fs::path& tree) {
  auto object = std::make_shared<RegularExpression>();
  object->SetExpression(expression);
  object->SetFormatString("$&");  // so that every run finds the same
  object->SetFilesToMatch((tree / "*").string());
  object->SetDirectoryRecursion(true);
  object->AddMatchOption(RegularExpression::MatchNotDotNewline);
  return object;
}

std::size_t seen = 0;

Object Subscribe(Object object) {
  const auto match = [](RegularExpression*, const std::string&, const std::vector<REMatch>& found,
                        unsigned int, bool&) { seen += found[0].text.size(); };
  object->SetOnGreppingFilesClosure(match);
  object->SetOnChangingFilesClosure(match);
  object->SetOnFindFilesClosure(
      [](RegularExpression*, const std::string& file, bool&) { seen += file.size(); });
  return object;
}

struct Expression {
  const char* name;
  const char* text;
};

void Compare(Table& table, const char* work, const Expression& expression, const char* beside,
             const std::string& command, unsigned int (RegularExpression::*operation)()) {
  const std::string on = std::string("200 MB, ") + expression.name;
  if (!table.Wants(work, on)) return;
  const fs::path tree = Tree();
  const auto library = [operation](const Object& object) {
    return Repeat([=] { benchmark::DoNotOptimize((*object.*operation)()); });
  };
  Row row{work,
          on,
          beside,
          Shell(command),
          library(Make(expression.text, tree)),
          library(Subscribe(Make(expression.text, tree)))};
  row.rounds = 9;
  row.wholeRuns = true;
  table.Add(row);
}

}  // namespace

void MeasureFiles(Table& table) {
  constexpr Expression kWord = {"a word", "Copyright"};
  constexpr Expression kDate = {"a date", "[A-Z][a-z]+ [0-9]+, [0-9]{4}"};
  for (const Expression& expression : {kWord, kDate}) {
    const std::string tail = std::string(" -e '") + expression.text + "' tree";
    Compare(table, "GrepFiles", expression, "grep -c", "grep -raEc" + tail,
            &RegularExpression::GrepFiles);
    Compare(table, "GrepFiles", expression, "rg -c, 1 thread", "rg -uuuacj1" + tail,
            &RegularExpression::GrepFiles);
    Compare(table, "GrepFiles", expression, "rg -c", "rg -uuuac" + tail,
            &RegularExpression::GrepFiles);
    Compare(table, "FindFiles", expression, "grep -l", "grep -raEl" + tail,
            &RegularExpression::FindFiles);
  }
  const std::string changed = std::string("grep -raZle '") + kWord.text + "' tree | xargs -0 ";
  Compare(table, "ChangeFiles", kWord, "grep -l, sed -i",
          changed + "sed -Ei 's/(" + kWord.text + ")/\\1/g'", &RegularExpression::ChangeFiles);
  Compare(table, "ChangeFiles", kWord, "grep -l, perl -pi",
          changed + "perl -pi -e 's/(" + kWord.text + ")/$1/g'", &RegularExpression::ChangeFiles);
}

}  // namespace RegexClass::benchmarks
