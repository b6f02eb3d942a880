#include "files/RegEx.hpp"

#include <cerrno>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "engine/SyntaxTranslation.hpp"
#include "files/FileSelection.hpp"

namespace RegexClass::ombrik {
namespace {

/// The positions that subscribers get are signed numbers of 32 bits.
constexpr std::size_t kLargestFile = std::numeric_limits<std::int32_t>::max();

const std::vector<FilesContinueInfo>* NullIfEmpty(const std::vector<FilesContinueInfo>& problems) {
  return problems.empty() ? nullptr : &problems;
}

}  // namespace

RegEx::RegEx() : reader_(kLargestFile) {}

bool RegEx::SetFilesContinue(bool goOn) { return std::exchange(goOn_, goOn); }

void RegEx::SetLocalizationModel(LocalizationModel model) {
  switch (model) {
    case kWin32Localization:
      expression_.emplace<engine::Expression<engine::W32Traits>>();
      break;
    case kCLocalization:
      expression_.emplace<engine::Expression<engine::CTraits>>();
      break;
    default:
      expression_.emplace<engine::Expression<engine::CppTraits>>();
  }
}

unsigned int RegEx::SetExpression(const char* expression, bool icase) {
  try {
    std::visit(
        [&](auto& compiled) {
          compiled.Compile(expression, engine::kNormal | (icase ? engine::kIcase : 0U));
        },
        expression_);
    return 0;
  } catch (const boost::regex_error& error) {
    return static_cast<unsigned int>(error.code());
  }
}

template <class Search>
unsigned int RegEx::Walk(const char* files, bool recursion, Problems& problems, Search search) {
  using Outcome = platform::FileReader::Outcome;
  problems.clear();
  reporting_ = false;  // after a walk that ended with an exception
  unsigned int reports = 0;
  const auto fail = [&](const std::string& file, FilesContinueKind kind, int number) {
    problems.push_back({file, kind, static_cast<std::uint32_t>(number)});
    return goOn_;
  };

  const auto visit = [&](const std::string& file, std::size_t named) {
    switch (reader_.Read(file.c_str())) {
      case Outcome::kNotAFile:
        return true;
      case Outcome::kNotOpened:
        return fail(file, FilesContinueKind::kNotOpened, reader_.Error());
      case Outcome::kNotRead:
        return fail(file, FilesContinueKind::kNotRead, reader_.Error());
      case Outcome::kTooLarge:
        return fail(file, FilesContinueKind::kNotSearched, EFBIG);
      case Outcome::kRead:
        break;
    }
    file_ = {file, named, reader_.Identity()};
    try {
      search(file, reader_.Text(), reports);
    } catch (const std::runtime_error&) {
      if (reporting_) throw;
      return fail(file, FilesContinueKind::kNotSearched, 0);
    }
    return true;
  };

  // A callback may change the text that was passed.
  const std::string patterns = files;
  SelectFiles(patterns, recursion,
              {visit, [&](const std::string& directory, bool opened, int error) {
                 return fail(directory,
                             opened ? FilesContinueKind::kNotRead : FilesContinueKind::kNotOpened,
                             error);
               }});
  return reports;
}

unsigned int RegEx::GrepFiles(GrepCallback callback, const char* files, bool recursion,
                              boost::match_flag_type flags) {
  return Walk(files, recursion, grepProblems_,
              [&](const std::string& file, std::string_view text, unsigned int& reports) {
                lines_ = LineCounter(text.data());
                const auto report = [&](const boost::cmatch& match) {
                  match_ = &match;
                  ++reports;
                  reporting_ = true;
                  const bool more = callback(file.c_str(), *this);
                  reporting_ = false;
                  return more;
                };
                std::visit(
                    [&](const auto& expression) {
                      expression.Grep(text.data(), text.data() + text.size(), flags, report);
                    },
                    expression_);
              });
}

unsigned int RegEx::FindFiles(FindCallback callback, const char* files, bool recursion,
                              boost::match_flag_type flags) {
  return Walk(files, recursion, findProblems_,
              [&](const std::string& file, std::string_view text, unsigned int& reports) {
                boost::cmatch match;
                const bool found = std::visit(
                    [&](const auto& expression) {
                      return expression.Search(text.data(), text.data() + text.size(), match,
                                               flags);
                    },
                    expression_);
                if (!found) return;
                ++reports;
                reporting_ = true;
                callback(file.c_str());
                reporting_ = false;
              });
}

const std::vector<FilesContinueInfo>* RegEx::FilesContinueErrorsGrep() const {
  return NullIfEmpty(grepProblems_);
}
const std::vector<FilesContinueInfo>* RegEx::FilesContinueErrorsFind() const {
  return NullIfEmpty(findProblems_);
}

unsigned int RegEx::Position(int mark) const {
  const boost::csub_match& part = (*match_)[mark];
  if (!part.matched) return std::numeric_limits<unsigned int>::max();
  return static_cast<unsigned int>(part.first - reader_.Text().data());
}

}  // namespace RegexClass::ombrik
