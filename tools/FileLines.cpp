#include "FileLines.hpp"

namespace tool {

FileLines::FileLines(const Printer& printer, const std::string& file)
    : printer_(printer), file_(file), in_(file, std::ios::binary) {}

/// Reads one line, with its line feed, to the end of the block.
bool FileLines::ReadLine() {
  std::string line;
  if (!std::getline(in_, line)) return false;
  if (!in_.eof()) line += '\n';
  block_.bytes += line;
  nextOffset_ += line.size();
  ++nextLine_;
  return true;
}

void FileLines::Print() {
  if (!matches_.empty()) printer_.Lines(file_, block_, matches_);
  matches_.clear();
}

void FileLines::Add(const RegexClass::REMatch& match, std::uint64_t line) {
  if (line >= nextLine_) {  // on a line behind the block, which begins anew there
    Print();
    bool more = true;
    while (more && nextLine_ < line) {
      block_.bytes.clear();
      more = ReadLine();
    }
    block_ = Text();
    block_.line = line;
    block_.offset = nextOffset_;
    ReadLine();
  }
  const auto position = static_cast<std::uint64_t>(match.position);
  while (nextOffset_ < position + match.text.size() && ReadLine()) {
  }
  const auto begin = static_cast<std::size_t>(position - block_.offset);
  if (position >= block_.offset && begin <= block_.bytes.size() &&
      block_.bytes.compare(begin, match.text.size(), match.text) == 0) {
    matches_.push_back({begin, begin + match.text.size()});
  } else {
    Print();
    printer_.Record(file_, line, match.text, Printer::kMatchColor);
  }
}

}  // namespace tool
