// Assignment operators: the new content is built before the old one is released, because it may be
// made from a part of it; a failed build leaves null.
#include <utility>

#include "variant_access.h"

namespace vexo::variant {

namespace {

template <class T>
Variant& assignInline(Variant& target, T value) noexcept {
  if (isHeapType(typeOf(target))) target.Free();
  put(target, hold(value));
  return target;
}

template <class Record, class Source>
Variant& assignRecord(Variant& target, const Source& source) {
  Variant old(std::move(target));
  put(target, holdRecord(new Record(source)));  // NOLINT(bugprone-use-after-move): it is null
  return target;
}

}  // namespace

Variant& Variant::operator=(bool value) noexcept { return assignInline(*this, value); }
Variant& Variant::operator=(std::int8_t value) noexcept { return assignInline(*this, value); }
Variant& Variant::operator=(std::int16_t value) noexcept { return assignInline(*this, value); }
Variant& Variant::operator=(std::int32_t value) noexcept { return assignInline(*this, value); }
Variant& Variant::operator=(std::int64_t value) noexcept { return assignInline(*this, value); }
Variant& Variant::operator=(std::uint8_t value) noexcept { return assignInline(*this, value); }
Variant& Variant::operator=(std::uint16_t value) noexcept { return assignInline(*this, value); }
Variant& Variant::operator=(std::uint32_t value) noexcept { return assignInline(*this, value); }
Variant& Variant::operator=(std::uint64_t value) noexcept { return assignInline(*this, value); }
Variant& Variant::operator=(double value) noexcept { return assignInline(*this, value); }

Variant& Variant::operator=(const timeval& value) { return assignRecord<timeval>(*this, value); }
Variant& Variant::operator=(const std::string& value) {
  return assignRecord<std::string>(*this, value);
}
Variant& Variant::operator=(const char* value) {
  return value == nullptr ? Reset() : assignRecord<std::string>(*this, value);
}

Variant& Variant::operator=(const Variant& other) {
  if (this != &other) {
    const Variant old(std::move(*this));
    Copy(other);
  }
  return *this;
}

Variant& Variant::operator=(Variant&& other) noexcept {
  if (this != &other) replace(*this, take(other));
  return *this;
}

}  // namespace vexo::variant
