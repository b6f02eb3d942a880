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
#ifdef __SANITIZE_ADDRESS__
  // The sanitizer takes its own want of a descriptor for an error of the tool.
  static constexpr Where kWithFewDescriptors = kWindowsAlone;
#else
  static constexpr Where kWithFewDescriptors = kPosix;
#endif
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
      {"$T grep -o '[[aabb]]' -t 'b]'; $T grep -o -e '[ab]' -t '[[aa]]'", 0, "b]\na\na\n"},
      {"$T grep -HF '[' - <t; $T grep -qi A t q", 0, "(standard input):ab[c]\n"},
      {"echo n >./-; $T grep-files -c n -; rm ./-", 0, "-:1\n"},
      {"$T grep -o bana t q .", 2, "t:bana\n",
       "regexclass: q: No such file or directory\nregexclass: .: Is a directory\n"},
      {"$T match b t; $T match n t; $T match -x 'b.*' t", 0, "banana\nno match: xyz\nbanana\n"},
      {"$T format -m1 -e n '<&$0>' t --format-type sed -n", 0, "1:<n$0>\n"},
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
      {"for a in '-C -1' --no; do $T grep $a a t 2>err; echo $? $(grep -c '^regexclass: ..' err);"
       "done",
       0, "2 1\n2 1\n"},
      {"$T grep -w -s sed a t", 2, "",
       "regexclass: whole words and lines can't be had of this expression or syntax\n"},
      {"$T grep --linear -o '(n|a)+$' t; $T grep-files --linear '(a)\\1' t", 2, "anana\n",
       "regexclass: expression '(a)\\1': a search for it may take more than a time in proportion "
       "to "
       "the text\n"},
      {"$T grep-files '(a|n)+\\1x' t; $T grep-files --step-limit 5 '(a|n)+\\1x' t", 2, "",
       "regexclass: t: can't search to the end: the expression is too complex for it\n"},
      {"$T grep --settings t x", 2, "", "regexclass: t: not a settings file, or a damaged one\n"},
  });
  if (kWindows || Run("script -qec true /dev/null").status != 0)
    return;  // some containers have no terminals
  RunAll({{"TERM=xterm script -qec '$T search an t' /dev/null", 0, "b" + an + "ana\r\n"},
          {"TERM=dumb script -qec '$T grep-files an t ./t' /dev/null", 0, "t\r\n1:banana\r\n"},
          {"n=$'\\em\\n'; printf 'a\\t\\e[mö\\302\\233\\177\\r\\n' >\"$n\"; export TERM=dumb n; "
           "$T grep "
           "a \"$n\" | cmp - \"$n\"; script -qec '$T grep-files a \"$n\" \"x$n\"' /dev/null",
           2,
           "\\033m\\n\r\n1:a\t\\033[mö\\302\\233\\177\r\r\n"
           "regexclass: x\\033m\\n: No such file or directory\r\n"}});
}

TEST_F(Tool, ChoosesFiles) {
  const auto runAll = [](const std::vector<Case>& cases) {
    for (const char* const jobs : {"J=; ", "J=-j1; "}) RunAll(cases, jobs);
  };
  Run("mkdir -p .h v1/b; echo a | tee .h/x v1/n.o v1/.d '[t];x' v1/b/x; printf 'a\\0' >v1/bin");
  runAll({
      {"$T find-files $J -r a", 0, "[t];x\nv1/n.o\nv1/b/x\n"},
      {"$T find-files $J -r a . --exclude '[b]' --exclude '*/.d'", 0, "./[t];x\n./v1/n.o\n"},
      {"$T find-files $J -r a v1/ --hidden", 0, "v1/.d\nv1/n.o\nv1/b/x\n"},
      {"$T find-files a v1; $T find-files $J -rL a --binary", 0, "v1/bin\nv1/n.o\n"},
      {"$T grep-files $J -r a '[x]' v1/.d x; $T grep-files $J -r a .h/x '*.o;b*'", 0,
       "v1/b/x:1:a\nv1/.d:1:a\n.h/x:1:a\nv1/n.o:1:a\n",
       "regexclass: x: No such file or directory\n"},
      {"printf '.h/x\\0[t];x\\0' | $T find-files $J -0 --files-from - a; printf '.h/x\\nq\\n' | $T "
       "grep-files $J --files-from - a",
       2, std::string(".h/x\0[t];x\0", 11) + ".h/x:1:a\n",
       "regexclass: q: No such file or directory\n"},
      {"$T find-files a 'V1\\*.O' '*/n.*' v1/N.o NUL 'nul*'; $T find-files a '[T];X' '*;*.*' "
       "'*.*'",
       0, "V1/n.o\n[t];x\n", "", kWindowsAlone},
      {"export LC_ALL=C.UTF-8; echo a >Ärger-文; $T find-files a '[äb]rger-?' '*文' "
       "'Z:'\"$(pwd)/ärger*\" -c; rm Ä*",
       0, "1\n", "", kWindowsAlone},
  });
  Run("echo '*.o' >v1/.gitignore; ln -s b/x v1/l; ln -s b v1/m; cd v1; git init -q;"
      "git add -A; git config core.fsmonitor 'touch ../ran;'");
  runAll({
      {"$T find-files $J -r a v1", 0, "v1/l\nv1/n.o\n", "", kPosix},
      {"cd v1/b; $T find-files $J -r a ../b ../../v1 --ignore-files; ls ../../ran", 2, "../b/x\n",
       "ls: cannot access '../../ran': No such file or directory\n", kPosix},
      {"$T find-files $J -r a .h --ignore-files 2>&1 | grep -o '.*git: fatal: not'", 0,
       "regexclass: .h/: git: fatal: not\n", "", kPosix},
  });
  RunAll({{"$T change-files a b 'v1/[l]'; $T change-files a b v1/l; cat v1/b/x", 0, "v1/l:1\nb\n",
           "regexclass: v1/l: passed over: a link that isn't named as such\n", kPosix}});
}

