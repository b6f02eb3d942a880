// SPDX-License-Identifier: BSL-1.0
// The operations on files beside the tools that people use for the same, on a tree of files that
// this machine has.

#include <RegularExpression.hpp>
#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include "Samples.hpp"
#include "Table.hpp"

namespace RegexClass::benchmarks {
namespace {

namespace fs = std::filesystem;

/// The processor's time that ended commands have taken, in seconds.
double TimeOfCommands() {
  rusage used = {};
  ::getrusage(RUSAGE_CHILDREN, &used);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
  };
  return seconds(used.ru_utime) + seconds(used.ru_stime);
}

/// Runs a command line of the shell with its output in a file: into /dev/null, grep wouldn't look
/// for more than one match. With 1 the tools tell that there is none. Tells the processor's time.
Run Shell(const std::string& command) {
  const std::string line = "cd '" REGEXCLASS_BENCHMARK_FOLDER "' && { LC_ALL=C " + command +
                           " || test $? = 1; } >output";
  return [line](benchmark::State& state) {
    for (auto round : state) {
      const double before = TimeOfCommands();
      if (std::system(line.c_str()) != 0) state.SkipWithError("the command failed");
      state.SetIterationTime(TimeOfCommands() - before);
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

/// A tree of 200 MB of what the system has.
fs::path MixedTree() {
  return Tree(
      "tree",
      {"/usr/share/doc", "/usr/share/perl", "/usr/include", "/usr/share", "/usr/lib", "/usr/bin"},
      200 << 20, 60 << 20);
}

struct Expression {
  const char* name;
  const char* text;
};

void Compare(Table& table, const char* work, const Expression& expression, const char* beside,
             const std::string& command, unsigned int (RegularExpression::*operation)()) {
  const std::string on = std::string("200 MB, ") + expression.name;
  if (!table.Wants(work, on)) return;
  const fs::path tree = MixedTree();
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

/// A walk over the headers with one expression beside each of the commands. What the library takes
/// without finders is told once.
void CompareExpression(Table& table, const char* expression) {
  const std::string on = OnExpression("headers", expression);
  if (!table.Wants("GrepFiles", on)) return;
  const fs::path tree = HeaderTree();
  const auto library = [&] {
    return Repeat(
        [object = Make(expression, tree)] { benchmark::DoNotOptimize(object->GrepFiles()); });
  };
  const std::string tail = std::string(" -e '") + expression + "' headers";
  Row row{"GrepFiles", on, "grep -c", Shell("grep -raEc" + tail), library(), Run()};
  row.without = WithoutFinders(library());
  row.rounds = 5;
  row.wholeRuns = true;
  table.Add(row);
  row.without = Run();
  const auto beside = [&](const char* name, const std::string& command) {
    row.beside = name;
    row.other = Shell(command);
    table.Add(row);
  };
  beside("grep -o, wc -l", "grep -raEoh" + tail + " | wc -l");
  beside("rg -c, 1 thread", "rg -uuuacj1" + tail);
  beside("rg -c", "rg -uuuac" + tail);
}

/// The tool beside others on the headers: the processor's time of one thread, and the wall clock
/// with a thread for each core.
void CompareTool(Table& table, const char* expression) {
  const std::string on = OnExpression("headers", expression);
  if (!table.Wants("regexclass grep-files", on)) return;
  const std::string tail =
      std::string(" -e '") + expression + "' " + HeaderTree().filename().string();
  const auto compare = [&](const char* options, const char* beside, const std::string& other) {
    Row row{std::string("regexclass grep-files ") + options,
            on,
            beside,
            Shell(other + tail),
            Shell(REGEXCLASS_TOOL " grep-files -r " + (options + tail)),
            Run()};
    row.rounds = 9;
    row.wholeRuns = true;
    row.ownTime = std::string(options) == "-c -j1";
    table.Add(row);
  };
  compare("-c -j1", "grep -rcE", "grep -rcE");
  compare("-c -j1", "rg -j1 -c", "rg -j1 -c");
  compare("-c", "rg -c", "rg -c");
}

/// A walk over many small files beside the least that anybody has to do with them.
void CompareBareLoop(Table& table) {
  constexpr const char* kOn = "20000 files of 10 KB";
  if (!table.Wants("GrepFiles", kOn)) return;
  std::vector<std::string> names;
  const fs::path tree = fs::path(REGEXCLASS_BENCHMARK_FOLDER) / "small";
  for (int i = 0; i < 20000; ++i) {
    const fs::path name = tree / std::to_string(i / 200) / std::to_string(i);
    names.push_back(name.string());
    if (fs::exists(name)) continue;
    fs::create_directories(name.parent_path());
    std::ofstream(name) << std::string(10 << 10, 'a');
  }
  const auto loop = [names, buffer = std::vector<char>(1 << 20)]() mutable {
    for (const std::string& name : names) {
      const int file = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
      benchmark::DoNotOptimize(::read(file, buffer.data(), buffer.size()));
      ::close(file);
    }
  };
  table.Add(
      {"GrepFiles", kOn, "open, read, close", Repeat(loop),
       Repeat([object = Make("template", tree)] { benchmark::DoNotOptimize(object->GrepFiles()); }),
       Run(), 9});
}

}  // namespace

void MeasureFiles(Table& table) {
  CompareBareLoop(table);
  for (const char* const expression : kExpressions) CompareExpression(table, expression);
  for (const char* const expression : kExpressions) CompareTool(table, expression);
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
