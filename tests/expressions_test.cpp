// What callers naturally write compiles (expressions.h) and means the same on every target.
#include "expressions.h"

#include "host.h"

namespace vexo::variant {
namespace {

using namespace std::literals;
using namespace tests;

TEST(Expressions, ComparisonIsByValueWhateverTheType) {
  EXPECT_TRUE(Variant(0.5f) == V_DOUBLE && Variant(0.5L) == V_DOUBLE && Variant(0.25) == 0.25L);
  EXPECT_TRUE(Variant(0.1f) == 0.1f && 0.1f == Variant(0.1f) && Variant(0.1f) != 0.1);
  EXPECT_TRUE(float(Variant(0.1)) == 0.1f && static_cast<long double>(Variant(0.5)) == 0.5L);
  const Variant minusOne(std::int8_t{-1}), null;
  EXPECT_TRUE(minusOne == -1L && minusOne == -1LL && minusOne == short{-1} && minusOne == '\xFF');
  EXPECT_FALSE(minusOne == 255 || minusOne == 255u || minusOne == UINT32_MAX);
  EXPECT_TRUE(minusOne == UINT64_MAX && UINT64_MAX == minusOne && Variant(255) != '\xFF');
  EXPECT_TRUE(Variant(UINT64_MAX) == -1 && Variant(255u) == 255.0f && Variant(-3.5) == 0u);
  EXPECT_TRUE(Variant(2.5) == 2 && Variant(2.5) == 2ul && Variant(2.5) != 2.0f);
  EXPECT_FALSE(Variant(true) == 1 || 1 == Variant(true) || Variant(1) == true || null == false);
  EXPECT_FALSE(null == 0 || 0 == null || null == 0.0 || Variant(5u) != std::uint64_t{5});
  EXPECT_TRUE(true == Variant(true) && false != Variant(true));
  EXPECT_TRUE(null == V_NULL && V_NULL == null && null != V_MAP && V_MAP != null);
  EXPECT_FALSE(Variant(0x8001) == V_NULL || Variant(1) == V_NUMERIC || Variant(1) == V_ANY);
  const timeval early{1, 2}, late{1, 3};
  EXPECT_TRUE(Variant(early) == early && late != Variant(early) && !(Variant(late) != late));
}

TEST(Expressions, TextComparesAsText) {
  const Variant value("abc"), whole(std::string("abc\0", 4));
  const Chars pointer = "abc", nothing = nullptr;
  char array[] = "abc";
  char* const writable = array;
  EXPECT_TRUE("abc" == value && value == "abc" && "abd" != value && value != "abd");
  EXPECT_TRUE(pointer == value && value == writable && writable == value && value == array);
  EXPECT_TRUE(std::string("abc") == value && value != std::string("abc\0", 4) && whole != pointer);
  EXPECT_FALSE("5" == Variant(5) || "" == Variant() || Variant("0") == 0);
  // A null pointer is what it becomes when it is assigned.
  EXPECT_TRUE(Variant() == nothing && nullptr == Variant() && value != nullptr && nothing != value);
  EXPECT_TRUE(Variant("") != nothing && Variant(0) != nullptr && Variant(false) != nullptr);
}

TEST(Expressions, ViewsAreTakenWhole) {
  constexpr std::string_view kText = "a\0a long text behind a zero"sv;
  Variant value(kText);
  EXPECT_TRUE(value == kText && kText == value && value != "a"sv && "a" != value);
  EXPECT_EQ(std::string_view(value).size() + std::string(value).size(), 2 * kText.size());
  value = std::string_view(value).substr(2);  // a part of itself
  EXPECT_TRUE(value == "a long text behind a zero");
  Variant map;
  map[kText] = "x\0"sv;
  const Variant& same = map;
  const std::size_t allocations = allocationCount();
  EXPECT_TRUE(&map[kText] == &same[kText] && allocationCount() == allocations);
  EXPECT_TRUE(same[kText] == "x\0"sv && same[kText] != "x"sv &&
              &map[std::string(kText)] == &map[kText]);
  EXPECT_TRUE(map.HasKey(kText) && map.HasKey("A"sv.substr(0, 0)) == map.HasKey("a"));
  EXPECT_TRUE(&map.GetValue(kText) == &map[kText] && map.RemoveValue(kText).KeysCount() == 0);
  EXPECT_TRUE(map.FromJSON("[1]]"sv.substr(0, 3)) == 3 && map[0] == 1);
  EXPECT_TRUE(map.FromKVP("a=12"sv.substr(0, 3), false, false, true) && map["a"] == 1);
  EXPECT_TRUE(map.FromTOML("a = 12"sv.substr(0, 5)) && map["a"] == 1);
}

TEST(Expressions, SubscriptsTakeEveryInteger) {
  Variant value;
  value[0] = "zero";  // not a null pointer
  value[1u] = value[std::size_t{2}] = value[char{65}] = 1;
  value[-1] = value[-1L] = value[-1LL] = value[std::int8_t{-1}] = value['\xFF'] = "appended";
  value[static_cast<std::uint8_t>(255)] = value['\xFE'] = 2;
  value[UINT32_MAX] = -1;      // no 32-bit -1
  value[UINT64_MAX - 2] = -3;  // wraps to an ordinary key
  std::string keys;
  for (auto i = value.num_begin(); i != value.num_end(); ++i)
    keys += std::to_string(i->first) + ' ';
  EXPECT_EQ(keys, "-3 -2 0 1 2 65 66 67 68 69 70 255 4294967295 ");
  char key[] = "name";
  value[key] = "text";
  const Variant& same = value;
  EXPECT_TRUE(same[key] == "text" && same["name"] == same[std::string(key)] && same[0u] == "zero");
}

TEST(Expressions, ContainersOfValuesTakeAnything) {
  const std::vector<Variant> values{1, "a", 2.5, true, 5ULL, Variant(), 'x'};
  EXPECT_EQ(std::find(values.begin(), values.end(), "a") - values.begin(), 1);
  EXPECT_EQ(std::find(values.begin(), values.end(), 5) - values.begin(), 4);
  EXPECT_EQ(std::count(values.begin(), values.end(), V_NULL), 1);
  BaseVariantContainer record;
  EXPECT_TRUE(record == record && record != values[0] && values[0] != record);
  record = 5u;
  EXPECT_TRUE(record == 5 && 5 == record && record == values[4] && values[4] == record);
}

}  // namespace
}  // namespace vexo::variant
