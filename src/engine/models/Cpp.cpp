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
void RegexClass::engine::NarrowMatcher<RegexClass::engine::CppTraits>::estimate_max_state_count(
    std::random_access_iterator_tag*) {
  max_state_count = RegexClass::engine::StateLimit(last - base, re.size());
}

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
