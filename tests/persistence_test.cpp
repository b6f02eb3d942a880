// SPDX-License-Identifier: BSL-1.0
// The object as a value: what is compared, copied, written to a stream and read back.

#include <array>
#include <iomanip>
#include <sstream>

#include <gtest/gtest.h>

#include "TestHelpers.hpp"

namespace RegexClass::test {
namespace {

static_assert(sizeof(RE) == 2 * sizeof(void*),
              "one pointer to the record and a virtual destructor");

std::string Written(RE& re) {
  std::ostringstream out;
  out << re;
  return out.str();
}
RE From(const std::string& record) {
  RE re;
  std::istringstream(record) >> re;
  return re;
}

/// Changes one setting each, in the order of a record; with what the record has there then.
const std::pair<std::function<void(RE&)>, const char*> kSettings[] = {
    {[](RE& re) { re.AddExpressionOption(RE::Icase); }, "7 0 1 2 8 11 12 15"},
    {[](RE& re) { re.AddMatchOption(RE::MatchAny); }, "2 0 9"},
    {[](RE& re) { re.SetDirectoryRecursion(true); }, "1"},
    {[](RE& re) { re.SetMergeCopy(true); }, "1"},
    {[](RE& re) { re.SetMergeOnlyFirst(true); }, "1"},
    {[](RE& re) { re.SetSplitInputDelete(true); }, "1"},
    {[](RE& re) { re.SetContinueFiles(false); }, "0"},
    {[](RE& re) { re.SetMaximumSplits(5); }, "5"},
    {[](RE& re) { re.SetFormatType(static_cast<RE::FormatTypes>(7)); }, "7"},
    {[](RE& re) { re.SetLocaleModel(RE::CLocale); }, "2"},
    {[](RE& re) { re.SetExpression("e"); }, "1 e"},
    {[](RE& re) { re.SetStringToMatch("s\n t"); }, "4 s\n t"},
    {[](RE& re) { re.SetFilesToMatch("f"); }, "1 f"},
    {[](RE& re) { re.SetFormatString("$&"); }, "2 $&"},
    {[](RE& re) { re.SetSaveExtension("bak"); }, "3 bak"},
    {[](RE& re) { re.SetLocaleDll("dll"); }, "3 dll"},
};
/// The settings of a record of version 2, each as it stands there between two blanks.
using Fields = std::array<std::string, std::size(kSettings)>;
const Fields kNew = {
    "6 0 1 2 8 12 15", "1 0", "0", "0", "0", "0", "1", "0", "0", "0", "0", "0", "0", "0", "0", "0"};

/// Version 1 has fewer.
bool Has(int version, std::size_t field) {
  return version == 2 || field < 4 || (field >= 10 && field < 15);
}
std::string Record(const Fields& fields, int version = 2) {
  std::string record = std::to_string(version);
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (Has(version, i)) record += ' ' + fields[i];
  }
  return record;
}

TEST(Value, HasEachSettingComparedCopiedAndWritten) {
  RE everything;
  for (const auto& setting : kSettings) setting.first(everything);
  for (std::size_t i = 0; i < std::size(kSettings); ++i) {
    SCOPED_TRACE(i);
    RE changed;
    kSettings[i].first(changed);
    EXPECT_FALSE(changed == RE());
    Fields fields = kNew;
    fields[i] = kSettings[i].second;
    EXPECT_EQ(Written(changed), Record(fields));
    RE assigned = everything, read = everything, copy(changed);
    assigned = changed;
    std::istringstream(Written(changed)) >> read;
    for (RE* const other : {&assigned, &read, &copy}) {
      EXPECT_TRUE(*other == changed);
      kSettings[(i + 1) % std::size(kSettings)].first(*other);
      EXPECT_FALSE(*other == changed);
    }
    EXPECT_EQ(Written(changed), Record(fields));
  }
}

Fields AnyFields(Random& random) {
  Fields fields;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const std::string text = random.Text("ab (.)*09-\n\r\t\xe9\xff", random.Flip() ? 2 : 12);
    fields[i] = i < 2    ? (random.Flip() ? "0" : "1 3")
                : i < 10 ? std::to_string(random.Below(i < 7 ? 2 : 10))
                         : std::to_string(text.size()) + (text.empty() ? "" : ' ' + text);
  }
  return fields;
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
      Fields held = old;
      bool fine = size != 0;
      std::size_t end = 1;
      for (std::size_t at = 0; at < fields.size() && fine; ++at) {
        if (!Has(version, at)) continue;
        end += 1 + fields[at].size();
        // Behind the length of an empty text stands a blank, but at the end of the record.
        const bool blank = at >= 10 && fields[at] == "0" && end != record.size();
        fine = size >= end + (blank ? 1 : 0);
        if (fine) held[at] = fields[at];
        if (!fine && at < 2) held[at] = "0";  // a set has what was read of it
      }
      const std::string rest = size == record.size() ? "\n2 \xff rest" : "";
      RE re = From(Record(old));
      std::istringstream in(record.substr(0, size) + rest);
      in >> re;
      ASSERT_EQ(!in.fail(), fine);
      ASSERT_EQ(Written(re), Record(held));
      ASSERT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), rest);
    }
  }
}

TEST(Stream, ObeysItsFlagsAndExceptions) {
  RE re = From("2 0 1 40 1 0 0 0 1 4711 0 0 17 123456789 abcdefg 0 0 0 0 0");
  std::stringstream stream;
  stream << std::hex << std::boolalpha << std::setw(3) << re;
  EXPECT_EQ(stream.str(),
            "  2 0 1 28 true false false false true 1267 0 0 11 123456789 abcdefg 0 0 0 0 0");
  RE read;
  stream >> read;
  EXPECT_TRUE(!stream.fail() && read == re);
  stream.exceptions(std::ios_base::failbit);
  EXPECT_THROW(stream >> read, std::ios_base::failure);
  re.SetMaximumSplits(~0UL);
  re.SetStringToMatch(std::string("\0 \n", 3));  // written in full
  EXPECT_EQ(Written(re).substr(19),
            std::string("4294967295 0 0 17 123456789 abcdefg 3 \0 \n 0 0 0 0", 49));
}

TEST(Stream, TakesNoMoreMemoryThanTheStreamBacksUp) {
  RE re = Make("old", "old");
  std::istringstream in("1 0 0 0 0 1 n 4294967295 short");
  const std::size_t before = PeakMemory();
  in >> re;
  EXPECT_LT(PeakMemory(), before + (256 << 20));
  EXPECT_EQ(in.rdstate(), std::ios_base::failbit | std::ios_base::eofbit);
  EXPECT_EQ(re.GetStringToMatch(), "old");
}

TEST(Stream, HasAnObjectCompileAfresh) {
  RE re = Make("(a)", "a");
  EXPECT_EQ(re.NumberOfSubexpressions(), 1U);
  std::istringstream("2 z") >> re;
  EXPECT_EQ(std::as_const(re).NumberOfSubexpressions(), 0U);
  // By a name of its syntax, which goes with the other name that only a record can give beside it.
  re = From("2 2 13 20 0 0 0 0 0 1 0 0 0 5 \\(a\\) 0 0 0 0 0");
  EXPECT_EQ(re.NumberOfSubexpressions(), 1U);
  re.DeleteExpressionOption(RE::BasicSyntax);
  EXPECT_FALSE(re.IsExpressionOption(RE::SedSyntax));
}

}  // namespace
}  // namespace RegexClass::test
