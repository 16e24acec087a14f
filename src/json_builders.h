// What becomes of the values that a JsonParser finds: two ways to the same tree.
#ifndef VEXO_VARIANT_SRC_JSON_BUILDERS_H
#define VEXO_VARIANT_SRC_JSON_BUILDERS_H

#include <cstdint>
#include <forward_list>
#include <string>
#include <string_view>

#include "compaction.h"
#include "pod_stack.h"
#include "variant_access.h"

namespace vexo::variant {

/// Adds each value to the tree as it comes. This defines what a text means: how repeated names meet
/// what stands there already, and what is left of a tree after a failure.
class DirectJsonBuilder {
 public:
  explicit DirectJsonBuilder(Variant& target) : target_(&target) {}

  std::size_t depth() const { return open_.size(); }
  bool inObject() { return open_.top().isObject; }

  void openArray() { open_.push({target_, false}); }
  void openObject() { open_.push({target_, true}); }
  /// An empty container replaces anything but a map.
  bool close();
  bool element();
  void name(std::string_view text, bool lasting);

  void null() {}
  void boolean(bool value) { *target_ = value; }
  void number(const Held& value) { replace(*target_, value); }
  void text(std::string_view text);

 private:
  struct Container {
    Variant* value;
    bool isObject;
  };

  Variant* target_;  // where the next value goes
  PodStack<Container, 32> open_;
};

/// Gathers the values of each container on a stack and builds its map at once when it closes. Gives
/// up when a name is repeated within an object: then, and when a text does not parse, the work is
/// done again by a DirectJsonBuilder.
class GatheringJsonBuilder {
 public:
  explicit GatheringJsonBuilder(bool compact) : compact_(compact) {}
  GatheringJsonBuilder(const GatheringJsonBuilder&) = delete;
  GatheringJsonBuilder& operator=(const GatheringJsonBuilder&) = delete;
  ~GatheringJsonBuilder() { release(0); }

  std::size_t depth() const { return open_.size(); }
  bool inObject() { return open_.top().isObject; }

  void openArray() { open_.push({values_.size(), names_.size(), false}); }
  void openObject() { open_.push({values_.size(), names_.size(), true}); }
  bool close();
  bool element() { return true; }
  /// `lasting` tells that the text is a part of the input.
  void name(std::string_view text, bool lasting);

  void null() { values_.push(Held{}); }
  void boolean(bool value) { values_.push(hold(value)); }
  void number(const Held& value) { values_.push(compact_ ? compacted(value) : value); }
  void text(std::string_view text);

  /// The finished value.
  Held take();

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
    std::uint8_t places[kMost];
  };
  static constexpr std::size_t kLastOrders = 16;

  bool orderNames(const Container& object);
  bool sortNames(const Name* names, LastOrder& last);
  bool isAscending(const Name* names) const;
  void fillArray(VariantMap& map, const Container& array);
  void fillObject(VariantMap& map, const Container& object);
  void moveTo(Variant& member, std::size_t value);
  void release(std::size_t first) noexcept;

  const bool compact_;
  PodStack<Held, 64> values_;
  PodStack<Name, 32> names_;
  PodStack<Container, 16> open_;
  std::forward_list<std::string> decodedNames_;
  PodStack<std::uint32_t, LastOrder::kMost> order_;  // the places of names, ascending by name
  LastOrder lastOrders_[kLastOrders];                // by the lowest bits of their counts
};

}  // namespace vexo::variant

#endif
