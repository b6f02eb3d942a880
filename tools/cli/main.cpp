// SPDX-License-Identifier: BSL-1.0
// regexclass: the library's operations as commands. This file has the command line; what a command
// does is in the files named after them.

#include <algorithm>
#include <iostream>
#include <iterator>
#include <limits>
#include <memory>
#include <numeric>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/Commands.hpp"
#include "platform/System.hpp"

namespace tool {

namespace {

/// What a command takes, beside the options that all have.
enum OptionGroup : unsigned int {
  kExpression = 1U << 0U,
  kSyntax = 1U << 1U,
  kFormatArgument = 1U << 2U,  // with its option
  kFormatType = 1U << 3U,
  kText = 1U << 4U,
  kMergeOptions = 1U << 5U,
  kSplitOptions = 1U << 6U,
  kWalk = 1U << 7U,
  kFilesOption = 1U << 8U,
  kSave = 1U << 9U,
  kWholeText = 1U << 10U,
  kPlace = 1U << 11U,
  kOnlyMatching = 1U << 12U,
  kCount = 1U << 13U,
  kNull = 1U << 14U,
  kMaximum = 1U << 15U,
  kDryRun = 1U << 16U,
  kWrite = 1U << 17U,
  kInputs = 1U << 18U,
  kLines = 1U << 19U,
  kNames = 1U << 20U,
  kNarrow = 1U << 21U,
  kFiles = 1U << 22U,

  kOnString = kExpression | kSyntax | kText | kCount | kPlace | kInputs,
  kOnFiles = kExpression | kWalk | kInputs | kNull | kNarrow | kFiles,
};

struct Command {
  const char* name;
  const char* arguments;
  const char* description;
  unsigned int groups;
  ExitStatus (*run)(const Request&);
};

const Command kCommands[] = {
    {"match", "[EXPRESSION] [FILE...]", "Print the lines that begin with a match",
     kOnString | kOnlyMatching | kWholeText, RunMatch},
    {"search", "[EXPRESSION] [FILE...]", "Print the lines with a match, and of a line the first",
     kOnString | kOnlyMatching, RunSearch},
    {"grep", "[EXPRESSION] [FILE...]", "Print the lines with matches, and all of a line",
     kOnString | kOnlyMatching | kMaximum | kLines | kNames | kNarrow, RunGrep},
    {"format", "[EXPRESSION] [FORMAT] [FILE...]", "Print what the format makes of each match",
     kOnString | kFormatArgument | kFormatType | kMaximum | kNull, RunFormat},
    {"merge", "[EXPRESSION] [FORMAT] [FILE...]", "Print the input with its matches replaced",
     (kOnString & ~kPlace) | kFormatArgument | kFormatType | kMergeOptions, RunMerge},
    {"split", "[EXPRESSION] [FILE...]", "Print the pieces of each line, cut at the matches",
     kOnString | kSplitOptions | kNull, RunSplit},
    {"grep-files", "[EXPRESSION] [PATTERN...]", "Print the matching lines of files",
     kOnFiles | kPlace | kOnlyMatching | kCount | kMaximum | kLines | kNames, RunGrepFiles},
    {"find-files", "[EXPRESSION] [PATTERN...]", "Print the names of files with a match",
     kOnFiles | kCount | kNames, RunFindFiles},
    {"change-files", "[EXPRESSION] [FORMAT] [PATTERN...]", "Replace the matches in files",
     kOnFiles | kFormatArgument | kSave | kDryRun, RunChangeFiles},
    {"settings", "", "Show a set-up in words, or keep it in a file",
     kExpression | kSyntax | kText | kFormatArgument | kFormatType | kMergeOptions | kSplitOptions |
         kWalk | kFilesOption | kSave | kWrite,
     RunSettings},
};

/// Help whose usage line names the arguments in their order.
class Help : public CLI::Formatter {
 public:
  explicit Help(const char* arguments) : arguments_(arguments) { column_width(34); }
  std::string make_usage(const CLI::App* app, std::string name) const override {
    const bool top = app->get_parent() == nullptr;
    return "Usage: " + (top ? app->get_name() : name) + (top ? " " : " [OPTIONS] ") + arguments_ +
           '\n';
  }
  std::string make_positionals(const CLI::App*) const override { return ""; }

