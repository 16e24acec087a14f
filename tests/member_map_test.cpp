// The member container against std::map.
#include <map>

#include "host.h"

namespace vexo::variant {
namespace {

// How it follows a std::map through any operations is tested by fuzz/map_operations.cpp.

TEST(MemberMap, KeepsOrderHoweverMembersArriveAndLeave) {
  constexpr int kCount = 20000;  // several levels of index pages
  for (int (*order)(int) : {+[](int i) { return i; }, +[](int i) { return kCount - i; },
                            +[](int i) { return i % 2 ? i : -i; }}) {
    MemberMap<std::int64_t, int> map;
    std::map<std::int64_t, int> model;
    std::map<std::int64_t, MemberMap<std::int64_t, int>::iterator> places;
    const auto change = [&](int i, bool isInsertion) {
      const std::int64_t key = order(i);
      ASSERT_EQ(isInsertion ? map.try_emplace(key, i).second : map.erase(key) > 0,
                isInsertion ? model.try_emplace(key, i).second : model.erase(key) > 0);
      isInsertion ? void(places.try_emplace(key, map.find(key))) : void(places.erase(key));
    };
    const auto compare = [&] {
      const auto copy = map;
      ASSERT_TRUE(std::equal(copy.begin(), copy.end(), model.begin(), model.end()));
      ASSERT_TRUE(std::equal(map.rbegin(), map.rend(), model.rbegin(), model.rend()));
      for (auto place = places.begin(); place != places.end(); ++place) {
        const auto next = std::next(place);
        ASSERT_EQ(std::next(place->second), next == places.end() ? map.end() : next->second);
      }
    };
    for (int i = 0; i < kCount; ++i) change(i, true);
    compare();
    for (int i = 0; i < kCount; i += i % 64 == 4 ? 2 : 1) change(i, false);
    compare();
    for (int i = 0; i < kCount; i += 3) change(i, true);
    compare();
    for (int i = kCount; i-- > 0;) change(i, false);
    EXPECT_TRUE(map.empty() && map.begin() == map.end());
  }
}

TEST(MemberMap, IteratorsGoOnWhateverChangesAroundThem) {
  using Numbers = MemberMap<std::int64_t, int>;
  for (void (*change)(Numbers&) : {+[](Numbers& map) { map.erase(map.find(60), map.end()); },
                                   +[](Numbers& map) {
                                     for (int i = 80; i < 300; ++i) map[i];
                                   },
                                   +[](Numbers& map) {
                                     for (int i = 1; i < 80; i += 2) map[i];
                                   },
                                   +[](Numbers& map) { map.erase(map.begin()); }}) {
    for (int start = 1; start < 25; ++start) {  // in several blocks
      Numbers map;
      for (int i = 0; i < 80; i += 2) map[i] = i;
      auto place = std::next(map.begin(), start);
      change(map);
      for (; place != map.end(); ++place) {
        const auto next = std::next(place);
        ASSERT_EQ(next, map.upper_bound(place->first)) << place->first;
        ASSERT_EQ(std::prev(next), place);
      }
    }
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
