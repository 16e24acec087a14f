// The member container against std::map.
#include <map>

#include "host.h"

namespace vexo::variant {
namespace {

/// Drives a MemberMap and a std::map with the same operations, and follows every element: its
/// address and one iterator to it must stay what they are until it is erased.
template <class Key>
class Model {
 public:
  void insert(const Key& key, int value) {
    const auto [mine, isNew] = map_.try_emplace(key, value);
    const auto [theirs, isNewThere] = model_.try_emplace(key, value);
    ASSERT_TRUE(isNew == isNewThere && *mine == *theirs);
    if (isNew) followed_[key] = mine;
    ASSERT_EQ(&*followed_.at(key), &*mine);
  }
  void append(const Key& key, int value) {
    if (!model_.empty() && !(model_.rbegin()->first < key)) return insert(key, value);
    map_.append(key, value);
    model_.emplace(key, value);
    followed_[key] = map_.find(key);
  }
  void erase(const Key& key) {
    const auto there = model_.find(key);
    followed_.erase(key);
    if (there != model_.end()) return check(map_.erase(map_.find(key)), model_.erase(there));
    ASSERT_EQ(map_.erase(key), 0u);
  }
  void search(const Key& key) {
    check(map_.lower_bound(key), model_.lower_bound(key));
    check(map_.upper_bound(key), model_.upper_bound(key));
    check(map_.find(key), model_.find(key));
    ASSERT_EQ(map_.count(key), model_.count(key));
  }
  void compare() {
    const MemberMap<Key, int> copy = map_;
    ASSERT_EQ(map_.size(), model_.size());
    ASSERT_TRUE(std::equal(copy.begin(), copy.end(), model_.begin(), model_.end()));
    ASSERT_TRUE(std::equal(map_.rbegin(), map_.rend(), model_.rbegin(), model_.rend()));
    for (const auto& [key, position] : followed_) {
      ASSERT_EQ(&*position, &*map_.find(key));
      check(std::next(position), std::next(model_.find(key)));
    }
  }

 private:
  template <class Mine, class Theirs>
  void check(Mine mine, Theirs theirs) {
    ASSERT_EQ(mine == map_.end(), theirs == model_.end());
    ASSERT_TRUE(theirs == model_.end() || *mine == *theirs);
  }

  MemberMap<Key, int> map_;
  std::map<Key, int> model_;
  std::map<Key, typename MemberMap<Key, int>::iterator> followed_;
};

using Random = std::mt19937_64;

/// One of `kCount` keys; the sum may wrap from the highest number to the lowest.
template <std::uint64_t kFirst, unsigned kCount, unsigned kStep>
std::int64_t number(Random& random) {
  return static_cast<std::int64_t>(kFirst + random() % kCount * kStep);
}
std::size_t below(Random& random, std::size_t end) {
  return static_cast<std::size_t>(random() % end);
}
std::string shortKey(Random& random) {
  return std::string(below(random, 3), "aA\xE4"[below(random, 3)]);
}
std::string longKey(Random& random) {
  std::string key = "a prefix of more than eight bytes " + std::to_string(below(random, 3000));
  if (below(random, 4) == 0) key.resize(below(random, key.size()));
  if (below(random, 4) == 0) key += std::string(below(random, 3), '\0') + '\xFF';
  return key;
}

/// Of 8 operations so many are insertions and removals; the rest are searches.
template <class Key>
void runModel(Key (*makeKey)(Random&), unsigned inserts, unsigned erases) {
  Model<Key> model;
  Random random(inserts);
  for (int i = 0; i < 24000 && !testing::Test::HasFatalFailure(); ++i) {
    const Key key = makeKey(random);
    const std::uint64_t dice = random() % 8;
    if (dice < inserts)
      random() % 2 ? model.insert(key, i) : model.append(key, i);
    else if (dice < inserts + erases)
      model.erase(key);
    else
      model.search(key);
    if (random() % 700 == 0) model.compare();
    if (random() % 3000 == 0) model = Model<Key>();
  }
  model.compare();
}

TEST(MemberMap, BehavesAsStdMap) {
  for (const auto& [inserts, erases] : {std::pair(4u, 2u), std::pair(3u, 4u), std::pair(6u, 0u)}) {
    runModel(number<0, 40, 1>, inserts, erases);
    runModel(number<0 - std::uint64_t{0x123456789AB}, 3000, 0x12345678>, inserts, erases);
    runModel(number<(std::uint64_t{1} << 63) - 20, 40, 1>, inserts, erases);
    runModel(shortKey, inserts, erases);
    runModel(longKey, inserts, erases);
  }
}

TEST(MemberMap, KeepsOrderHoweverMembersArriveAndLeave) {
  constexpr int kCount = 20000;  // several levels of index pages
  for (int (*order)(int) : {+[](int i) { return i; }, +[](int i) { return kCount - i; },
                            +[](int i) { return i % 2 ? i : -i; }}) {
    Model<std::int64_t> model;
    for (int i = 0; i < kCount; ++i) model.insert(order(i), i);
    model.compare();
    for (int i = 0; i < kCount; i += i % 64 == 4 ? 2 : 1) model.erase(order(i));
    for (int i = 0; i < kCount; i += 3) model.insert(order(i), i);
    model.compare();
    for (int i = kCount; i-- > 0;) model.erase(order(i));
    model.compare();
  }
}

TEST(MemberMap, IsSparingWithMemory) {
  MemberMap<std::int64_t, int> map;
  const std::size_t allocations = tests::allocationCount();
  map.reserve(100);
  for (int i = 0; i < 100; ++i) map.append(i, i);
  map.erase(99);
  map.append(99, 99);
  EXPECT_EQ(tests::allocationCount() - allocations, 1u) << "at its end it needs no index";
  const std::size_t bytes = tests::liveBytes();
  for (int i = 100; i < 100000; ++i) map.erase(map.begin()), map.append(i, i);
  EXPECT_LT(tests::liveBytes(), bytes + 16 * 1024) << "a queue takes its slots again";
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
