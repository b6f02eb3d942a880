// SPDX-License-Identifier: BSL-1.0
// The command-line tool as a user meets it: the built binary, a shell, real files.

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

#include "FileTestHelpers.hpp"
#include "TestHelpers.hpp"

namespace {

using Json = nlohmann::json;
using RegexClass::test::Random;
using RegexClass::test::ReadFile;
using RegexClass::test::WriteFile;

/// Whether it is the tool for Windows; the shell and what it is compared with are of this system.
#ifdef REGEXCLASS_TOOL_FOR_WINDOWS
constexpr bool kWindows = true;
#else
constexpr bool kWindows = false;
#endif

/// Runs shell commands, where $T is the tool, in a directory of the test's own.
class Tool : public testing::Test {
 protected:
  enum Where { kEverywhere, kPosix, kWindowsAlone };
  struct Case {
    std::string command;
    int status;
    std::string out, err = {};
    Where where = kEverywhere;
  };

  static Case Run(const std::string& command) {
    WriteFile("../command", "unset NO_COLOR; export LC_ALL=C T='" REGEXCLASS_TOOL "'\n" + command);
    const int status = std::system("bash ../command >../out 2>../err </dev/null");
    return {command, WEXITSTATUS(status), ReadFile("../out"), ReadFile("../err")};
  }
  static std::string Output(const std::string& command) { return Run(command).out; }

  /// Runs each command behind `before`.
  static void RunAll(const std::vector<Case>& cases, const std::string& before = "") {
    for (Case c : cases) {
      if (c.where == (kWindows ? kPosix : kWindowsAlone)) continue;
      Case now = Run(before + c.command);
      for (std::string* const text : {&c.out, &now.out, &c.err, &now.err}) {
        if (kWindows) std::replace(text->begin(), text->end(), '\\', '/');
      }
      EXPECT_EQ(std::tie(now.status, now.out, now.err), std::tie(c.status, c.out, c.err))
          << before << c.command;
    }
  }

  static std::vector<Json> JsonLines(const std::string& command) {
    std::istringstream out(Output(command));
    std::vector<Json> values;
    for (std::string line; std::getline(out, line);) values.push_back(Json::parse(line));
    return values;
  }

  static std::string Bytes(const Json& value) {
    if (value.contains("text")) return value["text"];
    return Output("base64 -d <<<" + value.at("bytes").get<std::string>());
  }

