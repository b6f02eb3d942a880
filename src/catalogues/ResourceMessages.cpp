// SPDX-License-Identifier: BSL-1.0
#include "catalogues/ResourceMessages.hpp"

#include <limits>
#include <utility>

#include "catalogues/ThreadRecord.hpp"

namespace RegexClass {

ResourceMessages::ResourceMessages(std::size_t refs) : std::messages<char>(refs) {
  ThreadRecord::Get();
}

ResourceMessages::~ResourceMessages() { ThreadRecord::Release(); }

std::messages_base::catalog ResourceMessages::do_open(const std::string& name,
                                                      const std::locale&) const {
  platform::MessageCatalogue catalogue(name);
  if (!catalogue) return -1;
  ThreadRecord* const record = ThreadRecord::Get();
  if (record == nullptr) return -1;
  auto& open = record->catalogues;
  catalog number = 0;
  for (auto used = open.begin(); used != open.end() && used->first == number; ++used) ++number;
  if (number == std::numeric_limits<catalog>::max()) return -1;
  open.emplace(number, std::move(catalogue));
  return number;
}

std::string ResourceMessages::do_get(catalog number, int, int message,
                                     const std::string& defaultText) const {
  const ThreadRecord* const record = ThreadRecord::Get();
  if (record == nullptr) return defaultText;
  const auto found = record->catalogues.find(number);
  if (found == record->catalogues.end()) return defaultText;
  std::string text = found->second.Text(message);
  return text.empty() ? defaultText : text;
}

void ResourceMessages::do_close(catalog number) const {
  if (ThreadRecord* const record = ThreadRecord::Get()) record->catalogues.erase(number);
}

}  // namespace RegexClass
