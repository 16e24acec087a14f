// Eight or more bytes of text at once.
#ifndef VEXO_VARIANT_SRC_SWAR_H
#define VEXO_VARIANT_SRC_SWAR_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "vexo_variant/byte_order.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace vexo::variant::swar {

inline constexpr std::uint64_t kOnes = 0x0101010101010101;
inline constexpr std::uint64_t kHighBits = kOnes << 7;

/// The first byte of the text is the lowest of the number, on every target.
template <class Word = std::uint64_t>
Word load(const char* bytes) {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  return std::endian::native == std::endian::little ? word : detail::reversed(word);
}

/// The reverse of load().
inline void store(std::uint64_t word, char* bytes) {
  if (std::endian::native != std::endian::little) word = detail::reversed(word);
  std::memcpy(bytes, &word, sizeof word);
}

/// Like load() of fewer than eight bytes; the bytes behind them are 0.
inline std::uint64_t loadPart(const char* bytes, std::size_t count) {
  if (count >= 4) {  // two parts that may overlap
    return load<std::uint32_t>(bytes) | std::uint64_t{load<std::uint32_t>(bytes + count - 4)}
                                            << (8 * (count - 4));
  }
  const auto at = [bytes](std::size_t i) {
    return std::uint64_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
  };
  return count == 0 ? 0 : at(0) | at(count / 2) | at(count - 1);
}

/// Eight times the same byte.
constexpr std::uint64_t repeat(char c) { return kOnes * static_cast<unsigned char>(c); }

// Marks: a number whose lowest set bit is in the first byte that is looked for; 0 when there is
// none. Bytes behind that one may be marked by mistake.

constexpr std::uint64_t marksOf(std::uint64_t word, char c) {
  const std::uint64_t zeros = word ^ repeat(c);
  return (zeros - kOnes) & ~zeros & kHighBits;
}

/// Marks what is below 0x20.
constexpr std::uint64_t marksOfControls(std::uint64_t word) {
  return (word - repeat(' ')) & ~word & kHighBits;
}

/// Which byte is the first with a mark; there must be one.
constexpr std::size_t firstMark(std::uint64_t marks) {
  return static_cast<std::size_t>(std::countr_zero(marks)) / 8;
}

/// Sixteen bytes of a text where the processor compares as many at once, otherwise eight.
#ifdef __SSE2__
class Chunk {
 public:
  static constexpr std::size_t kSize = 16;
  using Marks = unsigned;  // a bit for each byte

  explicit Chunk(const char* text)
      : bytes_(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text))) {}
  /// Fewer bytes than kSize; those behind them are 0.
  static Chunk part(const char* text, std::size_t count) {
    if (count <= 8) return {loadPart(text, count), 0};
    return {load(text), load(text + count - 8) >> (8 * (kSize - count))};
  }
  void store(char* out) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes_); }

  /// Marks any of several bytes.
  template <class... Chars>
  Marks marksOf(Chars... chars) const {
    return marks((equal(chars) | ...));
  }
  Marks marksOfOthers(char c) const { return marksOf(c) ^ 0xFFFF; }
  template <class... Chars>
  Marks marksOfControlsOr(Chars... chars) const {
    return marks(
        (_mm_cmpeq_epi8(_mm_min_epu8(bytes_, _mm_set1_epi8(0x1F)), bytes_) | ... | equal(chars)));
  }
  static std::size_t first(Marks marks) {
    return static_cast<std::size_t>(std::countr_zero(marks));
  }

 private:
  Chunk(std::uint64_t low, std::uint64_t high)
      : bytes_(_mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low))) {}
  __m128i equal(char c) const { return _mm_cmpeq_epi8(bytes_, _mm_set1_epi8(c)); }
  static Marks marks(__m128i bytes) { return static_cast<Marks>(_mm_movemask_epi8(bytes)); }

  __m128i bytes_;
};
#else
class Chunk {
 public:
  static constexpr std::size_t kSize = 8;
  using Marks = std::uint64_t;

  explicit Chunk(const char* text) : bytes_(load(text)) {}
  /// Fewer bytes than kSize; those behind them are 0.
  static Chunk part(const char* text, std::size_t count) { return Chunk(loadPart(text, count)); }
  void store(char* out) const { swar::store(bytes_, out); }

  /// Marks any of several bytes.
  template <class... Chars>
  Marks marksOf(Chars... chars) const {
    return (swar::marksOf(bytes_, chars) | ...);
  }
  Marks marksOfOthers(char c) const { return bytes_ ^ repeat(c); }
  template <class... Chars>
  Marks marksOfControlsOr(Chars... chars) const {
    return (swar::marksOfControls(bytes_) | ... | swar::marksOf(bytes_, chars));
  }
  static std::size_t first(Marks marks) { return firstMark(marks); }

 private:
  explicit Chunk(std::uint64_t bytes) : bytes_(bytes) {}

  std::uint64_t bytes_;
};
#endif

/// Marks what is no decimal digit.
constexpr std::uint64_t marksOfNonDigits(std::uint64_t word) {
  constexpr std::uint64_t kHighHalves = kOnes * 0xF0;
  return ((word & kHighHalves) | ((word + kOnes * 6) & kHighHalves) >> 4) ^ repeat('3');
}

/// The number that eight digits, or zero bytes in their place, stand for: neighbours are joined to
/// pairs, to fours, to one.
constexpr std::uint64_t numberOf(std::uint64_t digits) {
  digits = (digits & kOnes * 0x0F) * (1 + (10 << 8)) >> 8;
  digits = (digits & 0x00FF00FF00FF00FF) * (1 + (100 << 16)) >> 16;
  return (digits & 0x0000FFFF0000FFFF) * (1 + (std::uint64_t{10000} << 32)) >> 32;
}

/// The reverse of numberOf, for a number below 10^8: the digits as text, leading zeros included.
constexpr std::uint64_t digitsOf(std::uint32_t number) {
  const std::uint64_t fours = number / 10000 | std::uint64_t{number % 10000} << 32;
  const std::uint64_t hundreds = (fours * 5243 >> 19) & 0x0000007F0000007F;  // fours / 100
  const std::uint64_t pairs = hundreds | (fours - hundreds * 100) << 16;
  const std::uint64_t tens = (pairs * 103 >> 10) & 0x000F000F000F000F;  // pairs / 10
  return (tens | (pairs - tens * 10) << 8) | repeat('0');
}

/// How many bytes two texts have in common at their beginning.
inline std::size_t commonPrefix(std::string_view a, std::string_view b) {
  const std::size_t end = std::min(a.size(), b.size());
  std::size_t at = 0;
  for (; end - at >= sizeof(std::uint64_t); at += sizeof(std::uint64_t)) {
    const std::uint64_t differences = load(a.data() + at) ^ load(b.data() + at);
    if (differences != 0) return at + firstMark(differences);
  }
  while (at < end && a[at] == b[at]) ++at;
  return at;
}

}  // namespace vexo::variant::swar

#endif
