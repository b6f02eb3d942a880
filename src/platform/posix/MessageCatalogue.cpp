// SPDX-License-Identifier: BSL-1.0
#include "platform/MessageCatalogue.hpp"

#include <algorithm>
#include <clocale>
#include <string_view>
#include <vector>

#include "platform/FileReader.hpp"
#include "platform/posix/Extensions.hpp"

namespace RegexClass::platform {
namespace {

// The file: a mark, the two sizes of the table, the table in little-endian order, the same in
// big-endian order, and the texts, each with a zero byte after it. The mark and the sizes are in
// the order of the machine that made the file. An entry of the table has the number of the set plus
// one, that of the message and the offset of its text; an empty one has no set.
constexpr std::uint32_t kMark = 0x960408de;
constexpr std::uint32_t kSet = 1;
constexpr std::size_t kWord = 4;
constexpr std::size_t kHead = 3 * kWord;
constexpr std::size_t kEntry = 3 * kWord;
constexpr std::size_t kLargestFile = std::size_t{64} << 20;

/// The places where the system keeps catalogues, after those of NLSPATH.
constexpr const char* kSystemPath =
    "/usr/share/locale/%L/%N:/usr/share/locale/%L/LC_MESSAGES/%N:"
    "/usr/share/locale/%l/%N:/usr/share/locale/%l/LC_MESSAGES/%N";

std::uint32_t WordAt(std::string_view file, std::size_t offset, bool littleEndian) {
  std::uint32_t word = 0;
  for (std::size_t i = 0; i < kWord; ++i) {
    const auto byte = static_cast<unsigned char>(file[offset + i]);
    word |= std::uint32_t{byte} << 8 * (littleEndian ? i : kWord - 1 - i);
  }
  return word;
}

/// A pattern of NLSPATH with its letters replaced: %N by the catalogue's name, %L by that of the
/// locale, %l, %t and %c by its parts.
std::string Expanded(std::string_view pattern, const std::string& name, const std::string& locale) {
  if (pattern.empty()) return name;
  const std::size_t language = std::min(locale.find_first_of("_.@"), locale.size());
  const auto part = [&](char mark) {
    const std::size_t begin = locale.find(mark);
    if (begin == std::string::npos) return std::string();
    const std::size_t end = std::min(locale.find_first_of(".@", begin + 1), locale.size());
    return locale.substr(begin + 1, end - begin - 1);
  };
  std::string path;
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] != '%' || i + 1 == pattern.size()) {
      path += pattern[i];
      continue;
    }
    switch (pattern[++i]) {
      case 'N':
        path += name;
        break;
      case 'L':
        path += locale;
        break;
      case 'l':
        path += locale.substr(0, language);
        break;
      case 't':
        path += part('_');
        break;
      case 'c':
        path += part('.');
        break;
      default:
        path += pattern[i];
    }
  }
  return path;
}

/// Where a catalogue of that name may lie, in the order of catopen(3), with the current directory
/// in front.
std::vector<std::string> Candidates(const std::string& name) {
  if (name.find('/') != std::string::npos) return {name};
  const char* const user = TrustedVariable("NLSPATH");
  const std::string path =
      user != nullptr && *user != '\0' ? user + (':' + std::string(kSystemPath)) : kSystemPath;
  const char* const locale = std::setlocale(LC_MESSAGES, nullptr);
  std::vector<std::string> all = {"./" + name};
  for (std::size_t begin = 0; begin <= path.size();) {
    const std::size_t end = std::min(path.find(':', begin), path.size());
    all.push_back(Expanded(std::string_view(path).substr(begin, end - begin), name,
                           locale != nullptr ? locale : "C"));
    begin = end + 1;
  }
  return all;
}

}  // namespace

MessageCatalogue::MessageCatalogue(const std::string& name) {
  for (const std::string& path : Candidates(name)) {
    if (Open(path)) return;
  }
}

bool MessageCatalogue::Open(const std::string& path) {
  FileReader reader(kLargestFile);
  if (reader.Read({path, Directory::Current(), Links::kMeant, {}}) != FileReader::Outcome::kRead)
    return false;
  const std::string_view file = reader.Text();
  if (file.size() < kHead) return false;
  const bool littleEndian = WordAt(file, 0, true) == kMark;
  if (!littleEndian && WordAt(file, 0, false) != kMark) return false;

  const std::size_t width = WordAt(file, kWord, littleEndian);
  const std::size_t depth = WordAt(file, 2 * kWord, littleEndian);
  const std::size_t room = (file.size() - kHead) / (2 * kEntry);
  if (width == 0 || depth > room / width) return false;
  const std::size_t entries = width * depth;
  const std::string_view texts = file.substr(kHead + 2 * entries * kEntry);
  for (std::size_t i = 0; i < entries; ++i) {
    const std::size_t entry = kHead + i * kEntry;
    const std::size_t offset = WordAt(file, entry + 2 * kWord, true);
    if (WordAt(file, entry, true) != kSet + 1 || offset >= texts.size()) continue;
    const std::string_view text = texts.substr(offset, kLongestText);
    texts_.emplace(WordAt(file, entry + kWord, true), text.substr(0, text.find('\0')));
  }
  open_ = true;
  return true;
}

std::string MessageCatalogue::Text(int number) const {
  const auto found = texts_.find(static_cast<std::uint32_t>(number));
  return found != texts_.end() ? found->second : std::string();
}

}  // namespace RegexClass::platform