 private:
  std::string arguments_;
};

void AddOutputOptions(CLI::App& app, Request& request, unsigned int groups) {
  const auto has = [groups](OptionGroup group) { return (groups & group) != 0; };
  Style& style = request.style;
  app.add_flag("--json", style.json, "Print lines of JSON");
  if (!has(kWrite)) app.add_flag("-q,--quiet", style.quiet, "Print nothing, only exit");
  if (has(kCount)) app.add_flag("-c,--count", style.count, "Print the number of matches");
  if (has(kOnlyMatching)) {
    app.add_flag("-o,--only-matching", style.onlyMatching, "Print the matches alone");
  }
  if (has(kMaximum)) {
    app.add_option("-m,--max-count", request.maximumCount, "Stop a file after so many matches")
        ->check(Number(0));
  }
  if (has(kPlace)) {
    AddYesNo(app, style.fileNames, {"-H,--with-filename", "Print file names"},
             {"-I,--no-filename", "Print no file names"});
    AddYesNo(app, style.lineNumbers, {"-n,--line-number", "Print line numbers"},
             {"-N,--no-line-number", "Print no line numbers"});
  }
  if (has(kPlace) && has(kFiles)) {
    AddYesNo(app, style.heading, {"--heading", "Print each file's name once, above its lines"},
             {"--no-heading", "Print it in front of each"});
  }
  if (has(kNames)) {
    app.add_flag("-l,--files-with-matches", style.filesWith, "Print the names of files alone");
    app.add_flag("-L,--files-without-match", style.filesWithout, "Print the names of the others");
  }
  if (has(kNull)) {
    app.add_flag("-0,--null", style.null,
                 has(kFiles) ? "Names end with a zero byte, those of --files-from too"
                             : "End what is printed with a zero byte");
  }
  if (!has(kWrite)) {
    app.add_option("--color", style.color, "Use colours")
        ->check(CLI::IsMember({"auto", "always", "never"}));
  }
}

void AddLineOptions(CLI::App& app, Request& request) {
  LineChoice& lines = request.lines;
  std::vector<CLI::Option*> options = {
      app.add_flag("-v,--invert-match", lines.inverted, "Print the lines without a match")};
  const auto both = [&lines](std::uint64_t number) { lines.before = lines.after = number; };
  options.push_back(app.add_option("-A,--after-context", lines.after, "Lines after each too"));
  options.push_back(app.add_option("-B,--before-context", lines.before, "Lines before each too"));
  options.push_back(app.add_option_function<std::uint64_t>("-C,--context", both, "Both"));
  for (CLI::Option* const option : options) {
    if (option->get_expected_max() > 0) option->check(Number(0));
    option->excludes(app.get_option("--json"))->excludes(app.get_option("--only-matching"));
  }
}

void AddFileOptions(CLI::App& app, Request& request) {
  FileChoice& choice = request.choice;
  AddRaw(app, "--files-from", choice.listFile, "Read names of files from a file, - for input")
      ->type_name("FILE");
  app.add_option("--exclude", choice.excluded, "Pass over what has such a name")
      ->type_name("PATTERN")
      ->allow_extra_args(false);
  app.add_flag("--ignore-files", choice.ignoreFiles, "Pass over what git ignores");
  app.add_flag("--hidden", choice.hidden, "Take names that begin with a dot too");
  app.add_flag("--binary", choice.binary, "Take files with zero bytes too");
  app.add_option("-j,--jobs", request.jobs, "The number of threads")
      ->check(Number(1, std::numeric_limits<unsigned int>::max()));
}

void AddChangeOptions(CLI::App& app, Request& request) {
  CLI::Option* const dryRun =
      app.add_flag("--dry-run", request.dryRun, "Print the changes, make none");
  app.add_flag("--diff", request.diff, "Print the changes for patch, make none")
      ->excludes(dryRun)
      ->excludes(app.get_option("--json"));
  app.add_flag("--hard-links", request.choice.hardLinks, "Change files with several names too");
  AddRaw(app, "--undo", request.undo, "Put saved copies with this end back")->type_name("EXT");
}

void AddOperationOptions(CLI::App& app, Request& request, unsigned int groups) {
  const auto has = [groups](OptionGroup group) { return (groups & group) != 0; };
  SetUp& setUp = request.setUp;
  AddExpressionOptions(app, setUp);
  if (has(kSyntax)) AddSyntaxOptions(app, setUp);
  if (has(kFormatArgument)) AddFormatOption(app, setUp);
  if (has(kFormatType)) AddFormatTypeOption(app, setUp);
  if (has(kText)) AddTextOption(app, setUp);
  if (has(kText) && has(kInputs)) {
    app.add_flag("-U,--multiline", request.wholeInput, "Take the whole input as one text");
  }
  if (has(kWholeText)) {
    app.add_flag("-x,--whole", request.wholeText, "A match must reach the end of its text");
  }
  if (has(kMergeOptions)) AddMergeOptions(app, setUp);
  if (has(kSplitOptions)) AddSplitOptions(app, setUp);
  if (has(kWalk)) AddWalkOptions(app, setUp);
  if (has(kFilesOption)) AddFilesOption(app, setUp);
  if (has(kSave)) AddSaveOption(app, setUp);
  if (has(kNarrow)) {
    app.add_flag("-w,--word-regexp", request.wholeWords, "Matches are whole words");
    app.add_flag("-x,--line-regexp", request.wholeLines, "Matches are whole lines");
  }
  if (has(kFiles)) AddFileOptions(app, request);
  if (has(kWrite)) {
    AddRaw(app, "-w,--write", request.writeTo, "Write the set-up to a file")->type_name("FILE");
  }
}

/// Takes any number of arguments as they stand. To CLI11 they are arguments that are still missing,
/// since it takes brackets around an optional one for a list.
void AddArguments(CLI::App& app, std::vector<std::string>& arguments) {
  const CLI::callback_t take = [&arguments](const CLI::results_t& results) {
    arguments = results;
    return true;
  };
  app.add_option("arguments", take)
      ->expected(CLI::detail::expected_max_vector_size, CLI::detail::expected_max_vector_size)
      ->allow_extra_args(false)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

/// The arguments as CLI11 wants them, the last one first. It would take what stands in brackets for
/// a list; so an argument that ends with one gets a zero byte after it, which no argument has of
/// itself.
std::vector<std::string> Marked(int argc, char** argv) {
  std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
  for (std::string& argument : arguments) {
    if (!argument.empty() && argument.back() == ']') argument += '\0';
  }
  std::reverse(arguments.begin(), arguments.end());
  return arguments;
}

std::string Unmarked(std::string argument) {
  if (!argument.empty() && argument.back() == '\0') argument.pop_back();
  return argument;
}

/// The expression and the format are arguments unless an option or a settings file has them.
void TakeArguments(Request& request, std::vector<std::string> arguments, unsigned int groups) {
  SetUp& setUp = request.setUp;
  const auto take = [&](std::optional<std::string>& value) {
    if (value || setUp.settingsFile || arguments.empty()) return;
    value = arguments.front();
    arguments.erase(arguments.begin());
  };
  if ((groups & kInputs) == 0) return;
  if (request.undo) {
    request.inputs = std::move(arguments);
    return;
  }
  take(setUp.expression);
  if ((groups & kFormatArgument) != 0) {
    take(setUp.format);
    if (!setUp.format && !setUp.settingsFile) throw Failure("no format is given");
  }
  request.inputs = std::move(arguments);
}

/// How many characters must be put in, taken out or exchanged to make one word of another.
std::size_t Distance(const std::string& from, const std::string& to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t exchanged = diagonal + (from[i] == to[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({exchanged, row[j] + 1, diagonal + 1});
    }
  }
  return row.back();
}

void CheckCommand(const std::string& name) {
  if (name.empty()) throw Failure("no command is given; regexclass --help names them");
  if (name[0] == '-') return;
  const auto distance = [&name](const Command& command) { return Distance(name, command.name); };
  const auto* const nearest = std::min_element(
      std::begin(kCommands), std::end(kCommands),
      [&](const Command& a, const Command& b) { return distance(a) < distance(b); });
  if (name == nearest->name) return;
  throw Failure("there is no command '" + name + "'; the nearest is '" + nearest->name + "'");
}

ExitStatus Main(int argc, char** argv) {
  CLI::App app{"Regular expressions on text and files.", "regexclass"};
  app.set_version_flag("--version", "regexclass " REGEXCLASS_VERSION);
  app.formatter(std::make_shared<Help>("COMMAND [OPTIONS] [ARGUMENTS]"));
  app.footer("Exit status: 0 for a match, 1 for none, 2 for an error. See regexclass(1).");
  app.require_subcommand(1);
  app.allow_windows_style_options(false);  // a slash begins names and expressions

  Request request;
  request.jobs = std::max(1U, std::thread::hardware_concurrency());
  std::vector<std::string> arguments;
  const std::string named = argc > 1 ? argv[1] : "";
  for (const Command& command : kCommands) {
    CLI::App* const sub = app.add_subcommand(command.name, command.description);
    sub->group("Commands");  // what the completion looks for
    sub->formatter(std::make_shared<Help>(command.arguments));
    if (named != command.name) continue;  // the options of all take longer to make than a short run
    if ((command.groups & kInputs) != 0) AddArguments(*sub, arguments);
    AddOperationOptions(*sub, request, command.groups);
    AddOutputOptions(*sub, request, command.groups);
    if ((command.groups & kLines) != 0) AddLineOptions(*sub, request);
    if ((command.groups & kDryRun) != 0) AddChangeOptions(*sub, request);
    for (CLI::Option* const option : sub->get_options()) option->transform(Unmarked);
  }
  try {
    CheckCommand(named);
    app.parse(Marked(argc, argv));
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) throw Failure(error.what());
    return app.exit(error) == 0 ? kMatch : kError;
  }
  for (const Command& command : kCommands) {
    if (!app.got_subcommand(command.name)) continue;
    TakeArguments(request, arguments, command.groups);
    const ExitStatus status = command.run(request);
    FinishOutput();
    return status;
  }
  return kError;
}

}  // namespace

}  // namespace tool

int main(int argc, char** argv) {
  const std::shared_ptr<void> session = tool::BeginSession();
  std::ios::sync_with_stdio(false);
  std::cin.tie(nullptr);
  try {
    return tool::Main(argc, argv);
  } catch (const tool::OutputClosed&) {  // where no signal has ended the program
    return tool::kError;
  } catch (const std::exception& error) {
    tool::Problems::Note(error.what());
    return tool::kError;
  }
}
