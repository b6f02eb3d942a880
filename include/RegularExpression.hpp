// SPDX-License-Identifier: BSL-1.0
// RegexClass: regular expressions through one object.
//
// An application makes a RegularExpression, sets an expression, options, a locale model and the
// text to work on, and calls one operation. The answer is a verdict, a count or a text; the
// matches themselves are plain REMatch records, returned or handed to notifications one by one.
//
//   RegexClass::RegularExpression re;
//   re.SetExpression("(\\w+)@(\\w+)");
//   re.SetStringToMatch("write to ann@example now");
//   std::vector<RegexClass::REMatch> match;
//   if (re.Search(match)) std::cout << "user " << match[1].text << '\n';
//
// What holds everywhere:
//
// - Strings are bytes in std::string. Offsets and lengths count bytes from 0. The lines of reports
//   count from 1 and end at a line feed (value 10) alone; Matches tells where an expression sees
//   the end of a line.
// - Setters store and never fail, whatever value they are given; the work waits for an operation.
// - A failure is a result, not an exception: false, 0 or an empty text, and GetExpressionError()
//   has the reason. What passes to the caller as an exception is what the standard library throws
//   (out of memory), what a notification throws, and what the engine throws when it gives up on a
//   text: boost::regex_error, a std::runtime_error, after runaway backtracking or when a search
//   needs too much memory. The object is then fit for the next operation. An expression for which
//   IsLinear() is true always has an answer. A string to match of more than 2147483647 bytes, whose
//   offsets a position can't tell, is a std::length_error.
// - One search takes up to 512 MiB for the ways that it may have to come back to, where an
//   expression leaves it so many; (a|b|ab)*\1c takes some 100 bytes for each byte it passes.
// - One search passes so many states before the engine gives up: 100,000 more than the greater of
//   N * S * S and N * N, but of the second 100,000,000 at the most, in a text of N bytes and for an
//   expression of S bytes. The limit is the same under each locale model, and SetStepLimit() sets
//   another.
// - Where the engine loses a match, the library finds it, on purpose other than the engine alone:
//   after a lazy repeat with an upper limit at the beginning (.{3,6}?AC), or a greedy one under
//   MatchAny, and where its notes of how a match can go on lack something, as before \> after a
//   repeat (a(?:.b+|A){2,3}\>), before \X or after a group with a case of its own. What is found
//   doesn't depend on what an object has searched before.
// - Matches, the rule on empty ones and the limits are the library's own and the same whatever
//   release of Boost it is built with; they were compared for 1.81, 1.83 and 1.92.
// - One object is for one thread at a time. Different objects may run on different threads. A
//   notification runs on the thread that called the operation, before the operation returns.
// - A library that was loaded with dlopen can be closed again while threads that have used it go
//   on, but not while one of them is ending: join those that end before.
#ifndef REGEXCLASS_REGULAREXPRESSION_HPP
#define REGEXCLASS_REGULAREXPRESSION_HPP

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <locale>
#include <memory>
#include <regexclass_export.h>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <boost/function.hpp>

namespace RegexClass {

class ExpressionState;

/// One sub-match: the whole match, a group, or the text before or after the match.
struct REMatch {
  std::string text;            ///< Its bytes, zero bytes included; empty if it took no part.
  std::int32_t position = -1;  ///< Offset from the start of the string; -1 if it took no part.

  /// Equal in text and position.
  friend bool operator==(const REMatch& a, const REMatch& b) {
    return a.position == b.position && a.text == b.text;
  }
  /// The contrary.
  friend bool operator!=(const REMatch& a, const REMatch& b) { return !(a == b); }
};

namespace detail {

/// The last parameter of what can be called in one way only; void where that can't be told.
template <class Callable>
struct LastParameter {
  using Type = void;
};
template <class... Parameters>
using LastOf = std::tuple_element_t<sizeof...(Parameters), std::tuple<void, Parameters...>>;
template <class Result, class... Parameters>
struct LastParameter<Result (*)(Parameters...)> {
  using Type = LastOf<Parameters...>;
};
template <class Result, class... Parameters>
struct LastParameter<Result (*)(Parameters...) noexcept> {
  using Type = LastOf<Parameters...>;
};
template <class Result, class Class, class... Parameters>
struct LastParameter<Result (Class::*)(Parameters...)> {
  using Type = LastOf<Parameters...>;
};
template <class Result, class Class, class... Parameters>
struct LastParameter<Result (Class::*)(Parameters...) const> {
  using Type = LastOf<Parameters...>;
};
template <class Result, class Class, class... Parameters>
struct LastParameter<Result (Class::*)(Parameters...) noexcept> {
  using Type = LastOf<Parameters...>;
};
template <class Result, class Class, class... Parameters>
struct LastParameter<Result (Class::*)(Parameters...) const noexcept> {
  using Type = LastOf<Parameters...>;
};

template <class Callable, class = void>
struct LastParameterOf : LastParameter<Callable> {};
template <class Callable>
struct LastParameterOf<Callable, std::void_t<decltype(&Callable::operator())>>
    : LastParameter<decltype(&Callable::operator())> {};

template <class Callable>
struct IsStdFunction : std::false_type {};
template <class Signature>
struct IsStdFunction<std::function<Signature>> : std::true_type {};

/// The closure that calls `callable`, of the event with the plain function `Function`; an empty one
/// for null and for an empty std::function.
template <class Function, class Closure, class Callable>
Closure ToClosure(Callable callable) {
  if constexpr (std::is_null_pointer_v<Callable>) {
    return Closure();
  } else {
    using Last = typename LastParameterOf<Callable>::Type;
    static_assert(
        !std::is_same_v<std::remove_cv_t<Last>, bool> && !std::is_same_v<Last, const bool&>,
        "This closure takes its last bool by value, so that setting it to false would stop "
        "nothing: make it a bool&.");
    if constexpr (IsStdFunction<Callable>::value) {
      if (!callable) return Closure();
    }
    if constexpr (std::is_same_v<Callable, boost::function<std::remove_pointer_t<Function>>>) {
      return Closure(static_cast<Closure&&>(callable));  // it is one, with a name of its own
    } else {
      return Closure(std::move(callable));
    }
  }
}

/// A closure on its way into the library and out of it: Boost.Function's own type differs between
/// releases of Boost, and may not cross over.
template <class Function>
using Call = std::function<std::remove_pointer_t<Function>>;

/// What the library keeps of a closure; null for an empty one.
template <class Function, class Closure>
Call<Function> ToCall(Closure closure) {
  if (closure.empty()) return nullptr;
  return Call<Function>(std::move(closure));
}

/// The closure that was kept, or one that calls it where a program with another release set it.
template <class Function, class Closure>
Closure FromCall(const Call<Function>& call) {
  if (const Closure* closure = call.template target<Closure>()) return *closure;
  return call ? Closure(call) : Closure();
}

/// For what the closure's own type doesn't take: enables a setter for everything but numbers.
template <class Callable>
using EnableForClosure = std::enable_if_t<!std::is_arithmetic_v<Callable>>;

/// Enables a setter for what becomes a std::string_view by itself, but no std::string.
template <class Text>
using EnableForView = std::enable_if_t<std::is_convertible_v<const Text&, std::string_view> &&
                                       !std::is_convertible_v<const Text&, std::string>>;

}  // namespace detail

/// A regular expression with all that belongs to its use.
///
/// A copy takes over the settings and the notifications, and compiles afresh; nothing is shared
/// with its source, and its std::locale is the global one, not the source's. A move takes over
/// everything, std::locale and compiled expressions included.
class REGEXCLASS_EXPORT RegularExpression {
 public:
  /// How the text of an expression is read. The numbers are fixed.
  ///
  /// The first thirteen are switches; the rest name a syntax, which is a set of switches.
  enum Options : int {
    EscapeInLists = 0,  ///< A backslash is special inside a bracket list.
    CharClasses = 1,    ///< Named classes such as [:alpha:] are allowed in a bracket list.
    Intervals = 2,      ///< Bounded repeats such as a{2,3} are allowed.
    LimitedOps = 3,     ///< Plus sign, question mark and vertical bar are ordinary characters.
    NewlineAlt = 4,     ///< A line feed separates alternatives.
    BkPlusQm = 5,       ///< The repeats are written \+ and \?; without the backslash, ordinary.
    BkBraces = 6,       ///< A bounded repeat is written a\{2,3\}.
    BkParens = 7,       ///< A group is written \(a\).
    BkRefs = 8,         ///< Back references \1 to \9 are allowed.
    BkVbar = 9,         ///< Alternatives are separated by \|.
    Literal = 10,       ///< Every character stands for itself.
    Icase = 11,         ///< Letters match regardless of case.
    NoCollate = 12,     ///< A range such as [a-z] goes by byte value, not by the locale's order.

