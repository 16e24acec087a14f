// The forms of TOML's tokens, for the walker that has to recognise them.
#ifndef VEXO_PLATFORM_SRC_TOML_TOKENS_H
#define VEXO_PLATFORM_SRC_TOML_TOKENS_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "calendar.h"

namespace vexo::parsers::toml {

/// The bytes of the character that a text begins with: 1 to 4, or 0 where it is not UTF-8.
std::size_t characterLength(std::string_view text);

/// The escape that a text begins with; no length when it is none.
struct Escape {
  std::size_t length = 0;
  std::uint32_t codePoint = 0;
};
Escape readEscape(std::string_view text);

/// How far the white space goes that a backslash at the end of a line takes along, the backslash
/// itself and the line end included; 0 when the text does not begin with such a backslash.
std::size_t lineContinuationLength(std::string_view text);

/// The line end that a text begins with: its length, or 0.
inline std::size_t lineEndLength(std::string_view text) {
  return text.starts_with('\n') ? 1 : text.starts_with("\r\n") ? 2 : 0;
}

enum class Number { kNone, kValid, kTooLarge };

Number readInteger(std::string_view text, std::int64_t& value);
bool isFloat(std::string_view text);

struct DateTime {
  bool hasDate = false;
  bool hasTime = false;
  bool hasOffset = false;
  vexo::utils::Date date;
  std::int64_t second =
      0;  ///< of the day, UTC: the offset is taken off, so that it may be negative
  std::int64_t microsecond = 0;
};

/// False when the text is neither a date, nor a time, nor both.
bool readDateTime(std::string_view text, DateTime& moment);

/// Whether a text begins with a date, which a time may follow.
bool startsWithDate(std::string_view text);
inline constexpr std::size_t kDateLength = 10;

}  // namespace vexo::parsers::toml

#endif
