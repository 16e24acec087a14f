// The KVP format: lines and files, both directions; paths of lines against key chains.
#include <algorithm>

#include "host.h"
#include "variant_access.h"

namespace {

using namespace vexo::tests;
using namespace vexo::variant;
using std::string_literals::operator""s;

TEST(Kvp, ALineIsWrittenForEachLeaf) {
  // The value, the separator, the lines, and whether a key holds the separator.
  for (const auto& row : table(R"(
      {"a":{},"b":[[],{}]} => = =>    {"a":{"b":1}} => . => a.b.1;    [5] => => 05;    {} => = =>
      [null,true,false,-9,9999999999999999999] => = => 0=;1=true;2=false;3=-9;4=9999999999999999999;
      [2.5,"a=b;é","b64:","b64:AP8H"] => := => 0:=2.500000;1:=a=b;é;2:=b64:;3:=b64:AP8H;
      {"":{"":{"":1},"a":2,"1":3},"b":[{"":4,"-5":5}]} => = => 1=3;=1;a=2;b.0.-5=5;b.0.=4;
      {"2":[{"x":1,"y=z":2}],"a":1} => = => 2.0.x=1; => -    {"1":[5],"a":2} => => 1.05; => -
      {"a=":{"=":1},"1":7} => == => 1==7;a=.===1;   {"a::":{"::=":1,"=::=":2}} => ::= => => -)")) {
    std::string output = row[1];
    EXPECT_EQ(parsed(row[0]).ToKVP(output, output, ";"), row.size() == 3);
    EXPECT_EQ(output, row[1] + row[2]);
    const Messages message{"src/variant_kvp ToInternalKVP 3: keys can not contain `" + row[1] +
                           "` separator when serialized into KVP"};
    EXPECT_EQ(takeMessages(), row.size() == 3 ? Messages{} : message) << row[0];
  }
  Variant value = decoded("10 10 00 00 01 01 74  10 11 00 01 74 00 00");
  std::string output = "p";
  EXPECT_FALSE(value["t"].ToKVP(output, "=", ";"));
  EXPECT_EQ(takeMessages(),
            Messages{"src/variant_kvp ToKVP 3: Variant must be a V_MAP to create KVP"});
  EXPECT_TRUE(value.ToInternalKVP(output, output, "=", output));
  EXPECT_EQ(output, "pp.t=\"V_TYPED_MAP is not supported by KVP\"p");
  put(value["u"], Held{V_NUMERIC, {0}});
  EXPECT_DEATH(value.ToKVP(output, "=", ";"),
               violation("variant_kvp ToInternalKVP 3: Invalid type 16384"));
}

// What lines mean is tested by fuzz/kvp.cpp, and by docs/kvp.md.
TEST(Kvp, LinesAreReadAsATree) {
  // Bars are line feeds. The text, the tree, flags (keys or values are strings, keys stay whole),
  // and where base64 is broken.
  for (auto row : table(R"(
      x.0=on => {"x":{"0":1}} => k   x.0=on => {"x":["on"]} => v   x.0=on => {"x.0":1} => f
      x.0=on => {"x":[1]}   v=b64:! => {"v":"b64:!"} => v   a=1|no line|b=1 => {"a":1,"b":1}
      v=b64:!!!! => {"v":"b64:"} => => 6    é=1| v=B64:AAB= => {"v":"b64:","é":1} => => 12
      v.w=5|v=b64:A===|v=6 => {"v":"b64:"} => => 12   v=b64:=A== => {"v":"b64:"} => f => 6
      #a=1| |bad ^|x= 5|y=7^ => {"x":" 5","y":"7\r"})")) {
    std::replace(row[0].begin(), row[0].end(), '^', '\r');
    row.resize(4);
    std::replace(row[0].begin(), row[0].end(), '|', '\n');
    const auto has = [&](char c) { return row[2].find(c) != std::string::npos; };
    Variant value = row[0];
    const auto length = static_cast<unsigned>(row[0].size());
    TextError error;  // the text may be a part of the value
    const bool isRead = readKvpText(value, length, has('k'), has('v'), !has('f'), value, error);
    EXPECT_EQ(isRead ? "" : std::to_string(error.position.offset), row[3]);
    EXPECT_EQ(value.ToString(), parsed(row[1]).ToString()) << row[0];
  }
  const std::string complaint =
      "src/variant_kvp FromKVP 3: Invalid line detected. Line number (starting from 0): ";
  const Messages expected{complaint + "1, \"no line\"", complaint + "2, \"bad \r\""};
  EXPECT_EQ(takeMessages(), expected);
  const TemporaryFile file;
  Variant value = file.path;
  EXPECT_TRUE(parsed("[1]").ToKVPFile(value, "=", "\n") &&
              value.FromKVPFile(value, true, false, true));
  EXPECT_FALSE(value.ToKVPFile(file.path, "0", "\n") || value.ToKVPFile(file.directory, "=", "\n"));
  EXPECT_EQ(json(value) + file.read(), "{\"0\":1}0=1\n");
  EXPECT_FALSE(value.FromKVPFile(file.directory, false, false, true) || value != V_NULL);
}

}  // namespace
