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

/// Takes off the end of `tree`, which can't be empty, what a match can do without.
void ShortenEnd(Tree& tree) {
  auto& parts = tree.parts;
  switch (tree.kind) {
    case Tree::Kind::kBytes:
      break;
    case Tree::Kind::kAlternatives:
      std::for_each(parts.begin(), parts.end(), ShortenEnd);
      break;
    case Tree::Kind::kRepeat:
      tree.most = tree.least;
      if (tree.least == 1) ShortenEnd(parts.front());
      break;
    default:
      while (CanBeEmpty(parts.back())) parts.pop_back();
      ShortenEnd(parts.back());
  }
}

/// The width of all matches of `tree`; 0 when they differ.
std::size_t FixedWidth(const Tree& tree) {
  std::size_t width = 0;
  switch (tree.kind) {
    case Tree::Kind::kBytes:
      return 1;
    case Tree::Kind::kAlternatives:
      width = FixedWidth(tree.parts.front());
      for (const Tree& part : tree.parts) {
        if (FixedWidth(part) != width) return 0;
      }
      return width;
    case Tree::Kind::kRepeat:
      return tree.least == tree.most ? tree.least * FixedWidth(tree.parts.front()) : 0;
    default:
      for (const Tree& part : tree.parts) {
        const std::size_t more = FixedWidth(part);
        if (more == 0) return 0;
        width += more;
      }
      return width;
  }
}

/// How many bits a text tells by being a match of `tree`, were all bytes as frequent.
double Bits(const Tree& tree) {
  double bits = 0;
  switch (tree.kind) {
    case Tree::Kind::kBytes:
      return 8 - std::log2(static_cast<double>(tree.bytes.count()));
    case Tree::Kind::kAlternatives:
      bits = Bits(tree.parts.front());
      for (const Tree& part : tree.parts) bits = std::min(bits, Bits(part));
      return bits - std::log2(static_cast<double>(tree.parts.size()));
    case Tree::Kind::kRepeat:
      return static_cast<double>(tree.least) * Bits(tree.parts.front());
    default:
      for (const Tree& part : tree.parts) bits += Bits(part);
      return bits;
  }
}

/// Cuts `tree` where its width begins to vary, if what stands before is rare enough: a fixed
/// width is much cheaper to look for, and an attempt of the engine costs little when there are few.
/// Returns whether it was cut.
[[maybe_unused]] bool CutToFixedWidth(Tree& tree) {
  constexpr double kRare = 32;  // as four letters are
  if (tree.kind != Tree::Kind::kSequence) return false;
  double bits = 0;
  for (std::size_t i = 0; i < tree.parts.size(); ++i) {
    if (FixedWidth(tree.parts[i]) == 0) {
      if (bits < kRare) return false;
      tree.parts.resize(i, Tree::Sequence());
      return true;
    }
    bits += Bits(tree.parts[i]);
  }
  return false;
}

/// Adds the bytes that a match of `tree` can hold to `content`.
void AddContent(const Tree& tree, ByteSet& content) {
  content |= tree.bytes;
  for (const Tree& part : tree.parts) AddContent(part, content);
}

/// How many sets of bytes `tree` has when repeats are written out.
double Size(const Tree& tree) {
  double size = tree.kind == Tree::Kind::kBytes ? 1 : 0;
  for (const Tree& part : tree.parts) size += Size(part);
  const std::size_t times = tree.most == Tree::kUnbounded ? tree.least + 1 : tree.most;
  return size * static_cast<double>(std::max<std::size_t>(times, 1));
}

/// Replaces large repeats, and those of what varies in width, by unbounded ones, which the language
/// of `tree` lies within.
void Relax(Tree& tree) {
  constexpr std::size_t kLarge = 16;
  for (Tree& part : tree.parts) Relax(part);
  if (tree.kind != Tree::Kind::kRepeat || tree.most <= 1) return;
  const bool varies = FixedWidth(tree.parts.front()) == 0;
  if (!varies && tree.most <= kLarge) return;
  tree.least = std::min(tree.least, varies ? 1 : kLarge);
  tree.most = Tree::kUnbounded;
}

/// Whether Hyperscan compiles `tree` in a time that pays. Where widths vary, that may grow with
/// a power of the size.
[[maybe_unused]] bool IsCheap(const Tree& tree) {
  return Size(tree) <= (FixedWidth(tree) == 0 ? 64 : 2000);
}

void AppendByte(std::size_t byte, std::string& text) {
  static constexpr char kDigits[] = "0123456789abcdef";
  text += "\\x";
  text += kDigits[byte / 16];
  text += kDigits[byte % 16];
}

/// Appends `tree` in the notation of Hyperscan.
void Append(const Tree& tree, std::string& text) {
  switch (tree.kind) {
    case Tree::Kind::kBytes:
      text += '[';
      for (std::size_t i = 0; i < tree.bytes.size(); ++i) {
        if (!tree.bytes[i]) continue;
        const std::size_t first = i;
        while (i + 1 < tree.bytes.size() && tree.bytes[i + 1]) ++i;
        AppendByte(first, text);
        text += '-';
        AppendByte(i, text);
      }
      text += ']';
      break;
    case Tree::Kind::kAlternatives:
      text += "(?:";
      for (const Tree& part : tree.parts) {
        Append(part, text);
        text += '|';
      }
      text.back() = ')';
      break;
    case Tree::Kind::kRepeat:
      text += "(?:";
      Append(tree.parts.front(), text);
      text += "){" + std::to_string(tree.least) + ',';
      if (tree.most != Tree::kUnbounded) text += std::to_string(tree.most);
      text += '}';
      break;
    default:
      for (const Tree& part : tree.parts) Append(part, text);
  }
}

