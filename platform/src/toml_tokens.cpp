#include "toml_tokens.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include "vexo_parsers/toml.h"

namespace vexo::parsers::toml {

namespace {

constexpr std::size_t kNotFound = std::string_view::npos;
constexpr unsigned kNoDigit = 36;

constexpr unsigned digitValue(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A') + 10;
  if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a') + 10;
  return kNoDigit;
}

/// Takes the first byte off when it is one of `choices`, and tells which; otherwise 0.
inline char take(std::string_view& text, std::string_view choices) {
  if (text.empty()) return 0;
  for (const char choice : choices) {
    if (text.front() != choice) continue;
    text.remove_prefix(1);
    return choice;
  }
  return 0;
}

bool isSurrogate(std::uint32_t codePoint) { return codePoint >= 0xD800 && codePoint < 0xE000; }
constexpr std::uint32_t kLastCodePoint = 0x10FFFF;

// --- Numbers -------------------------------------------------------------------------------------

/// Takes digits off, which single underscores may separate, and returns how many bytes that were.
std::size_t takeDigits(std::string_view& text, unsigned base = 10) {
  const std::size_t before = text.size();
  const auto isDigitAt = [&](std::size_t at) {
    return at < text.size() && digitValue(text[at]) < base;
  };
  while (isDigitAt(0) || (text.size() < before && text.starts_with('_') && isDigitAt(1))) {
    text.remove_prefix(1);
  }
  return before - text.size();
}

/// The base that a prefix names, which is taken off.
unsigned takeBase(std::string_view& text) {
  for (const auto& [prefix, base] : {std::pair{"0x", 16u}, {"0o", 8u}, {"0b", 2u}}) {
    if (!text.starts_with(prefix)) continue;
    text.remove_prefix(2);
    return base;
  }
  return 10;
}

/// Takes off a number without superfluous zeros at its start.
bool takeDecimal(std::string_view& text) {
  const bool startsWithZero = text.starts_with('0');
  const std::size_t count = takeDigits(text);
  return count == 1 || (count > 1 && !startsWithZero);
}

/// The magnitude of digits, as far as 64 bits hold it.
bool readMagnitude(std::string_view digits, unsigned base, std::uint64_t& magnitude) {
  magnitude = 0;
  for (const char c : digits) {
    if (c == '_') continue;
    if (__builtin_mul_overflow(magnitude, base, &magnitude) ||
        __builtin_add_overflow(magnitude, digitValue(c), &magnitude)) {
      return false;
    }
  }
  return true;
}

bool isSpecialFloat(std::string_view unsignedText) {
  return unsignedText == "inf" || unsignedText == "nan";
}

bool takeFraction(std::string_view& text) { return take(text, ".") == 0 || takeDigits(text) > 0; }

bool takeExponent(std::string_view& text) {
  if (take(text, "eE") == 0) return true;
  take(text, "+-");
  return takeDigits(text) > 0;
}

/// The power of ten of the first digit that is not zero: what a number that no double can hold is
/// too large or too small by.
std::int64_t orderOf(std::string_view text) {
  const std::size_t exponentAt = std::min(text.find_first_of("eE"), text.size());
  const std::string_view digits = text.substr(0, exponentAt);
  const auto point = static_cast<std::int64_t>(std::min(digits.find('.'), digits.size()));
  const auto first =
      static_cast<std::int64_t>(std::min(digits.find_first_of("123456789"), digits.size()));
  std::string_view exponentText = text.substr(std::min(exponentAt + 1, text.size()));
  if (exponentText.starts_with('+')) exponentText.remove_prefix(1);
  std::int64_t exponent = 0;
  const auto [end, error] =
      std::from_chars(exponentText.data(), exponentText.data() + exponentText.size(), exponent);
  constexpr std::int64_t kFar = std::numeric_limits<std::int64_t>::max() / 4;
  if (error == std::errc::result_out_of_range)
    exponent = exponentText.starts_with('-') ? -kFar : kFar;
  return std::clamp(exponent, -kFar, kFar) + point - first;
}

double parseMagnitude(std::string_view text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc::result_out_of_range) return value;
  return orderOf(text) > 0 ? std::numeric_limits<double>::infinity() : 0.0;
}

// --- Dates and times -----------------------------------------------------------------------------

/// Takes off a number of exactly so many digits that is at most `last`.
bool takeField(std::string_view& text, std::size_t digits, std::int64_t last, std::int64_t& value) {
  value = 0;
  for (; digits > 0; --digits) {
    if (text.empty() || digitValue(text.front()) > 9) return false;
    value = value * 10 + digitValue(text.front());
    text.remove_prefix(1);
  }
  return value <= last;
}

bool takeDate(std::string_view& text, vexo::utils::Date& date) {
  return takeField(text, 4, 9999, date.year) && take(text, "-") != 0 &&
         takeField(text, 2, 12, date.month) && take(text, "-") != 0 &&
         takeField(text, 2, 31, date.day) &&
         vexo::utils::dateOf(vexo::utils::unixDayOf(date)) == date;  // 30 February comes back else
}

bool takeHourAndMinute(std::string_view& text, std::int64_t& seconds) {
  std::int64_t hour = 0;
  std::int64_t minute = 0;
  if (!takeField(text, 2, 23, hour) || take(text, ":") == 0 || !takeField(text, 2, 59, minute)) {
    return false;
  }
  seconds = hour * 3600 + minute * 60;
  return true;
}

/// Microseconds; digits beyond them are dropped.
bool takeSecondFraction(std::string_view& text, std::int64_t& microsecond) {
  const std::size_t count = std::min(text.find_first_not_of("0123456789"), text.size());
  for (std::size_t i = 0; i < 6; ++i) {
    microsecond = microsecond * 10 + (i < count ? digitValue(text[i]) : 0);
  }
  text.remove_prefix(count);
  return count > 0;
}

/// A second may be the 61st of its minute: a leap second.
bool takeTime(std::string_view& text, DateTime& moment) {
  if (!takeHourAndMinute(text, moment.second)) return false;
  if (take(text, ":") == 0) return true;
  std::int64_t second = 0;
  if (!takeField(text, 2, 60, second)) return false;
  moment.second += second;
  return take(text, ".") == 0 || takeSecondFraction(text, moment.microsecond);
}

bool takeOffset(std::string_view& text, DateTime& moment) {
  moment.hasOffset = true;
  if (take(text, "Zz") != 0) return true;
  const char sign = take(text, "+-");
  std::int64_t offset = 0;
  if (sign == 0 || !takeHourAndMinute(text, offset)) return false;
  moment.second -= sign == '-' ? -offset : offset;
  return true;
}

/// A moment as the nearest that a `timeval` of this build can hold.
timeval nearest(std::int64_t seconds, std::int64_t microseconds) {
  using Seconds = std::numeric_limits<decltype(timeval::tv_sec)>;
  constexpr std::int64_t kLastMicrosecond = 999'999;
  if (seconds < Seconds::min()) return {Seconds::min(), 0};
  if (seconds > Seconds::max()) return {Seconds::max(), kLastMicrosecond};
  timeval result{};
  result.tv_sec = static_cast<decltype(result.tv_sec)>(seconds);
  result.tv_usec = static_cast<decltype(result.tv_usec)>(microseconds);
  return result;
}

// --- Strings -------------------------------------------------------------------------------------

void appendUtf8(std::string& output, std::uint32_t codePoint) {
  const auto put = [&output](std::uint32_t byte) { output += static_cast<char>(byte); };
  const auto putRest = [&](int shift) {
    for (; shift >= 0; shift -= 6) put(0x80 | (codePoint >> shift & 0x3F));
  };
  if (codePoint < 0x80) {
    put(codePoint);
  } else if (codePoint < 0x800) {
    put(0xC0 | codePoint >> 6);
    putRest(0);
  } else if (codePoint < 0x10000) {
    put(0xE0 | codePoint >> 12);
    putRest(6);
  } else {
    put(0xF0 | codePoint >> 18);
    putRest(12);
  }
}

/// What stands between quotes; without them the text as it is.
std::string_view withoutQuotes(std::string_view text, std::string_view quotes) {
  const bool quoted = !quotes.empty() && text.size() >= 2 * quotes.size() &&
                      text.starts_with(quotes) && text.ends_with(quotes);
  return quoted ? text.substr(quotes.size(), text.size() - 2 * quotes.size()) : text;
}

/// Resolves escapes; a backslash that begins none stays.
std::string resolveEscapes(std::string_view text) {
  std::string output;
  output.reserve(text.size());
  while (!text.empty()) {
    const std::size_t plain = std::min(text.find('\\'), text.size());
    output.append(text.substr(0, plain));
    text.remove_prefix(plain);
    if (text.empty()) break;
    if (const std::size_t skipped = lineContinuationLength(text); skipped > 0) {
      text.remove_prefix(skipped);
    } else if (const Escape escape = readEscape(text); escape.length > 0) {
      appendUtf8(output, escape.codePoint);
      text.remove_prefix(escape.length);
    } else {
      output += text.front();
      text.remove_prefix(1);
    }
  }
  return output;
}

std::string_view multilineContent(std::string_view text, std::string_view quotes) {
  const std::string_view content = withoutQuotes(text, quotes);
  return content.size() < text.size() ? content.substr(lineEndLength(content)) : content;
}

}  // namespace