    BasicSyntax = 13,     ///< POSIX basic: CharClasses, Intervals, LimitedOps, BkBraces,
                          ///< BkParens, BkRefs.
    ExtendedSyntax = 14,  ///< POSIX extended: CharClasses, Intervals, BkRefs.
    NormalSyntax = 15,    ///< The Perl syntax of the engine: EscapeInLists, CharClasses,
                          ///< Intervals, BkRefs, NoCollate. The start value.
    EmacsSyntax = 16,     ///< BkBraces, BkParens, BkRefs, BkVbar.
    AwkSyntax = 17,       ///< EscapeInLists, CharClasses, Intervals, BkRefs.
    GrepSyntax = 18,      ///< BasicSyntax and NewlineAlt.
    EgrepSyntax = 19,     ///< ExtendedSyntax and NewlineAlt.
    SedSyntax = 20,       ///< Another name for BasicSyntax.
    PerlSyntax = 21,      ///< Another name for NormalSyntax.
  };

  /// How a compiled expression is run against a text. The numbers are fixed.
  ///
  /// 1 to 8 are restrictions and exclude MatchDefault; 9 to 12 are modifiers and stand beside it.
  ///
  /// To an expression a line ends at a line feed, a carriage return or a form feed, and under
  /// UnicodeLocale also at U+0085, U+2028 and U+2029: `$` matches before each of them, `^` after
  /// it, but neither between a carriage return and a line feed; `\Z` takes all that stand at the
  /// end of the text. A dot matches them all unless MatchNotDotNewline or (?-s) says otherwise.
  enum Matches : int {
    MatchDefault = 0,        ///< No restriction. The start value.
    MatchNotBol = 1,         ///< The first character is not the start of a line.
    MatchNotEol = 2,         ///< The last character is not the end of a line.
    MatchNotBob = 3,         ///< The first character is not the start of the buffer.
    MatchNotEob = 4,         ///< The last character is not the end of the buffer.
    MatchNotBow = 5,         ///< The first character is not the start of a word.
    MatchNotEow = 6,         ///< The last character is not the end of a word.
    MatchNotDotNewline = 7,  ///< A dot doesn't match what ends a line.
    MatchNotDotNull = 8,     ///< A dot doesn't match a zero byte.
    MatchAny = 9,            ///< Any match will do, the first found rather than the best.
    MatchNotNull = 10,       ///< An empty match is not accepted.
    MatchContinuous = 11,    ///< A match must begin where the range begins, in a walk where the
                             ///< last match ended; after an empty one also a character further.
    MatchPartial = 12,       ///< A text that ends while a match is still possible counts as a
                             ///< match, reported with an entry 0 that took no part. Acts on Match,
                             ///< MatchAll, Search and Grep alone.
  };

  /// The syntax of the format string. The numbers are fixed.
  enum FormatTypes : int {
    FormatAll = 0,   ///< The engine's syntax with all its extensions. The start value.
    FormatSed = 1,   ///< As sed has it.
    FormatPerl = 2,  ///< As Perl has it.
  };

  /// Where character classes, case and collation come from. The numbers are fixed.
  ///
  /// Each model keeps a compiled expression of its own: a change of model loses nothing.
  enum LocaleModels : int {
    CppLocale = 0,  ///< The std::locale of SetLocale. The start value.
    W32Locale = 1,  ///< The user's system locale, from LC_ALL and its like in the environment, of
                    ///< the moment when the object first compiles under this model; the classic
                    ///< one when that isn't installed. The standard library has classes, case and
                    ///< order for single bytes only, so that a letter that takes several is no
                    ///< letter under any model.
    CLocale = 2,    ///< The C library's current locale, as setlocale has left it. An operation
                    ///< compiles again when setlocale has put another name to LC_CTYPE or
                    ///< LC_COLLATE since; setlocale must not be called while another thread
                    ///< compiles or matches under this model.
    /// Unicode: the expression, the text and the format are UTF-8, and a character is a code
    /// point, however many bytes it takes. Offsets, lengths and lines stay those of bytes, and no
    /// match begins or ends inside a character. Classes and case are Unicode's, of a character for
    /// a character: ß is not SS. \p{L}, \p{Greek}, \p{Alphabetic}, also inside lists, are the
    /// properties that ICU names. Where case doesn't count, properties, classes and ranges have all
    /// that differs from one of their members by case alone; under the other models the ends of a
    /// range are taken in small letters then, so that [Z-a] is a BadRange and [A-z] is [a-z]. The
    /// order of characters is that of the locale of SetLocale, by its name. A byte that isn't part
    /// of well-formed UTF-8 is a character without class or property: a dot, \X, \C and what is
    /// negated ([^a], \W, \P{L}) match it and nothing else. It comes through every operation as it
    /// is; in an expression it stands for U+FFFD. In a build of the library without ICU each
    /// expression is an UnknownEngineError under this model.
    UnicodeLocale = 3,
  };

  /// What came of a compile. The numbers are fixed.
  enum ExpressionErrorCode : int {
    NoError = 0,
    NoExpression = 1,                ///< The expression is empty; nothing was compiled.
    BadPattern = 2,                  ///< Invalid pattern, also a bad Perl sequence such as (?z).
    BadCollation = 3,                ///< Undefined collating element.
    BadCharacterClass = 4,           ///< Invalid character class name.
    TrailingEscape = 5,              ///< A backslash with nothing, or nothing proper, after it.
    BadBackReference = 6,            ///< A back reference to a group that doesn't exist.
    UnmatchedBracket = 7,            ///< A bracket list without end.
    UnmatchedParenthesis = 8,        ///< A group without end.
    UnmatchedBrace = 9,              ///< A bounded repeat without end.
    BadBraceContents = 10,           ///< A bounded repeat with bounds that make no sense.
    BadRange = 11,                   ///< A range in a bracket list that ends before it begins.
    OutOfSpace = 12,                 ///< Too complex for the engine, or nested too deep.
    BadRepeat = 13,                  ///< Nothing that can be repeated precedes a repeat.
    UnexpectedEnd = 14,              ///< Never returned: the engine has other codes for it.
    TooBig = 15,                     ///< Reserved; never returned.
    UnmatchedRightParenthesis = 16,  ///< The end of a group that has no beginning.
    EmptyPattern = 17,        ///< Never returned: an empty expression is NoExpression, an empty
                              ///< alternative is good.
    OutOfMemory = 18,         ///< Never returned: a lack of memory is a std::bad_alloc.
    UnknownEngineError = 19,  ///< UnicodeLocale without ICU or its data, or a fault of the engine.
    /// The message catalogue or a facet of the locale failed. Remembered like any failure, so that
    /// nothing is tried again before a setting changes that makes the expression compile again.
    /// GetExpressionError() has the text only on an object that hasn't compiled with success under
    /// the model, or failed since.
    LocaleDllFailure = 20,
  };

