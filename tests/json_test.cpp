// JSON: writer, reader, what comes back, error positions, files.
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "host.h"
#include "temporary_file.h"
#include "variant_access.h"
#include "vexo_variant/text_error.h"

namespace {

using namespace vexo::tests;
using namespace vexo::variant;
using std::string_literals::operator""s;

std::string typeName(const Variant& value) {
  return Variant::VariantTypeToString(static_cast<VariantType>(typeOf(value)));
}

/// With all types and keys: [0:INT8 1,1:NULL null,], {5:BOOL true,'a':STRING "x",}.
std::string shown(const Variant& value) {
  if (typeOf(value) != V_MAP) return typeName(value) + " " + json(value);
  std::string text = value.IsArray() ? "[" : "{";
  for (auto i = value.num_begin(); i != value.num_end(); ++i) {
    text += std::to_string(i->first) + ":" + shown(i->second) + ",";
  }
  for (auto i = value.str_begin(); i != value.str_end(); ++i) {
    text += "'" + i->first + "':" + shown(i->second) + ",";
  }
  return text + (value.IsArray() ? "]" : "}");
}

std::string pretty(const Variant& value) {
  std::string text = "old";
  EXPECT_TRUE(value.ToJSON(text, true));
  return text;
}

// --- Writer --------------------------------------------------------------------------------------

TEST(JsonWriter, EveryTypeCompact) {
  std::uint8_t bytes[] = {1, 2, 3, 0xFF};
  timeval time{};
  time.tv_sec = 1;
  time.tv_usec = 5;
  Variant typed;
  typed["a"] = 1;
  VariantAccess::type(typed) = V_TYPED_MAP;
  const std::vector<std::pair<Variant, std::string>> cases{
      {Variant(), "null"},
      {true, "true"},
      {false, "false"},
      {std::int8_t{-128}, "-128"},
      {std::int16_t{-129}, "-129"},
      {std::int32_t{-40000}, "-40000"},
      {std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"},
      {std::uint8_t{255}, "255"},
      {std::uint16_t{65535}, "65535"},
      {std::uint32_t{4294967295u}, "4294967295"},
      {std::numeric_limits<std::uint64_t>::max(), "18446744073709551615"},
      {0.1, "0.100000"},
      {-2.0, "-2.000000"},
      {-0.0, "-0.000000"},
      {1e-9, "0.000000"},
      {1e20, "100000000000000000000.000000"},
      {std::numeric_limits<double>::infinity(), "inf"},
      {time, R"("1970-01-01T00:00:01.000005Z")"},
      {"", R"("")"},
      {"a\tb\x01/", "\"a\\tb\x01\\/\""},
      {"\b\t\n\f\r\"/\\", R"("\b\t\n\f\r\"\/\\")"},
      {"\0\x0B\x1B\x7F\x80\xC3\xA9\xFF'"s, "\"\0\x0B\x1B\x7F\x80\xC3\xA9\xFF'\""s},
      {Variant(bytes, 0, false), R"("b64:")"},
      {Variant(bytes, 3, false), R"("b64:AQID")"},
      {Variant(bytes, 4, true), R"("b64:AQID/w==")"},  // no escape here
      {typed, R"("V_TYPED_MAP is not supported by JSON")"}};
  for (const auto& [value, text] : cases) {
    EXPECT_EQ(json(value), text);
    Variant map;
    map["t"] = value;
    EXPECT_EQ(json(map), "{\"t\":" + text + "}");
  }
}

TEST(JsonWriter, MapsCompactAndIndented) {
  Variant sparse;
  sparse[-1] = 1;
  sparse[5] = 2;
  Variant plain;
  plain[0] = 1;
  plain[1] = 2;
  Variant mixed;
  mixed[-1] = 1;
  mixed["x"] = 2;
  Variant ordered = parsed(R"({"b":1,"a":2,"B":3,"10":4,"-2":5,"-1":6})");
  const std::vector<std::tuple<Variant, std::string, std::string>> cases{
      {parsed("{}"), "{}", "{\n}"},
      {parsed("[]"), "[]", "[\n]"},
      {sparse, "[1,2]", "[\n    1,\n    2\n]"},
      {plain, R"({"0":1,"1":2})", "{\n    \"0\": 1,\n    \"1\": 2\n}"},
      {mixed, R"({"0":1,"x":2})", "{\n    \"0\": 1,\n    \"x\": 2\n}"},
      {parsed(R"({"3":true,"s":null})"), R"({"3":true,"s":null})",
       "{\n    \"3\": true,\n    \"s\": null\n}"},
      {ordered, R"({"-2":5,"-1":6,"10":4,"B":3,"a":2,"b":1})",
       "{\n    \"-2\": 5,\n    \"-1\": 6,\n    \"10\": 4,\n    \"B\": 3,\n    \"a\": 2,\n    "
       "\"b\": 1\n}"},
      {parsed(R"({"a":1,"b":[true]})"), R"({"a":1,"b":[true]})",
       "{\n    \"a\": 1,\n    \"b\": [\n        true\n    ]\n}"},
      {parsed(R"({"\"\/\n":{},"":[[]]})"), R"({"":[[]],"\"\/\n":{}})",
       "{\n    \"\": [\n        [\n        ]\n    ],\n    \"\\\"\\/\\n\": {\n    }\n}"}};
  for (const auto& [value, compact, indented] : cases) {
    EXPECT_EQ(json(value), compact);
    EXPECT_EQ(pretty(value), indented);
    EXPECT_EQ(shown(parsed(indented)), shown(parsed(compact)));
  }
}

TEST(JsonWriter, AnnotatesForPeople) {
  Variant value = parsed(R"({"a\/\"":1,"b":[true,"\t\/"],"5":null})");
  value["t"] = parsed("{}");
  VariantAccess::type(value["t"]) = V_TYPED_MAP;
  EXPECT_EQ(value.ToString(),
            "{\n    (NULL) \"5\": null,\n    (INT8) \"a/\"\": 1,\n    \"b\": [\n"
            "        (BOOL) true,\n        (STRING) \"\t/\"\n    ],\n"
            "    \"t\": \"V_TYPED_MAP is not supported by JSON\"\n}");
  std::string text = "<";
  EXPECT_TRUE(value["b"].ToJSON("\"k\"", text, true, true, 1));
  EXPECT_EQ(text, "<    \"k\": [\n        (BOOL) true,\n        (STRING) \"\t/\"\n    ]");
  text = "<";
  EXPECT_TRUE(value["b"].ToJSON("\"k\"", text, false, true, 1));
  EXPECT_EQ(text, "<\"k\":[true,\"\t/\"]");
  text = "<";
  EXPECT_TRUE(Variant(5).ToJSON("\"k\"", text, true, true, 2));
  EXPECT_EQ(text, "<        (INT32) \"k\": 5");
}

