// SPDX-License-Identifier: BSL-1.0
// The input of the operations on a string: texts from files or from standard input.
#ifndef REGEXCLASS_TOOLS_FILES_TEXTS_HPP
#define REGEXCLASS_TOOLS_FILES_TEXTS_HPP

#include <fstream>
#include <istream>
#include <string>

#include "output/LineWriter.hpp"

namespace tool {

/// Gives the texts of one input: its lines, or all of it as one text.
class TextReader {
 public:
  /// "-" is standard input.
  TextReader(const std::string& name, bool whole);
  /// Reads the next text; false at the end and after a failure.
  bool Next(InputText& text);
  /// The system's number of what failed; 0 when nothing did.
  int Error() const { return error_; }

 private:
  bool NextLine(InputText& text);
  bool NextWhole(InputText& text);
  std::ifstream file_;
  std::istream* in_ = nullptr;
  bool whole_;
  int error_ = 0;
  bool begun_ = false;
};

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_FILES_TEXTS_HPP