  /// What a walk over files has found in a directory. The numbers are fixed.
  enum EntryKinds : int {
    DirectoryEntry = 0,
    LinkEntry = 1,   ///< A symbolic link, whatever it leads to.
    FileEntry = 2,   ///< A regular file.
    OtherEntry = 3,  ///< A pipe, a device and the like, which is never opened.
  };

  /// What a search through files failed at. The numbers are fixed.
  enum SearchProblemKind : std::uint32_t {
    FileNotOpened = 0,    ///< The file or directory can't be opened.
    FileNotRead = 1,      ///< The file or directory can't be read to its end.
    FileNotSearched = 2,  ///< The engine gave up on the file, or the file is too large.
  };

  /// One file, or directory, that GrepFiles or FindFiles failed on.
  struct FileSearchProblem {
    std::string file;                        ///< As a notification would get it.
    SearchProblemKind kind = FileNotOpened;  ///< What failed.
    std::uint32_t code = 0;  ///< The system's number of the error (errno); 0 where there is none.
  };

  /// What failed while ChangeFiles or RewriteFile rewrote a file. The numbers are fixed.
  enum ChangeProblemKind : std::uint32_t {
    OpenFileFailed = 0,         ///< The file, or directory, can't be opened or read before its
                                ///< rewriting, is locked with flock by another program, isn't the
                                ///< file any more that was searched, or has been written to since
                                ///< (lastError 0).
    CreateTemporaryFailed = 1,  ///< No temporary file could be made; `file` is "NoName".
    ReadFileFailed = 2,        ///< A read failed, or the file has become too short for its matches;
                               ///< `position` is the offset that was reached.
    WriteTemporaryFailed = 3,  ///< A write to the temporary file failed: `file` is its name and
                               ///< `position` the offset that was reached in it.
    TextChanged = 4,           ///< At `position` the file no longer has the match `text`.
    SaveCopyFailed = 5,        ///< The saved copy can't be written; `file` is its name.
    ReplaceFileFailed = 6,     ///< The new content can't take the place of the old, for want of
                               ///< permission or space, because another file has the name now,
                               ///< or because the file has several names (EMLINK).
    RestoreAttributesFailed = 7,  ///< The file has been changed, but its mode couldn't be put back.
  };

  /// What ChangeFiles or RewriteFile failed at in one file. Unless the kind is
  /// RestoreAttributesFailed, the file has the content that it had before.
  struct FileChangeProblem {
    std::string file;                         ///< The file in hand, unless the kind says otherwise.
    ChangeProblemKind kind = OpenFileFailed;  ///< What failed.
    std::uint32_t position = 0;   ///< Offset in bytes (its low 32 bits); 0 where the kind has none.
    std::string text;             ///< The match, for TextChanged; else empty.
    std::uint32_t lastError = 0;  ///< The system's error number (errno); 0 for TextChanged, for a
                                  ///< file that ended too early, was written to while it was
                                  ///< rewritten, or made the engine give up.
  };

  // ------------------------------------------------------------------- construction and value

  /// An object without an expression, in NormalSyntax, with the global std::locale.
  RegularExpression();
  /// Copies settings and notifications. See the class for what stays behind.
  RegularExpression(const RegularExpression& source);
  /// Takes over everything; the source is like a new object afterwards. Ends the process when there
  /// is no memory for a new one.
  RegularExpression(RegularExpression&& source) noexcept;
  /// Not to be called from a notification of the object.
  virtual ~RegularExpression();

  /// Copies settings and notifications. The target keeps its std::locale and its lists of problems,
  /// and compiles afresh at the next operation. Assigning an object to itself does nothing.
  RegularExpression& operator=(const RegularExpression& source);
  /// Takes over everything; the source is like a new object afterwards. Ends the process when there
  /// is no memory for that.
  RegularExpression& operator=(RegularExpression&& source) noexcept;

  /// Exchanges everything: settings, notifications, std::locale, compiled expressions and the lists
  /// of problems. In a notification it does to the running operation what setting everything anew
  /// does. A swap(a, b) does the same.
  void Swap(RegularExpression& other) noexcept;

  /// True when all settings are equal: both option sets, the strings, the enumerations and the
  /// plain settings. The std::locale, the notifications and the results of operations don't count.
  bool operator==(const RegularExpression& other) const;
  bool operator!=(const RegularExpression& other) const { return !(*this == other); }

  // --------------------------------------------------------------------------- plain settings

  /// The regular expression as text, empty at the start. A text ends at its first zero byte.
  std::string GetExpression() const;
  /// Setting the text that is already there keeps the compiled expression.
  void SetExpression(const std::string& expression);
  void SetExpression(std::string&& expression);
  template <class Text, class = detail::EnableForView<Text>>
  void SetExpression(const Text& expression) {
    SetExpression(std::string(std::string_view(expression)));
  }

  /// The text that the operations on a string work on; zero bytes are characters like any other.
  std::string GetStringToMatch() const;
  void SetStringToMatch(const std::string& text);
  /// Takes the text over without a copy.
  void SetStringToMatch(std::string&& text);
  template <class Text, class = detail::EnableForView<Text>>
  void SetStringToMatch(const Text& text) {
    CopyStringToMatch(std::string_view(text));
  }

  /// The pattern of the files that the operations on files work on; empty, the start value, for
  /// none. It ends at its first zero byte.
  ///
  /// A pattern is a path, relative to the current directory or not. `*`, `?` and bracket sets such
  /// as [a-z] in its components stand for names by the rules of fnmatch(3), under the C library's
  /// current locale; a dot at the start of a name is matched by a dot alone. A backslash takes the
  /// meaning from the character after it. Several patterns stand in one text with `;` between
  /// them, and a `;` of a name is written `\;`.
  ///
  /// Files come pattern by pattern, and for each in the byte order of their names, a directory's
  /// own files before those below it. They are named as the pattern leads to them. A file that is
  /// reached again, through another pattern or a link, isn't visited again; two hard links are two
  /// files. ChangeFiles passes over links that no pattern spells out, whatever they lead to.
  ///
  /// Only regular files are visited, and links to them. Directories, pipes, devices and links that
  /// lead nowhere are passed over and are no problem; neither is a pattern that selects nothing.
  ///
  /// On Windows `\` separates as `/` does, nothing is escaped, case and a dot at the start make no
  /// difference, and `*.*` stands for all names. Devices such as NUL and COM1, pipes and streams
  /// are passed over. Names have any length and are in the code page of the process; a file with a
  /// name that isn't text in it isn't visited, and its directory is reported.
  std::string GetFilesToMatch() const;
  void SetFilesToMatch(const std::string& pattern);
  template <class Text, class = detail::EnableForView<Text>>
  void SetFilesToMatch(const Text& pattern) {
    SetFilesToMatch(std::string(std::string_view(pattern)));
  }

  /// Whether the last component of a file pattern is also applied in every directory below its
  /// own, hidden ones included. Links to directories are not followed then. Starts false.
  bool GetDirectoryRecursion() const;
  void SetDirectoryRecursion(bool recursion);

