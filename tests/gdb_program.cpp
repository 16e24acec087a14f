// What gdb_session.txt looks at: values of every type, maps of every form, iterators, and values
// that a fault of the program has broken.
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <string>
#include <utility>

#include "vexo_variant/variant.h"

using namespace vexo::variant;

namespace {

struct Record : BaseVariantContainer {
  using BaseVariantContainer::BaseVariantContainer;
  int revision = 7;
};

/// The session stops here, where it sees what `finish` prints, and in stop().
Variant made() {
  Variant value;
  value["by"] = "made";
  return value;
}

[[gnu::noinline]] void stop() { asm volatile(""); }

/// Overwrites the value itself, or what pointers from its payload on lead to: each is followed, and
/// the offset added.
template <class T>
void damage(Variant& value, std::initializer_list<std::size_t> offsets, T content) {
  char* at = reinterpret_cast<char*>(&value) + (sizeof(Variant) - sizeof(std::uint64_t));
  for (const std::size_t offset : offsets) {
    char* target = nullptr;
    std::memcpy(&target, at, sizeof target);
    at = target + offset;
  }
  std::memcpy(at, &content, sizeof content);
}

void setType(Variant& value, std::uint32_t code) {
  std::memcpy(reinterpret_cast<char*>(&value) + sizeof(void*), &code, sizeof code);
}

Variant withTypeName(Variant value, const std::string& name) {
  const VariantMap* map = value;
  const_cast<VariantMap*>(map)->typeName = name;
  setType(value, V_TYPED_MAP);
  return value;
}

/// Members that arrive in this order, each with its place in it as value.
template <class Key>
Variant membersOf(std::initializer_list<Key> keys) {
  Variant value;
  int place = 0;
  for (const Key& key : keys) value[key] = place++;
  return value;
}

/// A map with an index: in key order its elements lie in the slots 1, 2 and 0.
Variant chained() { return membersOf({3, 1, 2}); }

}  // namespace

int main() {
  std::uint8_t bytes[20] = {0x00, 0x7f, 0x80, 0xff};
  Variant types;
  types[-1] = Variant();
  types[-1] = true;
  types[-1] = std::int8_t{-1};
  types[-1] = std::int16_t{-300};
  types[-1] = std::int32_t{70000};
  types[-1] = std::numeric_limits<std::int64_t>::min();
  types[-1] = std::uint8_t{200};
  types[-1] = std::uint16_t{60000};
  types[-1] = std::uint32_t{4000000000};
  types[-1] = std::numeric_limits<std::uint64_t>::max();
  types[-1] = 0.1;
  types[-1] = -std::numeric_limits<double>::infinity();
  types[-1] = timeval{1795375980, 250};
  types[-1] = timeval{-1, 1000000};
  types[-1] = timeval{std::numeric_limits<std::int32_t>::min(), 0};
  types[-1] = std::string("zero \0 byte, \"quotes\"", 21);
  types[-1] = "";
  types[-1] = Variant(bytes, 20, false);
  types[-1] = Variant(bytes, 1, true);
  types[-1] = Variant(bytes, 0, false);
  types[-1] = membersOf<int>({});
  types[-1]["in a map"] = "a string too long for the place in std::string itself";
  const timeval farthest{std::numeric_limits<time_t>::max() / 4, 999999};
  const Variant far = farthest, past = timeval{std::numeric_limits<time_t>::min() / 100000000, 0};

  // One block; blocks; an index over the only block, and over several with erased slots.
  Variant oneBlock = membersOf({-2, 5});
  oneBlock["name"] = 1.5;
  Variant blocks = membersOf<std::string>({"a", "b", "c", "d", "e", "f", "g"});
  Variant indexed = chained();
  Variant erased = membersOf({40, 7, 30, 9, 20, 8, 10, 6, 5});
  erased.RemoveValue(30).RemoveValue(8).RemoveValue(5);
  Variant strings = membersOf<std::string>({"one", "two", "three", "four", "five"});
  Variant dense = membersOf({2, 0, 1, 3});
  dense.IsArray(true);
  Variant gaps = membersOf({0, 2});
  gaps.IsArray(true);
  Variant mixed = membersOf({0, 1});
  mixed.IsArray(true);
  mixed["length"] = 2;
  const Variant typed = withTypeName(membersOf<std::string>({"x", "y"}), "Point");
  const Variant longName = withTypeName(
      membersOf<std::string>({std::string(201, 'k'), std::string(201, 'k') + 'l', "\\ \" \n \xff"}),
      std::string(200, 't') + "\"");

  Variant tree;
  tree["name"] = "gateway";
  tree["ports"][-1] = 80;
  tree["ports"][-1] = 443;
  tree["place"] = typed;
  tree["limits"]["retries"] = Variant();

  Record record;
  record["id"] = 1;
  [[maybe_unused]] const Variant& reference = tree;
  [[maybe_unused]] const VariantMap* map = oneBlock;
  [[maybe_unused]] const VariantBuffer* buffer = types[17];
  MemberMap<std::int64_t, std::pair<char, double>> others;
  others.append(1, 'x', 0.5);
  others.append(2, 'y', 1.5);
  NumericMembers::iterator number = erased.num_begin();
  ++number;
  [[maybe_unused]] StringMembers::const_iterator text = std::as_const(strings).str_begin();
  [[maybe_unused]] StringMembers::const_iterator end = std::as_const(strings).str_end();
  [[maybe_unused]] NumericMembers::iterator none;

  constexpr std::size_t kPointer = sizeof(void*);
  constexpr std::size_t kNumeric = offsetof(VariantMap, numericKeys);
  constexpr std::size_t kString = offsetof(VariantMap, stringKeys);
  constexpr std::size_t kBlocks = 24 + 2 * kPointer, kLinks = 24 + 5 * kPointer;
  Variant badType = 1, badText = "t", badSize = "t", noTime = timeval{}, badBytes = types[17];
  Variant noMap = oneBlock, badCount = oneBlock, badMap = oneBlock, badKey = oneBlock;
  Variant circle = chained(), strayLink = chained(), badBlocks = chained(),
          badBlock = membersOf({1, 2, 3, 4, 5});
  setType(badType, 0xBAD1);
  damage<std::size_t>(badText, {}, 8);
  damage<std::size_t>(badSize, {kPointer}, 16);
  damage<std::size_t>(noTime, {}, 0);
  damage<std::size_t>(badBytes, {kPointer}, 8);
  damage<std::size_t>(noMap, {}, 0);
  damage<std::uint32_t>(badCount, {kNumeric, 0}, 3000000000);
  damage<std::size_t>(badMap, {kNumeric}, 8);
  damage<std::size_t>(badKey, {kString, 8 + kPointer}, 1000);
  damage<std::uint32_t>(circle, {kNumeric, kLinks, 8 * 2 + 4}, 1);
  damage<std::uint32_t>(strayLink, {kNumeric, kLinks, 8 * 1 + 4}, 77);
  damage<std::size_t>(badBlocks, {kNumeric, kBlocks}, 0);
  damage<std::size_t>(badBlock, {kNumeric, kBlocks, kPointer + 8}, 8);

  made();
  stop();
  _exit(0);  // the broken values cannot be destroyed
}