  RegexClass::test::Scratch scratch_;
};

TEST_F(Tool, PrintsAndExits) {
  WriteFile("t", "banana\nno match: xyz\nab[c]");
  WriteFile("e", "");
  const std::string an = "\033[1;31man\033[m";
  RunAll({
      {"$T grep -m 2 -o a t e; $T grep-files -m 1 -o n t", 0, "t:a\nt:a\nt:1:n\n"},
      {"$T grep -c '[ab]' t e; $T grep-files -c a t e; $T find-files -c a t e", 0,
       "t:7\ne:0\nt:5\n1\n"},
      {"$T grep -HF '[' - <t; $T grep -qi A t q", 0, "(standard input):ab[c]\n"},
      {"echo n >./-; $T grep-files -c n -; rm ./-", 0, "-:1\n"},
      {"$T grep -o bana t q .", 2, "t:bana\n",
       "regexclass: q: No such file or directory\nregexclass: .: Is a directory\n"},
      {"$T grep -Un 'a\\nno|z\\na|^a' t", 0, "1:banana\n2:no match: xyz\n3:ab[c]\n"},
      {"$T match b t; $T match n t; $T match -x 'b.*' t", 0, "banana\nno match: xyz\nbanana\n"},
      {"$T format -m1 -e n '<&$0>' t --format-type sed -n", 0, "1:<n$0>\n"},
      {"$T merge a X t; $T merge --no-copy a X t", 0, "bXnXnX\nno mXtch: xyz\nXb[c]XXX\nX\nX\n"},
      {"$T merge -U --only-first '\\n' '&' --format-type sed t; $T split -0 -t 'a b'", 0,
       ReadFile("t") + std::string("a\0b\0", 4)},
      {"$T grep a t >/dev/full", 2, "", "regexclass: standard output: No space left on device\n"},
      {"$T match -q a -t a --locale-model unicode 2>&- || { printf 'Grüße\\nüa\\n'; exit; }\n"
       "LC_ALL=C.UTF-8 $T grep -o '\\w+' -t Grüße; $T grep -o '\\w+' -t üa --locale C.UTF-8",
       0, "Grüße\nüa\n"},
      {"yes banana | $T grep -n a | head -1", 0, "1:banana\n"},
      {"$T grep-files root /proc/self/mem -j3; $T find-files -q a t /proc/self/mem", 0, "",
       "regexclass: /proc/self/mem: can't read: Input/output error\n", kPosix},
      {"$T findfile x", 2, "",
       "regexclass: there is no command 'findfile'; the nearest is 'find-files'\n"},
      {"$T grep -C -1 a t", 2, "",
       "regexclass: --context: Value -1 not in range 0 to 9223372036854775807\n"},
      {"$T grep --no", 2, "", "regexclass: The following argument was not expected: --no\n"},
      {"$T grep -w -s sed a t", 2, "",
       "regexclass: whole words and lines can't be had of this expression or syntax\n"},
      {"$T grep --settings t x", 2, "", "regexclass: t: not a settings file, or a damaged one\n"},
  });
  if (kWindows || Run("script -qec true /dev/null").status != 0)
    return;  // some containers have no terminals
  RunAll({{"TERM=xterm script -qec '$T search an t' /dev/null", 0, "b" + an + "ana\r\n"},
          {"TERM=dumb script -qec '$T grep-files an t ./t' /dev/null", 0, "t\r\n1:banana\r\n"}});
}

TEST_F(Tool, ChoosesFiles) {
  Run("mkdir -p .h v1/b; echo a | tee .h/x v1/n.o v1/.d '[t];x' v1/b/x; printf 'a\\0' >v1/bin");
  for (const char* const jobs : {"J=; ", "J=-j1; "}) {
    RunAll(
        {
            {"$T find-files $J -r a", 0, "[t];x\nv1/n.o\nv1/b/x\n"},
            {"$T find-files $J -r a . --exclude b --exclude '*/.d'", 0, "./[t];x\n./v1/n.o\n"},
            {"$T find-files $J -r a v1/ --hidden", 0, "v1/.d\nv1/n.o\nv1/b/x\n"},
            {"$T find-files a v1; $T find-files $J -rL a --binary", 0, "v1/bin\nv1/n.o\n"},
            {"$T grep-files $J -r a '[x]' v1/.d x; $T grep-files $J -r a .h/x '*.o;b*'", 0,
             "v1/b/x:1:a\nv1/.d:1:a\n.h/x:1:a\nv1/n.o:1:a\n",
             "regexclass: x: No such file or directory\n"},
            {"printf '.h/x\\0[t];x\\0' | $T find-files -0 --files-from - a", 0,
             std::string(".h/x\0[t];x\0", 11)},
            {"printf '.h/x\\nq\\n' | $T grep-files --files-from - a", 2, ".h/x:1:a\n",
             "regexclass: q: No such file or directory\n"},
            {"$T find-files a 'V1\\*.O' '*/n.*' v1/N.o NUL 'nul*'; $T find-files a '[T];X' '*;*.*' "
             "'*.*'",
             0, "V1/n.o\n[t];x\n", "", kWindowsAlone},
            {"export LC_ALL=C.UTF-8; echo a >Ärger-文; $T find-files a '[äb]rger-?' '*文' "
             "'Z:'\"$(pwd)/ärger*\" -c; rm Ä*",
             0, "1\n", "", kWindowsAlone},
        },
        jobs);
  }
  Run("echo '*.o' >v1/.gitignore; ln -s b/x v1/l; ln -s b v1/m; cd v1; git init -q;"
      "git add -A; git config core.fsmonitor 'touch ../ran;'");
  for (const char* const jobs : {"J=; ", "J=-j1; "}) {
    RunAll(
        {
            {"$T find-files $J -r a v1", 0, "v1/l\nv1/n.o\n", "", kPosix},
            {"$T find-files $J -r a . --exclude b --exclude '*/l'", 0, "./[t];x\n./v1/n.o\n", "",
             kPosix},
            {"cd v1/b; $T find-files $J -r a ../b ../../v1 --ignore-files; ls ../../ran", 2,
             "../b/x\n", "ls: cannot access '../../ran': No such file or directory\n", kPosix},
            {"$T find-files $J -r a .h --ignore-files 2>&1 | grep -o '.*git: fatal: not'", 0,
             "regexclass: .h/: git: fatal: not\n", "", kPosix},
        },
        jobs);
  }
  RunAll({{"$T change-files a b 'v1/[l]'; $T change-files a b v1/l; cat v1/b/x", 0, "v1/l:1\nb\n",
           "regexclass: v1/l: passed over: a link that isn't named as such\n", kPosix}});
}

// grep and sed are the oracles, on texts that no one has thought of.
TEST_F(Tool, AgreesWithGrepAndSed) {
  Random random(5);
  const std::string expressions[] = {"a",    "ab|b+a", "(a|ab)(c|bcd)?", "^a|c$", "[ab]+c",
                                     "b{2}", "^.b",    "(a)b*\\1"};
  const std::string options[] = {" ", " -v ", " -w ", " -x ", " -A1 ", " -B2 ", " -C1 ", " -vA1 "};
  for (int i = 0; i < RegexClass::test::Cases(20); ++i) {
    for (const char* name : {"t", "u", "w"}) WriteFile(name, random.Text("aabbc \n", 60) + "\n");
    const std::string bare = expressions[random.Below(8)];
    const std::string e = " '" + bare + "' t u w";
    const std::string option = options[i % 8];
    std::string ours = "$T merge -s egrep '" + bare + "' '<$0>' t";
    std::string theirs = "sed -E 's/" + bare + "/<&>/g' t";
    const std::pair<std::string, std::string> pairs[] = {
        {"$T grep -s egrep -o", "grep -Eo"},
        {"$T match -s egrep -x", "grep -Ex"},
        {"$T search -s egrep -c", "grep -Ec"},
        {"$T grep -n" + option, "grep -Pn" + option},
        {"$T grep -L" + option, "grep -PL" + option},
        {"$T grep-files" + option, "grep -Pn" + option},
        {"$T grep-files -lj2" + option, "grep -Pl" + option},
        {"$T grep-files -L" + option, "grep -PL" + option},
        {"$T find-files -j2", "grep -Pl"}};
    for (const auto& [mine, other] : pairs) {
      ours.append("; ").append(mine).append(e).append("; echo $?");
      theirs.append("; ").append(other).append(e).append("; echo $?");
    }
    EXPECT_EQ(Output(ours), Output(theirs)) << ours << "\n" << Output("head t u w");
  }
}

TEST_F(Tool, JsonKeepsEveryByte) {
  Random random(6);
  for (int i = 0; i < 20; ++i) {
    const std::string text = random.Text("a\n\t\"\\\x01\xC3\xA9\xE2\x82\xAC\xED\xF0\x8F", 40);
    WriteFile("t", text);
    std::string together;
    for (const Json& match : JsonLines("$T grep --json -U '(a?).{1,4}' t")) {
      EXPECT_EQ(match["position"], together.size());
      EXPECT_EQ(Bytes(match["file"]), "t");
      EXPECT_EQ(Bytes(match["match"]).find(Bytes(match["groups"][0])), 0U);
      together += Bytes(match["match"]);
    }
    EXPECT_EQ(together, text);
  }
}

// Options change their settings and nothing else, and a settings file keeps them.
TEST_F(Tool, OptionsReachEverySetting) {
  const std::string show =
      "() { $T settings -w - \"$@\" | $T settings --settings -; }; diff <(show) ";
  RunAll({
      {"show" + show +
           "<(show -e '[a]' --locale-model w32 --locale-dll m -t 'b\n' --no-copy -r "
           "--files '*.a;b' --save o --match-option not-bol,any --no-match-option any) | grep '>'",
       0,
       "> expression:                 \"[a]\"\n> match options:              not-bol\n"
       "> locale model:               w32\n> message catalogue:          \"m\"\n"
       "> text:                       \"b\\n\"\n> merge copies the rest:      no\n"
       "> files:                      \"*.a;b\"\n> directories below too:      yes\n"
       "> extension of saved copies:  \"o\"\n"},
      {"show" + show +
           "<(show --no-option intervals -s sed --only-first --input-delete -f '$1' "
           "--format-type perl --max-splits 7 --stop-on-error) | grep '>'",
       0,
       "> syntax:                     none\n"
       "> switches:                   char-classes limited-ops bk-braces bk-parens bk-refs\n"
       "> format:                     \"$1\"\n> format type:                perl\n"
       "> merge only the first:       yes\n> most pieces of a split:     7\n"
       "> split deletes its input:    yes\n> go on after a failure:      no\n"},
      {"$T settings -e b -f '<$&>' -t abc -w s; $T merge --settings s;"
       "echo xbx | $T merge --settings s --no-copy -; $T settings --settings s --json |"
       "grep -o .copy.:true",
       0, "a<b>c\n<b>\n\"copy\":true\n"},
  });
}

// What patch makes of the diff is what a real run does, on any number of threads; undoing it brings
// back what was.
TEST_F(Tool, ChangesWhatItTold) {
  Random random(7);
  for (int i = 0; i < 20; ++i) {
    Run("rm -rf * ../copy*; mkdir -p v1.2 'a b'");
    for (const char* name : {"v1.2/README", "b.c", "a b/c d.c", "a b/e\".c"}) {
      WriteFile(name, random.Text(std::string("abbc\n\n\n\n\0\xFF", 10), 60));
    }
    Run("for i in 1 2 3; do cp -a . ../copy$i; done; echo ab >x.OLD; echo ab >r.c; chmod 444 r.c");
    const std::string run =
        "$T change-files -r --binary '(a?)(b\\n?)|^\\n|\\z' '$2$1,' --save old ";
    Run(run + "--diff >../diff; cd ../copy1; patch -sp0 <../diff");
    const std::string one = Output("cd ../copy2; " + run + "-j1");
    RunAll({{run + "-j4", one.empty() ? 1 : 0, one, "regexclass: r.c: passed over: read-only\n"}});
    const std::string beside = "Only in .: r.c\nOnly in .: x.OLD\n";
    EXPECT_EQ(Output("diff -r ../copy1 ../copy2 | grep -v '^Only in.*old$'; diff -r . ../copy2;"
                     "$T change-files -r --binary --undo old >../undone; diff -r . ../copy3"),
              beside + beside);
  }
}

TEST_F(Tool, ChangesNothingWrong) {
  const std::string none = "regexclass: nothing has been changed\n";
  Run("echo foo | tee a.c a.h Makefile b; echo >Makefile.in");
  RunAll({
      {"$T change-files '(f)oo' 'b&ar$1' a.? --dry-run; $T change-files foo '' b --dry-run --json",
       0,
       "a.c:1:-foo\na.c:1:+b&arf\na.h:1:-foo\na.h:1:+b&arf\n"
       R"({"file":{"text":"b"},"line":1,"position":0,"match":{"text":"foo"},"groups":[],)"
       R"("replacement":{"text":""}})"
       "\n"},
      {"$T change-files foo bar a.? --save o", 2, "",
       "regexclass: a.h: its copy would be a.o, as that of a.c\n" + none},
      {"$T change-files foo bar a.c a.h --save h", 2, "",
       "regexclass: a.c: its copy would be a.h, which is named too\n" + none},
      {"$T change-files foo bar Makefile --save in", 2, "",
       "regexclass: Makefile: its copy would be Makefile.in, which is there already with other "
       "content: take another extension, or move it away\n" +
           none},
      {"mkdir d; cp b d; $T change-files -r foo bar b --save o; cat d/b; $T change-files --undo o "
       "b",
       0, "b:1\nfoo\nb\n"},
      {"$T change-files '\\Boo\\b' x a.c --save o; $T change-files -w 'fo' x a.c; ls a.o", 2, "",
       "ls: cannot access 'a.o': No such file or directory\n"},
      {"$T change-files foo bar a.c /proc/self/mem --stop-on-error", 2, "",
       "regexclass: /proc/self/mem: can't read: Input/output error\n" + none, kPosix},
      {"flock a.c $T change-files foo bar 'a.*'; cat a.c", 0, "a.h:1\nfoo\n",
       "regexclass: a.c: can't open: Resource temporarily unavailable\n", kPosix},
      {"mkdir i; for n in {100..999}; do echo foo >i/$n; done; $T change-files -r foo bar i >../o &"
       "until grep -qs bar i/100; do :; done; kill $!; wait $!; echo $?; cat i/* | sort -u",
       0, "143\nbar\nfoo\n",
       "regexclass: interrupted; files that weren't told of are as they were\n", kPosix},
  });
}

// The manual, the help and the completion tell of the same commands and options.
TEST_F(Tool, IsDocumented) {
  if (kWindows) GTEST_SKIP() << "the documents are the same";
  const std::string tools = "cd " REGEXCLASS_TOOLS_DIR "; ";
  const std::string commands =
      "$($T --help | sed -n '/^Subcommands/,/^$/s/^  \\([a-z-]*\\) .*/\\1/p')";
  const std::string options = " | grep -oE -- '--[a-z]+(-[a-z]+)*' | sort -u";
  EXPECT_EQ(Output("for c in '' " + commands + "; do $T $c --help; done" + options),
            Output(tools + "sed -n 's/Fl Fl /--/gp' regexclass.1" + options));
  const std::string complete =
      "try() { COMP_WORDS=($T \"$@\"); COMP_CWORD=$#; _regexclass $T; echo ${COMPREPLY[*]}; "
      "};";
  RunAll({{tools + "for c in " + commands +
               "; do grep -q \"^.It Cm $c$\\|^.Cm $c$\" regexclass.1 || echo $c; done",
           0, ""},
          {tools + complete + ". ./regexclass.bash; try grep; try grep --no-m;" +
               "try grep --syntax e; try grep -s aw",
           0, "grep grep-files\n--no-match-option\nextended emacs egrep\nawk\n"}});
  Run("mkdir src; echo 'x = Open(1);' >src/a.cpp; echo to ann@home, colour >letter;"
      "echo Error >build.log; git init -q; git add .");
  RunAll(
      {{"regexclass() { $T \"$@\"; }; eval \"$(sed -n '/EXAMPLES/,/SEE ALSO/s/\\\\e/\\\\/g;"
        "/^reg\\|^git/p' " REGEXCLASS_TOOLS_DIR "/regexclass.1)\"",
        0,
        "ann\nto ann@..., colour\n--- src/a.cpp\n+++ src/a.cpp\n@@ -1 +1 @@\n-x = Open(1);\n"
        "+x = OpenFile(1);\nsrc/a.cpp:1\nsrc/a.cpp\nletter:1:to ann@home, colour\nError\n"}});
}

}  // namespace
