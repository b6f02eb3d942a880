// SPDX-License-Identifier: BSL-1.0
#include "output/LineWriter.hpp"

#include <algorithm>

namespace tool {

void LineWriter::Print(std::uint64_t number, const std::string& text, Span part, const Span* match,
                       const Span* lastMatch, char sign) {
  if (choice_.silent) return;
  const bool context = choice_.before > 0 || choice_.after > 0;
  const bool follows = lastPrinted_ != 0 && number == lastPrinted_ + 1;
  if (context && printed_ && !follows) printer_.Gap();
  lastPrinted_ = number;
  printed_ = true;
  printer_.Line(file_, number, text, part, match, lastMatch, sign);
}

void LineWriter::AddLine(std::uint64_t number, const std::string& text, Span part,
                         const Span* match, const Span* lastMatch, bool touched) {
  if (touched != choice_.inverted && !Enough()) {
    ++selected_;
    for (const auto& [earlier, line] : before_) {
      Print(earlier, line, {0, line.size()}, nullptr, nullptr, '-');
    }
    before_.clear();
    Print(number, text, part, match, lastMatch, ':');
    afterLeft_ = choice_.after;
  } else if (afterLeft_ > 0) {
    --afterLeft_;
    Print(number, text, part, nullptr, nullptr, '-');
  } else if (choice_.before > 0) {
    before_.emplace_back(number, text.substr(part.begin, part.end - part.begin));
    if (before_.size() > choice_.before) before_.pop_front();
  }
}

void LineWriter::Add(const InputText& text, const std::vector<Span>& matches) {
  const Span* match = matches.data();
  const Span* const last = match + matches.size();
  std::uint64_t line = text.line;
  for (std::size_t begin = 0; begin <= text.bytes.size(); ++line) {
    // A match belongs to the line on which it begins and to those that it has bytes of.
    while (match != last && match->begin < begin && match->end <= begin) ++match;
    if (match == last && !choice_.All()) break;
    const std::size_t end = std::min(text.bytes.find('\n', begin), text.bytes.size());
    const bool touched = match != last && match->begin <= end;
    // Behind a line feed at the end there is only a line when a match is there.
    const bool isLine = begin < text.bytes.size() || (begin == 0 && text.ended);
    if (touched || (isLine && choice_.All())) {
      AddLine(line, text.bytes, {begin, end}, match, last, touched);
    }
    begin = end + 1;
  }
}

FileLines::FileLines(Printer& printer, const LineChoice& choice, const std::string& file,
                     std::string_view content)
    : choice_(choice), content_(content), writer_(printer, choice, file, false) {}

/// Reads one line, with its line feed, to the end of the block.
bool FileLines::ReadLine() {
  if (nextOffset_ == content_.size()) return false;
  const std::size_t end = std::min(content_.find('\n', nextOffset_), content_.size() - 1) + 1;
  block_.bytes.append(content_, nextOffset_, end - nextOffset_);
  nextOffset_ = end;
  ++nextLine_;
  return true;
}

/// Begins a block without lines at the line that comes next.
void FileLines::BeginBlock() {
  block_.bytes.clear();
  block_.line = nextLine_;
  block_.offset = nextOffset_;
}

void FileLines::PassOn() {
  if (!matches_.empty() || choice_.All()) writer_.Add(block_, matches_);
  matches_.clear();
  BeginBlock();
}

void FileLines::Add(const RegexClass::REMatch& match, std::uint64_t line) {
  if (line >= nextLine_) {  // on a line after the block, which begins anew there
    PassOn();
    while (nextLine_ < line && ReadLine()) PassOn();
    ReadLine();
  }
  const auto position = static_cast<std::size_t>(match.position);
  while (nextOffset_ < position + match.text.size() && ReadLine()) {
  }
  const std::size_t begin = position - block_.offset;
  matches_.push_back({begin, begin + match.text.size()});
}

void FileLines::End() {
  do {
    PassOn();
  } while (writer_.WantsMore() && ReadLine());
}

}  // namespace tool
