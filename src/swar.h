// Eight bytes of text at once.
#ifndef VEXO_VARIANT_SRC_SWAR_H
#define VEXO_VARIANT_SRC_SWAR_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

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

/// How many bytes two texts have in common at their beginning.
inline std::size_t commonPrefix(std::string_view a, std::string_view b) {
  const std::size_t end = std::min(a.size(), b.size());
  std::size_t at = 0;
  while (end - at >= sizeof(std::uint64_t) && load(a.data() + at) == load(b.data() + at)) {
    at += sizeof(std::uint64_t);
  }
  while (at < end && a[at] == b[at]) ++at;
  return at;
}

}  // namespace vexo::variant::swar

#endif
