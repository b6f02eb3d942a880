#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <iomanip>
#include <limits>
#include <new>
#include <set>
#include <sstream>

#include <gtest/gtest.h>

#include "TestHelpers.hpp"

// Every allocation of this program, the library's included, so that a test can tell the largest.
namespace {
std::size_t largestAllocation = 0;
std::size_t allocationLimit = std::numeric_limits<std::size_t>::max();

void* Allocate(std::size_t size) {
  largestAllocation = std::max(largestAllocation, size);
  return size > allocationLimit ? nullptr : std::malloc(size);
}
// Not inline, or else GCC takes the pair of new and free for a mismatch.
[[gnu::noinline]] void Release(void* memory) { std::free(memory); }
}  // namespace

void* operator new(std::size_t size) {
  if (void* const memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { Release(memory); }
void operator delete(void* memory, std::size_t) noexcept { Release(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { Release(memory); }

namespace RegexClass::test {
namespace {

/// What a record tells, in the order in which it is told.
struct Model {
  std::set<long long> options = {0, 1, 2, 8, 12, 15};
  std::set<long long> matches = {0};
  std::array<long long, 8> plain = {0, 0, 0, 0, 1, 0, 0, 0};
  std::array<std::string, 6> texts;
};

std::size_t PlainCount(int version) { return version == 1 ? 2 : 8; }
std::size_t TextCount(int version) { return version == 1 ? 5 : 6; }

std::string Record(const Model& model, int version = 2) {
  std::string out = std::to_string(version) + ' ';
  for (const auto& set : {model.options, model.matches}) {
    out += std::to_string(set.size()) + ' ';
    for (const long long option : set) out += std::to_string(option) + ' ';
  }
  for (std::size_t i = 0; i < PlainCount(version); ++i) out += std::to_string(model.plain[i]) + ' ';
  for (std::size_t i = 0; i < TextCount(version); ++i) {
    out += std::to_string(model.texts[i].size());
    if (!model.texts[i].empty()) out += ' ' + model.texts[i];
    if (i + 1 < TextCount(version)) out += ' ';
  }
  return out;
}

/// Reads a record that may be cut off into `model`, as an object ought to; false for a failure.
bool ReadRecord(const std::string& in, Model& model, std::size_t& at) {
  const auto number = [&](long long& value) {
    char* end = nullptr;
    const long long read = std::strtoll(in.c_str() + at, &end, 10);
    const auto length = static_cast<std::size_t>(end - (in.c_str() + at));
    if (length != 0) value = read;
    at += length;
    return length != 0;
  };
  long long version = 0;
  if (!number(version)) return false;
  for (auto* const set : {&model.options, &model.matches}) {
    set->clear();
    long long count = 0;
    if (!number(count)) return false;
    for (long long value = 0; count > 0; --count) {
      if (!number(value)) return false;
      set->insert(value);
    }
  }
  const int format = static_cast<int>(version);
  for (std::size_t i = 0; i < PlainCount(format); ++i) {
    if (!number(model.plain[i])) return false;
  }
  for (std::size_t i = 0; i < TextCount(format); ++i) {
    long long length = 0;
    if (!number(length)) return false;
    if (length != 0 || i + 1 < TextCount(format)) {
      if (at == in.size()) return false;
      ++at;
    }
    const auto size = static_cast<std::size_t>(length);
    if (in.size() - at < size) return false;
    model.texts[i] = in.substr(at, size).c_str();
    at += size;
  }
  return true;
}

/// A state that may be far from what setters can bring about.
Model AnyModel(Random& random) {
  static const std::vector<long long> odd = {-2147483647, -1, 13, 15, 21, 22, 99, 2147483647};
  static const std::string alphabet("ab (.)*09-\n\r\t\xe9\xff\0", 16);
  const auto any = [&] {
    return random.Flip() ? odd[random.Below(odd.size())] : static_cast<long long>(random.Below(22));
  };
  Model model;
  for (auto* const set : {&model.options, &model.matches}) {
    set->clear();
    for (std::size_t count = random.Below(6); count != 0; --count) set->insert(any());
  }
  for (std::size_t i = 0; i < 5; ++i) model.plain[i] = random.Flip() ? 1 : 0;
  model.plain[5] = random.Flip() ? 4294967295 : static_cast<long long>(random.Below(100));
  model.plain[6] = any();
  model.plain[7] = any();
  for (std::string& text : model.texts) {
    if (random.Below(3) != 0) text = random.Text(alphabet, 12);
  }
  return model;
}

RE From(const Model& model) {
  std::istringstream in(Record(model));
  RE re;
  in >> re;
  EXPECT_FALSE(in.fail());
  return re;
}
std::string Written(RE& re) {
  std::ostringstream out;
  out << re;
  return out.str();
}
std::string RestOf(std::istream& in) {
  in.clear();
  return {std::istreambuf_iterator<char>(in), {}};
}

TEST(Stream, WritesTheseBytes) {
  const struct {
    std::function<void(RE&)> set;
    std::string bytes;
  } cases[] = {
      {[](RE&) {}, "2 6 0 1 2 8 12 15 1 0 0 0 0 0 1 0 0 0 0 0 0 0 0 0"},
      {[](RE& re) {
         re.SetExpression("a+b");
         re.SetStringToMatch("x y");
       },
       "2 6 0 1 2 8 12 15 1 0 0 0 0 0 1 0 0 0 3 a+b 3 x y 0 0 0 0"},
      {[](RE& re) { re.DeleteExpressionOption(RE::NoCollate); },
       "2 4 0 1 2 8 1 0 0 0 0 0 1 0 0 0 0 0 0 0 0 0"},
      {[](RE& re) {
         re.ClearExpressionOptions();
         re.ClearMatchOptions();
         re.AddMatchOption(static_cast<RE::Matches>(40));
         re.SetDirectoryRecursion(true);
         re.SetMergeOnlyFirst(true);
         re.SetContinueFiles(false);
         re.SetMaximumSplits(0xFFFFFFFF);
         re.SetFormatType(RE::FormatPerl);
         re.SetLocaleModel(RE::W32Locale);
         re.SetExpression("e");
         re.SetStringToMatch(std::string("\0 \n", 3));
         re.SetFilesToMatch("*.c");
         re.SetFormatString("$1");
         re.SetSaveExtension("orig");
       },
       std::string("2 0 1 40 1 0 1 0 0 4294967295 2 1 1 e 3 \0 \n 3 *.c 2 $1 4 orig 0", 63)},
      {[](RE& re) {
         re.SetMergeCopy(true);
         re.SetSplitInputDelete(true);
       },
       "2 6 0 1 2 8 12 15 1 0 0 1 0 1 1 0 0 0 0 0 0 0 0 0"},
  };
  for (const auto& c : cases) {
    RE re;
    c.set(re);
    EXPECT_EQ(Written(re), c.bytes);
  }
}

TEST(Stream, ReadsWhatARecordTellsAndNoMore) {
  Random random(7);
  for (int i = 0; i < 150; ++i) {
    std::size_t end = 0;
    Model old;
    ASSERT_TRUE(ReadRecord(Record(AnyModel(random)), old, end));
    const RE former = From(old);
    const int version = random.Flip() ? 1 : 2;
    const std::string record = Record(AnyModel(random), version);
    const std::string rest = "\n2 \xff rest";

    Model whole = old;
    ASSERT_TRUE(ReadRecord(record, whole, end = 0));
    RE re = former;
    std::istringstream in(record + rest);
    in >> re;
    EXPECT_TRUE(in.good());
    EXPECT_EQ(RestOf(in), rest) << record;
    EXPECT_TRUE(re == From(whole));
    ASSERT_EQ(Written(re), Record(whole)) << record;

    for (std::size_t cut = 0; cut < record.size(); ++cut) {
      Model part = old;
      const bool fine = ReadRecord(record.substr(0, cut), part, end = 0);
      std::istringstream damaged(record.substr(0, cut));
      re = former;
      damaged >> re;
      ASSERT_EQ(!damaged.fail(), fine) << record << "\ncut at " << cut;
      ASSERT_EQ(Written(re), Record(part)) << record << "\ncut at " << cut;
    }
  }
}

TEST(Stream, ReadsOneRecordBehindAnother) {
  for (const char* const dll : {"", "2"}) {
    Model model;
    model.texts[5] = dll;
    RE first = From(model);
    RE second = Make("x", "y");
    std::stringstream stream;
    stream << first << '\n' << second;
    RE a;
    RE b;
    stream >> a >> b;
    EXPECT_FALSE(stream.fail());
    EXPECT_TRUE(a == first && b == second);
  }
}

TEST(Stream, TellsWhatIsWrongWithARecord) {
  constexpr auto kFail = std::ios_base::failbit;
  constexpr auto kEnd = std::ios_base::failbit | std::ios_base::eofbit;
  const Model old = [] {
    Model model;
    model.texts[0] = "old";
    model.plain[5] = 5;
    return model;
  }();
  const auto with = [&](const std::function<void(Model&)>& change) {
    Model model = old;
    change(model);
    return Record(model);
  };
  const auto noOptions = [](Model& model) { model.options.clear(); };
  const auto emptied = [&](Model& model) { model.options = model.matches = {}; };
  const struct {
    std::string bytes;
    std::ios_base::iostate state;
    std::string object;
  } cases[] = {
      {"", kEnd, Record(old)},
      {"x", kFail, Record(old)},
      {"99999999999 ", kFail, Record(old)},
      {"3 0 0 ", kFail, Record(old)},
      {"0 0 0 ", std::ios_base::goodbit, Record(old)},
      {"-2 0 0 ", std::ios_base::goodbit, Record(old)},
      {"2 x", kFail, with(noOptions)},
      {"2 2 13 15 x", kFail, with([](Model& m) {
         m.options = {13, 15}, m.matches = {};
       })},
      {"2 3 7 8 x", kFail, with([](Model& m) {
         m.options = {7, 8};
       })},
      {"2 -1 -1 1 0 1 0 1 7x", kFail, with([&](Model& m) {
         emptied(m);
         m.plain = {1, 0, 1, 0, 1, 7, 0, 0};
       })},
      {"2 0 0 2 ", kFail, with(emptied)},
      {"1 0 0 1 1 1 n 0 0 9 short", kEnd, with([&](Model& m) {
         emptied(m);
         m.plain = {1, 1, 0, 0, 1, 5, 0, 0};
         m.texts[0] = "n";
       })},
  };
  for (const auto& c : cases) {
    for (const bool throwing : {false, true}) {
      RE re = From(old);
      std::istringstream in(c.bytes);
      if (throwing) in.exceptions(kFail);
      bool thrown = false;
      try {
        in >> re;
      } catch (const std::ios_base::failure&) {
        thrown = true;
      }
      EXPECT_EQ(thrown, throwing && (c.state & kFail) != 0) << c.bytes;
      EXPECT_EQ(in.rdstate(), c.state) << c.bytes;
      EXPECT_EQ(Written(re), c.object) << c.bytes;
    }
  }
  RE re = From(old);
  std::istream none(nullptr);
  none >> re;
  EXPECT_TRUE(none.bad());
  EXPECT_EQ(Written(re), Record(old));
}

TEST(Stream, ObeysTheFlagsOfTheStream) {
  Random random(11);
  for (int i = 0; i < 20; ++i) {
    RE re = Make(random.Text("a 9\n", 20), random.Text("z0 ", 300));
    re.SetMaximumSplits(random.Below(5000));
    for (const auto flags : {std::ios_base::hex, std::ios_base::oct, std::ios_base::boolalpha,
                             std::ios_base::hex | std::ios_base::showbase,
                             std::ios_base::showpos | std::ios_base::uppercase}) {
      std::stringstream stream;
      stream.flags(flags | std::ios_base::skipws);
      stream << std::setw(9) << re;
      RE read;
      stream >> read;
      EXPECT_FALSE(stream.fail()) << flags;
      EXPECT_TRUE(read == re) << flags;
      RE strict;
      std::istringstream noskip(stream.str());
      noskip >> std::noskipws >> strict;
      EXPECT_TRUE(noskip.fail());
    }
  }
}

TEST(Stream, TakesNoMoreMemoryThanTheStreamBacksUp) {
  constexpr std::size_t kMegabyte = 1 << 20;
  const std::string start = "1 0 0 0 0 1 n ";
  const std::string large(5 * kMegabyte, 'x');
  const struct {
    std::string bytes;
    std::ios_base::iostate state;
  } cases[] = {
      {start + "4294967295 short", std::ios_base::failbit | std::ios_base::eofbit},
      {start + "-1 short", std::ios_base::failbit | std::ios_base::eofbit},
      {start + "5242880 " + large + " 0 0 0", std::ios_base::failbit},
  };
  for (const auto& c : cases) {
    RE re = Make("old", "old");
    std::istringstream in(c.bytes);
    largestAllocation = 0;
    allocationLimit = 4 * kMegabyte;
    in >> re;
    allocationLimit = std::numeric_limits<std::size_t>::max();
    EXPECT_EQ(in.rdstate(), c.state);
    EXPECT_LE(largestAllocation, 2 * c.bytes.size() + kMegabyte);
    EXPECT_EQ(re.GetExpression(), "n");
    EXPECT_EQ(re.GetStringToMatch(), "old");
  }
  std::istringstream in(start + "5242880 " + large + " 0 0 0");
  RE re;
  in >> re;
  EXPECT_EQ(re.GetStringToMatch(), large);
}

TEST(Stream, CompilesAfreshAfterReading) {
  RE re = Make("(a)", "a");
  ASSERT_EQ(re.NumberOfSubexpressions(), 1U);
  const RE& constant = re;
  std::stringstream same;
  same << re;
  same >> re;
  EXPECT_EQ(constant.NumberOfSubexpressions(), 0U);
  EXPECT_TRUE(re.Match());
  std::istringstream broken("2 x");
  broken >> re;
  EXPECT_EQ(constant.NumberOfSubexpressions(), 0U);
}

TEST(Stream, ReadsDuringARun) {
  Model model;
  model.plain[7] = RE::CLocale;
  model.texts[0] = "(new)";
  model.texts[1] = std::string(100, 'n');
  model.texts[3] = "<$&>";
  for (const bool walk : {false, true}) {
    RE re = Make("o(l)d", "an old text, as old as anything that is old");
    unsigned int reports = 0;
    const auto report = [&](RE* object, const std::vector<REMatch>& matches) {
      ++reports;
      std::istringstream in(Record(model));
      in >> *object;
      EXPECT_EQ(matches[0].text, "old");
      std::string formatted;
      object->Format(formatted);
      EXPECT_EQ(formatted, walk ? "<old>" : "");  // a walk goes on with the string it has
    };
    re.SetOnSearchingClosure([&](RE* object, const std::vector<REMatch>& matches, auto, auto) {
      report(object, matches);
    });
    re.SetOnGreppingClosure([&](RE* object, const std::vector<REMatch>& matches, auto, auto,
                                bool&) { report(object, matches); });
    EXPECT_EQ(walk ? re.Grep() : re.Search(), walk ? 3U : 1U);
    EXPECT_EQ(reports, walk ? 3U : 1U);
    EXPECT_EQ(Written(re), Record(model));
    EXPECT_EQ(re.NumberOfSubexpressions(), 1U);
    EXPECT_FALSE(re.GetOnSearchingClosure().empty());
  }
}

}  // namespace
}  // namespace RegexClass::test
