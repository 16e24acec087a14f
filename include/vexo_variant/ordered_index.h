// The search structure behind a MemberMap whose members did not arrive in key order.
#ifndef VEXO_VARIANT_ORDERED_INDEX_H
#define VEXO_VARIANT_ORDERED_INDEX_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>

#include "vexo_variant/byte_order.h"

namespace vexo::variant {

/// How keys of one type are ordered: by `prefix` first, an unsigned number that never contradicts
/// the key order, then, unless `kPrefixDecides`, by the keys themselves.
template <class Key>
struct KeyOrder;

template <>
struct KeyOrder<std::int64_t> {
  using View = std::int64_t;
  static constexpr bool kPrefixDecides = true;
  static std::uint64_t prefix(View key) noexcept {
    return static_cast<std::uint64_t>(key) ^ (std::uint64_t{1} << 63);
  }
};

/// Byte-wise: bytes compare as unsigned numbers, and a key that starts another one comes first.
template <>
struct KeyOrder<std::string> {
  using View = std::string_view;
  static constexpr bool kPrefixDecides = false;
  /// The first eight bytes, with zeros behind a shorter key.
  static std::uint64_t prefix(View key) noexcept {
    const char* const bytes = key.data();
    const std::size_t size = key.size();
    const auto at = [bytes](std::size_t i) {
      return std::uint64_t{static_cast<unsigned char>(bytes[i])} << (56 - 8 * i);
    };
    // Shorter keys are put together from parts that may overlap.
    if (size >= 8) return detail::loadBigEndian<std::uint64_t>(bytes);
    if (size >= 4) {
      return std::uint64_t{detail::loadBigEndian<std::uint32_t>(bytes)} << 32 |
             std::uint64_t{detail::loadBigEndian<std::uint32_t>(bytes + size - 4)}
                 << (64 - 8 * size);
    }
    return size == 0 ? 0 : at(0) | at(size / 2) | at(size - 1);
  }
};

/// A key that is searched for. Most comparisons with others are of the prefixes alone.
template <class Key>
struct KeyProbe {
  using View = typename KeyOrder<Key>::View;
  std::uint64_t prefix;
  View key;

  explicit KeyProbe(View searched) noexcept
      : prefix(KeyOrder<Key>::prefix(searched)), key(searched) {}
  bool isBelow(View other) const noexcept {
    const std::uint64_t otherPrefix = KeyOrder<Key>::prefix(other);
    if (KeyOrder<Key>::kPrefixDecides || prefix != otherPrefix) return prefix < otherPrefix;
    return key < other;
  }
};

/// A B+ tree of pointers to elements (`element->first` is the key), with the prefixes of their
/// keys, so that most comparisons stay inside one page. It owns its pages, never the elements; the
/// keys of the elements in it are distinct.
///
/// Insertion and removal are logarithmic whatever the keys. Pages never merge: a page is released
/// when its last entry goes, so the memory is bounded by the largest size the index had.
template <class Key, class Element>
class OrderedIndex {
 private:
  struct Page;

 public:
  using View = typename KeyOrder<Key>::View;

  /// Where a search ended: if `after` is not 0, a new key belongs into this leaf, behind so many of
  /// its entries; otherwise in front of all others. Any change of the index makes it worthless.
  struct Place {
    Page* leaf = nullptr;
    std::uint32_t after = 0;
  };

  OrderedIndex() = default;
  OrderedIndex(const OrderedIndex&) = delete;
  OrderedIndex& operator=(const OrderedIndex&) = delete;
  ~OrderedIndex() { clear(); }

  bool empty() const noexcept { return root_ == nullptr; }

  /// The element with the greatest key that is not above `key`, or null.
  Element* floor(View key) const noexcept {
    Place place;
    return floor(key, place);
  }
  /// The same, and the place of the key.
  Element* floor(View key, Place& place) const noexcept {
    const Probe probe(key);
    for (Page* page = root_; page != nullptr; page = page->children()[place.after - 1]) {
      place = {page, upperBound(page, probe)};
      if (place.after == 0) return nullptr;
      if (page->height == 0) return page->elements()[place.after - 1];
    }
    return nullptr;
  }

  /// The element with this key, or null.
  Element* find(View key) const noexcept {
    const Probe probe(key);
    const Page* page = root_;
    while (page != nullptr && page->height > 0) {
      const std::uint32_t after = upperBound(page, probe);
      page = after == 0 ? nullptr : page->children()[after - 1];
    }
    return page == nullptr ? nullptr : findInLeaf(page, probe);
  }

  /// Adds `element`, whose key must not be there yet. When memory runs out nothing has changed.
  /// `place` is where the search for the key ended, or a place of its own.
  void insert(Element* element, const Place& place = {}) {
    const Probe probe(element->first);
    if (place.leaf != nullptr && place.after > 0 && !place.leaf->full()) {
      place.leaf->insertAt(place.after, {probe.prefix, element, nullptr});
      return;
    }
    makeRoom(probe);
    enter(element, probe);
  }

