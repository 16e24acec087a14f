#include "number_text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <limits>

#include "ascii.h"
#include "swar.h"

namespace vexo::variant {

static_assert(std::numeric_limits<double>::is_iec559 && FLT_EVAL_METHOD == 0,
              "exact results need doubles that are computed as doubles");

namespace {

// --- Integers to text ----------------------------------------------------------------------------

constexpr std::uint64_t kEightDigits = 100000000;

/// Writes a number below 10^8.
char* writeShort(std::uint32_t value, char* out) {
  if (value < 10) {
    *out = static_cast<char>('0' + value);
    return out + 1;
  }
  const std::uint64_t digits = swar::digitsOf(value);
  const std::size_t zeros = swar::firstMark(digits ^ swar::repeat('0'));
  swar::store(digits >> (8 * zeros), out);
  return out + (8 - zeros);
}

/// Writes eight digits of a number, after what is in front of them.
char* writeEight(std::uint64_t value, char* out) {
  swar::store(swar::digitsOf(static_cast<std::uint32_t>(value % kEightDigits)), out);
  return out + 8;
}

char* writeUnsigned(std::uint64_t value, char* out) {
  if (value < kEightDigits) return writeShort(static_cast<std::uint32_t>(value), out);
  const std::uint64_t high = value / kEightDigits;
  if (high < kEightDigits) {
    out = writeShort(static_cast<std::uint32_t>(high), out);
  } else {
    out = writeShort(static_cast<std::uint32_t>(high / kEightDigits), out);
    out = writeEight(high, out);
  }
  return writeEight(value, out);
}

// --- Doubles to text -----------------------------------------------------------------------------

/// A fixed-point number: the whole part, and six decimals.
struct Fixed6 {
  std::uint64_t whole;
  std::uint32_t millionths;
};

/// value * 2^-shift, rounded half to even; `more` tells that the value is a little above. `shift`
/// is at least 1.
std::uint64_t shiftRounding(std::uint64_t value, unsigned shift, bool more) {
  const std::uint64_t result = value >> shift;
  const std::uint64_t remainder = value - (result << shift);
  const std::uint64_t half = std::uint64_t{1} << (shift - 1);
  const bool tie = remainder == half && !more;
  const bool up = tie ? result % 2 == 1 : remainder >= half;
  return result + (up ? 1 : 0);
}

/// Rounds mantissa * 2^-shift to six decimals, exactly. `shift` is 1 to 1074, and the mantissa has
/// at most 53 bits.
Fixed6 roundToMillionths(std::uint64_t mantissa, unsigned shift) {
  constexpr std::uint32_t kMillion = 1000000;
  constexpr unsigned kMaxShift = 75;  // beyond it the number is below half a millionth
  if (shift > kMaxShift) return {0, 0};
  const std::uint64_t whole = shift < 64 ? mantissa >> shift : 0;
  const std::uint64_t fraction = shift < 64 ? mantissa - (whole << shift) : mantissa;
  // fraction * 10^6 as high * 2^32 + low; up to a shift of 32 it fits into one number.
  const std::uint64_t product = (fraction & 0xFFFFFFFF) * kMillion;
  const std::uint64_t high = (fraction >> 32) * kMillion + (product >> 32);
  const std::uint64_t low = product & 0xFFFFFFFF;
  const std::uint64_t millionths = shift > 32 ? shiftRounding(high, shift - 32, low > 0)
                                              : shiftRounding(high << 32 | low, shift, false);
  if (millionths == kMillion) return {whole + 1, 0};
  return {whole, static_cast<std::uint32_t>(millionths)};
}

/// "%.6f".
char* writeDouble(double value, char* out) {
  constexpr double kLimit = 4503599627370496.0;  // 2^52: from here on there is no fraction
  if (!(std::fabs(value) < kLimit)) {
    return std::to_chars(out, out + kNumberTextRoom, value, std::chars_format::fixed, 6).ptr;
  }
  const auto bits = std::bit_cast<std::uint64_t>(value);
  const auto biased = static_cast<unsigned>(bits >> 52 & 0x7FF);
  const std::uint64_t fraction = bits & 0xFFFFFFFFFFFFF;
  const std::uint64_t mantissa = biased == 0 ? fraction : fraction | std::uint64_t{1} << 52;
  const Fixed6 fixed = roundToMillionths(mantissa, 1075 - std::max(biased, 1u));
  if (bits >> 63 != 0) *out++ = '-';
  out = writeUnsigned(fixed.whole, out);
  *out++ = '.';
  swar::store(swar::digitsOf(fixed.millionths) >> 16, out);  // without the two leading zeros
  return out + 6;
}

// --- Text to numbers -----------------------------------------------------------------------------

constexpr std::array<std::uint32_t, 8> kPowers = {1,     10,     100,     1000,
                                                  10000, 100000, 1000000, 10000000};

/// Reads decimal digits into `number`, modulo 2^64, and returns where they end.
const char* readDigits(const char* at, const char* end, std::uint64_t& number) {
  for (; end - at >= 8; at += 8) {
    const std::uint64_t text = swar::load(at);
    const std::uint64_t others = swar::marksOfNonDigits(text);
    if (others != 0) {
      const std::size_t count = swar::firstMark(others);
      const std::uint64_t behindZeros = text << (8 * (7 - count)) << 8;
      number = number * kPowers[count] + swar::numberOf(behindZeros);
      return at + count;
    }
    number = number * kEightDigits + swar::numberOf(text);
  }
  for (; at != end && ascii::isDigit(*at); ++at) {
    number = number * 10 + static_cast<std::uint64_t>(*at - '0');
  }
  return at;
}

/// A number without sign of the form "digits", "digits." or "digits.digits": digits * 10^-decimals.
struct Decimal {
  std::uint64_t digits = 0;
  std::size_t count = 0;  // of digits; the value is right up to kMaxDigits of them
  std::size_t decimals = 0;
  bool hasPoint = false;

