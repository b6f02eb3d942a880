// SPDX-License-Identifier: BSL-1.0
// The library for a page in a browser: a request and its answer are JSON, with the tool's names for
// everything.
#ifndef REGEXCLASS_PLAYGROUND_BRIDGE_HPP
#define REGEXCLASS_PLAYGROUND_BRIDGE_HPP

#include <cstdint>
#include <string>
#include <vector>

namespace playground {

struct Answer {
  /// A JSON object. "bad_request" says what is wrong with the request, and nothing else is there.
  /// Else:
  /// - "settings": as `regexclass settings --json` prints them, without the text unless the request
  ///   brought a record;
  /// - "error", when the expression can't be used: "code", its "name", the "message", and
  ///   "position", the offset in the expression, or -1;
  /// - "groups", the number of them; "gave_up", the reason when the engine did;
  /// - "count", how many matches, pieces or texts are told of, and "capped" when there are more;
  /// - "formatted", "merged", "pieces" and "rest", or "verdicts", by the operation; "cut" when not
  ///   all of it is there;
  /// - "program", "record" and "command", when they were asked for.
  std::string json;
  /// The matches, each with its line, the offset of that line, and for the whole match and each
  /// group its first byte and the one behind its last, -1 for what took no part.
  std::vector<std::int32_t> spans;
};

/// Runs one request, a JSON object in which everything may be missing:
/// - "record": an object's settings as they go to a stream;
/// - "settings": what "settings" of an answer has, on top of the record;
/// - "steps": names of options with + or - in front, to be added or deleted in that order, and
///   "+none" for all to be deleted;
/// - "operation": match, match-all, search, grep, format, merge, split, check or, by default, none;
/// - "texts": what `check` searches, each by itself;
/// - "most": the most matches, pieces or texts that are told of;
/// - "export": the operation for which the C++, the record and the command line are wanted.
/// Strings are {"text": ...}, or {"bytes": base64} for what isn't UTF-8. Throws nothing but
/// std::bad_alloc.
Answer Run(const std::string& request);

}  // namespace playground

#endif  // REGEXCLASS_PLAYGROUND_BRIDGE_HPP