std::size_t characterLength(std::string_view text) {
  const auto byteAt = [text](std::size_t at) -> std::uint32_t {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
  };
  const std::uint32_t first = byteAt(0);
  if (first < 0x80) return text.empty() ? 0 : 1;
  const std::size_t length = first < 0xC0 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (length == 0 || first > 0xF4) return 0;
  std::uint32_t codePoint = first & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((byteAt(i) & 0xC0) != 0x80) return 0;
    codePoint = codePoint << 6 | (byteAt(i) & 0x3F);
  }
  constexpr std::uint32_t kShortest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool valid =
      codePoint >= kShortest[length] && codePoint <= kLastCodePoint && !isSurrogate(codePoint);
  return valid ? length : 0;
}

Escape readEscape(std::string_view text) {
  constexpr std::string_view kLetters = "btnfre\"\\";
  constexpr std::string_view kBytes = "\b\t\n\f\r\x1B\"\\";
  if (text.size() < 2 || text[0] != '\\') return {};
  if (const std::size_t letter = kLetters.find(text[1]); letter != kNotFound) {
    return {2, static_cast<unsigned char>(kBytes[letter])};
  }
  const std::size_t digits = text[1] == 'x' ? 2 : text[1] == 'u' ? 4 : text[1] == 'U' ? 8 : 0;
  if (digits == 0 || text.size() < 2 + digits) return {};
  std::uint32_t codePoint = 0;
  for (const char c : text.substr(2, digits)) {
    if (digitValue(c) == kNoDigit) return {};
    codePoint = codePoint << 4 | digitValue(c);
  }
  if (codePoint > kLastCodePoint || isSurrogate(codePoint)) return {};
  return {2 + digits, codePoint};
}

