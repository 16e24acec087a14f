// Letter case and white space of ASCII, whatever the locale.
#ifndef VEXO_VARIANT_SRC_ASCII_H
#define VEXO_VARIANT_SRC_ASCII_H

#include <cstddef>
#include <string_view>

namespace vexo::variant::ascii {

constexpr char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }

constexpr bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

constexpr bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// The value of a digit in any base up to 36, or 36.
constexpr unsigned digitValue(char c) {
  if (isDigit(c)) return static_cast<unsigned>(c - '0');
  const char letter = lower(c);
  return letter >= 'a' && letter <= 'z' ? static_cast<unsigned>(letter - 'a') + 10 : 36;
}

/// Equal but for the case of letters.
constexpr bool equal(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (lower(a[i]) != lower(b[i])) return false;
  }
  return true;
}

inline bool matches(std::string_view a, std::string_view b, bool caseSensitive) {
  return caseSensitive ? a == b : equal(a, b);
}

}  // namespace vexo::variant::ascii

#endif
