// The BIN format: writer, size pass, reader, hostile input, files.
#include <cstdio>

#include "host.h"
#include "variant_access.h"
#include "vexo_utils/io_buffer.h"

namespace {

using namespace vexo::tests;
using namespace vexo::variant;

/// {7: true, "id": -2, "name": "cam", "ports": [80, 443]}
const std::string kExample =
    "101000010780030103026964E006FFFFFFFE046E616D65100E0363616D05706F7274731010010200C0095001"
    "C009833B00";
Variant example() { return decoded(kExample); }

Variant unencodable() { return parsed(R"({"a":{"-1":true}})"); }
/// Of a type that no value has.
Variant unknown() {
  Variant value;
  put(value, Held{V_NUMERIC, {0}});
  return value;
}

/// "2,1,3" is done since the value began, needed next, and where its room ends.
Messages logged(const std::string& function, const std::string& limit = "") {
  unsigned c = 0, v = 0, m = 0;
  char text[99] = "Invalid parameters supplied";
  if (std::sscanf(limit.c_str(), "%u,%u,%u", &c, &v, &m) == 3) {
    std::snprintf(text, sizeof text, "Limit exceeded: C: %u; V: %u; M: %u", c, v, m);
  }
  return {"src/variant_bin " + function + " 3: " + text};
}

TEST(Bin, EveryTypeIsWrittenSizedAndReadBack) {
  // Where there is no JSON, the value is the one that is read.
  std::string rows = R"(
      null  => 2 => 8001      true => 3 => 800301     false => 3 => 800300
      -128  => 3 => E00480    -258 => 4 => E005FEFE   200 => 3 => C008C8
      1.0e8 => 6 => E00605F5E100      -4294967298 => 10 => E007FFFFFFFEFFFFFFFE
      65535 => 5 => C00983FF7F        => 5 => C00900          4294967295 => 7 => C00A8FFFFFFF7F
      => 7 => C00A818000      0x8102030405060708 => 10 => C00B8102030405060708
      1.5 => 10 => E00C3FF8000000000000       => 10 => E00C8000000000000000
      "1969-12-31T23:59:59.000000Z" => 14 => 100DFFFFFFFFFFFFFFFF00000000
      "1975-01-01T00:00:00.999999Z" => 14 => 100D0000000009675300000F423F     "" => 7 => 100E00
      "abc" => 10 => 100E03616263     "b64:" => 7 => 100F00   "b64:AP8H" => 10 => 100F0300FF07
      {} => 13 => 1010000000          [] => 13 => 1010010000
      {"":null} => 20 => 1010000001008001     {"127":null} => 23 => 101000017F800100
      {"é":{}} => 33 => 101000000102C3A91010000000
      {"72057594037927935":null} => 23 => 10100001FFFFFFFFFFFFFF7F800100
      => 18 => 101100000000   => 30 => 1011010174010080030100         => 105 => )";
  rows += kExample + "   \"" + repeated("a", 128) + "\" => 135 => 100E8100" + repeated("61", 128);
  for (const auto& row : table(rows)) {
    SCOPED_TRACE(row[2].substr(0, 60));
    const Variant value = row[0].empty() ? decoded(row[2]) : parsed(row[0]), back = decoded(row[2]);
    for (const std::uint32_t room : {0u, value.GetBinRequiredLength() - 1}) {
      std::uint32_t length = room;
      EXPECT_EQ(value.ToBIN(nullptr, length), 0u);
      EXPECT_EQ(std::to_string(length), row[1]);
    }
    EXPECT_EQ(hex(toBin(value)), row[2]);
    EXPECT_EQ(hex(toBin(back)), row[2]);
    EXPECT_TRUE(back == value && typeOf(back) == typeOf(value));
    if (isMap(value)) continue;
    const std::uint32_t room = value.GetBinRequiredLength() - 1;  // whatever the value's own width
    EXPECT_EQ(value.ToInternalBIN(Bytes(room).data(), room), 0u);
    const std::string next = room == 1 ? "0,2" : "2," + std::to_string(room - 1);
    EXPECT_EQ(takeMessages(), logged("ToInternalBIN", next + "," + std::to_string(room)));
  }
  EXPECT_EQ(mapOf(decoded("10 11 01 01 74 00 00")).typeName, "t");
  EXPECT_EQ(takeMessages(), Messages{});
}

