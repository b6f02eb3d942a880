// The command-line tool as a user meets it: the built binary, a shell, real files.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <boost/json/src.hpp>
#include <gtest/gtest.h>

#include "TestHelpers.hpp"

namespace {

namespace fs = std::filesystem;
namespace json = boost::json;
using RegexClass::test::Random;

std::string Read(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void Write(const fs::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

struct Outcome {
  int status;
  std::string out, err;
};

/// Runs shell commands, where $T is the tool, in a directory of the test's own.
class Tool : public testing::Test {
 protected:
  void SetUp() override {
    fs::remove_all(dir_);
    fs::create_directories(dir_);
    fs::current_path(dir_);
    setenv("T", REGEXCLASS_TOOL, 1);
    setenv("LC_ALL", "C", 1);
    unsetenv("NO_COLOR");
  }
  void TearDown() override {
    fs::current_path("/");
    fs::remove_all(root_);
  }

  static Outcome Run(const std::string& command) {
    Write("../command", command);
    const int status = std::system("bash ../command >../out 2>../err </dev/null");
    return {WEXITSTATUS(status), Read("../out"), Read("../err")};
  }

  /// The output as JSON, one value a line; no value when it can't be parsed.
  static std::vector<json::object> Json(const std::string& command) {
    std::istringstream out(Run(command).out);
    std::vector<json::object> values;
    for (std::string line; std::getline(out, line);) {
      boost::system::error_code error;
      const json::value value = json::parse(line, error);
      EXPECT_FALSE(error) << command << ": " << line;
      if (!error) values.push_back(value.as_object());
    }
    return values;
  }

  static std::string Bytes(const json::value& value) {
    const json::object& object = value.as_object();
    const json::value* const text = object.if_contains("text");
    if (text != nullptr) return {text->as_string().begin(), text->as_string().end()};
    std::string bytes;
    unsigned int buffer = 0;
    unsigned int bits = 0;
    for (const char c : object.at("bytes").as_string()) {
      if (c == '=') break;
      const unsigned int digit = c == '+'   ? 62
                                 : c == '/' ? 63
                                 : c <= '9' ? c - '0' + 52
                                 : c <= 'Z' ? c - 'A'
                                            : c - 'a' + 26;
      buffer = buffer << 6 | digit;
      bits += 6;
      if (bits >= 8) bytes += static_cast<char>(buffer >> (bits -= 8));
    }
    return bytes;
  }

 private:
  const fs::path root_ =
      fs::temp_directory_path() / ("regexclass-tool-" + std::to_string(getpid()));
  const fs::path dir_ = root_ / "files";
};

TEST_F(Tool, PrintsAndExits) {
  Write("t", "banana\nno match: xyz\nab[c]");
  Write("e", "");
  fs::create_directory("dir");
  const std::string match = "\033[1;31m";
  const std::string off = "\033[m";
  const struct {
    const char* command;
    int status;
    std::string out;
    const char* err;
  } cases[] = {
      {"$T grep -n a t", 0, "1:banana\n2:no match: xyz\n3:ab[c]\n", ""},
      {"$T grep -on an t", 0, "1:an\n1:an\n", ""},
      {"$T grep -m 2 -o a t e", 0, "t:a\nt:a\n", ""},
      {"$T grep -m -1 a t 2>/dev/null", 2, "", ""},
      {"$T grep -c '[ab]' t e", 0, "t:7\ne:0\n", ""},
      {"$T grep -cI '{}' t e", 1, "0\n0\n", ""},
      {"$T grep -HF '[' - <t", 0, "(standard input):ab[c]\n", ""},
      {"$T grep -- -x t; $T grep grep t", 1, "", ""},
      {"$T grep -q A t", 1, "", ""},
      {"$T grep -qi A t missing", 0, "", ""},
      {"$T grep a missing t dir | tail -1; exit ${PIPESTATUS[0]}", 2, "t:ab[c]\n",
       "regexclass: missing: No such file or directory\nregexclass: dir: Is a directory\n"},
      {"$T grep -U dir; $T grep -U a dir", 2, "", "regexclass: dir: Is a directory\n"},
      {"$T grep '' t", 2, "", "regexclass: expression '': Empty expression\n"},
      {"$T grep x e; echo -n | $T grep '^$'", 1, "", ""},
      {"echo | $T grep -n '^$'", 0, "1:\n", ""},
      {"$T grep -Un 'a\\nno|z\\na|^a' t", 0, "1:banana\n2:no match: xyz\n3:ab[c]\n", ""},
      {"$T grep --color always an t", 0, "b" + match + "an" + off + match + "an" + off + "a\n", ""},
      {"NO_COLOR=1 script -qec '$T grep an t' /dev/null", 0, "banana\r\n", ""},
      {"TERM=xterm script -qec '$T search an t' /dev/null", 0, "b" + match + "an" + off + "ana\r\n",
       ""},
      {"$T match b t; $T match n t", 0, "banana\nno match: xyz\n", ""},
      {"$T match -x 'b.*' t; $T match -x ban t", 1, "banana\n", ""},
      {"$T search -o '[xyz]' t", 0, "x\n", ""},
      {"$T match -t abc --match-option partial abcd", 0, "abc\n", ""},
      {"$T format '(.)n' '<$1>' t", 0, "<a>\n<a>\n", ""},
      {"$T format n '<&$1>' --format-type sed -n t", 0, "1:<n$1>\n1:<n$1>\n2:<n$1>\n", ""},
      {"$T format -m1 -e n '<$0>' t", 0, "<n>\n", ""},
      {"$T merge a X t", 0, "bXnXnX\nno mXtch: xyz\nXb[c]", ""},
      {"$T merge --no-copy a X t", 0, "XXX\nX\nX\n", ""},
      {"$T merge --only-first a '' -t banana", 0, "bnana\n", ""},
      {"$T merge -U --only-first '\\n' '&' --format-type sed t", 0, Read("t"), ""},
      {"$T merge abx y --match-option partial -t ab", 1, "ab\n", ""},
      {"$T merge q X t", 1, "banana\nno match: xyz\nab[c]", ""},
      {"$T merge -e x", 2, "", "regexclass: no format is given\n"},
      {"$T split , -t a,b,,c", 0, "a\nb\n\nc\n", ""},
      {"$T split -0 <t", 0, std::string("banana\0no\0match:\0xyz\0ab[c]\0", 27), ""},
      {"$T split --max-splits 2 --input-delete -t 'a b c d'", 0, "a\nb\nc d\n", ""},
      {"$T grep -s basic 'a\\{2\\}|' -t 'aa|'; $T grep --option literal a. -t a.", 0, "aa|\na.\n",
       ""},
      {"$T grep -s none --option bk-vbar 'a\\|b' -t b", 0, "b\n", ""},
      {"printf 'a\\0b\\377\\n' | $T grep -o '\\x00b.'", 0, std::string("\0b\377\n", 4), ""},
      {"$T grep -s nonsense a t 2>&1 | grep -c nonsense; exit ${PIPESTATUS[0]}", 2, "1\n", ""},
      {"$T grep --locale no_NO.NO a t", 2, "", "regexclass: no locale 'no_NO.NO' is installed\n"},
      {"$T grep a t >/dev/full", 2, "", "regexclass: standard output: No space left on device\n"},
      {"yes banana | $T grep -n a | head -1", 0, "1:banana\n", ""},
      {"$T grep-files a t; $T grep-files -o 'c\\b.' dir 't*'", 0,
       "t:1:banana\nt:2:no match: xyz\nt:3:ab[c]\nt:3:c]\n", ""},
      {"$T grep-files -m 1 -o n t; $T grep-files -iIN 'A\\nN|B' t", 0,
       "t:1:n\nbanana\nno match: xyz\nab[c]\n", ""},
      {"$T grep-files a missing t -c", 2, "t:5\n",
       "regexclass: missing: No such file or directory\n"},
      {"$T grep-files root /proc/self/mem; $T find-files -q a t /proc/self/mem", 0, "",
       "regexclass: /proc/self/mem: can't read: Input/output error\n"},
      {"$T find-files '(' t", 2, "", nullptr},
      {"$T find-files x", 2, "", "regexclass: no files are named\n"},
      {"echo a >'[t];x'; $T find-files -0 a [[]*", 0, std::string("[t];x\0", 6), ""},
      {"{ $T settings -w -; echo x; } | $T settings --settings -", 2, "",
       "regexclass: standard input: not a settings file, or a damaged one\n"},
      {"echo x | $T grep --settings t x", 2, "",
       "regexclass: t: not a settings file, or a damaged one\n"},
  };
  const bool terminals =
      Run("script -qec true /dev/null").status == 0;  // some containers have none
  for (const auto& c : cases) {
    if (!terminals && std::string(c.command).find("script -q") != std::string::npos) continue;
    const Outcome outcome = Run(c.command);
    EXPECT_EQ(outcome.status, c.status) << c.command << outcome.err;
    EXPECT_EQ(outcome.out, c.out) << c.command;
    if (c.err != nullptr) {
      EXPECT_EQ(outcome.err, c.err) << c.command;
    }
  }
}

// grep and sed are the oracles, on texts that no one has thought of.
TEST_F(Tool, AgreesWithGrepAndSed) {
  Random random(5);
  const char* const expressions[] = {"a",    "ab|b+a", "(a|ab)(c|bcd)?", "^a|c$", "[ab]+c",
                                     "b{2}", "^.b",    "(a)b*\\1"};
  for (int i = 0; i < RegexClass::test::Cases(20); ++i) {
    Write("t", random.Text("aabbc\n", 60) + "\n");
    Write("u", random.Text("aabbc\n", 60) + "\n");
    const std::string bare = expressions[random.Below(8)];
    const std::string e = " '" + bare + "' ";
    const std::pair<std::string, std::string> pairs[] = {
        {"$T grep -s egrep -n" + e + "t u", "grep -En" + e + "t u"},
        {"$T grep -s egrep -o" + e + "<t", "grep -Eo" + e + "<t"},
        {"$T match -s egrep -x" + e + "t u", "grep -Ex" + e + "t u"},
        {"$T search -s egrep -c" + e + "t u", "grep -Ec" + e + "t u"},
        {"$T merge -s egrep" + e + "'<$0>' t", "sed -E 's/" + bare + "/<&>/g' t"},
        {"$T merge --only-first -s egrep" + e + "x t", "sed -E 's/" + bare + "/x/' t"},
        {"$T grep-files" + e + "t u", "grep -PnH" + e + "t u"},
        {"$T find-files" + e + "'*'", "grep -Pl" + e + "*"},
    };
    std::string ours;
    std::string theirs;
    for (const auto& [mine, other] : pairs) {
      ours += mine + "; ";
      theirs += other + "; ";
      const bool status = other[0] == 'g';  // sed doesn't tell
      for (std::string* both : {&ours, &theirs}) *both += status ? "echo $?; " : "";
    }
    EXPECT_EQ(Run(ours).out, Run(theirs).out) << ours << "\n" << Read("t") << "\n" << Read("u");
  }
}

TEST_F(Tool, JsonKeepsEveryByte) {
  Random random(6);
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  const std::string characters = "a\xC3\xA9\xE2\x82\xAC";
  const std::string borders = "a\n\xE0\x9F\xA0\xED\xF0\x8F\x90\xF4\x80\xC1";
  // Four bytes each, one way of being no UTF-8, but for the last.
  const std::string almost =
      "\xF4\x90\x80\x80\xED\xA0\x80z\xF0\x8F\x80\x80\xE0\x9F\x80z\xC1\x80zz\xF4\x8F\xBF\xBF";
  for (int i = 0; i < 40; ++i) {
    const std::string text = i == 0   ? all
                             : i == 1 ? almost
                                      : random.Text(i % 2 == 0 ? characters : borders, 60);
    Write("t", text);
    std::string together;
    const bool pairs = i != 1 && random.Flip();
    const std::string e = pairs ? "([^b]?)(?:.|\\n)" : "(a?).{1,4}";
    for (const json::object& match : Json("$T grep --json -U '" + e + "' t")) {
      EXPECT_EQ(match.at("position").as_int64(), static_cast<std::int64_t>(together.size()));
      EXPECT_EQ(Bytes(match.at("file")), "t");
      const json::value& group = match.at("groups").as_array()[0];
      EXPECT_TRUE(group.is_null() || Bytes(match.at("match")).find(Bytes(group)) == 0);
      together += Bytes(match.at("match"));
    }
    EXPECT_EQ(together, text);
    for (const json::object& match : Json("$T grep --json '[^a]+' t")) {
      const std::string found = Bytes(match.at("match"));
      const auto position = static_cast<std::size_t>(match.at("position").as_int64());
      EXPECT_EQ(text.substr(position, found.size()), found);
      EXPECT_EQ(std::count(text.begin(), text.begin() + match.at("position").as_int64(), '\n'),
                match.at("line").as_int64() - 1);
    }
    EXPECT_EQ(Bytes(Json("$T merge --json -U -t x -e q -f '' <t")[0].at("merged")), "x");
  }
  EXPECT_EQ(json::serialize(Json("$T split --json --max-splits 1 --input-delete -t 'a b'")[0]),
            R"({"file":null,"line":1,"pieces":[{"text":"a"}],"rest":{"text":"b"}})");
  EXPECT_EQ(json::serialize(Json("$T grep-files --json -c . t")[0].at("file")), R"({"text":"t"})");
  EXPECT_TRUE(Json("$T match --json -t a --match-option partial ab")[0].at("match").is_null());
}

// Each option changes its setting and nothing else, and a settings file keeps it.
TEST_F(Tool, OptionsReachEverySetting) {
  const json::object fresh = Json("$T settings --json")[0];
  const std::pair<const char*, std::pair<const char*, const char*>> cases[] = {
      {"-e ''", {"expression", R"({"text":""})"}},
      {"-e '[a]'", {"expression", R"({"text":"[a]"})"}},
      {"--no-option no-collate,intervals -s sed",
       {"options", R"(["char-classes","limited-ops","bk-braces","bk-parens","bk-refs"])"}},
      {"--match-option not-bol,any --match-option not-eow --no-match-option any",
       {"match_options", R"(["not-bol","not-eow"])"}},
      {"--locale-model w32", {"locale_model", R"("w32")"}},
      {"--locale-dll texts", {"locale_dll", R"({"text":"texts"})"}},
      {"-t 'a\n'", {"text", R"({"text":"a\n"})"}},
      {"-f '$1'", {"format", R"({"text":"$1"})"}},
      {"--format-type perl", {"format_type", R"("perl")"}},
      {"--copy", {"copy", "true"}},
      {"--only-first", {"only_first", "true"}},
      {"--max-splits 7", {"max_splits", "7"}},
      {"--input-delete", {"input_delete", "true"}},
      {"--files '*.a;*.b'", {"files", R"({"text":"*.a;*.b"})"}},
      {"-r", {"recursive", "true"}},
      {"--stop-on-error", {"continue", "false"}},
      {"--save old", {"save", R"({"text":"old"})"}},
  };
  std::set<std::string> reached = {"syntax"};
  for (const auto& [options, change] : cases) {
    ASSERT_EQ(Run(std::string("$T settings -w kept ") + options).status, 0) << options;
    const json::object kept = Json("$T settings --json --settings kept")[0];
    json::object expected = fresh;
    expected[change.first] = json::parse(change.second);
    if (change.first == std::string("options")) expected["syntax"] = kept.at("syntax");
    EXPECT_EQ(kept, expected) << options;
    EXPECT_EQ(Run("$T settings -w - <kept --settings -").out, Read("kept"));
    reached.insert(change.first);
  }
  EXPECT_EQ(reached.size(), fresh.size());
  EXPECT_EQ(Run("$T settings -e b -f '<$&>' -t abc --copy -w s; $T merge --settings s").out,
            "a<b>c\n");
  EXPECT_EQ(Run("echo xbx | $T merge --settings s --no-copy -").out, "<b>\n");
  EXPECT_NE(Run("$T settings --settings s").out.find("\"abc\""), std::string::npos);
}

// What a dry run announces, done here by hand, is what a real run does.
TEST_F(Tool, ChangesWhatTheDryRunTold) {
  Random random(7);
  for (int i = 0; i < 20; ++i) {
    std::vector<std::pair<std::string, std::string>> files = {
        {"a.c", ""}, {"b.c", ""}, {"d/c.c", ""}};
    fs::create_directories("d");
    for (auto& [name, bytes] : files) {
      bytes = random.Text(std::string("abbc\n\0\xFF", 7), 30);
      Write(name, bytes);
    }
    Write("x.OLD", "ab");
    Write("r.c", "ab");
    fs::permissions("r.c", fs::perms::owner_read);
    const std::string run = "$T change-files -r '(a?)(b\\n?)' '$2-$1' '*.c' '*.OLD' --save old ";

    std::vector<std::string> expected;
    expected.reserve(files.size());
    for (const auto& [name, bytes] : files) expected.push_back(bytes);
    const std::vector<json::object> changes = Json(run + "--json --dry-run");
    for (auto change = changes.rbegin(); change != changes.rend(); ++change) {
      std::size_t f = 0;
      while (f < files.size() && files[f].first != Bytes(change->at("file"))) ++f;
      ASSERT_LT(f, files.size()) << "not a file that a run changes";
      expected[f].replace(static_cast<std::size_t>(change->at("position").as_int64()),
                          Bytes(change->at("match")).size(), Bytes(change->at("replacement")));
    }
    for (const auto& [name, bytes] : files) EXPECT_EQ(Read(name), bytes) << "by the dry run";

    const Outcome outcome = Run(run);
    EXPECT_EQ(outcome.status, changes.empty() ? 1 : 0) << outcome.err;
    for (std::size_t f = 0; f < files.size(); ++f) {
      const auto& [name, bytes] = files[f];
      EXPECT_EQ(Read(name), expected[f]);
      EXPECT_EQ(outcome.out.find(name + ':') != std::string::npos, bytes != expected[f]);
      const fs::path saved = fs::path(name).replace_extension("old");
      if (bytes != expected[f]) {
        EXPECT_EQ(Read(saved), bytes);
      }
    }
    EXPECT_EQ(Read("r.c") + Read("x.OLD"), "abab");
    fs::remove("r.c");
  }
}

TEST_F(Tool, TellsOfFilesThatCantBeChanged) {
  const std::string before = "mkdir -p 2.old; for f in 1 2 3; do echo b >$f.c; done; ";
  const std::string run = "$T change-files b X '*.c' --save old ";
  const std::string problem = "regexclass: 2.c: 2.old: can't save the copy: Is a directory\n";
  Outcome outcome = Run(before + run);
  EXPECT_EQ(std::make_pair(outcome.status, outcome.out),
            std::make_pair(2, std::string("1.c:1\n3.c:1\n")));
  EXPECT_EQ(outcome.err, problem);
  EXPECT_EQ(Read("1.c") + Read("2.c") + Read("3.c"), "X\nb\nX\n");
  outcome = Run(before + run + "--stop-on-error");
  EXPECT_EQ(std::make_pair(outcome.status, outcome.out), std::make_pair(2, std::string("1.c:1\n")));
  EXPECT_EQ(Read("1.c") + Read("2.c") + Read("3.c"), "X\nb\nb\n");
  // What can't be read is told before anything is changed.
  outcome = Run(before + run + "/proc/self/mem --stop-on-error");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.err,
            "regexclass: /proc/self/mem: can't read: Input/output error\n"
            "regexclass: nothing has been changed\n");
  EXPECT_EQ(Read("1.c"), "b\n");
}

// The manual, the help and the completion tell of the same commands and options.
TEST_F(Tool, IsDocumented) {
  const std::string options = " | grep -oE -- '--[a-z]+(-[a-z]+)*' | sort -u; ";
  const std::string commands =
      "$($T --help | sed -n '/^Subcommands/,/^$/s/^  \\([a-z-]*\\) .*/\\1/p')";
  const std::string help =
      Run("for c in " + commands + "; do $T $c --help; done | cat - <($T --help)" + options).out;
  const std::string manual =
      Run("sed -n 's/Fl Fl /--/gp' " REGEXCLASS_TOOLS_DIR "/regexclass.1" + options).out;
  EXPECT_EQ(manual, help);
  EXPECT_EQ(Run("for c in " + commands +
                "; do grep -q \"^.It Cm $c$\\|^.Cm $c$\" " REGEXCLASS_TOOLS_DIR
                "/regexclass.1 || echo $c; done")
                .out,
            "");

  const auto complete = [](const std::string& words) {
    return Run("source " REGEXCLASS_TOOLS_DIR "/regexclass.bash; COMP_WORDS=($T " + words +
               "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _regexclass $T; echo ${COMPREPLY[*]}")
        .out;
  };
  EXPECT_EQ(complete("grep"), "grep grep-files\n");
  EXPECT_EQ(complete("grep --no-m"), "--no-match-option\n");
  EXPECT_EQ(complete("grep --syntax e"), "extended emacs egrep\n");
  EXPECT_EQ(complete("grep -s aw"), "awk\n");
}

}  // namespace
