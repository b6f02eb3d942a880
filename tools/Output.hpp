// Standard output: lines, matches and counts as grep prints them, or lines of JSON; and the
// progress of long walks on standard error.
#ifndef REGEXCLASS_TOOLS_OUTPUT_HPP
#define REGEXCLASS_TOOLS_OUTPUT_HPP

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Json.hpp"
#include "Texts.hpp"

namespace tool {

/// What the command line says about the output.
struct Style {
  bool json = false;
  bool onlyMatching = false;
  bool count = false;
  bool quiet = false;
  bool null = false;
  std::string color = "auto";
  std::optional<bool> fileNames;
  std::optional<bool> lineNumbers;

  /// Whether nobody needs to see the matches themselves.
  bool Silent() const { return quiet || count; }
};

/// A match in a text: offsets of its first byte and of the one behind its last.
struct Span {
  std::size_t begin = 0;
  std::size_t end = 0;
};

class Printer {
 public:
  /// `fileNames` and `lineNumbers` count where the style says nothing.
  Printer(const Style& style, bool fileNames, bool lineNumbers);

  /// Prints the lines of `text` that the matches, in ascending order, touch.
  void Lines(const std::string& file, const Text& text, const std::vector<Span>& matches) const;

  /// Prints one text with the file and line in front of it: a match, a piece, a result.
  void Record(const std::string& file, std::uint64_t line, const std::string& text,
              const char* color = "") const;
  /// A match and its replacement, each of their lines with - or + in front.
  void Change(const std::string& file, std::uint64_t line, const std::string& before,
              const std::string& after) const;
  void Count(const std::string& file, std::uint64_t count) const;
  /// A file name by itself.
  void FileName(const std::string& file) const;
  /// Bytes as they are.
  void Raw(const std::string& bytes) const;

  /// An object with "file", which is null for standard input, and "line".
  static tool::Json Place(const std::string& file, std::uint64_t line);
  static tool::Json File(const std::string& file);
  void Json(const tool::Json& object) const { Raw(object.dump() + '\n'); }

  static constexpr const char* kMatchColor = "1;31";

 private:
  void Line(const std::string& file, std::uint64_t line, const std::string& text, Span part,
            const Span* match, const Span* lastMatch) const;
  void Prefix(const std::string& file, std::uint64_t line) const;
  void Colored(const char* color, const std::string& text) const;
  bool fileNames_;
  bool lineNumbers_;
  bool colored_;
  char end_;
};

/// Throws Failure when standard output hasn't taken everything.
void FinishOutput();

/// Shows on standard error how far a walk has come, when that is a terminal and standard output
/// doesn't show it already.
class Progress {
 public:
  explicit Progress(bool silentOutput);
  ~Progress() { Clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Match(const std::string& file);
  void Clear();

 private:
  bool shown_;
  bool anythingShown_ = false;
  std::uint64_t files_ = 0;
  std::uint64_t matches_ = 0;
  std::string file_;
  std::chrono::steady_clock::time_point next_;
};

}  // namespace tool

#endif  // REGEXCLASS_TOOLS_OUTPUT_HPP
