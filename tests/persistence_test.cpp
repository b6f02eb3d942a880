#include <array>
#include <cstdlib>
#include <iomanip>
#include <new>
#include <sstream>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "TestHelpers.hpp"

// What may be allocated at once, anywhere in this program.
namespace {
std::size_t allocationLimit = ~std::size_t{0};
}  // namespace

// Not inline, or else GCC takes the pair of new and free for a mismatch.
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* const memory = size > allocationLimit ? nullptr : std::malloc(size);
  return memory != nullptr ? memory : throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { ::operator delete(memory); }

namespace RegexClass::test {
namespace {

constexpr auto kGood = std::ios_base::goodbit;
constexpr auto kFail = std::ios_base::failbit;
constexpr auto kEnd = std::ios_base::failbit | std::ios_base::eofbit;

RE From(const std::string& record) {
  RE re;
  std::istringstream(record) >> re;
  return re;
}
std::string Written(RE& re) {
  std::ostringstream out;
  out << re;
  return out.str();
}

/// 2 sets, 8 numbers and 6 texts, each as it stands in a record between two blanks.
using Fields = std::array<std::string, 16>;
constexpr std::size_t kNumbers = 2;
constexpr std::size_t kTexts = 10;

bool Has(int version, std::size_t field) {
  return version == 2 || field < 4 || (field >= kTexts && field < 15);
}
std::string Record(const Fields& fields, int version = 2) {
  std::string record = std::to_string(version);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (Has(version, i)) record += ' ' + fields[i];
  }
  return record;
}

/// Each number has one digit, so that a cut leaves it whole or takes it away.
Fields AnyFields(Random& random) {
  Fields fields;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    static const char* const sets[] = {"0", "1 3", "2 0 8", "5 0 1 2 8 9"};
    const std::string text = random.Text("ab (.)*09-\n\r\t\xe9\xff", random.Flip() ? 2 : 12);
    fields[i] = i < kNumbers ? sets[random.Below(4)]
                : i < kTexts ? std::to_string(random.Below(i < 7 ? 2 : 10))
                             : std::to_string(text.size()) + (text.empty() ? "" : ' ' + text);
  }
  return fields;
}

/// Changes `held` as reading the first `size` bytes of a record has to; false for a failure.
bool ReadPart(const Fields& fields, int version, std::size_t size, Fields& held) {
  bool fine = size != 0;
  std::size_t blank = 1;
  for (std::size_t i = 0; i < fields.size() && fine; ++i) {
    if (!Has(version, i)) continue;
    const std::string part = fields[i].substr(0, size > blank ? size - blank - 1 : 0);
    blank += 1 + fields[i].size();
    fine = part == fields[i];
    if (part == "0" && i >= kTexts && i != kTexts + 3 + version) fine = size > blank;
    if (fine) held[i] = part;
    if (i < kNumbers && !fine) {  // the values so far
      const std::size_t count = part.empty() ? 0 : (part.size() - 1) / 2;
      held[i] = std::to_string(count) + fields[i].substr(1, 2 * count);
    }
  }
  return fine;
}

TEST(Stream, WritesTheseBytes) {
  RE re;
  EXPECT_EQ(Written(re), "2 6 0 1 2 8 12 15 1 0 0 0 0 0 1 0 0 0 0 0 0 0 0 0");
  re.SetExpression("a+b");
  re.SetStringToMatch("x y");
  re.DeleteExpressionOption(RE::NoCollate);
  re.SetMergeCopy(true);
  re.SetSplitInputDelete(true);
  EXPECT_EQ(Written(re), "2 4 0 1 2 8 1 0 0 1 0 1 1 0 0 0 3 a+b 3 x y 0 0 0 0");
  re = RE();
  re.ClearExpressionOptions();
  re.AddMatchOption(static_cast<RE::Matches>(40));
  re.SetDirectoryRecursion(true);
  re.SetMergeOnlyFirst(true);
  re.SetContinueFiles(false);
  re.SetMaximumSplits(~0UL);
  re.SetFormatType(RE::FormatPerl);
  re.SetLocaleModel(RE::W32Locale);
  re.SetStringToMatch(std::string("\0 \n", 3));
  re.SetFilesToMatch("*.c");
  re.SetFormatString("$1");
  re.SetSaveExtension("orig");
  re.SetLocaleDll("de");
  EXPECT_EQ(
      Written(re),
      std::string("2 0 2 0 40 1 0 1 0 0 4294967295 2 1 0 3 \0 \n 3 *.c 2 $1 4 orig 2 de", 66));
}

TEST(Stream, ReadsWhatARecordTellsAndNoMore) {
  Random random(7);
  for (int i = 0; i < Cases(150); ++i) {
    const Fields old = AnyFields(random);
    const Fields fields = AnyFields(random);
    const int version = random.Flip() ? 1 : 2;
    const std::string record = Record(fields, version);
    for (std::size_t size = 0; size <= record.size(); ++size) {
      SCOPED_TRACE(record + "\ncut at " + std::to_string(size));
      const std::string rest = size == record.size() ? "\n2 \xff rest" : "";
      Fields held = old;
      const bool fine = ReadPart(fields, version, size, held);
      RE re = From(Record(old));
      std::istringstream in(record.substr(0, size) + rest);
      in >> re;
      ASSERT_EQ(!in.fail(), fine);
      ASSERT_EQ(Written(re), Record(held));
      ASSERT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), rest);
    }
  }
}

