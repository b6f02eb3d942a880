// SPDX-License-Identifier: BSL-1.0
#include "engine/search/CandidateFinder.hpp"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <string>
#include <utility>

#if REGEXCLASS_HYPERSCAN
#include <hs.h>
#endif

namespace RegexClass::engine {
namespace {

/// Takes off the end of `pattern`, which can't be empty, what a match can do without.
void ShortenEnd(Pattern& pattern) {
  auto& parts = pattern.parts;
  switch (pattern.kind) {
    case Pattern::Kind::kBytes:
      break;
    case Pattern::Kind::kAlternatives:
      std::for_each(parts.begin(), parts.end(), ShortenEnd);
      break;
    case Pattern::Kind::kRepeat:
      pattern.most = pattern.least;
      if (pattern.least == 1) ShortenEnd(parts.front());
      break;
    default:
      while (CanBeEmpty(parts.back())) parts.pop_back();
      ShortenEnd(parts.back());
  }
}

/// The width of all matches of `pattern`; 0 when they differ.
std::size_t FixedWidth(const Pattern& pattern) {
  std::size_t width = 0;
  switch (pattern.kind) {
    case Pattern::Kind::kBytes:
      return 1;
    case Pattern::Kind::kAlternatives:
      width = FixedWidth(pattern.parts.front());
      for (const Pattern& part : pattern.parts) {
        if (FixedWidth(part) != width) return 0;
      }
      return width;
    case Pattern::Kind::kRepeat:
      return pattern.least == pattern.most ? pattern.least * FixedWidth(pattern.parts.front()) : 0;
    default:
      for (const Pattern& part : pattern.parts) {
        const std::size_t more = FixedWidth(part);
        if (more == 0) return 0;
        width += more;
      }
      return width;
  }
}

/// How many bits a text tells by being a match of `pattern`, were all bytes as frequent.
double Bits(const Pattern& pattern) {
  double bits = 0;
  switch (pattern.kind) {
    case Pattern::Kind::kBytes:
      return 8 - std::log2(static_cast<double>(pattern.bytes.count()));
    case Pattern::Kind::kAlternatives:
      bits = Bits(pattern.parts.front());
      for (const Pattern& part : pattern.parts) bits = std::min(bits, Bits(part));
      return bits - std::log2(static_cast<double>(pattern.parts.size()));
    case Pattern::Kind::kRepeat:
      return static_cast<double>(pattern.least) * Bits(pattern.parts.front());
    default:
      for (const Pattern& part : pattern.parts) bits += Bits(part);
      return bits;
  }
}

/// Cuts `pattern` where its width begins to vary, if what stands before is rare enough: a fixed
/// width is much cheaper to look for, and an attempt of the engine costs little when there are few.
/// Gives whether it was cut.
[[maybe_unused]] bool CutToFixedWidth(Pattern& pattern) {
  constexpr double kRare = 32;  // as four letters are
  if (pattern.kind != Pattern::Kind::kSequence) return false;
  double bits = 0;
  for (std::size_t i = 0; i < pattern.parts.size(); ++i) {
    if (FixedWidth(pattern.parts[i]) == 0) {
      if (bits < kRare) return false;
      pattern.parts.resize(i, Pattern::Sequence());
      return true;
    }
    bits += Bits(pattern.parts[i]);
  }
  return false;
}

/// Adds the bytes that a match of `pattern` can hold to `content`.
void AddContent(const Pattern& pattern, ByteSet& content) {
  content |= pattern.bytes;
  for (const Pattern& part : pattern.parts) AddContent(part, content);
}

/// How many sets of bytes `pattern` has when repeats are written out.
double Size(const Pattern& pattern) {
  double size = pattern.kind == Pattern::Kind::kBytes ? 1 : 0;
  for (const Pattern& part : pattern.parts) size += Size(part);
  const std::size_t times = pattern.most == Pattern::kUnbounded ? pattern.least + 1 : pattern.most;
  return size * static_cast<double>(std::max<std::size_t>(times, 1));
}

/// Replaces large repeats, and those of what varies in width, by unbounded ones, which the language
/// of `pattern` lies within.
void Relax(Pattern& pattern) {
  constexpr std::size_t kLarge = 16;
  for (Pattern& part : pattern.parts) Relax(part);
  if (pattern.kind != Pattern::Kind::kRepeat || pattern.most <= 1) return;
  const bool varies = FixedWidth(pattern.parts.front()) == 0;
  if (!varies && pattern.most <= kLarge) return;
  pattern.least = std::min(pattern.least, varies ? 1 : kLarge);
  pattern.most = Pattern::kUnbounded;
}

/// Whether Hyperscan compiles `pattern` in a time that pays. Where widths vary, that may grow with
/// a power of the size.
[[maybe_unused]] bool IsCheap(const Pattern& pattern) {
  return Size(pattern) <= (FixedWidth(pattern) == 0 ? 64 : 2000);
}

void AppendByte(std::size_t byte, std::string& text) {
  static constexpr char kDigits[] = "0123456789abcdef";
  text += "\\x";
  text += kDigits[byte / 16];
  text += kDigits[byte % 16];
}

/// Appends `pattern` in the notation of Hyperscan.
void Append(const Pattern& pattern, std::string& text) {
  switch (pattern.kind) {
    case Pattern::Kind::kBytes:
      text += '[';
      for (std::size_t i = 0; i < pattern.bytes.size(); ++i) {
        if (!pattern.bytes[i]) continue;
        const std::size_t first = i;
        while (i + 1 < pattern.bytes.size() && pattern.bytes[i + 1]) ++i;
        AppendByte(first, text);
        text += '-';
        AppendByte(i, text);
      }
      text += ']';
      break;
    case Pattern::Kind::kAlternatives:
      text += "(?:";
      for (const Pattern& part : pattern.parts) {
        Append(part, text);
        text += '|';
      }
      text.back() = ')';
      break;
    case Pattern::Kind::kRepeat:
      text += "(?:";
      Append(pattern.parts.front(), text);
      text += "){" + std::to_string(pattern.least) + ',';
      if (pattern.most != Pattern::kUnbounded) text += std::to_string(pattern.most);
      text += '}';
      break;
    default:
      for (const Pattern& part : pattern.parts) Append(part, text);
  }
}

/// Whether a set in `pattern` has no byte: nothing matches it, and there is no notation for it.
bool HasEmptySet(const Pattern& pattern) {
  if (pattern.kind == Pattern::Kind::kBytes) return pattern.bytes.none();
  return std::any_of(pattern.parts.begin(), pattern.parts.end(), HasEmptySet);
}

}  // namespace

CandidateFinder::Tuning CandidateFinder::tuning;

#if REGEXCLASS_HYPERSCAN

/// A compiled pattern, and what a scan needs to itself.
struct CandidateFinder::Database {
  struct Free {
    void operator()(hs_database_t* freed) const { hs_free_database(freed); }
    void operator()(hs_scratch_t* freed) const { hs_free_scratch(freed); }
    void operator()(hs_compile_error_t* freed) const { hs_free_compile_error(freed); }
    void operator()(hs_expr_info_t* freed) const { std::free(freed); }
  };

