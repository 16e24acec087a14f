// Numbers as big-endian bytes.
#ifndef VEXO_VARIANT_BYTE_ORDER_H
#define VEXO_VARIANT_BYTE_ORDER_H

#include <cstdint>
#include <cstring>

namespace vexo::variant::detail {

/// An unsigned number with its bytes in the other order.
template <class T>
T reversed(T value) noexcept {
  if constexpr (sizeof(T) == 1) {
    return value;
  } else if constexpr (sizeof(T) == 2) {
    return __builtin_bswap16(value);
  } else if constexpr (sizeof(T) == 4) {
    return __builtin_bswap32(value);
  } else {
    static_assert(sizeof(T) == 8);
    return __builtin_bswap64(value);
  }
}

/// From a number to its big-endian form, and back.
template <class T>
T bigEndian(T value) noexcept {
  return __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__ ? value : reversed(value);
}

template <class T>
T loadBigEndian(const void* bytes) noexcept {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return bigEndian(value);
}

template <class T>
void storeBigEndian(T value, void* bytes) noexcept {
  const T stored = bigEndian(value);
  std::memcpy(bytes, &stored, sizeof stored);
}

}  // namespace vexo::variant::detail

#endif
