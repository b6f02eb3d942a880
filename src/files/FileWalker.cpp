// SPDX-License-Identifier: BSL-1.0
#include "files/FileWalker.hpp"

#include <limits>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <variant>

namespace RegexClass {
namespace {

/// The positions that subscribers get are signed numbers of 32 bits.
constexpr std::size_t kLargestFile = std::numeric_limits<std::int32_t>::max();

}  // namespace

FileWalker::FileWalker(const Settings& settings, engine::AnyExpression expression, Select select)
    : expression_(std::move(expression)),
      select_(std::move(select)),
      patterns_(settings.filesToMatch.c_str()),
      recursion_(settings.directoryRecursion),
      goOn_(settings.continueFiles),
      flags_(EngineMatchFlags(settings.matchOptions, false)),
      reader_(kLargestFile) {}

bool FileWalker::Fail(const std::string& file, RegularExpression::SearchProblemKind kind,
                      int number) {
  problems_.push_back({file, kind, static_cast<std::uint32_t>(number)});
  return goOn_;
}

bool FileWalker::RaiseReport(const Report& report) {
  ++reports_;
  reporting_ = true;
  const bool more = report(*this);
  reporting_ = false;
  return more;
}

template <class Search>
unsigned int FileWalker::Visit(Search search) {
  using Outcome = platform::FileReader::Outcome;
  const auto visit = [&](platform::FoundFile& found) {
    std::swap(file_, found);
    const std::string& file = file_.name;
    switch (reader_.Read(file_)) {
      case Outcome::kNotAFile:
        return true;
      case Outcome::kNotOpened:
        return Fail(file, RegularExpression::FileNotOpened, reader_.Error());
      case Outcome::kNotRead:
        return Fail(file, RegularExpression::FileNotRead, reader_.Error());
      case Outcome::kTooLarge:
        return Fail(file, RegularExpression::FileNotSearched, platform::kErrorTooLarge);
      case Outcome::kRead:
        break;
    }
    file_.identity = reader_.Identity();
    try {
      search(reader_.Text());
    } catch (const std::runtime_error&) {
      if (reporting_) throw;
      return Fail(file, RegularExpression::FileNotSearched, 0);
    }
    return true;
  };
  SelectFiles(patterns_, recursion_,
              {select_, visit, [&](const std::string& directory, bool opened, int error) {
                 return Fail(
                     directory,
                     opened ? RegularExpression::FileNotRead : RegularExpression::FileNotOpened,
                     error);
               }});
  return reports_;
}

unsigned int FileWalker::Grep(const Report& report) {
  const auto reportMatch = [&](const boost::cmatch& match) {
    match_ = &match;
    return RaiseReport(report);
  };
  return Visit([&](std::string_view text) {
    lines_ = LineCounter(text.data());
    std::visit(
        [&](const auto& expression) {
          expression.Grep(text.data(), text.data() + text.size(), flags_, reportMatch);
        },
        expression_);
  });
}

unsigned int FileWalker::Find(const Report& report) {
  return Visit([&](std::string_view text) {
    boost::cmatch match;
    const bool found = std::visit(
        [&](const auto& expression) {
          return expression.Search(text.data(), text.data() + text.size(), match, flags_);
        },
        expression_);
    if (found) RaiseReport(report);
  });
}

const std::vector<REMatch>& FileWalker::Marks() const {
  ToMarks(*match_, reader_.Text().data(), marks_);
  return marks_;
}

}  // namespace RegexClass