TEST(JsonWriter, StopsAtWhatCannotBeEncoded) {
  std::uint8_t byte = 0;
  Variant value;
  value["a"]["b"] = Variant(&byte, 0xFFFFFFFF, true);  // base64 of it passes 4 GiB
  value["z"] = 1;
  std::string text = "old";
  EXPECT_FALSE(value.ToJSON(text, false));
  EXPECT_EQ(text, R"({"a":{"b":"b64:)");
  Variant unknown;
  put(unknown["k"], Held{V_NUMERIC, {0}});
  EXPECT_DEATH(json(unknown), violation("src/variant_json", "ToJSON", "Invalid type 16384"));
}

// --- Reader --------------------------------------------------------------------------------------

struct Reading {
  std::string text;
  int result;
  std::string tree;
};

constexpr int kAll = -2;

void checkReadings(const std::vector<Reading>& readings) {
  for (const Reading& reading : readings) {
    // Behind the text nothing may be read.
    const std::vector<char> bytes(reading.text.begin(), reading.text.end());
    Variant value = "old";
    const int all = static_cast<int>(bytes.size());
    EXPECT_EQ(value.FromJSON(bytes.data(), static_cast<unsigned int>(bytes.size())),
              reading.result == kAll ? all : reading.result)
        << reading.text;
    EXPECT_EQ(shown(value), reading.tree) << reading.text;
  }
  EXPECT_EQ(takeMessages(), Messages{});
}

/// Texts that fail before anything is built.
void checkRefused(const std::vector<std::string>& texts) {
  std::vector<Reading> readings;
  for (const std::string& text : texts) readings.push_back({text, -1, "NULL null"});
  checkReadings(readings);
}

