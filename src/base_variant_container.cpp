// The base of record classes.
#include <utility>

#include "vexo_variant/variant.h"

namespace vexo::variant {

BaseVariantContainer::BaseVariantContainer() { IsArray(false); }
BaseVariantContainer::BaseVariantContainer(const Variant& other) : Variant(other) {}
BaseVariantContainer::BaseVariantContainer(Variant&& other) noexcept : Variant(std::move(other)) {}
BaseVariantContainer::~BaseVariantContainer() = default;

BaseVariantContainer& BaseVariantContainer::operator=(const Variant& other) {
  Variant::operator=(other);
  return *this;
}
BaseVariantContainer& BaseVariantContainer::operator=(Variant&& other) noexcept {
  Variant::operator=(std::move(other));
  return *this;
}

void BaseVariantContainer::NormalizeFields() {}

}  // namespace vexo::variant