  /// Whether the operations on files go on past a file that fails. Starts true.
  bool GetContinueFiles() const;
  void SetContinueFiles(bool continueFiles);

  /// The extension of the copy that ChangeFiles keeps of each changed file; empty, the start value,
  /// for none. It is given without its dot, which would stand twice in the name.
  std::string GetSaveExtension() const;
  void SetSaveExtension(const std::string& extension);

  /// Whether a saved copy never replaces anything: when its name is taken, that is a SaveCopyFailed
  /// (EEXIST), and the file stays unchanged. Nothing gets in between, so that two runs over one
  /// tree keep every original. A file of the same content and owner is taken for the copy. False at
  /// the start, by which the copy replaces what has its name. Goes with the notifications: copied
  /// with the object, not compared and not in its stream.
  bool GetKeepCopies() const;
  void SetKeepCopies(bool keep);

  /// Whether files with several names (hard links) are rewritten that a wildcard or the recursion
  /// has come to. Starts false: such a file is left alone and listed, as a ReplaceFileFailed
  /// (EMLINK), since another name may be in a directory where anybody can put it. One that is
  /// spelled out is rewritten in any case, for all of its names. Goes with the notifications.
  bool GetChangeHardLinks() const;
  void SetChangeHardLinks(bool change);

  /// Whether ChangeFiles brings the new content of many files to the device at a time, which takes
  /// a fraction of the time where there are many small ones. Up to 64 files then wait for each
  /// other, open and locked, before they take their names one after the other; counts, problems and
  /// their order stay the same, but a file may not be changed yet when a notification tells of one
  /// after it. Starts false. Has no effect with SetContinueFiles(false), nor on Windows. Goes with
  /// the notifications.
  bool GetSyncTogether() const;
  void SetSyncTogether(bool together);

  /// How many steps the engine may take in one search of an operation, on a string or on files,
  /// before it gives up; 0, the start value, for the limit that the head of this file tells of. A
  /// step is a state that the engine passes, some nanoseconds; a look at a text that is repeated
  /// (\1) counts as one for each KB besides. An operation looks for each match, and for the end of
  /// the matches, with a search of its own. What a search needs depends on its text alone and not
  /// on the machine, but where other ways to search help, less of it is the engine's. An expression
  /// for which IsLinear() is true has its answer whatever the limit. A search can go on for some
  /// steps a byte of the text beyond the limit. Goes with the notifications.
  unsigned long long GetStepLimit() const;
  void SetStepLimit(unsigned long long steps);

  /// What a match is turned into, in the syntax of the format type. It ends at its first zero
  /// byte. More than 100 groups inside each other, a condition counting as two, are a
  /// boost::regex_error of what formats; in ChangeFiles, a problem of the file.
  std::string GetFormatString() const;
  void SetFormatString(const std::string& format);
  template <class Text, class = detail::EnableForView<Text>>
  void SetFormatString(const Text& format) {
    SetFormatString(std::string(std::string_view(format)));
  }

  /// The syntax of the format string. The case that \U, \L, \u and \l of a format give is that of
  /// the C library's current locale in Format and in Merge with a subscriber, that of the locale
  /// model in Merge without one and in ChangeFiles.
  FormatTypes GetFormatType() const;
  void SetFormatType(FormatTypes type);

  /// Whether a merge copies the text outside the matches too. Starts false.
  bool GetMergeCopy() const;
  void SetMergeCopy(bool copy);
  /// Whether a merge stops after the first match. Starts false.
  bool GetMergeOnlyFirst() const;
  void SetMergeOnlyFirst(bool onlyFirst);

  /// The most strings that one split makes; 0, the start value, for no limit.
  unsigned long GetMaximumSplits() const;
  void SetMaximumSplits(unsigned long maximum);
  /// Whether a split leaves only the unused rest in the string to match. Starts false.
  bool GetSplitInputDelete() const;
  void SetSplitInputDelete(bool inputDelete);

  // ------------------------------------------------------------------------------ compilation

  /// Compiles the expression under the current options and locale model, unless the outcome of
  /// doing that is already known; a failure is remembered like a success. Every operation that
  /// needs an expression calls this by itself, so that an application calls it only to try one.
  ExpressionErrorCode ParseExpression();

  /// Why the last compile under the current locale model failed, in the engine's words; an empty
  /// text when it didn't, and as soon as a setting has changed that makes the expression compile
  /// again. "Empty expression" when there is none. Never compiles.
  std::string GetExpressionError() const;
  /// Where in the expression the compile has failed: the offset in bytes from its start, at most
  /// its length; -1 when GetExpressionError() tells of no failed compile, and for what has no place
  /// or whose place the engine doesn't tell (a message catalogue, a look-behind without a fixed
  /// length, a recursion that leads nowhere). Offsets are those of the expression as it was set,
  /// whatever its syntax. Never compiles.
  std::ptrdiff_t GetExpressionErrorPosition() const;

  /// Whether Search, and MatchAll, under the present settings take a time that at worst grows in
  /// proportion to the length of the text, whatever the text, compiling first if need be; false
  /// when the compile fails. Of a walk that goes for each of its matches, so that the whole can
  /// still take a time with the square of the length.
  ///
  /// True for a regular expression: without back references, look-around, atomic groups and
  /// possessive repeats, recursion, conditionals, verbs, \K, \G, \X and \Z, with letters that all
  /// go by case or all don't, of a size that can be handled; without the options MatchAny,
  /// MatchContinuous and MatchPartial; and, in the syntaxes that take the longest match, where a
  /// text leaves no choice of how its groups take part. Under UnicodeLocale only for one that can't
  /// match the empty text, doesn't ask for the ends of lines or words, and has neither a dot nor
  /// anything negated; what is false here may become true in a later release.
  bool IsLinear();

  /// The number of marked groups, not counting the whole match, compiling first if need be; 0
  /// when the engine refuses the expression. A LocaleDllFailure leaves the number of the compile
  /// before.
  unsigned int NumberOfSubexpressions();
  /// The same without compiling: 0 when the expression hasn't been compiled yet.
  unsigned int NumberOfSubexpressions() const;

  // ----------------------------------------------------------------------------------- locale

  /// Where classes, case and collation come from. CppLocale at the start.
  LocaleModels GetLocaleModel() const;
  /// Stores any value; one that is no model counts as CppLocale, but NumberOfSubexpressions() and
  /// GetExpressionError() tell nothing under it. Has no effect while the object walks: in
  /// OnGrepping, OnMerging and OnChangingFiles, and in OnSelectingFiles of ChangeFiles.
  void SetLocaleModel(LocaleModels model);

  /// The locale of the models CppLocale and UnicodeLocale; at the start, the global one of that
  /// moment.
  std::locale GetLocale() const;
  /// Makes these models compile again, under this locale, also when it is the one that is
  /// already there. A facet of the locale that throws a std::runtime_error when the engine uses it
  /// is a LocaleDllFailure.
  void SetLocale(const std::locale& locale);

