// SPDX-License-Identifier: BSL-1.0
#include "Peers.hpp"

#include <cstdint>
#include <memory>
#include <re2/re2.h>
#include <stdexcept>
#include <vector>

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

namespace RegexClass::benchmarks {
namespace {

/// Null for an expression that PCRE2 doesn't take.
std::shared_ptr<pcre2_code> Compile(const std::string& expression, std::uint32_t options) {
  int error = 0;
  PCRE2_SIZE offset = 0;
  std::shared_ptr<pcre2_code> regex(
      pcre2_compile(reinterpret_cast<PCRE2_SPTR>(expression.data()), expression.size(), options,
                    &error, &offset, nullptr),
      pcre2_code_free);
  if (regex && pcre2_jit_compile(regex.get(), PCRE2_JIT_COMPLETE) != 0) regex.reset();
  return regex;
}

std::shared_ptr<pcre2_match_data> DataFor(const std::shared_ptr<pcre2_code>& regex) {
  return {pcre2_match_data_create_from_pattern(regex.get(), nullptr), pcre2_match_data_free};
}

}  // namespace

Walk WalkWithRe2(const std::string& expression, const std::string& text) {
  const auto regex = std::make_shared<const re2::RE2>(expression);
  if (!regex->ok()) throw std::invalid_argument("RE2: " + regex->error());
  return [regex, &text] {
    std::size_t matches = 0;
    std::size_t at = 0;
    re2::StringPiece found;
    while (regex->Match(text, at, text.size(), re2::RE2::UNANCHORED, &found, 1) && !found.empty()) {
      at = static_cast<std::size_t>(found.data() - text.data()) + found.size();
      ++matches;
    }
    return matches;
  };
}

Walk WalkWithPcre2(const std::string& expression, const std::string& text) {
  const std::shared_ptr<pcre2_code> regex = Compile(expression, PCRE2_UTF | PCRE2_UCP);
  if (!regex) throw std::invalid_argument("PCRE2: can't compile " + expression);
  const auto match = DataFor(regex);
  return [regex, match, &text] {
    std::size_t matches = 0;
    const PCRE2_SIZE* const found = pcre2_get_ovector_pointer(match.get());
    // The first call looks whether all of the text is UTF-8; the others needn't.
    std::uint32_t options = 0;
    for (PCRE2_SIZE at = 0; pcre2_match(regex.get(), reinterpret_cast<PCRE2_SPTR>(text.data()),
                                        text.size(), at, options, match.get(), nullptr) > 0 &&
                            found[0] < found[1];
         at = found[1]) {
      options = PCRE2_NO_UTF_CHECK;
      ++matches;
    }
    return matches;
  };
}

Search SearchByRe2(const std::string& expression, const std::string& text) {
  re2::RE2::Options options(re2::RE2::Quiet);
  options.set_encoding(re2::RE2::Options::EncodingLatin1);
  options.set_dot_nl(true);
  const auto regex = std::make_shared<const re2::RE2>(expression, options);
  if (!regex->ok()) return nullptr;
  return [regex, &text] {
    std::vector<re2::StringPiece> groups(
        static_cast<std::size_t>(regex->NumberOfCapturingGroups()) + 1);
    return regex->Match(text, 0, text.size(), re2::RE2::UNANCHORED, groups.data(),
                        static_cast<int>(groups.size()));
  };
}

Search SearchByPcre2(const std::string& expression, const std::string& text) {
  const auto regex = Compile(expression, PCRE2_DOTALL | PCRE2_MULTILINE);
  if (!regex) return nullptr;
  return [regex, match = DataFor(regex), &text] {
    const int result = pcre2_match(regex.get(), reinterpret_cast<PCRE2_SPTR>(text.data()),
                                   text.size(), 0, 0, match.get(), nullptr);
    if (result < PCRE2_ERROR_NOMATCH) throw std::runtime_error("PCRE2 gives up");
    return result > 0;
  };
}

}  // namespace RegexClass::benchmarks
