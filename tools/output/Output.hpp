// SPDX-License-Identifier: BSL-1.0
// What is printed: lines, matches and counts as grep prints them, or lines of JSON; and the
// progress of long walks on standard error.
#ifndef REGEXCLASS_TOOLS_OUTPUT_OUTPUT_HPP
#define REGEXCLASS_TOOLS_OUTPUT_OUTPUT_HPP

#include <chrono>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "output/Json.hpp"

namespace tool {

/// What the command line says about the output.
struct Style {
  bool json = false;
  bool onlyMatching = false;
  bool count = false;
  bool quiet = false;
  bool null = false;
  bool filesWith = false;
  bool filesWithout = false;
  std::string color = "auto";
  std::optional<bool> fileNames;
  std::optional<bool> lineNumbers;
  std::optional<bool> heading;

  /// Whether names of files are all that is wanted.
  bool NamesOnly() const { return filesWith || filesWithout; }
  /// Whether nobody needs to see the matches themselves.
  bool Silent() const { return quiet || count || NamesOnly(); }
};

/// A match in a text: offsets of its first byte and of the one after its last.
struct Span {
  std::size_t begin = 0;
  std::size_t end = 0;
};

class Printer {
 public:
  /// For a command on texts: file names stand in front of lines when there are several.
  static Printer OfTexts(const Style& style, std::ostream& out, bool several);
  /// For a command on files: with names and line numbers, for a terminal as headings.
  static Printer OfFiles(const Style& style, std::ostream& out);

  /// Prints the part of `text` that is a line, with the matches in it marked, which come in
  /// ascending order and may begin before it or end after it. `sign` stands after the number.
  void Line(const std::string& file, std::uint64_t line, const std::string& text, Span part,
            const Span* match, const Span* lastMatch, char sign = ':');
  /// Prints what stands between lines that don't follow each other.
  void Gap();
  /// Prints one text with the file and line in front of it: a match, a piece, a result.
  void Record(const std::string& file, std::uint64_t line, const std::string& text,
              const char* color = "");
  /// A match and its replacement, each of their lines with - or + in front.
  void Change(const std::string& file, std::uint64_t line, const std::string& before,
              const std::string& after);
  void Count(const std::string& file, std::uint64_t count) const;
  /// A file name by itself.
  void FileName(const std::string& file) const;
  /// A line of text in a colour.
  void Plain(const char* color, const std::string& text) const;
  /// Bytes as they are; on a terminal, as with all texts and names, without control characters.
  void Raw(std::string_view bytes) const;

  /// What stands for a file; standard input is the one without a name.
  static std::string Label(const std::string& file);
  /// An object with "file", which is null for standard input, and "line".
  static tool::Json Place(const std::string& file, std::uint64_t line);
  static tool::Json File(const std::string& file);
  void Json(const tool::Json& object) const;

  /// Whether each file has its name as a heading.
  bool Headings() const { return headings_; }

  static constexpr const char* kMatchColor = "1;31";

 private:
  Printer(const Style& style, std::ostream& out, bool fileNames, bool lineNumbers, bool headings);
  void Prefix(const std::string& file, std::uint64_t line, char sign);
  void Colored(const char* color, std::string_view text) const;
  void Name(const std::string& file) const;

  std::ostream& out_;
  bool fileNames_;
  bool lineNumbers_;
  bool headings_;
  bool colored_;
  bool terminal_;
  char end_;
  char nameEnd_;
  std::string headed_;  // the file whose heading was the last
};

/// Throws OutputClosed or another Failure when what was written last has failed.
void CheckOutput();
/// Passes on what has been written. Throws as CheckOutput does.
void FinishOutput();

/// Shows on standard error how far a run has come, when that is a terminal and the run takes more
/// than two seconds.
class Progress {
 public:
  Progress();
  ~Progress() { Clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Shows what `words` returns, unless it is too early or something was shown a moment ago.
  template <typename Words>
  void Show(const Words& words) {
    if (IsDue()) Print(words());
  }
  void Clear();

 private:
  bool IsDue();
  void Print(const std::string& words);
  const bool shown_;
  bool anythingShown_ = false;
  std::chrono::steady_clock::time_point next_;
};

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_OUTPUT_OUTPUT_HPP
