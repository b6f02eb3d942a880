// The message catalogues that are in force for the whole process, one for each locale model that
// has one.
#ifndef REGEXCLASS_OBJECT_CATALOGUEINFORCE_HPP
#define REGEXCLASS_OBJECT_CATALOGUEINFORCE_HPP

#include <memory>
#include <mutex>
#include <string>

#include "engine/EngineMessages.hpp"

namespace RegexClass {

/// The catalogue of one model. Everything but Lock() is only for a thread that holds the lock.
class CatalogueInForce {
 public:
  /// Gives the text of a number in a file, or throws std::runtime_error when the file can't be
  /// opened.
  using Reader = std::shared_ptr<const engine::EngineMessages> (*)(const std::string& file);
  explicit CatalogueInForce(Reader reader) : reader_(reader) {}

  /// The lock of the model: catalogue changes and compiles take turns. Recursive, since a compile
  /// calls the facets of the application's locale, and these may use objects of their own.
  /// Not to be held together with that of another model, nor while a notification runs.
  std::unique_lock<std::recursive_mutex> Lock() {
    return std::unique_lock<std::recursive_mutex>(mutex_);
  }

  /// The base name that the object that installed the catalogue has for it, not its file.
  const std::string& Name() const { return name_; }

  /// Puts another catalogue in force for all objects, from their next compile on. An empty file
  /// stands for none. The file isn't opened before Messages() is called.
  void Install(const std::string& name, const std::string& file);

  /// The engine's messages from the catalogue; null when there is none. Throws std::runtime_error
  /// when its file can't be opened, and tries again at the next call.
  std::shared_ptr<const engine::EngineMessages> Messages();

 private:
  const Reader reader_;
  std::recursive_mutex mutex_;
  std::string name_;
  std::string file_;
  std::shared_ptr<const engine::EngineMessages> messages_;  // null until the file is read
};

CatalogueInForce& CppCatalogue();
CatalogueInForce& W32Catalogue();

}  // namespace RegexClass

#endif  // REGEXCLASS_OBJECT_CATALOGUEINFORCE_HPP
