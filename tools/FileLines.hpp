// The lines of a file in which matches were reported: the notifications tell where a match is, and
// not what stands around it.
#ifndef REGEXCLASS_TOOLS_FILELINES_HPP
#define REGEXCLASS_TOOLS_FILELINES_HPP

#include <RegularExpression.hpp>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "Output.hpp"
#include "Texts.hpp"

namespace tool {

/// Reads one file along with its matches, and prints the lines that they touch. Where the file
/// can't be read any more, or has other bytes now, the match itself is printed.
class FileLines {
 public:
  FileLines(const Printer& printer, const std::string& file);
  ~FileLines() { Print(); }
  FileLines(const FileLines&) = delete;
  FileLines& operator=(const FileLines&) = delete;

  /// Matches come in ascending order.
  void Add(const RegexClass::REMatch& match, std::uint64_t line);

 private:
  bool ReadLine();
  void Print();
  const Printer& printer_;
  std::string file_;
  std::ifstream in_;
  std::uint64_t nextLine_ = 1;
  std::uint64_t nextOffset_ = 0;
  Text block_;  // the lines that the matches since the last print touch
  std::vector<Span> matches_;
};

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_FILELINES_HPP
