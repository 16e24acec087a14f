#include "json_reader.h"

#include <limits>

#include "json_parser.h"
#include "number_text.h"

namespace vexo::variant {

bool JsonReader::readValue() {
  Next next = Next::kValue;
  while (next != Next::kDone && next != Next::kStopped) next = step(next);
  return next == Next::kDone;
}

bool JsonReader::readText() {
  const JsonCursor start = cursor_;
  compact_ = true;
  if (readValue() && cursor_.skipGap()) return true;
  cursor_ = start;
  compact_ = false;
  target_.Reset();
  place_ = &target_;
  open_.truncate(0);
  addedUntil_ = std::numeric_limits<std::size_t>::max();
  return readValue() && cursor_.skipGap();
}

JsonReader::Next JsonReader::step(Next next) {
  switch (next) {
    case Next::kValue:
      if (!cursor_.skipGap()) return Next::kStopped;
      return isAddedTo() ? open() : gather();
    case Next::kAfterValue:
      if (open_.empty()) return Next::kDone;
      return cursor_.skipComma() ? Next::kItem : Next::kStopped;
    default:
      return cursor_.at(open_.top().isObject ? '}' : ']') ? close() : findPlace();
  }
}

/// Whether a container begins here that is added to.
bool JsonReader::isAddedTo() const {
  return opensContainer() && (isMap(*place_) || cursor_.position() < addedUntil_);
}

JsonReader::Next JsonReader::open() {
  open_.push({place_, cursor_.at('{')});
  cursor_.advance();
  return cursor_.skipGap() ? Next::kItem : Next::kStopped;
}

JsonReader::Next JsonReader::gather() {
  JsonCursor ahead = cursor_;
  if (!tree_) tree_.emplace(TreeGatherer::IntegersMake::kObjects);
  if (gatherJson(ahead, *tree_, compact_)) {
    cursor_ = ahead;
    const Held value = tree_->result();
    if (value.type != V_NULL) replace(*place_, value);
    return Next::kAfterValue;
  }
  tree_.reset();
  addedUntil_ = ahead.position();
  const bool startsOver = compact_ && ahead.failed();
  if (opensContainer() && !startsOver) return Next::kValue;
  cursor_ = ahead;
  return Next::kStopped;
}

/// An empty container replaces anything but a map.
JsonReader::Next JsonReader::close() {
  const Container container = open_.top();
  if (!isMap(*container.value)) ensureMap(*container.value).isArray = !container.isObject;
  open_.pop();
  cursor_.advance();
  return Next::kAfterValue;
}

/// Finds the place of the next element or member, which is null if it is new.
JsonReader::Next JsonReader::findPlace() {
  Variant& container = *open_.top().value;
  if (!open_.top().isObject) {
    if (!cursor_.findElement()) return Next::kStopped;
    place_ = appendMember(container);
    if (place_ != nullptr) return Next::kValue;
    cursor_.fail("no key is left for another element");
    return Next::kStopped;
  }
  std::string_view name;
  if (!cursor_.readName(scratch_, name)) return Next::kStopped;
  std::int64_t key = 0;
  place_ = parseIntegerName(name, key) ? &memberAt(container, key) : &memberAt(container, name);
  return cursor_.skipColon() ? Next::kValue : Next::kStopped;
}

}  // namespace vexo::variant
