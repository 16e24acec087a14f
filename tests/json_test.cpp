// JSON: writer, reader, what comes back, error positions, files.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "host.h"
#include "variant_access.h"
#include "vexo_variant/text_error.h"

namespace {

using namespace vexo::tests;
using namespace vexo::variant;
using std::string_literals::operator""s;

/// With all types and keys: [0:INT8 1,1:NULL null,], {5:BOOL true,'a':STRING "x",}.
std::string shown(const Variant& value) {
  if (typeOf(value) != V_MAP) {
    return Variant::VariantTypeToString(static_cast<VariantType>(typeOf(value))) +
           (" " + json(value));
  }
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

Variant typedMap() {
  Variant value = parsed("{}");
  VariantAccess::type(value) = V_TYPED_MAP;
  return value;
}

// --- Writer --------------------------------------------------------------------------------------

TEST(JsonWriter, ScalarsThatDoNotComeBackAsTheyWere) {
  std::uint8_t bytes[] = {1, 2, 3, 0xFF};
  // clang-format off
  const std::vector<std::pair<Variant, std::string>> cases{
      {-0.0, "-0.000000"},           {1e-9, "0.000000"},   {1e20, "100000000000000000000.000000"},
      {std::int8_t{-128}, "-128"},   {false, "false"},     {INT64_MIN, "-9223372036854775808"},
      {Variant(bytes, 0, false), R"("b64:")"},   {Variant(bytes, 4, true), R"("b64:AQID/w==")"},
      {1.0 / 0.0, "inf"},            {typedMap(), R"("V_TYPED_MAP is not supported by JSON")"}};
  // clang-format on
  for (const auto& [value, text] : cases) EXPECT_EQ(json(value), text);
}

TEST(JsonWriter, MapsCompactAndIndented) {
  // The same text as it is built, compact and indented; ~ stands for a line feed and 4 spaces.
  for (const auto& row : table(R"(
      {} => {} => {^}         [] => [] => [^]
      {"1":1,"-2":2} => {"-2":2,"1":1} => {~"-2": 2,~"1": 1^}
      {"3":true,"s":null} => {"3":true,"s":null} => {~"3": true,~"s": null^}
      {"b":1,"B":2,"10":3} => {"10":3,"B":2,"b":1} => {~"10": 3,~"B": 2,~"b": 1^}
      {"a":1,"b":[true,1]} => {"a":1,"b":[true,1]} => {~"a": 1,~"b": [~~true,~~1~]^}
      {"\"\/\n":{},"":[[]]} => {"":[[]],"\"\/\n":{}} => {~"": [~~[~~]~],~"\"\/\n": {~}^}
      {"a":[1],"a":{"x":2}} => {"a":{"0":1,"x":2}} => {~"a": {~~"0": 1,~~"x": 2~}^})")) {
    std::string indented;
    for (const char c : row[2]) {
      if (c == '^' || (c == '~' && indented.back() != ' ')) indented += '\n';
      indented += c == '^' ? "" : c == '~' ? "    " : std::string(1, c);
    }
    EXPECT_EQ(json(parsed(row[0])), row[1]);
    EXPECT_EQ(pretty(parsed(row[0])), indented);
    EXPECT_EQ(shown(parsed(indented)), shown(parsed(row[1])));
  }
  Variant sparse;
  sparse[-1] = 1;
  sparse[5] = 2;
  EXPECT_EQ(json(sparse), "[1,2]");
}

TEST(JsonWriter, AnnotatesForPeople) {
  Variant value = parsed(R"({"a\/\"":1,"b":[true,"\t\/"],"5":null})");
  value["t"] = typedMap();
  EXPECT_EQ(value.ToString(),
            "{\n    (NULL) \"5\": null,\n    (INT8) \"a/\"\": 1,\n    \"b\": [\n"
            "        (BOOL) true,\n        (STRING) \"\t/\"\n    ],\n"
            "    \"t\": \"V_TYPED_MAP is not supported by JSON\"\n}");
  std::string text = "\"k\"";
  EXPECT_TRUE(value["b"].ToJSON(text, text, true, true, 1));  // the name is the output itself
  EXPECT_EQ(text, "\"k\"    \"k\": [\n        (BOOL) true,\n        (STRING) \"\t/\"\n    ]");
  text = "<";
  EXPECT_TRUE(value["b"].ToJSON("\"k\"", text, false, true, 1));
  EXPECT_TRUE(Variant(5).ToJSON("\"k\"", text, true, true, 2));
  EXPECT_EQ(text, "<\"k\":[true,\"\t/\"]        (INT32) \"k\": 5");
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

/// Reads with nothing behind the text.
void checkReading(const std::string& text, int result, const std::string& tree) {
  const std::vector<char> bytes(text.begin(), text.end());
  Variant value = "old";
  EXPECT_EQ(value.FromJSON(bytes.data(), static_cast<unsigned>(bytes.size())), result) << text;
  EXPECT_EQ(shown(value), tree) << text;
}

/// Rows are "input => tree" for a text that is read as a whole, or "input => result => tree".
void checkReadings(const std::string& rows) {
  for (const auto& row : table(rows)) {
    const int all = static_cast<int>(row[0].size());
    checkReading(row[0], row.size() == 3 ? std::stoi(row[1]) : all, row.back());
  }
}

/// Texts that fail before anything is built.
void checkRefused(const std::string& texts) {
  for (const auto& row : table(texts)) checkReading(row[0], -1, "NULL null");
}

TEST(JsonReader, GapsAndLiterals) {
  checkReadings(R"(
      False => BOOL false     nUlL => NULL null       truexyz => 4 => BOOL true
      1 x => 2 => INT8 1      1/ => -1 => UINT64 1    1 /x => -1 => UINT64 1
      1 /* => -1 => UINT64 1          {"a":1} # x => -1 => {'a':UINT64 1,}
      /**/ /***/ /*/*/1 => INT8 1     [/**/1/**/,/**/2/**/]/**/ => [0:INT8 1,1:INT8 2,])");
  checkReading("  true  ", 8, "BOOL true");
  checkReading("1\0"s, 1, "INT8 1");
  checkReading("{#\n\"a\"//\n:#\n1\r\n,\t#\n}          #\n", 32, "{'a':INT8 1,}");
  checkRefused("nul   fals   trve   \xC4\xB1null   }   /*/1   /* */ */ 1   #   /");
  for (const std::string& text : {""s, " \t\r\n"s, "\v1"s, "\0001"s}) {
    checkReading(text, -1, "NULL null");
  }
}

TEST(JsonReader, Numbers) {
  checkReadings(R"(
      127 => INT8 127         255 => UINT8 255        40000 => UINT16 40000
      -.5 => DOUBLE -0.500000         +5 => INT8 5    5. => INT8 5    3.0 => INT8 3
      -0.0 => INT8 0          1.0e5 => INT32 100000   1.0e999 => DOUBLE inf
      0x1.8 => DOUBLE 1.500000        -0x80 => INT8 -128      010 => INT8 8
      18446744073709551616 => UINT64 18446744073709551615     1"a" => 1 => INT8 1
      -9223372036854775809 => INT64 -9223372036854775808      0X1F => 1 => INT8 0
      [0X1F] => -1 => [0:UINT64 0,1:NULL null,]       [1-2] => -1 => [0:NULL null,])");
  checkRefused("08   1e5   1.2.3   +-5   -   .   0x-1.5   0xg");
}

TEST(JsonReader, StringsAndTheirMarkers) {
  checkReadings(R"(
      "" => STRING ""         "\b\f\n\r\t\"\\\/" => STRING "\b\f\n\r\t\"\\\/"
      "b64:" => BINARY "b64:"         "b64:AQID" => BINARY "b64:AQID"
      "b64:AQI=" => BINARY "b64:AQI="         "b64:\/\/\/\/" => BINARY "b64:////"
      "b64:AQJ=" => STRING "b64:AQJ="         "b64:AQID====" => STRING "b64:AQID===="
      "b64:!!!!" => STRING "b64:!!!!"         "b64:abc" => STRING "b64:abc"
      "B64:AQID" => STRING "B64:AQID"
      "1970-01-01T00:00:01.000005Z" => TIMESTAMP "1970-01-01T00:00:01.000005Z"
      "1970-01-01T00:00:01Z" => STRING "1970-01-01T00:00:01Z"
      {"b64:":1} => {'b64:':INT8 1,})");
  checkRefused(R"(
      "\u0041"        "\N"    "\      "\"     "a\"    "seven b        "       'a')");
}

TEST(JsonReader, ArraysAndObjects) {
  checkReadings(R"(
      [[],{}] => [0:[],1:{},]         [1,2,] => [0:INT8 1,1:INT8 2,]
      [truefalse] => [0:BOOL true,1:BOOL false,]
      [1"a"null{}[]] => [0:INT8 1,1:STRING "a",2:NULL null,3:{},4:[],]
      [1false] => -1 => [0:NULL null,]        [} => -1 => [0:NULL null,]
      [,1] => -1 => [0:NULL null,]    [1 => -1 => [0:UINT64 1,]       [1, => -1 => [0:UINT64 1,]
      [1,,2] => -1 => [0:UINT64 1,1:NULL null,]       [1 /x => -1 => [0:UINT64 1,]
      [300,{"b":[-1,? => -1 => [0:UINT64 300,1:{'b':[0:INT64 -1,1:NULL null,],},]
      {"a":1,} => {'a':INT8 1,}
      {"a":1"b":{}"c" : null} => {'a':INT8 1,'b':{},'c':NULL null,}
      {"a"} => -1 => {'a':NULL null,}         {"a":} => -1 => {'a':NULL null,}
      {"a" 1} => -1 => {'a':NULL null,}       {"a":1,,"b":2} => -1 => {'a':UINT64 1,}
      {"a":1,"b":[]] => -1 => {'a':UINT64 1,'b':[],}
      {"b":{"c":"b64:AQID","d" => -1 => {'b':{'c':BINARY "b64:AQID",'d':NULL null,},})");
  checkRefused(R"(
      [       [/      {       {,}     {a:1}   {'a':1}         {"a     {"\u":1})");
}

TEST(JsonReader, NamesOfMembers) {
  checkReadings(R"(
      {"-1":1,"05":2,"+7":3," 8":4} => {-1:INT8 1,5:INT8 2,7:INT8 3,8:INT8 4,}
      {"\t9":5,"\u":6} => -1 => {9:UINT64 5,}
      {"5a":1,"0x10":2,"1.0":3} => {'0x10':INT8 2,'1.0':INT8 3,'5a':INT8 1,}
      {"":4,"5 ":5,"-":6} => {'':INT8 4,'-':INT8 6,'5 ':INT8 5,}
      {"99999999999999999999":1} => {9223372036854775807:INT8 1,}
      {"-99999999999999999999":2} => {-9223372036854775808:INT8 2,}
      {"zzzzzzzz2":1,"zzzzzzzz1":2} => {'zzzzzzzz1':INT8 2,'zzzzzzzz2':INT8 1,}
      {"zzzzzzzz1":1,"zzzzzzzz":2} => {'zzzzzzzz':INT8 2,'zzzzzzzz1':INT8 1,}
      {"2":4,"\/":5,"-3":6} => {-3:INT8 6,2:INT8 4,'/':INT8 5,})");
}

TEST(JsonReader, RepeatedNamesMeetInOneMember) {
  checkReadings(R"(
      {"a":1,"a":"x"} => {'a':STRING "x",}    {"a":300,"a":null} => {'a':INT16 300,}
      {"5":1," 05":2} => {5:INT8 2,}
      {"9223372036854775807":1,"9223372036854775808":2} => {9223372036854775807:INT8 2,}
      {"\/":1,"/":2} => {'/':INT8 2,}         {"":1,"":2} => {'':INT8 2,}
      {"a":[1],"b":0,"a":[2,3]} => {'a':[0:INT8 1,1:INT8 2,2:INT8 3,],'b':INT8 0,}
      {"a":5,"a":[1]} => {'a':[0:INT8 1,],}   {"a":5,"a":[]} => {'a':[],}
      {"a":5,"a":{}} => {'a':{},}     {"a":[1],"a":{}} => {'a':[0:INT8 1,],}
      {"a":{},"a":[1]} => {'a':[0:INT8 1,],}          {"a":[1],"a":true} => {'a':BOOL true,}
      {"a":{"x":{"p":1}},"a":{"x":{"q":2}}} => {'a':{'x':{'p':INT8 1,'q':INT8 2,},},}
      {"a":{"7":1},"a":[2]} => {'a':{7:INT8 1,8:INT8 2,},}
      {"a":[1],"a":{"x":2}} => {'a':[0:INT8 1,'x':INT8 2,],}
      {"a":{"9223372036854775807":1},"a":[2]} => -1 => {'a':{9223372036854775807:UINT64 1,},}
      {"a":1,"a":"x","b":? => -1 => {'a':STRING "x",'b':NULL null,})");
}

TEST(JsonReader, ReadsIntoWhatIsThere) {
  for (const auto& row : table(R"(
      null => 7 => 1 => UINT64 7      5 => null => 4 => INT8 5        5 => {} => 2 => {}
      5 => [] => 2 => []      [1] => {} => 2 => [0:INT8 1,]
      [1] => [7 8]x => 5 => [0:INT8 1,1:UINT64 7,2:UINT64 8,]
      "s" => [7] => 3 => [0:UINT64 7,]        "s" => {"a":7} => 7 => {'a':UINT64 7,}
      {"a":{"b":1}} => {"a":{"c":2.0,"b":null}} => 24 => {'a':{'b':INT8 1,'c':INT64 2,},}
      [1] => [2,[3 ? => -1 => [0:INT8 1,1:UINT64 2,2:[0:UINT64 3,1:NULL null,],]
      5 => [ => -1 => INT8 5          5 => [? => -1 => [0:NULL null,]
      5 => { => -1 => INT8 5)")) {
    const std::string& text = row[1];
    const auto length = static_cast<unsigned>(text.size());
    Variant value = parsed(row[0]);
    EXPECT_EQ(std::to_string(readJson(text.data(), length, value)), row[2]) << text;
    EXPECT_EQ(shown(value), row[3]) << text;
    Variant again = parsed(row[0]);
    const bool isObject = text.size() > 1 && text[0] == '{';
    EXPECT_EQ(std::to_string(readJsonObject(text.data(), length, again)), isObject ? row[2] : "-1");
    EXPECT_EQ(shown(again), isObject ? row[3] : shown(parsed(row[0]))) << text;
  }
  Variant typed = typedMap();
  EXPECT_EQ(readJson(R"({"a":1})", 7, typed), 7);
  EXPECT_EQ(typed, V_TYPED_MAP);
  EXPECT_EQ(typed["a"], 1);
}

TEST(JsonReader, TextMayBePartOfTheValueItself) {
  Variant value = R"({"a":"a longer text that lies outside","a":[1,{"b":"\\"}]})";
  EXPECT_GT(value.FromJSON(static_cast<const std::string&>(value)), 0);
  EXPECT_EQ(shown(value), R"({'a':[0:INT8 1,1:{'b':STRING "\\",},],})");
  value["deep"][3] = R"({"some member name":[1,2)";
  EXPECT_EQ(value.FromJSON(static_cast<const std::string&>(value["deep"][3])), -1);
  EXPECT_EQ(shown(value), "{'some member name':[0:UINT64 1,1:UINT64 2,],}");
}

TEST(JsonReader, LengthsBeyondTwoGigabytesAreRefusedUnseen) {
  Variant value = 5;
  TextError error;
  EXPECT_EQ(value.FromJSON("1", 0x80000000u), -1);
  EXPECT_EQ(readJson("1", 0xFFFFFFFFu, value), -1);
  EXPECT_EQ(readJsonText("1", 0x80000000u, value, error), -1);
  EXPECT_STREQ(error.reason, "expected a text of less than 2 GiB");
  EXPECT_EQ(value, 5);
}

TEST(JsonReader, TellsWhereAndWhyATextIsRefused) {
  // Columns count characters; | stands for a line feed, and the input [1, ends with a space.
  for (const auto& row : table(R"(
      [1,|  ?] => 2:3 expected a value        ["é€😀", ?] => 1:9 expected a value
      ["a|b", ?] => 2:5 expected a value      || => 3:1 expected a value
      [1,,2] => 1:4 expected a value          [1} => 1:3 expected a value
      {"a":} => 1:6 expected a value          [1,| => 2:1 expected ']' or an element
      {"a":1] => 1:7 expected '}' or a member name in double quotes
      {"a" 1} => 1:6 expected ':' after member name   [tru] => 1:2 expected true, false or null
      [1, 08] => 1:5 expected a number
      ["ab\"c => 1:2 expected '"' to end the string that begins here
      {"x| => 1:2 expected '"' to end the string that begins here
      ["ab\u0041"] => 1:5 expected one of the escapes \b \f \n \r \t \" \\ \/
      1 # x => 1:3 expected a line feed to end the comment that begins here
      [ /* | * / => 1:3 expected '*/' to end the comment that begins here
      [1 /x => 1:5 expected '/' or '*' to begin a comment
      / => 1:2 expected '/' or '*' to begin a comment
      {"a":{"9223372036854775807":1},"a":[ 2]} => 1:38 no key is left for another element)")) {
    std::string text = row[0];
    std::replace(text.begin(), text.end(), '|', '\n');
    Variant value;
    TextError error;
    EXPECT_EQ(readJsonText(text.data(), static_cast<unsigned>(text.size()), value, error), -1);
    const TextPosition& at = error.position;
    EXPECT_EQ(std::to_string(at.line) + ":" + std::to_string(at.column) + " " + error.reason,
              row[1]);
    EXPECT_EQ(locateText(text.data(), text.size(), at.offset).column, at.column) << text;
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

  std::string scalar() {
    const auto bits = static_cast<std::int64_t>(random_() >> pick(64));
    std::string text = pickOf({"", "b64:", "/\\\"\n", "12"});
    for (unsigned i = pick(20); i > 0; --i) text += static_cast<char>(pick(256));
    const auto data = reinterpret_cast<std::uint8_t*>(text.data());
    const Variant buffer(data, pick(static_cast<unsigned>(text.size()) + 1), true);
    const double fraction = static_cast<double>(bits) / (1 + pick(1000));
    return pickOf({"null", "True", "0x1F", "1.0", "\"1970-01-01T00:00:01.000005Z\"", json(text),
                   json(text), json(buffer), json(fraction), std::to_string(bits), json(-bits)});
  }

  std::string gap() { return pickOf({"", "", "", " ", "\n\t\r ", "#c\n", "/*,*/", "//}\n"}); }

  /// A document without repeated names, written the relaxed way.
  std::string document(int depth) {
    if (depth == 0 || pick(4) == 0) return scalar();
    const bool isArray = pick(2) == 0;
    std::string text = isArray ? "[" : "{";
    unsigned number = pick(100003);
    for (unsigned i = pick(8); i > 0; --i) {
      number = (number + (pick(2) == 0 ? 1 : 7919)) % 100003;  // not in order, never the same
      const std::string name = pickOf({"", "+", "\xC3\xA9", "\\/", "longer name "});
      text += gap();
      if (!isArray) text += "\"" + name + std::to_string(number) + "\"" + gap() + ":" + gap();
      text += document(depth - 1) + gap() + pickOf({",", " ", "\n"});
    }
    return text + gap() + (isArray ? "]" : "}");
  }

  std::mt19937_64 random_{4711};
};

TEST_F(JsonRoundTrip, TreesComeBack) {
  for (int i = 0; i < 400; ++i) {
    const std::string text = document(4);
    const Variant once = parsed(text);
    const Variant twice = parsed(json(once));
    ASSERT_EQ(json(once), json(twice)) << text;
    ASSERT_EQ(shown(parsed(pretty(once))), shown(twice)) << text;
    Variant back;
    ASSERT_GT(readBin(back, toBin(parsed("[" + text + "]"))), 0u);
    ASSERT_EQ(shown(back[0]), shown(once)) << text;
    // A repeated name elsewhere changes nothing.
    ASSERT_EQ(shown(parsed("{\"r\":null,\"r\":" + text + "}")), "{'r':" + shown(once) + ",}");
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

TEST(JsonFiles, HoldTheTextAloneAndAreReadAsFarAsTheyGo) {
  const TemporaryFile file;
  const Variant value = parsed(R"({"a":[1,"\/"]})");
  EXPECT_TRUE(value.ToJSONFile(file.path, true));
  EXPECT_EQ(file.read(), pretty(value));
  Variant back = file.path;
  EXPECT_TRUE(back.FromJSONFile(back));
  EXPECT_EQ(back, value);
  file.write("[1, 2");
  EXPECT_FALSE(back.FromJSONFile(file.path));
  EXPECT_EQ(shown(back), "[0:UINT64 1,1:UINT64 2,]");
  EXPECT_FALSE(back.FromJSONFile(file.directory));
  EXPECT_EQ(back, V_NULL);
  std::uint8_t byte = 0;
  EXPECT_FALSE(Variant(&byte, 0xFFFFFFFF, true).ToJSONFile(file.path, false));
  EXPECT_EQ(file.read(), "[1, 2");
  EXPECT_FALSE(value.ToJSONFile(file.directory, false) || value.ToJSONFile("/dev/full", false));
  EXPECT_EQ(takeMessages(), Messages{});
}

}  // namespace
