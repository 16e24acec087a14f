// The member container against std::map.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <unordered_map>

#include "host.h"

namespace vexo::variant {
namespace {

using tests::FailingAllocation;

/// Drives a MemberMap and a std::map with the same operations, and follows every element: its
/// address and one iterator to it must stay what they are until it is erased.
template <class Key>
class Model {
 public:
  void insert(const Key& key, int value) {
    const auto [mine, isNew] = map_.try_emplace(key, value);
    const auto [theirs, isNewThere] = model_.try_emplace(key, value);
    ASSERT_EQ(isNew, isNewThere);
    ASSERT_EQ(mine->second, theirs->second);
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
    const auto position = map_.find(key);
    const auto there = model_.find(key);
    ASSERT_EQ(position == map_.end(), there == model_.end());
    ASSERT_EQ(map_.count(key), model_.count(key));
    followed_.erase(key);
    if (there == model_.end()) {
      ASSERT_EQ(map_.erase(key), 0u);
      return;
    }
    const auto next = map_.erase(position);
    const auto nextThere = model_.erase(there);
    ASSERT_EQ(next == map_.end(), nextThere == model_.end());
    if (nextThere != model_.end()) {
      ASSERT_EQ(next->first, nextThere->first);
    }
  }
  void search(const Key& key) {
    check(map_.lower_bound(key), model_.lower_bound(key));
    check(map_.upper_bound(key), model_.upper_bound(key));
    check(map_.find(key), model_.find(key));
    ASSERT_EQ(map_.contains(key), model_.count(key) == 1);
  }
  void clear() {
    map_.clear();
    model_.clear();
    followed_.clear();
  }
  void compare() {
    ASSERT_EQ(map_.size(), model_.size());
    ASSERT_EQ(map_.empty(), model_.empty());
    auto mine = map_.begin();
    for (const auto& element : model_) check(mine++, model_.find(element.first));
    ASSERT_TRUE(mine == map_.end());
    for (auto there = model_.rbegin(); there != model_.rend(); ++there) {
      ASSERT_EQ((--mine)->first, there->first);
    }
    ASSERT_TRUE(mine == map_.begin());
    for (const auto& [key, position] : followed_) {
      ASSERT_EQ(position->first, key);
      ASSERT_EQ(&*position, &*map_.find(key));
      const auto there = model_.find(key);
      check(std::next(position), std::next(there));
    }
    MemberMap<Key, int> copy = map_;
    ASSERT_TRUE(std::equal(copy.begin(), copy.end(), model_.begin(), model_.end()));
  }
  std::size_t size() const { return model_.size(); }

 private:
  template <class Mine, class Theirs>
  void check(Mine mine, Theirs theirs) {
    ASSERT_EQ(mine == map_.end(), theirs == model_.end());
    if (theirs == model_.end()) return;
    ASSERT_EQ(mine->first, theirs->first);
    ASSERT_EQ(mine->second, theirs->second);
  }

