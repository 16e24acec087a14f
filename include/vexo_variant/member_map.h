// The ordered container of a map's members.
#ifndef VEXO_VARIANT_MEMBER_MAP_H
#define VEXO_VARIANT_MEMBER_MAP_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "vexo_variant/ordered_index.h"

namespace vexo::variant {
namespace detail {

/// Throws; in a program that is built without exceptions, ends it.
template <class Exception, class... Arguments>
[[noreturn]] void raise(Arguments... arguments) {
#ifdef __cpp_exceptions
  throw Exception(arguments...);
#else
  (static_cast<void>(arguments), ...);
  std::abort();
#endif
}

/// Does `undo` at the end of its life, unless it was disarmed before.
template <class Undo>
struct Rollback {
  ~Rollback() {
    if (armed) undo();
  }
  const Undo undo;
  bool armed = true;
};
template <class Undo>
Rollback(Undo) -> Rollback<Undo>;

}  // namespace detail

/// An ordered map with the interface and the promises of `std::map`, made for members that mostly
/// arrive in key order: keys are unique, iteration is ascending, and elements never move, so that
/// references and iterators stay valid until their own element is erased.
///
/// - As long as members arrive in ascending order the map is *positional*: elements lie in key
///   order in one block, or in blocks of doubling size, and nothing else is stored. Integer keys
///   without gaps are found by position, all others by binary search.
/// - The first member that arrives out of order, or is erased from anywhere but the end, gives the
///   map an index (OrderedIndex) and a chain through its elements in key order; slots of erased
///   elements are used again. A map that has become empty is positional again.
///
/// Lookup, insertion and removal are logarithmic at worst, whatever the keys; appending and
/// stepping an iterator take constant time. Insertion has the strong guarantee: when memory runs
/// out it throws `std::bad_alloc` and the map is as before. Erasing from the middle of a positional
/// map builds the index, so it too can throw `std::bad_alloc`, without having changed anything.
/// More than max_size() members count as out of memory.
///
/// Differences from `std::map`: the key order is fixed (KeyOrder), there is no allocator, node
/// handles do not exist, and iterators belong to the map object: moving or swapping maps makes
/// them invalid, while references stay valid.
template <class Key, class T>
class MemberMap {
  template <bool kConst>
  class Iterator;

 public:
  ///@{
  /// As in `std::map`.
  using key_type = Key;
  using mapped_type = T;
  using value_type = std::pair<const Key, T>;
  using size_type = std::size_t;
  using difference_type = std::ptrdiff_t;
  using reference = value_type&;
  using const_reference = const value_type&;
  using pointer = value_type*;
  using const_pointer = const value_type*;
  using iterator = Iterator<false>;
  using const_iterator = Iterator<true>;
  using reverse_iterator = std::reverse_iterator<iterator>;
  using const_reverse_iterator = std::reverse_iterator<const_iterator>;
  ///@}
  /// What lookups take: `std::int64_t`, or `std::string_view` for string keys.
  using View = typename KeyOrder<Key>::View;

  /// An empty map, which owns no memory.
  MemberMap() noexcept = default;
  ///@{
  /// As in `std::map`; a map that was moved from is empty.
  MemberMap(const MemberMap& other) : MemberMap() {
    reserve(other.size());
    for (const value_type& element : other) append(element.first, element.second);
  }
  MemberMap(MemberMap&& other) noexcept : root_(std::exchange(other.root_, nullptr)) {}
  MemberMap& operator=(const MemberMap& other) {
    if (this != &other) MemberMap(other).swap(*this);
    return *this;
  }
  MemberMap& operator=(MemberMap&& other) noexcept {
    MemberMap(std::move(other)).swap(*this);
    return *this;
  }
  ~MemberMap() { clear(); }

  void swap(MemberMap& other) noexcept { std::swap(root_, other.root_); }
  friend void swap(MemberMap& a, MemberMap& b) noexcept { a.swap(b); }
  ///@}

  ///@{
  /// As in `std::map`.
  bool empty() const noexcept { return root_ == nullptr || root_->size == 0; }
  size_type size() const noexcept { return root_ == nullptr ? 0 : root_->size; }
  static constexpr size_type max_size() noexcept { return kMaxSize; }

