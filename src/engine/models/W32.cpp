// SPDX-License-Identifier: BSL-1.0
// The model W32Locale: the system locale of the user who runs the process.

#include "engine/boost/NarrowModel.hpp"
#include "engine/boost/Traits.hpp"
#include "engine/models/Models.hpp"
#include "platform/UserLocale.hpp"

namespace RegexClass::engine {
namespace {

struct W32Traits : CatalogueTraits {};

}  // namespace
}  // namespace RegexClass::engine

template <>
bool RegexClass::engine::NarrowCreator<RegexClass::engine::W32Traits>::is_bad_repeat(
    re_syntax_base* fork) {
  return RegexClass::engine::PassedForks(m_bad_repeats).IsEnough(fork);
}
template <>
void RegexClass::engine::NarrowCreator<RegexClass::engine::W32Traits>::set_bad_repeat(
    re_syntax_base* fork) {
  RegexClass::engine::PassedForks(m_bad_repeats).Add(fork);
}
REGEXCLASS_COUNT_STEPS(RegexClass::engine::NarrowMatcher<RegexClass::engine::W32Traits>,
                       std::random_access_iterator_tag)

namespace RegexClass::engine {
namespace {

class W32 final : public NarrowModel<W32Traits> {
  const char* Name() const override { return "W32Locale"; }
  Catalogue Messages() const override { return Catalogue::kDirectly; }
  std::locale DefaultLocale() const override { return platform::UserLocale(); }
};

}  // namespace

const Model& W32Model() {
  static const W32 model;
  return model;
}

}  // namespace RegexClass::engine
