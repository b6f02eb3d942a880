// SPDX-License-Identifier: BSL-1.0
// Construction, copies, assignment and comparison. Its other members stand in the sources named as
// the sections of the header.
#include "RegularExpression.hpp"

#include "catalogues/ThreadRecord.hpp"
#include "object/ExpressionState.hpp"

namespace RegexClass {

RegularExpression::RegularExpression() : state(std::make_unique<ExpressionState>(this)) {}

RegularExpression::RegularExpression(const RegularExpression& source)
    : state(std::make_unique<ExpressionState>(this, *source.state)) {}

RegularExpression::RegularExpression(RegularExpression&& source) noexcept : RegularExpression() {
  Swap(source);
}

RegularExpression::~RegularExpression() { ThreadRecord::Release(); }

RegularExpression& RegularExpression::operator=(const RegularExpression& source) {
  *state = *source.state;
  return *this;
}

RegularExpression& RegularExpression::operator=(RegularExpression&& source) noexcept {
  RegularExpression taken(std::move(source));
  Swap(taken);
  return *this;
}

void RegularExpression::Swap(RegularExpression& other) noexcept { state->Swap(*other.state); }

bool RegularExpression::operator==(const RegularExpression& other) const {
  return state->settings == other.state->settings;
}

}  // namespace RegexClass
