// SPDX-License-Identifier: BSL-1.0
// The inner parts of the command-line tool that have a rule of their own, each beside a slow and
// obviously right implementation: the diff, the choice of lines, the queue of files.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iostream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "TestHelpers.hpp"
#include "files/Workers.hpp"
#include "output/Diff.hpp"
#include "output/LineWriter.hpp"

namespace {

using namespace tool;
using RegexClass::test::Cases;
using RegexClass::test::Random;
using RegexClass::test::Texts;

/// The lines with their line feeds, which the last may lack.
Texts LinesOf(const std::string& text) {
  Texts lines;
  for (std::size_t begin = 0, end = 0; begin < text.size(); begin = end) {
    end = std::min(text.find('\n', begin), text.size() - 1) + 1;
    lines.push_back(text.substr(begin, end - begin));
  }
  return lines;
}

/// What a diff makes of a text. Each hunk must stand where it says, be as long as it says, and have
/// three lines or less around its changes.
std::string Patched(const std::string& text, const std::string& diff) {
  static const std::regex kHead("@@ -(\\d+)(,(\\d+))? \\+(\\d+)(,(\\d+))? @@\n");
  static const std::regex kSigns("(@ {0,3}[-+]( {0,6}[-+])* {0,3})*");
  using Place = std::pair<std::size_t, std::size_t>;  // in the old lines and in those that are made
  const Texts old = LinesOf(text);
  const Texts lines = LinesOf(diff);
  Texts made;
  std::size_t at = 0;
  std::string signs;
  Place end;  // of the hunk
  for (std::size_t i = 0; i < lines.size(); ++i) {
    std::smatch head;
    const std::string content = lines[i].substr(1);
    if (i < 2) {
      EXPECT_EQ(lines[i], i == 0 ? "--- f\n" : "+++ f\n");
    } else if (std::regex_match(lines[i], head, kHead)) {
      EXPECT_EQ(Place(at, made.size()), end);
      const auto number = [&](int group) {
        return head[group].matched ? std::stoul(head[group]) : 1;
      };
      const Place begin(number(1) - (number(3) > 0), number(4) - (number(6) > 0));
      while (at < std::min(begin.first, old.size())) made.push_back(old[at++]);
      EXPECT_EQ(Place(at, made.size()), begin);
      end = {at + number(3), made.size() + number(6)};
      signs += '@';
    } else if (lines[i][0] != '\\') {
      signs += lines[i][0];
      const bool ended = i + 1 == lines.size() || lines[i + 1][0] != '\\';
      const std::string line = ended ? content : content.substr(0, content.size() - 1);
      if (signs.back() != '+') {
        EXPECT_EQ(at < old.size() ? old[at++] : "none", line);
      }
      if (signs.back() != '-') made.push_back(line);
    }
  }
  EXPECT_EQ(Place(at, made.size()), end);
  EXPECT_TRUE(std::regex_match(signs, kSigns)) << signs;
  made.insert(made.end(), old.begin() + static_cast<std::ptrdiff_t>(at), old.end());
  std::string all;
  for (const std::string& line : made) all += line;
  return all;
}

TEST(Diff, IsWhatPatchTakes) {
  Random random(1);
  Style style;
  style.color = "never";
  for (int i = 0; i < Cases(5000); ++i) {
    const std::string text = random.Text("ab\n\n\n", 60);
    std::string made;
    std::vector<Change> changes;
    for (std::size_t at = 0; at <= text.size(); ++at) {
      const std::size_t next = std::min(at + random.Below(30), text.size());
      const Change change = {next, text.substr(next, random.Below(4)), random.Text("ab\n", 3)};
      if (change.matched != change.replacement) changes.push_back(change);
      made += text.substr(at, next - at) + change.replacement;
      at = next + change.matched.size();
      made += text.substr(at, 1);  // since no match begins where another ends
    }
    std::ostringstream out;
    PrintDiff(Printer::OfFiles(style, out), "f", text, changes);
    EXPECT_EQ(out.str().empty() ? text : Patched(text, out.str()), made) << text << '\n'
                                                                         << out.str();
  }
}

/// What is printed of a text, and how many of its lines are selected.
std::pair<std::string, std::uint64_t> Printed(const std::string& text, const LineChoice& choice,
                                              const std::vector<Span>& matches) {
  struct Line {
    std::string marked;
    bool exists, selected;
  };
  std::vector<Line> lines;
  std::uint64_t selected = 0;
  std::size_t begin = 0;
  for (std::string line : LinesOf(text + 'x')) {
    line.pop_back();
    const std::size_t end = begin + line.size();
    bool touched = false;
    for (auto match = matches.rbegin(); match != matches.rend(); ++match) {
      if (match->begin < begin ? match->end <= begin : match->begin > end) continue;
      touched = true;
      const std::size_t from = std::max(match->begin, begin) - begin;
      const std::size_t to = std::min(match->end, end) - begin;
      if (from >= to || choice.inverted) continue;
      line.insert(to, "\033[m").insert(from, "\033[1;31m");
    }
    const bool exists = touched || begin < text.size();
    const bool enough = choice.inverted && selected >= choice.most;
    lines.push_back({line, exists, exists && touched != choice.inverted && !enough});
    selected += lines.back().selected ? 1 : 0;
    begin = end + 1;
  }
  std::string out;
  std::size_t last = 0;  // the line that was printed last, from 1
  for (std::size_t i = 0; i < lines.size() && !choice.silent; ++i) {
    bool isNear = false;
    for (std::size_t j = 0; j < lines.size(); ++j) {
      isNear |= lines[j].selected && j <= i + choice.before && i <= j + choice.after;
    }
    if (!isNear || !lines[i].exists) continue;
    if (choice.before + choice.after > 0 && last != 0 && last != i) out += "\033[36m--\033[m\n";
    last = i + 1;
    out += "\033[32m" + std::to_string(last) + "\033[m\033[36m" + (lines[i].selected ? ':' : '-') +
           "\033[m" + lines[i].marked + '\n';
  }
  return {out, selected};
}

TEST(Lines, AreThoseWithMatchesAndAroundThem) {
  Random random(2);
  Style style;
  style.color = "always";
  style.lineNumbers = true;
  for (int i = 0; i < Cases(10000); ++i) {
    const std::string text = random.Text("ab\n\n", 20);
    LineChoice choice;
    choice.inverted = random.Flip();
    choice.before = random.Flip() ? random.Below(4) : 0;
    choice.after = random.Flip() ? random.Below(4) : 0;
    choice.most = random.Flip() ? random.Below(4) : 100;
    choice.silent = random.Below(8) == 0;
    std::vector<Span> matches;
    for (std::size_t at = random.Below(8); at <= text.size(); at += 1 + random.Below(9)) {
      matches.push_back({at, std::min(at + random.Below(6), text.size())});
      at = matches.back().end;
    }
    const auto expected = Printed(text, choice, matches);
    std::ostringstream out;
    Printer printer = Printer::OfTexts(style, out, false);
    LineWriter writer(printer, choice, "f", false);
    writer.Add({text, 1, 0, false}, matches);
    EXPECT_EQ(std::pair(out.str(), writer.Selected()), expected) << text;
    out.str("");
    FileLines lines(printer, choice, "f", text);
    for (const Span& match : matches) {
      const std::string matched = text.substr(match.begin, match.end - match.begin);
      lines.Add({matched, static_cast<std::int32_t>(match.begin)},
                LinesOf(text.substr(0, match.begin) + 'x').size());
    }
    lines.End();
    EXPECT_EQ(std::pair(out.str(), lines.Selected()), expected) << text;
  }
}

// Files that print their numbers, and a run that may end at one of them.
TEST(Queue, KeepsTheOrderWhateverIsReadyFirst) {
  Random random(3);
  std::streambuf* const terminal = std::cout.rdbuf();
  for (int i = 0; i < Cases(300); ++i) {
    enum Event { kNone, kStopAfter, kEnough, kFailure, kListFails };
    const auto event = static_cast<Event>(random.Below(5));
    const auto workers = static_cast<unsigned int>(1 + random.Below(4));
    // At times more is printed than is kept while others have their turn.
    const std::string much(random.Below(10) == 0 ? std::size_t{5} << 20U : 0, '.');
    const std::size_t size = much.empty() ? 1 + random.Below(3) : 1;
    const std::size_t files = random.Below(much.empty() ? 40 : 6);
    const std::size_t there = random.Below(files + 1);
    std::vector<std::size_t> pauses(files + 1);
    for (std::size_t& pause : pauses) pause = random.Flip() ? 0 : random.Below(200);
    if (!much.empty()) pauses[there] += 10000;  // the others are kept waiting
    std::vector<std::size_t> group(files);      // the first file of each that comes together
    std::atomic<std::size_t> parts{0}, made{0}, wanted{files};
    std::string thrown, caught;
    std::ostringstream out;
    std::cout.rdbuf(out.rdbuf());
    Progress progress;
    OrderedOutput output("--\n", progress);
    PartQueue queue(size);
    const auto fail = [&](const char* what) { throw std::runtime_error(thrown = what); };
    const auto list = [&] {
      for (std::size_t file = 0; file < files;) {
        if (event == kListFails && file >= there) fail("list");
        std::vector<ListedFile> some;
        const std::size_t first = file;
        for (std::size_t more = 1 + pauses[file] % 8; more > 0 && file < files; --more) {
          group[file] = first;
          some.push_back({std::to_string(file++)});
        }
        queue.Add(std::move(some));
        if (pauses[file] % 7 == 0) queue.Close();
      }
    };
    const Work work = [&](const FilePart& part) {
      ++parts;
      EXPECT_LE(part.files.size(), size > 1 ? 4 * size : 1);
      const std::size_t front = std::stoul(part.files.front().name);
      const std::size_t back = std::stoul(part.files.back().name);
      EXPECT_TRUE(size == 1 || group[front] == front) << "should be in the part before";
      EXPECT_LT(std::max(group[back], front) - front, size) << "should have been closed before";
      for (const ListedFile& file : part.files) {
        const std::size_t number = std::stoul(file.name);
        std::this_thread::sleep_for(std::chrono::microseconds(pauses[number]));
        if (number == there && event == kFailure) fail("work");
        if (number == there && event == kEnough) {
          thrown = "enough";
          output.Stop();
          throw Enough();
        }
        output.Put(part.number, {file.name + much, true, {}});
        output.Put(part.number, {"\n", false, {}});
        if (number != there || event != kStopAfter) continue;
        output.StopBehind(part.number);
        wanted = back + 1;
      }
    };
    try {
      RunWorkers(output, queue, workers, list, [&] { return ++made, work; });
    } catch (const std::runtime_error& error) {
      caught = error.what();
    }
    std::cout.rdbuf(terminal);
    EXPECT_EQ(caught, thrown == "enough" ? "" : thrown);
    EXPECT_LE(made, std::min<std::size_t>(workers, parts));
    std::string expected;
    for (std::size_t file = 0; file < wanted; ++file) {
      // By a single thread all is printed that comes before the end.
      if (workers == 1 && file == there && event >= kEnough && event <= kFailure) break;
      expected += (file > 0 ? "--\n" : "") + std::to_string(file) + much + '\n';
    }
    const bool whole = workers == 1 ? thrown != "list" : thrown.empty();
    EXPECT_TRUE(out.str() == expected.substr(0, whole ? expected.npos : out.str().size()))
        << event << ' ' << workers << ' ' << out.str().substr(0, 999);
  }
}

}  // namespace
