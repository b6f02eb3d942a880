// The file walker: one expression, searched for in each file of a pattern.
#ifndef REGEXCLASS_FILES_REGEX_HPP
#define REGEXCLASS_FILES_REGEX_HPP

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "engine/Expression.hpp"
#include "matching/MatchVector.hpp"
#include "platform/FileReader.hpp"

namespace RegexClass::ombrik {

/// Where character classes and case come from.
enum LocalizationModel : int {
  kCppLocalization = 0,    // the global std::locale of the moment; the start value
  kCLocalization = 1,      // the C library's current locale
  kWin32Localization = 2,  // the user's system locale
};

enum class FilesContinueKind : std::uint32_t {
  kNotOpened = 0,    // a file or directory can't be opened
  kNotRead = 1,      // a file or directory can't be read to its end
  kNotSearched = 2,  // the engine gave up on a file, or its offsets don't fit
};

/// A file or directory that a walk failed on.
struct FilesContinueInfo {
  std::string file;
  FilesContinueKind kind;
  std::uint32_t number;  // the system's number of the error; 0 where there is none
};

/// Visits files, searches them and calls back, on the caller's thread.
///
/// A walk isn't disturbed by other walkers, on this thread or another. A callback may throw; the
/// exception passes to the caller of the walk.
class RegEx {
 public:
  /// Called for each match, which the walker's last four operations describe during the call.
  /// False asks for no more reports of this file.
  using GrepCallback = bool (*)(const char* file, const RegEx& walker);
  /// Called for each file with a match. False asks for no more reports of this file, of which
  /// there are none anyway.
  using FindCallback = bool (*)(const char* file);

  RegEx();

  /// Whether a walk goes on past what it fails on; if not, it ends there. Gives the former value.
  bool SetFilesContinue(bool goOn);
  /// Chooses the model. Comes before SetExpression().
  void SetLocalizationModel(LocalizationModel model);
  /// Compiles an expression in the Perl syntax. Gives 0, or else the engine's code of the error.
  unsigned int SetExpression(const char* expression, bool icase);

  // Below, only after SetExpression() has given 0. The files are those that
  // RegularExpression::SetFilesToMatch describes.

  /// Reports each match in each file. Gives the number of reports. The matches of a file come
  /// together, ascending and without overlap, when the file has been read and closed.
  unsigned int GrepFiles(GrepCallback callback, const char* files, bool recursion,
                         boost::match_flag_type flags);
  /// Reports each file that holds a match. Gives the number of reports.
  unsigned int FindFiles(FindCallback callback, const char* files, bool recursion,
                         boost::match_flag_type flags);

  /// What the last walk of either kind failed on, in its order; null when there was nothing.
  const std::vector<FilesContinueInfo>* FilesContinueErrorsGrep() const;
  const std::vector<FilesContinueInfo>* FilesContinueErrorsFind() const;

  // The match in hand, during a callback of GrepFiles(). A mark is the whole match (0) or a group.

  /// The file that it lies in.
  const platform::FoundFile& File() const { return file_; }
  unsigned int Marks() const { return static_cast<unsigned int>(match_->size()); }
  /// The offset of a mark from the start of the file; all bits set when it took no part.
  unsigned int Position(int mark) const;
  /// The bytes of a mark; empty when it took no part.
  std::string operator[](int mark) const { return (*match_)[mark].str(); }
  /// The line on which the match begins, from 1.
  unsigned int Line() const { return lines_.At((*match_)[0].first).number; }

 private:
  using Problems = std::vector<FilesContinueInfo>;

  /// Visits the files. `search` searches the text of one and gives the number of its reports.
  template <class Search>
  unsigned int Walk(const char* files, bool recursion, Problems& problems, Search search);

  std::variant<engine::Expression<engine::CppTraits>, engine::Expression<engine::CTraits>,
               engine::Expression<engine::W32Traits>>
      expression_;
  bool goOn_ = true;
  Problems grepProblems_;
  Problems findProblems_;

  platform::FileReader reader_;
  platform::FoundFile file_;
  const boost::cmatch* match_ = nullptr;
  mutable LineCounter lines_{nullptr};  // counts when a line is asked for
  bool reporting_ = false;              // a callback runs, and what is thrown is the callback's
};

}  // namespace RegexClass::ombrik

#endif  // REGEXCLASS_FILES_REGEX_HPP