TEST(Bin, WhatIsReadIsCanonicalAndWhatStoodBeforeAFailureStays) {
  // What is there then, if not null; and the count of bytes that were read, or the message. Bytes
  // behind the value; more than the type's bits; more groups than needed; repeated and unordered
  // keys, where nothing of the first occurrence is left.
  for (const auto& row : table(R"(
      8001FF => 2     800307 => 3 => 800301   C0098005 => 4 => C00905
      C009848000 => 5 => C00900       100E800161 => 5 => 100E0161
      C00A9080808001 => 7 => C00A01   1010FF0000 => 5 => 1010010000
      C00A808080808080800500 => 10 => C00A05
      10100090808080010580019080808000 => 16 => 1010000105800100
      101000030580010280010580030100 => 15 => 101000020280010580030100
      10100000020161100E01620161800301 => 16 => 10100000010161800301
      10100000020162800101618001 => 13 => 10100000020161800101628001
      1010000201101001010080010001101000000000 => 20 => 1010000101101000000000        => 0,2,0
      80 => 0,2,1     8003 => 2,1,2   E00500 => 2,2,3         E006000000 => 2,4,5
      E00700000000000000 => 2,8,9     100D0000000000000000000000 => 2,12,13   C009 => u56
      C00A83FF => -   C00A808080808080808000 => -     100E => u56     100E85 => -
      100E056162 => 3,5,5     100F0261 => 3,2,4       100E9080808000 => 7,0,7
      100FFFFFFFFFFFFFFF7F => 10,4294967295,10        1010 => 2,1,2 => 1010000000
      101001 => u56 => 1010010000     1011 => 2,1,2 => 101100000000
      101101056361 => 4,5,6 => 101101000000   1011010163 => u56 => 10110101630000
      10100000010561 => 6,5,7 => 1010000000
      1010000300800101800301 => u56 => 101000020080010180030100
      1010000100E00600 => 2,4,3 => 1010000100800100   10100001001234 => - => 1010000100800100
      10100002008003010080 => 0,2,1 => 1010000100800100       0000 => -       4000 => -
      FFFF => -       101200000000 => -)")) {
    Variant value = "old";
    const std::string& result = row[1];
    const std::uint32_t count = readBin(value, unhex(row[0]));
    const Messages messages = takeMessages();
    EXPECT_EQ(messages, result == "u56"                         ? logged("FromU56")
                        : result.find(',') != std::string::npos ? logged("FromBIN", result)
                                                                : Messages{});
    EXPECT_EQ(count, messages.empty() ? std::strtoul(result.c_str(), nullptr, 10) : 0) << row[0];
    EXPECT_EQ(hex(toBin(value)), row.size() > 2 ? row[2] : "8001") << row[0];
  }
  const Bytes whole = unhex(kExample);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    Variant value;
    EXPECT_EQ(readBin(value, {whole.data(), whole.data() + length}), 0u);  // nothing is behind it
  }
}

TEST(Bin, EveryFieldOfAMapIsWrittenOnlyWhereItsGreatestWidthFits) {
  // The value, the length that the check needs, and what the message says one byte below it.
  for (const auto& row : table(R"(
      1010000100800100 => 2 => 0,2,1      1010000100800100 => 3 => 2,1,2
      1010000100800100 => 8 => 3,5,7      1010000100800100 => 12 => 4,8,11
      1010000000 => 9 => 4,5,8            10100000010261628001 => 12 => 5,7,11
      1011000363616D0000 => 11 => 3,8,10     1011000363616D0000 => 12 => 7,5,11
      1010000200800101800100 => 15 => 7,8,14
      1010000100E007000000000000000100 => 15 => 2,8,9)")) {
    const auto needed = static_cast<std::uint32_t>(std::stoul(row[1]));
    for (const std::uint32_t length : {needed - 1, needed}) {
      const std::uint32_t count = decoded(row[0]).ToInternalBIN(Bytes(length).data(), length);
      EXPECT_EQ(takeMessages() == logged("ToInternalBIN", row[2]), length < needed) << row[0];
      EXPECT_TRUE(count == 0 || length == needed);
    }
  }
}

