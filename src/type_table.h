// What the library knows about each type code.
#ifndef VEXO_VARIANT_SRC_TYPE_TABLE_H
#define VEXO_VARIANT_SRC_TYPE_TABLE_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "vexo_variant/variant.h"

namespace vexo::variant {

constexpr std::uint32_t kNumericBit = 0x4000;
constexpr std::uint32_t kHeapBit = 0x1000;

constexpr bool isHeapType(std::uint32_t type) { return (type & kHeapBit) != 0; }
constexpr bool isNumericType(std::uint32_t type) { return (type & kNumericBit) != 0; }
constexpr bool isMapType(std::uint32_t type) { return type == V_MAP || type == V_TYPED_MAP; }
constexpr bool isSignedInteger(std::uint32_t type) { return type >= V_INT8 && type <= V_INT64; }
constexpr bool isUnsignedInteger(std::uint32_t type) { return type >= V_UINT8 && type <= V_UINT64; }
constexpr bool isInteger(std::uint32_t type) {
  return isSignedInteger(type) || isUnsignedInteger(type);
}
/// Integers, booleans and null.
constexpr bool readsAsInteger(std::uint32_t type) {
  return isInteger(type) || type == V_BOOL || type == V_NULL;
}

struct TypeInfo {
  std::uint32_t code;
  const char* name;
  std::uint8_t binBody;  ///< the most bytes that the BIN body of an inline type takes
  std::uint8_t width;    ///< the bytes of the integer in the payload; 0 where there is none
};

/// Indexed by the ordinal, the low byte of the code.
constexpr std::array<TypeInfo, 18> kTypes{{{0, "unknown", 0, 0},
                                           {V_NULL, "NULL", 0, 0},
                                           {0, "unknown", 0, 0},
                                           {V_BOOL, "BOOL", 1, 1},
                                           {V_INT8, "INT8", 1, 1},
                                           {V_INT16, "INT16", 2, 2},
                                           {V_INT32, "INT32", 4, 4},
                                           {V_INT64, "INT64", 8, 8},
                                           {V_UINT8, "UINT8", 1, 1},
                                           {V_UINT16, "UINT16", 3, 2},
                                           {V_UINT32, "UINT32", 5, 4},
                                           {V_UINT64, "UINT64", 8, 8},
                                           {V_DOUBLE, "DOUBLE", 8, 0},
                                           {V_TIMESTAMP, "TIMESTAMP", 12, 0},
                                           {V_STRING, "STRING", 0, 0},
                                           {V_BINARY, "BINARY", 0, 0},
                                           {V_MAP, "MAP", 0, 0},
                                           {V_TYPED_MAP, "TYPED_MAP", 0, 0}}};

/// The entry of a type that a value can have, or null.
constexpr const TypeInfo* findType(std::uint32_t code) {
  const std::size_t ordinal = code & 0xFF;
  return code != 0 && ordinal < kTypes.size() && kTypes[ordinal].code == code ? &kTypes[ordinal]
                                                                              : nullptr;
}

/// The code as callers see it. A wider one is that of a damaged value, and none of theirs.
constexpr VariantType callersType(std::uint32_t code) {
  return code <= 0xFFFF ? static_cast<VariantType>(code) : VariantType{};
}

constexpr bool tableIsInOrder() {
  for (std::size_t i = 0; i < kTypes.size(); ++i) {
    if (kTypes[i].code != 0 && (kTypes[i].code & 0xFF) != i) return false;
  }
  return true;
}
static_assert(tableIsInOrder());

/// The type code of a value stored as T.
template <class T>
inline constexpr std::uint32_t kCodeOf = 0;
template <>
inline constexpr std::uint32_t kCodeOf<bool> = V_BOOL;
template <>
inline constexpr std::uint32_t kCodeOf<std::int8_t> = V_INT8;
template <>
inline constexpr std::uint32_t kCodeOf<std::int16_t> = V_INT16;
template <>
inline constexpr std::uint32_t kCodeOf<std::int32_t> = V_INT32;
template <>
inline constexpr std::uint32_t kCodeOf<std::int64_t> = V_INT64;
template <>
inline constexpr std::uint32_t kCodeOf<std::uint8_t> = V_UINT8;
template <>
inline constexpr std::uint32_t kCodeOf<std::uint16_t> = V_UINT16;
template <>
inline constexpr std::uint32_t kCodeOf<std::uint32_t> = V_UINT32;
template <>
inline constexpr std::uint32_t kCodeOf<std::uint64_t> = V_UINT64;
template <>
inline constexpr std::uint32_t kCodeOf<double> = V_DOUBLE;

}  // namespace vexo::variant

#endif
