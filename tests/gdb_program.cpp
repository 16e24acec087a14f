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

/// Members that arrive in this order, each with its place in it as value.
template <class Key>
Variant membersOf(std::initializer_list<Key> keys, bool isArray = false) {
  Variant value;
  int place = 0;
  for (const Key& key : keys) value[key] = place++;
  if (isArray) value.IsArray(true);
  return value;
}

template <class... Values>
Variant arrayOf(const Values&... values) {
  Variant array;
  ((array[-1] = values), ...);
  return array;
}

Variant typedMap(std::initializer_list<std::string> keys, const std::string& name) {
  Variant value = membersOf(keys);
  const VariantMap* map = value;
  const_cast<VariantMap*>(map)->typeName = name;
  setType(value, V_TYPED_MAP);
  return value;
}

/// A map with an index: in key order its elements lie in the slots 1, 2 and 0.
Variant chained() { return membersOf({3, 1, 2}); }

}  // namespace

int main() {
  std::uint8_t bytes[20] = {0x00, 0x7f, 0x80, 0xff};
  Variant types = arrayOf(
      Variant(), true, std::int8_t{-1}, std::int16_t{-300}, 70000, INT64_MIN, std::uint8_t{200},
      std::uint16_t{60000}, 4000000000u, UINT64_MAX, 0.1, -std::numeric_limits<double>::infinity(),
      timeval{1795375980, 250}, timeval{-1, 1000000}, timeval{INT32_MIN, 0},
      std::string("zero \0 byte, \"quotes\"", 21), "", Variant(bytes, 20, false), Variant(),
      Variant(bytes, 0, false), Variant());
  types[18] = Variant(bytes, 1, true);  // what is copied is not external
  types[-1]["in a map"] = "a string too long for the place in std::string itself";
  constexpr auto kLast = std::numeric_limits<time_t>::max();
  const Variant far = timeval{kLast / 4, 999999}, past = timeval{-(kLast / 100000000), 0};

  // One block; blocks; an index over the only block, and over several with erased slots.
  Variant oneBlock = membersOf({-2, 5});
  oneBlock["name"] = 1.5;
  Variant blocks = membersOf<std::string>({"a", "b", "c", "d", "e", "f", "g"});
  Variant indexed = chained();
  Variant erased = membersOf({40, 7, 30, 9, 20, 8, 10, 6, 5});
  erased.RemoveValue(30).RemoveValue(8).RemoveValue(5);
  Variant strings = membersOf<std::string>({"one", "two", "three", "four", "five"});
  const Variant dense = membersOf({2, 0, 1, 3}, true), gaps = membersOf({0, 2}, true);
  Variant mixed = membersOf({0, 1}, true);
  mixed["length"] = 2;
  const Variant typed = typedMap({"x", "y"}, "Point");
  const std::string k(201, 'k'), t(200, 't');
  const Variant longName = typedMap({k, k + 'l', "\\ \" \n \xff"}, t + "\"");

  Variant tree;
  tree["name"] = "gateway";
  tree["ports"] = arrayOf(80, 443);
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