TEST(JsonReader, GapsAndLiterals) {
  checkReadings({{"  true  ", 8, "BOOL true"},
                 {"truexyz", 4, "BOOL true"},
                 {"False", kAll, "BOOL false"},
                 {"nUlL", kAll, "NULL null"},
                 {"1 x", 2, "INT8 1"},
                 {"1\0"s, 1, "INT8 1"},
                 {"{\"a\":1} # x\n", kAll, "{'a':INT8 1,}"},
                 {"{\"a\":1} # x", -1, "{'a':UINT64 1,}"},  // built, but not compacted
                 {"1/", -1, "UINT64 1"},
                 {"1 /x", -1, "UINT64 1"},
                 {"1 /*", -1, "UINT64 1"},
                 {"//\n#\n//#\r\n /**/ /***/ /*/*/1", kAll, "INT8 1"},
                 {"[/**/1/**/,/**/2/**/]/**/", kAll, "[0:INT8 1,1:INT8 2,]"},
                 {"{#\n\"a\"#\n:#\n1#\n,#\n}#\n", kAll, "{'a':INT8 1,}"}});
  checkRefused({"", " \t\r\n", "nul", "fals", "trve", "\xC4\xB1null", "\v1",
                "\0"
                "1"s,
                "}", "/*/1", "/* */ */ 1", "#", "/"});
}

TEST(JsonReader, Numbers) {
  checkReadings({{"42", 2, "INT8 42"},
                 {"127", kAll, "INT8 127"},
                 {"255", kAll, "UINT8 255"},
                 {"-1", kAll, "INT8 -1"},
                 {"+5", kAll, "INT8 5"},
                 {"40000", kAll, "UINT16 40000"},
                 {"1.5", kAll, "DOUBLE 1.500000"},
                 {"3.0", kAll, "INT8 3"},
                 {"-0.0", kAll, "INT8 0"},
                 {"5.", kAll, "INT8 5"},
                 {"-.5", kAll, "DOUBLE -0.500000"},
                 {"1.0e5", kAll, "INT32 100000"},
                 {"1.0e999", kAll, "DOUBLE inf"},
                 {"0x1.8", kAll, "DOUBLE 1.500000"},
                 {"0x10", kAll, "INT8 16"},
                 {"-0x80", kAll, "INT8 -128"},
                 {"010", kAll, "INT8 8"},
                 {"18446744073709551615", kAll, "UINT64 18446744073709551615"},
                 {"18446744073709551616", kAll, "UINT64 18446744073709551615"},
                 {"-9223372036854775809", kAll, "INT64 -9223372036854775808"},
                 {"9223372036854775808.0", kAll, "UINT64 9223372036854775808"},
                 {"18446744073709551616.0", kAll, "DOUBLE 18446744073709551616.000000"},
                 {"1\"a\"", 1, "INT8 1"},
                 {"0X1F", 1, "INT8 0"},  // the number ends before the X
                 {"[0X1F]", -1, "[0:UINT64 0,1:NULL null,]"},
                 {"[1-2]", -1, "[0:NULL null,]"}});
  checkRefused({"08", "1e5", "1.2.3", "+-5", "-", ".", "0x-1.5", "0xg"});
}