  iterator begin() noexcept { return {this, first()}; }
  iterator end() noexcept { return {this, nullptr}; }
  const_iterator begin() const noexcept { return {this, first()}; }
  const_iterator end() const noexcept { return {this, nullptr}; }
  const_iterator cbegin() const noexcept { return begin(); }
  const_iterator cend() const noexcept { return end(); }
  reverse_iterator rbegin() noexcept { return reverse_iterator(end()); }
  reverse_iterator rend() noexcept { return reverse_iterator(begin()); }
  const_reverse_iterator rbegin() const noexcept { return const_reverse_iterator(end()); }
  const_reverse_iterator rend() const noexcept { return const_reverse_iterator(begin()); }
  const_reverse_iterator crbegin() const noexcept { return rbegin(); }
  const_reverse_iterator crend() const noexcept { return rend(); }

  iterator find(View key) noexcept { return {this, exact(key)}; }
  const_iterator find(View key) const noexcept { return {this, exact(key)}; }
  size_type count(View key) const noexcept { return exact(key) != nullptr ? 1 : 0; }
  bool contains(View key) const noexcept { return exact(key) != nullptr; }
  iterator lower_bound(View key) noexcept { return {this, lower(key)}; }
  const_iterator lower_bound(View key) const noexcept { return {this, lower(key)}; }
  iterator upper_bound(View key) noexcept { return {this, after(floor(key))}; }
  const_iterator upper_bound(View key) const noexcept { return {this, after(floor(key))}; }
  std::pair<iterator, iterator> equal_range(View key) noexcept {
    return {lower_bound(key), upper_bound(key)};
  }
  std::pair<const_iterator, const_iterator> equal_range(View key) const noexcept {
    return {lower_bound(key), upper_bound(key)};
  }
  ///@}

  ///@{
  /// Throws `std::out_of_range` when there is no such member.
  T& at(View key) { return existing(key).second; }
  const T& at(View key) const { return existing(key).second; }
  ///@}
  /// As try_emplace() without `args`.
  template <class K>
  T& operator[](K&& key) {
    return try_emplace(std::forward<K>(key)).first->second;
  }

  /// Makes a member from `args` unless the key is there; `key` may be anything that a View and a
  /// Key can be made from, and may refer to a part of the map itself.
  template <class K, class... Args>
  std::pair<iterator, bool> try_emplace(K&& key, Args&&... args) {
    value_type* const highest = last();  // most new members belong behind it
    if (highest == nullptr || View(highest->first) < View(key)) {
      return {{this, insertAtEnd(std::forward<K>(key), std::forward<Args>(args)...)}, true};
    }
    Place place;
    value_type* const below = floor(View(key), place);
    if (below != nullptr && View(below->first) == View(key)) return {{this, below}, false};
    value_type* const element =
        insertInside(below, place, std::forward<K>(key), std::forward<Args>(args)...);
    return {{this, element}, true};
  }
  /// The same.
  template <class K, class... Args>
  std::pair<iterator, bool> emplace(K&& key, Args&&... args) {
    return try_emplace(std::forward<K>(key), std::forward<Args>(args)...);
  }
  /// The hint is not needed for speed: a member beyond the last one is always appended at once.
  template <class K, class... Args>
  iterator emplace_hint(const_iterator, K&& key, Args&&... args) {
    return try_emplace(std::forward<K>(key), std::forward<Args>(args)...).first;
  }
  ///@{
  /// As in `std::map`.
  template <class K, class Value>
  std::pair<iterator, bool> insert_or_assign(K&& key, Value&& value) {
    auto result = try_emplace(std::forward<K>(key), std::forward<Value>(value));
    if (!result.second) result.first->second = std::forward<Value>(value);
    return result;
  }
  std::pair<iterator, bool> insert(const value_type& element) {
    return try_emplace(element.first, element.second);
  }
  std::pair<iterator, bool> insert(value_type&& element) {
    return try_emplace(element.first, std::move(element.second));
  }
  ///@}

  /// Makes one block that holds exactly `count` elements, when the map is empty (otherwise does
  /// nothing): with `append` the way to build a map of known size at once. A caller who has the
  /// count from somebody else bounds it first.
  void reserve(size_type count) {
    if (root_ != nullptr || count == 0) return;
    root_ = newBlock(checkedSize(count));
  }