  /// Takes out the element with this key, which must be there (and still alive).
  void erase(View key) noexcept {
    const Probe probe(key);
    Step path[kMaxHeight];
    std::size_t depth = 0;
    for (Page* page = root_;; page = page->children()[path[depth++].slot]) {
      path[depth] = {page, upperBound(page, probe) - 1};
      if (page->height == 0) break;
    }
    depth = removeEmptied(path, depth);
    if (root_ == nullptr) return;
    refreshLows(path, depth);
    dropIdleRoots();
  }

  void clear() noexcept {
    if (root_ != nullptr) release(root_);
    root_ = nullptr;
  }

 private:
  static constexpr std::uint32_t kFanout = 64;
  static constexpr std::uint32_t kFirstCapacity = 8;
  // A page is born with half of kFanout entries at least, so a tree this high would have seen
  // 32^15 insertions, more than a machine does in its life.
  static constexpr std::size_t kMaxHeight = 16;

  using Probe = KeyProbe<Key>;

  struct Entry {
    std::uint64_t prefix;
    Element* element;
    Page* child;  // null in a leaf
  };

  /// What a page holds of its entries, in ascending order, follows it in memory: all prefixes, all
  /// elements and, above the leaves (height 0), all child pages. The entry of a child is the lowest
  /// one below it.
  struct Page {
    std::uint32_t count;
    std::uint16_t capacity;
    std::uint16_t height;
    std::uint64_t* prefixes() const noexcept {
      return reinterpret_cast<std::uint64_t*>(const_cast<Page*>(this) + 1);
    }
    Element** elements() const noexcept {
      return reinterpret_cast<Element**>(prefixes() + capacity);
    }
    Page** children() const noexcept { return reinterpret_cast<Page**>(elements() + capacity); }
    bool full() const noexcept { return count == capacity; }

    /// Calls `move` for each of the parallel arrays.
    template <class Move>
    void each(const Page* other, Move move) noexcept {
      move(prefixes(), other->prefixes());
      move(elements(), other->elements());
      if (height > 0) move(children(), other->children());
    }
    Entry entry(std::uint32_t slot) const noexcept {
      return {prefixes()[slot], elements()[slot], height > 0 ? children()[slot] : nullptr};
    }
    /// The child of the slot stays.
    void setLow(std::uint32_t slot, const Entry& low) noexcept {
      prefixes()[slot] = low.prefix;
      elements()[slot] = low.element;
    }
    void insertAt(std::uint32_t slot, const Entry& entry) noexcept {
      each(this,
           [&](auto* own, auto*) { std::copy_backward(own + slot, own + count, own + count + 1); });
      ++count;
      setLow(slot, entry);
      if (height > 0) children()[slot] = entry.child;
    }
    void removeAt(std::uint32_t slot) noexcept {
      each(this, [&](auto* own, auto*) { std::copy(own + slot + 1, own + count, own + slot); });
      --count;
    }
    /// Takes over the entries of `other` from `begin` to its end.
    void appendFrom(Page* other, std::uint32_t begin) noexcept {
      each(other, [&](auto* own, auto* theirs) {
        std::copy(theirs + begin, theirs + other->count, own + count);
      });
      count += other->count - begin;
      other->count = begin;
    }
  };
  static_assert(sizeof(Page) % alignof(std::uint64_t) == 0, "no gap between a page and its arrays");

  struct Step {
    Page* page;
    std::uint32_t slot;
  };

  static Page* newPage(std::uint16_t height, std::uint32_t capacity) {
    const std::size_t pointers = height > 0 ? 2 : 1;
    const std::size_t entry = sizeof(std::uint64_t) + pointers * sizeof(void*);
    return ::new (::operator new(sizeof(Page) + capacity * entry))
        Page{0, static_cast<std::uint16_t>(capacity), height};
  }

  // NOLINTNEXTLINE(misc-no-recursion): kMaxHeight bounds it
  static void release(Page* page) noexcept {
    for (std::uint32_t i = 0; page->height > 0 && i < page->count; ++i) {
      release(page->children()[i]);
    }
    ::operator delete(page);
  }

  /// How many of the ascending values are not above the limit. Every eighth value first, then
  /// those between two of them, without a jump that depends on a value: none can be foreseen.
  static std::uint32_t countNotAbove(const std::uint64_t* values, std::uint32_t count,
                                     std::uint64_t limit) noexcept {
    std::uint32_t result = 0;
    for (std::uint32_t i = 7; i < count; i += 8) result += values[i] <= limit ? 8 : 0;
    const std::uint32_t end = std::min(result + 7, count);
    for (std::uint32_t i = result; i < end; ++i) result += values[i] <= limit ? 1 : 0;
    return result;
  }