  static constexpr std::size_t kMaxDigits = 19;

  /// Reads up to the first byte that does not fit the form, and tells where that is.
  const char* read(const char* at, const char* end) {
    const char* const begin = at;
    at = readDigits(at, end, digits);
    count = static_cast<std::size_t>(at - begin);
    if (at == end || *at != '.') return at;
    hasPoint = true;
    const char* const fraction = at + 1;
    at = readDigits(fraction, end, digits);
    decimals = static_cast<std::size_t>(at - fraction);
    count += decimals;
    return at;
  }
};

constexpr std::size_t kMostDecimals = 18;
constexpr std::array<double, kMostDecimals + 1> kPowersOfTen = {
    1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8, 1e9,
    1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18};

/// 2^shift / 10^decimals, rounded down to a number whose highest bit is set.
struct Reciprocal {
  std::uint64_t value;
  unsigned shift;
};

constexpr std::array<Reciprocal, kMostDecimals + 1> kReciprocals = [] {
  std::array<Reciprocal, kMostDecimals + 1> table{};
  std::uint64_t power = 1;
  for (Reciprocal& entry : table) {
    entry = {1 / power, 0};
    std::uint64_t remainder = 1 % power;
    for (; entry.value >> 63 == 0; ++entry.shift) {
      const std::uint64_t bit = 2 * remainder >= power ? 1 : 0;
      remainder = 2 * remainder - bit * power;
      entry.value = entry.value << 1 | bit;
    }
    power *= 10;
  }
  return table;
}();

/// The upper half of the product.
constexpr std::uint64_t multiplyHigh(std::uint64_t a, std::uint64_t b) {
  constexpr std::uint64_t kLow = 0xFFFFFFFF;
  const std::uint64_t low = (a & kLow) * (b & kLow);
  const std::uint64_t middle = (a >> 32) * (b & kLow) + (low >> 32);
  const std::uint64_t other = (a & kLow) * (b >> 32) + (middle & kLow);
  return (a >> 32) * (b >> 32) + (middle >> 32) + (other >> 32);
}

/// digits / 10^decimals by its reciprocal, which is too small by less than 1. So the product's
/// upper half is too small by less than 2; false when the rounding depends on that.
bool divideByPower(std::uint64_t digits, std::size_t decimals, double& result) {
  const Reciprocal& reciprocal = kReciprocals[decimals];
  const auto zeros = static_cast<unsigned>(std::countl_zero(digits));
  const std::uint64_t product = multiplyHigh(digits << zeros, reciprocal.value);
  const auto excess = static_cast<unsigned>(std::bit_width(product)) - 53;
  const std::uint64_t half = std::uint64_t{1} << (excess - 1);
  const std::uint64_t below = product & (2 * half - 1);
  if (below == half || below == half - 1) return false;
  const std::uint64_t mantissa = (product >> excess) + (below > half ? 1 : 0);
  // A mantissa that was rounded up to 2^53 carries into the exponent.
  const std::uint64_t exponent = 1075u + 64 + excess - zeros - reciprocal.shift;
  result = std::bit_cast<double>((exponent << 52) + (mantissa - (std::uint64_t{1} << 52)));
  return true;
}

/// The double nearest to the number; false when the long way has to tell.
bool nearestDouble(const Decimal& number, double& result) {
  if (number.decimals > kMostDecimals) return false;
  if (number.digits > std::uint64_t{1} << 53) {
    return divideByPower(number.digits, number.decimals, result);
  }
  // Both are exact, so that the one division rounds correctly.
  result = static_cast<double>(number.digits) / kPowersOfTen[number.decimals];
  return true;
}

/// Whether a number without sign that is out of the range of a double is too large, rather than too
/// small. The place of its first digit that is not 0 and the exponent tell.
bool isTooLarge(std::string_view text, bool hex) {
  constexpr std::int64_t kFar = std::int64_t{1} << 40;  // beyond any number of digits
  const std::size_t mark = hex ? text.size() : std::min(text.find_first_of("eE"), text.size());
  const std::size_t point = std::min(text.find('.'), mark);
  const std::size_t first = text.find_first_not_of("0.");
  const std::int64_t exponent =
      mark == text.size() ? 0 : clampSigned(parseIntegerPrefix(text.substr(mark + 1), 10));
  return static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first) +
             std::clamp(exponent, -kFar, kFar) >
         0;
}

/// The whole of a text without sign as strtod reads it.
bool parseMagnitude(std::string_view text, double& value) {
  const bool hex = text.size() > 2 && text[0] == '0' && ascii::lower(text[1]) == 'x';
  if (hex) text.remove_prefix(2);
  if (text[0] == '-') return false;  // from_chars would take a sign here
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value,
                                      hex ? std::chars_format::hex : std::chars_format::general);
  if (result.ptr != end || result.ec == std::errc::invalid_argument) return false;
  if (result.ec == std::errc::result_out_of_range) {
    value = isTooLarge(text, hex) ? std::numeric_limits<double>::infinity() : 0.0;
  }
  return true;
}

