// The escapes of JSON strings: a backslash and a letter for each of a few bytes.
#ifndef VEXO_VARIANT_SRC_JSON_ESCAPES_H
#define VEXO_VARIANT_SRC_JSON_ESCAPES_H

#include <array>
#include <cstddef>
#include <string_view>

namespace vexo::variant::json {

inline constexpr std::string_view kEscapedBytes = "\b\f\n\r\t\"\\/";
inline constexpr std::string_view kEscapeLetters = "bfnrt\"\\/";

/// For every byte among `from` the one at the same place in `to`, for all others 0.
constexpr std::array<char, 256> tableOf(std::string_view from, std::string_view to) {
  std::array<char, 256> table{};
  for (std::size_t i = 0; i < from.size(); ++i) table[static_cast<unsigned char>(from[i])] = to[i];
  return table;
}

inline constexpr std::array<char, 256> kLettersOfBytes = tableOf(kEscapedBytes, kEscapeLetters);
inline constexpr std::array<char, 256> kBytesOfLetters = tableOf(kEscapeLetters, kEscapedBytes);

/// The letter that a byte is written as behind a backslash; 0 when it needs none.
constexpr char escapeLetter(char byte) { return kLettersOfBytes[static_cast<unsigned char>(byte)]; }
/// The byte that a letter behind a backslash stands for, or 0.
constexpr char escapedByte(char letter) {
  return kBytesOfLetters[static_cast<unsigned char>(letter)];
}

}  // namespace vexo::variant::json

#endif
