// JSON: writer, reader, what comes back, error positions, files.
#include "host.h"
#include "variant_access.h"

namespace {

using namespace vexo::tests;
using namespace vexo::variant;
using std::string_literals::operator""s;

/// JSON with the types and keys that it does not tell: [1,UINT64 2,5:null], {5:true,'a':"x"}.
std::string shown(const Variant& value) {
  const VariantType type = value;
  const bool isPlain = type == V_NULL || type == V_BOOL || type == V_INT8 || type == V_STRING;
  if (type != V_MAP)
    return isPlain ? json(value) : value.VariantTypeToString(type) + (" " + json(value));
  std::string text;
  std::int64_t next = 0;
  for (auto i = value.num_begin(); i != value.num_end(); ++i, ++next)
    text += (value.IsArray() && i->first == next ? "" : std::to_string(i->first) + ":") +
            shown(i->second) + ",";
  for (auto i = value.str_begin(); i != value.str_end(); ++i)
    text += "'" + i->first + "':" + shown(i->second) + ",";
  return (value.IsArray() ? "[" : "{") + text.substr(0, text.size() - !text.empty()) +
         (value.IsArray() ? "]" : "}");
}

std::string pretty(const Variant& value) {
  std::string text = "old";
  EXPECT_TRUE(value.ToJSON(text, true));
  return text;
}

Variant typedMap() { return decoded("101100000000"); }

// --- Writer --------------------------------------------------------------------------------------

TEST(JsonWriter, ScalarsThatDoNotComeBackAsTheyWere) {
  std::uint8_t bytes[] = {1, 2, 3, 0xFF};
  // clang-format off
  const std::pair<Variant, std::string> cases[] = {
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
  EXPECT_DEATH(json(unknown), violation("src/variant_json ToJSON 3: Invalid type 16384"));
}

// --- Reader --------------------------------------------------------------------------------------

/// Rows are "input => tree" for a text that is read as a whole, "input => result => tree" for
/// others, and "input" for one that fails before anything is built. The result is the number of
/// bytes, -1, or where (columns count characters) and why the text is refused. | in a text is a
/// line feed.
void checkReadings(const std::string& rows) {
  for (const auto& row : table(rows)) {
    SCOPED_TRACE(row[0]);
    std::vector<char> text(row[0].begin(), row[0].end());  // with nothing behind it
    std::replace(text.begin(), text.end(), '|', '\n');
    const auto length = static_cast<unsigned>(text.size());
    Variant value = "old";
    TextError error;
    const int count = readJsonText(text.data(), length, value, error);
    std::string result = std::to_string(count);
    if (row.size() == 3 && row[1].find(':') != std::string::npos) result = told(error);
    EXPECT_EQ(result, row.size() == 1 ? "-1" : row.size() == 2 ? std::to_string(length) : row[1]);
    EXPECT_EQ(shown(value), row.size() == 1 ? "null" : row.back());
    EXPECT_EQ(locateText(text.data(), length, error.position.offset).column, error.position.column);
  }
}

// More inputs, those that show what JSON is, are in docs/json.md.
TEST(JsonReader, GapsLiteralsAndNumbers) {
  checkReadings(R"(
      False => false   nUlL => null   truexyz => 4 => true   || => 3:1: expected a value => null
      {"a":1} # x => -1 => {'a':UINT64 1}   1 /x => -1 => UINT64 1
      {#|"a"//|:#|1||,#|} #| => {'a':1}
      [ /* | * / => 1:3: expected '*/' to end the comment that begins here => null
      [1 /x => 1:5: expected '/' or '*' to begin a comment => [UINT64 1]
      / => 1:2: expected '/' or '*' to begin a comment => null
      fals   trve   }   #   /**/ /***/ /*/*/1 => 1   [/**/1/**/,/**/2/**/]/**/ => [1,2]
      127 => 127   255 => UINT8 255   40000 => UINT16 40000   +5 => 5   3.0 => 3   -0.0 => 0
      -0x80 => -128   1"a" => 1 => 1   [0X1F] => -1 => [UINT64 0,null]   [1-2] => -1 => [null]
      [1, 08] => 1:5: expected a number => [UINT64 1,null]   -   .   0x-1.5   0xg   /* */ */ 1)");
  for (const std::string& text : {""s, "\v1"s, "\0001"s, "\xC4\xB1null"s})
    EXPECT_EQ(Variant().FromJSON(text), -1) << text;
  EXPECT_EQ(Variant().FromJSON("  true           "), 17);
  EXPECT_EQ(Variant().FromJSON("1\0"s), 1);
}

TEST(JsonReader, StringsAndTheirMarkers) {
  checkReadings(R"(
      "" => ""   "\b\f\n\r\t\"\\\/" => "\b\f\n\r\t\"\\\/"   "b64:AQID" => BINARY "b64:AQID"
      "b64:\/\/\/\/" => BINARY "b64:////"   "b64:AQID====" => "b64:AQID===="
      "b64:!!!!" => "b64:!!!!"   {"b64:":1} => {'b64:':1}
      "1970-01-01T00:00:01.000005Z" => TIMESTAMP "1970-01-01T00:00:01.000005Z"
      ["é€😀", ?] => 1:9: expected a value => ["é€😀",null]
      ["a|b", ?] => 2:5: expected a value => ["a\nb",null]
      ["ab\"c => 1:2: expected '"' to end the string that begins here => [null]
      {"x| => 1:2: expected '"' to end the string that begins here => null
      ["\u00"] => 1:3: expected one of the escapes \b \f \n \r \t \" \\ \/ => [null]   "\N"   "\"
      "a\"   "seven b   "   'a')");
}

TEST(JsonReader, ArraysAndObjects) {
  checkReadings(R"(
      [[],{}] => [[],{}]   [truefalse] => [true,false]   [1"a"null{}[]] => [1,"a",null,{},[]]
      [1false] => -1 => [null]   [} => -1 => [null]   [,1] => -1 => [null]
      [tru] => 1:2: expected true, false or null => [null]
      [1 => -1 => [UINT64 1]   [1,| => 2:1: expected ']' or an element => [UINT64 1]
      [1} => 1:3: expected a value => [UINT64 1,null]
      [1,,2] => 1:4: expected a value => [UINT64 1,null]
      [300,{"b":[-1,? => -1 => [UINT64 300,{'b':[INT64 -1,null]}]   {"a"} => -1 => {'a':null}
      {"a":1"b":{}"c" : null} => {'a':1,'b':{},'c':null}   {"a":} => -1 => {'a':null}
      {"a" 1} => 1:6: expected ':' after member name => {'a':null}
      {"a":1] => 1:7: expected '}' or a member name in double quotes => {'a':UINT64 1}
      {"a":1,,"b":2} => -1 => {'a':UINT64 1}   {"a":1,"b":[]] => -1 => {'a':UINT64 1,'b':[]}
      {"b":{"c":"b64:AQID","d" => -1 => {'b':{'c':BINARY "b64:AQID",'d':null}}   [   [/   {
      {'a':1}   {"a   {"\u":1})");
}

TEST(JsonReader, NamesOfMembers) {
  checkReadings(R"(
      {"-1":1,"05":2,"+7":3," 8":4} => {-1:1,5:2,7:3,8:4}   {"\t9":5,"\u":6} => -1 => {9:UINT64 5}
      {"5a":1,"0x10":2,"1.0":3} => {'0x10':2,'1.0':3,'5a':1}
      {"":4,"5 ":5,"-":6} => {'':4,'-':6,'5 ':5}
      {"-99999999999999999999":2} => {-9223372036854775808:2}
      {"zzzzzzzz2":1,"zzzzzzzz1":2} => {'zzzzzzzz1':2,'zzzzzzzz2':1}
      {"zzzzzzzz1":1,"zzzzzzzz":2} => {'zzzzzzzz':2,'zzzzzzzz1':1}
      {"2":4,"\/":5,"-3":6} => {-3:6,2:4,'/':5})");
}

TEST(JsonReader, ObjectsInTheOrderOfTheOneBeforeAndInOthers) {
  for (std::size_t count = 2; count <= 80; ++count) {
    const auto object = [count](std::size_t step) {  // ascending for 1, descending for count - 1
      std::string text;
      for (std::size_t i = 0, k = 0; i < count; ++i, k = (k + step) % count)
        text += (i == 0 ? "{\"name of " : ",\"name of ") + std::to_string(100 + k) + "\":[]";
      return text + "}";
    };
    const std::string up = object(1), down = object(count - 1);
    EXPECT_EQ(json(parsed("[" + down + down + up + down + "]")),
              "[" + up + "," + up + "," + up + "," + up + "]");
  }
}

TEST(JsonReader, RepeatedNamesMeetInOneMember) {
  checkReadings(R"(
      {"a":1,"a":"x"} => {'a':"x"}   {"a":300,"a":null} => {'a':INT16 300}
      {"5":1," 05":2} => {5:2}   {"\/":1,"/":2} => {'/':2}   {"":1,"":2} => {'':2}
      {"9223372036854775807":1,"9223372036854775808":2} => {9223372036854775807:2}
      {"a":[1],"b":0,"a":[2,3]} => {'a':[1,2,3],'b':0}   {"a":5,"a":[1]} => {'a':[1]}
      {"a":5,"a":{}} => {'a':{}}   {"a":[1],"a":{}} => {'a':[1]}   {"a":{},"a":[1]} => {'a':[1]}
      {"a":{"x":{"p":1}},"a":{"x":{"q":2}}} => {'a':{'x':{'p':1,'q':2}}}
      {"a":{"7":1},"a":[2]} => {'a':{7:1,8:2}}   {"a":[1],"a":{"x":2}} => {'a':[1,'x':2]}
      {"a":{"9223372036854775807":1},"a":[ 2]} => 1:38: no key is left for another element => )"
                R"({'a':{9223372036854775807:UINT64 1}}
      {"a":1,"a":"x","b":? => -1 => {'a':"x",'b':null}
      {"x":{"a":{"10":0}},"x":{"a":{"7":1},"a":[2]}} => {'x':{'a':{7:1,10:0,11:2}}}
      {"a":{"b":1},"a":5,"a":{"c":2}} => {'a':{'c':2}}
      [{"a":[1],"a":[2]},{"b":3,"b":{}},{"c":4}] => [{'a':[1,2]},{'b':{}},{'c':4}]
      [{"a":1,"a":2},{"b":[3,{"c":4,"c":{"d": => -1 => [{'a':UINT64 2},)"
                R"({'b':[UINT64 3,{'c':{'d':null}}]}]
      {"a":{"9223372036854775807":1},"a":[2],? => 1:37: no key is left for another element => )"
                R"({'a':{9223372036854775807:UINT64 1}})");
}

TEST(JsonReader, ReadsIntoWhatIsThere) {
  for (const auto& row : table(R"(
      null => 7 => 1 => UINT64 7   5 => null => 4 => 5   5 => {} => 2 => {}   5 => [] => 2 => []
      [1] => {} => 2 => [1]   [1] => [7 8]x => 5 => [1,UINT64 7,UINT64 8]
      "s" => [7] => 3 => [UINT64 7]   "s" => {"a":7} => 7 => {'a':UINT64 7}
      {"a":{"b":1}} => {"a":{"c":2.0,"b":null}} => 24 => {'a':{'b':1,'c':INT64 2}}
      [1] => [2,[3 ? => -1 => [1,UINT64 2,[UINT64 3,null]]   5 => [ => -1 => 5
      {"a":[1]} => {"b":{"c":7,"c":8},"a":[{"d":9}]} => 33 => )"
                               R"({'a':[1,{'d':UINT64 9}],'b':{'c':UINT64 8}}
      5 => [? => -1 => [null]   5 => { => -1 => 5)")) {
    const std::string& text = row[1];
    for (const auto reader : {readJson, readJsonObject}) {
      const bool reads = reader == readJson || (text.size() > 1 && text[0] == '{');
      Variant value = parsed(row[0]);
      const int count = reader(text.data(), static_cast<unsigned>(text.size()), value);
      EXPECT_EQ(std::to_string(count), reads ? row[2] : "-1") << text;
      EXPECT_EQ(shown(value), reads ? row[3] : shown(parsed(row[0]))) << text;
    }
  }
  Variant typed = typedMap();
  EXPECT_EQ(readJson(R"({"a":1})", 7, typed), 7);
  EXPECT_TRUE(typed == V_TYPED_MAP && typed["a"] == 1);
}

TEST(JsonReader, TextMayBePartOfTheValueItself) {
  Variant value = R"({"a":"a longer text that lies outside","a":[1,{"b":"\\"}]})";
  EXPECT_GT(value.FromJSON(static_cast<const std::string&>(value)), 0);
  EXPECT_EQ(shown(value), R"({'a':[1,{'b':"\\"}]})");
  value["deep"][3] = R"({"some member name":[1,2)";
  EXPECT_EQ(value.FromJSON(static_cast<const std::string&>(value["deep"][3])), -1);
  EXPECT_EQ(shown(value), "{'some member name':[UINT64 1,UINT64 2]}");
}

TEST(JsonReader, LengthsBeyondTwoGigabytesAreRefusedUnseen) {
  Variant value = 5;
  TextError error;
  EXPECT_EQ(value.FromJSON("1", 0x80000000u), -1);
  EXPECT_EQ(readJson("1", 0xFFFFFFFFu, value), -1);
  EXPECT_EQ(readJsonText("1", 0x80000000u, value, error), -1);
  EXPECT_STREQ(error.reason, "expected a text of less than 2 GiB");
  EXPECT_TRUE(value == 5 && locateText("ab", 2, 99).offset == 2);
}

// --- Round trips ---------------------------------------------------------------------------------

TEST(JsonRoundTrip, EveryByteAtEveryPlace) {
  const std::string letters = "b\bf\fn\nr\rt\t\"\"\\\\//";  // each before the byte it stands for
  for (const std::size_t length : {1u, 8u, 9u, 17u}) {
    for (std::size_t i = 0; i < length * 256; ++i) {
      const char byte = static_cast<char>(i);
      const std::string before(i / 256, '~'), behind(length - 1 - i / 256, '~');
      const std::string text = before + byte + behind;
      std::string escaped = text;
      for (std::size_t k = 0; k < letters.size(); k += 2)
        if (byte == letters[k + 1]) escaped = before + '\\' + letters[k] + behind;
      ASSERT_EQ(json(text), "\"" + escaped + "\"");
      ASSERT_EQ(parsed("\"" + escaped + "\""), text);
      ASSERT_TRUE(byte == '"' || byte == '\\' || parsed("\"" + text + "\"") == text) << text;
    }
  }
}

TEST(JsonRoundTrip, LongStringsOfEscapesAlone) {
  for (const std::size_t length : {4096u, 4097u, 8193u}) {  // around parts of the writer
    const std::string text = std::string(length - 1, '/') + '"';
    const std::string escaped = repeated("\\/", length - 1) + "\\\"";
    EXPECT_EQ(json(text), "\"" + escaped + "\"") << length;
    EXPECT_EQ(parsed("\"" + escaped + "\""), text) << length;
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
  EXPECT_EQ(shown(back), "[UINT64 1,UINT64 2]");
  EXPECT_FALSE(back.FromJSONFile(file.directory));
  EXPECT_EQ(back, V_NULL);
  std::uint8_t byte = 0;
  EXPECT_FALSE(Variant(&byte, 0xFFFFFFFF, true).ToJSONFile(file.path, false));
  EXPECT_EQ(file.read(), "[1, 2");
  EXPECT_FALSE(value.ToJSONFile(file.directory, false) || value.ToJSONFile("/dev/full", false));
  EXPECT_EQ(takeMessages(), Messages{});
}

}  // namespace