  /// Adds a member whose key is above all others, which the caller knows. Constant time.
  template <class K, class... Args>
  T& append(K&& key, Args&&... args) {
    return insertAtEnd(std::forward<K>(key), std::forward<Args>(args)...)->second;
  }

  /// Gives an empty map `count` members in one block, exactly as large: `keyAt(i)` is the key of
  /// the i-th, above all before it, which the caller knows, and `fill(i, member)` gives it its
  /// content. When memory runs out on the way the members up to there stay.
  template <class KeyAt, class Fill>
  void build(size_type count, const KeyAt& keyAt, const Fill& fill) {
    if (count == 0) return;
    Header* const only = newBlock(checkedSize(count));
    clear();  // an empty map can have a block: reserved, or made for a key that did not fit
    root_ = only;
    value_type* slot = elementsOf(only);
    for (size_type i = 0; i < count; ++i, ++slot) {
      construct(slot, keyAt(i));
      ++only->size;
      fill(i, slot->second);
    }
  }

  /// Elements that are neighbours in memory as well as in key order: a faster way to visit many.
  template <class Element>
  struct RunOf {
    Element* begin = nullptr;  ///< the first element
    Element* end = nullptr;    ///< null when there are no elements left
  };
  using Run = RunOf<value_type>;             ///< of elements that may be changed
  using ConstRun = RunOf<const value_type>;  ///< of elements that may not
  ///@{
  /// The elements with the lowest keys.
  Run firstRun() noexcept { return runFromFirst(); }
  ConstRun firstRun() const noexcept { return constant(runFromFirst()); }
  ///@}
  ///@{
  /// The elements behind those of a run, of which only `end` matters.
  Run runAfter(const Run& run) noexcept { return runBehind(run.end - 1); }
  ConstRun runAfter(const ConstRun& run) const noexcept { return constant(runBehind(run.end - 1)); }
  ///@}

  ///@{
  /// Returns the iterator behind the erased element.
  iterator erase(const_iterator position) {
    value_type* const next = after(position.element_);
    remove(position.element_);
    return {this, next};
  }
  iterator erase(iterator position) { return erase(const_iterator(position)); }
  iterator erase(const_iterator begin, const_iterator end) {
    while (begin != end) begin = erase(begin);
    return {this, begin.element_};
  }
  ///@}
  /// Returns how many elements were erased: 0 or 1.
  size_type erase(View key) {
    value_type* const element = exact(key);
    if (element == nullptr) return 0;
    remove(element);
    return 1;
  }

  /// Destroys all members and returns all memory.
  void clear() noexcept {
    clear([](T& value) { std::destroy_at(&value); });
  }
  /// The same, with `dispose(value)` in place of the destructors of the values.
  template <class Dispose>
  void clear(const Dispose& dispose) noexcept {
    if (root_ == nullptr) return;
    if (spread()) {
      clearSpread(dispose);
    } else {
      destroy(elementsOf(root_), elementsOf(root_) + root_->size, dispose);
      ::operator delete(root_);
    }
    root_ = nullptr;
  }

 private:
  static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();
  static constexpr std::uint32_t kMaxSize = std::uint32_t{1} << 30;

  /// In front of every block of elements; a map in one block has no more than this. A capacity of
  /// 0 tells that the header begins a Spread.
  struct Header {
    std::uint32_t size;
    std::uint32_t capacity;
  };

  /// A run of slots that never moves. `start` is the position of its first slot: positions count
  /// the slots of all blocks through, in the order of their making.
  struct Block {
    value_type* first;
    std::uint32_t start;
    std::uint32_t capacity;
    value_type* end() const noexcept { return first + capacity; }
  };

  using Index = OrderedIndex<Key, value_type>;
  using Place = typename Index::Place;

  /// The neighbours of a slot in key order, as positions; for a slot on the free list only `next`.
  struct Link {
    std::uint32_t previous;
    std::uint32_t next;
  };

  /// A map that has outgrown its first block, or has an index. Slots from `used` on have never held
  /// an element; while the index is empty, the slots below it are the elements in key order.
  struct Spread : Header {
    std::uint32_t used = 0;
    std::uint32_t freeSlot = kNone;
    std::uint32_t firstSlot = kNone;  // with an index: the ends of the chain
    std::uint32_t lastSlot = kNone;
    value_type* usedEnd;   // behind the last used slot
    value_type* blockEnd;  // of the block that this slot is in
    std::vector<Block> blocks;
    std::vector<Link> links;  // with an index: one for every slot of all blocks
    Index index;

