// The smallest types for numbers.
#ifndef VEXO_VARIANT_SRC_COMPACTION_H
#define VEXO_VARIANT_SRC_COMPACTION_H

#include <array>
#include <bit>
#include <cstdint>
#include <initializer_list>

#include "variant_access.h"

namespace vexo::variant {

/// For each count of significant bits, the first of the types given that has room for them.
class TypesByWidth {
 public:
  struct Type {
    unsigned bits;
    VariantType code;
  };

  constexpr TypesByWidth(std::initializer_list<Type> types) {
    unsigned bits = 0;
    for (const Type& type : types) {
      while (bits <= type.bits) codes_[bits++] = type.code;
    }
  }
  std::uint32_t of(std::uint64_t bits) const {
    return codes_[static_cast<std::size_t>(std::bit_width(bits))];
  }

 private:
  std::array<std::uint16_t, 65> codes_{};
};

inline constexpr TypesByWidth kTypesOfPositive{{7, V_INT8},    {8, V_UINT8},  {15, V_INT16},
                                               {16, V_UINT16}, {31, V_INT32}, {32, V_UINT32},
                                               {63, V_INT64},  {64, V_UINT64}};
inline constexpr TypesByWidth kTypesOfNegative{
    {7, V_INT8}, {15, V_INT16}, {31, V_INT32}, {63, V_INT64}};

inline Held compactUnsigned(std::uint64_t value) {
  return holdInteger(kTypesOfPositive.of(value), value);
}

inline Held compactSigned(std::uint64_t value) {
  const bool isNegative = value >> 63 != 0;
  return isNegative ? holdInteger(kTypesOfNegative.of(~value), value) : compactUnsigned(value);
}

/// Only what comes back the same from an integer becomes one: not fractions, NaN or what is too
/// large.
inline Held compactDouble(double value) {
  constexpr double kSignedEnd = 9223372036854775808.0;     // 2^63
  constexpr double kUnsignedEnd = 18446744073709551616.0;  // 2^64
  if (value >= -kSignedEnd && value < kSignedEnd) {
    const auto whole = static_cast<std::int64_t>(value);
    if (static_cast<double>(whole) == value)
      return compactSigned(static_cast<std::uint64_t>(whole));
  } else if (value >= kSignedEnd && value < kUnsignedEnd) {
    const auto whole = static_cast<std::uint64_t>(value);
    if (static_cast<double>(whole) == value) return compactUnsigned(whole);
  }
  return hold(value);
}

/// `held` as Compact would store it, if it is a number.
inline Held compacted(const Held& held) {
  if (held.type == V_DOUBLE) return compactDouble(load<double>(held.payload));
  const std::uint64_t bits = integerBits(held.type, held.payload);
  if (isSignedInteger(held.type)) return compactSigned(bits);
  return isUnsignedInteger(held.type) ? compactUnsigned(bits) : held;
}

}  // namespace vexo::variant

#endif
