// SPDX-License-Identifier: BSL-1.0
// The reports of a walk over a string.
#ifndef REGEXCLASS_MATCHING_WALKREPORTER_HPP
#define REGEXCLASS_MATCHING_WALKREPORTER_HPP

#include <utility>
#include <vector>

#include "matching/SubMatches.hpp"
#include "object/ExpressionState.hpp"

namespace RegexClass {

/// Reports match after match of one walk to one subscriber. The vector's memory is used again
/// from report to report, since its last two entries can be as long as the text.
class WalkReporter {
 public:
  using WalkSubscriber = Subscriber<RegularExpression::WalkFunction>;

  /// `text` is the start of what is walked.
  WalkReporter(const ExpressionState& state, WalkSubscriber subscriber, const char* text)
      : owner_(state.owner),
        subscriber_(std::move(subscriber)),
        context_(state.notifications.context),
        lines_(text) {}

  /// Calls the subscriber; false when it wants no more.
  bool operator()(const engine::Match& match) {
    const Line line = lines_.At(match[0].first);
    ToReport(match, context_, matches_);
    bool goOn = true;
    subscriber_(owner_, std::as_const(matches_), line.number, line.start, goOn);
    return goOn;
  }

 private:
  RegularExpression* const owner_;
  const WalkSubscriber subscriber_;
  const bool context_;
  LineCounter lines_;
  std::vector<REMatch> matches_;
};

}  // namespace RegexClass

#endif  // REGEXCLASS_MATCHING_WALKREPORTER_HPP
