// Numbers to text and back, as the C library does it in the "C" locale.
#ifndef VEXO_VARIANT_SRC_NUMBER_TEXT_H
#define VEXO_VARIANT_SRC_NUMBER_TEXT_H

#include <array>
#include <cstdint>
#include <string_view>

#include "ascii.h"
#include "variant_access.h"

namespace vexo::variant {

/// Room for the text of any integer, and of any number: the greatest double has 309 digits before
/// the point.
inline constexpr std::size_t kIntegerTextRoom = 24;
inline constexpr std::size_t kNumberTextRoom = 328;

// What is written may reach beyond the end that is returned, never beyond the room.

/// Writes an integer as "%lld" where there is kIntegerTextRoom; returns the end.
char* writeInteger(std::int64_t value, char* out);
/// Writes an integer ("%lld", "%llu") or double ("%.6f") value where there is kNumberTextRoom, for
/// an integer kIntegerTextRoom; returns the end.
char* writeNumber(const Variant& value, char* out);

struct IntegerBuffer {
  char chars[kIntegerTextRoom];
};
/// A key as "%lld".
inline std::string_view integerText(std::int64_t value, IntegerBuffer& buffer) {
  return {buffer.chars, static_cast<std::size_t>(writeInteger(value, buffer.chars) - buffer.chars)};
}

/// What strtoll and strtoull find at the start of a text.
struct IntegerPrefix {
  std::uint64_t magnitude = 0;
  bool negative = false;
  bool overflow = false;      ///< the magnitude does not fit into 64 bits
  const char* end = nullptr;  ///< where the number ends; the start of the text when there is none
};

/// White space, sign, and digits in `base`; base 0 takes 16 after 0x, 8 after 0, otherwise 10.
IntegerPrefix parseIntegerPrefix(std::string_view text, unsigned base);
/// As strtoll and strtoull give it, clamped to their ranges.
std::int64_t clampSigned(const IntegerPrefix& number);
std::uint64_t clampUnsigned(const IntegerPrefix& number);

/// Whether the whole text is a decimal integer (as strtoll reads it), and which. An empty text is
/// not.
bool parseIntegerName(std::string_view text, std::int64_t& value);

inline constexpr std::array<bool, 256> kNumberBytes = [] {
  std::array<bool, 256> table{};
  for (const char c : std::string_view("+-.x0123456789ABCDEFabcdef")) {
    table[static_cast<unsigned char>(c)] = true;
  }
  return table;
}();

/// Whether the byte may occur in a number.
inline bool isNumberByte(char c) { return kNumberBytes[static_cast<unsigned char>(c)]; }

/// Whether a number may start with the byte.
inline bool startsNumber(char c) { return c == '-' || c == '+' || c == '.' || ascii::isDigit(c); }

/// The number bytes at the start of a text, and the value that they stand for as a whole: with a
/// '.' a double, or an INT64 where it is whole; after a '-' an INT64; else a UINT64; integers in
/// base 0. Null when they are not a number.
struct NumberPrefix {
  Held value;
  std::size_t length = 0;
};
NumberPrefix parseNumberPrefix(std::string_view text);

/// Why a text does not begin with a number.
const char* reasonAgainstNumber(std::string_view text);

/// The number that a whole text stands for; null when it is none.
Held parseNumber(std::string_view text);

}  // namespace vexo::variant

#endif
