#include "tree_gatherer.h"

#include <algorithm>
#include <memory>
#include <numeric>

namespace vexo::variant {

[[gnu::noinline]] bool TreeGatherer::close() {
  const Container container = open_.top();
  if (container.isObject && !orderNames(container)) return false;
  auto map = std::make_unique<VariantMap>();
  if (container.isObject) {
    fillObject(*map, container);
  } else {
    fillArray(*map, container);
  }
  values_.truncate(container.firstValue);
  names_.truncate(container.firstName);
  open_.pop();
  Held& value = values_.push(Held{});
  value = holdRecord(V_MAP, map.release());
  return true;
}

/// What is remembered of the last object with the same first name and as many names.
TreeGatherer::LastOrder& TreeGatherer::lastOrderOf(const Name& first, std::size_t count) {
  constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15;
  return lastOrders_[((first.order ^ count) * kSpread) >> (64 - kLastOrderBits)];
}

/// Finds the order of the object's names; false when one is repeated. Objects of a kind mostly give
/// their names in the same order, so what was right for the last object of this kind is tried
/// first.
bool TreeGatherer::orderNames(const Container& object) {
  const Name* const names = names_.begin() + object.firstName;
  const std::size_t count = names_.size() - object.firstName;
  order_.truncate(0);
  if (count == 0) return true;
  LastOrder& last = lastOrderOf(names[0], count);
  std::uint32_t* const order = order_.pushMany(count);
  if (last.count == count) {
    std::copy_n(last.places, count, order);
  } else {
    std::iota(order, order + count, std::uint32_t{0});
  }
  return isAscending(names) || sortNames(names, last);
}

/// Sorts the places in order_; false when a name is repeated.
[[gnu::noinline]] bool TreeGatherer::sortNames(const Name* names, LastOrder& last) {
  const std::size_t count = order_.size();
  std::sort(order_.begin(), order_.end(),
            [names](std::uint32_t a, std::uint32_t b) { return names[a] < names[b]; });
  if (!isAscending(names)) return false;
  if (count > LastOrder::kMost) return true;
  last.count = static_cast<std::uint8_t>(count);
  std::copy(order_.begin(), order_.end(), last.places);
  return true;
}

/// Whether the names in the order that is supposed rise, without any twice.
bool TreeGatherer::isAscending(const Name* names) const {
  for (std::size_t i = 1; i < order_.size(); ++i) {
    if (!(names[order_[i - 1]] < names[order_[i]])) return false;
  }
  return true;
}

void TreeGatherer::fillArray(VariantMap& map, const Container& array) {
  map.isArray = 1;
  map.numericKeys.build(
      values_.size() - array.firstValue, [](std::size_t i) { return static_cast<std::int64_t>(i); },
      [&](std::size_t i, Variant& member) { moveTo(member, array.firstValue + i); });
}

void TreeGatherer::fillObject(VariantMap& map, const Container& object) {
  const Name* const names = names_.begin() + object.firstName;
  const std::uint32_t* const integers = order_.begin();
  const std::uint32_t* const texts = std::partition_point(
      order_.begin(), order_.end(), [names](std::uint32_t i) { return names[i].isInteger(); });
  if (integersMake_ == IntegersMake::kArrays && texts != integers) map.isArray = 1;
  map.numericKeys.build(
      static_cast<std::size_t>(texts - integers),
      [&](std::size_t i) { return names[integers[i]].integer(); },
      [&](std::size_t i, Variant& member) { moveTo(member, object.firstValue + integers[i]); });
  map.stringKeys.build(
      static_cast<std::size_t>(order_.end() - texts),
      [&](std::size_t i) { return names[texts[i]].text(); },
      [&](std::size_t i, Variant& member) { moveTo(member, object.firstValue + texts[i]); });
}

void TreeGatherer::moveTo(Variant& member, std::size_t value) {
  put(member, values_[value]);
  values_[value] = Held{};
}

Held TreeGatherer::result() {
  const Held value = values_.top();
  values_.pop();
  return value;
}

[[gnu::noinline]] void TreeGatherer::release(std::size_t first) noexcept {
  for (; values_.size() > first; values_.pop()) {
    Variant value;
    put(value, values_.top());
  }
}

}  // namespace vexo::variant
