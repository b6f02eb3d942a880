// SPDX-License-Identifier: BSL-1.0
// The model CppLocale: whatever std::locale is set, the global one by default.

#include "engine/boost/NarrowModel.hpp"
#include "engine/boost/Traits.hpp"
#include "engine/models/Models.hpp"

namespace RegexClass::engine {
namespace {

struct CppTraits : CatalogueTraits {};

}  // namespace
}  // namespace RegexClass::engine

template <>
bool RegexClass::engine::NarrowCreator<RegexClass::engine::CppTraits>::is_bad_repeat(
    re_syntax_base* fork) {
  return RegexClass::engine::PassedForks(m_bad_repeats).IsEnough(fork);
}
template <>
void RegexClass::engine::NarrowCreator<RegexClass::engine::CppTraits>::set_bad_repeat(
    re_syntax_base* fork) {
  RegexClass::engine::PassedForks(m_bad_repeats).Add(fork);
}
REGEXCLASS_COUNT_STEPS(RegexClass::engine::NarrowMatcher<RegexClass::engine::CppTraits>,
                       std::random_access_iterator_tag)

namespace RegexClass::engine {
namespace {

class Cpp final : public NarrowModel<CppTraits> {
  const char* Name() const override { return "CppLocale"; }
  Catalogue Messages() const override { return Catalogue::kThroughFacet; }
  bool TakesLocale() const override { return true; }
  std::locale DefaultLocale() const override { return std::locale(); }
};

}  // namespace

const Model& CppModel() {
  static const Cpp model;
  return model;
}

}  // namespace RegexClass::engine