bool startsLikeNumber(std::string_view text) {
  return !text.empty() && (text[0] == '.' || ascii::isDigit(text[0]));
}

/// A double as it is stored: an integer where it is whole.
Held holdDouble(double value) {
  constexpr double kLimit = 9223372036854775808.0;  // 2^63
  if (value >= -kLimit && value < kLimit) {
    const auto whole = static_cast<std::int64_t>(value);
    if (static_cast<double>(whole) == value) return hold(whole);
  }
  return hold(value);
}

Held parseDouble(std::string_view magnitude, bool negative) {
  double value = 0;
  if (!startsLikeNumber(magnitude) || !parseMagnitude(magnitude, value)) return Held{};
  return holdDouble(negative ? -value : value);
}

Held parseInteger(std::string_view text) {
  const IntegerPrefix number = parseIntegerPrefix(text, 0);
  if (number.end != text.data() + text.size()) return Held{};
  if (text[0] == '-') return hold(clampSigned(number));
  return hold(clampUnsigned(number));
}

/// The value of the usual number: a few decimal digits. False when the long way has to tell.
bool commonValue(const Decimal& number, bool negative, bool startsWithZero, Held& value) {
  if (number.count == 0 || number.count > Decimal::kMaxDigits) return false;
  if (number.hasPoint) {
    double magnitude = 0;
    if (!nearestDouble(number, magnitude)) return false;
    value = holdDouble(negative ? -magnitude : magnitude);
    return true;
  }
  if (startsWithZero && number.count > 1) return false;  // octal
  if (negative && number.digits >> 63 != 0) return false;
  value = negative ? hold(-static_cast<std::int64_t>(number.digits)) : hold(number.digits);
  return true;
}

/// The value of any number.
[[gnu::noinline]] Held parseUncommon(std::string_view text) {
  if (text.empty()) return Held{};
  if (text.find('.') == std::string_view::npos) return parseInteger(text);
  const bool negative = text[0] == '-';
  return parseDouble(text.substr(negative || text[0] == '+' ? 1 : 0), negative);
}

/// Takes an integer off the front: perhaps a sign, then decimal digits.
bool takeDecimal(std::string_view& text) {
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) text.remove_prefix(1);
  const std::size_t count = std::min(text.find_first_not_of("0123456789"), text.size());
  text.remove_prefix(count);
  return count > 0;
}