  /// False when the pattern is refused.
  bool Compile(const Pattern& pattern) {
    std::string text;
    Append(pattern, text);
    const unsigned int flags =
        HS_FLAG_DOTALL | (FixedWidth(pattern) == 0 ? HS_FLAG_SOM_LEFTMOST : 0U);
    hs_expr_info_t* told = nullptr;
    hs_compile_error_t* wrong = nullptr;
    const hs_error_t measured = hs_expression_info(text.c_str(), flags, &told, &wrong);
    info.reset(told);
    const std::unique_ptr<hs_compile_error_t, Free> firstError(wrong);
    if (measured != HS_SUCCESS) return false;

    hs_database_t* compiled = nullptr;
    wrong = nullptr;
    const hs_error_t outcome =
        hs_compile(text.c_str(), flags, HS_MODE_BLOCK, nullptr, &compiled, &wrong);
    database.reset(compiled);
    const std::unique_ptr<hs_compile_error_t, Free> secondError(wrong);
    hs_scratch_t* space = nullptr;
    if (outcome != HS_SUCCESS || hs_alloc_scratch(compiled, &space) != HS_SUCCESS) return false;
    scratch.reset(space);
    return true;
  }

  std::unique_ptr<hs_database_t, Free> database;
  std::unique_ptr<hs_scratch_t, Free> scratch;
  std::unique_ptr<hs_expr_info_t, Free> info;
};

std::unique_ptr<CandidateFinder> CandidateFinder::Make(const Pattern& pattern) {
  constexpr double kLargest = 400;
  if (CanBeEmpty(pattern) || HasEmptySet(pattern) || hs_valid_platform() != HS_SUCCESS) {
    return nullptr;
  }
  Pattern wanted = pattern;
  ShortenEnd(wanted);
  const bool cut = CutToFixedWidth(wanted);
  auto database = std::make_unique<Database>();
  if (!IsCheap(wanted) || !database->Compile(wanted)) {
    Relax(wanted);
    if (Size(wanted) > kLargest || !database->Compile(wanted)) return nullptr;
  }
  std::unique_ptr<CandidateFinder> finder(new CandidateFinder(std::move(database)));
  finder->cut_ = cut;
  AddContent(wanted, finder->content_);
  const hs_expr_info_t& info = *finder->database_->info;
  finder->least_ = info.min_width;
  finder->most_ = info.max_width == UINT_MAX ? Pattern::kUnbounded : info.max_width;
  return finder;
}

bool CandidateFinder::Scan(const char* first, const char* last, std::vector<Stretch>& found) {
  struct Scanned {
    const char* const text;
    const std::size_t least;
    const bool fixed;
    std::size_t tolerated;
    std::vector<Stretch>& found;
  } scanned{first, least_, least_ == most_, Tolerated(first, last), found};
  const auto take = [](unsigned int, unsigned long long from, unsigned long long to, unsigned int,
                       void* context) {
    auto& [text, least, fixed, tolerated, stretches] = *static_cast<Scanned*>(context);
    if (tolerated-- == 0) return 1;
    Stretch stretch{fixed ? text + to - least : text + from, text + to - least};
    // Ends ascend, beginnings needn't.
    while (!stretches.empty() && stretches.back().last + 1 >= stretch.first) {
      stretch.first = std::min(stretch.first, stretches.back().first);
      stretches.pop_back();
    }
    stretches.push_back(stretch);
    return 0;
  };
  found.clear();
  const hs_error_t outcome =
      hs_scan(database_->database.get(), first, static_cast<unsigned int>(last - first), 0,
              database_->scratch.get(), take, &scanned);
  return outcome == HS_SUCCESS;
}

#else

struct CandidateFinder::Database {};

std::unique_ptr<CandidateFinder> CandidateFinder::Make(const Pattern&) { return nullptr; }
bool CandidateFinder::Scan(const char*, const char*, std::vector<Stretch>&) { return false; }

#endif

CandidateFinder::CandidateFinder(std::unique_ptr<Database> database)
    : database_(std::move(database)) {}
CandidateFinder::~CandidateFinder() = default;

std::size_t CandidateFinder::Tolerated(const char* first, const char* last) const {
  const std::size_t bytes = most_ == 1 ? 256 : most_ != least_ || cut_ ? 128 : 16;
  return tuning.patience + static_cast<std::size_t>(last - first) / bytes;
}

const char* CandidateFinder::CompleteUpTo(const char* first, const char* last) const {
  const char* const byWidth =
      most_ < static_cast<std::size_t>(last - first) ? last - most_ + 1 : first;
  for (const char* byContent = content_.all() ? byWidth : last; byContent > byWidth; --byContent) {
    if (!content_[static_cast<unsigned char>(byContent[-1])]) return byContent;
  }
  return byWidth;
}

const char* Candidates::Next(const char* from) {
  for (;;) {
    while (next_ < stretches_.size() && stretches_[next_].last < from) ++next_;
    if (next_ < stretches_.size()) {
      const char* const candidate = std::max(from, stretches_[next_].first);
      if (candidate < complete_) {
        gaveUp_ = ++told_ > finder_.Tolerated(begin_, candidate);
        return gaveUp_ ? nullptr : candidate;
      }
    }
    if (gaveUp_ || complete_ == last_ || !NextWindow(from)) return nullptr;
  }
}

bool Candidates::NextWindow(const char* from) {
  const char* const first = std::max(from, complete_);
  for (;; window_ *= 2) {
    const bool rest = static_cast<std::size_t>(last_ - first) <= window_;
    const char* const end = rest ? last_ : first + window_;
    gaveUp_ = !finder_.Scan(first, end, stretches_);
    if (gaveUp_) return false;
    complete_ = rest ? last_ : finder_.CompleteUpTo(first, end);
    if (rest || complete_ != first) break;
  }
  next_ = 0;
  window_ = std::max(window_, std::min(window_ * 8, CandidateFinder::tuning.largestWindow));
  return true;
}

}  // namespace RegexClass::engine
