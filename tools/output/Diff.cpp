// SPDX-License-Identifier: BSL-1.0
#include "output/Diff.hpp"

#include <algorithm>

#include "platform/FileSystem.hpp"

namespace tool {

namespace {

constexpr std::size_t kContext = 3;

/// Lines with their line feeds; the last may have none.
using Lines = std::vector<std::string>;

Lines LinesOf(const std::string& text) {
  Lines lines;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size() - 1) + 1;
    lines.push_back(text.substr(begin, end - begin));
    begin = end;
  }
  return lines;
}

/// Lines of the old content, from `first` on (from 0), that others take the place of.
struct Block {
  std::size_t first = 0;
  Lines before, after;
  std::size_t End() const { return first + before.size(); }
};

/// Leaves out what is the same at either end.
void Trim(Block& block) {
  const auto common = std::mismatch(block.before.begin(), block.before.end(), block.after.begin(),
                                    block.after.end());
  block.first += static_cast<std::size_t>(common.first - block.before.begin());
  block.before.erase(block.before.begin(), common.first);
  block.after.erase(block.after.begin(), common.second);
  while (!block.before.empty() && !block.after.empty() &&
         block.before.back() == block.after.back()) {
    block.before.pop_back();
    block.after.pop_back();
  }
}

/// Whether a line begins at the offset.
bool IsLineStart(const std::string& content, std::size_t at) {
  return at == 0 || content[at - 1] == '\n';
}

/// The blocks of whole lines that the changes make.
std::vector<Block> BlocksOf(const std::string& content, const std::vector<Change>& changes) {
  std::vector<Block> blocks;
  std::size_t counted = 0;  // the bytes whose lines have been counted
  std::size_t line = 0;
  for (std::size_t i = 0; i < changes.size();) {
    const std::size_t begin =
        changes[i].position == 0 ? 0 : content.rfind('\n', changes[i].position - 1) + 1;
    std::size_t at = begin;  // what is in `after`
    std::size_t end = begin;
    std::string after;
    // The end of a last line without a line feed belongs to that line.
    const auto isInBlock = [&](const Change& change) {
      return change.position < end || (change.position == end && !IsLineStart(content, end));
    };
    for (bool first = true; i < changes.size() && (first || isInBlock(changes[i])); ++i) {
      first = false;
      const Change& change = changes[i];
      after += content.substr(at, change.position - at) + change.replacement;
      at = change.position + change.matched.size();
      // To the end of the line that the match ends in or, with its line feed, of the one after it.
      end = std::min(content.find('\n', at), content.size() - 1) + 1;
      end = std::max(end, at);
    }
    after += content.substr(at, end - at);
    line += static_cast<std::size_t>(
        std::count(content.begin() + static_cast<std::ptrdiff_t>(counted),
                   content.begin() + static_cast<std::ptrdiff_t>(begin), '\n'));
    counted = begin;
    blocks.push_back({line, LinesOf(content.substr(begin, end - begin)), LinesOf(after)});
    Trim(blocks.back());
    // Changes may make up for each other.
    if (blocks.back().before.empty() && blocks.back().after.empty()) blocks.pop_back();
  }
  return blocks;
}

/// A name as diff writes it: in quotes when it has characters that would end it.
std::string Name(const std::string& path) {
  const std::string file = WithSlashes(path);
  if (file.find_first_of("\"\\\n\t") == std::string::npos) {
    return file.find(' ') == std::string::npos ? file : file + '\t';
  }
  std::string name = "\"";
  for (const char c : file) {
    if (c == '\n' || c == '\t') {
      name += c == '\n' ? "\\n" : "\\t";
    } else {
      if (c == '"' || c == '\\') name += '\\';
      name += c;
    }
  }
  return name + '"';
}

/// A stretch of lines, from 0, as a hunk's head has it.
std::string Stretch(std::size_t first, std::size_t count) {
  const std::string begin = std::to_string(count == 0 ? first : first + 1);
  return count == 1 ? begin : begin + ',' + std::to_string(count);
}

void PrintLine(const Printer& printer, char sign, std::string line) {
  const char* const color = sign == '-' ? "31" : sign == '+' ? "32" : "";
  const bool ended = !line.empty() && line.back() == '\n';
  if (ended) line.pop_back();
  printer.Plain(color, sign + line);
  if (!ended) printer.Plain("", "\\ No newline at end of file");
}

}  // namespace

void PrintDiff(const Printer& printer, const std::string& file, const std::string& content,
               const std::vector<Change>& changes) {
  const std::vector<Block> blocks = BlocksOf(content, changes);
  if (blocks.empty()) return;
  const Lines lines = LinesOf(content);
  printer.Plain("1", "--- " + Name(file));
  printer.Plain("1", "+++ " + Name(file));
  std::ptrdiff_t moved = 0;  // how far the hunks before have moved what follows
  for (std::size_t i = 0; i < blocks.size();) {
    const std::size_t begin = blocks[i].first - std::min(kContext, blocks[i].first);
    std::size_t last = i;
    while (last + 1 < blocks.size() &&
           blocks[last + 1].first <= blocks[last].End() + 2 * kContext) {
      ++last;
    }
    const std::size_t end = std::min(blocks[last].End() + kContext, lines.size());
    std::ptrdiff_t more = 0;
    for (std::size_t b = i; b <= last; ++b) {
      more += static_cast<std::ptrdiff_t>(blocks[b].after.size()) -
              static_cast<std::ptrdiff_t>(blocks[b].before.size());
    }
    const auto shifted = [](std::size_t number, std::ptrdiff_t by) {
      return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(number) + by);
    };
    printer.Plain("36", "@@ -" + Stretch(begin, end - begin) + " +" +
                            Stretch(shifted(begin, moved), shifted(end - begin, more)) + " @@");
    moved += more;
    std::size_t at = begin;
    for (; i <= last; ++i) {
      for (; at < blocks[i].first; ++at) PrintLine(printer, ' ', lines[at]);
      for (const std::string& line : blocks[i].before) PrintLine(printer, '-', line);
      for (const std::string& line : blocks[i].after) PrintLine(printer, '+', line);
      at = blocks[i].End();
    }
    for (; at < end; ++at) PrintLine(printer, ' ', lines[at]);
  }
}

}  // namespace tool
