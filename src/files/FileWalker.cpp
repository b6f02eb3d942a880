// SPDX-License-Identifier: BSL-1.0
#include "files/FileWalker.hpp"

#include <limits>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace RegexClass {
namespace {

/// The positions that subscribers get are signed numbers of 32 bits.
constexpr std::size_t kLargestFile = std::numeric_limits<std::int32_t>::max();

}  // namespace

FileWalker::FileWalker(const Settings& settings,
                       std::shared_ptr<const engine::Expression> expression,
                       const engine::SearchSettings& searchSettings, platform::Links found,
                       Select select)
    : expression_(std::move(expression)),
      searchSettings_(searchSettings),
      foundLinks_(found),
      select_(std::move(select)),
      patterns_(settings.filesToMatch.c_str()),
      recursion_(settings.directoryRecursion),
      goOn_(settings.continueFiles),
      reader_(kLargestFile) {}

RegularExpression::SearchProblemKind KindOfDirectoryProblem(bool opened) {
  return opened ? RegularExpression::FileNotRead : RegularExpression::FileNotOpened;
}

bool FileWalker::Fail(const std::string& file, RegularExpression::SearchProblemKind kind,
                      int number) {
  problems_.push_back({file, kind, static_cast<std::uint32_t>(number)});
  if (reportProblem_) reportProblem_(problems_.back());
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
  SelectFiles(patterns_, recursion_, foundLinks_,
              {select_, visit, [&](const std::string& directory, bool opened, int error) {
                 return Fail(directory, KindOfDirectoryProblem(opened), error);
               }});
  return reports_;
}

unsigned int FileWalker::Grep(const Report& report) {
  const auto reportMatch = [&](const engine::Match& match) {
    match_ = &match;
    return RaiseReport(report);
  };
  return Visit([&](std::string_view text) {
    lines_ = LineCounter(text.data());
    expression_->Grep(text, searchSettings_, reportMatch);
  });
}

unsigned int FileWalker::Find(const Report& report) {
  return Visit([&](std::string_view text) {
    engine::Match match;
    if (expression_->Search(text, searchSettings_, match)) RaiseReport(report);
  });
}

const std::vector<REMatch>& FileWalker::SubMatches() const {
  ToSubMatches(*match_, marks_);
  return marks_;
}

}  // namespace RegexClass