  /// The name of the message catalogue, empty at the start and for none: texts in the user's
  /// language for the models CppLocale and W32Locale. The others use none.
  std::string GetLocaleDll() const;
  /// Setting the name that is already there keeps the compiled expression; another one makes the
  /// models CppLocale and W32Locale compile again. No file is touched before that.
  ///
  /// A catalogue is a file made with gencat; docs/catalogues.md tells what belongs in it. When the
  /// part of `name` after the last slash or backslash holds a dot, that file is the catalogue.
  /// Else it is the first that loads of name.LlC, name.Ll and name.dll, where Ll are the first two
  /// bytes of what the user's language is called in that language, and C is the first byte of what
  /// the country is called: name.DeD and name.De for Deutsch and Deutschland. The user's language
  /// is that of LC_ALL, LC_MESSAGES or LANG, the first that is set. A name without a slash is
  /// looked for in the current directory, then along NLSPATH.
  ///
  /// On Windows a catalogue is a DLL with a table of strings, of which no code is run; the user's
  /// language is that of the user's default locale. A name without a slash or backslash is looked
  /// for in the directory of the application alone, so that nobody else's file is taken for it.
  ///
  /// That no catalogue loads is no error: the engine's own texts apply then. One that loads but
  /// can't be read afterwards is a LocaleDllFailure.
  ///
  /// The catalogue of a model is in force for the whole process: the object that compiles brings
  /// its own into force first. What is compiled keeps the texts that it was compiled with. The
  /// library's own texts from a catalogue, such as the one for an empty expression, stay with the
  /// object that has read them, also when the name is changed to one that doesn't load. An object
  /// reads them when it brings a catalogue into force, not when it finds its own there already.
  void SetLocaleDll(const std::string& name);

  // ------------------------------------------------------------------------------ option sets

  /// Adds an option. Adding a syntax adds its switches, and removes the former syntax with those
  /// of its switches that the new one lacks. Adding a switch lets the set take the name of the
  /// syntax whose switches are now all there, whatever others are there: the first that fits of
  /// NormalSyntax, GrepSyntax, BasicSyntax, AwkSyntax, EgrepSyntax, ExtendedSyntax and EmacsSyntax,
  /// or PerlSyntax or SedSyntax where the set has that name already. An option that is there
  /// changes nothing and keeps the compiled expression.
  void AddExpressionOption(Options option);
  /// Removes an option. Removing a syntax removes its switches; removing a switch removes the
  /// name of the syntax that it belonged to, and never gives the set another. An option that isn't
  /// there changes nothing and keeps the compiled expression.
  void DeleteExpressionOption(Options option);
  bool IsExpressionOption(Options option) const;
  /// Removes all options; what is left is an expression syntax without any switch.
  void ClearExpressionOptions();

  /// Adds an option. MatchDefault removes the restrictions, a restriction removes MatchDefault.
  /// Changing match options never makes an expression compile again.
  void AddMatchOption(Matches option);
  /// Removes an option. MatchDefault comes back when the last restriction goes; removed itself, it
  /// stays away, and a set without it means the same.
  void DeleteMatchOption(Matches option);
  bool IsMatchOption(Matches option) const;
  /// Removes all options, MatchDefault included.
  void ClearMatchOptions();

  // ------------------------------------------------------ operations on the string to match
  //
  // Each compiles if need be, and returns its failure value when that fails. With no subscriber to
  // its notification, and no vector to fill, an operation costs what the engine costs: no REMatch
  // is made. A report costs a copy of the whole text, since its vector holds what lies before and
  // after the match, unless SetReportContext() says otherwise.
  //
  // Expressions in NormalSyntax take the first match that Perl would take; all other syntaxes take
  // the longest of the leftmost matches.
  //
  // Match, MatchAll, Search and Grep also return their matches: the whole match and each group
  // in order, without the text before and after. What was there is replaced on success, and gone
  // otherwise, also when something throws. The notification is raised as ever.

  /// True when the leftmost match begins at the first character; it need not reach the end.
  /// Raises OnMatching then.
  bool Match();
  bool Match(std::vector<REMatch>& match);

  /// True when the expression matches the string from its first character to its end. Raises
  /// OnMatching then.
  bool MatchAll();
  bool MatchAll(std::vector<REMatch>& match);

  /// True when there is a match anywhere. Raises OnSearching with the leftmost one.
  bool Search();
  bool Search(std::vector<REMatch>& match);

  /// Walks through the string from match to match, raises OnGrepping for each, and returns the
  /// number of matches, 0 on every failure.
  ///
  /// Matches don't overlap. After an empty match the walk first looks for one that isn't empty at
  /// the same place, and then goes one character on. A match that reaches the end of the string is
  /// the last, unless it began where an empty one had been: x* on "ax" has two matches, an empty
  /// one and "x". The walk goes on with the string, the expression, the options and the subscriber
  /// that it started with, whatever a notification sets, and whatever other operations it starts
  /// on the object.
  unsigned int Grep();
  unsigned int Grep(std::vector<std::vector<REMatch>>& matches);

  /// Replaces the content of `out` by what the format string makes of the match that is being
  /// reported: inside OnMatching, OnSearching, OnGrepping and OnMerging. Leaves it empty at any
  /// other time, and within OnMatching and OnSearching once the string to match has been set.
  ///
  /// Of operations that a notification starts on its own object, a Grep or a Merge inside a report
  /// of Grep or Merge ends the results, so that Format returns nothing after it. A Match, a
  /// MatchAll or a Search there leaves them: Format goes on with the outer match, and the vector of
  /// the inner notification is that of the outer match too, but not the line and the line start,
  /// which are the inner match's. Inside OnMatching and OnSearching it is the other way round: a
  /// Match, a MatchAll or a Search ends the results.
  ///
  /// A format type that is no enumerator counts as FormatAll.
  void Format(std::string& out) const;

  /// Replaces the content of `out` by the string with each match replaced by what the format
  /// string makes of it, by the settings MergeCopy and MergeOnlyFirst; the matches are those of
  /// Grep, empty ones included. The string to match stays as it is. Returns false, and leaves `out`
  /// empty, when the compile fails, and true else, also without a match and when a notification has
  /// ended the run. Leaves `out` empty when something throws.
  ///
  /// With no subscriber to OnMerging the engine does it all and reads the format string in the
  /// syntax of FormatAll, whatever the format type. With one, the event is raised before each
  /// replacement, which is then made in the syntax of the format type, by the settings that the
  /// notification has left. A notification that sets its bool to false leaves that match as it is
  /// and ends the run. What Grep promises on changes made by a notification holds here too; of the
  /// settings, MergeOnlyFirst counts as it was at the start, and MergeCopy at each match. That is
  /// to be set before the run: what was passed over while it was false isn't skipped later. Where
  /// a becomes x in banana, switching it on at the second match makes xxananx.
  bool Merge(std::string& out);

  /// Cuts the string to match into `pieces`, whose content is replaced, and returns their number.
  ///
  /// Without groups, the expression matches separators, and the pieces are the texts between
  /// them: no piece comes of a separator in front of everything, and none of the end when a
  /// separator stands there. With groups, the pieces are the texts of the groups of each match, an
  /// empty one for a group that took no part. An empty string has no pieces, and nothing is
  /// compiled for it. With no expression at all the expression is `\s+`, or has the letter of the
  /// message catalogue, in the syntax of the object: the string is cut at white space where that
  /// means so, not with Literal, LimitedOps or BkPlusQm, of which BasicSyntax, GrepSyntax and
  /// SedSyntax have one.
  ///
  /// MaximumSplits limits the pieces of one call, also amid the groups of a match. With
  /// SplitInputDelete the part of the string that was used up is taken off it, so that calling
  /// again goes on after it. On failure there are no pieces, and the string stays as it is. When
  /// something throws, the pieces that were cut until then are there, the string stays as it is,
  /// and an object without an expression keeps the one for white space.
  unsigned int Split(std::vector<std::string>& pieces);