    Spread(Header* only) : Header{only->size, 0}, used(only->size) {
      blocks.reserve(4);  // most maps need no more
      blocks.push_back({elementsOf(only), 0, only->capacity});
      usedEnd = blocks.back().first + used;
      blockEnd = blocks.back().end();
    }

    bool indexed() const noexcept { return !index.empty(); }
    std::uint32_t capacityOfBlocks() const noexcept {
      return blocks.back().start + blocks.back().capacity;
    }
    const Block& blockOf(std::uint32_t position) const noexcept {
      std::size_t i = blocks.size() - 1;  // most slots are in the last blocks
      while (position < blocks[i].start) --i;
      return blocks[i];
    }
    value_type* at(std::uint32_t position) const noexcept {
      const Block& block = blockOf(position);
      return block.first + (position - block.start);
    }
    value_type* atOrNull(std::uint32_t position) const noexcept {
      return position == kNone ? nullptr : at(position);
    }
    const Block& blockWith(const value_type* element) const noexcept {
      for (std::size_t i = blocks.size() - 1;; --i) {
        const Block& block = blocks[i];
        const std::uintptr_t offset = reinterpret_cast<std::uintptr_t>(element) -
                                      reinterpret_cast<std::uintptr_t>(block.first);
        if (offset < block.capacity * sizeof(value_type) || i == 0) return block;
      }
    }
    std::uint32_t positionOf(const value_type* element) const noexcept {
      const Block& block = blockWith(element);
      return block.start + static_cast<std::uint32_t>(element - block.first);
    }

    /// Counts the slot at position `used`, which holds an element now, as used.
    void use(value_type* slot) noexcept {
      if (slot != usedEnd) blockEnd = blockOf(used).end();
      usedEnd = slot + 1;
      ++used;
    }
    /// Counts the last of several used slots as never used.
    void giveBackLast() noexcept {
      --used;
      const Block& block = blockOf(used - 1);
      usedEnd = block.first + (used - block.start);
      blockEnd = block.end();
    }
  };

  template <bool kConst>
  class Iterator {
   public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = typename MemberMap::value_type;
    using difference_type = std::ptrdiff_t;
    using reference = std::conditional_t<kConst, const value_type&, value_type&>;
    using pointer = std::conditional_t<kConst, const value_type*, value_type*>;

    Iterator() noexcept = default;
    template <bool kOther, class = std::enable_if_t<kConst && !kOther>>
    Iterator(const Iterator<kOther>& other) noexcept
        : map_(other.map_), element_(other.element_), blockEnd_(other.blockEnd_) {}

    reference operator*() const noexcept { return *element_; }
    pointer operator->() const noexcept { return element_; }
    Iterator& operator++() noexcept {
      element_ = map_->after(element_, blockEnd_);
      return *this;
    }
    Iterator operator++(int) noexcept {
      Iterator old = *this;
      ++*this;
      return old;
    }
    Iterator& operator--() noexcept {
      element_ = element_ == nullptr ? map_->last() : map_->before(element_);
      blockEnd_ = nullptr;
      return *this;
    }
    Iterator operator--(int) noexcept {
      Iterator old = *this;
      --*this;
      return old;
    }
    friend bool operator==(const Iterator& a, const Iterator& b) noexcept {
      return a.element_ == b.element_;
    }
    friend bool operator!=(const Iterator& a, const Iterator& b) noexcept { return !(a == b); }

   private:
    friend class MemberMap;
    template <bool>
    friend class Iterator;
    Iterator(const MemberMap* map, value_type* element) noexcept : map_(map), element_(element) {}

    const MemberMap* map_ = nullptr;
    value_type* element_ = nullptr;   // null at the end
    value_type* blockEnd_ = nullptr;  // see after()
  };

  // --- Storage -----------------------------------------------------------------------------------

  static value_type* elementsOf(Header* header) noexcept {
    return reinterpret_cast<value_type*>(header + 1);
  }
  static Header* headerOf(value_type* first) noexcept {
    return reinterpret_cast<Header*>(first) - 1;
  }

