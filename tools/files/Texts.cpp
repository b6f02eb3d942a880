// SPDX-License-Identifier: BSL-1.0
#include "files/Texts.hpp"

#include <cerrno>
#include <iostream>
#include <limits>
#include <vector>

#include "platform/FileSystem.hpp"

namespace tool {

namespace {

// The library's positions are numbers of 32 bits with a sign.
constexpr auto kLongestText = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());

}  // namespace

TextReader::TextReader(const std::string& name, bool whole) : whole_(whole) {
  errno = 0;
  if (name == "-") {
    in_ = &std::cin;
  } else {
    file_.open(name, std::ios::binary);
    in_ = &file_;
    if (!file_) error_ = errno;
    if (StatusOf(name).kind == FileStatus::kDirectory) error_ = EISDIR;
  }
}

bool TextReader::Next(InputText& text) {
  if (error_ != 0) return false;
  errno = 0;
  const bool read = whole_ ? NextWhole(text) : NextLine(text);
  if (in_->bad()) {
    error_ = errno != 0 ? errno : EIO;
  } else if (text.bytes.size() > kLongestText) {
    error_ = EFBIG;
  }
  return read && error_ == 0;
}

bool TextReader::NextLine(InputText& text) {
  if (begun_) {
    text.offset += text.bytes.size() + 1;
    ++text.line;
  } else {
    text = InputText();
    begun_ = true;
  }
  if (!std::getline(*in_, text.bytes)) return false;
  text.ended = !in_->eof();
  return true;
}

bool TextReader::NextWhole(InputText& text) {
  if (begun_) return false;
  begun_ = true;
  text = InputText();
  std::vector<char> chunk(std::size_t{1} << 16U);
  while (text.bytes.size() <= kLongestText) {
    in_->read(chunk.data(), static_cast<std::streamsize>(chunk.size()));
    if (in_->gcount() == 0) break;
    text.bytes.append(chunk.data(), static_cast<std::size_t>(in_->gcount()));
  }
  return true;
}

}  // namespace tool
