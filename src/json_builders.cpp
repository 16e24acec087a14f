#include "json_builders.h"

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
  tree_.addMade([text] { return holdMarkedText(text); });
}

void GatheringJsonBuilder::name(std::string_view text, bool lasting) {
  std::int64_t key = 0;
  if (parseIntegerName(text, key)) {
    tree_.name(key);
  } else {
    tree_.name(lasting ? text : tree_.keep(text));
  }
}

}  // namespace vexo::variant