  /// As many as fit into 120 bytes: the blocks that common allocators serve fastest.
  static constexpr std::uint32_t firstCapacity() noexcept {
    return sizeof(value_type) > 56 ? 1 : (120 - sizeof(Header)) / sizeof(value_type);
  }

  static std::uint32_t checkedSize(size_type count) {
    if (count > kMaxSize) detail::raise<std::bad_alloc>();
    return static_cast<std::uint32_t>(count);
  }

  // Inlined, it would let GCC warn that a Spread does not fit into the block.
  __attribute__((noinline)) static Header* newBlock(std::uint32_t capacity) {
    static_assert(sizeof(Header) % alignof(value_type) == 0, "elements follow without a gap");
    if (capacity > std::numeric_limits<size_type>::max() / 2 / sizeof(value_type)) {
      detail::raise<std::bad_alloc>();
    }
    return ::new (::operator new(sizeof(Header) + capacity * sizeof(value_type)))
        Header{0, capacity};
  }

  template <class K, class... Args>
  static void construct(value_type* slot, K&& key, Args&&... args) {
    ::new (static_cast<void*>(slot))
        value_type(std::piecewise_construct, std::forward_as_tuple(std::forward<K>(key)),
                   std::forward_as_tuple(std::forward<Args>(args)...));
  }

  bool spread() const noexcept { return root_->capacity == 0; }
  Spread* asSpread() const noexcept { return static_cast<Spread*>(root_); }
  bool indexed() const noexcept { return spread() && asSpread()->indexed(); }

  /// Turns the one block of a map into the first block of a Spread.
  Spread& makeSpread() { return spread() ? *asSpread() : becomeSpread(); }
  __attribute__((noinline)) Spread& becomeSpread() {
    root_ = std::make_unique<Spread>(root_).release();
    return *asSpread();
  }

  /// The slot at position `used`.
  static value_type* unusedSlot(Spread& all) {
    return all.usedEnd != all.blockEnd ? all.usedEnd : firstSlotOfNextBlock(all);
  }

  /// Adds a block, as large as all the others together, when every slot has been used.
  __attribute__((noinline)) static value_type* firstSlotOfNextBlock(Spread& all) {
    const std::uint32_t capacity = all.capacityOfBlocks();
    if (all.used == capacity) {
      checkedSize(size_type{capacity} + 1);
      if (all.indexed()) all.links.resize(size_type{capacity} * 2);
      all.blocks.reserve(all.blocks.size() + 1);
      all.blocks.push_back({elementsOf(newBlock(capacity)), capacity, capacity});
    }
    return all.blockOf(all.used).first;
  }

  // --- Order -------------------------------------------------------------------------------------

  value_type* first() const noexcept {
    if (root_ == nullptr || root_->size == 0) return nullptr;
    if (!spread()) return elementsOf(root_);
    const Spread& all = *asSpread();
    return all.indexed() ? all.at(all.firstSlot) : all.blocks.front().first;
  }

  value_type* last() const noexcept {
    if (root_ == nullptr || root_->size == 0) return nullptr;
    if (!spread()) return elementsOf(root_) + (root_->size - 1);
    const Spread& all = *asSpread();
    return all.indexed() ? all.at(all.lastSlot) : all.usedEnd - 1;
  }

  /// The next element in key order, or null; after null comes the first one.
  value_type* after(const value_type* element) const noexcept {
    value_type* blockEnd = nullptr;
    return element == nullptr ? first() : after(element, blockEnd);
  }

  /// `blockEnd` is the end of the block that the element is in, or null; it becomes that of the
  /// next element. With an index it is neither used nor kept right, and as long as there are
  /// elements for an iterator to be at, an index stays.
  value_type* after(const value_type* element, value_type*& blockEnd) const noexcept {
    if (spread()) return afterInSpread(element, blockEnd);
    const value_type* const next = element + 1;
    return next == elementsOf(root_) + root_->size ? nullptr : const_cast<value_type*>(next);
  }

  value_type* afterInSpread(const value_type* element, value_type*& blockEnd) const noexcept {
    const Spread& all = *asSpread();
    if (all.indexed()) return all.atOrNull(all.links[all.positionOf(element)].next);
    const value_type* next = element + 1;
    if (next == all.usedEnd) return nullptr;
    if (blockEnd == nullptr || next == blockEnd) {
      const Block* block = &all.blockWith(element);
      if (next == block->end()) next = (++block)->first;
      blockEnd = block->end();
    }
    return const_cast<value_type*>(next);
  }

