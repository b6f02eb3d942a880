// SPDX-License-Identifier: BSL-1.0
// The message catalogues that are in force for the whole process, one for each locale model that
// has one.
#ifndef REGEXCLASS_CATALOGUES_CATALOGUEINFORCE_HPP
#define REGEXCLASS_CATALOGUES_CATALOGUEINFORCE_HPP

#include <memory>
#include <mutex>
#include <string>

#include "engine/Expression.hpp"

namespace RegexClass {

/// The catalogue of one model.
class CatalogueInForce {
 public:
  /// Returns the text of a number in a file, or throws std::runtime_error when the file can't be
  /// opened.
  using Reader = std::shared_ptr<const engine::EngineMessages> (*)(const std::string& file);
  explicit CatalogueInForce(Reader reader) : reader_(reader) {}

  /// The catalogue, for as long as this lives: catalogue changes and compiles take turns. Not to be
  /// held together with that of another model, nor while a notification runs.
  class Access {
   public:
    /// The base name that the object that installed the catalogue has for it, not its file.
    const std::string& Name() const { return catalogue_.name_; }

    /// Puts another catalogue in force for all objects, from their next compile on. An empty file
    /// stands for none. The file isn't opened before Messages() is called.
    void Install(const std::string& name, const std::string& file) const;

    /// The engine's messages from the catalogue; null when there is none. Throws
    /// std::runtime_error when its file can't be opened, and tries again at the next call.
    std::shared_ptr<const engine::EngineMessages> Messages() const;

   private:
    friend class CatalogueInForce;
    explicit Access(CatalogueInForce& catalogue) : catalogue_(catalogue), lock_(catalogue.mutex_) {}

    CatalogueInForce& catalogue_;
    std::unique_lock<std::recursive_mutex> lock_;
  };

  /// Waits for the catalogue. The thread that has it may have it again, since a compile calls the
  /// facets of the application's locale, and these may use objects of their own.
  Access Lock() { return Access(*this); }

 private:
  const Reader reader_;
  std::recursive_mutex mutex_;
  std::string name_;
  std::string file_;
  std::shared_ptr<const engine::EngineMessages> messages_;  // null until the file is read
};

/// The catalogue that the objects of the process share under a model; null where there is none.
CatalogueInForce* CatalogueOf(const engine::Model& model);

}  // namespace RegexClass

#endif  // REGEXCLASS_CATALOGUES_CATALOGUEINFORCE_HPP
