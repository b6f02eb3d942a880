// SPDX-License-Identifier: BSL-1.0
// match, search, grep, format, merge and split: the operations on a string, run on each text of the
// input.

#include <RegularExpression.hpp>
#include <algorithm>
#include <functional>
#include <iostream>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/Commands.hpp"
#include "files/Texts.hpp"
#include "output/LineWriter.hpp"

namespace tool {

namespace {

using RegexClass::REMatch;

/// One run of a command: the object and what its notifications need.
struct Job {
  explicit Job(const Request& r)
      : request(r),
        style(r.style),
        lines(r.lines),
        printer(Printer::OfTexts(r.style, std::cout, r.inputs.size() > 1)) {
    Apply(r.setUp, object);
    lines.most = r.maximumCount.value_or(std::numeric_limits<std::uint64_t>::max());
    lines.silent = style.Silent();
  }

  const Request& request;
  const Style& style;
  LineChoice lines;
  Printer printer;
  Problems problems;
  RE object;
  std::string file;  // empty for standard input
  InputText text;
  std::uint64_t left = 0;            // how many more matches of this file are wanted
  std::vector<Span> spans;           // the matches of this text whose lines are still to be printed
  std::optional<LineWriter> writer;  // of this file

  std::uint64_t Line(unsigned int line) const { return text.line + line - 1; }

  void Report(const std::vector<REMatch>& match, unsigned int line) {
    if (style.json) {
      printer.Json(MatchObject(match, line));
    } else if (style.onlyMatching) {
      printer.Record(file, Line(line), match[0].text, Printer::kMatchColor);
    } else if (match[0].position < 0) {  // partial: it reaches the end of the text
      spans.push_back({text.bytes.size(), text.bytes.size()});
    } else {
      const auto begin = static_cast<std::size_t>(match[0].position);
      spans.push_back({begin, begin + match[0].text.size()});
    }
  }

  void ReportFormatted(const std::vector<REMatch>& match, unsigned int line) {
    std::string formatted;
    object.Format(formatted);
    if (style.json) {
      Json json = MatchObject(match, line);
      json["formatted"] = JsonBytes(formatted);
      printer.Json(json);
    } else {
      printer.Record(file, Line(line), formatted);
    }
  }

  Json MatchObject(const std::vector<REMatch>& match, unsigned int line) const {
    Json json = Printer::Place(file, Line(line));
    // The last two entries are the texts before and after the match.
    AddMatch(json, match, match.size() - 2, text.offset);
    return json;
  }

