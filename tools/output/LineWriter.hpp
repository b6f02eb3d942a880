// SPDX-License-Identifier: BSL-1.0
// Which lines of a file are printed: those with matches or those without, and what stands around
// them.
#ifndef REGEXCLASS_TOOLS_OUTPUT_LINEWRITER_HPP
#define REGEXCLASS_TOOLS_OUTPUT_LINEWRITER_HPP

#include <RegularExpression.hpp>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "output/Output.hpp"

namespace tool {

/// What the command line says about lines.
struct LineChoice {
  bool inverted = false;     ///< Those without a match.
  std::uint64_t before = 0;  ///< How many lines of context, before each
  std::uint64_t after = 0;   ///< and after it.
  std::uint64_t most = 0;    ///< The most inverted lines.
  bool silent = false;       ///< Count them only.

  /// Whether lines without a match matter.
  bool All() const { return inverted || before > 0 || after > 0; }
};

/// What one run of an operation works on.
struct InputText {
  std::string bytes;
  std::uint64_t line = 1;    ///< Its first line in the input, from 1.
  std::uint64_t offset = 0;  ///< Its first byte in the input, from 0.
  bool ended = false;        ///< A line feed stood after it in the input, and isn't in `bytes`.
};

/// The lines of one file, in their order.
class LineWriter {
 public:
  /// `follows` tells whether lines of another file have been printed.
  LineWriter(Printer& printer, const LineChoice& choice, std::string file, bool follows)
      : printer_(printer), choice_(choice), file_(std::move(file)), printed_(follows) {}

  /// Takes the next lines, with the matches in them, in ascending order.
  void Add(const InputText& text, const std::vector<Span>& matches);
  /// The lines that were selected.
  std::uint64_t Selected() const { return selected_; }
  /// Whether any lines have been printed, of this file or another.
  bool Printed() const { return printed_; }
  /// Whether lines after the last match can still make a difference.
  bool WantsMore() const { return (choice_.inverted && !Enough()) || afterLeft_ > 0; }

 private:
  bool Enough() const { return choice_.inverted && selected_ >= choice_.most; }
  void AddLine(std::uint64_t number, const std::string& text, Span part, const Span* match,
               const Span* lastMatch, bool touched);
  void Print(std::uint64_t number, const std::string& text, Span part, const Span* match,
             const Span* lastMatch, char sign);

  Printer& printer_;
  const LineChoice& choice_;
  const std::string file_;
  std::uint64_t selected_ = 0;
  std::uint64_t afterLeft_ = 0;
  std::uint64_t lastPrinted_ = 0;
  bool printed_;
  std::deque<std::pair<std::uint64_t, std::string>> before_;
};

/// Goes through the content of one file along with the matches that were reported in it, and passes
/// its lines on.
class FileLines {
 public:
  FileLines(Printer& printer, const LineChoice& choice, const std::string& file,
            std::string_view content);
  FileLines(const FileLines&) = delete;
  FileLines& operator=(const FileLines&) = delete;

  /// Matches come in ascending order.
  void Add(const RegexClass::REMatch& match, std::uint64_t line);
  void End();
  std::uint64_t Selected() const { return writer_.Selected(); }

 private:
  bool ReadLine();
  void PassOn();
  void BeginBlock();
  const LineChoice& choice_;
  const std::string content_;
  LineWriter writer_;
  std::uint64_t nextLine_ = 1;
  std::uint64_t nextOffset_ = 0;
  InputText block_;  // the lines that the matches since the last block touch
  std::vector<Span> matches_;
};

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_OUTPUT_LINEWRITER_HPP
