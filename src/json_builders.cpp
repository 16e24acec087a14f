#include "json_builders.h"

#include <algorithm>
#include <memory>

#include "number_text.h"
#include "scalar_text.h"

namespace vexo::variant {

bool DirectJsonBuilder::close() {
  const Container container = open_.top();
  if (!isMap(*container.value)) ensureMap(*container.value).isArray = !container.isObject;
  open_.pop();
  return true;
}

bool DirectJsonBuilder::element() {
  target_ = appendMember(*open_.top().value);
  return target_ != nullptr;
}

void DirectJsonBuilder::name(std::string_view text, bool) {
  Variant& object = *open_.top().value;
  std::int64_t key = 0;
  target_ = parseIntegerName(text, key) ? &memberAt(object, key) : &memberAt(object, text);
}

void DirectJsonBuilder::text(std::string_view text) { assignText(*target_, text); }

void GatheringJsonBuilder::text(std::string_view text) {
  Held& value = values_.push(Held{});
  value = holdMarkedText(text);
}

void GatheringJsonBuilder::name(std::string_view text, bool lasting) {
  Container& object = open_.top();
  Name name{0, nullptr, 0, names_.size() - object.firstName};
  std::int64_t key = 0;
  if (parseIntegerName(text, key)) {
    name.order = KeyOrder<std::int64_t>::prefix(key);
  } else {
    if (!lasting) text = decodedNames_.emplace_front(text);
    name.order = KeyOrder<std::string>::prefix(text);
    name.data = text.data();
    name.size = text.size();
  }
  if (object.isSorted && names_.size() > object.firstName) object.isSorted = names_.top() < name;
  names_.push(name);
}

bool GatheringJsonBuilder::close() {
  const Container container = open_.top();
  if (container.isObject && !container.isSorted && !sortNames(container)) return false;
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

/// False when a name is repeated.
[[gnu::noinline]] bool GatheringJsonBuilder::sortNames(const Container& object) {
  Name* const begin = names_.begin() + object.firstName;
  std::sort(begin, names_.end());
  const auto notBelow = [](const Name& a, const Name& b) { return !(a < b); };
  return std::adjacent_find(begin, names_.end(), notBelow) == names_.end();
}

void GatheringJsonBuilder::fillArray(VariantMap& map, const Container& array) {
  const std::size_t count = values_.size() - array.firstValue;
  map.isArray = 1;
  map.numericKeys.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    moveTo(map.numericKeys.append(static_cast<std::int64_t>(i)), array.firstValue + i);
  }
}

void GatheringJsonBuilder::fillObject(VariantMap& map, const Container& object) {
  Name* const begin = names_.begin() + object.firstName;
  Name* const strings =
      std::partition_point(begin, names_.end(), [](const Name& name) { return name.isInteger(); });
  map.numericKeys.reserve(static_cast<std::size_t>(strings - begin));
  map.stringKeys.reserve(static_cast<std::size_t>(names_.end() - strings));
  for (const Name* name = begin; name != strings; ++name) {
    moveTo(map.numericKeys.append(name->integer()), object.firstValue + name->value);
  }
  for (const Name* name = strings; name != names_.end(); ++name) {
    moveTo(map.stringKeys.append(name->text()), object.firstValue + name->value);
  }
}

void GatheringJsonBuilder::moveTo(Variant& member, std::size_t value) {
  put(member, values_[value]);
  values_[value] = Held{};
}

Held GatheringJsonBuilder::take() {
  const Held value = values_.top();
  values_.pop();
  return value;
}

[[gnu::noinline]] void GatheringJsonBuilder::release(std::size_t first) noexcept {
  for (; values_.size() > first; values_.pop()) {
    Variant value;
    put(value, values_.top());
  }
}

}  // namespace vexo::variant
