// Lookups that never create and reads that never convert in silence.
#include "vexo_variant/lookup.h"

#include <charconv>

#include "host.h"
#include "variant_access.h"

namespace {

using namespace vexo::tests;
using namespace vexo::variant;
using std::string_literals::operator""s;
using std::string_view_literals::operator""sv;

/// A value of every type, the numbers and texts among them 1, and one of none.
std::vector<Variant> everyType() {
  std::vector<Variant> values;
  for (const auto& row : table(R"(
      8001   800301   E00401   E0050001   E00600000001   E0070000000000000001   C00801   C00901
      C00A01   C00B0000000000000001   E00C3FF0000000000000   100E0131   100D000000000000000100000001
      100F0131   101000010180 0100   10110001740000)"))
    values.push_back(decoded(row[0]));
  put(values.emplace_back(), Held{V_NUMERIC, {0}});
  return values;
}

// --- find ----------------------------------------------------------------------------------------

TEST(Lookup, FindsWhatIsThereAndCreatesNothing) {
  Variant tree = parsed(R"({"a":{"b":[10,{"c":"x"}],"":1,"[0]":2,"x/y":3},"5":4,"-1":5,"-3":6})");
  tree["a"][std::string("z\0z", 3)] = 7;
  const Variant copy = tree;
  const std::string name = "a", path = "a/b/[1]";
  char array[] = "b";
  // clang-format off
  const std::pair<const Variant*, Chars> cases[] = {
      {find(tree, "a", "b", 0), "10"},          {find(copy, name, array, 1u, "c"sv), "\"x\""},
      {find(copy, "a"sv, "z\0z"sv), "7"},       {find(tree, "a", "z\0z"), nullptr},
      {find(tree, "a", ""), "1"},               {find(tree, "a", "[0]"), "2"},
      {find(tree, "a", "x/y"), "3"},            {find(tree, 5), "4"},
      {find(tree, -1), "5"},                    {find(tree, UINT32_MAX), nullptr},
      {find(tree, UINT64_MAX - 2), "6"},        {find(tree, KeyChain(path), "c"), "\"x\""},
      {find(tree, "a", KeyChain("b/[0]/")), "10"},      {find(copy, KeyChain("[5]")), "4"},
      {find(tree, KeyChain("A/b")), nullptr},   {find(tree, KeyChain("a//b")), nullptr},
      {find(tree, KeyChain("")), nullptr},      {find(tree, KeyChain(nullptr)), nullptr},
      {find(tree, static_cast<Chars>(nullptr)), nullptr},
      {find(tree, "a", "b", 0, "c", 0), nullptr},
      {find(tree, "b", "c", KeyChain("d"), 1), nullptr},
      {find(tree, ""), nullptr},                {find(tree, 0), nullptr}};
  // clang-format on
  for (const auto& [found, text] : cases) {
    const auto i = &found - &cases[0].first;
    EXPECT_EQ(found == nullptr, text == nullptr) << i;
    EXPECT_TRUE(found == nullptr || json(*found) == text) << i;
  }
  const std::size_t before = allocationCount();
  EXPECT_TRUE(find(tree, "a", "b", 1, "c") && find(tree, name, array, KeyChain("[1]/c")));
  EXPECT_FALSE(find(tree, "a long key that is not there, as a view"sv, "b"));
  EXPECT_EQ(allocationCount(), before);
  EXPECT_TRUE(tree == copy && takeMessages().empty());
  *find(tree, "a", "b", 0) = "changed";
  EXPECT_EQ(tree["a"]["b"][0], "changed");
}

TEST(Lookup, EveryTypeOfValueIsAnAnswer) {
  std::string maps, flags, numbers, texts;
  for (const Variant& value : everyType()) {
    maps += find(value, 1) != nullptr ? 'x' : '-';
    EXPECT_FALSE(find(value, "k") || find(value, KeyChain("k")) || find(value, 2, "k"));
    flags += valueAs<bool>(value) == true ? 'x' : '-';
    numbers += valueAs<int>(value) == 1 && valueAs<float>(value) == 1 ? 'x' : '-';
    texts +=
        valueAs<std::string>(value) == "1" && valueAs<std::string_view>(value) == "1" ? 'x' : '-';
    EXPECT_EQ(valueOr(&value, -2) == 1, numbers.back() == 'x');
  }
  EXPECT_EQ(maps, "--------------x--");
  EXPECT_EQ(flags, "-xxxxxxxxx-------");
  EXPECT_EQ(numbers, "--xxxxxxxxx------");
  EXPECT_EQ(texts, "-----------x-----");
  EXPECT_EQ(takeMessages(), Messages{});
}

// --- Numbers -------------------------------------------------------------------------------------

template <std::integral Integer>
std::string inFull(Integer number) {
  return std::to_string(number);
}
/// All decimals of a double, of which there may be a thousand.
std::string inFull(double number) {
  char text[1500];
  std::snprintf(text, sizeof text, "%.1080f", number + 0.0);
  const std::string whole(text, std::string_view(text).find_last_not_of('0') + 1);
  return std::isdigit(whole.back()) ? whole : whole.substr(0, whole.size() - 1);  // the point
}

using Integers =
    std::tuple<std::int8_t, std::int16_t, std::int32_t, std::int64_t, long, long long, std::uint8_t,
               std::uint16_t, std::uint32_t, std::uint64_t, unsigned long, unsigned long long>;

/// A number has to be read as each type that has a value of the same digits, and as no other.
template <class... Ts>
void expectReads(std::tuple<Ts...>, const Variant& value, const std::string& digits) {
  const auto expectRead = [&](auto number) {
    const Chars end = digits.data() + digits.size();
    const bool isRead = std::from_chars(digits.data(), end, number).ptr == end;
    const bool fits = isRead && inFull(number) == digits;
    EXPECT_EQ(valueAs<decltype(number)>(value), fits ? std::optional(number) : std::nullopt)
        << digits;
  };
  (expectRead(Ts{}), ...);
}

TEST(Lookup, NumbersAreReadWhereTheyFit) {
  for (int shift = 0; shift < 64; ++shift) {
    const std::uint64_t power = std::uint64_t{1} << shift;
    for (std::uint64_t edge = power - 2; edge != power + 3; ++edge) {
      const auto same = static_cast<std::int64_t>(edge), negative = std::int64_t(0 - edge);
      for (const Variant& value : {Variant(edge), Variant(same), Variant(negative)}) {
        Variant compact = value;
        compact.Compact();
        for (const Variant& each : {value, compact})
          expectReads(std::tuple_cat(Integers(), std::tuple(1.0f, 1.0)), each, json(value));
      }
    }
    const auto near = static_cast<double>(power);
    for (const double edge :
         {near, 2 * near, near - 1, near + 1, near + 0.5, 0.0, HUGE_VAL, std::nan("")}) {
      for (const double up : {0.0, edge, HUGE_VAL}) {
        for (const double number : {std::nextafter(edge, up), std::nextafter(-edge, -up)})
          expectReads(Integers(), number, inFull(number));
      }
    }
  }
  const double huge = std::numeric_limits<double>::max(), inf = HUGE_VAL, most = 0x1.fffffep127;
  for (const double number : {0.1, -2.5, most, std::nextafter(most, inf), -0x1p128, 1e-300, huge}) {
    EXPECT_EQ(valueAs<double>(Variant(number)), number);
    const bool fits = std::abs(number) <= most;
    EXPECT_EQ(valueAs<float>(Variant(number)),
              fits ? std::optional(static_cast<float>(number)) : std::nullopt);
  }
  EXPECT_TRUE(valueAs<float>(Variant(-inf)) < 0 && std::isnan(*valueAs<float>(Variant(inf - inf))));
  EXPECT_TRUE(valueAs<double>(Variant(inf)) == inf && std::signbit(*valueAs<float>(Variant(-0.0))));
  EXPECT_FALSE(valueAs<bool>(Variant(2)) || valueAs<bool>(Variant(-1)) ||
               valueAs<bool>(Variant(UINT64_MAX)));
  EXPECT_EQ(valueAs<bool>(Variant(0u)), false);
}

// --- valueOr -------------------------------------------------------------------------------------

template <class Expected, class Read>
void expectRead(const Read& read, const Expected& expected) {
  static_assert(std::is_same_v<Read, Expected>);
  EXPECT_EQ(read, expected);
}

TEST(Lookup, TheTypeOfTheFallbackDecides) {
  Variant tree = parsed(R"({"on":true,"one":1,"half":0.5,"port":70000,"text":"12","a":["x"]})");
  const Variant& same = tree;
  tree["zero"] = "a\0b"s;
  expectRead(valueOr(tree, "on", false), true);
  expectRead(valueOr(tree, "one", false), true);
  expectRead(valueOr(tree, "port", true), true);
  expectRead(valueOr(tree, "one", 7), 1);
  expectRead(valueOr(tree, "half", 7), 7);
  expectRead(valueOr<double>(tree, "half", 7), 0.5);
  expectRead(valueOr(same, "port", 8080), 70000);
  expectRead(valueOr<std::uint16_t>(same, "port", 8080), std::uint16_t{8080});
  expectRead(valueOr(tree, "text"s, 5L), 5L);
  expectRead(valueOr(tree, "on", 5u), 5u);
  expectRead(valueOr(tree, "none"sv, 2.5f), 2.5f);
  expectRead(valueOr(tree, "text", "none"), "12"s);
  expectRead(valueOr(tree, "one", "none"), "none"s);
  expectRead(valueOr(tree, "zero", ""s), "a\0b"s);
  expectRead(valueOr(same, "text", "none"sv), "12"sv);
  expectRead(valueOr(same, 5, "none"sv), "none"sv);
  expectRead(valueOr(tree, "none", static_cast<Chars>(nullptr)), ""s);
  expectRead(valueOr(tree, KeyChain("a/[0]"), "none"), "x"s);
  expectRead(valueOr(find(tree, "a", 0), "none"), "x"s);
  expectRead(valueOr(find(tree, "a", 1), 'a' - 'b'), -1);
  expectRead(valueOr(parsed(R"({"k":"temporary"})"), "k", "none"), "temporary"s);
  EXPECT_EQ(valueOr(same, "text", ""sv).data(), static_cast<Chars>(same["text"]));
  EXPECT_EQ(valueAs<int>(find(tree, "none")), std::nullopt);
  EXPECT_EQ(valueAs<std::string>(parsed("\"temporary\"")), "temporary");
}

// --- What must not compile -----------------------------------------------------------------------

template <class... Ts>
concept Finds = requires(Ts&&... arguments) {
  find(std::forward<Ts>(arguments)...);
};
template <class T, class V>
concept Reads = requires(V&& value) {
  valueAs<T>(std::forward<V>(value));
};
template <class... Ts>
concept ReadsOr = requires(Ts&&... arguments) {
  valueOr(std::forward<Ts>(arguments)...);
};
using View = std::string_view;

static_assert(Finds<Variant&, int, View> && Finds<BaseVariantContainer&, const char (&)[2]>);
static_assert(std::is_same_v<decltype(find(std::declval<Variant&>(), 1)), Variant*>);
static_assert(
    std::is_same_v<decltype(find(std::declval<const BaseVariantContainer&>(), 1)), const Variant*>);
static_assert(!Finds<Variant, int> && !Finds<const Variant, int> && !Finds<Variant&> &&
              !Finds<Variant*, int> && !Finds<const char*, int>);
static_assert(!Finds<Variant&, bool> && !Finds<Variant&, double> && !Finds<Variant&, Variant&> &&
              !Finds<Variant&, void*> && !Finds<Variant&, int, const Variant*>);
static_assert(Reads<int, Variant> && Reads<std::string, Variant> && Reads<View, const Variant&> &&
              Reads<View, Variant*>);
static_assert(!Reads<View, Variant> && !Reads<char, Variant&> && !Reads<wchar_t, Variant&> &&
              !Reads<long double, Variant&> && !Reads<Variant, Variant&> &&
              !Reads<const char*, Variant&> && !Reads<int&, Variant&>);
static_assert(ReadsOr<Variant, View, int> && ReadsOr<Variant*, int> &&
              ReadsOr<BaseVariantContainer&, const char*, View>);
static_assert(!ReadsOr<Variant&, const char*> && !ReadsOr<Variant&, int> &&
              !ReadsOr<Variant, View, View> && !ReadsOr<Variant&, int, char> &&
              !ReadsOr<Variant&, int, std::nullptr_t> && !ReadsOr<Variant&, int, const Variant&>);

}  // namespace
