// What holds whatever the input: any depth on a small stack, running out of memory, many readers.
#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "host.h"
#include "vexo_utils/io_buffer.h"

namespace {

using namespace vexo::tests;
using namespace vexo::variant;

// --- Depth ---------------------------------------------------------------------------------------

/// Arrays and objects in turn, `levels` in all (an even number), around `core`.
std::string nested(std::size_t levels, const std::string& core) {
  return repeated("[{\"k\":", levels / 2) + core + repeated("}]", levels / 2);
}

constexpr std::size_t kDeep = 1'000'000;

int read(Variant& value, const std::string& text) { return value.FromJSON(text); }

// EXPECT_TRUE and no EXPECT_EQ: printing such trees takes more memory than there is.

void jsonInDepth() {
  const std::string text = nested(kDeep, "300");
  Variant value;
  EXPECT_EQ(read(value, text), static_cast<int>(text.size()));
  EXPECT_TRUE(json(value) == text);
  EXPECT_EQ(read(value, text.substr(0, text.size() - 1)), -1);  // the direct way, and what it left
  EXPECT_TRUE(value.IsArray());
  EXPECT_EQ(read(value, text.substr(0, text.size() / 2)), -1);
  const std::string repeated = "{\"r\":0,\"r\":" + text + "}";
  EXPECT_EQ(read(value, repeated), static_cast<int>(repeated.size()));
  EXPECT_TRUE(json(value["r"]) == text);
  const auto length = static_cast<unsigned int>(text.size());
  EXPECT_EQ(readJson(text.data(), length, value["r"]), static_cast<int>(length));
  EXPECT_EQ(value["r"].NumericKeysCount(), 2u);
}

void binInDepth() {
  const Variant value = parsed(nested(kDeep, "300"));
  std::vector<std::uint8_t> bytes = toBin(value);
  Variant back;
  EXPECT_EQ(readBin(back, bytes), bytes.size());
  EXPECT_TRUE(back == value);
  bytes.pop_back();
  EXPECT_EQ(readBin(back, bytes), 0u);
  bytes.resize(bytes.size() / 2);
  EXPECT_EQ(readBin(back, bytes), 0u);
  EXPECT_TRUE(back.IsArray());
}

void valuesInDepth() {
  const std::string text = nested(kDeep, "300");
  Variant value = parsed(text);
  Variant copy = value;
  EXPECT_TRUE(copy == value);
  EXPECT_FALSE(copy != value);
  copy = value;
  copy = copy[0];  // from inside, releasing what is around
  EXPECT_TRUE(copy["k"] == value[0]["k"]);
  EXPECT_FALSE(copy == value);
  copy = std::move(copy["k"]);
  value.Compact();
  EXPECT_TRUE(json(value) == text);
  value.Stringify(true, true);
  EXPECT_TRUE(json(value[std::string("0")]["k"]) != json(copy));
  value.Free();
  copy.Stringify(value, true, false);
  copy.RemoveValue(0);
  value = 5;
}

TEST(DepthSlow, JsonOnASmallStack) { runOnSmallStack(jsonInDepth); }
TEST(DepthSlow, BinOnASmallStack) { runOnSmallStack(binInDepth); }
TEST(DepthSlow, ValuesOnASmallStack) { runOnSmallStack(valuesInDepth); }
TEST(DepthSlow, IndentedTextOnASmallStack) {
  runOnSmallStack([] {
    const Variant value = parsed(nested(4000, "300"));
    std::string text;
    EXPECT_TRUE(value.ToJSON(text, true));
    Variant back;
    EXPECT_EQ(read(back, text), static_cast<int>(text.size()));
    EXPECT_TRUE(back == value);
    EXPECT_EQ(value.ToString().size(), text.size() + std::string("(INT16) ").size());
  });
}

// --- Memory --------------------------------------------------------------------------------------

TEST(Memory, PassesOverTreesOfOrdinaryDepthAllocateNothing) {
  const Variant value = parsed(nested(30, R"({"a":1,"b":"x","c":[],"d":"b64:AQID"})"));
  const Variant same = value;
  std::vector<std::uint8_t> buffer(value.GetBinRequiredLength());
  auto length = static_cast<std::uint32_t>(buffer.size());
  const std::size_t before = allocationCount();
  const bool isEqual = value == same;
  const std::uint32_t required = value.GetBinRequiredLength();
  const std::uint32_t internal = value.ToInternalBIN(buffer.data(), length);
  const std::uint32_t count = value.ToBIN(buffer.data(), length);
  const std::size_t after = allocationCount();
  EXPECT_EQ(after, before);
  EXPECT_TRUE(isEqual);
  EXPECT_EQ(required, buffer.size());
  EXPECT_GT(count, 0u);
  EXPECT_EQ(count, internal);
}

constexpr char kTree[] = R"({"9":true,"3":[1,2.5,-70000,"a string beyond the small buffer"],
    "name":"another string beyond the small buffer","at":"1970-01-01T00:00:01.000005Z",
    "data":"b64:AQIDBA==","sub":{"x":[[],{"deep":{"deeper":null}}],"y":{},"a":1,"Y":2,"c":3}})";

