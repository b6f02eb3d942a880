// SPDX-License-Identifier: BSL-1.0
#include "engine/Expression.hpp"

#include "engine/boost/Results.hpp"

namespace RegexClass::engine {

void Expression::Merge(std::string_view text, const SearchSettings& settings,
                       const MergeFormat& format, std::string& out) const {
  RequireShallow(format.text, format.syntax);
  const char* done = text.data();
  const auto replace = [&](const Match& match) {
    if (format.copy) out.append(done, match[0].first);
    AppendFormat(match, format, out);
    done = match[0].second;
    return true;
  };
  Match first;
  if (!format.onlyFirst) {
    Grep(text, settings, replace);
  } else if (Search(text, settings, first)) {
    replace(first);
  }
  if (format.copy) out.append(done, text.data() + text.size());
}

}  // namespace RegexClass::engine