  template <class Dispose>
  static void destroy(value_type* begin, value_type* end, const Dispose& dispose) noexcept {
    for (; begin != end; ++begin) {
      dispose(begin->second);
      std::destroy_at(&begin->first);
    }
  }

  template <class Dispose>
  __attribute__((noinline)) void clearSpread(const Dispose& dispose) noexcept {
    for (Run run = firstRun(); run.end != nullptr;) {
      const Run next = runAfter(run);
      destroy(run.begin, run.end, dispose);
      run = next;
    }
    const Spread* all = asSpread();
    for (const Block& block : all->blocks) ::operator delete(headerOf(block.first));
    delete all;
  }

  Run runFromFirst() const noexcept {
    if (empty()) return {};
    return spread() ? runFrom(first()) : Run{elementsOf(root_), elementsOf(root_) + root_->size};
  }
  /// In a spread map, the element and those behind it that follow it in memory too.
  __attribute__((noinline)) Run runFrom(value_type* element) const noexcept {
    if (element == nullptr) return {};
    const Spread& all = *asSpread();
    if (all.indexed()) return {element, element + 1};
    value_type* const blockEnd = all.blockWith(element).end();
    return {element, blockEnd == all.blockEnd ? all.usedEnd : blockEnd};
  }
  Run runBehind(const value_type* last) const noexcept {
    return spread() ? runFrom(after(last)) : Run{};
  }
  static ConstRun constant(const Run& run) noexcept { return {run.begin, run.end}; }

  value_type* before(const value_type* element) const noexcept {
    if (!spread()) return const_cast<value_type*>(element - 1);
    const Spread& all = *asSpread();
    const std::uint32_t position = all.positionOf(element);
    return all.indexed() ? all.atOrNull(all.links[position].previous) : all.at(position - 1);
  }

  // --- Search ------------------------------------------------------------------------------------

  /// The last of `count` elements (at least one) in key order whose key is not above `key`, or
  /// null.
  static value_type* floorInRun(value_type* run, std::uint32_t count, View key) noexcept {
    if constexpr (std::is_integral_v<Key>) {
      const std::uint64_t guess =
          static_cast<std::uint64_t>(key) - static_cast<std::uint64_t>(run->first);
      if (guess < count && run[guess].first == key) return run + guess;
    }
    const KeyProbe<Key> probe(key);
    while (count > 1) {
      const std::uint32_t half = count / 2;
      run = probe.isBelow(run[half].first) ? run : run + half;
      count -= half;
    }
    return probe.isBelow(run->first) ? nullptr : run;
  }

  /// The element with the greatest key that is not above `key`, or null.
  value_type* floor(View key) const noexcept {
    Place place;
    return floor(key, place);
  }
  /// The same, and the place of the key in the index, if there is one.
  value_type* floor(View key, Place& place) const noexcept {
    if (empty()) return nullptr;
    if (!spread()) return floorInRun(elementsOf(root_), root_->size, key);
    const Spread& all = *asSpread();
    if (all.indexed()) return all.index.floor(key, place);
    std::size_t i = all.blocks.size() - 1;
    while (i > 0 && (all.blocks[i].start >= all.used || key < View(all.blocks[i].first->first))) {
      --i;
    }
    const Block& block = all.blocks[i];
    return floorInRun(block.first, std::min(block.capacity, all.used - block.start), key);
  }

  value_type* exact(View key) const noexcept {
    if (root_ != nullptr && indexed()) return asSpread()->index.find(key);
    value_type* const below = floor(key);
    return below != nullptr && View(below->first) == key ? below : nullptr;
  }

  value_type* lower(View key) const noexcept {
    value_type* const below = floor(key);
    return below != nullptr && View(below->first) == key ? below : after(below);
  }

  value_type& existing(View key) const {
    value_type* const element = exact(key);
    if (element == nullptr) detail::raise<std::out_of_range>("MemberMap::at");
    return *element;
  }

  // --- Change ------------------------------------------------------------------------------------