  // -------------------------------------------------------------------- operations on files
  //
  // These visit each file that the file pattern selects, in order, and search its bytes. The
  // expression is read in the Perl syntax whatever the syntax of the object; of the expression
  // options only Icase counts, of the match options all but MatchPartial. Classes and case come
  // from the locale model, for CppLocale from the global std::locale and not that of SetLocale.
  //
  // With an empty expression or file pattern, or an expression that is no good in the Perl syntax,
  // nothing is visited and the result is 0. The expression is also parsed as the object has it,
  // for GetExpressionError(), which changes nothing in the operation. The walk knows nothing of the
  // message catalogue, and reads the expression in the engine's own characters and class names.
  //
  // A file is read whole into memory, up to its end whatever size it tells, and is closed again
  // before the first report of it. One of more than 2147483647 bytes isn't searched, since
  // positions couldn't tell where a match is: FileNotSearched, with the code EFBIG. Neither is the
  // rest of a file on which the engine gives up: FileNotSearched, with the code 0. What was
  // reported of it up to there stays reported and counted.
  //
  // With GetContinueFiles() false, the walk ends at the first problem; else it never ends early.
  // A notification can't end it, but by throwing: the exception passes to the caller, with the
  // list of problems left empty. A notification may start operations on files, on any object, and
  // change any setting, which has no effect on the running walk, but for some of ChangeFiles; the
  // subscriber, though, is looked up at each report.

  /// The names of the files that GrepFiles and FindFiles would visit, in that order, links to files
  /// among them. Raises OnSelectingFiles as they do. Needs no expression, and opens no file, so
  /// that what can't be read is named, too. A name of any length can be given to SetFilesToMatch,
  /// with a backslash before each character in it that a pattern has a use for.
  ///
  /// ChangeFiles doesn't visit links that no pattern spells out: with a notification that answers
  /// false for each LinkEntry the names are those that it would visit.
  std::vector<std::string> SelectFiles();

  /// Raises OnGreppingFiles for each match in each file, and returns the number of matches. A match
  /// for which the notification answers false is the last one of its file, and counts.
  unsigned int GrepFiles();

  /// Raises OnFindFiles for each file in which there is a match, and returns the number of files.
  /// Stops searching a file at its first match.
  unsigned int FindFiles();

  /// What the latest SelectFiles, GrepFiles or FindFiles failed on, in the order of the walk; null
  /// when there was nothing. Valid until that operation is called again, or the object is moved
  /// from, swapped or ends; a copy starts without.
  const std::vector<FileSearchProblem>* GetSelectFilesErrors() const;
  const std::vector<FileSearchProblem>* GetGrepFilesErrors() const;
  const std::vector<FileSearchProblem>* GetFindFilesErrors() const;

  /// During a notification of an operation on files, the whole content of the file that is being
  /// reported, which the match's position counts in; of the innermost one where they run inside
  /// each other. Valid during the notification; empty at all other times.
  std::string_view GetFileContent() const;

  /// Replaces the matches in each file, and returns the number of matches replaced in files that
  /// have been rewritten.
  ///
  /// For each match OnChangingFiles is raised, with the file as it is before any of its changes; a
  /// notification that answers false leaves this match and the rest of the file as they are. The
  /// replacement is what the format string makes of the match, in the syntax of FormatAll whatever
  /// the format type; an empty format string deletes. MergeCopy and MergeOnlyFirst aren't asked. It
  /// is made by the expression as the object has it, options included, from the matched text alone:
  /// an expression that asks for something beside its match (\b at its edge, (?=x) after it), or a
  /// match option that forbids what is now at the edge, may find nothing in there, and the match is
  /// then replaced by itself.
  ///
  /// Three settings count as a notification leaves them: the format string for the match that is
  /// reported, so that a replacement can be chosen match by match; the save extension for the file
  /// in work, when it is rewritten; GetContinueFiles() when a file has failed.
  ///
  /// A file is rewritten when the next one has its first match, the last one when the walk is
  /// over. A file without a match isn't touched, nor is one whose replacements all equal their
  /// matches, which count. Files that have the save extension already, in upper or lower case, and
  /// files that no one has the permission to write to are passed over, which is asked once, at the
  /// first match.
  ///
  /// What happens to your files
  ///
  /// - The old content or the new: the new one is written to a new file beside the old, brought to
  ///   the device, and then takes the name, with owner, mode, access list and extended attributes
  ///   of the old file. So the name leads to the old content or the new at every moment, whatever
  ///   kills the process, and after a power loss, too: never to neither. (A saved copy is on the
  ///   device before that.) A kill can leave a file named .Regex and a number. Which of the two a
  ///   power loss leaves is open for some seconds after the operation.
  /// - Written over: where that can't be done or can't keep what belongs to the file (it has
  ///   several hard links, its owner or attributes can't be set, nothing can be renamed in the
  ///   directory, the file is a mount point), the bytes are written over. Space is reserved before
  ///   the first one, and the old content is put back when the device fails after that. A device
  ///   that doesn't take that either, a process that is killed in these moments and a power loss
  ///   until the system has written it all can then leave a mixture.
  /// - Others who write: a file is opened once for its rewriting, must be the one that was
  ///   searched, and is locked with flock from then on (other kinds of locks aren't seen). One that
  ///   changes after that is left alone: OpenFileFailed with lastError 0. A program that holds the
  ///   file open keeps reading and writing the old content, which has no name any more: let a
  ///   program that appends to a log open it anew. On Windows a file that a program has open for
  ///   writing, or doesn't let others delete, isn't rewritten.
  /// - Links: one that the pattern spells out is followed, and the file behind it changed. Any
  ///   other, which a wildcard or the recursion has come to, is passed over as if it weren't there,
  ///   so that nobody who may write to a directory in the walk can have another file changed in
  ///   place of his own.
  /// - Hard links: a file with several names is rewritten when the pattern spells one out or
  ///   SetChangeHardLinks() allows it, for all of its names; else it is left alone and listed:
  ///   ReplaceFileFailed, EMLINK.
  /// - Holes of a sparse file stay holes (not on Windows).
  /// - Copies: with a save extension, the old content is copied to the file's name with that
  ///   extension in place of what stands after its last dot (with the dot searched for in the
  ///   whole path, and appended when there is none). The copy replaces whatever has that name, a
  ///   link too, when it is whole, unless SetKeepCopies() says otherwise; so two files that differ
  ///   in their extension alone share one. It gets the owner, the permissions and the access list
  ///   of the file, or less where they can't be set: nobody can read it who may not read the file.
  ///   On Windows it gets the access list and the streams, and its owner is who runs the program.
  ///   It stays when the file can't be replaced after all.
  /// - Nothing in silence: what fails in one file is a FileChangeProblem, and the file keeps its
  ///   old content. So is a file or directory that the walk couldn't open or read, a file that has
  ///   become another's or can't be opened any more, and one on which the engine gave up
  ///   (OpenFileFailed). With GetContinueFiles() false, nothing more is changed from then on.
  ///
  /// When a notification throws, the exception passes to the caller, the file in hand stays as it
  /// was, and those before it stay changed. An object whose expression is good in the Perl syntax
  /// but not in its own throws boost::regex_error, and no file is visited.
  ///
  /// No more of a file is in memory while it is rewritten than a few blocks, and its matches with
  /// their replacements. A temporary file needs its space, where TMPDIR says or, when there is none
  /// or no space in it, in /tmp; and so does the new file. docs/performance.md tells what it costs
  /// to bring files to the device.
  ///
  /// A notification may call ChangeFiles again, also on this object. Such a run works for itself;
  /// its problems go to the end of the list of the outermost run.
  unsigned int ChangeFiles();

