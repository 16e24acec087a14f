// The member container against std::map.
#include <map>

#include "host.h"

namespace vexo::variant {
namespace {

// How it follows a std::map through any operations is tested by fuzz/map_operations.cpp, but not
// with several levels of index pages.
TEST(MemberMap, KeepsOrderHoweverManyMembersArriveAndLeave) {
  constexpr int kCount = 20000;
  for (int (*order)(int) : {+[](int i) { return i; }, +[](int i) { return kCount - i; },
                            +[](int i) { return i % 2 ? i : -i; }}) {
    MemberMap<std::int64_t, int> map;
    std::map<std::int64_t, int> model;
    const auto change = [&](auto action) {
      for (int i = 0; i < kCount; ++i) ASSERT_EQ(action(map, i), action(model, i));
      const auto copy = map;
      ASSERT_TRUE(std::equal(copy.begin(), copy.end(), model.begin(), model.end()));
      ASSERT_TRUE(std::equal(map.rbegin(), map.rend(), model.rbegin(), model.rend()));
    };
    change([&](auto& any, int i) { return any.try_emplace(order(i), i).second; });
    change([&](auto& any, int i) { return i % 64 == 5 || any.erase(order(i)) > 0; });
    change([&](auto& any, int i) { return i % 3 || any.try_emplace(order(i), i).second; });
    change([&](auto& any, int i) { return any.erase(order(kCount - 1 - i)) > 0; });
    EXPECT_TRUE(map.empty() && map.begin() == map.end());
  }
}

TEST(MemberMap, IsSparingWithMemory) {
  MemberMap<std::int64_t, int> map;
  const std::size_t allocations = tests::allocationCount();
  map.reserve(100);
  EXPECT_EQ(map.firstRun().end, nullptr);
  for (int i = 0; i < 100; ++i) map.append(i, i);
  map.erase(99);
  map.append(99, 99);
  EXPECT_EQ(tests::allocationCount() - allocations, 1u) << "at its end it needs no index";
  const std::size_t bytes = tests::liveBytes();
  for (int i = 100; i < 100000; ++i) map.erase(map.begin()), map.append(i, i);
  EXPECT_LT(tests::liveBytes(), bytes + 16 * 1024) << "a queue takes its slots again";
}

TEST(MemberMap, IsBuiltAtOnceInOneBlockWhateverBlockItHad) {
  const std::size_t blocks = tests::liveBlocks();
  for (const std::size_t reserved : {0u, 1u, 5u}) {
    MemberMap<std::int64_t, std::size_t> map;
    map.reserve(reserved);
    const auto keyAt = [](std::size_t i) { return static_cast<std::int64_t>(7 * i); };
    map.build(3, keyAt, [](std::size_t i, std::size_t& member) { member = i; });
    EXPECT_EQ(tests::liveBlocks(), blocks + 1);
    EXPECT_TRUE(map.size() == 3 && map.at(14) == 2);
  }
  EXPECT_EQ(tests::liveBlocks(), blocks);
}

using Map = MemberMap<std::string, std::string>;

/// Fails every allocation in turn: the map must be as it was.
void failEachAllocation(void (*change)(Map&)) {
  const std::size_t blocks = tests::liveBlocks();
  bool failed = true;
  for (std::size_t n = 0; failed; ++n) {
    Map map;
    for (int i = 0; i < 64; ++i) map[std::to_string(1000 + i * 2) + " a key on the heap"] = "v";
    const Map before = map;
    try {
      const tests::FailingAllocation failure(n);
      failed = false;
      change(map);
    } catch (const std::bad_alloc&) {
      failed = true;
      EXPECT_TRUE(std::equal(map.begin(), map.end(), before.begin(), before.end())) << n;
      map["in front"] = map["~ at the end"] = "works on";
      EXPECT_EQ(map.size(), before.size() + 2);
    }
  }
  EXPECT_EQ(tests::liveBlocks(), blocks);
}

TEST(MemberMap, IsUnchangedWhenMemoryRunsOut) {
  failEachAllocation([](Map& map) { map["1001 from the middle, too long to inline"] = "v"; });
  failEachAllocation([](Map& map) { map["9 at the end, too long to inline"] = "v"; });
  failEachAllocation([](Map& map) { map.erase(map.begin()); });
  failEachAllocation([](Map& map) { Map(map).swap(map); });
}

TEST(MemberMap, OffersTheRestOfTheInterface) {
  Map map;
  EXPECT_THROW(map.at("a"), std::out_of_range);
  map.insert({"b", "2"});
  EXPECT_TRUE(!map.insert_or_assign("b", "5").second && map.at("b") == "5");
  EXPECT_EQ(map.emplace_hint(map.end(), "c", "3")->second, "3");
  EXPECT_EQ(map.equal_range("b").second->first, "c");
  Map other = std::move(map);
  EXPECT_EQ(other.erase(other.begin(), other.find("c"))->first, "c");
  EXPECT_EQ((map = other).size(), 1u);
}

}  // namespace
}  // namespace vexo::variant
