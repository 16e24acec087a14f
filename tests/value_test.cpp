// Values: what they hold and own, how they are read and compared.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <stdexcept>

#include "host.h"

namespace vexo::variant {
namespace {

using tests::FailingAllocation;
using tests::json;
using tests::liveBlocks;
using tests::parsed;

constexpr std::int64_t kMin64 = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax64 = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t kMaxU64 = std::numeric_limits<std::uint64_t>::max();
constexpr std::int32_t kMin32 = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax32 = std::numeric_limits<std::int32_t>::max();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const std::string kWithZero("a\0b", 3);

Variant fromBin(const std::string& hex) {
  const auto bytes = tests::unhex(hex);
  Variant value;
  EXPECT_EQ(value.FromBIN(bytes.data(), static_cast<std::uint32_t>(bytes.size())), bytes.size());
  return value;
}

/// A typed map "cam" without members.
Variant typedMap() { return fromBin("10 11 00 03 63 61 6D 00 00"); }

// --- Layout --------------------------------------------------------------------------------------

constexpr std::size_t kTypeAt = sizeof(void*);
constexpr std::size_t kPayloadAt = (kTypeAt + sizeof(std::uint32_t) + 7) / 8 * 8;

static_assert(sizeof(Variant) == kPayloadAt + 8 && alignof(Variant) == 8);
static_assert(sizeof(BaseVariantContainer) == sizeof(Variant));
static_assert(std::has_virtual_destructor_v<Variant> && sizeof(VariantType) == 2);
static_assert(offsetof(VariantBuffer, external) == 0 && sizeof(VariantBuffer::external) == 1);
static_assert(offsetof(VariantBuffer, data) == sizeof(void*));
static_assert(offsetof(VariantBuffer, size) == 2 * sizeof(void*));
static_assert(offsetof(VariantMap, isArray) == 0 && sizeof(VariantMap::isArray) == 1);
static_assert(offsetof(VariantMap, typeName) == sizeof(void*));
static_assert(offsetof(VariantMap, typeName) < offsetof(VariantMap, numericKeys));
static_assert(offsetof(VariantMap, numericKeys) < offsetof(VariantMap, stringKeys));

template <class T>
constexpr bool kMovesFreely =
    std::is_nothrow_move_constructible_v<T>&& std::is_nothrow_move_assignable_v<T>;
static_assert(kMovesFreely<Variant> && kMovesFreely<BaseVariantContainer>);
static_assert(std::is_nothrow_constructible_v<BaseVariantContainer, Variant&&>);
static_assert(std::is_nothrow_assignable_v<BaseVariantContainer&, Variant&&>);
static_assert(std::is_nothrow_default_constructible_v<Variant> &&
              std::is_nothrow_constructible_v<Variant, bool> &&
              std::is_nothrow_constructible_v<Variant, double> &&
              std::is_nothrow_constructible_v<Variant, long long> &&
              std::is_nothrow_assignable_v<Variant&, std::int8_t> &&
              std::is_nothrow_assignable_v<Variant&, unsigned long>);
static_assert(!std::is_nothrow_copy_constructible_v<Variant> &&
              !std::is_nothrow_copy_assignable_v<Variant> &&
              !std::is_nothrow_constructible_v<Variant, const char*>);

template <class T>
T rawAt(const Variant& value, std::size_t offset) {
  T field;
  std::memcpy(&field, reinterpret_cast<const char*>(&value) + offset, sizeof field);
  return field;
}

TEST(Value, TypeCodesAndNames) {
  const struct {
    VariantType type;
    unsigned code;
    const char* name;
  } cases[] = {{V_NULL, 0x8001, "NULL"},       {V_BOOL, 0x8003, "BOOL"},
               {V_INT8, 0xE004, "INT8"},       {V_INT16, 0xE005, "INT16"},
               {V_INT32, 0xE006, "INT32"},     {V_INT64, 0xE007, "INT64"},
               {V_UINT8, 0xC008, "UINT8"},     {V_UINT16, 0xC009, "UINT16"},
               {V_UINT32, 0xC00A, "UINT32"},   {V_UINT64, 0xC00B, "UINT64"},
               {V_DOUBLE, 0xE00C, "DOUBLE"},   {V_TIMESTAMP, 0x100D, "TIMESTAMP"},
               {V_STRING, 0x100E, "STRING"},   {V_BINARY, 0x100F, "BINARY"},
               {V_MAP, 0x1010, "MAP"},         {V_TYPED_MAP, 0x1011, "TYPED_MAP"},
               {V_NUMERIC, 0x4000, "NUMERIC"}, {V_ANY, 0xFFFF, "ANY"}};
  for (const auto& c : cases) {
    EXPECT_EQ(static_cast<unsigned>(c.type), c.code);
    EXPECT_STREQ(Variant::VariantTypeToString(c.type), c.name);
  }
  // No code, no ordinal 2, wrong class bits, beyond the table.
  for (const int code : {0, 2, 0x8002, 1, 0x9001, 0x100C, 0xE00B, 0x1012, 0x80FF, 0xFFFE}) {
    EXPECT_STREQ(Variant::VariantTypeToString(static_cast<VariantType>(code)), "unknown") << code;
  }
}

// --- Life ----------------------------------------------------------------------------------------

template <class T>
void expectScalar(T value, VariantType type) {
  const std::size_t before = liveBlocks();
  const std::size_t allocations = tests::allocationCount();
  const Variant made(value);
  Variant moved(made);
  const Variant target(std::move(moved));
  EXPECT_EQ(tests::allocationCount(), allocations);
  Variant assigned = parsed(R"({"old":["content"]})");
  assigned = value;
  EXPECT_EQ(liveBlocks(), before);
  for (const Variant* each : {&made, &target, static_cast<const Variant*>(&assigned)}) {
    EXPECT_EQ(rawAt<std::uint32_t>(*each, kTypeAt), type);
    EXPECT_EQ(rawAt<T>(*each, kPayloadAt), value);
    EXPECT_EQ(static_cast<T>(*each), value);
  }
}

TEST(Value, ScalarsLieInTheValueAtTheirOwnWidth) {
  expectScalar(true, V_BOOL);
  expectScalar(std::int8_t{-128}, V_INT8);
  expectScalar(std::int16_t{-2}, V_INT16);
  expectScalar(std::int32_t{-3}, V_INT32);
  expectScalar(kMin64, V_INT64);
  expectScalar(std::uint8_t{255}, V_UINT8);
  expectScalar(std::uint16_t{65535}, V_UINT16);
  expectScalar(std::uint32_t{4294967295}, V_UINT32);
  expectScalar(kMaxU64, V_UINT64);
  expectScalar(-2.5, V_DOUBLE);
  EXPECT_EQ(rawAt<std::uint32_t>(Variant(), kTypeAt), V_NULL);
  EXPECT_EQ(rawAt<std::uint64_t>(Variant(), kPayloadAt), 0u);
}

TEST(Value, StringsAndTimestampsAreCopiedIn) {
  std::string text = kWithZero;
  timeval time{-7, 999999};
  Variant string(text), timestamp(time), assigned(5);
  text = "changed";
  time = {};
  EXPECT_EQ(static_cast<const std::string&>(string), kWithZero);
  EXPECT_STREQ(static_cast<const char*>(string), "a");
  EXPECT_EQ(static_cast<const std::string&>(Variant(kWithZero.c_str())), "a");
  const timeval& stored = timestamp;
  EXPECT_TRUE(stored.tv_sec == -7 && stored.tv_usec == 999999);
  EXPECT_TRUE((assigned = kWithZero) == string && (assigned = stored) == timestamp);
  EXPECT_TRUE((assigned = "") == V_STRING && assigned == "");

  const char* const nothing = nullptr;
  EXPECT_THROW(Variant{nothing}, std::logic_error);
  for (Variant* value : {&string, &timestamp, &assigned}) {
    EXPECT_EQ(&(*value = nothing), value);
    EXPECT_TRUE(*value == V_NULL);
  }
}

TEST(Value, BuffersOwnTheirBytesUnlessExternal) {
  std::uint8_t bytes[] = {1, 2, 3};
  const std::size_t before = liveBlocks();
  {
    Variant external(bytes, 3, true), copy(external), owned(bytes, 3, false);
    Variant assigned = "old";
    assigned = external;
    const Variant& viewed = external;
    const VariantBuffer* view = viewed;
    EXPECT_TRUE(view->external && view->data == bytes && view->size == 3);
    bytes[0] = 9;
    for (const Variant* each : {&copy, &owned, &assigned}) {
      const VariantBuffer* buffer = *each;
      EXPECT_TRUE(buffer->external == 0 && buffer->size == 3 && buffer->data[0] == 1);
      EXPECT_TRUE(*each != external && *each == copy);
    }
    const Variant moved(std::move(external));
    EXPECT_EQ(static_cast<const VariantBuffer*>(moved), view);
  }
  EXPECT_TRUE(liveBlocks() == before && bytes[0] == 9 && bytes[2] == 3);

  const Variant empty(bytes, 0, false), emptyCopy(empty), emptyView(nullptr, 0, true);
  EXPECT_EQ(static_cast<const VariantBuffer*>(empty)->data, nullptr);
  EXPECT_NE(static_cast<const VariantBuffer*>(emptyCopy)->data, nullptr);
  EXPECT_NE(static_cast<const VariantBuffer*>(Variant(emptyView))->data, nullptr);
  EXPECT_EQ(static_cast<const VariantBuffer*>(emptyCopy)->size, 0u);
}

TEST(Value, AllocatesBuffers) {
  Variant value = parsed("[1,[2]]");
  VariantBuffer* record = value.AllocateBuffer(16, true);
  EXPECT_EQ(static_cast<const VariantBuffer*>(value), record);
  EXPECT_TRUE(value == V_BINARY && record->external == 0 && record->size == 16);
  EXPECT_EQ(std::count(record->data, record->data + 16, 0), 16);
  record->size = 2;  // lowering it is how a decoder ends
  EXPECT_EQ(json(value), R"("b64:AAA=")");
  EXPECT_EQ(static_cast<const VariantBuffer*>(Variant(value))->size, 2u);
  record = value.AllocateBuffer(0, true);
  EXPECT_TRUE(record->data == nullptr && record->size == 0);
}

TEST(Value, MovesHandTheRecordOver) {
  const std::vector<Variant> values{"text", timeval{1, 2}, parsed(R"([1,{"a":2}])"), typedMap(), 5};
  for (const Variant& original : values) {
    Variant source = original;
    const auto payload = rawAt<std::uint64_t>(source, kPayloadAt);
    const std::size_t allocations = tests::allocationCount();
    Variant constructed(std::move(source));
    Variant assigned(true);
    assigned = std::move(constructed);
    EXPECT_EQ(tests::allocationCount(), allocations);
    for (const Variant* left : {&source, &constructed}) {
      EXPECT_TRUE(*left == V_NULL && rawAt<std::uint64_t>(*left, kPayloadAt) == 0);
    }
    Variant& same = assigned;
    assigned = same;
    assigned = std::move(same);
    EXPECT_TRUE(assigned == original);
    EXPECT_EQ(rawAt<std::uint64_t>(assigned, kPayloadAt), payload);
    Variant resetTarget = assigned;
    EXPECT_EQ(&resetTarget.Reset(), &resetTarget);
    assigned.Free();
    assigned.Free();
    EXPECT_TRUE(assigned == V_NULL && resetTarget == V_NULL && !assigned);
  }
}

TEST(Value, CopiesAreDeepAndReleasedWhole) {
  const std::size_t before = liveBlocks();
  {
    // An array-flagged typed map "cam" with the array [7] under 5 and "x" under k.
    const Variant original =
        fromBin("10 11 01 03 63 61 6D 01 05 10 10 01 01 00 E0 04 07 00 01 01 6B 10 0E 01 78");
    Variant copy(original), assigned(parsed("{\"old\":[1]}"));
    assigned = original;
    EXPECT_TRUE(copy == original && assigned == original && copy == V_TYPED_MAP && copy.IsArray());
    EXPECT_EQ(static_cast<const VariantMap*>(copy)->typeName, "cam");
    copy[5][0] = 8;
    assigned["k"] = "y";
    EXPECT_TRUE(original[5][0] == 7 && original["k"] == "x" && copy != original);
    Variant fresh;
    fresh.Copy(original);
    EXPECT_TRUE(fresh == original);
  }
  EXPECT_EQ(liveBlocks(), before);
}

TEST(Value, TakesWhatLivesInsideIt) {
  using Text = const std::string&;
  using Chars = const char*;
  const struct {
    const char* before;
    void (*action)(Variant& v);
    const char* after;
  } cases[] = {
      {R"({"a":{"b":1}})", [](Variant& v) { v = v["a"]; }, R"({"b":1})"},
      {R"({"a":{"b":[1,2]}})", [](Variant& v) { v = std::move(v["a"]["b"]); }, "[1,2]"},
      {R"(["text"])", [](Variant& v) { v = static_cast<Text>(v[0]); }, R"("text")"},
      {R"(["text"])", [](Variant& v) { v = static_cast<Chars>(v[0]) + 1; }, R"("ext")"},
      {R"("some longer text than fits in place")", [](Variant& v) { v = static_cast<Text>(v); },
       R"("some longer text than fits in place")"},
      {R"("text")", [](Variant& v) { v = static_cast<Chars>(v) + 2; }, R"("xt")"},
      {R"(["1970-01-01T00:00:01.000000Z"])", [](Variant& v) { v = v[0].operator const timeval&(); },
       R"("1970-01-01T00:00:01.000000Z")"},
      {R"({"a":null,"b":1})", [](Variant& v) { v["a"] = v; }, R"({"a":{"a":null,"b":1},"b":1})"},
      {R"({"b":[1]})", [](Variant& v) { v["a"] = v["b"]; }, R"({"a":[1],"b":[1]})"},
      {R"("k")", [](Variant& v) { v[v] = 1; }, R"({"k":1})"},
      {R"("k")", [](Variant& v) { v[static_cast<Chars>(v)] = 1; }, R"({"k":1})"},
      {R"("k")", [](Variant& v) { v[static_cast<Text>(v)] = 1; }, R"({"k":1})"},
      {"-1", [](Variant& v) { v[v] = 1; }, "[1]"},
      {R"({"k":"n"})", [](Variant& v) { v[v["k"]] = 1; }, R"({"k":"n","n":1})"},
      {R"({"a":"x"})", [](Variant& v) { v["a"][v["a"]] = 1; }, R"({"a":{"x":1}})"},
      {R"({"KEY":"key","Key":1,"key":2,"x":3})",
       [](Variant& v) { v.RemoveValue(static_cast<Text>(v["KEY"]), false); }, R"({"x":3})"},
      {R"({"KEY":"key","Key":1,"key":2,"x":3})",
       [](Variant& v) { v.RemoveValue(static_cast<Chars>(v["KEY"]), false); }, R"({"x":3})"},
      {R"({"k":"k","x":2})", [](Variant& v) { v.RemoveValue(static_cast<Text>(v["k"]), true); },
       R"({"x":2})"},
      {R"({"a":1,"t":null})", [](Variant& v) { v.Stringify(v["t"], true, true); },
       R"({"a":1,"t":{"a":"1","t":"null"}})"},
      {R"({"a":[1]})", [](Variant& v) { v["a"].Stringify(v, true, true); }, R"({"0":"1"})"},
  };
  for (const auto& c : cases) {
    const std::size_t blocks = liveBlocks();
    {
      Variant value = parsed(c.before);
      c.action(value);
      EXPECT_EQ(json(value), c.after) << c.before;
    }
    EXPECT_EQ(liveBlocks(), blocks) << c.before;
  }
}

TEST(Value, IsNullAfterAFailedAssignment) {
  const Variant source = parsed(R"({"a":["x",{"b":2}],"c":"d","B":1})");
  const std::string text(100, 'x');
  const timeval time{1, 2};
  const std::function<void(Variant&)> actions[] = {
      [&](Variant& v) { v = source; }, [&](Variant& v) { v = v[0]; }, [&](Variant& v) { v = text; },
      [&](Variant& v) { v = time; }, [&](Variant& v) { v.AllocateBuffer(10, true); }};
  for (const auto& action : actions) {
    const std::size_t blocks = liveBlocks();
    bool failed = true;
    for (std::size_t n = 0; failed; ++n) {
      Variant value = parsed(R"([["a text that has a block of its own",[{"deep":1}]]])");
      {
        const FailingAllocation failure(n);
        try {
          action(value);
        } catch (const std::bad_alloc&) {
        }
        failed = failure.happened();
      }
      EXPECT_EQ(value == V_NULL, failed) << n;
    }
    EXPECT_EQ(liveBlocks(), blocks);
  }
}

// --- Typed reads ---------------------------------------------------------------------------------

TEST(TypedReads, EveryScalarAsEveryNumber) {
  Variant narrowed(std::int64_t{4294967296});
  narrowed = std::int8_t{0};  // what was in the rest of the payload no longer counts
  const struct {
    Variant stored;
    std::int32_t i32;
    std::uint32_t u32;
    std::int64_t i64;
    std::uint64_t u64;
    double number;
    bool flag;
  } cases[] = {
      {Variant(), 0, 0, 0, 0, 0.0, false},
      {false, 0, 0, 0, 0, 0.0, false},
      {true, 1, 1, 1, 1, 1.0, true},
      {narrowed, 0, 0, 0, 0, 0.0, false},
      {std::int8_t{-1}, -1, 4294967295, -1, kMaxU64, -1.0, true},
      {std::int16_t{-129}, -129, 4294967167, -129, kMaxU64 - 128, -129.0, true},
      {std::int64_t{4294967297}, 1, 1, 4294967297, 4294967297, 4294967297.0, true},
      {std::int64_t{4294967296}, 0, 0, 4294967296, 4294967296, 4294967296.0, true},
      {kMin64, 0, 0, kMin64, 1ull << 63, -0x1p63, true},
      {kMax64, -1, 4294967295, kMax64, (1ull << 63) - 1, 0x1p63, true},
      {std::uint8_t{200}, 200, 200, 200, 200, 200.0, true},
      {std::uint16_t{65535}, 65535, 65535, 65535, 65535, 65535.0, true},
      {std::uint32_t{4294967295}, -1, 4294967295, 4294967295, 4294967295, 4294967295.0, true},
      {kMaxU64, -1, 4294967295, -1, kMaxU64, 0x1p64, true},
      {0.0, 0, 0, 0, 0, 0.0, false},
      {-0.0, 0, 0, 0, 0, 0.0, true},
      {5e-324, 0, 0, 0, 0, 5e-324, true},
      {-0.9, 0, 0, 0, 0, -0.9, true},
      {2.9, 2, 2, 2, 2, 2.9, true},
      {-3.99, -3, 0, -3, 0, -3.99, true},
      {300.7, 300, 300, 300, 300, 300.7, true},
      {70000.9, 70000, 70000, 70000, 70000, 70000.9, true},
      {2147483647.9, kMax32, 2147483647, 2147483647, 2147483647, 2147483647.9, true},
      {2147483648.0, kMax32, 2147483648, 2147483648, 2147483648, 2147483648.0, true},
      {-2147483649.0, kMin32, 0, -2147483649, 0, -2147483649.0, true},
      {4294967296.0, kMax32, 4294967295, 4294967296, 4294967296, 4294967296.0, true},
      {1e10, kMax32, 4294967295, 10000000000, 10000000000, 1e10, true},
      {0x1p63, kMax32, 4294967295, kMax64, 1ull << 63, 0x1p63, true},
      {-0x1p63, kMin32, 0, kMin64, 0, -0x1p63, true},
      {0x1p64, kMax32, 4294967295, kMax64, kMaxU64, 0x1p64, true},
      {1e300, kMax32, 4294967295, kMax64, kMaxU64, 1e300, true},
      {-kInfinity, kMin32, 0, kMin64, 0, -kInfinity, true},
      {kNaN, 0, 0, 0, 0, kNaN, true},
  };
  for (const auto& c : cases) {
    const Variant& v = c.stored;
    SCOPED_TRACE(v.ToString());
    EXPECT_EQ(v.operator std::int32_t(), c.i32);
    EXPECT_EQ(v.operator std::uint32_t(), c.u32);
    EXPECT_EQ(v.operator std::int64_t(), c.i64);
    EXPECT_EQ(v.operator std::uint64_t(), c.u64);
    // Whatever is stored, the narrow reads give the low bits of the 32-bit ones.
    EXPECT_EQ(v.operator std::int8_t(), static_cast<std::int8_t>(c.i32));
    EXPECT_EQ(v.operator std::int16_t(), static_cast<std::int16_t>(c.i32));
    EXPECT_EQ(v.operator std::uint8_t(), static_cast<std::uint8_t>(c.u32));
    EXPECT_EQ(v.operator std::uint16_t(), static_cast<std::uint16_t>(c.u32));
    const double number = v;
    EXPECT_TRUE(number == c.number || (std::isnan(number) && std::isnan(c.number)));
    EXPECT_EQ(v.operator bool(), c.flag);
  }
  EXPECT_EQ(Variant(300.7).operator std::int8_t(), 44);
  EXPECT_EQ(Variant(1e10).operator std::int16_t(), -1);
  EXPECT_EQ(Variant(70000.9).operator std::uint16_t(), 4464);
  EXPECT_TRUE(std::signbit(Variant(-0.0).operator double()));
}

TEST(TypedReads, NothingButScalarsIsEverTrue) {
  std::uint8_t byte = 1;
  for (const Variant& value : {Variant("text"), Variant(timeval{1, 1}), Variant(&byte, 1, true),
                               parsed("[1]"), typedMap()}) {
    EXPECT_FALSE(value) << value.ToString();
  }
  EXPECT_EQ(tests::takeMessages(), tests::Messages{});
}

template <class T>
void readAs(const Variant& value) {
  static_cast<void>(value.operator T());
}

TEST(TypedReads, OtherTypesAreViolations) {
  const Variant null, text("12"), time(timeval{}), map = parsed("{}");
  const Variant binary(nullptr, 0, false);
  const struct {
    const char* function;
    void (*read)(const Variant&);
    const Variant& value;
    const char* message;
  } cases[] = {
      {"operator int8_t", readAs<std::int8_t>, text, "Invalid variant type: 0x100e"},
      {"operator int16_t", readAs<std::int16_t>, text, "Invalid variant type: 0x100e"},
      {"operator int32_t", readAs<std::int32_t>, text, "Invalid variant type: 0x100e"},
      {"operator int64_t", readAs<std::int64_t>, time, "Invalid variant type: 0x100d"},
      {"operator uint8_t", readAs<std::uint8_t>, binary, "Invalid variant type: 0x100f"},
      {"operator uint16_t", readAs<std::uint16_t>, map, "Invalid variant type: 0x1010"},
      {"operator uint32_t", readAs<std::uint32_t>, map, "Invalid variant type: 0x1010"},
      {"operator uint64_t", readAs<std::uint64_t>, typedMap(), "Invalid variant type: 0x1011"},
      {"operator double", readAs<double>, text, "Invalid variant type: 0x100e"},
      {"operator const timeval&", readAs<const timeval&>, null, "Invalid state"},
      {"operator const timeval&", readAs<const timeval&>, text, "Invalid state"},
      {"operator const string&", readAs<const std::string&>, null, "Invalid state"},
      {"operator const string&", readAs<const std::string&>, binary, "Invalid state"},
      {"operator const char*", readAs<const char*>, null, "Invalid state"},
      {"operator const char*", readAs<const char*>, map, "Invalid state"},
      {"operator const vexo::variant::VariantMap*", readAs<const VariantMap*>, null,
       "Invalid state"},
      {"operator const vexo::variant::VariantMap*", readAs<const VariantMap*>, text,
       "Invalid state"},
      {"operator const vexo::variant::VariantBuffer*", readAs<const VariantBuffer*>, null,
       "Invalid state"},
      {"operator const vexo::variant::VariantBuffer*", readAs<const VariantBuffer*>, typedMap(),
       "Invalid state"},
  };
  for (const auto& c : cases) {
    EXPECT_DEATH(c.read(c.value),
                 tests::violation("src/variant_cast", c.function, c.message) + "\n");
  }
  readAs<const VariantMap*>(typedMap());  // a typed map is a map
}

// --- Equality ------------------------------------------------------------------------------------

TEST(Equality, ComparesInTheDomainOfTheLeftValue) {
  std::uint8_t bytes[] = {1, 2, 3}, other[] = {1, 2, 4};
  const Variant ownedEmpty(nullptr, 0, false);
  const std::string typed = "10 11 01 03 63 61 6D 00 01 01 61 E0 04 05";
  const struct {
    Variant left, right;
    bool equal, reversed;
  } cases[] = {
      {Variant(), Variant(), true, true},
      {Variant(), false, false, false},
      {Variant(), 0, false, false},
      {true, true, true, true},
      {true, false, false, false},
      {true, std::uint8_t{1}, false, false},
      {std::uint8_t{7}, std::int64_t{7}, true, true},
      {std::int16_t{-7}, std::int32_t{-7}, true, true},
      {std::int64_t{-1}, kMaxU64, true, true},
      {std::uint8_t{255}, std::int8_t{-1}, false, false},
      {2, 2.5, true, false},
      {2, 2.0, true, true},
      {kMax64, 1e300, true, false},
      {std::uint8_t{0}, -3.5, true, false},
      {0, kNaN, true, false},
      {0.0, -0.0, true, true},
      {kNaN, kNaN, false, false},
      {9007199254740993, 9007199254740992.0, false, true},  // 2^53 + 1 rounds as a double
      {"abc", "abc", true, true},
      {"abc", "ABC", false, false},
      {kWithZero, "a", false, false},
      {"5", 5, false, false},
      {timeval{5, 6}, timeval{5, 6}, true, true},
      {timeval{5, 6}, timeval{5, 7}, false, false},
      {timeval{5, 6}, timeval{4, 6}, false, false},
      {Variant(bytes, 3, true), Variant(bytes, 3, false), true, true},
      {Variant(bytes, 3, true), Variant(bytes, 2, true), false, false},
      {Variant(bytes, 3, false), Variant(other, 3, false), false, false},
      {ownedEmpty, Variant(ownedEmpty), true, true},  // no data against an empty array
      {ownedEmpty, Variant(bytes, 0, true), true, true},
      {parsed(R"({"b":1,"a":[2]})"), parsed(R"({"a":[2],"b":1})"), true, true},
      {parsed(R"({"a":[2]})"), parsed(R"({"a":[2.5]})"), true, false},
      {parsed(R"({"a":1})"), parsed(R"({"A":1})"), false, false},
      {parsed(R"({"a":1})"), parsed(R"({"a":1,"b":null})"), false, false},
      {parsed(R"({"a":1,"b":1})"), parsed(R"({"a":1,"c":1})"), false, false},
      {parsed("[0,1]"), parsed(R"({"0":0,"1":1})"), false, false},  // only the flag differs
      {parsed(R"({"0":5})"), parsed(R"({"1":5})"), false, false},
      {parsed("[]"), Variant(), false, false},
      {parsed("[]"), 0, false, false},
      {parsed("[[[1],2]]"), parsed("[[[1],3]]"), false, false},
      {parsed("[[[]],2]"), parsed("[[1],2]"), false, false},
      {fromBin(typed), fromBin(typed), true, true},
      {fromBin(typed), fromBin("10 10 01 00 01 01 61 E0 04 05"), false, false},
      {fromBin(typed), fromBin("10 11 01 03 63 61 6E 00 01 01 61 E0 04 05"), false, false},
      {fromBin(typed), fromBin("10 11 01 03 63 61 6D 00 01 01 61 C0 0B 00 00 00 00 00 00 00 05"),
       true, true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.left == c.right, c.equal) << c.left.ToString() << " == " << c.right.ToString();
    EXPECT_EQ(c.right == c.left, c.reversed) << c.right.ToString() << " == " << c.left.ToString();
    EXPECT_NE(c.left != c.right, c.equal);
    EXPECT_NE(c.right != c.left, c.reversed);
  }
  EXPECT_EQ(tests::takeMessages(), tests::Messages{});
}

TEST(Equality, TellsIntegerKeysFromStringKeys) {
  Variant integer, both;
  integer[1] = both[1] = both["1"] = 5;
  Variant string;
  string["1"] = 5;
  EXPECT_FALSE(integer == string || integer == both || both == string);
  both.RemoveValue("1", true);
  EXPECT_TRUE(integer == both);
}

TEST(Equality, PlainValuesCompareWithTheirOwnKind) {
  EXPECT_TRUE(Variant(2.5) == std::int64_t{2} && Variant(2.5) != 2.0 && Variant(2.5) == 2.5);
  EXPECT_TRUE(Variant(-1) == kMaxU64 && Variant(kMaxU64) == std::int64_t{-1});
  EXPECT_TRUE(Variant(-3.5) == std::uint64_t{0} && Variant(1e300) == kMax64);
  EXPECT_FALSE(Variant(1) == true || Variant(true) == std::int64_t{1} || Variant() == 0.0);
  EXPECT_FALSE(Variant("") == false || Variant("5") == std::int64_t{5} || Variant() == "");
  EXPECT_TRUE(Variant(kWithZero) == kWithZero && Variant(kWithZero) != kWithZero.c_str());
  EXPECT_TRUE(Variant("a") != kWithZero && Variant("a") == kWithZero.c_str());
  const char* const nothing = nullptr;
  EXPECT_TRUE(Variant("") != nothing && Variant() != nothing && !(Variant("a") == nothing));
  const timeval early{1, 2}, late{1, 3};
  EXPECT_TRUE(Variant(early) == early && Variant(early) != late);
}

// --- Iteration -----------------------------------------------------------------------------------

TEST(Iteration, IsInKeyOrderAndWrites) {
  Variant value;
  for (const int key : {3, -5, 0}) value[key] = key;
  for (const char* key : {"abc", "B", "ab", "a"}) value[key] = key;
  value[std::string("\xFF")] = "last";
  std::string order;
  const Variant& same = value;
  for (auto it = same.num_begin(); it != same.num_end(); ++it) {
    order += std::to_string(it->first) + ' ';
  }
  for (auto it = value.str_begin(); it != value.str_end(); ++it) order += it->first + ' ';
  EXPECT_EQ(order, "-5 0 3 B a ab abc \xFF ");
  (--value.num_end())->second = "changed";
  value.str_begin()->second["nested"] = 1;
  EXPECT_TRUE(same[3] == "changed" && same["B"]["nested"] == 1);
  const auto kept = value.str_begin();
  value.RemoveValue("ab", true);
  value["A"] = 1;
  EXPECT_EQ(std::next(kept)->first, "a");
  EXPECT_EQ(std::prev(kept)->first, "A");
}

TEST(Iteration, NeedsAMap) {
  const struct {
    const char* function;
    void (*changing)(Variant&);
    void (*reading)(const Variant&);
  } cases[] = {
      {"num_begin", [](Variant& v) { v.num_begin(); }, [](const Variant& v) { v.num_begin(); }},
      {"num_end", [](Variant& v) { v.num_end(); }, [](const Variant& v) { v.num_end(); }},
      {"str_begin", [](Variant& v) { v.str_begin(); }, [](const Variant& v) { v.str_begin(); }},
      {"str_end", [](Variant& v) { v.str_end(); }, [](const Variant& v) { v.str_end(); }},
  };
  Variant null, text("text");
  for (const auto& c : cases) {
    const auto message = tests::violation("src/variant_iterators", c.function, "Invalid state");
    EXPECT_DEATH(c.changing(null), message + "\n");
    EXPECT_DEATH(c.reading(text), message + "\n");
  }
}

// --- Record classes ------------------------------------------------------------------------------

struct Record : BaseVariantContainer {
  using BaseVariantContainer::BaseVariantContainer;
  using BaseVariantContainer::operator=;
  explicit Record(int* destroyed) : destroyed_(destroyed) {}
  Record(const Record&) = default;
  Record& operator=(const Record&) = default;
  ~Record() override {
    if (destroyed_ != nullptr) ++*destroyed_;
  }
  void NormalizeFields() override { ValidateBool("on", true, false); }
  int* destroyed_ = nullptr;
};

TEST(Container, StartsAsAnEmptyMap) {
  BaseVariantContainer container;
  const VariantMap* map = container;
  EXPECT_TRUE(container == V_MAP && !container.IsArray() && container.KeysCount() == 0);
  EXPECT_TRUE(map->typeName.empty() && container.num_begin() == container.num_end() &&
              container.str_begin() == container.str_end());
  container.NormalizeFields();
  EXPECT_EQ(json(container), "{}");
}

TEST(Container, HoldsWhatItIsMadeFrom) {
  Variant source = parsed(R"({"a":[1]})");
  const VariantMap* map = source;
  BaseVariantContainer number(Variant(std::int32_t{5})), copy(source), moved(std::move(source));
  EXPECT_TRUE(number == V_INT32 && number == 5 && copy == moved && source == V_NULL);
  EXPECT_EQ(static_cast<const VariantMap*>(moved), map);
  BaseVariantContainer target;
  EXPECT_EQ(&(target = std::move(moved)), &target);
  EXPECT_EQ(static_cast<const VariantMap*>(target), map);
  EXPECT_TRUE(moved == V_NULL && (moved = target) == copy && &(moved = copy) == &moved);
  target = target["a"][0];
  EXPECT_TRUE(target == V_INT8 && target == 1);
  Variant plain = std::move(copy);
  EXPECT_TRUE(plain == moved && copy == V_NULL);
}

TEST(Container, DerivedClassesAreDestroyedThroughVariant) {
  int destroyed = 0;
  const std::size_t blocks = liveBlocks();
  {
    std::unique_ptr<Variant> value = std::make_unique<Record>(&destroyed);
    (*value)["a"]["b"] = "text";
    auto* const container = dynamic_cast<BaseVariantContainer*>(value.get());
    ASSERT_NE(container, nullptr);
    container->NormalizeFields();
    EXPECT_EQ(json(*value), R"({"a":{"b":"text"},"on":true})");
    EXPECT_EQ(destroyed, 0);
  }
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(liveBlocks(), blocks);
  Record assigned(parsed("[1]"));
  assigned = Variant("text");
  EXPECT_TRUE(assigned == "text");
}

}  // namespace
}  // namespace vexo::variant
