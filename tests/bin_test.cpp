// The BIN format: writer, size pass, reader, hostile input, files.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <iterator>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "host.h"
#include "temporary_file.h"
#include "variant_access.h"
#include "vexo_utils/io_buffer.h"

namespace {

using namespace vexo::tests;
using namespace vexo::variant;
using Bytes = std::vector<std::uint8_t>;
using std::string_literals::operator""s;

constexpr char kExample[] =
    "10 10 00 01 07 80 03 01 03 02 69 64 E0 06 FF FF FF FE 04 6E 61 6D 65 10 0E 03 63 61 6D "
    "05 70 6F 72 74 73 10 10 01 02 00 C0 09 50 01 C0 09 83 3B 00";

std::uint32_t sizeOf(const Bytes& bytes) { return static_cast<std::uint32_t>(bytes.size()); }

std::string written(const Variant& value) {
  std::uint32_t length = value.GetBinRequiredLength();
  Bytes bytes(length);
  bytes.resize(value.ToBIN(bytes.data(), length));
  return hex(bytes);
}

Variant read(const std::string& digits) {
  const Bytes bytes = unhex(digits);
  Variant value;
  EXPECT_EQ(value.FromBIN(bytes.data(), sizeOf(bytes)), bytes.size()) << digits;
  return value;
}

Variant example() {
  Variant value;
  value[7] = true;
  value["id"] = std::int32_t{-2};
  value["name"] = "cam";
  value["ports"][-1] = std::uint16_t{80};
  value["ports"][-1] = std::uint16_t{443};
  return value;
}

Variant member(std::int64_t key, const Variant& value) {
  Variant map;
  map.IsArray(false);
  mapOf(map).numericKeys[key] = value;  // the subscript would append for -1
  return map;
}
Variant member(const std::string& key, const Variant& value) {
  Variant map;
  map[key] = value;
  return map;
}

/// Of a type that no value has.
Variant unknown() {
  Variant value;
  put(value, Held{V_NUMERIC, {0}});
  return value;
}

std::string repeated(const std::string& text, std::size_t count) {
  std::string result;
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

Messages bound(const std::string& function, std::uint64_t c, std::uint64_t v, std::uint64_t m) {
  return {"src/variant_bin " + function + " 3: Limit exceeded: C: " + std::to_string(c) +
          "; V: " + std::to_string(v) + "; M: " + std::to_string(m)};
}
Messages parameters(const std::string& function) {
  return {"src/variant_bin " + function + " 3: Invalid parameters supplied"};
}

timeval time(std::int64_t seconds, int microseconds) {
  timeval value{};
  value.tv_sec = static_cast<decltype(value.tv_sec)>(seconds);
  value.tv_usec = microseconds;
  return value;
}

TEST(Bin, EveryTypeIsWrittenSizedAndReadBack) {
  std::uint8_t bytes[] = {0, 0xFF, 7};
  const auto typed = [](Variant map, const char* name) {
    mapOf(map).typeName = name;
    VariantAccess::type(map) = V_TYPED_MAP;
    return map;
  };
  Variant array;
  array.IsArray(true);
  const Variant empty = read("10 10 00 00 00");
  const std::vector<std::tuple<Variant, std::uint32_t, std::string>> cases{
      {Variant(), 2, "80 01"},
      {true, 3, "80 03 01"},
      {false, 3, "80 03 00"},
      {std::int8_t{-128}, 3, "E0 04 80"},
      {std::int16_t{-2}, 4, "E0 05 FF FE"},
      {std::int32_t{0x01020304}, 6, "E0 06 01 02 03 04"},
      {std::int64_t{-1}, 10, "E0 07 FF FF FF FF FF FF FF FF"},
      {std::uint8_t{200}, 3, "C0 08 C8"},
      {std::uint16_t{0}, 5, "C0 09 00"},
      {std::uint16_t{127}, 5, "C0 09 7F"},
      {std::uint16_t{128}, 5, "C0 09 81 00"},
      {std::uint16_t{16383}, 5, "C0 09 FF 7F"},
      {std::uint16_t{16384}, 5, "C0 09 81 80 00"},
      {std::uint16_t{65535}, 5, "C0 09 83 FF 7F"},
      {std::uint32_t{0x1FFFFF}, 7, "C0 0A FF FF 7F"},
      {std::uint32_t{0x200000}, 7, "C0 0A 81 80 80 00"},
      {std::uint32_t{0xFFFFFFFF}, 7, "C0 0A 8F FF FF FF 7F"},
      {std::uint64_t{0x0102030405060708}, 10, "C0 0B 01 02 03 04 05 06 07 08"},
      {1.0, 10, "E0 0C 3F F0 00 00 00 00 00 00"},
      {-0.0, 10, "E0 0C 80 00 00 00 00 00 00 00"},
      {time(-1, 0), 14, "10 0D FF FF FF FF FF FF FF FF 00 00 00 00"},
      {time(0x01020304, 999999), 14, "10 0D 00 00 00 00 01 02 03 04 00 0F 42 3F"},
      {"", 7, "10 0E 00"},
      {"a\0b"s, 10, "10 0E 03 61 00 62"},
      {std::string(127, 'a'), 134, "10 0E 7F" + repeated(" 61", 127)},
      {std::string(128, 'a'), 135, "10 0E 81 00" + repeated(" 61", 128)},
      {Variant(nullptr, 0, false), 7, "10 0F 00"},
      {Variant(bytes, 3, true), 10, "10 0F 03 00 FF 07"},
      {empty, 13, "10 10 00 00 00"},
      {array, 13, "10 10 01 00 00"},
      {typed(empty, ""), 18, "10 11 00 00 00 00"},
      {typed(array, "cam"), 21, "10 11 01 03 63 61 6D 00 00"},
      {typed(member(0, true), "t"), 30, "10 11 00 01 74 01 00 80 03 01 00"},
      {member("", Variant()), 20, "10 10 00 00 01 00 80 01"},
      {member("\xC3\xA9", empty), 33, "10 10 00 00 01 02 C3 A9 10 10 00 00 00"},
      {member(127, Variant()), 23, "10 10 00 01 7F 80 01 00"},
      {member(128, Variant()), 23, "10 10 00 01 81 00 80 01 00"},
      {member((std::int64_t{1} << 56) - 1, Variant()), 23,
       "10 10 00 01 FF FF FF FF FF FF FF 7F 80 01 00"},
      {example(), 105, kExample}};
  for (const auto& [value, required, digits] : cases) {
    SCOPED_TRACE(digits.substr(0, 60));
    EXPECT_EQ(value.GetBinRequiredLength(), required);
    for (std::uint32_t length : {std::uint32_t{0}, required - 1}) {
      EXPECT_EQ(value.ToBIN(nullptr, length), 0u);
      EXPECT_EQ(length, required);
    }
    EXPECT_EQ(written(value), digits);
    const Variant back = read(digits);
    EXPECT_EQ(back, value);
    EXPECT_EQ(typeOf(back), typeOf(value));
    EXPECT_EQ(written(back), digits);
  }
  EXPECT_EQ(takeMessages(), Messages{});
}

TEST(Bin, OtherEncodingsAreReadAsTheirCanonicalForm) {
  const std::vector<std::tuple<std::string, std::uint32_t, std::string>> cases{
      {kExample + repeated(" 00", 56), 49, kExample},
      {"80 01 FF", 2, "80 01"},
      {"80 03 07", 3, "80 03 01"},
      {"C0 09 80 05", 4, "C0 09 05"},
      {"C0 09 84 80 00", 5, "C0 09 00"},        // 2^16: the low 16 bits count
      {"C0 0A 90 80 80 80 01", 7, "C0 0A 01"},  // 2^32 + 1
      {"C0 0A 80 80 80 80 80 80 80 05 00", 10, "C0 0A 05"},
      {"10 0E 80 01 61", 5, "10 0E 01 61"},
      {"10 10 FF 00 00", 5, "10 10 01 00 00"},
      {"10 10 00 90 80 80 80 01 05 80 01 90 80 80 80 00", 16, "10 10 00 01 05 80 01 00"},
      {"10 10 00 03 05 80 01 02 80 01 05 80 03 01 00", 15, "10 10 00 02 02 80 01 05 80 03 01 00"},
      {"10 10 00 00 02 01 61 10 0E 01 62 01 61 80 03 01", 16, "10 10 00 00 01 01 61 80 03 01"},
      {"10 10 00 00 02 01 62 80 01 01 61 80 01", 13, "10 10 00 00 02 01 61 80 01 01 62 80 01"},
      {"10 10 00 02 01 10 10 01 01 00 80 01 00 01 10 10 00 00 00 00", 20,
       "10 10 00 01 01 10 10 00 00 00 00"}};  // nothing of the first occurrence is left
  for (const auto& [digits, count, canonical] : cases) {
    const Bytes bytes = unhex(digits);
    Variant value = "old";
    EXPECT_EQ(value.FromBIN(bytes.data(), sizeOf(bytes)), count) << digits;
    EXPECT_EQ(written(value), canonical) << digits;
  }
  EXPECT_EQ(takeMessages(), Messages{});
}

TEST(Bin, RefusedInputLeavesWhatWasReadBefore) {
  const auto limit = [](std::uint64_t c, std::uint64_t v, std::uint64_t m) {
    return bound("FromBIN", c, v, m);
  };
  const std::vector<std::tuple<std::string, Messages, std::string>> cases{
      {"", limit(0, 2, 0), "80 01"},
      {"80", limit(0, 2, 1), "80 01"},
      {"80 03", limit(2, 1, 2), "80 01"},
      {"E0 04", limit(2, 1, 2), "80 01"},
      {"C0 08", limit(2, 1, 2), "80 01"},
      {"E0 05 00", limit(2, 2, 3), "80 01"},
      {"E0 06 00 00 00", limit(2, 4, 5), "80 01"},
      {"E0 07 00 00 00 00 00 00 00", limit(2, 8, 9), "80 01"},
      {"C0 0B 00 00 00 00 00 00 00", limit(2, 8, 9), "80 01"},
      {"E0 0C 00 00 00 00 00 00 00", limit(2, 8, 9), "80 01"},
      {"10 0D 00 00 00 00 00 00 00 00 00 00 00", limit(2, 12, 13), "80 01"},
      {"C0 09", parameters("FromU56"), "80 01"},
      {"C0 0A 83 FF", {}, "80 01"},
      {"C0 0A 80 80 80 80 80 80 80 80 00", {}, "80 01"},
      {"10 0E", parameters("FromU56"), "80 01"},
      {"10 0E 85", {}, "80 01"},
      {"10 0E 05 61 62", limit(3, 5, 5), "80 01"},
      {"10 0F 02 61", limit(3, 2, 4), "80 01"},
      {"10 0F FF FF FF FF FF FF FF 7F", limit(10, 0xFFFFFFFF, 10), "80 01"},
      {"10 0E 90 80 80 80 00", limit(7, 0, 7), "80 01"},  // 2^32 bytes, not 0
      {"10 10", limit(2, 1, 2), "10 10 00 00 00"},
      {"10 10 01", parameters("FromU56"), "10 10 01 00 00"},
      {"10 11", limit(2, 1, 2), "10 11 00 00 00 00"},
      {"10 11 01 05 63 61", limit(4, 5, 6), "10 11 01 00 00 00"},
      {"10 11 01 01 63", parameters("FromU56"), "10 11 01 01 63 00 00"},
      {"10 10 00 03 00 80 01 01 80 03 01", parameters("FromU56"),
       "10 10 00 02 00 80 01 01 80 03 01 00"},
      {"10 10 00 01 00 E0 06 00", limit(2, 4, 3), "10 10 00 01 00 80 01 00"},
      {"10 10 00 01 00 12 34", {}, "10 10 00 01 00 80 01 00"},
      {"10 10 00 02 00 80 03 01 00 80", limit(0, 2, 1), "10 10 00 01 00 80 01 00"},
      {"10 10 00 00 01 05 61", limit(6, 5, 7), "10 10 00 00 00"},
      {"10 10 00 00 01 FF FF FF FF FF FF FF 7F 61", limit(13, 0xFFFFFFFF, 14), "10 10 00 00 00"},
      {"00 00", {}, "80 01"},
      {"40 00", {}, "80 01"},
      {"FF FF", {}, "80 01"},
      {"10 12 00 00 00 00", {}, "80 01"}};
  for (const auto& [digits, messages, rest] : cases) {
    const Bytes bytes = unhex(digits);
    Variant value = "old";
    EXPECT_EQ(value.FromBIN(bytes.data(), sizeOf(bytes)), 0u) << digits;
    EXPECT_EQ(takeMessages(), messages) << digits;
    EXPECT_EQ(written(value), rest) << digits;
  }
}

TEST(Bin, EveryTruncationOfTheExampleFailsWithAllThatCameBefore) {
  const Bytes whole = unhex(kExample);
  const std::vector<std::pair<std::uint32_t, std::string>> steps{
      {0, "null"},
      {2, "{}"},
      {5, R"({"7":null})"},
      {8, R"({"7":true})"},
      {12, R"({"7":true,"id":null})"},
      {18, R"({"7":true,"id":-2})"},
      {23, R"({"7":true,"id":-2,"name":null})"},
      {29, R"({"7":true,"id":-2,"name":"cam"})"},
      {35, R"({"7":true,"id":-2,"name":"cam","ports":null})"},
      {37, R"({"7":true,"id":-2,"name":"cam","ports":{}})"},
      {38, R"({"7":true,"id":-2,"name":"cam","ports":[]})"},
      {40, R"({"7":true,"id":-2,"name":"cam","ports":[null]})"},
      {43, R"({"7":true,"id":-2,"name":"cam","ports":[80]})"},
      {44, R"({"7":true,"id":-2,"name":"cam","ports":[80,null]})"},
      {48, R"({"7":true,"id":-2,"name":"cam","ports":[80,443]})"}};
  auto step = steps.begin();
  for (std::uint32_t length = 0; length < whole.size(); ++length) {
    if (std::next(step) != steps.end() && std::next(step)->first == length) ++step;
    const Bytes cut(whole.data(), whole.data() + length);  // nothing readable behind it
    Variant value = 5;
    EXPECT_EQ(value.FromBIN(cut.data(), length), 0u);
    EXPECT_EQ(json(value), step->second) << length;
  }
}

TEST(Bin, EveryFieldIsWrittenOnlyWhereItsGreatestWidthFits) {
  std::uint8_t bytes[3] = {};
  // The value, the length that the check needs, and what the message says one byte below it.
  const std::vector<std::tuple<Variant, std::uint32_t, std::uint32_t, std::uint32_t>> cases{
      {Variant(), 2, 0, 2},
      {true, 3, 2, 1},
      {std::int8_t{1}, 3, 2, 1},
      {std::uint8_t{1}, 3, 2, 1},
      {std::int16_t{1}, 4, 2, 2},
      {std::uint16_t{1}, 5, 2, 3},
      {std::int32_t{1}, 6, 2, 4},
      {std::uint32_t{1}, 7, 2, 5},
      {std::int64_t{1}, 10, 2, 8},
      {std::uint64_t{1}, 10, 2, 8},
      {1.0, 10, 2, 8},
      {time(1, 1), 14, 2, 12},
      {"cam", 10, 2, 8},
      {Variant(bytes, 3, true), 10, 2, 8},
      {member(0, 1), 2, 0, 2},
      {member(0, 1), 3, 2, 1},
      {read("10 11 00 03 63 61 6D 00 00"), 11, 3, 8},
      {read("10 11 00 03 63 61 6D 00 00"), 12, 7, 5},
      {member(0, 1), 8, 3, 5},
      {member(0, 1), 12, 4, 8},
      {read("10 10 00 00 00"), 9, 4, 5},
      {member("ab", 1), 12, 5, 7},
      {read("10 10 00 02 00 80 01 01 80 01 00"), 15, 7, 8}};
  for (const auto& [value, needed, done, next] : cases) {
    SCOPED_TRACE(written(value) + " in " + std::to_string(needed));
    Bytes room(needed);
    takeMessages();
    EXPECT_EQ(value.ToInternalBIN(room.data(), needed - 1), 0u);
    EXPECT_EQ(takeMessages(), bound("ToInternalBIN", done, next, needed - 1));
    const std::uint32_t count = value.ToInternalBIN(room.data(), needed);
    EXPECT_NE(takeMessages(), bound("ToInternalBIN", done, next, needed));
    EXPECT_TRUE(count > 0 || isMap(value));
  }
  Bytes room(14);
  EXPECT_EQ(member(0, std::int64_t{1}).ToInternalBIN(room.data(), 14), 0u);
  EXPECT_EQ(takeMessages(), bound("ToInternalBIN", 2, 8, 9));  // what its map had left for it
}

TEST(Bin, WhatHasNoEncodingFails) {
  for (const std::int64_t key : {std::int64_t{-1}, std::int64_t{1} << 56}) {
    const Variant value = member("a", member(key, true));
    Bytes bytes(value.GetBinRequiredLength());
    std::uint32_t length = sizeOf(bytes);
    EXPECT_EQ(value.ToBIN(bytes.data(), length), 0u);
    EXPECT_EQ(length, bytes.size());
    EXPECT_EQ(takeMessages(), parameters("ToU56"));
  }
  std::uint32_t length = 99;
  EXPECT_EQ(unknown().ToBIN(nullptr, length), 0u);
  EXPECT_EQ(length, 0u);
  EXPECT_EQ(unknown().ToInternalBIN(Bytes(9).data(), 9), 0u);
  const Variant map = member("a", unknown());
  EXPECT_EQ(map.GetBinRequiredLength(), 13u + 6);
  EXPECT_EQ(written(map), "");
  EXPECT_EQ(takeMessages(), Messages{});

  std::uint8_t byte = 0;
  EXPECT_EQ(Variant(&byte, 0xFFFFFFF8, true).GetBinRequiredLength(), 0xFFFFFFFF);
  EXPECT_EQ(takeMessages(), Messages{});
  const Variant huge(&byte, 0xFFFFFFF9, true);
  EXPECT_EQ(huge.GetBinRequiredLength(), 0u);
  EXPECT_EQ(takeMessages().size(), 1u);
  EXPECT_EQ(huge.ToInternalBIN(&byte, 1), 0u);
  EXPECT_EQ(takeMessages(), bound("ToInternalBIN", 0, 2, 1));
}

TEST(Bin, NumbersOfSevenBitGroups) {
  for (std::uint32_t width = 1; width <= 8; ++width) {
    const std::uint64_t first = width == 1 ? 0 : std::uint64_t{1} << 7 * (width - 1);
    const std::uint64_t last = (std::uint64_t{1} << 7 * width) - 1;
    for (const std::uint64_t value : {first, first + 1, last - 1, last}) {
      Bytes bytes(8, 0xAA);
      EXPECT_EQ(ToU56(value, bytes.data()), width) << value;
      EXPECT_EQ(Bytes(bytes.data() + width, bytes.data() + 8), Bytes(8 - width, 0xAA)) << value;
      bytes.resize(width);
      std::uint64_t back = 1;
      EXPECT_EQ(FromU56(bytes.data(), width, back), width);
      EXPECT_EQ(back, value);
      EXPECT_EQ(FromU56(bytes.data(), width - 1, back), 0u);
      EXPECT_EQ(takeMessages(), width == 1 ? parameters("FromU56") : Messages{});
    }
  }
  std::uint8_t bytes[8];
  std::uint64_t value = 0;
  EXPECT_EQ(ToU56(std::uint64_t{1} << 56, bytes), 0u);
  EXPECT_EQ(takeMessages(), parameters("ToU56"));
  EXPECT_EQ(ToU56(0, nullptr), 0u);
  EXPECT_EQ(takeMessages(), parameters("ToU56"));
  EXPECT_EQ(FromU56(nullptr, 5, value), 0u);
  EXPECT_EQ(takeMessages(), parameters("FromU56"));
}

TEST(Bin, HostileCountsAllocateNoMoreThanTheInputIsWorth) {
  constexpr char kMost[] = "8F FF FF FF 7F";
  const std::string open = "10 10 00 "s + kMost + " 00 ";                 // a map in key 0
  const std::string openString = "10 11 00 00 00 "s + kMost + " 01 61 ";  // in the key "a"
  const std::string both = "10 10 00 01 00 80 01 "s + kMost + " 00 ";     // behind a first member
  const std::string honest = "10 10 00 01 00 80 01 01 00 ";
  const std::vector<std::string> inputs{
      "10 0E "s + kMost,
      "10 0F "s + kMost,
      "10 11 00 "s + kMost,
      open,
      openString,
      "10 10 00 00 01 "s + kMost,
      repeated(open, 20000),
      repeated(openString, 20000),
      repeated(open + both, 10000),
      openString + repeated("10 10 00 01 00 ", 32769),
      both + repeated(honest, 50000),
      openString + repeated("10 10 00 02 05 80 01 00 ", 32769),  // out of order
      "10 10 00 "s + kMost + repeated(" 00 80 01", 50000),       // one key over and over
      "10 10 00 "s + kMost + repeated(" 01 10 10 00 00 00 00 80 01", 50000)};
  for (const std::string& input : inputs) {
    const Bytes bytes = unhex(input);
    Variant value;
    resetPeakBytes();
    const std::size_t before = liveBytes();
    EXPECT_EQ(value.FromBIN(bytes.data(), sizeOf(bytes)), 0u);
    EXPECT_LT(peakBytes() - before, 96 * bytes.size() + 4096) << input.substr(0, 60);
  }
}

TEST(Bin, InputMayBePartOfTheValueItself) {
  Bytes bytes = unhex(kExample);
  Variant value(bytes.data(), sizeOf(bytes), false);
  const VariantBuffer* buffer = value;
  EXPECT_EQ(value.FromBIN(buffer->data, buffer->size), bytes.size());
  EXPECT_EQ(value, example());
  value["text"] = std::string(bytes.begin(), bytes.end());
  const std::string& text = value["text"];
  EXPECT_EQ(value.FromBIN(reinterpret_cast<const std::uint8_t*>(text.data()), 49), 49u);
  EXPECT_EQ(value, example());
}

TEST(Bin, AppendsToAnIoBuffer) {
  vexo::utils::IOBuffer output;
  const Bytes filler(150, 0x55);
  output.ReadFromBuffer(filler.data(), 150);
  output.Ignore(100);  // the append may move what is left to the front
  EXPECT_EQ(example().ToBIN(output), 49u);
  ASSERT_EQ(output.size(), 50u + 105);
  EXPECT_EQ(hex({output.data(), output.data() + 50}), hex(Bytes(50, 0x55)));
  EXPECT_EQ(hex({output.data() + 50, output.data() + 155}), kExample + repeated(" 00", 56));

  EXPECT_EQ(member(-5, true).ToBIN(output), 0u);  // fails when the room is there already
  EXPECT_EQ(output.size(), 155u + 24);
  EXPECT_EQ(unknown().ToBIN(output), 0u);
  EXPECT_EQ(output.size(), 155u + 24);
}

TEST(BinFiles, HoldTheEncodingAlone) {
  const TemporaryFile file;
  ASSERT_TRUE(example().ToBINFile(file.path()));
  const std::string bytes = file.read();
  EXPECT_EQ(hex({bytes.begin(), bytes.end()}), kExample);
  file.write(bytes + "trailing");
  Variant value = file.path();
  EXPECT_TRUE(value.FromBINFile(value));
  EXPECT_EQ(value, example());
}

TEST(BinFiles, KeepTheirContentWhenTheTreeCannotBeWritten) {
  const TemporaryFile file;
  file.write("old");
  EXPECT_FALSE(member(-1, true).ToBINFile(file.path()));
  EXPECT_EQ(takeMessages(), parameters("ToU56"));
  EXPECT_FALSE(unknown().ToBINFile(file.path()));
  EXPECT_EQ(takeMessages(), Messages{"src/variant_bin ToBINFile 3: Unable to determine the size of "
                                     "the needed buffer"});
  EXPECT_EQ(file.read(), "old");
  EXPECT_FALSE(example().ToBINFile(file.directory()));
  EXPECT_FALSE(example().ToBINFile(file.directory() + "/missing/file"));
  EXPECT_FALSE(example().ToBINFile("/dev/full"));
}

TEST(BinFiles, ThatCannotBeReadLeaveTheValue) {
  const TemporaryFile file;
  Variant value = "old";
  EXPECT_FALSE(value.FromBINFile(file.path()));
  EXPECT_FALSE(value.FromBINFile(file.directory()));
  EXPECT_EQ(value, "old");
  EXPECT_EQ(takeMessages(), Messages{});
  file.write("");
  EXPECT_FALSE(value.FromBINFile(file.path()));
  EXPECT_EQ(value, V_NULL);
  EXPECT_EQ(takeMessages(), bound("FromBIN", 0, 2, 0));
}

TEST(BinFiles, MayBePipes) {
  const TemporaryFile file;
  ASSERT_EQ(mkfifo(file.path().c_str(), 0600), 0);
  Variant value;
  std::thread writer([&file] { EXPECT_TRUE(example().ToBINFile(file.path())); });
  EXPECT_TRUE(value.FromBINFile(file.path()));
  writer.join();
  EXPECT_EQ(value, example());
}

}  // namespace