TEST(Bin, WhatHasNoEncodingFails) {
  for (const Variant& value : {unencodable(), parsed(R"({"72057594037927936":true})")}) {
    EXPECT_EQ(toBin(value), Bytes{});
    EXPECT_EQ(takeMessages(), logged("ToU56"));
  }
  Variant map;
  map["a"] = unknown();
  EXPECT_TRUE(unknown().GetBinRequiredLength() == 0 && map.GetBinRequiredLength() == 13u + 6);
  EXPECT_TRUE(unknown().ToInternalBIN(Bytes(9).data(), 9) == 0 && toBin(map).empty());

  std::uint8_t byte = 0;
  EXPECT_EQ(Variant(&byte, 0xFFFFFFF8, true).GetBinRequiredLength(), 0xFFFFFFFF);
  EXPECT_EQ(takeMessages(), Messages{});
  const Variant huge(&byte, 0xFFFFFFF9, true);
  EXPECT_TRUE(huge.GetBinRequiredLength() == 0 && takeMessages().size() == 1);
  EXPECT_EQ(huge.ToInternalBIN(&byte, 1), 0u);
  EXPECT_EQ(takeMessages(), logged("ToInternalBIN", "0,2,1"));
}

TEST(Bin, NumbersOfSevenBitGroups) {
  std::uint64_t back = 1;
  for (std::uint32_t width = 1; width <= 8; ++width) {
    const std::uint64_t end = std::uint64_t{1} << 7 * width;
    for (const std::uint64_t value : {width == 1 ? 0 : end >> 7, end - 1}) {
      Bytes bytes(9, 0xAA);
      EXPECT_TRUE(ToU56(value, bytes.data()) == width && bytes[width] == 0xAA) << value;
      EXPECT_TRUE(FromU56(bytes.data(), width, back) == width && back == value) << value;
      EXPECT_EQ(FromU56(bytes.data(), width - 1, back), 0u);
      EXPECT_EQ(takeMessages(), width == 1 ? logged("FromU56") : Messages{});
    }
  }
  EXPECT_TRUE(ToU56(0, nullptr) == 0 && takeMessages() == logged("ToU56"));
  EXPECT_TRUE(FromU56(nullptr, 5, back) == 0 && takeMessages() == logged("FromU56"));
}

TEST(Bin, InputMayBePartOfTheValueItself) {
  Variant value(unhex(kExample).data(), 49, false);
  const VariantBuffer* buffer = value;
  EXPECT_EQ(value.FromBIN(buffer->data, buffer->size), 49u);
  EXPECT_EQ(value, example());
}

TEST(Bin, AppendsToAnIoBuffer) {
  vexo::utils::IOBuffer output;
  output.ReadFromBuffer(Bytes(150, 0x55).data(), 150);
  output.Ignore(100);  // the append may move what is left to the front
  EXPECT_EQ(example().ToBIN(output), 49u);
  EXPECT_EQ(hex({output.data(), output.data() + output.size()}),
            repeated("55", 50) + kExample + repeated("00", 56));
  EXPECT_EQ(unencodable().ToBIN(output), 0u);  // fails when the room is there already
  EXPECT_EQ(unknown().ToBIN(output), 0u);
  EXPECT_EQ(output.size(), 155u + unencodable().GetBinRequiredLength());
}

TEST(BinFiles, HoldTheEncodingAloneAndFailuresLeaveThem) {
  const TemporaryFile file;
  Variant value = "old";
  EXPECT_FALSE(value.FromBINFile(file.path) || value.FromBINFile(file.directory));
  EXPECT_EQ(value, "old");
  ASSERT_TRUE(example().ToBINFile(file.path));
  const std::string bytes = file.read();
  EXPECT_EQ(hex({bytes.begin(), bytes.end()}), kExample);
  takeMessages();
  EXPECT_FALSE(unencodable().ToBINFile(file.path) || unknown().ToBINFile(file.path));
  const Messages noSize{
      "src/variant_bin ToBINFile 3: Unable to determine the size of the needed "
      "buffer"};
  EXPECT_EQ(takeMessages(), (Messages{logged("ToU56")[0], noSize[0]}));
  EXPECT_EQ(file.read(), bytes);
  file.write(bytes + "trailing");
  EXPECT_TRUE((value = file.path).FromBINFile(value));
  EXPECT_EQ(value, example());
  file.write("");
  EXPECT_FALSE(value.FromBINFile(file.path));
  EXPECT_EQ(value, V_NULL);
  EXPECT_EQ(takeMessages(), logged("FromBIN", "0,2,0"));
  EXPECT_FALSE(example().ToBINFile(file.directory) || example().ToBINFile("/dev/full"));
}

}  // namespace