  /// Adds an element behind `below` in key order (null: in front of all), which is not the last
  /// one. `place` is what `floor` told.
  template <class K, class... Args>
  value_type* insertInside(value_type* below, const Place& place, K&& key, Args&&... args) {
    Spread& all = makeSpread();
    makeIndex(all);
    return insertIndexed(all, below, place, std::forward<K>(key), std::forward<Args>(args)...);
  }

  template <class K, class... Args>
  value_type* insertAtEnd(K&& key, Args&&... args) {
    if (root_ == nullptr) root_ = newBlock(firstCapacity());
    if (root_->size >= root_->capacity) {
      return insertBehindBlock(std::forward<K>(key), std::forward<Args>(args)...);
    }
    value_type* const slot = elementsOf(root_) + root_->size;
    construct(slot, std::forward<K>(key), std::forward<Args>(args)...);
    ++root_->size;
    return slot;
  }

  /// The same when the first block is full, or no longer the only one.
  template <class K, class... Args>
  __attribute__((noinline)) value_type* insertBehindBlock(K&& key, Args&&... args) {
    Spread& all = makeSpread();
    if (all.indexed()) {
      return insertIndexed(all, last(), {}, std::forward<K>(key), std::forward<Args>(args)...);
    }
    value_type* const slot = unusedSlot(all);
    construct(slot, std::forward<K>(key), std::forward<Args>(args)...);
    all.use(slot);
    ++all.size;
    return slot;
  }

  template <class K, class... Args>
  static value_type* insertIndexed(Spread& all, value_type* below, const Place& place, K&& key,
                                   Args&&... args) {
    const bool reuse = all.freeSlot != kNone;
    const std::uint32_t position = reuse ? all.freeSlot : all.used;
    value_type* const slot = reuse ? all.at(position) : unusedSlot(all);
    construct(slot, std::forward<K>(key), std::forward<Args>(args)...);
    enterIndex(all, slot, place);
    if (reuse) {
      all.freeSlot = all.links[position].next;
    } else {
      all.use(slot);
    }
    chain(all, position, below == nullptr ? kNone : all.positionOf(below));
    ++all.size;
    return slot;
  }

  static void enterIndex(Spread& all, value_type* element, const Place& place) {
    detail::Rollback outOfMemory{[element] { element->~value_type(); }};
    all.index.insert(element, place);
    outOfMemory.armed = false;
  }

  /// Links a slot into the chain behind `previous` (kNone: as the first).
  static void chain(Spread& all, std::uint32_t position, std::uint32_t previous) noexcept {
    std::uint32_t& toHere = previous == kNone ? all.firstSlot : all.links[previous].next;
    all.links[position] = {previous, toHere};
    std::uint32_t& backHere = toHere == kNone ? all.lastSlot : all.links[toHere].previous;
    toHere = backHere = position;
  }

  static void unchain(Spread& all, std::uint32_t position) noexcept {
    const Link link = all.links[position];
    (link.previous == kNone ? all.firstSlot : all.links[link.previous].next) = link.next;
    (link.next == kNone ? all.lastSlot : all.links[link.next].previous) = link.previous;
  }

  /// Gives a positional map its index and its chain; when memory runs out it stays positional.
  static void makeIndex(Spread& all) {
    if (all.indexed()) return;
    all.links.resize(all.capacityOfBlocks());
    detail::Rollback outOfMemory{[&all] { all.index.clear(); }};
    for (std::uint32_t i = 0; i < all.used; ++i) {
      all.index.insert(all.at(i));
      all.links[i] = {i == 0 ? kNone : i - 1, i + 1 == all.used ? kNone : i + 1};
    }
    outOfMemory.armed = false;
    all.firstSlot = 0;
    all.lastSlot = all.used - 1;
  }

  void remove(value_type* element) {
    if (root_->size == 1) return clear();
    if (!indexed() && element == last()) {
      element->~value_type();
      if (spread()) asSpread()->giveBackLast();
      --root_->size;
      return;
    }
    Spread& all = makeSpread();
    makeIndex(all);
    const std::uint32_t position = all.positionOf(element);
    all.index.erase(View(element->first));
    unchain(all, position);
    all.links[position].next = std::exchange(all.freeSlot, position);
    --all.size;
    element->~value_type();
  }

  Header* root_ = nullptr;
};

}  // namespace vexo::variant

#endif