  MemberMap<Key, int> map_;
  std::map<Key, int> model_;
  std::unordered_map<Key, typename MemberMap<Key, int>::iterator> followed_;
};

using Random = std::mt19937_64;

std::int64_t smallKey(Random& random) { return static_cast<std::int64_t>(random() % 40); }
std::int64_t sparseKey(Random& random) {
  return static_cast<std::int64_t>(random() % 3000 * 0x12345678) - 0x123456789AB;
}
std::int64_t extremeKey(Random& random) {
  return static_cast<std::int64_t>((random() % 2 << 63) - random() % 20);
}
std::string shortKey(Random& random) { return std::string(random() % 3, "aA\xE4"[random() % 3]); }
std::string longKey(Random& random) {
  std::string key = "a prefix of more than eight bytes " + std::to_string(random() % 3000);
  if (random() % 4 == 0) key.resize(random() % key.size());
  if (random() % 4 == 0) key += std::string(random() % 3, '\0') + '\xFF';
  return key;
}

/// The share of operations, out of 8; the rest are searches.
struct Mix {
  unsigned inserts;
  unsigned erases;
};

template <class Key>
void runModel(Key (*makeKey)(Random&), Mix mix, unsigned seed) {
  Model<Key> model;
  Random random(seed);
  for (int i = 0; i < 6000; ++i) {
    const Key key = makeKey(random);
    const std::uint64_t dice = random() % 8;
    if (dice < mix.inserts) {
      random() % 2 ? model.insert(key, i) : model.append(key, i);
    } else if (dice < mix.inserts + mix.erases) {
      model.erase(key);
    } else {
      model.search(key);
    }
    if (random() % 700 == 0) model.compare();
    if (random() % 3000 == 0) model.clear();
    if (testing::Test::HasFatalFailure()) FAIL() << "seed " << seed << ", operation " << i;
  }
  model.compare();
}

TEST(MemberMap, BehavesAsStdMap) {
  for (const Mix mix : {Mix{4, 2}, Mix{3, 4}, Mix{6, 0}}) {
    for (unsigned seed = 0; seed < 4; ++seed) {
      runModel<std::int64_t>(smallKey, mix, seed);
      runModel<std::int64_t>(sparseKey, mix, seed);
      runModel<std::int64_t>(extremeKey, mix, seed);
      runModel<std::string>(shortKey, mix, seed);
      runModel<std::string>(longKey, mix, seed);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(MemberMap, KeepsOrderHoweverMembersArriveAndLeave) {
  constexpr int kCount = 20000;  // several levels of index pages
  const auto ascending = [](int i) { return i; };
  const auto descending = [](int i) { return kCount - i; };
  const auto alternating = [](int i) { return i % 2 ? i : -i; };
  for (int (*order)(int) : {+ascending, +descending, +alternating}) {
    Model<std::int64_t> model;
    for (int i = 0; i < kCount; ++i) model.insert(order(i), i);
    model.compare();
    for (int i = 0; i < kCount; ++i) {
      if (i % 64 != 5) model.erase(order(i));
    }
    model.compare();
    for (int i = 0; i < kCount; i += 3) model.insert(order(i), i);
    model.compare();
    for (int i = kCount; i-- > 0;) model.erase(order(i));
    ASSERT_EQ(model.size(), 0u);
    model.compare();
  }
}

TEST(MemberMap, QueueUsesItsMemoryAgain) {
  MemberMap<std::int64_t, int> queue;
  for (int i = 0; i < 100; ++i) queue.append(i, i);
  const std::size_t before = tests::liveBytes();
  for (int i = 100; i < 100000; ++i) {
    queue.erase(queue.begin());
    queue.append(i, i);
  }
  EXPECT_EQ(queue.begin()->first, 99900);
  EXPECT_LT(tests::liveBytes(), before + 16 * 1024);
  queue.clear();
}

TEST(MemberMap, TakesNoMoreThanOneBlockForAKnownSize) {
  MemberMap<std::int64_t, int> map;
  const std::size_t before = tests::allocationCount();
  map.reserve(1000);
  for (int i = 0; i < 1000; ++i) map.append(i, i);
  EXPECT_EQ(tests::allocationCount() - before, 1u);
  map.erase(999);  // the last one needs no index
  map.append(2000, 1);
  EXPECT_EQ(tests::allocationCount() - before, 1u);
}

/// Fails every allocation in turn: the map must be as it was.
template <class Change>
void failEachAllocation(Change change) {
  bool failed = true;
  for (std::size_t n = 0; failed; ++n) {
    const std::size_t blocks = tests::liveBlocks();
    {
      MemberMap<std::string, std::string> map;
      for (int i = 0; i < 64; ++i) map[std::to_string(1000 + i * 2) + " a key on the heap"] = "v";
      const MemberMap<std::string, std::string> before = map;
      try {
        const FailingAllocation failure(n);
        failed = false;
        change(map);
      } catch (const std::bad_alloc&) {
        failed = true;
        EXPECT_TRUE(std::equal(map.begin(), map.end(), before.begin(), before.end())) << n;
        map["in front"] = map["~ at the end"] = "works on";
        EXPECT_EQ(map.size(), before.size() + 2);
      }
    }
    EXPECT_EQ(tests::liveBlocks(), blocks) << n;
  }
}

TEST(MemberMap, IsUnchangedWhenMemoryRunsOut) {
  using Map = MemberMap<std::string, std::string>;
  failEachAllocation(
      [](Map& map) { map.try_emplace("1001 from the middle, too long to inline", "v"); });
  failEachAllocation([](Map& map) { map.try_emplace("9 at the end, too long to inline", "v"); });
  failEachAllocation([](Map& map) { map.erase(map.begin()); });
  failEachAllocation([](Map& map) { Map(map).swap(map); });
}

TEST(MemberMap, OffersTheRestOfTheInterface) {
  MemberMap<std::string, int> map;
  EXPECT_THROW(map.at("a"), std::out_of_range);
  EXPECT_EQ(map.find("a"), map.end());
  map["b"] = 2;
  map.insert({"a", 1});
  EXPECT_FALSE(map.insert_or_assign("a", 5).second);
  EXPECT_EQ(map.at(std::string_view("a")), 5);
  EXPECT_EQ(map.emplace_hint(map.end(), "c", 3)->second, 3);
  EXPECT_EQ(std::distance(map.equal_range("b").first, map.equal_range("b").second), 1);
  MemberMap<std::string, int> other = std::move(map);
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(other.rbegin()->first, "c");
  EXPECT_EQ(other.erase(other.begin(), other.find("c"))->first, "c");
  map = other;
  EXPECT_EQ(map.size(), 1u);
}

}  // namespace
}  // namespace vexo::variant
