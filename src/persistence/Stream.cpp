// SPDX-License-Identifier: BSL-1.0
// An object's settings as a record on a stream. docs/stream-format.md has the format.

#include <algorithm>
#include <cstddef>
#include <istream>
#include <limits>
#include <new>
#include <ostream>
#include <set>
#include <string>
#include <type_traits>

#include "object/ExpressionState.hpp"

namespace RegexClass {
namespace {

/// What is written, and the highest that is read.
constexpr int kStreamVersion = 2;

/// The type that a setting has on its way through the stream.
template <class T>
using Travelling = std::conditional_t<std::is_same_v<T, bool>, bool,
                                      std::conditional_t<std::is_unsigned_v<T>, unsigned int, int>>;

/// Hands the settings of a record to `transfer`, a SettingsWriter or a SettingsReader, in the order
/// of the record.
template <class SettingsType, class Transfer>
void TransferSettings(SettingsType& settings, int version, Transfer transfer) {
  transfer.Set(settings.expressionOptions);
  transfer.Set(settings.matchOptions);
  transfer.Number(settings.directoryRecursion);
  transfer.Number(settings.mergeCopy);
  if (version > 1) {
    transfer.Number(settings.mergeOnlyFirst);
    transfer.Number(settings.splitInputDelete);
    transfer.Number(settings.continueFiles);
    transfer.Number(settings.maximumSplits);
    transfer.Number(settings.formatType);
    transfer.Number(settings.localeModel);
  }
  transfer.Text(settings.expression);
  transfer.Text(settings.stringToMatch);
  transfer.Text(settings.filesToMatch);
  transfer.Text(settings.formatString);
  if (version > 1) {
    transfer.Text(settings.saveExtension);
    transfer.LastText(settings.localeDll);
  } else {
    transfer.LastText(settings.saveExtension);
  }
}

class SettingsWriter {
 public:
  explicit SettingsWriter(std::ostream& out) : out_(out) {}

  template <class Option>
  void Set(const std::set<Option>& options) {
    Number(static_cast<int>(options.size()));
    for (const Option option : options) Number(option);
  }
  template <class T>
  void Number(T value) {
    out_ << static_cast<Travelling<T>>(value) << ' ';
  }
  void Text(const std::string& text) {
    LastText(text);
    out_ << ' ';
  }
  /// No blank after it.
  void LastText(const std::string& text) {
    // The record has no way to tell such a length; better no record than one that misleads.
    if (text.size() > std::numeric_limits<unsigned int>::max()) {
      out_.setstate(std::ios_base::failbit);
    }
    out_ << static_cast<unsigned int>(text.size());
    if (!text.empty()) out_ << ' ' << text;
  }

 private:
  std::ostream& out_;
};

/// Once a read has failed, nothing more is taken from the stream and every setting keeps its value.
class SettingsReader {
 public:
  explicit SettingsReader(std::istream& in) : in_(in) {}

  template <class Option>
  void Set(std::set<Option>& options) {
    if (in_.fail()) return;
    options.clear();
    int count = 0;
    Number(count);
    for (int i = 0; i < count && !in_.fail(); ++i) {
      int option = 0;
      if (in_ >> option) options.insert(static_cast<Option>(option));
    }
  }
  template <class T>
  void Number(T& field) {
    if (in_.fail()) return;
    Travelling<T> value{};
    if (in_ >> value) field = static_cast<T>(value);
  }
  void Text(std::string& field) { ReadText(field, true); }
  /// With no blank after the length when the text is empty.
  void LastText(std::string& field) { ReadText(field, false); }

 private:
  void ReadText(std::string& field, bool blankBehindZero) {
    unsigned int length = 0;
    Number(length);
    if (!in_.fail() && (length != 0 || blankBehindZero)) in_.get();
    const std::string bytes = ReadBytes(length);
    if (!in_.fail()) field.assign(bytes.c_str());  // ends at its first zero byte
  }

  /// A length may be damaged, so that memory is taken only as the bytes arrive.
  std::string ReadBytes(std::size_t length) {
    constexpr std::size_t kLeast = 65536;
    std::string bytes;
    while (bytes.size() < length && !in_.fail()) {
      const std::size_t had = bytes.size();
      const std::size_t more = std::min(length - had, std::max(had, kLeast));
      bytes.resize(had + more);
      in_.read(&bytes[had], static_cast<std::streamsize>(more));
    }
    return bytes;
  }

  std::istream& in_;
};

}  // namespace

std::ostream& operator<<(std::ostream& out, const RegularExpression& object) {
  SettingsWriter(out).Number(kStreamVersion);
  TransferSettings(object.state->settings, kStreamVersion, SettingsWriter(out));
  return out;
}

std::istream& operator>>(std::istream& in, RegularExpression& object) {
  int version = 0;
  if (!(in >> version)) return in;
  if (version > kStreamVersion) {
    in.setstate(std::ios_base::failbit);
    return in;
  }
  if (version < 1) return in;

  object.state->MarkNotCompiled();
  try {
    TransferSettings(object.state->SettingsToChangeString(), version, SettingsReader(in));
  } catch (const std::bad_alloc&) {
    // A record that asks for more than there is counts as damaged.
    in.setstate(std::ios_base::failbit);
  }
  return in;
}

}  // namespace RegexClass