TEST(JsonReader, StringsAndTheirMarkers) {
  checkReadings(
      {{R"("")", kAll, R"(STRING "")"},
       {R"("\b\f\n\r\t\"\\\/")", kAll, R"(STRING "\b\f\n\r\t\"\\\/")"},
       {"\"a\x01\n\0\xC3\xA9\xFF\""s, kAll, "STRING \"a\x01\\n\0\xC3\xA9\xFF\""s},
       {R"("plain text \\ and more of it\n")", kAll, R"(STRING "plain text \\ and more of it\n")"},
       {R"("b64:")", kAll, R"(BINARY "b64:")"},
       {R"("b64:AQID")", kAll, R"(BINARY "b64:AQID")"},
       {R"("b64:AQI=")", kAll, R"(BINARY "b64:AQI=")"},
       {R"("b64:\/\/\/\/")", kAll, R"(BINARY "b64:////")"},
       {R"("b64:AQJ=")", kAll, R"(STRING "b64:AQJ=")"},
       {R"("b64:AQID====")", kAll, R"(STRING "b64:AQID====")"},
       {R"("b64:!!!!")", kAll, R"(STRING "b64:!!!!")"},
       {R"("b64:abc")", kAll, R"(STRING "b64:abc")"},
       {R"("B64:AQID")", kAll, R"(STRING "B64:AQID")"},
       {R"(" b64:AQI")", kAll, R"(STRING " b64:AQI")"},
       {R"("1970-01-01T00:00:01.000005Z")", kAll, R"(TIMESTAMP "1970-01-01T00:00:01.000005Z")"},
       {R"("1970-01-01T00:00:01Z")", kAll, R"(STRING "1970-01-01T00:00:01Z")"},
       {R"({"b64:":1,"1970-01-01T00:00:01.000005Z":2})", kAll,
        "{'1970-01-01T00:00:01.000005Z':INT8 2,'b64:':INT8 1,}"}});
  checkRefused(
      {R"("\u0041")", R"("\N")", R"("\)", R"("a\")", R"("seven b)", "\"\\\0\""s, R"(")", R"('a')"});
}

TEST(JsonReader, ArraysAndObjects) {
  checkReadings(
      {{"[]", kAll, "[]"},
       {"[[],{}]", kAll, "[0:[],1:{},]"},
       {"{}", kAll, "{}"},
       {"[1,2,]", kAll, "[0:INT8 1,1:INT8 2,]"},
       {"[1 2]", kAll, "[0:INT8 1,1:INT8 2,]"},
       {"[1\"a\"true null{}[]]", kAll,
        "[0:INT8 1,1:STRING \"a\",2:BOOL true,3:NULL null,4:{},5:[],]"},
       {"[truefalse]", kAll, "[0:BOOL true,1:BOOL false,]"},
       {"[1false]", -1, "[0:NULL null,]"},  // 1fa is the number
       {"[}", -1, "[0:NULL null,]"},
       {"[,1]", -1, "[0:NULL null,]"},
       {"[1", -1, "[0:UINT64 1,]"},
       {"[1,", -1, "[0:UINT64 1,]"},
       {"[1,,2]", -1, "[0:UINT64 1,1:NULL null,]"},
       {"[1 /x", -1, "[0:UINT64 1,]"},
       {"[300,[\"a\",{\"b\":[-1,?", -1,
        "[0:UINT64 300,1:[0:STRING \"a\",1:{'b':[0:INT64 -1,1:NULL null,],},],]"},
       {R"({"a":1,})", kAll, "{'a':INT8 1,}"},
       {R"({"a":1"b":{}"c" : null})", kAll, "{'a':INT8 1,'b':{},'c':NULL null,}"},
       {R"({"a"})", -1, "{'a':NULL null,}"},
       {R"({"a":})", -1, "{'a':NULL null,}"},
       {R"({"a" 1})", -1, "{'a':NULL null,}"},
       {R"({"a"::1})", -1, "{'a':NULL null,}"},
       {R"({"a":1,,"b":2})", -1, "{'a':UINT64 1,}"},
       {R"({"a":1,"b":[]])", -1, "{'a':UINT64 1,'b':[],}"},
       {R"({"b":{"c":"b64:AQID","d")", -1, "{'b':{'c':BINARY \"b64:AQID\",'d':NULL null,},}"}});
  checkRefused({"[", "[ ", "[/", "{", "{,}", "{a:1}", "{'a':1}", R"({"a)", R"({"\u":1})"});
}

TEST(JsonReader, NamesOfMembers) {
  checkReadings(
      {{R"({"-1":1,"05":2,"+7":3," 8":4,"\t9":5,"\u":6})", -1,
        "{-1:UINT64 1,5:UINT64 2,7:UINT64 3,8:UINT64 4,9:UINT64 5,}"},
       {R"({"5a":1,"0x10":2,"1.0":3,"":4,"5 ":5,"-":6," ":7,"1e3":8,"--1":9})", kAll,
        "{'':INT8 4,' ':INT8 7,'-':INT8 6,'--1':INT8 9,'0x10':INT8 2,'1.0':INT8 3,'1e3':INT8 8,"
        "'5 ':INT8 5,'5a':INT8 1,}"},
       {R"({"99999999999999999999":1,"-99999999999999999999":2})", kAll,
        "{-9223372036854775808:INT8 2,9223372036854775807:INT8 1,}"},
       {"{\"5\0\":1,\"\xC3\xA9\":2}"s, kAll, "{'5\0':INT8 1,'\xC3\xA9':INT8 2,}"s},
       {R"({"0":1,"1":2})", kAll, "{0:INT8 1,1:INT8 2,}"},
       {R"({"zzzzzzzzz2":1,"zzzzzzzzz1":2,"zzzzzzzz":3,"2":4,"\b":5,"-3":6})", kAll,
        "{-3:INT8 6,2:INT8 4,'\b':INT8 5,'zzzzzzzz':INT8 3,'zzzzzzzzz1':INT8 2,'zzzzzzzzz2':INT8 "
        "1,}"}});
}

TEST(JsonReader, RepeatedNamesMeetInOneMember) {
  checkReadings(
      {{R"({"a":1,"a":"x"})", kAll, "{'a':STRING \"x\",}"},
       {R"({"a":300,"a":null})", kAll, "{'a':INT16 300,}"},
       {R"({"5":1," 05":2})", kAll, "{5:INT8 2,}"},
       {R"({"9223372036854775807":1,"9223372036854775808":2})", kAll,
        "{9223372036854775807:INT8 2,}"},
       {R"({"\/":1,"/":2})", kAll, "{'/':INT8 2,}"},
       {R"({"":1,"":2})", kAll, "{'':INT8 2,}"},
       {R"({"a":[1],"b":0,"a":[2,3]})", kAll, "{'a':[0:INT8 1,1:INT8 2,2:INT8 3,],'b':INT8 0,}"},
       {R"({"a":5,"a":[1]})", kAll, "{'a':[0:INT8 1,],}"},
       {R"({"a":5,"a":[]})", kAll, "{'a':[],}"},
       {R"({"a":5,"a":{}})", kAll, "{'a':{},}"},
       {R"({"a":[1],"a":[]})", kAll, "{'a':[0:INT8 1,],}"},
       {R"({"a":[1],"a":{}})", kAll, "{'a':[0:INT8 1,],}"},
       {R"({"a":[1],"a":true})", kAll, "{'a':BOOL true,}"},
       {R"({"a":{},"a":[1]})", kAll, "{'a':[0:INT8 1,],}"},
       {R"({"a":{"x":1},"a":{"y":2}})", kAll, "{'a':{'x':INT8 1,'y':INT8 2,},}"},
       {R"({"a":{"x":{"p":1}},"a":{"x":{"q":2}}})", kAll, "{'a':{'x':{'p':INT8 1,'q':INT8 2,},},}"},
       {R"({"a":{"x":1},"a":[2]})", kAll, "{'a':{0:INT8 2,'x':INT8 1,},}"},
       {R"({"a":{"7":1},"a":[2]})", kAll, "{'a':{7:INT8 1,8:INT8 2,},}"},
       {R"({"a":[1],"a":{"x":2}})", kAll, "{'a':[0:INT8 1,'x':INT8 2,],}"},
       {R"({"a":{"9223372036854775807":1},"a":[2]})", -1, "{'a':{9223372036854775807:UINT64 1,},}"},
       {R"({"a":1,"a":"x","b":?)", -1, "{'a':STRING \"x\",'b':NULL null,}"}});
}

TEST(JsonReader, ReadsIntoWhatIsThere) {
  const std::vector<std::tuple<std::string, std::string, int, std::string>> cases{
      {"null", " 7 ", 2, "UINT64 7"},
      {"5", "null", 4, "INT8 5"},
      {"5", "{}", 2, "{}"},
      {"5", "[]", 2, "[]"},
      {"[1]", "{}", 2, "[0:INT8 1,]"},
      {"[1]", "[7 8]x", 5, "[0:INT8 1,1:UINT64 7,2:UINT64 8,]"},
      {"\"s\"", "[7]", 3, "[0:UINT64 7,]"},
      {"\"s\"", R"({"a":7})", 7, "{'a':UINT64 7,}"},
      {R"({"a":{"b":1}})", R"({"a":{"c":2.0,"b":null},"d":[]})", 31,
       "{'a':{'b':INT8 1,'c':INT64 2,},'d':[],}"},
      {"[1]", "[2,[3 ?", -1, "[0:INT8 1,1:UINT64 2,2:[0:UINT64 3,1:NULL null,],]"},
      {"5", "[", -1, "INT8 5"},
      {"5", "[?", -1, "[0:NULL null,]"},
      {"5", "{", -1, "INT8 5"},
      {"5", "?", -1, "INT8 5"},
      {"5", "\"b64:!!!", -1, "INT8 5"}};
  for (const auto& [before, text, result, tree] : cases) {
    Variant value = parsed(before);
    const auto length = static_cast<unsigned int>(text.size());
    EXPECT_EQ(readJson(text.data(), length, value), result) << text;
    EXPECT_EQ(shown(value), tree) << text;
    Variant again = parsed(before);
    const bool isObject = text.size() > 1 && text[0] == '{';
    EXPECT_EQ(readJsonObject(text.data(), length, again), isObject ? result : -1) << text;
    EXPECT_EQ(shown(again), isObject ? tree : shown(parsed(before))) << text;
  }
  Variant typed = parsed("{}");
  VariantAccess::type(typed) = V_TYPED_MAP;
  EXPECT_EQ(readJson(R"({"a":1})", 7, typed), 7);
  EXPECT_EQ(typed, V_TYPED_MAP);
  EXPECT_EQ(typed["a"], 1);
  EXPECT_EQ(readJsonObject(" {}", 3, typed), -1);
}

TEST(JsonReader, TextMayBePartOfTheValueItself) {
  Variant value = R"({"a":"a longer text that lies outside","a":[1,{"b":"\\"}]})";
  const std::string& text = value;
  EXPECT_EQ(value.FromJSON(text), static_cast<int>(text.size()));
  EXPECT_EQ(shown(value), R"({'a':[0:INT8 1,1:{'b':STRING "\\",},],})");
  value["deep"][3] = R"({"some member name":[1,2)";
  const std::string& bad = value["deep"][3];
  EXPECT_EQ(value.FromJSON(bad), -1);
  EXPECT_EQ(shown(value), "{'some member name':[0:UINT64 1,1:UINT64 2,],}");
}

TEST(JsonReader, LengthsBeyondTwoGigabytesAreRefusedUnseen) {
  Variant value = 5;
  EXPECT_EQ(value.FromJSON("1", 0x80000000u), -1);
  EXPECT_EQ(readJson("1", 0xFFFFFFFFu, value), -1);
  TextError error;
  EXPECT_EQ(readJsonText("1", 0x80000000u, value, error), -1);
  EXPECT_STREQ(error.reason, "expected a text of less than 2 GiB");
  EXPECT_EQ(value, 5);
  EXPECT_EQ(value.FromJSON(nullptr, 0), -1);
  EXPECT_EQ(value, V_NULL);
}

TEST(JsonReader, TellsWhereAndWhyATextIsRefused) {
  constexpr char kString[] = "expected '\"' to end the string that begins here";
  constexpr char kLine[] = "expected a line feed to end the comment that begins here";
  constexpr char kName[] = "expected '}' or a member name in double quotes";
  constexpr char kEscape[] = "expected one of the escapes \\b \\f \\n \\r \\t \\\" \\\\ \\/";
  const std::vector<std::tuple<std::string, std::uint64_t, std::uint64_t, std::string>> cases{
      {"", 1, 1, "expected a value"},
      {"\n \n", 3, 1, "expected a value"},
      {"[1,\r\n  ?]", 2, 3, "expected a value"},
      {"[\"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\", ?]", 1, 9, "expected a value"},
      {"[\"a\nb\", ?]", 2, 5, "expected a value"},
      {"[1,,2]", 1, 4, "expected a value"},
      {"[1, ", 1, 5, "expected ']' or an element"},
      {"[\n", 2, 1, "expected ']' or an element"},
      {"[1}", 1, 3, "expected a value"},
      {"{\"a\":1]", 1, 7, kName},
      {"{,}", 1, 2, kName},
      {"{a:1}", 1, 2, kName},
      {"{\"a\" 1}", 1, 6, "expected ':' after member name"},
      {"{\"a\"", 1, 5, "expected ':' after member name"},
      {"{\"a\":}", 1, 6, "expected a value"},
      {"[tru]", 1, 2, "expected true, false or null"},
      {"[1, 08]", 1, 5, "expected a number"},
      {"[\"ab", 1, 2, kString},
      {"[\"ab\\\"c", 1, 2, kString},
      {"{\"x\n", 1, 2, kString},
      {"[\"ab\\u0041\"]", 1, 5, kEscape},
      {"\"\\", 1, 2, kEscape},
      {"1 # x", 1, 3, kLine},
      {"\n// x", 2, 1, kLine},
      {"[ /* \n * /", 1, 3, "expected '*/' to end the comment that begins here"},
      {"[1 /x", 1, 5, "expected '/' or '*' to begin a comment"},
      {"/", 1, 2, "expected '/' or '*' to begin a comment"},
      {R"({"a":{"9223372036854775807":1},"a":[ 2]})", 1, 38, "no key is left for another element"}};
  for (const auto& [text, line, column, reason] : cases) {
    Variant value;
    TextError error;
    EXPECT_EQ(readJsonText(text.data(), static_cast<unsigned int>(text.size()), value, error), -1);
    EXPECT_EQ(error.position.line, line) << text;
    EXPECT_EQ(error.position.column, column) << text;
    EXPECT_EQ(error.reason, reason) << text;
    const TextPosition located = locateText(text.data(), text.size(), error.position.offset);
    EXPECT_EQ(located.column, column) << text;
  }
  EXPECT_EQ(locateText("ab", 2, 99).offset, 2u);
  Variant value;
  TextError error;
  EXPECT_EQ(readJsonText("[1] x", 5, value, error), 4);
  EXPECT_STREQ(error.reason, "");
}

// --- Round trips ---------------------------------------------------------------------------------

class JsonRoundTrip : public testing::Test {
 protected:
  unsigned pick(unsigned count) { return static_cast<unsigned>(random_() % count); }
  std::string pickOf(const std::vector<std::string>& texts) {
    return texts[pick(static_cast<unsigned>(texts.size()))];
  }

  Variant scalar() {
    const std::uint64_t bits = random_() >> pick(64);
    timeval time{};
    time.tv_sec = static_cast<std::int32_t>(bits);
    time.tv_usec = static_cast<std::int32_t>(bits % 1000000);
    std::string text =
        pickOf({"", "b64:", "b64:AQID", "/\\\"\n", "12", "1970-01-01T00:00:00.000000Z"});
    for (unsigned i = pick(12); i > 0; --i) text += static_cast<char>(pick(256));
    const double fraction = static_cast<double>(static_cast<std::int64_t>(bits)) / (1 + pick(1000));
    const auto size = pick(static_cast<unsigned>(text.size()) + 1);
    const Variant buffer(reinterpret_cast<std::uint8_t*>(text.data()), size, true);
    const std::vector<Variant> values{Variant(),
                                      bits % 2 == 0,
                                      time,
                                      text,
                                      text,
                                      text,
                                      buffer,
                                      fraction,
                                      bits,
                                      static_cast<std::int8_t>(bits),
                                      static_cast<std::int16_t>(bits),
                                      static_cast<std::int32_t>(bits),
                                      static_cast<std::int64_t>(0 - bits),
                                      static_cast<std::uint8_t>(bits),
                                      static_cast<std::uint16_t>(bits),
                                      static_cast<std::uint32_t>(bits)};
    return values[pick(static_cast<unsigned>(values.size()))];
  }

  Variant tree(int depth, bool typed) {
    if (depth == 0 || pick(3) == 0) return scalar();
    Variant value;
    value.IsArray(pick(2) == 0);
    for (unsigned i = pick(6); i > 0; --i) {
      value[value.IsArray() ? -1 : static_cast<int>(pick(40))] = tree(depth - 1, typed);
    }
    for (unsigned i = value.IsArray() && pick(4) != 0 ? 0 : pick(6); i > 0; --i) {
      const std::string key =
          pickOf({"", "a", "b\"/", "7", "-1", "\xC3\xA9", "zzzzzzzz", "zzzzzzzzz"});
      value[key] = tree(depth - 1, typed);
    }
    if (typed && pick(4) == 0) {
      mapOf(value).typeName = pickOf({"", "camera"});
      VariantAccess::type(value) = V_TYPED_MAP;
    }
    return value;
  }

  std::string gap() { return pickOf({"", "", "", " ", "\n\t\r ", "#c\n", "/*,*/", "//}\n"}); }

  /// A document without repeated names, written the relaxed way.
  std::string document(int depth) {
    if (depth == 0 || pick(4) == 0) {
      return pickOf({"null", "True", "5", "-70000", "2.5", "0x1F", "1.0", "\"a\\n\\/\"",
                     "\"plain\"", "\"b64:AQID\"", "\"1970-01-01T00:00:01.000005Z\"", "\"\"",
                     "99999999999999999999"});
    }
    const bool isArray = pick(2) == 0;
    std::string text = isArray ? "[" : "{";
    unsigned number = pick(100003);
    for (unsigned i = pick(8); i > 0; --i) {
      number = (number + (pick(2) == 0 ? 1 : 7919)) % 100003;  // not in order, never the same
      const std::string name =
          pickOf({"", "-", "n", "\\/", "longer name "}) + std::to_string(number);
      text += gap() + (isArray ? "" : "\"" + name + "\"" + gap() + ":" + gap());
      text += document(depth - 1) + gap() + pickOf({",", " ", "\n"});
    }
    return text + gap() + (isArray ? "]" : "}");
  }

  std::mt19937_64 random_{4711};
};

TEST_F(JsonRoundTrip, TreesComeBack) {
  for (int i = 0; i < 300; ++i) {
    const Variant original = tree(4, false);
    const std::string text = json(original);
    const Variant once = parsed(text);
    const Variant twice = parsed(json(once));
    ASSERT_EQ(json(once), json(twice)) << text;
    ASSERT_EQ(shown(parsed(pretty(once))), shown(twice)) << text;
  }
}

TEST_F(JsonRoundTrip, EveryByteAtEveryPlace) {
  const std::string letters = "b\bf\fn\nr\rt\t\"\"\\\\//";  // each before the byte it stands for
  for (const std::size_t length : {1u, 8u, 9u, 17u}) {
    for (std::size_t place = 0; place < length; ++place) {
      for (int byte = 0; byte < 256; ++byte) {
        std::string text(length, '~');
        text[place] = static_cast<char>(byte);
        std::string escaped = text;
        for (std::size_t i = 0; i < letters.size(); i += 2) {
          if (text[place] == letters[i + 1]) escaped.replace(place, 1, {'\\', letters[i]});
        }
        ASSERT_EQ(json(text), "\"" + escaped + "\"");
        ASSERT_EQ(parsed("\"" + escaped + "\""), text);
        if (byte == '"' || byte == '\\') continue;
        ASSERT_EQ(parsed("\"" + text + "\""), text);
      }
    }
  }
}

TEST_F(JsonRoundTrip, BinKeepsEverything) {
  for (int i = 0; i < 300; ++i) {
    const Variant original = tree(4, true);
    std::vector<std::uint8_t> bytes(original.GetBinRequiredLength());
    std::uint32_t length = original.GetBinRequiredLength();
    const std::uint32_t count = original.ToBIN(bytes.data(), length);
    Variant back;
    ASSERT_EQ(back.FromBIN(bytes.data(), count), count);
    ASSERT_TRUE(back == original);
    ASSERT_EQ(back.ToString(), original.ToString());
    std::vector<std::uint8_t> again(bytes.size());
    ASSERT_EQ(back.ToBIN(again.data(), length), count);
    ASSERT_EQ(again, bytes);
  }
}

TEST_F(JsonRoundTrip, RepeatedNamesElsewhereChangeNothing) {
  for (int i = 0; i < 300; ++i) {
    const std::string text = document(4);
    const Variant plain = parsed("{\"r\":" + text + "}");
    const Variant direct = parsed("{\"r\":null,\"r\":" + text + "}");
    ASSERT_EQ(shown(plain), shown(direct)) << text;
    Variant whole = parsed(text);
    ASSERT_EQ(shown(whole), shown(plain["r"])) << text;
  }
}

// --- Files ---------------------------------------------------------------------------------------

TEST(JsonFiles, HoldTheTextAlone) {
  const TemporaryFile file;
  const Variant value = parsed(R"({"a":[1,"\/"]})");
  EXPECT_TRUE(value.ToJSONFile(file.path(), false));
  EXPECT_EQ(file.read(), json(value));
  EXPECT_TRUE(value.ToJSONFile(file.path(), true));
  EXPECT_EQ(file.read(), pretty(value));
  Variant back = file.path();
  EXPECT_TRUE(back.FromJSONFile(back));
  EXPECT_EQ(back, value);
}

TEST(JsonFiles, KeepTheirContentWhenTheTreeCannotBeWritten) {
  const TemporaryFile file;
  std::uint8_t byte = 0;
  file.write("old");
  EXPECT_FALSE(Variant(&byte, 0xFFFFFFFF, true).ToJSONFile(file.path(), false));
  EXPECT_EQ(file.read(), "old");
  EXPECT_FALSE(Variant(5).ToJSONFile(file.directory(), false));
  EXPECT_FALSE(Variant(5).ToJSONFile(file.directory() + "/missing/file", false));
  EXPECT_FALSE(Variant(5).ToJSONFile("/dev/full", false));
}

TEST(JsonFiles, AreReadAsFarAsTheyGo) {
  const TemporaryFile file;
  Variant value;
  for (const std::string& path : {file.path(), file.directory()}) {
    value = "old";
    EXPECT_FALSE(value.FromJSONFile(path));
    EXPECT_EQ(value, V_NULL);
  }
  file.write("");
  EXPECT_FALSE(value.FromJSONFile(file.path()));
  file.write("[300] and more");
  EXPECT_TRUE(value.FromJSONFile(file.path()));
  EXPECT_EQ(shown(value), "[0:INT16 300,]");
  file.write("[1, 2");
  EXPECT_FALSE(value.FromJSONFile(file.path()));
  EXPECT_EQ(shown(value), "[0:UINT64 1,1:UINT64 2,]");
  EXPECT_EQ(takeMessages(), Messages{});
}

}  // namespace