// grep and sed are the oracles, on texts that no one has thought of.
TEST_F(Tool, AgreesWithGrepAndSed) {
  Random random(5);
  const std::string expressions[] = {"a",    "ab|b+a", "(a|ab)(c|bcd)?", "^a|c$", "[ab]+c",
                                     "b{2}", "^.b",    "(a)b*\\1"};
  const std::string options[] = {" ", " -w ", " -x ", " -B2A1 ", " -vC1 "};
  for (int i = 0; i < RegexClass::test::Cases(10); ++i) {
    for (const char* name : {"t", "u", "w"}) WriteFile(name, random.Text("aabbc \n", 60) + "\n");
    const std::string bare = expressions[random.Below(8)];
    const std::string e = " '" + bare + "' t u w";
    const std::string option = options[i % 5];
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
  for (int i = 0; i < 8; ++i) {
    Run("rm -rf * ../copy*; mkdir -p v1.2 'a b'");
    for (const char* name : {"v1.2/README", "b.c", "a b/c d.c", "a b/e\".c"}) {
      WriteFile(name, random.Text(std::string("abbc\n\n\n\n\0\xFF", 10), 60));
    }
    Run("for i in 1 2 3; do cp -a . ../copy$i; done; echo ab >x.OLD; echo ab >r.c; chmod 444 r.c");
    const std::string run =
        "$T change-files -r --binary '(a?)(b\\n?)|^\\n|\\z' '$2$1,' --save old ";
    Run(run + "--diff >../diff; cd ../copy1; patch -sp0 <../diff");
    const std::string one = Output("cd ../copy2; " + run + "-j1");
    RunAll({{run + "-j4", 2, one, "regexclass: r.c: passed over: read-only\n"}});
    const std::string beside = "Only in .: r.c\nOnly in .: x.OLD\n";
    EXPECT_EQ(Output("diff -rx '*.old' ../copy1 ../copy2; diff -r . ../copy2;"
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
       "regexclass: Makefile: its copy would be Makefile.in, which is there already: take "
       "another extension, or move it away\n" +
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
      {"mkdir i; for n in {1000..4999}; do echo foo >i/$n; done; $T change-files -j4 -r foo bar i "
       ">../o & until grep -qs bar i/1000; do :; done; kill $!; wait $!; echo $?; cat i/* | "
       "sort -u; diff <(cut -d: -f1 ../o) <(grep -l bar i/*)",
       0, "143\nbar\nfoo\n",
       "regexclass: interrupted; files that weren't told of are as they were\n", kPosix},
  });
}

// In a tree that others write to: links, hard links, copies, few descriptors, another run.
TEST_F(Tool, IsNotSteered) {
  const std::string other = ": passed over: has other names, which --hard-links would change too\n";
  RunAll({
      {"mkdir l; echo foo >x; ln -s ../x l/x; echo l/x | $T change-files --files-from - foo "
       "bar;ln x w; $T change-files foo bar '[wx]'; $T change-files -j8 foo bar '?' "
       "--hard-links;$T change-files -j8 bar barbar x w; cat w; rm w",
       0, "w:1\nx:1\nbarbar\n",
       "regexclass: l/x: passed over: a link that isn't named as such\nregexclass: w" + other +
           "regexclass: x" + other,
       kPosix},
      {"echo foo >z; ln -s z a; $T change-files foo bar '[az]'", 0, "z:1\n", "", kPosix},
      {"echo foo >q.c; echo xoo >q.h; chmod 755 q.c; $T change-files foo bar q.c --save o; "
       "cp q.o c; $T change-files --undo o 'q.[h]'; $T change-files --undo o 'q.[c]'; "
       "stat -c %a q.c; mv c q.o; $T change-files --undo o q.c; rm q.h; "
       "$T change-files --undo o q.c; ls q.*; ln -s x q.o; $T change-files --undo o q.c; "
       "cat q.c",
       0, "q.c:1\nq.c\n755\nq.c\nq.c\nfoo\n",
       "regexclass: q.c: q.o may be the copy of q.h\nregexclass: q.c: isn't a file: q.o\n", kPosix},
      {"for r in {1..10}; do mkdir s; for i in {1..200}; do echo foo$i >s/$i.c; done; "
       "for e in foo 'foo|bar'; do $T change-files -r $e bar s --save o >../o 2>&1 & done; "
       "wait; cat s/* | grep foo | sort -u | wc -l; rm -r s; done | uniq",
       0, "200\n"},
      {"mkdir n; for i in {1..300}; do echo foo >n/$i; done; (ulimit -n 14; "
       "$T change-files -j16 -r foo bar n >../o 2>../e); diff <(cut -d: -f1 ../o) <(grep -l "
       "bar n/*); diff <(sed -n 's/regexclass: \\([^:]*\\).*/\\1/p' ../e) <(grep -l foo n/*);"
       " rm -r n",
       0, "", "", kWithFewDescriptors},
      {"mkdir deep; (cd deep; l=$(printf 'd%.0s' {1..250}); for i in {1..20}; do mkdir $l; "
       "cd $l; done; echo foo >e; ln e f); for j in 1 8; do $T find-files -rcj$j foo deep; "
       "done; $T change-files -j8 foo bar -r deep --hard-links | grep -c '/e:1$'; rm -r deep",
       0, "2\n2\n1\n", "", kPosix},
  });
  if (kWindows || Output("id -u") != "0\n") return;
  RunAll({{"echo foo >o.c; echo evil >o.o; chown 65534 o.o; $T change-files --undo o o.c; cat o.c",
           0, "foo\n", "regexclass: o.c: can't put o.o back: Operation not permitted\n"}});
}

// Git is asked, and nothing that a repository names is run or waited for.
TEST_F(Tool, AsksGitForItsRulesAlone) {
  if (kWindows) GTEST_SKIP() << "git is one of the host";
  Run("export HOME=$PWD; git config --global user.email a@b; git config --global user.name a;"
      "git config --global protocol.file.allow always; for r in p s t; do git init -q $r; cd $r;"
      "echo '*.o' >.gitignore; echo a | tee a.c >a.o; git add .; git commit -qm a; cd ..; done; "
      "cd t;git submodule -q add ../s sub; echo a >sub/b.o; git init -q ig/own; echo a >ig/own/c;"
      " echo ig >>.gitignore; cd ../p; git config remote.o.url ../s; "
      "git config remote.o.promisor true;git config remote.o.uploadpack 'touch ../ran;'; "
      "git config core.repositoryformatversion 1;git config extensions.partialClone o;"
      "rm .git/objects/$(git rev-parse HEAD:.gitignore | sed 's,..,&/,'); mkfifo ../f;"
      "git update-index --skip-worktree .gitignore; rm .gitignore");
  RunAll(
      {{"$T find-files -r a t --ignore-files", 0, "t/a.c\nt/sub/a.c\n"},
       {"$T find-files -r a p --ignore-files >../o 2>&1; ls ran", 2, "",
        "ls: cannot access 'ran': No such file or directory\n"},
       {"git -C s config core.excludesFile $PWD/f; REGEXCLASS_GIT_SECONDS=1 $T find-files -r a s "
        "--ignore-files",
        2, "", "regexclass: s/: git doesn't answer\n"}});
}

// The manual, the help and the completion tell of the same commands and options.
TEST_F(Tool, IsDocumented) {
  if (kWindows) GTEST_SKIP() << "the documents are the same";
  const std::string tools = "cd " REGEXCLASS_TOOLS_DIR "; ";
  const std::string commands =
      "$($T --help | sed -n '/^Commands/,/^$/s/^  \\([a-z-]*\\) .*/\\1/p')";
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
