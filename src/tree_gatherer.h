// Trees from values that come in the order of a text.
#ifndef VEXO_VARIANT_SRC_TREE_GATHERER_H
#define VEXO_VARIANT_SRC_TREE_GATHERER_H

#include <cstdint>
#include <forward_list>
#include <string>
#include <string_view>

#include "pod_stack.h"
#include "variant_access.h"

namespace vexo::variant {

/// Gathers the values of each container on a stack and builds its map at once when it closes, which
/// is several times as fast as adding them one by one. Names may come in any order, but not twice:
/// what that means is for the reader to say, which then does its work again in another way.
class TreeGatherer {
 public:
  /// What an object with integer names becomes.
  enum class IntegersMake { kObjects, kArrays };

  explicit TreeGatherer(IntegersMake integersMake) : integersMake_(integersMake) {}
  TreeGatherer(const TreeGatherer&) = delete;
  TreeGatherer& operator=(const TreeGatherer&) = delete;
  ~TreeGatherer() { release(0); }

  std::size_t depth() const { return open_.size(); }
  bool inObject() { return open_.top().isObject; }

  void openArray() { open_.push({values_.size(), names_.size(), false}); }
  void openObject() { open_.push({values_.size(), names_.size(), true}); }
  /// False when a name is repeated within the object.
  bool close();

  /// The name of the object's next value. A text must last until the object is closed.
  void name(std::int64_t key) { names_.push({KeyOrder<std::int64_t>::prefix(key), nullptr, 0}); }
  void name(std::string_view text) {
    names_.push({KeyOrder<std::string>::prefix(text), text.data(), text.size()});
  }
  /// A copy of a text that lasts.
  std::string_view keep(std::string_view text) { return keptTexts_.emplace_front(text); }

  /// Adds a value without a record.
  void add(const Held& value) { values_.push(value); }
  /// Adds what `make()` returns.
  template <class Make>
  void addMade(const Make& make) {
    Held& value = values_.push(Held{});
    value = make();
  }

  /// The finished value, which the caller owns.
  Held result();

 private:
  struct Container {
    std::size_t firstValue;
    std::size_t firstName;
    bool isObject;
  };

  /// The name of the value at the same place in an object; integer names (whose `data` is null)
  /// come before all others.
  struct Name {
    std::uint64_t order;  // the integer, or the first bytes of the text
    const char* data;
    std::size_t size;

    bool isInteger() const { return data == nullptr; }
    std::string_view text() const { return {data, size}; }
    std::int64_t integer() const { return static_cast<std::int64_t>(order ^ kSignBit); }
    bool operator<(const Name& other) const {
      if (isInteger() != other.isInteger()) return isInteger();
      if (order != other.order || isInteger()) return order < other.order;
      return text() < other.text();
    }
  };
  static constexpr std::uint64_t kSignBit = std::uint64_t{1} << 63;

  /// The order of an object's names that was found last.
  struct LastOrder {
    static constexpr std::size_t kMost = 64;
    std::uint8_t count = 0;
    std::uint8_t places[kMost];  // as many as `count` tells
  };
  static constexpr unsigned kLastOrderBits = 5;

  LastOrder& lastOrderOf(const Name& first, std::size_t count);
  bool orderNames(const Container& object);
  bool sortNames(const Name* names, LastOrder& last);
  bool isAscending(const Name* names) const;
  void fillArray(VariantMap& map, const Container& array);
  void fillObject(VariantMap& map, const Container& object);
  void moveTo(Variant& member, std::size_t value);
  void release(std::size_t first) noexcept;

  const IntegersMake integersMake_;
  PodStack<Held, 64> values_;
  PodStack<Name, 32> names_;
  PodStack<Container, 16> open_;
  std::forward_list<std::string> keptTexts_;
  PodStack<std::uint32_t, LastOrder::kMost> order_;  // the places of names, ascending by name
  LastOrder lastOrders_[1 << kLastOrderBits];        // by lastOrderOf()
};

}  // namespace vexo::variant

#endif