struct Operation {
  const char* name;
  std::function<void(Variant&)> run;
  bool leavesNull = false;  // when it fails
};

const std::vector<Operation>& operations() {
  static const Variant tree = parsed(kTree);
  static const std::vector<std::uint8_t> bytes = toBin(tree);
  static const std::string text = "a text that is longer than a small buffer holds";
  static const std::string json = kTree;
  static std::uint8_t data[3] = {};
  static const std::vector<Operation> result{
      {"construct scalars",
       [](Variant&) {
         Variant string(text), literal(text.c_str()), time(timeval{});
         Variant owned(data, 3, false), external(data, 3, true);
       }},
      {"construct",
       [](Variant&) {
         Variant copy(tree);
         BaseVariantContainer container;
       }},
      {"assign a string", [](Variant& v) { v = text; }, true},
      {"assign a C string", [](Variant& v) { v = text.c_str(); }, true},
      {"assign a timestamp", [](Variant& v) { v = timeval{}; }, true},
      {"assign a tree", [](Variant& v) { v = tree; }, true},
      {"assign a member", [](Variant& v) { v = v["sub"]["x"]; }, true},
      {"assign a member's string",
       [](Variant& v) { v = static_cast<const std::string&>(v["name"]); }, true},
      {"assign inside", [](Variant& v) { v["sub"]["x"] = tree; }},
      {"copy", [](Variant& v) { v.Free(), v.Copy(tree); }, true},
      {"allocate", [](Variant& v) { v.AllocateBuffer(50, true); }, true},
      {"create members",
       [](Variant& v) {
         v["new"]["newer"][7][text] = 1;
         v["name"]["below a string"] = 2;
         v["at"][-1] = v[4] = v[5] = v[std::int64_t{2}] = 4;
         for (int i = 0; i < 40; ++i) v[(i * 17) % 41] = v[std::to_string((i * 29) % 41)] = i;
         for (int i = 0; i < 20; ++i) v["list"][-1] = i;
       }},
      {"make an array", [](Variant& v) { v.Free(), v.IsArray(true); }},
      {"remove from the middle",
       [](Variant& v) { v["sub"].RemoveValue("a", true), v[3].RemoveValue(1); }},
      {"stringify", [](Variant& v) { v.Stringify(true, true); }},
      {"stringify values", [](Variant& v) { v.Stringify(false, true); }},
      {"stringify keys", [](Variant& v) { v[3].Stringify(true, false); }},
      {"stringify a copy", [](Variant& v) { tree.Stringify(v, true, true); }},
      {"compact", [](Variant& v) { v.Compact(); }},
      {"validate",
       [](Variant& v) {
         v.ValidateNumeric("port", 1, 10, 99, false);
         v.ValidateBool("on", true, true);
         v["sub"].ValidateMap("y", false);
         v.PreValidate("sub", V_MAP, false, Variant());
       }},
      {"read JSON", [](Variant& v) { v.FromJSON(json); }},
      {"read JSON of a member",
       [](Variant& v) { v.FromJSON(static_cast<const std::string&>(v["name"])); }},
      {"read JSON with a repeated name",
       [](Variant& v) { v.FromJSON("{\"a\\n\":[1],\"a\\n\":" + json + "}"); }},
      {"read bad JSON", [](Variant& v) { v.FromJSON(json.substr(0, json.size() - 1)); }},
      {"read JSON into a tree",
       [](Variant& v) { readJson(json.data(), static_cast<unsigned>(json.size()), v); }},
      {"read BIN", [](Variant& v) { readBin(v, bytes); }},
      {"read BIN out of order",
       [](Variant& v) {
         readBin(v, unhex("1011 01 22" + repeated("61", 34) +
                          "03 07 8001 03 8001 05 8001 03 0162 8001 0161 8001 0163 8001"));
       }},
      {"write JSON",
       [](Variant& v) {
         std::string compact, indented;
         v.ToJSON(compact, false), v.ToJSON(indented, true), v.ToString();
       }},
      {"write BIN",
       [](Variant& v) {
         vexo::utils::IOBuffer output;
         v.ToBIN(output), v.ToBIN(output);
       }},
      {"nest", [](Variant& v) {
         v.FromJSON(nested(40, "1"));
         Variant copy = v;
         copy.Compact();
         readBin(v, toBin(copy));
       }}};
  return result;
}