  /// Makes the content of the file `name` that of the file `source`, by what ChangeFiles does to
  /// one file and with all that it promises: a saved copy is put back so, for instance. True when
  /// that has come about, and else the reason is in GetChangeFilesErrors(). Needs neither an
  /// expression nor a file pattern, and raises nothing. A save extension counts here, too; a name
  /// that has it isn't passed over, and neither is a file that no one may write to, which is
  /// ReplaceFileFailed.
  ///
  /// Both are names and no patterns. In the first `named` bytes of either links are followed, as
  /// the caller has spelled that out. What is behind these was found in a directory that others
  /// may write to, perhaps: a link there, on the way or at its end, is OpenFileFailed, and so, with
  /// ReplaceFileFailed, is a file that has several names unless SetChangeHardLinks() allows it.
  ///
  /// `source` must be a regular file, in no case a link, and of the same owner as `name` or the
  /// caller's own (EPERM otherwise), so that nobody else's text gets into a file. On Windows owners
  /// aren't looked at. It stays as it is.
  bool RewriteFile(const std::string& name, const std::string& source,
                   std::size_t named = std::string::npos);

  /// What the latest ChangeFiles or RewriteFile failed at, oldest first; null when there was
  /// nothing. Valid until one of them is called again, or the object is moved from, swapped or
  /// ends; a copy starts without.
  const std::vector<FileChangeProblem>* GetChangeFilesErrors() const;

  // ---------------------------------------------------------------------------- notifications
  //
  // Each event has two slots: a plain function and a closure. Setting one kind empties the other;
  // setting a null function or an empty closure leaves the other kind alone; nullptr and an empty
  // std::function are empty closures. A closure whose last parameter is a bool where a bool&
  // belongs doesn't compile, where that can be told, since it couldn't stop anything. Grep and
  // Merge call a clone of the closure, so that what a mutable one changes in itself is gone with
  // the operation. A closure that replaces or removes itself while it runs stays alive until it has
  // returned. A getter returns a copy of the closure, in which target<T>() finds what was set.
  // Slots are copied with the object and take no part in comparison.
  //
  // The vector holds the whole match, each group in order, then the text between the end of the
  // match before (or the start of the string) and this match, and the text after this match;
  // these last two entries are always there, with position -1 when they are empty. The two events
  // on files leave them out. The vector is valid during the call only, and costs a copy of all
  // these texts: in a large text with many matches, turn these two off by SetReportContext(false).
  //
  // The numbers are the line of the match and the offset of the start of that line. A bool&
  // arrives true; set to false it ends the run or the report. A notification may use the object,
  // start operations on it and throw; it must not destroy it.

  /// The kinds of subscribers. The object that raises the event comes first; for an event on files
  /// the name of the file follows; then the match, its line, and for an event on a string the start
  /// of that line; and the bool that ends the run or the report.
  using MatchFunction = void (*)(RegularExpression*, const std::vector<REMatch>&, unsigned int,
                                 unsigned int);
  using MatchClosure = boost::function4<void, RegularExpression*, const std::vector<REMatch>&,
                                        unsigned int, unsigned int>;
  using WalkFunction = void (*)(RegularExpression*, const std::vector<REMatch>&, unsigned int,
                                unsigned int, bool&);
  using WalkClosure = boost::function5<void, RegularExpression*, const std::vector<REMatch>&,
                                       unsigned int, unsigned int, bool&>;
  using FileMatchFunction = void (*)(RegularExpression*, std::string, const std::vector<REMatch>&,
                                     unsigned int, bool&);
  using FileMatchClosure = boost::function5<void, RegularExpression*, std::string,
                                            const std::vector<REMatch>&, unsigned int, bool&>;
  using FileFunction = void (*)(RegularExpression*, std::string, bool&);
  using FileClosure = boost::function3<void, RegularExpression*, std::string, bool&>;
  using EntryFunction = void (*)(RegularExpression*, const std::string&, EntryKinds, bool&);
  using EntryClosure =
      boost::function4<void, RegularExpression*, const std::string&, EntryKinds, bool&>;

  /// Whether a report of a match in a string has the text before and after the match, which are
  /// copied for it: a walk with a match in each line of a text copies half of the text at each.
  /// When false, the last two entries of the vector are there, empty, with position -1, nothing is
  /// copied, and a walk takes a time in proportion to the text. Format has both texts in any case.
  /// True at the start; goes with the slots, and holds for an operation as it was when that began.
  void SetReportContext(bool context);
  bool GetReportContext() const;

  /// OnMatching: Match or MatchAll has succeeded.
  void SetOnMatching(MatchFunction function);
  MatchFunction GetOnMatching() const;
  void SetOnMatchingClosure(MatchClosure closure) {
    SetOnMatchingCall(detail::ToCall<MatchFunction>(std::move(closure)));
  }
  template <class Callable, class = detail::EnableForClosure<Callable>>
  void SetOnMatchingClosure(Callable callable) {
    SetOnMatchingClosure(detail::ToClosure<MatchFunction, MatchClosure>(std::move(callable)));
  }
  MatchClosure GetOnMatchingClosure() const {
    return detail::FromCall<MatchFunction, MatchClosure>(GetOnMatchingCall());
  }

  /// OnSearching: Search has found a match.
  void SetOnSearching(MatchFunction function);
  MatchFunction GetOnSearching() const;
  void SetOnSearchingClosure(MatchClosure closure) {
    SetOnSearchingCall(detail::ToCall<MatchFunction>(std::move(closure)));
  }
  template <class Callable, class = detail::EnableForClosure<Callable>>
  void SetOnSearchingClosure(Callable callable) {
    SetOnSearchingClosure(detail::ToClosure<MatchFunction, MatchClosure>(std::move(callable)));
  }
  MatchClosure GetOnSearchingClosure() const {
    return detail::FromCall<MatchFunction, MatchClosure>(GetOnSearchingCall());
  }

  /// OnGrepping: each match of a walk over the string.
  void SetOnGrepping(WalkFunction function);
  WalkFunction GetOnGrepping() const;
  void SetOnGreppingClosure(WalkClosure closure) {
    SetOnGreppingCall(detail::ToCall<WalkFunction>(std::move(closure)));
  }
  template <class Callable, class = detail::EnableForClosure<Callable>>
  void SetOnGreppingClosure(Callable callable) {
    SetOnGreppingClosure(detail::ToClosure<WalkFunction, WalkClosure>(std::move(callable)));
  }
  WalkClosure GetOnGreppingClosure() const {
    return detail::FromCall<WalkFunction, WalkClosure>(GetOnGreppingCall());
  }

  /// OnGreppingFiles: each match in each file of a walk over files.
  void SetOnGreppingFiles(FileMatchFunction function);
  FileMatchFunction GetOnGreppingFiles() const;
  void SetOnGreppingFilesClosure(FileMatchClosure closure) {
    SetOnGreppingFilesCall(detail::ToCall<FileMatchFunction>(std::move(closure)));
  }
  template <class Callable, class = detail::EnableForClosure<Callable>>
  void SetOnGreppingFilesClosure(Callable callable) {
    SetOnGreppingFilesClosure(
        detail::ToClosure<FileMatchFunction, FileMatchClosure>(std::move(callable)));
  }
  FileMatchClosure GetOnGreppingFilesClosure() const {
    return detail::FromCall<FileMatchFunction, FileMatchClosure>(GetOnGreppingFilesCall());
  }