/// As in 1e5, which many languages take for a number.
bool startsWithPointlessExponent(std::string_view text) {
  if (!takeDecimal(text) || text.empty() || ascii::lower(text[0]) != 'e') return false;
  text.remove_prefix(1);
  return takeDecimal(text) && (text.empty() || !isNumberByte(text[0]));
}

unsigned detectBase(std::string_view text) {
  if (text.empty() || text[0] != '0') return 10;
  const bool hex =
      text.size() > 2 && ascii::lower(text[1]) == 'x' && ascii::digitValue(text[2]) < 16;
  return hex ? 16 : 8;
}

}  // namespace

char* writeInteger(std::int64_t value, char* out) {
  if (value >= 0) return writeUnsigned(static_cast<std::uint64_t>(value), out);
  *out = '-';
  return writeUnsigned(0 - static_cast<std::uint64_t>(value), out + 1);
}

char* writeNumber(const Variant& value, char* out) {
  const std::uint32_t type = typeOf(value);
  if (type == V_DOUBLE) return writeDouble(load<double>(payloadOf(value)), out);
  const std::uint64_t bits = integerBits(value);
  return isSignedInteger(type) ? writeInteger(static_cast<std::int64_t>(bits), out)
                               : writeUnsigned(bits, out);
}

IntegerPrefix parseIntegerPrefix(std::string_view text, unsigned base) {
  IntegerPrefix number;
  number.end = text.data();
  std::size_t at = 0;
  while (at < text.size() && ascii::isSpace(text[at])) ++at;
  if (at < text.size() && (text[at] == '-' || text[at] == '+')) number.negative = text[at++] == '-';
  if (base == 0) {
    base = detectBase(text.substr(at));
    if (base == 16) at += 2;
  }
  for (; at < text.size(); ++at) {
    const unsigned digit = ascii::digitValue(text[at]);
    if (digit >= base) break;
    number.overflow |= __builtin_mul_overflow(number.magnitude, base, &number.magnitude);
    number.overflow |= __builtin_add_overflow(number.magnitude, digit, &number.magnitude);
    number.end = text.data() + at + 1;
  }
  return number;
}

std::int64_t clampSigned(const IntegerPrefix& number) {
  constexpr std::uint64_t kLowest = std::uint64_t{1} << 63;
  const std::uint64_t limit = number.negative ? kLowest : kLowest - 1;
  const std::uint64_t magnitude = number.overflow ? limit : std::min(number.magnitude, limit);
  return static_cast<std::int64_t>(number.negative ? 0 - magnitude : magnitude);
}

std::uint64_t clampUnsigned(const IntegerPrefix& number) {
  if (number.overflow) return std::numeric_limits<std::uint64_t>::max();
  return number.negative ? 0 - number.magnitude : number.magnitude;
}

bool parseIntegerName(std::string_view text, std::int64_t& value) {
  if (text.empty() || !ascii::isDigit(text.back())) return false;
  const char* const end = text.data() + text.size();
  std::uint64_t digits = 0;
  if (text.size() < Decimal::kMaxDigits && readDigits(text.data(), end, digits) == end) {
    value = static_cast<std::int64_t>(digits);
    return true;
  }
  const IntegerPrefix number = parseIntegerPrefix(text, 10);
  if (number.end != end) return false;
  value = clampSigned(number);
  return true;
}

NumberPrefix parseNumberPrefix(std::string_view text) {
  const char* const end = text.data() + text.size();
  const bool negative = text.starts_with('-');
  const bool signedNumber = negative || text.starts_with('+');
  const char* const first = text.data() + signedNumber;
  Decimal number;
  const char* last = number.read(first, end);
  NumberPrefix prefix;
  if (last == end || !isNumberByte(*last)) {
    prefix.length = static_cast<std::size_t>(last - text.data());
    if (commonValue(number, negative, first != end && *first == '0', prefix.value)) return prefix;
  }
  while (last != end && isNumberByte(*last)) ++last;
  prefix.length = static_cast<std::size_t>(last - text.data());
  prefix.value = parseUncommon(text.substr(0, prefix.length));
  return prefix;
}

const char* reasonAgainstNumber(std::string_view text) {
  return startsWithPointlessExponent(text) ? "an exponent needs a point before it"
                                           : "expected a number";
}

Held parseNumber(std::string_view text) {
  const NumberPrefix prefix = parseNumberPrefix(text);
  return prefix.length == text.size() ? prefix.value : Held{};
}

}  // namespace vexo::variant