TEST(Stream, TellsWhatIsWrongWithARecord) {
  const std::string old = "2 1 12 1 3 0 0 0 0 1 5 0 0 3 old 0 0 0 0 0";
  const std::vector<std::tuple<std::string, std::ios_base::iostate, std::string, std::string>>
      cases = {
          {"z", kFail, old, "z"},
          {"99999999999 ", kFail, old, " "},
          {"3 0 0 ", kFail, old, " 0 0 "},
          {"0 0 0 ", kGood, old, " 0 0 "},
          {"-2 0 0 ", kGood, old, " 0 0 "},
          {"2 3 15 -9 15 -1 1 0 1 0 1 4294967295 -1 z", kFail,
           "2 2 -9 15 0 1 0 1 0 1 4294967295 -1 0 3 old 0 0 0 0 0", "z"},
          {"2 0 0 2 ", kFail, "2 0 0 0 0 0 0 1 5 0 0 3 old 0 0 0 0 0", " "},
          {std::string("1 0 0 0 0 4 a\0bc 1 \0 0 0 2 d\0!", 30), kGood,
           "2 0 0 0 0 0 0 1 5 0 0 1 a 0 0 0 1 d 0", "!"},
      };
  for (const auto& [bytes, state, object, rest] : cases) {
    SCOPED_TRACE(bytes);
    RE re = From(old);
    std::istringstream in(bytes);
    in.exceptions(kFail);
    if (state == kGood) {
      in >> re;
    } else {
      EXPECT_THROW(in >> re, std::ios_base::failure);
    }
    EXPECT_EQ(in.rdstate(), state);
    EXPECT_EQ(Written(re), object);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), rest);
  }
}

TEST(Stream, ObeysTheFlagsOfTheStream) {
  RE re = From("2 0 1 40 1 0 0 0 1 4711 0 0 17 123456789 abcdefg 0 0 0 0 0");
  std::stringstream stream;
  stream << std::hex << std::boolalpha << std::setw(3) << re;
  EXPECT_EQ(stream.str(),
            "  2 0 1 28 true false false false true 1267 0 0 11 123456789 abcdefg 0 0 0 0 0");
  RE read;
  stream >> read;
  EXPECT_TRUE(!stream.fail() && read == re);
}

TEST(Stream, TakesNoMoreMemoryThanTheStreamBacksUp) {
  constexpr std::size_t kMegabyte = 1 << 20;
  const std::vector<std::tuple<std::string, std::size_t, std::size_t, std::ios_base::iostate>>
      cases = {
          {"4294967295 ", 5, kMegabyte, kEnd},
          {"4294967295 ", 3 * kMegabyte, 7 * kMegabyte, kEnd},
          {"5242880 ", 5 * kMegabyte, 4 * kMegabyte, kFail},
          {"5242880 ", 5 * kMegabyte, 16 * kMegabyte, kGood},
      };
  for (const auto& [length, size, limit, state] : cases) {
    const std::string text(size, 'x');
    RE re = Make("old", "old");
    std::stringstream in;
    in << "1 0 0 0 0 1 n " << length << text << " 0 0 0\n";
    const std::size_t unlimited = std::exchange(allocationLimit, limit);
    in >> re;
    allocationLimit = unlimited;
    EXPECT_EQ(in.rdstate(), state);
    EXPECT_TRUE(re.GetStringToMatch() == (state == kGood ? text : "old"));
  }
}

TEST(Stream, ReadsIntoAnObjectThatRunsOrIsCompiled) {
  const std::string record =
      "2 0 0 0 0 0 0 1 0 0 2 7 (n)(ew) 100 " + std::string(100, 'n') + " 0 4 <$&> 0 0";
  for (const bool walk : {false, true}) {
    RE re = Make("o(l)d", "an old text, as old as anything that is old");
    unsigned int reports = 0;
    const auto report = [&](RE* object, const auto& matches, auto&&...) {
      ++reports;
      std::istringstream(record) >> *object;
      EXPECT_EQ(matches[0].text, "old");
      std::string formatted;
      object->Format(formatted);
      EXPECT_EQ(formatted, walk ? "<old>" : "");  // a walk goes on with the string it has
    };
    re.SetOnSearchingClosure(report);
    re.SetOnGreppingClosure(report);
    EXPECT_EQ(walk ? re.Grep() : re.Search(), walk ? 3U : 1U);
    EXPECT_EQ(reports, walk ? 3U : 1U);
    EXPECT_EQ(Written(re), record);
    EXPECT_EQ(re.NumberOfSubexpressions(), 2U);
    std::istringstream("2 z") >> re;
    EXPECT_EQ(std::as_const(re).NumberOfSubexpressions(), 0U);
  }
}

}  // namespace
}  // namespace RegexClass::test
