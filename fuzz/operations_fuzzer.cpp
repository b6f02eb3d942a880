// SPDX-License-Identifier: BSL-1.0
// Runs every operation on strings under any options with any expression and text, and checks
// what the notifications are told against the text.
//
// Input: one byte for what the notifications do; two bytes of expression switches, two bytes of
// match options, one byte for a syntax, one for the locale model, the format type and the plain
// settings; then the expression, a zero byte, the format string, a zero byte, and the text.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Check.hpp"
#include "RegularExpression.hpp"
#include "engine/search/SearchTuning.hpp"

namespace {

using RE = RegexClass::RegularExpression;
using Matches = std::vector<RegexClass::REMatch>;

/// Takes the input apart from the front.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size)
      : rest_(reinterpret_cast<const char*>(data), size) {}

  unsigned int Byte() {
    if (rest_.empty()) return 0;
    const auto byte = static_cast<unsigned char>(rest_.front());
    rest_.erase(0, 1);
    return byte;
  }
  unsigned int Word() {
    const unsigned int low = Byte();
    return low | Byte() << 8U;
  }
  std::string UpToZero() {
    std::string text = rest_.substr(0, rest_.find('\0'));
    rest_.erase(0, text.size() + 1);
    return text;
  }
  const std::string& Rest() const { return rest_; }

 private:
  std::string rest_;
};

void Configure(RE& re, Input& input) {
  // Short enough for the engine to give up within a second on an expression that runs away.
  constexpr std::size_t kLongestExpression = 64;
  constexpr std::size_t kLongestText = 48;

  const unsigned int switches = input.Word();
  const unsigned int matches = input.Word();
  const unsigned int syntax = input.Byte();
  const unsigned int plain = input.Byte();
  if ((switches & 0x8000U) != 0) re.ClearExpressionOptions();
  if (syntax != 0) re.AddExpressionOption(static_cast<RE::Options>(13 + syntax % 10));
  for (int option = RE::EscapeInLists; option <= RE::NoCollate; ++option) {
    if ((switches >> static_cast<unsigned int>(option) & 1U) != 0) {
      re.AddExpressionOption(static_cast<RE::Options>(option));
    }
  }
  for (int option = RE::MatchDefault; option <= RE::MatchPartial; ++option) {
    if ((matches >> static_cast<unsigned int>(option) & 1U) != 0) {
      re.AddMatchOption(static_cast<RE::Matches>(option));
    }
  }
  re.SetLocaleModel(static_cast<RE::LocaleModels>((plain & 3U) + (syntax >> 7U)));
  re.SetFormatType(static_cast<RE::FormatTypes>(plain >> 2U & 3U));
  re.SetMergeCopy((plain & 0x10U) != 0);
  re.SetMergeOnlyFirst((plain & 0x20U) != 0);
  re.SetSplitInputDelete((plain & 0x40U) != 0);
  re.SetMaximumSplits((plain & 0x80U) != 0 ? 2 : 0);
  re.SetExpression(input.UpToZero().substr(0, kLongestExpression));
  re.SetFormatString(input.UpToZero());
  re.SetStringToMatch(input.Rest().substr(0, kLongestText));
}

/// Checks one report against the text that was searched.
void CheckReport(const std::string& text, const Matches& matches, unsigned int line,
                 unsigned int lineStart) {
  Check(matches.size() >= 3, "there are the match, the prefix and the suffix");
  for (const RegexClass::REMatch& match : matches) {
    if (match.position == -1) {
      Check(match.text.empty(), "what took no part has no text");
    } else {
      const auto position = static_cast<std::size_t>(match.position);
      Check(position <= text.size(), "a match lies in the text");
      Check(text.compare(position, match.text.size(), match.text) == 0, "a match is in the text");
    }
  }
  Check(lineStart <= text.size(), "a line begins in the text");
  const auto start = text.begin() + static_cast<std::ptrdiff_t>(lineStart);
  Check(line == 1U + std::count(text.begin(), start, '\n'), "lines are counted from 1");
  Check(lineStart == 0 || start[-1] == '\n', "a line begins behind a line feed");
  if (matches[0].position != -1) {
    const auto match = text.begin() + matches[0].position;
    Check(start <= match && std::find(start, match, '\n') == match, "the line is the match's");
  }
}

/// What a notification does besides looking: it changes the object that is at work.
void Meddle(RE& re, unsigned int how) {
  std::vector<std::string> pieces;
  switch (how & 7U) {
    case 1:
      re.SetStringToMatch(std::string(300, 'x'));
      break;
    case 2:
      re.SetExpression("(x)|\\w+");
      re.ParseExpression();
      break;
    case 3:
      re.Search();
      break;
    case 4: {
      std::istringstream record("2 0 0 1 1 0 1 1 1 2 3 3 (.) 5 other 0 6 [$1$&] 0 0");
      record >> re;
      Check(!record.fail(), "the record is whole");
      break;
    }
    case 5:
      re.SetOnMatchingClosure([](RE*, const Matches&, unsigned int, unsigned int) {});
      re.SetOnSearchingClosure([](RE*, const Matches&, unsigned int, unsigned int) {});
      re.SetOnGreppingClosure([](RE*, const Matches&, unsigned int, unsigned int, bool&) {});
      re.SetOnMergingClosure([](RE*, const Matches&, unsigned int, unsigned int, bool&) {});
      break;
    case 6:
      re.Split(pieces);
      break;
    case 7:
      re = RE();
      break;
    default:
      break;
  }
}

