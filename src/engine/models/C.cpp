// SPDX-License-Identifier: BSL-1.0
// The model CLocale: the C library's locale at the time of use. Compiles afresh when setlocale has
// put another in its place.

#include "engine/boost/NarrowModel.hpp"
#include "engine/boost/Traits.hpp"
#include "engine/models/Models.hpp"

template <>
bool RegexClass::engine::NarrowCreator<RegexClass::engine::CTraits>::is_bad_repeat(
    re_syntax_base* fork) {
  return RegexClass::engine::PassedForks(m_bad_repeats).IsEnough(fork);
}
template <>
void RegexClass::engine::NarrowCreator<RegexClass::engine::CTraits>::set_bad_repeat(
    re_syntax_base* fork) {
  RegexClass::engine::PassedForks(m_bad_repeats).Add(fork);
}
REGEXCLASS_COUNT_STEPS(RegexClass::engine::NarrowMatcher<RegexClass::engine::CTraits>,
                       std::random_access_iterator_tag)

namespace RegexClass::engine {
namespace {

class C final : public NarrowModel<CTraits> {
  const char* Name() const override { return "CLocale"; }
};

}  // namespace

const Model& CModel() {
  static const C model;
  return model;
}

}  // namespace RegexClass::engine
