// SPDX-License-Identifier: BSL-1.0
#include "object/CatalogueInForce.hpp"

#include <locale>
#include <stdexcept>

#include "object/ResourceMessages.hpp"
#include "platform/MessageCatalogue.hpp"

namespace RegexClass {
namespace {

using Messages = std::shared_ptr<const engine::EngineMessages>;

[[noreturn]] void ThrowUnreadable(const std::string& file) {
  throw std::runtime_error("Unable to open message catalogue " + file);
}

/// Closes a catalogue of a facet at the end of the scope.
struct OpenCatalogue {
  const std::messages<char>& facet;
  const std::messages_base::catalog number;
  ~OpenCatalogue() {
    if (number >= 0) facet.close(number);
  }
};

/// Reads the way that a std::locale has for messages.
Messages ReadThroughFacet(const std::string& file) {
  const std::locale locale(std::locale::classic(), std::make_unique<ResourceMessages>().release());
  const auto& facet = std::use_facet<std::messages<char>>(locale);
  const OpenCatalogue catalogue{facet, facet.open(file, locale)};
  if (catalogue.number < 0) ThrowUnreadable(file);
  return std::make_shared<engine::EngineMessages>([&](int number, const std::string& defaultText) {
    return facet.get(catalogue.number, 0, number, defaultText);
  });
}

/// Reads the way that the system has for messages.
Messages ReadDirectly(const std::string& file) {
  const platform::MessageCatalogue catalogue(file);
  if (!catalogue) ThrowUnreadable(file);
  return std::make_shared<engine::EngineMessages>([&](int number, const std::string& defaultText) {
    const std::string text = catalogue.Text(number);
    return text.empty() ? defaultText : text;
  });
}

}  // namespace

void CatalogueInForce::Access::Install(const std::string& name, const std::string& file) const {
  catalogue_.messages_.reset();
  catalogue_.file_ = file;
  catalogue_.name_ = name;
}

std::shared_ptr<const engine::EngineMessages> CatalogueInForce::Access::Messages() const {
  auto& messages = catalogue_.messages_;
  if (messages == nullptr && !catalogue_.file_.empty()) {
    messages = catalogue_.reader_(catalogue_.file_);
  }
  return messages;
}

CatalogueInForce& CppCatalogue() {
  static CatalogueInForce catalogue(ReadThroughFacet);
  return catalogue;
}

CatalogueInForce& W32Catalogue() {
  static CatalogueInForce catalogue(ReadDirectly);
  return catalogue;
}

}  // namespace RegexClass
