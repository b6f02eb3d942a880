// SPDX-License-Identifier: BSL-1.0
#include "output/Output.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iostream>

#include "output/Printable.hpp"
#include "output/Problems.hpp"
#include "platform/System.hpp"

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
  return OutputIsTerminal() && !dumb && !IsSet("NO_COLOR");
}

}  // namespace

Printer::Printer(const Style& style, std::ostream& out, bool fileNames, bool lineNumbers,
                 bool headings)
    : out_(out),
      fileNames_(style.fileNames.value_or(fileNames)),
      lineNumbers_(style.lineNumbers.value_or(lineNumbers)),
      headings_(style.heading.value_or(headings) && fileNames_ && !style.Silent() && !style.json),
      colored_(WantsColor(style.color)),
      terminal_(OutputIsTerminal()),
      end_(style.null && !style.NamesOnly() ? '\0' : '\n'),
      nameEnd_(style.null ? '\0' : '\n') {}

Printer Printer::OfTexts(const Style& style, std::ostream& out, bool several) {
  return Printer(style, out, several, false, false);
}

Printer Printer::OfFiles(const Style& style, std::ostream& out) {
  Printer printer(style, out, true, true, OutputIsTerminal());
  printer.end_ = '\n';  // a zero byte ends names alone
  return printer;
}

void Printer::Colored(const char* color, std::string_view text) const {
  const bool colored = colored_ && *color != '\0' && !text.empty();
  if (colored) out_ << "\033[" << color << 'm';
  Raw(text);
  if (colored) out_ << "\033[m";
}

void Printer::Name(const std::string& file) const {
  const std::string label = Label(file);
  Colored("35", terminal_ ? PrintableName(label) : label);
}

void Printer::Prefix(const std::string& file, std::uint64_t line, char sign) {
  if (headings_) {
    if (file != headed_) FileName(file);
    headed_ = file;
  } else if (fileNames_) {
    Name(file);
    Colored("36", std::string(1, sign));
  }
  if (lineNumbers_) {
    Colored("32", std::to_string(line));
    Colored("36", std::string(1, sign));
  }
}

void Printer::Line(const std::string& file, std::uint64_t line, const std::string& text, Span part,
                   const Span* match, const Span* lastMatch, char sign) {
  Prefix(file, line, sign);
  std::size_t at = part.begin;
  for (; match != lastMatch && match->begin <= part.end; ++match) {
    const std::size_t begin = std::max(match->begin, at);
    const std::size_t end = std::max(std::min(match->end, part.end), begin);
    Raw(std::string_view(text).substr(at, begin - at));
    Colored(kMatchColor, std::string_view(text).substr(begin, end - begin));
    at = end;
  }
  Raw(text.substr(at, part.end - at) + '\n');
}

void Printer::Gap() {
  Colored("36", "--");
  out_ << '\n';
}

void Printer::Record(const std::string& file, std::uint64_t line, const std::string& text,
                     const char* color) {
  Prefix(file, line, ':');
  Colored(color, text);
  out_ << end_;
}

void Printer::Change(const std::string& file, std::uint64_t line, const std::string& before,
                     const std::string& after) {
  const auto print = [&](char sign, const std::string& text, const char* color) {
    std::size_t begin = 0;
    do {
      const std::size_t end = std::min(text.find('\n', begin), text.size());
      Prefix(file, line, ':');
      Plain(color, sign + text.substr(begin, end - begin));
      begin = end + 1;
    } while (begin < text.size());
  };
  print('-', before, "31");
  print('+', after, "32");
}

void Printer::Count(const std::string& file, std::uint64_t count) const {
  if (fileNames_) {
    Name(file);
    Colored("36", ":");
  }
  out_ << std::to_string(count) << '\n';
}

void Printer::FileName(const std::string& file) const {
  Name(file);
  out_ << nameEnd_;
}

void Printer::Plain(const char* color, const std::string& text) const {
  Colored(color, text);
  out_ << '\n';
}

void Printer::Raw(std::string_view bytes) const {
  if (terminal_) {
    out_ << PrintableText(bytes);
  } else {
    out_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
}

void Printer::Json(const tool::Json& object) const {
  Raw(object.dump(-1, ' ', terminal_) + '\n');  // on a terminal all characters are escaped
}

std::string Printer::Label(const std::string& file) {
  return file.empty() ? "(standard input)" : file;
}

tool::Json Printer::File(const std::string& file) {
  return {{"file", file.empty() ? tool::Json() : JsonBytes(file)}};
}

tool::Json Printer::Place(const std::string& file, std::uint64_t line) {
  tool::Json object = File(file);
  object["line"] = line;
  return object;
}

void CheckOutput() {
  if (std::cout) return;
  const int error = WriteErrno();
  const std::string words = "standard output: " + SystemWords(error != 0 ? error : EIO);
  if (error == EPIPE) throw OutputClosed(words);
  throw Failure(words);
}

void FinishOutput() {
  errno = 0;
  std::cout.flush();
  CheckOutput();
}

Progress::Progress()
    : shown_(MessagesGoToTerminal()),
      next_(std::chrono::steady_clock::now() + std::chrono::seconds(2)) {}

bool Progress::IsDue() {
  if (!shown_ || std::chrono::steady_clock::now() < next_) return false;
  next_ = std::chrono::steady_clock::now() + std::chrono::milliseconds(100);
  return true;
}

void Progress::Print(const std::string& words) {
  anythingShown_ = true;
  std::cerr << '\r' << words << "\033[K" << std::flush;
}

void Progress::Clear() {
  if (anythingShown_) std::cerr << "\r\033[K" << std::flush;
  anythingShown_ = false;
}

}  // namespace tool
