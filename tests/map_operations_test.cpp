// Members of maps: subscripts, lookups, removal, conversions of trees, key chains, validators.
#include <gtest/gtest.h>

#include <limits>
#include <utility>

#include "host.h"

namespace vexo::variant {
namespace {

using tests::json;
using tests::parsed;
using Chars = const char*;

constexpr std::int64_t kMin64 = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax64 = std::numeric_limits<std::int64_t>::max();
constexpr std::uint64_t kMaxU64 = std::numeric_limits<std::uint64_t>::max();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const std::string kKeyWithZero("Na\0me", 5);
const char* const kNoText = nullptr;

Variant typedMap() {
  const auto bytes = tests::unhex("10 11 00 03 63 61 6D 00 01 01 61 E0 04 05");  // cam {a: 5}
  Variant value;
  EXPECT_EQ(value.FromBIN(bytes.data(), static_cast<std::uint32_t>(bytes.size())), bytes.size());
  return value;
}

/// The keys of a map and whether it is an array, which JSON does not always tell: "array 0 7; a".
std::string shape(const Variant& map) {
  std::string text = map.IsArray() ? "array" : "map";
  for (auto it = map.num_begin(); it != map.num_end(); ++it)
    text += ' ' + std::to_string(it->first);
  text += ';';
  for (auto it = map.str_begin(); it != map.str_end(); ++it) text += ' ' + it->first;
  return text;
}

struct Change {
  const char* before;
  void (*action)(Variant& v);
  const char* after;
};

// --- Subscripts ----------------------------------------------------------------------------------

TEST(Subscript, CreatesMembers) {
  const Change cases[] = {
      {"null", [](Variant& v) { v[-1]; }, "array 0;"},
      {"null", [](Variant& v) { v[-1][-1], v[-1]; }, "array 0 1;"},
      {"null", [](Variant& v) { v[0], v[1]; }, "map 0 1;"},
      {"null", [](Variant& v) { v[5]; }, "map 5;"},
      {"null", [](Variant& v) { v[-2]; }, "map -2;"},
      {"\"text\"", [](Variant& v) { v["k"]; }, "map; k"},
      {"\"text\"", [](Variant& v) { v[-1]; }, "array 0;"},
      {R"({"0":0,"7":7})", [](Variant& v) { v[-1]; }, "map 0 7 8;"},
      {R"({"-5":0})", [](Variant& v) { v[-1]; }, "map -5 -4;"},
      {R"({"-2":0})", [](Variant& v) { v[-1], v[-1]; }, "map -2 -1 0;"},
      {"[0]", [](Variant& v) { v[7], v[-1]; }, "array 0 7 8;"},
      {"[0]", [](Variant& v) { v["a"], v[-1]; }, "array 0 1; a"},
      {"[]", [](Variant& v) { v[0]; }, "array 0;"},
      {"{}", [](Variant& v) { v[-1]; }, "array 0;"},
      {R"({"a":1})", [](Variant& v) { v[-1]; }, "map 0; a"},
      {"[0,1,2]", [](Variant& v) { v.RemoveValue(1).RemoveValue(2), v[-1]; }, "array 0 1;"},
      {"null", [](Variant& v) { v["1"], v[1], v["[7]"], v["Name"], v["name"]; },
       "map 1; 1 Name [7] name"},
      {"null", [](Variant& v) { v[""], v[std::string("a\0", 2)], v["a"]; }, "map;  a a\0"},
      {"null", [](Variant& v) { v[Variant(std::int8_t{-1})], v[Variant(kMax64)]; },
       "array 0 9223372036854775807;"},
      {"null", [](Variant& v) { v.IsArray(true); }, "array;"},
      {"null", [](Variant& v) { v.IsArray(false); }, "map;"},
      {R"({"a":1})", [](Variant& v) { v.IsArray(true); }, "array; a"},
      {"[0]", [](Variant& v) { v.IsArray(false); }, "map 0;"},
  };
  for (const Change& c : cases) {
    Variant value = parsed(c.before);
    c.action(value);
    EXPECT_STREQ(shape(value).c_str(), c.after) << c.before;
  }
  Variant typed = typedMap();
  typed["b"] = typed[-1] = 1;
  EXPECT_TRUE(typed == V_TYPED_MAP && shape(typed) == "map 0; a b");
  EXPECT_EQ(static_cast<const VariantMap*>(typed)->typeName, "cam");
  EXPECT_EQ(tests::takeMessages(), tests::Messages{});
}

TEST(Subscript, OfAConstantOnlyFinds) {
  const Variant value = parsed(R"({"-2":"a","-1":"b","2":"c","k":"d"})");
  EXPECT_TRUE(value[-1] == "b" && value["k"] == "d" && value[Variant("k")] == "d");
  EXPECT_TRUE(value[Variant(2.9)] == "c" && value[Variant(-2.5)] == "a");
  EXPECT_TRUE(value[Variant(std::uint32_t{2})] == "c" && value[Variant(kMaxU64)] == "b");
  EXPECT_EQ(&value["k"], &value[std::string("k")]);
  EXPECT_EQ(shape(value), "map -2 -1 2; k");
}

TEST(Subscript, ReferencesOutliveOtherMembers) {
  Variant value;
  Variant &text = value["m"], &number = value[500];
  text = "text";
  number = parsed("[[1]]");
  for (int i = 0; i < 1000; i += 3) {
    value[i] = value[-i] = value[std::to_string(i)] = i;
    value[std::to_string(-i)];
  }
  for (int i = 0; i < 1000; i += 2) {
    if (i != 500) value.RemoveValue(i);
    value.RemoveValue(std::to_string(i), true);
  }
  value["n"].Free();
  EXPECT_TRUE(&value["m"] == &text && &value[500] == &number);
  const Variant moved = std::move(value);
  EXPECT_TRUE(&moved["m"] == &text && text == "text" && json(number) == "[[1]]");
}

struct Violation {
  const char* file;
  const char* function;
  const char* message;
  void (*action)(const Variant& map, Variant& v);
};

/// Runs each on the map {a: 1} and a value that is the string "text".
void expectViolations(std::initializer_list<Violation> violations) {
  const Variant map = parsed(R"({"a":1})");
  for (const Violation& c : violations) {
    Variant value = "text";
    EXPECT_DEATH(c.action(map, value), tests::violation(c.file, c.function, c.message) + "\n")
        << c.function << ": " << c.message;
  }
}

TEST(Subscript, Violations) {
  constexpr const char* kFile = "src/variant_subscript";
  constexpr const char* kName = "operator[]";
  using Map = const Variant&;
  using Value = Variant&;
  const char* const noMap = "Invalid variant type: 0x100e";
  expectViolations(
      {{kFile, kName, noMap, [](Map, Value v) { std::as_const(v)[0]; }},
       {kFile, kName, noMap, [](Map, Value v) { std::as_const(v)["a"]; }},
       {kFile, kName, noMap, [](Map, Value v) { std::as_const(v)[std::string()]; }},
       {kFile, kName, noMap, [](Map, Value v) { std::as_const(v)[Variant("a")]; }},
       {kFile, kName, "Invalid variant type: 0x8001",
        [](Map, Value v) { std::as_const(v.Reset())[0]; }},
       {kFile, kName, "Key not found in const variant: 0x255", [](Map m, Value) { m[255]; }},
       {kFile, kName, "Key not found in const variant: 0x-1", [](Map m, Value) { m[-1]; }},
       {kFile, kName, "Key not found in const variant: `A`", [](Map m, Value) { m["A"]; }},
       {kFile, kName, "Key not found in const variant: `1%s`",
        [](Map m, Value) { m[std::string("1%s")]; }},
       {kFile, kName, "Invalid subscript operator parameter", [](Map m, Value) { m[kNoText]; }},
       {kFile, kName, "Invalid subscript operator parameter", [](Map, Value v) { v[kNoText]; }},
       {kFile, kName, "Invalid subscript operator parameter: (NULL) null",
        [](Map m, Value) { m[Variant()]; }},
       {kFile, kName, "Invalid subscript operator parameter: (BOOL) true",
        [](Map m, Value) { m[Variant(true)]; }},
       {kFile, kName, "Invalid indexer type", [](Map, Value v) { v[Variant()]; }},
       {kFile, kName, "Invalid indexer type", [](Map, Value v) { v[Variant(true)]; }},
       {kFile, kName, "Invalid indexer type", [](Map, Value v) { v[Variant(1u)]; }},
       {kFile, kName, "Invalid indexer type", [](Map, Value v) { v[Variant(1.0)]; }},
       {kFile, kName, "Invalid indexer type", [](Map m, Value v) { v[m]; }},
       {kFile, kName, "Invalid state", [](Map, Value v) { v[kMax64], v[-1]; }},
       {kFile, kName, "Invalid state", [](Map, Value v) { v[kMax64], v.GetValue(-1); }}});
}

// --- Lookup, removal, counts ---------------------------------------------------------------------

TEST(Members, HasKeyReadsBrackets) {
  Variant value;
  for (const std::int64_t key : {kMin64, std::int64_t{-2}}) value[key];
  value[-1];  // appended behind -2
  for (const int key : {0, 2, 8, 16}) value[key];
  value[kMax64];
  for (const char* key : {"[2", "2]", "[abc]", "[2x]", "", "Name"}) value[key];
  value[kKeyWithZero];
  const struct {
    std::string key;
    bool found;
    bool ignoringCase;
  } cases[] = {
      {"[2]", true, true},
      {"[3]", false, false},
      {"[0x10]", true, true},
      {"[0X10]", true, true},
      {"[020]", true, true},
      {"[010]", true, true},
      {"[-1]", true, true},
      {"[ \t+2]", true, true},
      {"[]", true, true},
      {"[2]]", true, true},  // the number ends at the first closing bracket
      {"[][]", true, true},
      {"[9223372036854775808]", true, true},  // clamped
      {"[-99999999999999999999]", true, true},
      {"[2x]", false, false},
      {"[abc]", false, false},
      {"[2 ]", false, false},
      {"[ ]", false, false},
      {"[-]", false, false},
      {"[0x]", false, false},
      {"[08]", false, false},
      {std::string("[2\0]", 4), false, false},
      {"[2", true, true},
      {"2]", true, true},
      {"[", false, false},
      {"]", false, false},
      {"2", false, false},
      {"", true, true},
      {"Name", true, true},
      {"nAME", false, true},
      {"Nam", false, false},
      {"Na", false, false},
      {std::string("nA\0me", 5), false, true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(value.HasKey(c.key, true), c.found) << c.key;
    EXPECT_EQ(value.HasKey(c.key, false), c.ignoringCase) << c.key;
    EXPECT_FALSE(Variant("text").HasKey(c.key, false) || parsed("{}").HasKey(c.key, true));
  }
  EXPECT_TRUE(value.HasKey(-1) && value.HasKey(kMin64) && !value.HasKey(1));
  EXPECT_FALSE(Variant().HasKey(0) || Variant(0).HasKey(0));
}

TEST(Members, GetValueFindsOrCreates) {
  Variant value = parsed(R"({"NAME":1,"name":2,"other":3})");
  EXPECT_TRUE(value.GetValue("Name", false) == 1 &&
              value.GetValue(std::string("Name"), false) == 1);
  EXPECT_TRUE(value.GetValue("name", true) == 2 && value.GetValue("OTHER", false) == 3);
  value.GetValue("Other", true) = 4;
  value.GetValue(std::string("New"), false) = 5;
  value.GetValue(7), value.GetValue(-1);
  EXPECT_EQ(shape(value), "map 7 8; NAME New Other name other");

  // The C string form compares up to a zero byte, the other one all bytes.
  value = parsed("{}");
  value[kKeyWithZero] = 1;
  EXPECT_EQ(value.GetValue("NA", false), 1);
  EXPECT_EQ(value.GetValue(std::string("NA"), false), V_NULL);
  EXPECT_EQ(value.GetValue(std::string("nA\0ME", 5), false), 1);
  EXPECT_EQ(value.KeysCount(), 2u);
  // Nothing but the letters of ASCII has case.
  value["AZ@[\xC3\x84"] = 1;
  EXPECT_TRUE(value.HasKey("az@[\xC3\x84", false));
  for (const char* other : {"az`[\xC3\x84", "az@{\xC3\x84", "az@[\xC3\xA4", "az@[\xE3\x84"}) {
    EXPECT_FALSE(value.HasKey(other, false)) << other;
  }
}

TEST(Members, HasStrArrayMember) {
  const Variant list = parsed(R"(["abc","ABD",""])");
  EXPECT_TRUE(list.HasStrArrayMember("abc", true) && list.HasStrArrayMember("abd", false));
  EXPECT_FALSE(list.HasStrArrayMember("abd", true) || list.HasStrArrayMember("ab", false));
  EXPECT_TRUE(list.HasStrArrayMember("", true));
  EXPECT_FALSE(list.HasStrArrayMember(std::string("abc\0", 4), false));
  Variant map = list;
  map["x"] = "member";
  EXPECT_TRUE(map.HasStrArrayMember("abc", true) && !map.HasStrArrayMember("member", true));
  map.IsArray(false);
  EXPECT_FALSE(map.HasStrArrayMember("abc", true) || Variant("abc").HasStrArrayMember("abc", true));
  EXPECT_TRUE(parsed(R"(["a",1])").HasStrArrayMember("a", true));  // found before the number
}

TEST(Members, AreRemovedAndCounted) {
  const Change cases[] = {
      {"[0,1,2]", [](Variant& v) { v.RemoveValue(1); }, "array 0 2;"},
      {"[0]", [](Variant& v) { v.RemoveValue(1).RemoveValue("0", true).RemoveValue("0", false); },
       "array 0;"},
      {"[0]", [](Variant& v) { v.RemoveValue(0); }, "array;"},
      {R"({"1":1,"a":1,"A":1})", [](Variant& v) { v.RemoveValue("A", true); }, "map 1; a"},
      {R"({"1":1,"a":1,"A":1})", [](Variant& v) { v.RemoveValue(std::string("B"), true); },
       "map 1; A a"},
      {R"({"Port":1,"PORT":1,"port":1,"por":1,"ports":1})",
       [](Variant& v) { v.RemoveValue("pORT", false); }, "map; por ports"},
      {R"({"Port":1,"PORT":1,"port":1,"por":1,"ports":1})",
       [](Variant& v) { v.RemoveValue(std::string("pORT"), false); }, "map; por ports"},
      {R"({"a":1})", [](Variant& v) { v.RemoveValue(kNoText, false); }, "map; a"},
      {"{}", [](Variant& v) { v[kKeyWithZero], v.RemoveValue(std::string("na"), false); },
       "map; Na\0me"},
      {"{}", [](Variant& v) { v[kKeyWithZero], v.RemoveValue("na", false); }, "map;"},
      {"[[1],2]", [](Variant& v) { v["a"], v.ResetNumericKeys(); }, "array; a"},
      {"[[1],2]", [](Variant& v) { v["a"], v.ResetStringKeys(); }, "array 0 1;"},
      {"[[1],2]", [](Variant& v) { v["a"], v.ResetKeys(); }, "array;"},
  };
  for (const Change& c : cases) {
    Variant value = parsed(c.before);
    c.action(value);
    EXPECT_STREQ(shape(value).c_str(), c.after) << c.before;
  }
  Variant value = parsed(R"({"1":1,"2":2,"a":1})");
  EXPECT_TRUE(value.NumericKeysCount() == 2 && value.StringKeysCount() == 1);
  EXPECT_EQ(value.KeysCount(), 3u);
  for (Variant* self : {&value.RemoveValue(9), &value.RemoveValue("a", true), &value.ResetKeys(),
                        &value.RemoveValue(std::string(), false), &value.ResetStringKeys(),
                        &value.ResetNumericKeys()}) {
    EXPECT_EQ(self, &value);
  }
  value = typedMap();
  EXPECT_EQ(static_cast<const VariantMap*>(value.ResetKeys())->typeName, "cam");
}

TEST(Members, NeedAMap) {
  constexpr const char* kFile = "src/variant_misc";
  constexpr const char* kState = "Invalid state";
  using Map = const Variant&;
  using Value = Variant&;
  expectViolations(
      {{kFile, "IsArray", kState, [](Map, Value v) { v.IsArray(false); }},
       {kFile, "GetValue", kState, [](Map, Value v) { v.GetValue("a", false); }},
       {kFile, "GetValue", kState, [](Map, Value v) { v.GetValue(std::string(), true); }},
       {kFile, "GetValue", kState, [](Map, Value v) { v.GetValue(0); }},
       {kFile, "StringKeysCount", kState, [](Map, Value v) { v.StringKeysCount(); }},
       {kFile, "NumericKeysCount", kState, [](Map, Value v) { v.NumericKeysCount(); }},
       {kFile, "StringKeysCount", kState, [](Map, Value v) { v.KeysCount(); }},
       {kFile, "ResetNumericKeys", kState, [](Map, Value v) { v.ResetNumericKeys(); }},
       {kFile, "ResetStringKeys", kState, [](Map, Value v) { v.ResetStringKeys(); }},
       {kFile, "ResetStringKeys", kState, [](Map, Value v) { v.ResetKeys(); }},
       {kFile, "RemoveValue", kState, [](Map, Value v) { v.RemoveValue(0); }},
       {kFile, "RemoveValue", kState, [](Map, Value v) { v.RemoveValue("a", true); }},
       {kFile, "RemoveValue", kState, [](Map, Value v) { v.RemoveValue(kNoText, false); }},
       {kFile, "RemoveValue", kState, [](Map, Value v) { v.RemoveValue(std::string(), false); }},
       {"src/variant_subscript", "operator[]", "Invalid subscript operator parameter",
        [](Map m, Value) { Variant(m).GetValue(kNoText, false); }},
       {"src/variant_subscript", "operator[]", "Invalid subscript operator parameter",
        [](Map, Value v) { v.ValidateBool(kNoText, true, true); }},
       {"src/variant_cast", "operator const string&", kState,
        [](Map, Value) { parsed(R"(["a",1,"b"])").HasStrArrayMember("b", true); }}});
  for (const Variant& value : {Variant(), Variant("text"), Variant(1)}) {
    EXPECT_FALSE(value.IsArray());
  }
}

// --- Whole trees ---------------------------------------------------------------------------------

TEST(Compact, TakesTheSmallestType) {
  const struct {
    Variant before;
    VariantType type;
  } cases[] = {
      {std::int64_t{5}, V_INT8},
      {std::uint64_t{0}, V_INT8},
      {std::int64_t{-128}, V_INT8},
      {std::int64_t{-129}, V_INT16},
      {std::int64_t{-32768}, V_INT16},
      {std::int64_t{-32769}, V_INT32},
      {std::int64_t{-2147483648}, V_INT32},
      {std::int64_t{-2147483649}, V_INT64},
      {kMin64, V_INT64},
      {std::int64_t{127}, V_INT8},
      {std::int16_t{128}, V_UINT8},
      {std::uint32_t{255}, V_UINT8},
      {std::uint32_t{256}, V_INT16},
      {32767, V_INT16},
      {32768, V_UINT16},
      {65535, V_UINT16},
      {65536, V_INT32},
      {std::uint32_t{2147483647}, V_INT32},
      {std::uint32_t{2147483648}, V_UINT32},
      {std::int64_t{4294967295}, V_UINT32},
      {std::int64_t{4294967296}, V_INT64},
      {std::uint64_t{1} << 63, V_UINT64},
      {(std::uint64_t{1} << 63) - 1, V_INT64},
      {kMaxU64, V_UINT64},
      {std::int8_t{-1}, V_INT8},
      {3.0, V_INT8},
      {-1.0, V_INT8},
      {40000.0, V_UINT16},
      {-40000.0, V_INT32},
      {0x1p63, V_UINT64},
      {-0x1p63, V_INT64},
      {0x1p64, V_DOUBLE},
      {-0x1.0000000000001p63, V_DOUBLE},
      {0x1.fffffffffffffp63, V_UINT64},
      {0.5, V_DOUBLE},
      {-1.5, V_DOUBLE},
      {9007199254740993.0, V_INT64},
      {-0.0, V_INT8},
      {std::numeric_limits<double>::infinity(), V_DOUBLE},
      {-std::numeric_limits<double>::infinity(), V_DOUBLE},
      {"12", V_STRING},
      {true, V_BOOL},
      {Variant(), V_NULL},
      {timeval{1, 2}, V_TIMESTAMP},
  };
  for (const auto& c : cases) {
    Variant value = c.before;
    Variant tree = typedMap();
    tree.IsArray(true);
    tree[3]["a"][-7] = value;
    value.Compact();
    tree.Compact();
    EXPECT_EQ(value, c.type) << c.before.ToString();
    EXPECT_TRUE(value == c.before && c.before == value) << c.before.ToString();
    EXPECT_TRUE(tree[3]["a"][-7] == c.type && tree == V_TYPED_MAP && shape(tree) == "array 3; a");
  }
  Variant nan(kNaN);
  nan.Compact();
  EXPECT_EQ(nan, V_DOUBLE);
}

TEST(Stringify, ConvertsKeysAndValues) {
  const struct {
    const char* before;
    bool keys, values;
    const char* after;
  } cases[] = {
      {"-5", false, true, R"("-5")"},
      {"18446744073709551615", true, true, R"("18446744073709551615")"},
      {"true", true, true, R"("true")"},
      {"null", false, true, R"("null")"},
      {"1.5", false, true, R"("1.500000")"},
      {R"("text")", true, true, R"("text")"},
      {R"("b64:AQID")", true, true, R"("b64:AQID")"},
      {R"("b64:")", true, true, R"("b64:")"},
      {R"("1970-01-01T00:00:01.000002Z")", true, true, R"("1970-01-01T00:00:01.000002Z")"},
      {"5", true, false, "5"},
      {"[true,null]", true, false, R"({"0":true,"1":null})"},
      {"[[1],[2]]", true, false, R"({"0":[1],"1":[2]})"},
      {R"({"a":[1]})", true, false, R"({"a":[1]})"},
      {R"([[1,[2]],{"a":3,"5":false}])", true, true,
       R"({"0":{"0":"1","1":{"0":"2"}},"1":{"5":"false","a":"3"}})"},
      {R"({"5":1,"a":2,"b":[3],"c":{"d":4,"6":5}})", false, true,
       R"({"5":1,"a":"2","b":[3],"c":{"6":5,"d":"4"}})"},
      {R"([1,{"a":2}])", false, true, R"([1,{"a":2}])"},
      {R"([1,{"a":2}])", false, false, R"([1,{"a":2}])"},
  };
  for (const auto& c : cases) {
    const Variant source = parsed(c.before);
    Variant target = "old";
    EXPECT_EQ(&source.Stringify(target, c.keys, c.values), &target);
    EXPECT_EQ(json(target), c.after) << c.before;
    EXPECT_EQ(json(source), json(parsed(c.before)));
    EXPECT_TRUE(!c.values || target == V_STRING || target == V_MAP);
    EXPECT_TRUE(!c.keys || target != V_MAP ||
                (!target.IsArray() && target.NumericKeysCount() == 0));
    Variant again = source;
    EXPECT_EQ(&again.Stringify(c.keys, c.values).Stringify(c.keys, c.values), &again);
    EXPECT_EQ(again, target);
  }
}

TEST(Stringify, IntegerKeysWinOverEqualStringKeys) {
  Variant value = typedMap();
  value["1"] = parsed("[1]");
  value[1] = "former integer key";
  value[-3] = 5;
  value.Stringify(true, false);
  EXPECT_EQ(shape(value), "map; -3 1 a");
  EXPECT_TRUE(value["1"] == "former integer key" && value["-3"] == V_INT32);
  EXPECT_TRUE(value == V_TYPED_MAP && value["a"] == 5);
}

TEST(ToString, NamesTypes) {
  EXPECT_EQ(Variant(5).ToString(), "(INT32) 5");
  EXPECT_EQ(Variant("a\"b").ToString(), "(STRING) \"a\"b\"");
  EXPECT_EQ(parsed(R"({"a":[1]})").ToString(), "{\n    \"a\": [\n        (INT8) 1\n    ]\n}");
}

// --- Key chains ----------------------------------------------------------------------------------

TEST(KeyChain, LeadsToMembers) {
  Variant tree = parsed(R"({"a":{"b":5,"":9},"list":[10,{"x":1.5}],"k":{"16":16,"-1":-1,"8":8},
    "Net":{"PORT":1,"Port":2},"[1":3,"1]":4,"":6,"t/u":7})");
  tree["typed"] = typedMap();
  tree["list"]["[0]"] = tree["list"]["[0]x"] = "a string key";
  tree["k"][kMax64] = "largest";
  tree["k"][kKeyWithZero] = "zero";
  const std::string before = json(tree);
  const struct {
    std::string path;
    bool caseSensitive;
    VariantType filter;
    const char* found;
  } cases[] = {
      {"a/b", true, V_ANY, "5"},
      {"a/b", true, V_NUMERIC, "5"},
      {"a/b", true, V_INT8, "5"},
      {"a/b", true, V_INT32, nullptr},
      {"a/b", true, V_STRING, nullptr},
      {"a/b/", true, V_ANY, "5"},
      {"a/b//", true, V_ANY, nullptr},
      {"/a/b", true, V_ANY, nullptr},
      {"", true, V_ANY, nullptr},
      {"/", true, V_ANY, nullptr},
      {"//", true, V_ANY, nullptr},
      {"a//b", true, V_ANY, nullptr},
      {"a//", true, V_ANY, nullptr},
      {"a/", true, V_MAP, R"({"":9,"b":5})"},
      {"a/b/c", true, V_ANY, nullptr},
      {"a/c", true, V_ANY, nullptr},
      {"t/u", true, V_ANY, nullptr},
      {"list/[0]", true, V_ANY, "10"},
      {"list/[0]/", true, V_ANY, "10"},
      {"list/[]", true, V_ANY, "10"},
      {"list/[1]/x", true, V_NUMERIC, "1.500000"},
      {"list/[2]", true, V_ANY, nullptr},
      {"list/[0]x", true, V_ANY, R"("a string key")"},
      {"list/[0]]", true, V_ANY, nullptr},
      {"list/[0 ]", true, V_ANY, nullptr},
      {"list/[x]", false, V_ANY, nullptr},
      {"list/0", true, V_ANY, nullptr},
      {"k/[0x10]", true, V_ANY, "16"},
      {"k/[020]", true, V_ANY, "16"},
      {"k/[010]", false, V_ANY, "8"},
      {"k/[ +8]", true, V_ANY, "8"},
      {"k/[08]", true, V_ANY, nullptr},
      {"k/[-1]", true, V_ANY, "-1"},
      {"k/[99999999999999999999]", true, V_STRING, R"("largest")"},
      {"k/na", false, V_ANY, R"("zero")"},
      {"k/Na", true, V_ANY, nullptr},
      {"[1", true, V_ANY, "3"},
      {"1]", true, V_ANY, "4"},
      {"NET/port", false, V_ANY, "1"},
      {"Net/Port", false, V_ANY, "1"},
      {"Net/Port", true, V_ANY, "2"},
      {"NET/Port", true, V_ANY, nullptr},
      {"typed/a", true, V_NUMERIC, "5"},
      {"typed", true, V_MAP, nullptr},
      {"typed", true, V_NUMERIC, nullptr},
      {"a", true, V_NUMERIC, nullptr},
      {"list/[1]", true, V_TYPED_MAP, nullptr},
      {std::string("a/b\0/c", 6), true, V_ANY, "5"},
  };
  const Variant& same = tree;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    const Variant* const found = same.GetKeyChain(c.filter, c.path, c.caseSensitive);
    ASSERT_EQ(found == nullptr, c.found == nullptr);
    EXPECT_TRUE(found == nullptr || json(*found) == c.found);
    EXPECT_EQ(same.GetKeyChain(c.filter, c.path.c_str(), c.caseSensitive), found);
    EXPECT_EQ(tree.GetKeyChain(c.filter, c.path, c.caseSensitive), found);
    EXPECT_EQ(tree.GetKeyChain(c.filter, c.path.c_str(), c.caseSensitive), found);
    EXPECT_EQ(Variant("text").GetKeyChain(c.filter, c.path, c.caseSensitive), nullptr);
  }
  EXPECT_EQ(same.GetKeyChain(V_TYPED_MAP, "typed", true), &same["typed"]);
  EXPECT_EQ(tree.GetKeyChain(V_ANY, kNoText, true), nullptr);
  EXPECT_EQ(json(tree), before);
  EXPECT_EQ(tests::takeMessages(), tests::Messages{});
}

TEST(KeyChain, ComponentsAreTextUpToZero) {
  Variant list = parsed(R"([10,11])");
  list["ab"] = 12;
  list["[0"] = 13;
  list[kKeyWithZero] = 14;
  const struct {
    const char* name;
    unsigned length;
    bool caseSensitive;
    const char* found;
  } cases[] = {
      {"[0]", 3, true, "10"},    {"[1]/rest", 3, true, "11"},   {"[1]/rest", 8, true, nullptr},
      {"ab", 2, true, "12"},     {"ab", 1, true, "12"},         {"AB", 1, false, "12"},
      {"AB", 2, true, nullptr},  {"ab/rest", 2, true, nullptr}, {"ab", 0, true, nullptr},
      {"[0", 2, true, "13"},     {"[0", 1, true, "13"},         {"nA", 2, false, "14"},
      {"[0]", 2, true, nullptr}, {nullptr, 3, true, nullptr},
  };
  for (const auto& c : cases) {
    const Variant* const found = list.GetPathComponent(c.name, c.length, c.caseSensitive);
    EXPECT_EQ(found == nullptr ? "none" : json(*found), c.found == nullptr ? "none" : c.found)
        << testing::PrintToString(c.name) << ' ' << c.length;
    EXPECT_EQ(std::as_const(list).GetPathComponent(c.name, c.length, c.caseSensitive), found);
  }
  EXPECT_EQ(Variant("a").GetPathComponent("a", 1, true), nullptr);
}

// --- Validators ----------------------------------------------------------------------------------

TEST(Validators, NormaliseMembers) {
  const Change cases[] = {
      {"{}", [](Variant& v) { v.ValidateBool("on", true, true); }, R"({"on":true})"},
      {R"({"on":"yes"})", [](Variant& v) { v.ValidateBool("on", false, true); }, R"({"on":false})"},
      {R"({"on":true})", [](Variant& v) { v.ValidateBool("on", false, false); }, R"({"on":true})"},
      {R"({"n":7})", [](Variant& v) { v.ValidateNumeric("n", 1, 10, 5, true); }, R"({"n":7})"},
      {R"({"n":0})", [](Variant& v) { v.ValidateNumeric("n", 1, 10, 5, true); },
       R"({"n":1.000000})"},
      {R"({"n":500})", [](Variant& v) { v.ValidateNumeric("n", 1, 10, 5, true); },
       R"({"n":10.000000})"},
      {"{}", [](Variant& v) { v.ValidateNumeric("n", 1, 10, 5, true); }, R"({"n":5.000000})"},
      {R"({"n":"7"})", [](Variant& v) { v.ValidateNumeric("n", 1, 10, 5, true); },
       R"({"n":5.000000})"},
      {R"({"n":true})", [](Variant& v) { v.ValidateNumeric("n", 1, 10, 5, true); },
       R"({"n":5.000000})"},
      {"{}", [](Variant& v) { v.ValidateNumeric("n", 1, 10, 20, true); }, R"({"n":10.000000})"},
      {R"({"n":0})", [](Variant& v) { v.ValidateNumeric("n", 5, 3, 4, true); },
       R"({"n":3.000000})"},
      {R"({"n":4})", [](Variant& v) { v.ValidateNumeric("n", 5, 3, 4, true); },
       R"({"n":3.000000})"},
      {"{}", [](Variant& v) { v["n"] = kNaN, v.ValidateNumeric("n", 1, 10, 5, true); },
       R"({"n":nan})"},
      {R"({"net":"x"})", [](Variant& v) { v.ValidateMap("net", true); }, R"({"net":{}})"},
      {R"({"net":[1]})", [](Variant& v) { v.ValidateMap("net", true); }, R"({"net":[1]})"},
      {"{}", [](Variant& v) { v["net"] = typedMap(), v.ValidateMap("net", true); },
       R"({"net":{}})"},
      {R"("text")", [](Variant& v) { v.ValidateMap("net", false); }, R"({"net":{}})"},
      {"5", [](Variant& v) { v.ValidateNumeric("n", 1, 2, 1.5, false); }, R"({"n":1.500000})"},
      {"[1]", [](Variant& v) { v.ValidateBool("on", true, false); }, R"({"0":1,"on":true})"},
      {R"({"PORT":80,"Port":81})", [](Variant& v) { v.PreValidate("port", V_ANY, false, 5); },
       R"({"port":80})"},
      {R"({"PORT":80,"port":81})", [](Variant& v) { v.PreValidate("port", V_ANY, false, 5); },
       R"({"port":81})"},
      {R"({"PORT":80,"port":"x"})", [](Variant& v) { v.PreValidate("port", V_INT8, false, 5); },
       R"({"port":80})"},
      {R"({"PORT":"x","Port":81})", [](Variant& v) { v.PreValidate("port", V_INT8, false, 5); },
       R"({"port":5})"},
      {R"({"PORT":80})", [](Variant& v) { v.PreValidate("port", V_ANY, true, 5); },
       R"({"PORT":80,"port":5})"},
      {R"({"a":{"b":1}})", [](Variant& v) { v.PreValidate("a/b", V_ANY, true, 5); },
       R"({"a":{"b":1},"a\/b":1})"},
      {"[7]", [](Variant& v) { v.PreValidate("[0]", V_ANY, false, 5); }, R"({"0":7,"[0]":7})"},
      // Keys and defaults that live inside the value.
      {R"({"A":"x","b":2})", [](Variant& v) { v.PreValidate("a", V_BOOL, false, v["A"]); },
       R"({"a":"x","b":2})"},
      {R"({"name, in a block":"NAME, IN A BLOCK"})",
       [](Variant& v) {
         Variant& name = v["name, in a block"];
         v.PreValidate(static_cast<Chars>(name), V_BOOL, false, name);
       },
       R"({"NAME, IN A BLOCK":"NAME, IN A BLOCK"})"},
      {R"("key")", [](Variant& v) { v.PreValidate(static_cast<Chars>(v), V_ANY, false, v); },
       R"({"key":"key"})"},
      {R"({"a":1})", [](Variant& v) { v.PreValidate("b", V_ANY, true, v); },
       R"({"a":1,"b":{"a":1}})"},
      // Where a lookup ignores case, keys count up to a zero byte.
      {"{}", [](Variant& v) { v[kKeyWithZero] = 80, v.PreValidate("na", V_ANY, false, 5); },
       R"({"na":80})"},
  };
  for (const Change& c : cases) {
    Variant value = parsed(c.before);
    c.action(value);
    EXPECT_EQ(json(value), c.after) << c.before;
  }
  EXPECT_EQ(tests::takeMessages(), tests::Messages{});
}

TEST(Validators, ReturnTheMemberOrTheValue) {
  Variant value;
  Variant& member = value.PreValidate("a", V_ANY, false, "x");
  EXPECT_TRUE(&member == &value["a"] && member == "x");
  EXPECT_EQ(&value.ValidateBool("b", true, true), &value);
  EXPECT_EQ(&value.ValidateMap("m", true), &value);
  EXPECT_EQ(&value.ValidateNumeric("n", 0, 1, 0, true), &value);
  EXPECT_EQ(&value.ValidateSets("s", Variant(), 1, true), &value);
  EXPECT_FALSE(value["m"].IsArray());
}

TEST(Validators, SetsAreNotImplemented) {
  const tests::Messages notice{
      "src/variant_validators ValidateSets 4: Function ValidateSets not yet implemented"};
  const Change cases[] = {
      {"{}", [](Variant& v) { v.ValidateSets("s", parsed("[1,2]"), 3, true); }, R"({"s":3})"},
      {R"({"s":1})", [](Variant& v) { v.ValidateSets("s", parsed("[1,2]"), 3, true); },
       R"({"s":3})"},
      {R"({"A":1,"a":2})", [](Variant& v) { v.ValidateSets("a", v["A"], v["A"], false); },
       R"({"a":1})"},
  };
  for (const Change& c : cases) {
    Variant value = parsed(c.before);
    c.action(value);
    EXPECT_EQ(json(value), c.after) << c.before;
    EXPECT_EQ(tests::takeMessages(), notice);
  }
}

}  // namespace
}  // namespace vexo::variant
