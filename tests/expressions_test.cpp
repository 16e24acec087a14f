// What callers naturally write compiles (expressions.h) and means the same on every target.
#include "expressions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "host.h"

namespace vexo::variant {
namespace {

/// The type that stands for an integer of this width.
VariantType codeOf(std::size_t width, bool isSigned) {
  static constexpr VariantType kSigned[] = {V_INT8, V_INT16, V_INT32, V_INT64};
  static constexpr VariantType kUnsigned[] = {V_UINT8, V_UINT16, V_UINT32, V_UINT64};
  std::size_t i = 0;
  while (std::size_t{1} << i < width) ++i;
  return isSigned ? kSigned[i] : kUnsigned[i];
}

/// Both ends of T survive construction, assignment, reading and comparison under this type.
template <class T>
void expectStoredAs(VariantType type) {
  for (const T value : {std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max(), T{1}}) {
    const Variant made(value);
    Variant assigned = "text";
    assigned = value;
    const T read = made;
    EXPECT_TRUE(made == type && assigned == type) << Variant::VariantTypeToString(made);
    EXPECT_EQ(read, value);
    EXPECT_EQ(static_cast<T>(assigned), value);
    EXPECT_TRUE(made == value && value == made && made == assigned);
    EXPECT_FALSE(made != value || value != made);
    const T other = static_cast<T>(~value);
    EXPECT_FALSE(assigned == other || other == assigned);
  }
}

TEST(Expressions, IntegersAreStoredByWidthAndSign) {
  expectStoredAs<long>(codeOf(sizeof(long), true));
  expectStoredAs<unsigned long>(codeOf(sizeof(long), false));
  expectStoredAs<long long>(V_INT64);
  expectStoredAs<unsigned long long>(V_UINT64);
  expectStoredAs<std::size_t>(codeOf(sizeof(std::size_t), false));
  expectStoredAs<std::time_t>(codeOf(sizeof(std::time_t), true));
  expectStoredAs<short>(V_INT16);
  expectStoredAs<unsigned char>(V_UINT8);
  expectStoredAs<signed char>(V_INT8);
  expectStoredAs<char16_t>(V_UINT16);
  expectStoredAs<char32_t>(V_UINT32);
}

// Their own signedness differs by target, that of the stored value does not.
TEST(Expressions, CharactersAreSignedWhateverTheTarget) {
  expectStoredAs<char>(V_INT8);
  expectStoredAs<wchar_t>(V_INT32);
  EXPECT_EQ(static_cast<int>(Variant('\xFF')), -1);
  EXPECT_EQ(static_cast<int>(Variant(static_cast<wchar_t>(-2))), -2);
  EXPECT_TRUE(Variant(-1) == '\xFF');
  EXPECT_FALSE(Variant(255) == '\xFF');
  EXPECT_TRUE(static_cast<wchar_t>(-2) == Variant(-2));
  Variant map;
  map[char{65}] = "A";
  EXPECT_TRUE(map['A'] == "A" && map.HasKey(65));
  map['\xFE'] = "-2";
  EXPECT_TRUE(map.HasKey(-2));
  map['\xFF'] = "appended";
  EXPECT_TRUE(map[66] == "appended");
}

TEST(Expressions, FloatsAreDoubles) {
  EXPECT_TRUE(Variant(0.5f) == V_DOUBLE && Variant(0.5L) == V_DOUBLE);
  EXPECT_TRUE(Variant(0.1f) == 0.1f && 0.1f == Variant(0.1f) && Variant(0.1f) != 0.1);
  EXPECT_TRUE(Variant(0.25L) == 0.25L && Variant(0.25) == 0.25f);
  EXPECT_EQ(static_cast<float>(Variant(0.1)), 0.1f);
  EXPECT_EQ(static_cast<long double>(Variant(0.5)), 0.5L);
}

TEST(Expressions, ComparisonIsByValueWhateverTheType) {
  const Variant minusOne(std::int8_t{-1});
  EXPECT_TRUE(minusOne == -1 && minusOne == -1L && minusOne == -1LL && minusOne == short{-1});
  EXPECT_FALSE(minusOne == 255 || minusOne == 255u || minusOne == 4294967295u);
  EXPECT_TRUE(minusOne == 18446744073709551615ull && 18446744073709551615ull == minusOne);
  EXPECT_TRUE(Variant(std::uint8_t{255}) == 255u && Variant(std::uint8_t{255}) == 255.0f);
  EXPECT_TRUE(Variant(2.5) == 2 && Variant(2.5) == 2ul && Variant(2.5) != 2.0f);
  EXPECT_FALSE(Variant(true) == 1 || 1 == Variant(true) || Variant(1) == true ||
               true == Variant(1));
  EXPECT_FALSE(Variant() == 0 || 0 == Variant() || Variant() == false || Variant("0") == 0);
  EXPECT_TRUE(true == Variant(true) && false != Variant(true));
}

TEST(Expressions, TextComparesAsText) {
  const Variant value("abc");
  const char* const pointer = "abc";
  char array[] = "abc";
  char* const writable = array;
  EXPECT_TRUE("abc" == value && value == "abc" && "abd" != value && value != "abd");
  EXPECT_TRUE(pointer == value && value == writable && writable == value && value == array);
  EXPECT_TRUE(std::string("abc") == value && value != std::string("abc\0", 4));
  EXPECT_FALSE("5" == Variant(5) || "" == Variant() || nullptr == value);
  std::string copied = value;
  copied += "d";
  const std::string& stored = value;
  EXPECT_EQ(static_cast<const void*>(stored.c_str()), static_cast<const char*>(value));
  EXPECT_EQ(stored, "abc");
}

TEST(Expressions, TypeCodesCompareWithTheType) {
  const Variant null;
  EXPECT_TRUE(null == V_NULL && V_NULL == null && null != V_MAP && V_MAP != null);
  EXPECT_FALSE(Variant(0x8001) == V_NULL || V_INT32 != Variant(0x8001));
  EXPECT_FALSE(Variant(1) == V_NUMERIC || Variant(1) == V_ANY);
}

TEST(Expressions, SubscriptsTakeEveryInteger) {
  Variant value;
  value[0] = "zero";  // not a null pointer
  value[1u] = 1;
  value[std::size_t{2}] = 2;
  value[-1] = 3;
  value[-1L] = 4;
  value[-1LL] = 5;
  value[std::int8_t{-1}] = 6;
  value[static_cast<std::uint8_t>(255)] = 255;
  value[4294967295u] = -1;                                    // no 32-bit -1
  value[std::numeric_limits<std::uint64_t>::max() - 1] = -2;  // wraps to an ordinary key
  EXPECT_EQ(tests::json(value), R"({"-2":-2,"0":"zero","1":1,"2":2,"3":3,"4":4,"5":5,"6":6,)"
                                R"("255":255,"4294967295":-1})");
  char key[] = "name";
  value[key] = "text";
  const Variant& same = value;
  EXPECT_TRUE(same[key] == "text" && same["name"] == same[std::string(key)] && same[0u] == "zero");
  EXPECT_TRUE(same[Variant("name")] == "text" && same[Variant(1)] == 1);
}

TEST(Expressions, ContainersOfValuesTakeAnything) {
  const std::vector<Variant> values{1, "a", 2.5, true, 5ULL, Variant(), 'x'};
  EXPECT_EQ(std::find(values.begin(), values.end(), "a") - values.begin(), 1);
  EXPECT_EQ(std::find(values.begin(), values.end(), 5) - values.begin(), 4);
  EXPECT_EQ(std::count(values.begin(), values.end(), V_NULL), 1);
  int hits = 0;
  for (const Variant& value : values) {
    if (value) ++hits;
    EXPECT_EQ(!value, value == V_NULL || value == "a");
  }
  EXPECT_EQ(hits, 5);
  BaseVariantContainer record;
  record["a"] = values[0];
  EXPECT_TRUE(record == record && record != values[0] && values[0] != record);
  record = 5u;
  EXPECT_TRUE(record == 5 && 5 == record && record == values[4] && values[4] == record);
}

}  // namespace
}  // namespace vexo::variant