  /// OnFindFiles: each file that holds a match.
  void SetOnFindFiles(FileFunction function);
  FileFunction GetOnFindFiles() const;
  void SetOnFindFilesClosure(FileClosure closure) {
    SetOnFindFilesCall(detail::ToCall<FileFunction>(std::move(closure)));
  }
  template <class Callable, class = detail::EnableForClosure<Callable>>
  void SetOnFindFilesClosure(Callable callable) {
    SetOnFindFilesClosure(detail::ToClosure<FileFunction, FileClosure>(std::move(callable)));
  }
  FileClosure GetOnFindFilesClosure() const {
    return detail::FromCall<FileFunction, FileClosure>(GetOnFindFilesCall());
  }

  /// OnMerging: each match about to be replaced in the string.
  void SetOnMerging(WalkFunction function);
  WalkFunction GetOnMerging() const;
  void SetOnMergingClosure(WalkClosure closure) {
    SetOnMergingCall(detail::ToCall<WalkFunction>(std::move(closure)));
  }
  template <class Callable, class = detail::EnableForClosure<Callable>>
  void SetOnMergingClosure(Callable callable) {
    SetOnMergingClosure(detail::ToClosure<WalkFunction, WalkClosure>(std::move(callable)));
  }
  WalkClosure GetOnMergingClosure() const {
    return detail::FromCall<WalkFunction, WalkClosure>(GetOnMergingCall());
  }

  /// OnChangingFiles: each match about to be replaced in a file.
  void SetOnChangingFiles(FileMatchFunction function);
  FileMatchFunction GetOnChangingFiles() const;
  void SetOnChangingFilesClosure(FileMatchClosure closure) {
    SetOnChangingFilesCall(detail::ToCall<FileMatchFunction>(std::move(closure)));
  }
  template <class Callable, class = detail::EnableForClosure<Callable>>
  void SetOnChangingFilesClosure(Callable callable) {
    SetOnChangingFilesClosure(
        detail::ToClosure<FileMatchFunction, FileMatchClosure>(std::move(callable)));
  }
  FileMatchClosure GetOnChangingFilesClosure() const {
    return detail::FromCall<FileMatchFunction, FileMatchClosure>(GetOnChangingFilesCall());
  }

  /// OnSelectingFiles: a walk over files has found something in a directory where a wildcard or the
  /// recursion has led it, and asks whether to take it: a file to be searched, a directory to be
  /// walked, too. The subscriber gets its name, as the pattern leads to it, what it is, and a bool
  /// that arrives as the pattern has it, and may be set either way. So a walk is kept out of .git,
  /// or led to files that no pattern tells apart.
  ///
  /// Raised in the order of the walk, for a file right before it is read, and for all entries but
  /// `.` and `..`, those with a dot at their start included; for a wildcard in the middle of a
  /// pattern, for the directories and links that match it. What a pattern spells out isn't asked
  /// about. No answer leads to what is never visited, such as a pipe, nor through a link to a
  /// directory, unless the pattern has a component after it. In a directory that is taken without
  /// recursion, the last component of the pattern selects files as above it, and directories are
  /// asked about in their turn.
  void SetOnSelectingFiles(EntryFunction function);
  EntryFunction GetOnSelectingFiles() const;
  void SetOnSelectingFilesClosure(EntryClosure closure) {
    SetOnSelectingFilesCall(detail::ToCall<EntryFunction>(std::move(closure)));
  }
  template <class Callable, class = detail::EnableForClosure<Callable>>
  void SetOnSelectingFilesClosure(Callable callable) {
    SetOnSelectingFilesClosure(detail::ToClosure<EntryFunction, EntryClosure>(std::move(callable)));
  }
  EntryClosure GetOnSelectingFilesClosure() const {
    return detail::FromCall<EntryFunction, EntryClosure>(GetOnSelectingFilesCall());
  }

 private:
  friend REGEXCLASS_EXPORT std::ostream& operator<<(std::ostream& out,
                                                    const RegularExpression& object);
  friend REGEXCLASS_EXPORT std::istream& operator>>(std::istream& in, RegularExpression& object);

  void CopyStringToMatch(std::string_view text);
  void SetOnMatchingCall(detail::Call<MatchFunction> call);
  detail::Call<MatchFunction> GetOnMatchingCall() const;
  void SetOnSearchingCall(detail::Call<MatchFunction> call);
  detail::Call<MatchFunction> GetOnSearchingCall() const;
  void SetOnGreppingCall(detail::Call<WalkFunction> call);
  detail::Call<WalkFunction> GetOnGreppingCall() const;
  void SetOnGreppingFilesCall(detail::Call<FileMatchFunction> call);
  detail::Call<FileMatchFunction> GetOnGreppingFilesCall() const;
  void SetOnFindFilesCall(detail::Call<FileFunction> call);
  detail::Call<FileFunction> GetOnFindFilesCall() const;
  void SetOnMergingCall(detail::Call<WalkFunction> call);
  detail::Call<WalkFunction> GetOnMergingCall() const;
  void SetOnChangingFilesCall(detail::Call<FileMatchFunction> call);
  detail::Call<FileMatchFunction> GetOnChangingFilesCall() const;
  void SetOnSelectingFilesCall(detail::Call<EntryFunction> call);
  detail::Call<EntryFunction> GetOnSelectingFilesCall() const;

  const std::unique_ptr<ExpressionState> state;
};

inline void swap(RegularExpression& a, RegularExpression& b) noexcept { a.Swap(b); }

// ---------------------------------------------------------------------- settings on a stream
//
// A record is text that carries exactly what operator== compares: numbers with a blank between
// each two, then each string as its length in bytes and its bytes as they are. It begins with the
// version of the format, 2, and has no end mark. docs/stream-format.md has the whole of it.
//
// Open a file in binary mode, since a translation of line ends makes the lengths wrong. Numbers
// obey the flags and the locale of the stream, so that it is to be read as it was written: a stream
// with its default flags can be read anywhere. Neither operator seeks, flushes or closes, and
// neither compiles.

/// Writes the object's settings as one record, of version 2; the stream's state is all that tells
/// of a failure. Whoever writes anything after a record puts white space between the two. Of the
/// maximum number of splits the low 32 bits travel. A string of 4 GiB or more sets failbit and ends
/// the writing.
REGEXCLASS_EXPORT std::ostream& operator<<(std::ostream& out, const RegularExpression& object);

/// Reads one record, of version 1 or 2, into the object, and leaves what follows it in the stream.
/// Version 1 has fewer settings; the object keeps the others. Every value is stored as it is read,
/// with no rule applied to the option sets, and also during a run; a string ends at its first zero
/// byte. The object compiles afresh at its next operation. It keeps its std::locale and its
/// notifications.
///
/// White space before a number is skipped by the stream, which has to have skipws set. A failure
/// is told by failbit or badbit, and by an exception only if the stream's exception mask asks for
/// it; eofbit alone is none, since a record may end with the stream. The object then has:
/// - all its settings as they were, when no version can be read or the version is above 2 (failbit
///   is set);
/// - the settings read up to the failure, and after it the old ones, when the record is damaged or
///   cut off; the option set that was being read holds what was read of it. A length that the
///   stream doesn't hold takes no more memory than a small multiple of what it does hold.
/// A version of 0 or below is read and does nothing; the stream stays good.
REGEXCLASS_EXPORT std::istream& operator>>(std::istream& in, RegularExpression& object);

}  // namespace RegexClass

#endif  // REGEXCLASS_REGULAREXPRESSION_HPP