/// Lets the n-th allocation of the operation fail; returns whether there was one.
bool failsOnce(const Operation& operation, std::size_t n, bool lasting) {
  Variant target = parsed(kTree);
  bool thrown = false;
  bool happened = false;
  {
    const FailingAllocation failing(n, lasting);
    try {
      operation.run(target);
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
    happened = failing.happened();
  }
  EXPECT_EQ(thrown, happened) << "the failure was swallowed";
  EXPECT_FALSE(target.ToString().empty());
  EXPECT_TRUE(target == Variant(target));
  Variant back;
  EXPECT_GT(readBin(back, toBin(target)), 0u);
  EXPECT_TRUE(back == target);
  EXPECT_TRUE(target == V_NULL || !thrown || !operation.leavesNull);
  return happened;
}

TEST(Memory, RunningOutOfItLeavesValidValuesAndNoLeaks) {
  takeMessages();
  for (const Operation& operation : operations()) {
    for (const bool lasting : {false, true}) {
      SCOPED_TRACE(operation.name);
      const std::size_t before = liveBlocks();
      for (std::size_t n = 0; failsOnce(operation, n, lasting); ++n) {
        ASSERT_EQ(liveBlocks(), before) << n;
        ASSERT_LT(n, 2000u);
      }
      ASSERT_EQ(liveBlocks(), before);
    }
  }
}

TEST(Memory, TextThatDoesNotFitEndsWhereItWasWritten) {
  const Variant value = parsed(kTree);
  const std::string whole = "before" + json(value);
  bool isDone = false;
  for (std::size_t n = 0; !isDone; ++n) {
    std::string text = "before";
    try {
      const FailingAllocation failing(n);
      isDone = value.ToJSON("", text, false, false, 0);
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(text, whole.substr(0, text.size()));
      EXPECT_GE(text.size(), 6u);
    }
  }
}

TEST(Memory, JsonTakesNoMoreThanItsLengthIsWorth) {
  for (const char* const piece :
       {"[", "1 ", "\"\"", "[]", "[{}]", "\"b64:\"", "{\"a\":", "{\"1\":", "[[],", "{\"\\t\":1,"}) {
    std::string text = "[" + repeated(piece, 33'000);
    for (const char* const end : {"", "]"}) {
      text += end;
      Variant value;
      EXPECT_LT(peakBytes([&] { value.FromJSON(text); }), 256 * text.size()) << piece;
    }
  }
}

// --- Threads -------------------------------------------------------------------------------------

TEST(Threads, MayReadOneTreeTogether) {
  const Variant tree = parsed(kTree);
  const Variant same = tree;
  const std::string text = json(tree);
  const std::string annotated = tree.ToString();
  const std::vector<std::uint8_t> bytes = toBin(tree);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 100; ++round) {
        EXPECT_EQ(json(tree), text);
        EXPECT_EQ(tree.ToString(), annotated);
        EXPECT_EQ(toBin(tree), bytes);
        EXPECT_TRUE(tree == same);
        EXPECT_EQ(json(Variant(tree)), text);
        EXPECT_EQ(tree["sub"]["x"][1]["deep"].KeysCount(), 1u);
        EXPECT_EQ(tree.GetKeyChain(V_NUMERIC, "SUB/C", false), &tree["sub"]["c"]);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
