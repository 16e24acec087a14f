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

/// A B+ tree of pointers to elements (`element->first` is the key), each beside the prefix of its
/// key, so that most comparisons stay inside one page. It owns its pages, never the elements; the
/// keys of the elements in it are distinct.
///
/// Insertion and removal are logarithmic whatever the keys. Pages never merge: a page is released
/// when its last entry goes, so the memory is bounded by the largest size the index had.
template <class Key, class Element>
class OrderedIndex {
 public:
  using View = typename KeyOrder<Key>::View;

  OrderedIndex() = default;
  OrderedIndex(const OrderedIndex&) = delete;
  OrderedIndex& operator=(const OrderedIndex&) = delete;
  ~OrderedIndex() { clear(); }

  bool empty() const noexcept { return root_ == nullptr; }

  /// The element with the greatest key that is not above `key`, or null.
  Element* floor(View key) const noexcept {
    const Probe probe{KeyOrder<Key>::prefix(key), key};
    const Page* page = root_;
    while (page != nullptr) {
      const std::uint32_t after = upperBound(page, probe);
      if (after == 0) return nullptr;
      if (page->height == 0) return page->entries()[after - 1].element;
      page = page->children()[after - 1];
    }
    return nullptr;
  }

  /// Adds `element`, whose key must not be there yet. When memory runs out nothing has changed.
  void insert(Element* element) {
    const Entry entry{KeyOrder<Key>::prefix(element->first), element};
    makeRoom(entry.probe());
    place(entry);
  }

  /// Takes out the element with this key, which must be there (and still alive).
  void erase(View key) noexcept {
    const Probe probe{KeyOrder<Key>::prefix(key), key};
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

  /// A key on its way down the tree.
  struct Probe {
    std::uint64_t prefix;
    View key;
  };

  struct Entry {
    std::uint64_t prefix;
    Element* element;
    Probe probe() const noexcept { return {prefix, element->first}; }
    bool above(const Probe& probe) const noexcept {
      if constexpr (KeyOrder<Key>::kPrefixDecides) {
        return prefix > probe.prefix;
      } else {
        return prefix != probe.prefix ? prefix > probe.prefix : View(element->first) > probe.key;
      }
    }
  };

  /// Entries in ascending order follow the page in memory; above the leaves (height 0) there is a
  /// child page for each entry, and the entry is the lowest one below that child.
  struct Page {
    std::uint32_t count;
    std::uint16_t capacity;
    std::uint16_t height;
    Entry* entries() const noexcept {
      return reinterpret_cast<Entry*>(const_cast<Page*>(this) + 1);
    }
    Page** children() const noexcept { return reinterpret_cast<Page**>(entries() + capacity); }
    bool full() const noexcept { return count == capacity; }

    void insertAt(std::uint32_t slot, const Entry& entry, Page* child) noexcept {
      std::copy_backward(entries() + slot, entries() + count, entries() + count + 1);
      entries()[slot] = entry;
      if (height > 0) {
        std::copy_backward(children() + slot, children() + count, children() + count + 1);
        children()[slot] = child;
      }
      ++count;
    }
    void removeAt(std::uint32_t slot) noexcept {
      std::copy(entries() + slot + 1, entries() + count, entries() + slot);
      if (height > 0) std::copy(children() + slot + 1, children() + count, children() + slot);
      --count;
    }
    /// Takes over the entries of `other` from `begin` to its end.
    void appendFrom(Page* other, std::uint32_t begin) noexcept {
      std::copy(other->entries() + begin, other->entries() + other->count, entries() + count);
      if (height > 0) {
        std::copy(other->children() + begin, other->children() + other->count, children() + count);
      }
      count += other->count - begin;
      other->count = begin;
    }
  };
  static_assert(sizeof(Page) % alignof(Entry) == 0, "entries follow the page without a gap");

  struct Step {
    Page* page;
    std::uint32_t slot;
  };

  static Page* newPage(std::uint16_t height, std::uint32_t capacity) {
    const std::size_t bytes =
        // NOLINTNEXTLINE(bugprone-sizeof-expression): a child is a pointer
        sizeof(Page) + capacity * (sizeof(Entry) + (height > 0 ? sizeof(Page*) : 0));
    return ::new (::operator new(bytes)) Page{0, static_cast<std::uint16_t>(capacity), height};
  }

  // NOLINTNEXTLINE(misc-no-recursion): kMaxHeight bounds it
  static void release(Page* page) noexcept {
    for (std::uint32_t i = 0; page->height > 0 && i < page->count; ++i) {
      release(page->children()[i]);
    }
    ::operator delete(page);
  }

  /// How many entries of the page are not above the probe.
  static std::uint32_t upperBound(const Page* page, const Probe& probe) noexcept {
    const Entry* first = page->entries();
    std::uint32_t count = page->count;
    while (count > 0) {
      const std::uint32_t half = count / 2;
      const bool right = !first[half].above(probe);
      first = right ? first + half + 1 : first;
      count = right ? count - half - 1 : half;
    }
    return static_cast<std::uint32_t>(first - page->entries());
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
    top->insertAt(0, root_->entries()[0], root_);
    root_ = top;
    split(top, 0);
  }

  static void split(Page* parent, std::uint32_t slot) {
    Page* left = parent->children()[slot];
    Page* right = newPage(left->height, kFanout);
    right->appendFrom(left, left->count / 2);
    parent->insertAt(slot + 1, right->entries()[0], right);
  }

  void place(const Entry& entry) noexcept {
    Page* page = root_;
    while (page->height > 0) {
      std::uint32_t after = upperBound(page, entry.probe());
      if (after == 0) {
        page->entries()[0] = entry;  // the new lowest entry of the whole subtree
        after = 1;
      }
      page = page->children()[after - 1];
    }
    page->insertAt(upperBound(page, entry.probe()), entry, nullptr);
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
      path[depth - 1].page->entries()[path[depth - 1].slot] = path[depth].page->entries()[0];
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
