// The library's own view of what a value holds.
#ifndef VEXO_VARIANT_SRC_VARIANT_ACCESS_H
#define VEXO_VARIANT_SRC_VARIANT_ACCESS_H

#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "type_table.h"
#include "vexo_variant/variant.h"

namespace vexo::variant {

struct VariantAccess {
  using Payload = Variant::Payload;

  static std::uint32_t& type(Variant& value) { return value.type_; }
  static std::uint32_t type(const Variant& value) { return value.type_; }
  static Payload& payload(Variant& value) { return value.payload_; }
  static const Payload& payload(const Variant& value) { return value.payload_; }
};

using Payload = VariantAccess::Payload;

/// A type and its payload without a value around them: what readers keep on their stacks. Whoever
/// holds one owns the record behind it.
struct Held {
  std::uint32_t type = V_NULL;
  Payload payload = {0};
};

inline std::uint32_t typeOf(const Variant& value) { return VariantAccess::type(value); }
inline const Payload& payloadOf(const Variant& value) { return VariantAccess::payload(value); }
inline bool isMap(const Variant& value) { return isMapType(typeOf(value)); }

/// The record of a value that is known to be a map.
inline VariantMap& mapOf(Variant& value) { return *payloadOf(value).map; }
inline const VariantMap& mapOf(const Variant& value) { return *payloadOf(value).map; }

/// An inline value stored at the start of the payload, at its own width.
template <class T>
T load(const Payload& payload) {
  T value;
  std::memcpy(&value, &payload, sizeof value);
  return value;
}

template <class T>
Held hold(T value) {
  Held held{kCodeOf<T>, {0}};
  std::memcpy(&held.payload, &value, sizeof value);
  return held;
}

inline Held holdRecord(VariantType type, VariantMap* map) {
  Held held{type, {0}};
  held.payload.map = map;
  return held;
}

inline Held holdRecord(std::string* string) {
  Held held{V_STRING, {0}};
  held.payload.string = string;
  return held;
}

inline Held holdText(std::string_view text) { return holdRecord(new std::string(text)); }

inline Held holdRecord(timeval* timestamp) {
  Held held{V_TIMESTAMP, {0}};
  held.payload.timestamp = timestamp;
  return held;
}

inline Held holdRecord(VariantBuffer* buffer) {
  Held held{V_BINARY, {0}};
  held.payload.buffer = buffer;
  return held;
}

/// Gives a value without a record (null or inline) what `held` holds.
inline void put(Variant& value, const Held& held) noexcept {
  VariantAccess::type(value) = held.type;
  VariantAccess::payload(value) = held.payload;
}

/// Takes what a value holds out of it; it is null with a zero payload then.
inline Held take(Variant& value) noexcept {
  const Held held{typeOf(value), payloadOf(value)};
  put(value, Held{});
  return held;
}

/// Gives the value new content; the old one is released last, since the new one may have been made
/// from it.
inline void replace(Variant& value, const Held& held) {
  Variant old(std::move(value));
  put(value, held);
}

/// The bits of a payload that an integer of `width` bytes does not take.
constexpr unsigned unusedBits(std::uint8_t width) { return 64 - 8 * unsigned{width}; }
constexpr bool kIntegersComeFirst = std::endian::native == std::endian::big;

/// The integer of a null, boolean or integer value, extended to 64 bits by its own signedness.
/// Any other type gives 0.
inline std::uint64_t integerBits(std::uint32_t type, const Payload& payload) {
  if (!isInteger(type) && type != V_BOOL) return 0;
  const unsigned unused = unusedBits(kTypes[type & 0xFF].width);
  const std::uint64_t bits = load<std::uint64_t>(payload) << (kIntegersComeFirst ? 0 : unused);
  return isSignedInteger(type)
             ? static_cast<std::uint64_t>(static_cast<std::int64_t>(bits) >> unused)
             : bits >> unused;
}

/// A value of an integer type from the low bits of an integer.
inline Held holdInteger(std::uint32_t type, std::uint64_t integer) {
  const unsigned unused = unusedBits(kTypes[type & 0xFF].width);
  const std::uint64_t bits = integer << unused;
  return {type, {kIntegersComeFirst ? bits : bits >> unused}};
}

inline std::uint64_t integerBits(const Variant& value) {
  return integerBits(typeOf(value), payloadOf(value));
}

/// An owned buffer of `size` bytes with unspecified content; `data` is null when `size` is 0.
std::unique_ptr<VariantBuffer> newBuffer(std::uint32_t size);
/// The record of an owned buffer goes with its bytes; null is nothing.
void deleteBuffer(VariantBuffer* buffer) noexcept;

/// The member under an integer key, -1 having no special meaning, created as null if there is none;
/// a value that is not a map becomes an empty one first.
Variant& memberAt(Variant& value, std::int64_t key);
/// The same for a string key.
Variant& memberAt(Variant& value, std::string_view key);
/// Appends a null element, or returns null when there is no integer left for its key.
Variant* appendMember(Variant& value);

/// The value's record as a map after turning anything else into an empty map.
VariantMap& ensureMap(Variant& value);

}  // namespace vexo::variant

#endif
