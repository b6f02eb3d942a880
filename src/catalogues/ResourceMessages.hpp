// SPDX-License-Identifier: BSL-1.0
// Message catalogues in the form that a std::locale has for them.
#ifndef REGEXCLASS_CATALOGUES_RESOURCEMESSAGES_HPP
#define REGEXCLASS_CATALOGUES_RESOURCEMESSAGES_HPP

#include <locale>
#include <string>

namespace RegexClass {

/// A facet that reads the catalogues of platform::MessageCatalogue. The number of an open
/// catalogue is the smallest that is free on the thread that opens it, and means nothing to other
/// threads. The set number is ignored.
class ResourceMessages : public std::messages<char> {
 public:
  explicit ResourceMessages(std::size_t refs = 0);
  ~ResourceMessages() override;
  ResourceMessages(const ResourceMessages&) = delete;
  ResourceMessages& operator=(const ResourceMessages&) = delete;

 protected:
  /// -1 when there is no such catalogue.
  catalog do_open(const std::string& name, const std::locale& locale) const override;
  std::string do_get(catalog number, int set, int message,
                     const std::string& defaultText) const override;
  void do_close(catalog number) const override;
};

}  // namespace RegexClass

#endif  // REGEXCLASS_CATALOGUES_RESOURCEMESSAGES_HPP