  /// How many entries of the page are not above the probe.
  static std::uint32_t upperBound(const Page* page, const Probe& probe) noexcept {
    const std::uint32_t after = countNotAbove(page->prefixes(), page->count, probe.prefix);
    if (KeyOrder<Key>::kPrefixDecides || !hasPrefixBefore(page, after, probe)) return after;
    if (!hasPrefixBefore(page, after - 1, probe)) {  // mostly there is one such entry
      return probe.key < View(page->elements()[after - 1]->first) ? after - 1 : after;
    }
    return upperBoundOfEqual(page, after, probe);
  }

  static Element* findInLeaf(const Page* page, const Probe& probe) noexcept {
    std::uint32_t after = countNotAbove(page->prefixes(), page->count, probe.prefix);
    if (!hasPrefixBefore(page, after, probe)) return nullptr;
    if (!KeyOrder<Key>::kPrefixDecides && hasPrefixBefore(page, after - 1, probe)) {
      after = upperBoundOfEqual(page, after, probe);
      if (!hasPrefixBefore(page, after, probe)) return nullptr;
    }
    Element* const element = page->elements()[after - 1];
    return View(element->first) == probe.key ? element : nullptr;
  }

  /// Whether there is an entry before the slot, with the prefix of the probe.
  static bool hasPrefixBefore(const Page* page, std::uint32_t slot, const Probe& probe) noexcept {
    return slot > 0 && page->prefixes()[slot - 1] == probe.prefix;
  }

  /// upperBound() when the last entries before `after` have the prefix of the probe.
  static std::uint32_t upperBoundOfEqual(const Page* page, std::uint32_t after,
                                         const Probe& probe) noexcept {
    const std::uint64_t* const prefixes = page->prefixes();
    const auto* first = std::lower_bound(prefixes, prefixes + after, probe.prefix);
    Element** const elements = page->elements();
    const auto above = [](View key, const Element* element) { return key < View(element->first); };
    Element** const end =
        std::upper_bound(elements + (first - prefixes), elements + after, probe.key, above);
    return static_cast<std::uint32_t>(end - elements);
  }

  static std::uint32_t childSlot(const Page* page, const Probe& probe) noexcept {
    return std::max(upperBound(page, probe), std::uint32_t{1}) - 1;
  }

  /// Splits every full page on the way to the probe's place. Each split leaves the tree in order,
  /// so that running out of memory half-way does no harm.
  void makeRoom(const Probe& probe) {
    if (root_ == nullptr) root_ = newPage(0, kFirstCapacity);
    if (root_->full()) growRoot();
    for (Page* page = root_; page->height > 0;) {
      std::uint32_t slot = childSlot(page, probe);
      if (page->children()[slot]->full()) {
        split(page, slot);
        slot = childSlot(page, probe);
      }
      page = page->children()[slot];
    }
  }

  /// A small leaf becomes a larger one; a page of full size gets a root above it.
  void growRoot() {
    if (root_->capacity < kFanout) {
      Page* larger = newPage(0, root_->capacity * 2u);
      larger->appendFrom(root_, 0);
      ::operator delete(root_);
      root_ = larger;
      return;
    }
    Page* top = newPage(static_cast<std::uint16_t>(root_->height + 1), kFanout);
    top->insertAt(0, {root_->prefixes()[0], root_->elements()[0], root_});
    root_ = top;
    split(top, 0);
  }

  static void split(Page* parent, std::uint32_t slot) {
    Page* left = parent->children()[slot];
    Page* right = newPage(left->height, kFanout);
    right->appendFrom(left, left->count / 2);
    parent->insertAt(slot + 1, {right->prefixes()[0], right->elements()[0], right});
  }

  /// There is room for the new entry.
  void enter(Element* element, const Probe& probe) noexcept {
    const Entry entry{probe.prefix, element, nullptr};
    Page* page = root_;
    while (page->height > 0) {
      std::uint32_t after = upperBound(page, probe);
      if (after == 0) {
        page->setLow(0, entry);  // the new lowest entry of the whole subtree
        after = 1;
      }
      page = page->children()[after - 1];
    }
    page->insertAt(upperBound(page, probe), entry);
  }

  /// Removes the entry at the end of the path, and the pages that this leaves empty; returns the
  /// depth of the lowest page on the path that lives on.
  std::size_t removeEmptied(const Step* path, std::size_t depth) noexcept {
    for (;; --depth) {
      Page* page = path[depth].page;
      page->removeAt(path[depth].slot);
      if (page->count > 0) return depth;
      ::operator delete(page);
      if (depth == 0) {
        root_ = nullptr;
        return 0;
      }
    }
  }

  /// Where the first entry of a page went, the pages above name the new first one.
  static void refreshLows(const Step* path, std::size_t depth) noexcept {
    for (; depth > 0 && path[depth].slot == 0; --depth) {
      path[depth - 1].page->setLow(path[depth - 1].slot, path[depth].page->entry(0));
    }
  }

  void dropIdleRoots() noexcept {
    while (root_->height > 0 && root_->count == 1) {
      Page* only = root_->children()[0];
      ::operator delete(root_);
      root_ = only;
    }
  }

  Page* root_ = nullptr;
};

}  // namespace vexo::variant

#endif