/// Whether a set in `tree` has no byte: nothing matches it, and there is no notation for it.
bool HasEmptySet(const Tree& tree) {
  if (tree.kind == Tree::Kind::kBytes) return tree.bytes.none();
  return std::any_of(tree.parts.begin(), tree.parts.end(), HasEmptySet);
}

}  // namespace

#if REGEXCLASS_HYPERSCAN

/// A compiled tree, and what a scan needs to itself.
struct CandidateFinder::Database {
  struct Free {
    void operator()(hs_database_t* freed) const { hs_free_database(freed); }
    void operator()(hs_scratch_t* freed) const { hs_free_scratch(freed); }
    void operator()(hs_compile_error_t* freed) const { hs_free_compile_error(freed); }
    void operator()(hs_expr_info_t* freed) const { std::free(freed); }
  };

  /// False when the tree is refused.
  bool Compile(const Tree& tree) {
    std::string text;
    Append(tree, text);
    const unsigned int flags = HS_FLAG_DOTALL | (FixedWidth(tree) == 0 ? HS_FLAG_SOM_LEFTMOST : 0U);
    hs_expr_info_t* told = nullptr;
    hs_compile_error_t* wrong = nullptr;
    const hs_error_t measured = hs_expression_info(text.c_str(), flags, &told, &wrong);
    info.reset(told);
    const std::unique_ptr<hs_compile_error_t, Free> firstError(wrong);
    if (measured != HS_SUCCESS) return false;

    if (!Compile(text, flags, database)) return false;
    return flags == HS_FLAG_DOTALL || Compile(text, HS_FLAG_DOTALL, withoutStarts);
  }

  /// Whether there is a match of varying width in a text.
  bool FindsIn(const char* text, unsigned int size) const {
    const auto stop = [](unsigned int, unsigned long long, unsigned long long, unsigned int,
                         void*) { return 1; };
    return hs_scan(withoutStarts.get(), text, size, 0, scratch.get(), stop, nullptr) != HS_SUCCESS;
  }

  std::unique_ptr<hs_database_t, Free> database;
  std::unique_ptr<hs_database_t, Free>
      withoutStarts;  // several times as fast; null for a fixed width
  std::unique_ptr<hs_scratch_t, Free> scratch;
  std::unique_ptr<hs_expr_info_t, Free> info;

 private:
  bool Compile(const std::string& text, unsigned int flags,
               std::unique_ptr<hs_database_t, Free>& made) {
    hs_database_t* compiled = nullptr;
    hs_compile_error_t* wrong = nullptr;
    const hs_error_t outcome =
        hs_compile(text.c_str(), flags, HS_MODE_BLOCK, nullptr, &compiled, &wrong);
    made.reset(compiled);
    const std::unique_ptr<hs_compile_error_t, Free> error(wrong);
    hs_scratch_t* space = scratch.release();  // grows to what both need
    const bool isMade = outcome == HS_SUCCESS && hs_alloc_scratch(compiled, &space) == HS_SUCCESS;
    scratch.reset(space);
    return isMade;
  }
};

std::unique_ptr<CandidateFinder> CandidateFinder::Make(const Tree& tree,
                                                       const SearchTuning& tuning) {
  constexpr double kLargest = 400;
  if (CanBeEmpty(tree) || HasEmptySet(tree) || hs_valid_platform() != HS_SUCCESS) {
    return nullptr;
  }
  Tree wanted = tree;
  ShortenEnd(wanted);
  const bool cut = CutToFixedWidth(wanted);
  auto database = std::make_unique<Database>();
  if (!IsCheap(wanted) || !database->Compile(wanted)) {
    Relax(wanted);
    if (Size(wanted) > kLargest || !database->Compile(wanted)) return nullptr;
  }
  std::unique_ptr<CandidateFinder> finder(new CandidateFinder(std::move(database), tuning));
  finder->cut_ = cut;
  AddContent(wanted, finder->content_);
  const hs_expr_info_t& info = *finder->database_->info;
  finder->least_ = info.min_width;
  finder->most_ = info.max_width == UINT_MAX ? Tree::kUnbounded : info.max_width;
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
  const auto size = static_cast<unsigned int>(last - first);
  if (database_->withoutStarts && !database_->FindsIn(first, size)) return true;
  const hs_error_t outcome =
      hs_scan(database_->database.get(), first, size, 0, database_->scratch.get(), take, &scanned);
  return outcome == HS_SUCCESS;
}

#else

struct CandidateFinder::Database {};

std::unique_ptr<CandidateFinder> CandidateFinder::Make(const Tree&, const SearchTuning&) {
  return nullptr;
}
bool CandidateFinder::Scan(const char*, const char*, std::vector<Stretch>&) { return false; }

#endif

CandidateFinder::CandidateFinder(std::unique_ptr<Database> database, const SearchTuning& tuning)
    : database_(std::move(database)), tuning_(tuning) {}
CandidateFinder::~CandidateFinder() = default;

std::size_t CandidateFinder::Tolerated(const char* first, const char* last) const {
  const std::size_t bytes = most_ == 1 ? 256 : most_ != least_ || cut_ ? 128 : 16;
  return tuning_.patience + static_cast<std::size_t>(last - first) / bytes;
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
  window_ = std::max(window_, std::min(window_ * 8, finder_.tuning_.largestWindow));
  return true;
}

}  // namespace RegexClass::engine
