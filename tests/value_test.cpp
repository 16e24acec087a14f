// Values: what they hold and own, how they are read and compared.
#include <bit>
#include <cstring>

#include "host.h"
#include "vexo_variant/lookup.h"

namespace vexo::variant {
namespace {

using namespace tests;
using Text = const std::string&;
using Buffer = const VariantBuffer*;
using I8 = std::int8_t;
using I64 = std::int64_t;
using U8 = std::uint8_t;
using U64 = std::uint64_t;

const std::string kWithZero("a\0b", 3);

// --- Layout --------------------------------------------------------------------------------------

constexpr std::size_t kPointer = sizeof(void*);
constexpr std::size_t kPayloadAt = (kPointer + sizeof(std::uint32_t) + 7) / 8 * 8;
template <class T>
constexpr bool kIsPlain =
    sizeof(T) == kPayloadAt + 8 &&
    std::is_nothrow_move_constructible_v<T>&& std::is_nothrow_assignable_v<T&, Variant&&>;
static_assert(kIsPlain<Variant> && kIsPlain<BaseVariantContainer> && alignof(Variant) == 8);
static_assert(offsetof(VariantBuffer, external) == 0 && sizeof(VariantBuffer::external) == 1 &&
              offsetof(VariantBuffer, data) == kPointer &&
              offsetof(VariantBuffer, size) == 2 * kPointer);
static_assert(offsetof(VariantMap, isArray) == 0 && sizeof(VariantMap::isArray) == 1 &&
              offsetof(VariantMap, typeName) == kPointer &&
              offsetof(VariantMap, typeName) < offsetof(VariantMap, numericKeys) &&
              offsetof(VariantMap, numericKeys) < offsetof(VariantMap, stringKeys));

template <class T>
T payload(const Variant& value) {
  T field;
  std::memcpy(&field, reinterpret_cast<const char*>(&value) + kPayloadAt, sizeof field);
  return field;
}

/// Gives a value a type and a payload that no constructor would; it gets rid of neither.
void forge(V value, std::uint32_t type, U64 payload = 0) {
  std::memcpy(reinterpret_cast<char*>(&value) + kPointer, &type, sizeof type);
  std::memcpy(reinterpret_cast<char*>(&value) + kPayloadAt, &payload, sizeof payload);
}

TEST(Value, TypeCodesHaveNames) {
  // Below the types, what is none: no ordinal 2, wrong class bits, beyond the table.
  std::istringstream cases(
      "8001 NULL 8003 BOOL e004 INT8 e005 INT16 e006 INT32 e007 INT64 c008 UINT8 c009 UINT16 "
      "c00a UINT32 c00b UINT64 e00c DOUBLE 100d TIMESTAMP 100e STRING 100f BINARY 1010 MAP "
      "1011 TYPED_MAP 4000 NUMERIC ffff ANY 0 unknown 2 unknown 8002 unknown 1 unknown "
      "9001 unknown 100c unknown e00b unknown 1012 unknown 80ff unknown fffe unknown");
  unsigned code = 0;
  for (std::string name; cases >> std::hex >> code >> name;)
    EXPECT_EQ(Variant::VariantTypeToString(static_cast<VariantType>(code)), name) << code;
}

// --- Life ----------------------------------------------------------------------------------------

void expectReads(const Variant& v, std::int32_t i32, std::uint32_t u32, I64 i64, U64 u64) {
  EXPECT_TRUE(v.operator std::int32_t() == i32 && v.operator std::uint32_t() == u32);
  EXPECT_TRUE(v.operator I64() == i64 && v.operator U64() == u64);
  // Whatever is stored, the narrow reads give the low bits of the 32-bit ones.
  EXPECT_TRUE(v.operator I8() == static_cast<I8>(i32) && v.operator U8() == static_cast<U8>(u32));
  EXPECT_TRUE(v.operator std::int16_t() == static_cast<std::int16_t>(i32));
  EXPECT_TRUE(v.operator std::uint16_t() == static_cast<std::uint16_t>(u32));
}

/// Both ends of an integer type lie in the value at their own width, under the type of that width
/// and sign, and read and compare as what they are.
template <class T>
void expectStored(bool isSigned = std::is_signed_v<T>) {
  constexpr int kIndex = sizeof(T) == 8 ? 3 : sizeof(T) / 2;  // V_INT8 to V_INT64
  const auto type = static_cast<VariantType>((isSigned ? V_INT8 : V_UINT8) + kIndex);
  for (const T value : {std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), T{1}}) {
    const std::size_t before = liveBlocks();
    const Variant made(value);
    Variant assigned = parsed(R"({"old":["content"]})");
    assigned = value;
    EXPECT_EQ(liveBlocks(), before);
    EXPECT_TRUE(made == type && assigned == type && T(made) == value) << made.ToString();
    EXPECT_TRUE(payload<T>(made) == value && payload<T>(assigned) == value);
    EXPECT_TRUE(made == value && value == assigned && made == assigned);
    EXPECT_FALSE(made != value || value != made || made == T(value ^ 1));
    const auto wide = isSigned ? I64{std::make_signed_t<T>(value)} : static_cast<I64>(value);
    const auto bits = static_cast<U64>(wide);
    Variant dirty(value);  // the bytes behind the number do not count
    std::memset(reinterpret_cast<char*>(&dirty) + kPayloadAt + sizeof(T), 0xEE, 8 - sizeof(T));
    EXPECT_TRUE(made == dirty && dirty == made && toBin(dirty) == toBin(made));
    for (const Variant& each : {made, dirty}) {
      expectReads(each, static_cast<int>(bits), static_cast<unsigned>(bits), wide, bits);
      EXPECT_EQ(each.operator double(), isSigned ? double(wide) : double(bits));
      EXPECT_EQ(each.operator bool(), bits != 0);
      EXPECT_EQ(json(each), isSigned ? std::to_string(wide) : std::to_string(bits));
    }
    dirty.Compact();
    EXPECT_EQ(dirty, made);
  }
}

TEST(Value, StoresIntegersByWidthAndSign) {
  const auto each = [](auto... value) { (expectStored<decltype(value)>(), ...); };
  each(I8{}, short{}, 0, 0L, 0LL, std::time_t{}, U8{}, u'a', 0u, 0ul, 0ull, U'a');
  // Their own signedness differs by target, that of the stored value does not.
  expectStored<char>(true);
  expectStored<wchar_t>(true);
  Variant narrowed(INT64_MAX);
  narrowed = true;
  expectReads(narrowed, 1, 1, 1, 1);
  narrowed = I8{0};  // what was in the rest of the payload no longer counts
  for (const Variant& zero : {Variant(), Variant(false), narrowed}) expectReads(zero, 0, 0, 0, 0);
  EXPECT_TRUE(Variant() == V_NULL && payload<U64>(Variant()) == 0 && !narrowed && Variant(true));
}

TEST(Value, StringsAndTimestampsAreCopiedIn) {
  std::string text = kWithZero;
  Variant string(text), timestamp(timeval{-7, 999999}), assigned(5);
  text = "changed";
  EXPECT_TRUE(Text(string) == kWithZero && Text(Variant(kWithZero.c_str())) == "a");
  EXPECT_STREQ(Chars(string), "a");
  const timeval& stored = timestamp;
  EXPECT_TRUE(stored.tv_sec == -7 && stored.tv_usec == 999999);
  EXPECT_TRUE((assigned = kWithZero) == string && (assigned = stored) == timestamp);
  EXPECT_TRUE((assigned = "") == V_STRING && assigned == "");
  const Chars nothing = nullptr;
  EXPECT_THROW(Variant{nothing}, std::logic_error);
  EXPECT_TRUE(&(timestamp = nothing) == &timestamp && timestamp == V_NULL);
}

TEST(Value, BuffersOwnTheirBytesUnlessExternal) {
  U8 bytes[] = {1, 2, 3};
  const std::size_t before = liveBlocks();
  {
    Variant external(bytes, 3, true), copy(external), owned(bytes, 3, false), assigned("old");
    assigned = external;
    const Buffer view = std::as_const(external);
    EXPECT_TRUE(view->external && view->data == bytes && view->size == 3);
    bytes[0] = 9;
    for (const Variant* each : {&copy, &owned, &assigned}) {
      const Buffer buffer = *each;
      EXPECT_TRUE(buffer->external == 0 && buffer->size == 3 && buffer->data[0] == 1);
      EXPECT_TRUE(*each != external && *each == copy);
    }
    EXPECT_EQ(Buffer(Variant(std::move(external))), view);
  }
  EXPECT_TRUE(liveBlocks() == before && bytes[0] == 9 && bytes[2] == 3);
  const Variant empty(bytes, 0, false), emptyView(nullptr, 0, true);
  EXPECT_TRUE(!Buffer(empty)->data && Buffer(Variant(empty))->data);
  EXPECT_NE(Buffer(Variant(emptyView))->data, nullptr);

  Variant value = parsed("[1,[2]]");
  VariantBuffer* record = value.AllocateBuffer(16, true);
  EXPECT_TRUE(Buffer(value) == record && record->external == 0 && record->size == 16);
  EXPECT_EQ(std::count(record->data, record->data + 16, 0), 16);
  record->size = 2;  // lowering it is how a decoder ends
  EXPECT_TRUE(json(value) == R"("b64:AAA=")" && Buffer(Variant(value))->size == 2);
  EXPECT_EQ(value.AllocateBuffer(0, true)->data, nullptr);
}

TEST(Value, MovesHandTheRecordOverAndCopiesAreDeep) {
  const std::size_t before = liveBlocks();
  // The last: an array-flagged typed map "cam" with the array [7] under 5 and "x" under k.
  for (const Variant& original :
       {Variant("text"), Variant(timeval{1, 2}), parsed(R"([{"a":2}])"), Variant(5),
        decoded("1011 01 0363616D 01 05 1010 01 01 00 E004 07 00 01 016B 100E 0178")}) {
    Variant source = original, copied(parsed(R"({"old":[1]})")), fresh;
    const auto record = payload<U64>(source);
    const std::size_t allocations = allocationCount();
    Variant constructed(std::move(source)), assigned(true);
    assigned = std::move(constructed);
    EXPECT_EQ(allocationCount(), allocations);
    EXPECT_TRUE(source == V_NULL && constructed == V_NULL && payload<U64>(constructed) == 0);
    Variant& same = assigned;
    assigned = same;
    assigned = std::move(same);
    EXPECT_TRUE(assigned == original && payload<U64>(assigned) == record);
    copied = original;
    fresh.Copy(original);
    EXPECT_TRUE(copied == original && fresh == original);
    copied[5][0] = 8;
    EXPECT_TRUE(assigned == original && copied != original);
    EXPECT_TRUE(&assigned.Reset() == &assigned && assigned == V_NULL && !assigned);
  }
  EXPECT_EQ(liveBlocks(), before);
}

TEST(Value, TakesWhatLivesInsideIt) {
  // clang-format off
  expectChanges([](V v) { v = v["a"]; },                   R"({"a":{"b":1}} => {"b":1})");
  expectChanges([](V v) { v = std::move(v["a"]["b"]); },   R"({"a":{"b":[1,2]}} => [1,2])");
  expectChanges([](V v) { v = Text(v[0]); },               R"(["text"] => "text")");
  expectChanges([](V v) { v = Text(v); },     R"("no longer in place" => "no longer in place")");
  expectChanges([](V v) { v = Chars(v) + 2; },   R"("no longer in place" => " longer in place")");
  expectChanges([](V v) { v[0] = timeval{}, v = v[0].operator const timeval&(); },
                R"(null => "1970-01-01T00:00:00.000000Z")");
  expectChanges([](V v) { v["a"] = v; },    R"({"a":null,"b":1} => {"a":{"a":null,"b":1},"b":1})");
  expectChanges([](V v) { v["a"] = v["b"]; },              R"({"b":[1]} => {"a":[1],"b":[1]})");
  expectChanges([](V v) { v[v] = 1; },                     R"("k" => {"k":1})");
  expectChanges([](V v) { v[Chars(v)] = 1; },              R"("k" => {"k":1})");
  expectChanges([](V v) { v[v["k"]] = 1; },                R"({"k":"n"} => {"k":"n","n":1})");
  expectChanges([](V v) { v.RemoveValue(Text(v["A"]), false); },    R"({"A":"a","a":1} => {})");
  expectChanges([](V v) { v.RemoveValue(Chars(v["A"]), false); },   R"({"A":"a","a":1} => {})");
  expectChanges([](V v) { v.RemoveValue(Text(v["k"]), true); },   R"({"k":"k","x":2} => {"x":2})");
  expectChanges([](V v) { v.Stringify(v["t"], true, true); },
                R"({"a":1,"t":null} => {"a":1,"t":{"a":"1","t":"null"}})");
  expectChanges([](V v) { v["a"].Stringify(v, true, true); },       R"({"a":[1]} => {"0":"1"})");
  // clang-format on
}

TEST(Value, DamagedOnesDoNoHarm) {
  Variant damaged, tree = parsed(R"({"a":1,"b":[]})");
  for (const unsigned type : {0x8002u, 0xC00Fu, 0xE003u, 0x18003u}) {  // no such types
    forge(damaged, type, 1);
    EXPECT_FALSE(damaged == damaged || damaged == 1 || damaged == true || damaged) << type;
    EXPECT_EQ(damaged.GetBinRequiredLength(), 0u) << type;
  }
  for (const unsigned type : {V_TIMESTAMP, V_STRING, V_BINARY, V_MAP, V_TYPED_MAP}) {  // no record
    forge(tree["a"], type);
    forge(tree["b"][-1], type);
    tree["a"].Free();
    EXPECT_EQ(json(tree["a"]), "null");
  }
  forge(damaged, 0x11010);
  EXPECT_TRUE(damaged != V_MAP && find(damaged, "a") == nullptr && !valueAs<int>(damaged));
  EXPECT_STREQ(Variant::VariantTypeToString(damaged), "unknown");
  EXPECT_EQ(damaged.ToInternalAMF(nullptr, 0), 0u);
  EXPECT_EQ(takeMessages(), Messages{"src/variant_amf ToInternalAMF 3: variant type not supported "
                                     "by AMF serializer: unknown Ignoring it"});
  forge(damaged, V_BOOL, ~U64{0} << 8);  // only the first byte counts
  if (std::endian::native == std::endian::big) forge(damaged, V_BOOL, ~U64{0} >> 8);
  EXPECT_TRUE(!damaged && damaged == false && damaged == Variant(false) &&
              json(damaged) == "false");
}

TEST(Value, DoublesTruncateAndSaturate) {
  constexpr std::uint32_t kTop = UINT32_MAX;
  // clang-format off
  const struct { double stored; std::int32_t i32; std::uint32_t u32; I64 i64; U64 u64; } cases[] = {
      {0.0, 0, 0, 0, 0},  {-0.0, 0, 0, 0, 0},  {5e-324, 0, 0, 0, 0},  {-3.99, -3, 0, -3, 0},
      {70000.9, 70000, 70000, 70000, 70000},   {1e10, INT32_MAX, kTop, 10000000000, 10000000000},
      {2147483648.0, INT32_MAX, 2147483648, 2147483648, 2147483648},        {NAN, 0, 0, 0, 0},
      {-2147483649.0, INT32_MIN, 0, -2147483649, 0},     {-INFINITY, INT32_MIN, 0, INT64_MIN, 0},
      {4294967296.0, INT32_MAX, kTop, 4294967296, 4294967296},
      {0x1p63, INT32_MAX, kTop, INT64_MAX, 1ull << 63},  {-0x1p63, INT32_MIN, 0, INT64_MIN, 0},
      {0x1p64, INT32_MAX, kTop, INT64_MAX, UINT64_MAX}};
  // clang-format on
  for (const auto& [stored, i32, u32, i64, u64] : cases) {
    const Variant value(stored);
    Variant copy = "text";
    copy = value.operator double();
    SCOPED_TRACE(stored);
    expectReads(value, i32, u32, i64, u64);
    EXPECT_TRUE(value == V_DOUBLE && payload<U64>(copy) == payload<U64>(value));
    EXPECT_EQ(value.operator bool(), payload<U64>(value) != 0);
  }
}

// --- Equality ------------------------------------------------------------------------------------

void expectEqual(const Variant& left, const Variant& right, bool equal, bool reversed) {
  SCOPED_TRACE(left.ToString() + " and " + right.ToString());
  EXPECT_TRUE((left == right) == equal && (left != right) == !equal);
  EXPECT_TRUE((right == left) == reversed && (right != left) == !reversed);
}

TEST(Equality, ComparesInTheDomainOfTheLeftValue) {
  for (const auto& row : table(R"(
      null => null => both          true => true => both         "abc" => "abc" => both
      0.0 => -0.0 => both           2 => 2.5 => left             {"a":[2]} => {"a":[2.5]} => left
      null => false => neither      null => 0 => neither         true => false => neither
      true => 1 => neither          "abc" => "ABC" => neither    "5" => 5 => neither
      [] => null => neither         [0] => {"0":0} => neither    {"a":1} => {"A":1} => neither
      [1,2] => [1] => neither       [[[]],2] => [[1],2] => neither
      [[[1],2]] => [[[1],3]] => neither        {"0":5} => {"1":5} => neither
      {"a":1,"b":[2]} => {"b":[2],"a":1} => both)")) {
    expectEqual(parsed(row[0]), parsed(row[1]), row[2] != "neither", row[2] == "both");
  }
  U8 bytes[] = {1, 2, 3}, other[] = {1, 2, 4};
  const Variant empty(nullptr, 0, false), whole(bytes, 3, true);
  const auto cam = [](const std::string& text) { return decoded(text + "E004 05"); };
  const Variant typed = cam("1011 01 0363616D 00 01 0161");
  Variant integer, string, both;
  integer[1] = string["1"] = both[1] = both["1"] = 5;
  // clang-format off
  const struct { Variant left, right; bool equal, reversed; } cases[] = {
      {I64{-1}, UINT64_MAX, true, true},      {INT64_MAX, 1e300, true, false},
      {U8{7}, I64{7}, true, true},            {short{-7}, -7, true, true},
      {U8{0}, -3.5, true, false},             {0, NAN, true, false},
      {NAN, NAN, false, false},               {U8{255}, I8{-1}, false, false},
      {kWithZero, "a", false, false},         {integer, string, false, false},
      {integer, both, false, false},          {both, string, false, false},
      {timeval{5, 6}, timeval{5, 6}, true, true},    {timeval{5, 6}, timeval{5, 7}, false, false},
      {timeval{5, 6}, timeval{4, 6}, false, false},  {whole, Variant(whole), true, true},
      {whole, Variant(bytes, 2, true), false, false},
      {whole, Variant(other, 3, false), false, false},
      {empty, Variant(empty), true, true},  // no data against an empty array
      {9007199254740992.0, 9007199254740993, true, false},  // 2^53 + 1 rounds as a double
      {typed, decoded("1011 01 0363616D 00 01 0161 C00B 0000000000000005"), true, true},
      {typed, cam("1010 01 00 01 0161"), false, false},
      {typed, cam("1011 01 0363616E 00 01 0161"), false, false}};
  // clang-format on
  for (const auto& c : cases) expectEqual(c.left, c.right, c.equal, c.reversed);
  EXPECT_EQ(takeMessages(), Messages{});
}

// --- Iteration and record classes ----------------------------------------------------------------

TEST(Iteration, IsInKeyOrderAndWrites) {
  Variant value = parsed(R"({"3":3,"-5":-5,"0":0,"abc":1,"B":2,"ab":3,"a":4})");
  value[std::string("\xFF")] = "last";
  (--value.num_end())->second = "changed";
  value.str_begin()->second["nested"] = value.num_begin()->first;
  std::string order;
  const Variant& same = value;
  for (auto i = same.num_begin(); i != same.num_end(); ++i) order += json(i->second) + ' ';
  for (auto i = value.str_begin(); i != value.str_end(); ++i) order += i->first + ' ';
  EXPECT_EQ(order, "-5 0 \"changed\" B a ab abc \xFF ");
  EXPECT_EQ(same.str_begin()->second["nested"], -5);
}

struct Record : BaseVariantContainer {
  ~Record() override { ++destroyed; }
  void NormalizeFields() override { ValidateBool("on", true, false); }
  static inline int destroyed = 0;
};

TEST(Container, StartsAsAnEmptyMapAndHoldsWhatItIsGiven) {
  BaseVariantContainer target;
  target.NormalizeFields();
  EXPECT_TRUE(target == V_MAP && !target.IsArray() && json(target) == "{}");
  Variant source = parsed(R"({"a":[1]})");
  const VariantMap* map = source;
  BaseVariantContainer number(Variant(5)), copy(source), moved(std::move(source));
  EXPECT_TRUE(number == V_INT32 && copy == moved && source == V_NULL);
  Variant plain = std::move(moved);
  EXPECT_TRUE(&(target = std::move(plain)) == &target && plain == V_NULL);
  EXPECT_EQ(static_cast<const VariantMap*>(target), map);
  target = target["a"][0];
  EXPECT_TRUE(target == V_INT8 && target == 1);
  const std::size_t blocks = liveBlocks();
  {
    const std::unique_ptr<Variant> record = std::make_unique<Record>();
    dynamic_cast<BaseVariantContainer&>(*record).NormalizeFields();
    EXPECT_EQ(json(*record), R"({"on":true})");
  }
  EXPECT_TRUE(Record::destroyed == 1 && liveBlocks() == blocks);
}

}  // namespace
}  // namespace vexo::variant
