// SPDX-License-Identifier: BSL-1.0
#include "catalogues/CatalogueInForce.hpp"

#include <locale>
#include <stdexcept>

#include "catalogues/ResourceMessages.hpp"
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
  std::string newName = name;  // both, or, without the memory for them, neither
  std::string newFile = file;
  catalogue_.messages_.reset();
  catalogue_.name_.swap(newName);
  catalogue_.file_.swap(newFile);
}

std::shared_ptr<const engine::EngineMessages> CatalogueInForce::Access::Messages() const {
  auto& messages = catalogue_.messages_;
  if (messages == nullptr && !catalogue_.file_.empty()) {
    messages = catalogue_.reader_(catalogue_.file_);
  }
  return messages;
}

CatalogueInForce* CatalogueOf(const engine::Model& model) {
  static CatalogueInForce throughFacet(ReadThroughFacet);
  static CatalogueInForce direct(ReadDirectly);
  switch (model.Messages()) {
    case engine::Model::Catalogue::kNone:
      break;
    case engine::Model::Catalogue::kThroughFacet:
      return &throughFacet;
    case engine::Model::Catalogue::kDirectly:
      return &direct;
  }
  return nullptr;
}

}  // namespace RegexClass
