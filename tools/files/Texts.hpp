// SPDX-License-Identifier: BSL-1.0
// The input of the operations on a string: texts from files or from standard input.
#ifndef REGEXCLASS_TOOLS_FILES_TEXTS_HPP
#define REGEXCLASS_TOOLS_FILES_TEXTS_HPP

#include <cstdint>
#include <fstream>
#include <istream>
#include <string>

namespace tool {

/// What one run of an operation works on.
struct Text {
  std::string bytes;
  std::uint64_t line = 1;    ///< Its first line in the input, from 1.
  std::uint64_t offset = 0;  ///< Its first byte in the input, from 0.
  bool ended = false;        ///< A line feed stood behind it in the input, and isn't in `bytes`.
};

/// Gives the texts of one input: its lines, or all of it as one text.
class TextReader {
 public:
  /// "-" is standard input.
  TextReader(const std::string& name, bool whole);
  /// Reads the next text; false at the end and after a failure.
  bool Next(Text& text);
  /// The system's number of what failed; 0 when nothing did.
  int Error() const { return error_; }

 private:
  bool NextLine(Text& text);
  bool NextWhole(Text& text);
  std::ifstream file_;
  std::istream* in_ = nullptr;
  bool whole_;
  int error_ = 0;
  bool begun_ = false;
};

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_FILES_TEXTS_HPP