/// An object whose notifications check what they are told, format it, and then meddle.
class Watched {
 public:
  Watched(const RE& source, unsigned int how)
      : re_(source), text_(source.GetStringToMatch()), how_(how) {
    const auto onMatch = [this](RE*, const Matches& matches, unsigned int line,
                                unsigned int start) { Report(matches, line, start); };
    const auto onWalk = [this](RE*, const Matches& matches, unsigned int line, unsigned int start,
                               bool& goOn) {
      Report(matches, line, start);
      if ((how_ & 8U) != 0) goOn = false;
    };
    re_.SetOnMatchingClosure(onMatch);
    re_.SetOnSearchingClosure(onMatch);
    re_.SetOnGreppingClosure(onWalk);
    re_.SetOnMergingClosure(onWalk);
  }
  RE& Object() { return re_; }
  unsigned int Reports() const { return reports_; }

 private:
  void Report(const Matches& matches, unsigned int line, unsigned int start) {
    if (inReport_) return;  // of an operation that Meddle() has started
    inReport_ = true;
    ++reports_;
    CheckReport(text_, matches, line, start);
    std::string formatted = "former";
    re_.Format(formatted);
    if (re_.GetFormatString().empty()) Check(formatted.empty(), "an empty format gives nothing");
    try {
      Meddle(re_, how_);
    } catch (const std::runtime_error&) {  // the engine gives up; the operation outside may not
    }
    re_.Format(formatted);
    inReport_ = false;
  }

  RE re_;
  const std::string text_;
  const unsigned int how_;
  bool inReport_ = false;
  unsigned int reports_ = 0;
};

/// Makes every search use a finder, with windows smaller than the texts here, or none.
void UseFinder(bool use) {
  using RegexClass::engine::SearchTuning;
  SearchTuning::Use(use ? SearchTuning{0, 0, 0, 4, 16, 8, 0, 2000}
                        : SearchTuning{SIZE_MAX, SIZE_MAX, SIZE_MAX});
}

/// Runs an operation with checks on what is reported; then, when nothing was meddled with, with a
/// finder and without subscribers, which must come to the same.
template <class Operation, class Expected>
void Run(const RE& source, unsigned int how, Operation operation, Expected expected) {
  try {
    UseFinder(false);
    Watched watched(source, how);
    const auto result = operation(watched.Object());
    if (how != 0) return;
    expected(watched.Reports(), result);
    UseFinder(true);
    RE plain(source);
    Check(operation(plain) == result, "an operation without subscribers comes to the same");
  } catch (const std::runtime_error&) {  // the engine gives up
  }
}

void CheckPieces(std::string text, const std::vector<std::string>& pieces) {
  for (const std::string& piece : pieces) {
    const std::size_t at = text.find(piece);
    Check(at != std::string::npos, "pieces stand in the text, one behind another");
    text.erase(0, at + piece.size());
  }
}

void RunAll(const RE& source, unsigned int how) {
  const auto once = [](unsigned int reports, bool found) {
    Check(reports == (found ? 1U : 0U), "a success is reported once");
  };
  Run(
      source, how, [](RE& re) { return re.Match(); }, once);
  Run(
      source, how, [](RE& re) { return re.MatchAll(); }, once);
  Run(
      source, how, [](RE& re) { return re.Search(); }, once);
  Run(
      source, how, [](RE& re) { return re.Grep(); },
      [](unsigned int reports, unsigned int count) {
        Check(reports == count, "each match of a walk is reported");
      });

  const auto merge = [](RE& re) {
    std::string merged;
    re.Merge(merged);
    return merged;
  };
  RE merging(source);
  // Two things make a merge that is watched come to something else: a format type, and white space
  // before a number in the format string, which the engine reads with the expression's locale then.
  merging.SetFormatType(RE::FormatAll);
  std::string format = source.GetFormatString();
  std::replace_if(
      format.begin(), format.end(), [](unsigned char c) { return c <= ' '; }, '_');
  merging.SetFormatString(format);
  Run(merging, how, merge, [](unsigned int, const std::string&) {});
  if (how != 0) return;

  const auto split = [](RE& re) {
    std::vector<std::string> pieces;
    Check(re.Split(pieces) == pieces.size(), "the number of pieces is told");
    return pieces;
  };
  Run(source, how, split, [&](unsigned int reports, const std::vector<std::string>& pieces) {
    Check(reports == 0, "splitting reports nothing");
    if (source.NumberOfSubexpressions() == 0) CheckPieces(source.GetStringToMatch(), pieces);
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  RE re;
  const unsigned int how = input.Byte() & 15U;
  Configure(re, input);
  const RE::ExpressionErrorCode code = re.ParseExpression();
  const bool told = re.GetLocaleModel() <= RE::UnicodeLocale;  // an unknown model has no texts
  Check(told ? (code == RE::NoError) == re.GetExpressionError().empty()
             : code == RE::NoExpression || re.GetExpressionError().empty(),
        "a failed compile has a reason");
  RunAll(re, how);
  return 0;
}
