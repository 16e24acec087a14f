// The AMF writer: bytes, sizes, limits, messages.
#include <algorithm>

#include "host.h"
#include "variant_access.h"
#include "vexo_utils/io_buffer.h"

namespace {

using namespace vexo::tests;
using namespace vexo::variant;
using std::string_literals::operator""s;

/// The messages, each with a bar behind it.
std::string logged() {
  std::string text;
  for (const std::string& message : takeMessages()) text += message.substr(16) + "|";
  return text;
}

TEST(Amf, EveryTypeIsWrittenExactlyWhereItFits) {
  // JSON, or BIN behind a dot; AMF; what the message says at one length that is too small.
  for (const auto& row : table(R"(
      null => 05 => 0 => C: 0; V: 1; M: 0   true => 0101 => 1 => C: 0; V: 2; M: 1   false => 0100
      -129 => 00C060200000000000 => 8 => C: 0; V: 9; M: 8   2.5 => 004004000000000000   "" => 020000
      18446744073709551615 => 0043F0000000000000   "é" => 020002C3A9 => 4 => C: 0; V: 5; M: 4
      "1970-01-01T00:00:01.000500Z" => 0B408F4400000000000000 => 10 => C: 0; V: 11; M: 10
      "1969-12-31T23:59:59.999999Z" => 0BBF50624DD2F000000000    .10110100 0000 => 03000009
      "b64:" => 110C01 => 1 => C: 0; V: 2; M: 1   "b64:qrvM"=> 110C07AABBCC => 5 => C: 3; V: 3; M: 5
      {} => 03000009 => 3 => C: 1; V: 3; M: 3   [] => 0A00000000 => 4 => C: 0; V: 5; M: 4
      .10100102 00C00805 07800100 => 0A0000000200401400000000000005    {"":true} => 0300000101000009
      {"a":1,"b":"hi","2":true} => 03000161003FF000000000000000016202000268690001320101000009
      .101001010080010101618001 => 0300016105000130050000 09 => 5 => C: 5; V: 3; M: 5
      {"-5":null,"-10":"x"} => 0300032D31300200017800022D3505000009 => 5 => C: 1; V: 5; M: 5
      [[],{"":"b64:AA=="}] => 0A000000020A00000000030000110C0300000009 => 19 => C: 7; V: 3; M: 9
      )"s + (sizeof(time_t) < 8 ? ""
                                : ".100D000044A1ECDF68A3000A6CEC => 0B4370C188548B0BF60000"))) {
    const Variant value = row[0][0] == '.' ? decoded(row[0].substr(1)) : parsed(row[0]);
    const std::uint32_t size = value.GetAMFRequiredLength();
    std::vector<std::uint8_t> bytes;
    for (std::uint32_t end = 0; end < size; ++end) {
      bytes.assign(size, 'x');
      EXPECT_EQ(value.ToInternalAMF(bytes.data(), end), 0u);
      EXPECT_EQ(std::string(bytes.data() + end, bytes.data() + size), std::string(size - end, 'x'));
      const std::string text = logged(), last = text.substr(text.rfind("3: "));
      EXPECT_TRUE(last.starts_with("3: Limit exceeded: ") && text.find("3: ") == text.rfind("3: "));
      EXPECT_TRUE(row.size() < 4 || row[2] != std::to_string(end) || last.ends_with(row[3] + "|"));
    }
    EXPECT_EQ(value.ToInternalAMF(bytes.data(), size), size);
    EXPECT_EQ(hex(bytes), hex(unhex(row[1])));
  }
}

TEST(Amf, CountsHaveSeveralForms) {
  for (const auto& row : table(R"(
      63 => 110C7F   64 => 110C8101   8191 => 110CFF7F   8192 => 110C818001   1048575 => 110CFFFF7F
      1048576 => 110C80C08001   65535 => 02FFFF   65536 => 0C00010000)")) {
    const auto size = static_cast<std::uint32_t>(std::stoul(row[0]));
    Variant value = std::string(size, '\0');
    if (row[1][0] == '1') value.AllocateBuffer(size, true);
    vexo::utils::IOBuffer output;
    output.ReadFromRepeat(7, 1);
    std::vector<std::uint8_t> expected = unhex("07" + row[1]);
    expected.resize(expected.size() + size);
    EXPECT_EQ(value.ToAMF(output) + 1, expected.size());
    EXPECT_TRUE(std::equal(output.data(), output.data() + output.size(), expected.begin())) << size;
  }
  std::vector<std::uint8_t> bytes(4);
  EXPECT_EQ(WriteAdobeU29(bytes.data(), 4, 0x1FFFFFFF), 4u);
  EXPECT_EQ(hex(bytes), hex(unhex("FFFFFFFF")));
  EXPECT_EQ(logged(), repeated("WriteAdobeU29 7: 0000007f; 7f|", 3));
  EXPECT_EQ(WriteAdobeU29(nullptr, 1, 0x80) + WriteAdobeU29(nullptr, 2, 0x4000), 0u);
  EXPECT_EQ(WriteAdobeU29(nullptr, 3, 0x200000) + WriteAdobeU29(nullptr, 0, 0x20000000), 0u);
  const std::string name = "WriteAdobeU29 3: ", limit = name + "Limit exceeded: C: 0; V: ";
  EXPECT_EQ(logged(), limit + "2; M: 1|" + limit + "3; M: 2|" + limit + "4; M: 3|" + name +
                          "Invalid size for Adobe U29 format|");
}

TEST(Amf, WhatHasNoEncodingIsRefused) {
  const TemporaryFile file;
  vexo::utils::IOBuffer output;
  std::uint8_t bytes[70000] = {};
  EXPECT_TRUE(Variant("a").ToAMFFile(file.path) && !Variant("a").ToAMFFile(file.directory));
  const auto check = [&](const Variant& value, const std::string& sized, const std::string& why) {
    EXPECT_FALSE(value.ToAMFFile(file.path) || value.ToInternalAMF(bytes, sizeof bytes) > 0);
    const std::string noSize = "ToAMFFile 3: Unable to determine the size of the needed buffer|";
    EXPECT_EQ(logged(), sized + noSize + "ToInternalAMF 3: " + why + "|");
  };
  Variant value, old = "old";
  put(value["a"], Held{V_NUMERIC, {0}});
  check(value, "", "variant type not supported by AMF serializer: NUMERIC Ignoring it");
  value["a"] = Variant(bytes, 0x10000000, true);
  check(value, "GetAMFRequiredLength 3: Byte array too big for AMF|", "Byte array too big for AMF");
  (value = Variant())["a"][std::string(65536, 'k')] = true;
  check(value, "GetAMFRequiredLength 3: Key too long for AMF|", "Key too long for AMF");
  EXPECT_EQ(value.ToAMF(output), 0u);
  EXPECT_EQ(logged(), "GetAMFRequiredLength 3: Key too long for AMF|") << "once";
  for (int i = 0; i < 16; ++i) value[i] = Variant(bytes, 0x0FFFFFFF, true);
  check(value.ResetStringKeys(),
        "GetAMFRequiredLength 3: Encoding needs 4294967434 bytes, which is 4 GiB or more|",
        "Limit exceeded: C: 6; V: 268435455; M: 69996");
  EXPECT_FALSE(old.FromAMFFile(file.path) || old.FromAMFFile("") || old.FromAMF(bytes, 1) > 0);
  EXPECT_EQ(logged(), repeated("FromAMF 4: Function FromAMF not yet implemented|", 2));
  EXPECT_EQ(file.read() + json(old), "\2\0\1a\"old\""s);
}

}  // namespace