  void PrintLines() {
    if (!spans.empty() || lines.All()) writer->Add(text, spans);
    spans.clear();
  }
};

/// Works on the text that is set, and returns the number of matches.
using Operation = std::function<std::uint64_t(Job&)>;

std::uint64_t RunOnText(Job& job, const Operation& operation) {
  std::uint64_t matches = 0;
  try {
    matches = operation(job);
  } catch (const std::runtime_error& error) {  // the engine has given up on the text
    job.problems.Tell(Printer::Label(job.file) + ':' + std::to_string(job.text.line), error.what());
  }
  job.PrintLines();
  CheckOutput();
  return matches;
}

/// "-" is standard input.
std::uint64_t RunOnFile(Job& job, const std::string& name, const Operation& operation) {
  const std::uint64_t wanted = job.lines.most;
  std::uint64_t matches = 0;
  TextReader reader(name, job.request.wholeInput);
  job.file = name == "-" ? "" : name;
  const bool follows = job.writer && job.writer->Printed();
  job.writer.emplace(job.printer, job.lines, job.file, follows);
  while (matches < wanted && reader.Next(job.text)) {
    job.left = wanted - matches;
    job.object.SetStringToMatch(job.text.bytes);
    matches += RunOnText(job, operation);
    if (job.lines.inverted) matches = job.writer->Selected();
    if ((job.style.quiet || job.style.NamesOnly()) && matches > 0) break;
  }
  while (job.writer->WantsMore() && reader.Next(job.text)) job.PrintLines();
  if (reader.Error() != 0) job.problems.Tell(name, SystemWords(reader.Error()));
  return matches;
}

void PrintCount(const Job& job, std::uint64_t matches) {
  if (job.style.quiet) return;
  if (job.style.NamesOnly()) {
    if ((matches > 0) == job.style.filesWithout) return;
    job.style.json ? job.printer.Json(Printer::File(job.file)) : job.printer.FileName(job.file);
    return;
  }
  if (!job.style.count) return;
  if (job.style.json) {
    Json json = Printer::File(job.file);
    json["count"] = matches;
    job.printer.Json(json);
  } else {
    job.printer.Count(job.file, matches);
  }
}

/// The text that the object has is the input when it was given, or when a settings file brought it
/// and no file is named.
bool HasText(const Job& job) {
  if (job.request.setUp.text) return true;
  return job.request.inputs.empty() && job.request.setUp.settingsFile &&
         !job.object.GetStringToMatch().empty();
}

ExitStatus Run(Job& job, const Operation& operation) {
  if (HasText(job)) {
    job.text.bytes = job.object.GetStringToMatch();
    job.text.ended = true;
    job.left = job.lines.most;
    job.writer.emplace(job.printer, job.lines, job.file, false);
    std::uint64_t matches = job.left > 0 ? RunOnText(job, operation) : 0;
    if (job.lines.inverted) matches = job.writer->Selected();
    PrintCount(job, matches);
    return job.problems.Status(matches > 0);
  }
  std::vector<std::string> files = job.request.inputs;
  if (files.empty()) files.emplace_back("-");
  bool matched = false;
  for (const std::string& file : files) {
    const std::uint64_t matches = RunOnFile(job, file, operation);
    PrintCount(job, matches);
    matched = matched || matches > 0;
    if (job.style.quiet && matched) return kMatch;  // whatever else may be wrong
  }
  return job.problems.Status(matched);
}

/// Walks over the text from match to match; `report` is called for each.
std::uint64_t Walk(Job& job,
                   const std::function<void(const std::vector<REMatch>&, unsigned int)>& report) {
  // With nobody to report to, the walk costs no copy of the text for each match.
  if (!job.lines.inverted && job.style.Silent()) {
    const bool all = job.style.count && !job.style.quiet && !job.style.NamesOnly();
    return all ? std::min<std::uint64_t>(job.object.Grep(), job.left) : job.object.Search() ? 1 : 0;
  }
  std::uint64_t seen = 0;
  job.object.SetOnGreppingClosure(
      [&](RE*, const std::vector<REMatch>& match, unsigned int line, unsigned int, bool& goOn) {
        report(match, line);
        goOn = ++seen < job.left || job.lines.inverted;
      });
  job.object.Grep();
  return seen;
}

}  // namespace

namespace {

/// An expression in the syntax perl for exactly this text.
std::string Quoted(const std::string& text) {
  static const std::string kSpecial = "\\^$.|?*+()[]{}";
  std::string quoted;
  for (const char c : text) {
    if (kSpecial.find(c) != std::string::npos) quoted += '\\';
    quoted += c;
  }
  return quoted;
}

}  // namespace

void CheckExpression(RE& object, const Request& request, bool mayBeEmpty) {
  const RE::ExpressionErrorCode code = object.ParseExpression();
  if (code == RE::NoError && request.setUp.linear && !object.IsLinear()) {
    throw Failure("expression '" + object.GetExpression() +
                  "': a search for it may take more than a time in proportion to the text");
  }
  if (code == RE::NoError || (code == RE::NoExpression && mayBeEmpty)) return;
  std::string words = object.GetExpressionError();
  if (words.empty()) words = "error " + std::to_string(code);
  throw Failure("expression '" + object.GetExpression() + "': " + words);
}

void NarrowExpression(RE& object, const Request& request) {
  if (!request.wholeLines && !request.wholeWords) return;
  const bool literal = object.IsExpressionOption(RE::Literal);
  std::string expression = object.GetExpression();
  if (literal) {
    object.DeleteExpressionOption(RE::Literal);
    expression = Quoted(expression);
  }
  // A group that isn't counted keeps the numbers of the expression's own.
  expression = "(?:" + expression + ')';
  if (request.wholeWords) expression = "(?<!\\w)" + expression + "(?!\\w)";
  if (request.wholeLines) expression = '^' + expression + '$';
  object.SetExpression(expression);
  if (!object.IsExpressionOption(RE::NormalSyntax) || object.ParseExpression() != RE::NoError) {
    throw Failure("whole words and lines can't be had of this expression or syntax");
  }
  CheckExpression(object, request);
}

ExitStatus RunMatch(const Request& request) {
  Job job(request);
  CheckExpression(job.object, request);
  if (!request.style.Silent()) {
    job.object.SetOnMatchingClosure([&job](RE*, const std::vector<REMatch>& match,
                                           unsigned int line,
                                           unsigned int) { job.Report(match, line); });
  }
  return Run(job, [](Job& j) -> std::uint64_t {
    return (j.request.wholeText ? j.object.MatchAll() : j.object.Match()) ? 1 : 0;
  });
}

ExitStatus RunSearch(const Request& request) {
  Job job(request);
  CheckExpression(job.object, request);
  if (!request.style.Silent()) {
    job.object.SetOnSearchingClosure([&job](RE*, const std::vector<REMatch>& match,
                                            unsigned int line,
                                            unsigned int) { job.Report(match, line); });
  }
  return Run(job, [](Job& j) -> std::uint64_t { return j.object.Search() ? 1 : 0; });
}

ExitStatus RunGrep(const Request& request) {
  Job job(request);
  CheckExpression(job.object, request);
  NarrowExpression(job.object, request);
  return Run(job, [](Job& j) {
    return Walk(j, [&j](const auto& match, unsigned int line) { j.Report(match, line); });
  });
}

ExitStatus RunFormat(const Request& request) {
  Job job(request);
  CheckExpression(job.object, request);
  return Run(job, [](Job& j) {
    return Walk(j, [&j](const auto& match, unsigned int line) { j.ReportFormatted(match, line); });
  });
}

namespace {

std::uint64_t MergeText(Job& job) {
  RE& object = job.object;
  const bool matched = object.Search();
  if (job.style.count && matched) return object.GetMergeOnlyFirst() ? 1 : object.Grep();
  if (job.style.Silent()) return matched ? 1 : 0;

  const bool copies = object.GetMergeCopy();
  if (!matched && !copies) return 0;
  std::string merged = job.text.bytes;
  if (matched) object.Merge(merged);
  if (job.style.json) {
    Json json = Printer::Place(job.file, job.text.line);
    json["matched"] = matched;
    json["merged"] = JsonBytes(merged);
    job.printer.Json(json);
  } else {
    job.printer.Raw(job.text.ended || !copies ? merged + '\n' : merged);
  }
  return matched ? 1 : 0;
}

}  // namespace

ExitStatus RunMerge(const Request& request) {
  Job job(request);
  CheckExpression(job.object, request);
  // Merge takes no notice of this option, and so the searches beside it mustn't.
  job.object.DeleteMatchOption(RE::MatchPartial);
  // With nobody to notify, Merge reads the format string as FormatAll, whatever its type.
  if (job.object.GetFormatType() != RE::FormatAll) {
    job.object.SetOnMerging(
        [](RE*, const std::vector<REMatch>&, unsigned int, unsigned int, bool&) {});
  }
  return Run(job, MergeText);
}

namespace {

std::uint64_t SplitText(Job& job) {
  std::vector<std::string> pieces;
  const std::uint64_t count = job.object.Split(pieces);
  if (job.style.Silent()) return count;
  std::string rest;
  if (job.object.GetSplitInputDelete()) rest = job.object.GetStringToMatch();
  if (job.style.json) {
    Json json = Printer::Place(job.file, job.text.line);
    Json& values = json["pieces"] = Json::array();
    for (const std::string& piece : pieces) values.push_back(JsonBytes(piece));
    if (job.object.GetSplitInputDelete()) json["rest"] = JsonBytes(rest);
    job.printer.Json(json);
    return count;
  }
  if (!rest.empty()) pieces.push_back(rest);
  for (const std::string& piece : pieces) job.printer.Record(job.file, job.text.line, piece);
  return count;
}

}  // namespace

ExitStatus RunSplit(const Request& request) {
  Job job(request);
  CheckExpression(job.object, request, true);
  return Run(job, SplitText);
}

}  // namespace tool
