// Members of maps: subscripts, lookups, removal, conversions of trees, key chains, validators; and
// every misuse of values that ends the process.
#include "host.h"

namespace vexo::variant {
namespace {

using namespace tests;
using S = std::string;

const S kKeyWithZero("Na\0me", 5), kOther("nA\0ME", 5);
const Chars kNoText = nullptr;

Variant typedMap() { return decoded("1011 00 0363616D 00 01 0161 E004 05"); }  // cam {a: 5}

/// The keys of a map and whether it is an array, which JSON does not always tell: "array 0 7; a".
S shape(const Variant& map) {
  S text = map.IsArray() ? "array" : "map";
  for (auto i = map.num_begin(); i != map.num_end(); ++i) text += ' ' + std::to_string(i->first);
  text += ';';
  for (auto i = map.str_begin(); i != map.str_end(); ++i) text += ' ' + i->first;
  return text.c_str();  // up to a zero byte
}

void expectShapes(void (*action)(V), const S& rows) { expectChanges(action, rows, shape); }

// --- Subscripts ----------------------------------------------------------------------------------

TEST(Subscript, CreatesMembers) {
  // clang-format off
  expectShapes([](V v) { v[-1]; }, R"("text" => array 0;   {} => array 0;   {"a":1} => map 0; a
      {"0":0,"7":7} => map 0 7 8;   {"-5":0} => map -5 -4;   [0,1] => array 0 1 2;)");
  expectShapes([](V v) { v[-1][-1], v[-1]; }, R"(null => array 0 1;   {"-2":0} => map -2 -1 0;)");
  expectShapes([](V v) { v[0], v["k"]; }, "null => map 0; k   [] => array 0; k");
  expectShapes([](V v) { v["k"]; }, R"("text" => map; k)");
  expectShapes([](V v) { v["a"], v[-1]; }, "[0] => array 0 1; a");
  expectShapes([](V v) { v[-2], v["1"], v[1], v["[7]"], v["N"], v["n"], v[""]; },
                "{} => map -2 1;  1 N [7] n");
  expectShapes([](V v) { v[Variant(-1)], v[Variant(INT64_MAX)]; },
                "{} => array 0 9223372036854775807;");
  expectShapes([](V v) { v.IsArray(true); }, R"(null => array;   {"a":1} => array; a)");
  expectShapes([](V v) { v.IsArray(false); }, "null => map;   [0] => map 0;");
  // clang-format on
  Variant typed = typedMap();
  typed["b"] = typed[-1] = 1;
  EXPECT_TRUE(typed == V_TYPED_MAP && shape(typed) == "map 0; a b");
}

TEST(Subscript, OfAConstantOnlyFinds) {
  const Variant value = parsed(R"({"-2":"a","-1":"b","2":"c","k":"d"})");
  EXPECT_TRUE(value[-1] == "b" && value["k"] == "d" && value[Variant("k")] == "d");
  EXPECT_TRUE(value[Variant(2.9)] == "c" && value[Variant(-2.5)] == "a");
  EXPECT_TRUE(value[Variant(2u)] == "c" && value[Variant(UINT64_MAX)] == "b");
}

// --- Misuse --------------------------------------------------------------------------------------

/// What misuse is tried on.
struct Subject {
  const Variant map = parsed(R"({"a":1})"), null, constant = "text";
  Variant text = "text";
};
using T = Subject&;
using Misuse = void (*)(Subject&);

void expectViolations(const S& file, const S& function, const S& message,
                      std::initializer_list<Misuse> misuses) {
  for (const Misuse misuse : misuses) {
    Subject subject;
    EXPECT_DEATH(misuse(subject),
                 violation("src/variant_" + file + " " + function + " 3: " + message) + "\n");
  }
}

template <class Number>
void expectNumberViolation(const S& name) {
  expectViolations("cast", "operator " + name, "Invalid variant type: 0x100e",
                   {[](T t) { t.text.operator Number(); }});
}

TEST(Misuse, IsAViolation) {
  const auto at = [](Chars text, std::initializer_list<Misuse> misuses) {
    expectViolations("subscript", "operator[]", text, misuses);
  };
  const auto state = [](Chars file, const S& function, std::initializer_list<Misuse> misuses) {
    expectViolations(file, function, "Invalid state", misuses);
  };
  // clang-format off
  at("Invalid variant type: 0x100e", {[](T t) { t.constant[0]; }, [](T t) { t.constant["a"]; }});
  at("Invalid variant type: 0x8001",                          {[](T t) { t.null[S()]; }});
  at("Key not found in const variant: 0x255",                 {[](T t) { t.map[255]; }});
  at("Key not found in const variant: `A`",                   {[](T t) { t.map["A"]; }});
  at("Key not found in const variant: `1%s`",                 {[](T t) { t.map[S("1%s")]; }});
  at("Invalid subscript operator parameter: (BOOL) true",     {[](T t) { t.map[Variant(true)]; }});
  at("Invalid subscript operator parameter", {
     [](T t) { t.map[kNoText]; },   [](T) { parsed("{}").GetValue(kNoText, false); },
     [](T t) { t.text[kNoText]; },  [](T t) { t.text.ValidateBool(kNoText, true, true); }});
  at("Invalid indexer type", {[](T t) { t.text[Variant()]; }, [](T t) { t.text[Variant(1u)]; },
                              [](T t) { t.text[Variant(1.0)]; }, [](T t) { t.text[t.map]; }});
  at("Invalid state", {[](T t) { t.text[INT64_MAX], t.text[-1]; }});
  state("misc", "IsArray", {[](T t) { t.text.IsArray(false); }});
  state("misc", "GetValue", {[](T t) { t.text.GetValue("a", false); },
        [](T t) { t.text.GetValue(S(), true); }, [](T t) { t.text.GetValue(0); }});
  state("misc", "RemoveValue", {[](T t) { t.text.RemoveValue(0); },
       [](T t) { t.text.RemoveValue(S(), true); }, [](T t) { t.text.RemoveValue(kNoText, true); }});
  state("misc", "StringKeysCount",  {[](T t) { t.text.KeysCount(); }});
  state("misc", "NumericKeysCount", {[](T t) { t.text.NumericKeysCount(); }});
  state("misc", "ResetNumericKeys", {[](T t) { t.text.ResetNumericKeys(); }});
  state("misc", "ResetStringKeys",  {[](T t) { t.text.ResetKeys(); }});
  state("iterators", "num_begin",
        {[](T t) { t.text.num_begin(); }, [](T t) { t.constant.num_begin(); }});
  state("iterators", "num_end", {[](T t) { t.text.num_end(); }, [](T t) { t.constant.num_end(); }});
  state("iterators", "str_begin",
        {[](T t) { t.text.str_begin(); }, [](T t) { t.constant.str_begin(); }});
  state("iterators", "str_end", {[](T t) { t.text.str_end(); }, [](T t) { t.constant.str_end(); }});
  expectNumberViolation<int8_t>("int8_t"),    expectNumberViolation<uint8_t>("uint8_t");
  expectNumberViolation<int16_t>("int16_t"),  expectNumberViolation<uint16_t>("uint16_t");
  expectNumberViolation<int32_t>("int32_t"),  expectNumberViolation<uint32_t>("uint32_t");
  expectNumberViolation<int64_t>("int64_t"),  expectNumberViolation<uint64_t>("uint64_t");
  expectNumberViolation<double>("double");
  state("cast", "operator const string&", {[](T) { parsed("[1]").HasStrArrayMember("b", true); }});
  state("cast", "operator const char*", {[](T t) { t.null.operator Chars(); }});
  state("cast", "operator const timeval&", {[](T t) { t.text.operator const timeval&(); }});
  state("cast", "operator const vexo::variant::VariantMap*",
        {[](T t) { t.text.operator const VariantMap*(); }});
  state("cast", "operator const vexo::variant::VariantBuffer*",
        {[](T t) { t.map.operator const VariantBuffer*(); }});
  // clang-format on
}

// --- Lookup, removal, counts ---------------------------------------------------------------------

TEST(Members, GetValueFindsOrCreates) {
  Variant value = parsed(R"({"NAME":1,"name":2,"other":3})");
  EXPECT_TRUE(value.GetValue("Name", false) == 1 && value.GetValue(S("Name"), false) == 1);
  EXPECT_TRUE(value.GetValue("name", true) == 2 && value.GetValue("OTHER", false) == 3);
  value.GetValue("Other", true), value.GetValue(S("New"), false), value.GetValue(7);
  value.GetValue(-1);
  EXPECT_EQ(shape(value), "map 7 8; NAME New Other name other");
  // The C string form compares up to a zero byte, the other one all bytes.
  value[kKeyWithZero] = 1;
  EXPECT_TRUE(value.GetValue("NA", false) == 1 && value.GetValue(kOther, false) == 1);
  EXPECT_EQ(value.GetValue(S("NA"), false), V_NULL);
}

TEST(Members, AreRemovedAndCounted) {
  const S ports = R"({"Port":1,"PORT":1,"port":1,"por":1,"ports":1} => map; por ports)";
  const S mixed = R"({"1":1,"a":1,"A":1} => map 1; a   [0] => array 0;)";
  // clang-format off
  expectShapes([](V v) { v.RemoveValue(1); }, "[0,1,2] => array 0 2;   [0] => array 0;");
  expectShapes([](V v) { v.RemoveValue("A", true); }, mixed);
  expectShapes([](V v) { v.RemoveValue(S("A"), true); }, mixed);
  expectShapes([](V v) { v.RemoveValue("pORT", false); }, ports);
  expectShapes([](V v) { v.RemoveValue(S("pORT"), false); }, ports);
  expectShapes([](V v) { v.RemoveValue(kNoText, false); }, R"({"a":1} => map; a)");
  expectShapes([](V v) { v[kKeyWithZero], v.RemoveValue(S("na"), false); }, "{} => map; Na");
  expectShapes([](V v) { v[kKeyWithZero], v.RemoveValue("na", false); }, "{} => map;");
  expectShapes([](V v) { v["a"], v.ResetNumericKeys(); }, "[[1],2] => array; a");
  expectShapes([](V v) { v["a"], v.ResetStringKeys(); }, "[[1],2] => array 0 1;");
  // clang-format on
  Variant value = parsed(R"({"1":1,"2":2,"a":1})");
  EXPECT_TRUE(value.NumericKeysCount() == 2 && value.StringKeysCount() == 1);
  EXPECT_EQ(value.KeysCount(), 3u);
  EXPECT_EQ(&value.RemoveValue(9).RemoveValue("a", true).RemoveValue(S(), false), &value);
  EXPECT_TRUE(&value.ResetKeys() == &value && shape(value) == "map;");
}

// --- Whole trees ---------------------------------------------------------------------------------

TEST(Compact, TakesTheSmallestType) {
  using I = std::int64_t;
  // clang-format off
  const std::pair<VariantType, std::vector<Variant>> cases[] = {
      {V_INT8,   {I{5}, std::uint64_t{0}, I{-128}, I{127}, 3.0, -1.0, -0.0}},
      {V_INT16,  {I{-129}, I{-32768}, 256u, 32767}},      {V_UINT8,  {std::int16_t{128}, 255u}},
      {V_UINT16, {32768, 65535, 40000.0}},                {V_UINT32, {2147483648u, I{4294967295}}},
      {V_INT32,  {I{-32769}, I{INT32_MIN}, 65536, 2147483647u, -40000.0}},
      {V_INT64,  {I{INT32_MIN} - 1, INT64_MIN, I{4294967296}, std::uint64_t{INT64_MAX}, -0x1p63}},
      {V_UINT64, {1ull << 63, UINT64_MAX, 0x1p63, 0x1.fffffffffffffp63}},
      {V_DOUBLE, {0x1p64, -0x1.0000000000001p63, 0.5, -1.5, INFINITY, -INFINITY, NAN}},
      {V_NULL,   {Variant()}},                            {V_STRING, {"12"}},     {V_BOOL, {true}}};
  // clang-format on
  for (const auto& [type, values] : cases) {
    for (const Variant& before : values) {
      Variant tree = typedMap();
      tree[3]["a"][-7] = before;
      tree.Compact();
      const Variant& after = tree[3]["a"][-7];
      EXPECT_EQ(after, type) << before.ToString();
      EXPECT_TRUE((after == before && before == after) || before.operator double() != before);
    }
  }
}

TEST(Stringify, ConvertsKeysAndValues) {
  for (const auto& row : table(R"(
      values => -5 => "-5"       values => null => "null"    values => [1,{"a":2}] => [1,{"a":2}]
      keys => 5 => 5             keys => [[1]] => {"0":[1]}         keys => {"a":[1]} => {"a":[1]}
      both => true => "true"     both => 1.5 => "1.500000"          none => [[1]] => [[1]]
      both => "text" => "text"   both => "b64:AQ==" => "b64:AQ=="
      both => [[1,[2]],{"a":3,"5":false}] => {"0":{"0":"1","1":{"0":"2"}},"1":{"5":"false","a":"3"}}
      values => {"5":1,"a":2,"b":[3],"c":{"6":5}} => {"5":1,"a":"2","b":[3],"c":{"6":5}})")) {
    Variant value = parsed(row[1]), target = "old";
    const bool keys = row[0] == "keys" || row[0] == "both";
    const bool values = row[0] == "values" || row[0] == "both";
    EXPECT_EQ(&value.Stringify(target, keys, values), &target);
    EXPECT_EQ(json(target), row[2]) << row[0];
    EXPECT_TRUE(value == parsed(row[1]) && (!values || target == V_STRING || target == V_MAP));
    EXPECT_EQ(&value.Stringify(keys, values).Stringify(keys, values), &value);
    EXPECT_TRUE(value == target && !(keys && value.IsArray()));
  }
  Variant value = typedMap();
  value["1"] = parsed("[1]");
  value[1] = "an integer key wins over an equal string key";
  std::uint8_t byte = 1;
  for (const char* key : {"a", "2"}) value[key][-1] = Variant(&byte, 1, true);
  value[2][-1] = Variant(&byte, 1, true);  // in place of the "2" of above
  value[2][-1] = Variant(&byte, 0, false);
  value.Stringify(true, false);
  EXPECT_TRUE(shape(value) == "map; 1 2 a" && value["1"] == V_STRING);
  const auto bytesOf = [](const Variant& buffer) {
    return buffer.operator const VariantBuffer*()->data;
  };
  byte = 2;  // what got a string key was copied, all else stays
  EXPECT_EQ(*bytesOf(value["a"][0]), 2);
  EXPECT_EQ(*bytesOf(value["2"][0]), 1);
  EXPECT_NE(bytesOf(value["2"][1]), nullptr);
  EXPECT_EQ(Variant("a\"b").ToString(), "(STRING) \"a\"b\"");
}

// --- Key chains ----------------------------------------------------------------------------------

// What paths lead to, and what has which key, is tested by fuzz/key_chain.cpp.
TEST(KeyChain, WhereThereIsNoPathOrNoSuchTree) {
  Variant tree, text = "text";
  const Variant* const typed = &(tree["typed"] = typedMap());
  for (const auto type : {V_ANY, V_TYPED_MAP})
    EXPECT_EQ(tree.GetKeyChain(type, "typed", true), typed);
  for (const auto type : {V_MAP, V_NUMERIC})
    EXPECT_EQ(tree.GetKeyChain(type, "typed", true), nullptr);
  EXPECT_EQ(tree.GetKeyChain(V_INT8, "typed/a", true), &std::as_const(*typed)["a"]);
  EXPECT_FALSE(tree.GetKeyChain(V_ANY, kNoText, true) || tree.GetPathComponent(kNoText, 3, true));
  tree["name"] = "member";
  tree.IsArray(true);  // its strings are its elements
  EXPECT_FALSE(tree.HasStrArrayMember("member", true) || text.HasStrArrayMember("text", true));
  EXPECT_FALSE(text.HasKey("text", true) || text.HasKey(0) || text.IsArray());
}

// --- Validators ----------------------------------------------------------------------------------

TEST(Validators, NormaliseMembers) {
  // clang-format off
  expectChanges([](V v) { v.ValidateBool("on", false, false); },
                R"({"on":"yes"} => {"on":false}   {"ON":true} => {"on":true}   5 => {"on":false})");
  expectChanges([](V v) { v.ValidateNumeric("n", 1, 10, 5, true); }, R"(
      {"n":7} => {"n":7}          {"n":0} => {"n":1.000000}     {"n":500} => {"n":10.000000}
      {} => {"n":5.000000}        {"n":"7"} => {"n":5.000000}   {"n":true} => {"n":5.000000})");
  expectChanges([](V v) { v.ValidateNumeric("n", 5, 3, 4, true); }, R"({"n":4} => {"n":3.000000})");
  expectChanges([](V v) { v.ValidateMap("m", true); },
                R"({"m":"x"} => {"m":{}}   {"m":[1]} => {"m":[1]})");
  expectChanges([](V v) { v["m"] = typedMap(), v.ValidateMap("m", true); }, R"({} => {"m":{}})");
  expectChanges([](V v) { v.PreValidate("a", V_ANY, false, 5); },
                R"({"A":8} => {"a":8}   {"A":8,"a":9} => {"a":9}   5 => {"a":5})");
  expectChanges([](V v) { v.PreValidate("ab", V_INT8, false, 5); },
                R"({"AB":8,"ab":"x"} => {"ab":8}   {"AB":"x","Ab":8} => {"ab":5})");
  expectChanges([](V v) { v.PreValidate("a", V_ANY, true, 5); }, R"({"A":8} => {"A":8,"a":5})");
  expectChanges([](V v) { v.PreValidate("a/b", V_ANY, true, 5); },
                R"({"a":{"b":1}} => {"a":{"b":1},"a\/b":1})");
  expectChanges([](V v) { v.PreValidate("[0]", V_ANY, false, 5); }, R"([7] => {"0":7,"[0]":7})");
  expectChanges([](V v) { v[kKeyWithZero] = 8, v.PreValidate("na", V_ANY, false, 5); },
                R"({} => {"na":8})");
  // Keys and defaults that live inside the value.
  expectChanges([](V v) { v.PreValidate("a", V_BOOL, false, v["A"]); },
                R"({"A":"x"} => {"a":"x"})");
  expectChanges([](V v) { v.PreValidate(Chars(v["key of 16 bytes."]), V_BOOL, false, "x"); },
                R"({"key of 16 bytes.":"KEY OF 16 BYTES."} => {"KEY OF 16 BYTES.":"x"})");
  expectChanges([](V v) { v.PreValidate(Chars(v), V_ANY, false, v); }, R"("key" => {"key":"key"})");
  expectChanges([](V v) { v.PreValidate("b", V_ANY, true, v); },
                R"({"a":1} => {"a":1,"b":{"a":1}})");
  // clang-format on
  Variant value;
  const Variant& member = value.PreValidate("a", V_ANY, false, "x");
  EXPECT_EQ(&member, &value["a"]);
  EXPECT_EQ(&value.ValidateBool("b", true, true).ValidateMap("m", true), &value);
  EXPECT_EQ(&value.ValidateNumeric("n", 0, 1, 0, true), &value);
  EXPECT_TRUE(value["b"] == true && !value["m"].IsArray() && takeMessages().empty());
}

TEST(Validators, SetsAreNotImplemented) {
  for (const S before : {"{}", R"({"s":1})", R"({"S":3,"s":2})"}) {
    Variant value = parsed(before), three = 3;
    const Variant& chosen = value.HasKey("S", true) ? value["S"] : three;
    EXPECT_EQ(&value.ValidateSets("s", parsed("[1,2]"), chosen, false), &value);
    EXPECT_EQ(json(value), R"({"s":3})");
    EXPECT_EQ(takeMessages(), Messages{"src/variant_validators ValidateSets 4: "
                                       "Function ValidateSets not yet implemented"});
  }
}

}  // namespace
}  // namespace vexo::variant