std::size_t lineContinuationLength(std::string_view text) {
  if (!text.starts_with('\\')) return 0;
  const std::size_t lineEnd = std::min(text.find_first_not_of(" \t", 1), text.size());
  if (lineEndLength(text.substr(lineEnd)) == 0) return 0;
  std::size_t end = lineEnd;
  for (;;) {
    end = std::min(text.find_first_not_of(" \t", end), text.size());
    const std::size_t length = lineEndLength(text.substr(end));
    if (length == 0) return end;
    end += length;
  }
}

Number readInteger(std::string_view text, std::int64_t& value) {
  constexpr std::uint64_t kEnd = std::uint64_t{1} << 63;
  const char sign = take(text, "+-");
  std::string_view rest = text;
  const unsigned base = sign == 0 ? takeBase(rest) : 10;
  const std::string_view digits = rest;
  const bool matches = base == 10 ? takeDecimal(rest) : takeDigits(rest, base) > 0;
  if (!matches || !rest.empty()) return Number::kNone;
  std::uint64_t magnitude = 0;
  const std::uint64_t last = sign == '-' ? kEnd : kEnd - 1;
  if (!readMagnitude(digits, base, magnitude) || magnitude > last) return Number::kTooLarge;
  value = static_cast<std::int64_t>(sign == '-' ? 0 - magnitude : magnitude);
  return Number::kValid;
}

bool isFloat(std::string_view text) {
  take(text, "+-");
  if (isSpecialFloat(text)) return true;
  if (!takeDecimal(text)) return false;
  const std::size_t whole = text.size();
  return takeFraction(text) && takeExponent(text) && text.empty() && whole > 0;
}

bool readDateTime(std::string_view text, DateTime& moment) {
  moment = {};
  if (startsWithDate(text)) {
    moment.hasDate = true;
    if (!takeDate(text, moment.date)) return false;
    if (text.empty()) return true;
    if (take(text, "Tt ") == 0) return false;
  }
  moment.hasTime = true;
  if (!takeTime(text, moment)) return false;
  return text.empty() || (moment.hasDate && takeOffset(text, moment) && text.empty());
}

bool startsWithDate(std::string_view text) { return text.size() >= kDateLength && text[4] == '-'; }

// NOLINTBEGIN(performance-unnecessary-value-param): the host's interface takes texts by value
std::int64_t parseInteger(std::string text) {
  std::int64_t value = 0;
  return readInteger(text, value) == Number::kValid ? value : 0;
}

double parseFloat(std::string text) {
  if (!isFloat(text)) return 0;
  std::erase(text, '_');
  std::string_view magnitude = text;
  const bool negative = take(magnitude, "+-") == '-';
  const double value = parseMagnitude(magnitude);  // takes inf and nan as well
  return negative ? -value : value;
}

bool parseBoolean(const std::string& text) { return text == "true"; }

timeval parseDateTime(const std::string& text) {
  DateTime moment;
  if (!readDateTime(text, moment) || !moment.hasDate || !moment.hasTime) return {};
  const std::int64_t day = vexo::utils::unixDayOf(moment.date);
  return nearest(day * vexo::utils::kSecondsPerDay + moment.second, moment.microsecond);
}

std::string unquote(std::string text, const std::string& quote) {
  const std::string_view content = withoutQuotes(text, quote);
  return quote == "\"" ? resolveEscapes(content) : std::string(content);
}

std::string unquote(std::string text) {
  const std::string quote = text.substr(0, 1);
  return quote == "\"" || quote == "'" ? unquote(std::move(text), quote) : text;
}

std::string processMultilineString(std::string text) {
  return resolveEscapes(multilineContent(text, R"(""")"));
}

std::string processMultilineLiteralString(std::string text) {
  return std::string(multilineContent(text, "'''"));
}
// NOLINTEND(performance-unnecessary-value-param)

}  // namespace vexo::parsers::toml
