// Eight bytes of text at once.
#ifndef VEXO_VARIANT_SRC_SWAR_H
#define VEXO_VARIANT_SRC_SWAR_H

#include <cstdint>
#include <cstring>

namespace vexo::variant::swar {

inline constexpr std::uint64_t kOnes = 0x0101010101010101;
inline constexpr std::uint64_t kHighBits = kOnes << 7;

inline std::uint64_t load(const char* bytes) {
  std::uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

/// Eight times the same byte.
constexpr std::uint64_t repeat(char c) { return kOnes * static_cast<unsigned char>(c); }

/// Whether any byte is `c`.
constexpr bool has(std::uint64_t word, char c) {
  const std::uint64_t zeros = word ^ repeat(c);
  return ((zeros - kOnes) & ~zeros & kHighBits) != 0;
}

/// Whether any byte is below 0x20.
constexpr bool hasControl(std::uint64_t word) {
  return ((word - repeat(' ')) & ~word & kHighBits) != 0;
}

}  // namespace vexo::variant::swar

#endif
