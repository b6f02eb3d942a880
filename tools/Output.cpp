#include "Output.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <unistd.h>

#include "Problems.hpp"

namespace tool {

namespace {

bool IsSet(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

bool WantsColor(const std::string& color) {
  if (color != "auto") return color == "always";
  const char* const terminal = std::getenv("TERM");
  const bool dumb = terminal != nullptr && std::string(terminal) == "dumb";
  return isatty(STDOUT_FILENO) != 0 && !dumb && !IsSet("NO_COLOR");
}

std::string Label(const std::string& file) { return file == "-" ? "(standard input)" : file; }

}  // namespace

Printer::Printer(const Style& style, bool fileNames, bool lineNumbers)
    : fileNames_(style.fileNames.value_or(fileNames)),
      lineNumbers_(style.lineNumbers.value_or(lineNumbers)),
      colored_(WantsColor(style.color)),
      end_(style.null ? '\0' : '\n') {
  // Somebody who looks on sees each line when it is there.
  if (isatty(STDOUT_FILENO) != 0) std::cout << std::unitbuf;
}

void Printer::Colored(const char* color, const std::string& text) const {
  if (colored_ && *color != '\0' && !text.empty()) {
    std::cout << "\033[" << color << 'm' << text << "\033[m";
  } else {
    std::cout << text;
  }
}

void Printer::Prefix(const std::string& file, std::uint64_t line) const {
  if (fileNames_) {
    Colored("35", Label(file));
    Colored("36", ":");
  }
  if (lineNumbers_) {
    Colored("32", std::to_string(line));
    Colored("36", ":");
  }
}

void Printer::Line(const std::string& file, std::uint64_t line, const std::string& text, Span part,
                   const Span* match, const Span* lastMatch) const {
  Prefix(file, line);
  std::size_t at = part.begin;
  for (; match != lastMatch && match->begin <= part.end; ++match) {
    const std::size_t begin = std::max(match->begin, at);
    const std::size_t end = std::max(std::min(match->end, part.end), begin);
    std::cout.write(text.data() + at, static_cast<std::streamsize>(begin - at));
    Colored(kMatchColor, text.substr(begin, end - begin));
    at = end;
  }
  std::cout.write(text.data() + at, static_cast<std::streamsize>(part.end - at));
  std::cout << '\n';
}

void Printer::Lines(const std::string& file, const Text& text,
                    const std::vector<Span>& matches) const {
  const Span* match = matches.data();
  const Span* const last = match + matches.size();
  std::uint64_t line = text.line;
  for (std::size_t begin = 0; begin <= text.bytes.size(); ++line) {
    // A match belongs to the line on which it begins and to those that it has bytes of.
    while (match != last && match->begin < begin && match->end <= begin) ++match;
    if (match == last) break;
    const std::size_t end = std::min(text.bytes.find('\n', begin), text.bytes.size());
    if (match->begin <= end) Line(file, line, text.bytes, {begin, end}, match, last);
    begin = end + 1;
  }
}

void Printer::Record(const std::string& file, std::uint64_t line, const std::string& text,
                     const char* color) const {
  Prefix(file, line);
  Colored(color, text);
  std::cout << end_;
}

void Printer::Change(const std::string& file, std::uint64_t line, const std::string& before,
                     const std::string& after) const {
  const auto print = [&](char sign, const std::string& text, const char* color) {
    std::size_t begin = 0;
    do {
      const std::size_t end = std::min(text.find('\n', begin), text.size());
      Prefix(file, line);
      Colored(color, sign + text.substr(begin, end - begin));
      std::cout << '\n';
      begin = end + 1;
    } while (begin < text.size());
  };
  print('-', before, "31");
  print('+', after, "32");
}

void Printer::Count(const std::string& file, std::uint64_t count) const {
  if (fileNames_) {
    Colored("35", Label(file));
    Colored("36", ":");
  }
  std::cout << std::to_string(count) << '\n';
}

void Printer::FileName(const std::string& file) const {
  Colored("35", file);
  std::cout << end_;
}

void Printer::Raw(const std::string& bytes) const {
  std::cout.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

tool::Json Printer::File(const std::string& file) {
  return {{"file", file == "-" ? tool::Json() : JsonBytes(file)}};
}

tool::Json Printer::Place(const std::string& file, std::uint64_t line) {
  tool::Json object = File(file);
  object["line"] = line;
  return object;
}

void FinishOutput() {
  errno = 0;
  std::cout.flush();
  if (!std::cout) throw Failure("standard output: " + SystemWords(errno != 0 ? errno : EIO));
}

Progress::Progress(bool silentOutput)
    : shown_(isatty(STDERR_FILENO) != 0 && (silentOutput || isatty(STDOUT_FILENO) == 0)) {}

void Progress::Match(const std::string& file) {
  if (!shown_) return;
  ++matches_;
  if (file != file_) {
    ++files_;
    file_ = file;
  }
  const auto now = std::chrono::steady_clock::now();
  if (now < next_) return;
  next_ = now + std::chrono::milliseconds(100);
  anythingShown_ = true;
  std::cerr << '\r' << matches_ << " matches in " << files_ << " files: " << file_ << "\033[K"
            << std::flush;
}

void Progress::Clear() {
  if (anythingShown_) std::cerr << "\r\033[K" << std::flush;
  anythingShown_ = false;
}

}  // namespace tool
