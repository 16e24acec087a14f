// What holds whatever the input: any depth on a small stack, running out of memory.
#include <new>

#include "formats.h"
#include "vexo_utils/io_buffer.h"

namespace {

using namespace vexo::tests;
using namespace vexo::variant;

/// Arrays and objects in turn, `levels` in all (an even number), around `core`.
std::string nested(std::size_t levels, const std::string& core) {
  return repeated("[{\"k\":", levels / 2) + core + repeated("}]", levels / 2);
}

/// A tree that is `levels` deep in one place, as every format has it.
struct Input {
  explicit Input(std::size_t levels)
      : depth(levels),
        json(R"({"3":[1,2.500000,-70000,"a string beyond the small buffer"],"9":true,)"
             R"("at":"1970-01-01T00:00:01.000005Z","data":"b64:AQIDBA==",)"
             R"("name":"another string beyond the small buffer",)"
             R"("sub":{"Y":2,"a":1,"c":3,"x":)" +
             nested(levels, R"({"1":{},"deep":{"deeper":null}})") + R"(,"y":{}}})") {
    EXPECT_TRUE(tree.ToKVP(kvp, "=", "\n"));
  }
  std::size_t depth;
  std::string json;
  Variant tree = parsed(json);
  Bytes bin = toBin(tree);
  std::string kvp;
  std::string toml = repeated("d.", depth) +
                     "e=1979-05-27T07:32:00Z\na.'b'=" + repeated("[{\"k\"=", depth / 2) +
                     R"('a string beyond the buffer')" + repeated("}]", depth / 2) +
                     "\n[[f.g]]\nh=\"\"\"two\nlines\"\"\"\n[[f.g]]\n";
  std::string badToml = toml + "x=1\n[f.g.x]\ny=[{z=1}]";
};
using In = const Input&;

enum Trait {
  kSame = 1,   // leaves a value that equals the tree
  kNull = 2,   // leaves null when memory runs out
  kWide = 4,   // takes room by the square of the depth
  kReads = 8,  // changes nothing, also when memory runs out
};

/// What may be done to a copy of the tree.
struct Operation {
  const char* name;
  int traits;
  void (*run)(V v, In in);
};

const std::string kText = "a text that is longer than a small buffer holds";
const std::string& textOf(const Variant& value) { return value; }
bool reads(V v, const std::string& text) { return v.FromJSON(text) >= 0; }
std::uint32_t readPart(V v, In in, std::size_t length) {
  return readBin(v, {in.bin.data(), in.bin.data() + length});
}

// clang-format off
const Operation kOperations[] = {
    {"make values",     0, [](V v, In) {
       std::uint8_t data[3] = {};
       Variant string(kText), literal(kText.c_str()), view(std::string_view{kText}), time(timeval{});
       Variant owned(data, 3, false), external(data, 3, true);
       BaseVariantContainer container;
       v.Free(), v.IsArray(true); }},
    {"assign a string", kNull, [](V v, In) { v = kText; }},
    {"assign C string", kNull, [](V v, In) { v = kText.c_str(); }},
    {"assign a view",   kNull, [](V v, In) { v = std::string_view(kText); }},
    {"assign a time",   kNull, [](V v, In) { v = timeval{}; }},
    {"assign a tree",   kNull | kSame, [](V v, In in) { v = in.tree; }},
    {"assign a member", kNull, [](V v, In) { v = v["sub"]["x"]; }},
    {"assign from it",  kNull, [](V v, In) { v = textOf(v["name"]); }},
    {"assign inside",   0, [](V v, In in) { v["sub"]["x"] = in.tree; }},
    {"move from it",    0, [](V v, In) { v = std::move(v["sub"]); }},
    {"copy",            kNull | kSame, [](V v, In in) { v.Free(), v.Copy(in.tree); }},
    {"compare",         kReads, [](V v, In in) { EXPECT_FALSE(v != in.tree || v["sub"] == v); }},
    {"allocate",        kNull, [](V v, In) { v.AllocateBuffer(50, true); }},
    {"create members",  0, [](V v, In) {
       v["new"]["newer"][7][kText] = v["name"]["below a string"] = v["at"][-1] = 4;
       for (int i = 0; i < 40; ++i) v[(i * 17) % 41] = v[std::to_string((i * 29) % 41)] = i;
       for (int i = 0; i < 20; ++i) v["list"][-1] = i; }},
    {"remove",          0, [](V v, In) { v["sub"].RemoveValue("x", true), v[3].RemoveValue(1); }},
    {"stringify",       0, [](V v, In) { v.Stringify(true, true); }},
    {"stringify keys",  0, [](V v, In) {
       static std::uint8_t bytes[3] = {};
       v["sub"][7] = Variant(bytes, 3, true);
       v[9] = std::move(v["sub"]), v.Stringify(true, false); }},
    {"stringify to it", 0, [](V v, In in) { in.tree.Stringify(v, true, true); }},
    {"compact",         kSame, [](V v, In) { v.Compact(); }},
    {"validate",        0, [](V v, In) {
       v.ValidateNumeric("port", 1, 10, 99, false).ValidateBool("on", true, true);
       v["sub"].ValidateMap("y", false), v.PreValidate("sub", V_MAP, false, Variant()); }},
    {"read JSON",       kSame, [](V v, In in) { EXPECT_TRUE(reads(v, in.json)); }},
    {"read its JSON",   0, [](V v, In) { EXPECT_FALSE(reads(v, textOf(v["name"]))); }},
    {"read cut JSON",   0, [](V v, In in) {
       EXPECT_FALSE(reads(v, in.json.substr(0, in.json.size() - 1))); }},
    {"read half JSON",  0, [](V v, In in) {
       EXPECT_FALSE(reads(v, in.json.substr(0, in.json.size() / 2))); }},
    {"read names twice",kSame, [](V v, In in) {
       EXPECT_TRUE(reads(v, "{\"a\\n\":{},\"a\\n\":" + in.json + "}"));
       v = std::move(v["a\n"]); }},
    {"add JSON to it",  0, [](V v, In in) {
       readJson(in.json.data(), static_cast<unsigned>(in.json.size()), v["sub"]); }},
    {"read BIN",        kSame, [](V v, In in) { EXPECT_GT(readPart(v, in, in.bin.size()), 0u); }},
    {"read cut BIN",    0, [](V v, In in) { EXPECT_EQ(readPart(v, in, in.bin.size() - 1), 0u); }},
    {"read half BIN",   0, [](V v, In in) { EXPECT_EQ(readPart(v, in, in.bin.size() / 2), 0u); }},
    {"read mixed BIN",  0, [](V v, In) {
       readBin(v, unhex("1011 01 22" + repeated("61", 34) +
                        "03 07 8001 03 8001 05 8001 03 0162 8001 0161 8001 0163 8001")); }},
    {"read KVP",        0, [](V v, In in) { EXPECT_TRUE(v.FromKVP(in.kvp, false, false, true)); }},
    {"read bad KVP",    0, [](V v, In in) {
       EXPECT_FALSE(v.FromKVP(in.kvp + "no line\na.0=1\na.0=b64:!!!!", false, false, true)); }},
    {"read TOML",       0, [](V v, In in) { EXPECT_TRUE(v.FromTOML(in.toml)); }},
    {"read bad TOML",   kNull, [](V v, In in) { EXPECT_FALSE(v.FromTOML(in.badToml)); }},
    {"write JSON",      kReads, [](V v, In in) { EXPECT_TRUE(json(v) == in.json); }},
    {"write indented",  kSame | kWide, [](V v, In) {
       std::string text;
       v.ToJSON(text, true), v.ToString(), v.FromJSON(text); }},
    {"write BIN",        kReads, [](V v, In) {
       vexo::utils::IOBuffer output;
       v.ToBIN(output), v.ToBIN(output); }},
    {"write AMF",        kReads, [](V v, In) {
       vexo::utils::IOBuffer output;
       EXPECT_GT(v.ToAMF(output), 0u); }},
    {"write KVP",        kReads, [](V v, In in) {
       std::string text;
       EXPECT_TRUE(v.ToKVP(text, "=", "\n") && text == in.kvp); }},
};
// clang-format on

/// What an operation leaves is a value like any other, also where it failed half-way. No EXPECT_EQ:
/// printing deep trees takes more memory than there is.
void expectValid(const Variant& value, bool same, In in) {
  Variant back;
  EXPECT_GT(readBin(back, toBin(value)), 0u);
  EXPECT_TRUE(back == value && Variant(value) == back && (!same || value == in.tree));
}

TEST(OperationsSlow, WorkAtAnyDepthOnASmallStack) {
  const Input deep(VEXO_TEST_LEVELS), wide(4000);
  for (const Operation& operation : kOperations) {
    SCOPED_TRACE(operation.name);
    runOnSmallStack([&] {
      const Input& in = operation.traits & kWide ? wide : deep;
      Variant value = in.tree;
      operation.run(value, in);
    });
  }
}

/// Lets the n-th allocation of the operation fail; returns whether there was one.
bool failsOnce(const Operation& operation, In in, std::size_t n, bool lasting) {
  Variant value = in.tree;
  bool thrown = false, happened = false;
  {
    const FailingAllocation failing(n, lasting);
    try {
      operation.run(value, in);
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
    happened = failing.happened();
  }
  EXPECT_EQ(thrown, happened) << "the failure was swallowed";
  EXPECT_FALSE(value.ToString().empty());
  expectValid(value, (operation.traits & (thrown ? kReads : kReads | kSame)) != 0, in);
  EXPECT_TRUE(value == V_NULL || !thrown || !(operation.traits & kNull));
  takeMessages();
  return happened;
}

TEST(Operations, LeaveValidValuesAndNoLeaksWhenMemoryRunsOut) {
  const Input in(40);  // more levels than any stack of the library has room for at once
  for (const Operation& operation : kOperations) {
    for (const bool lasting : {false, true}) {
      SCOPED_TRACE(operation.name);
      const std::size_t before = liveBlocks();
      for (std::size_t n = 0; failsOnce(operation, in, n, lasting); ++n) {
        ASSERT_EQ(liveBlocks(), before) << n;
        ASSERT_LT(n, 2000u);
      }
      ASSERT_EQ(liveBlocks(), before);
    }
  }
}

TEST(Memory, PassesOverTreesOfOrdinaryDepthAllocateNothing) {
  const Input in(28);
  const Variant same = in.tree;
  Bytes buffer(in.tree.GetBinRequiredLength());
  auto length = static_cast<std::uint32_t>(buffer.size());
  const std::size_t before = allocationCount();
  const bool isEqual = in.tree == same && in.tree.GetBinRequiredLength() == length;
  const std::uint32_t internal = in.tree.ToInternalBIN(buffer.data(), length);
  const std::uint32_t count = in.tree.ToBIN(buffer.data(), length);
  const std::size_t after = allocationCount();
  EXPECT_EQ(after, before);
  EXPECT_TRUE(isEqual && count > 0 && count == internal);
}

TEST(Memory, TextIsAppendedWholeOrNotAtAll) {
  const Input in(2000);  // several parts of a text
  for (const bool isJson : {true, false}) {
    const std::string whole = "before" + (isJson ? in.json : in.kvp);
    for (std::size_t n = 0, isDone = 0; !isDone; ++n) {
      std::string text = "before";
      try {
        const FailingAllocation failing(n);
        isDone =
            isJson ? in.tree.ToJSON("", text, false, false, 0) : in.tree.ToKVP(text, "=", "\n");
      } catch (const std::bad_alloc&) {
      }
      EXPECT_TRUE(text == (isDone ? whole : "before")) << n;
    }
  }
}

TEST(Memory, ReadersTakeNoMoreThanTheTextIsWorth) {
  for (const Repetition& input : hungryInputs()) {
    const bool isBin = &input.format == &kBin;
    EXPECT_LT(input.heapPerByte(1 << 16), isBin ? 96 : 256) << input.format.name << input.piece;
  }
}

}  // namespace
