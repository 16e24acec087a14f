// Numbers as text, compared with what the C library makes of them in the "C" locale.
#include "number_text.h"

#include <gtest/gtest.h>
#include <locale.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace vexo::variant;
using std::string_literals::operator""s;

constexpr char kNumberBytes[] = "+-.x0123456789abcdefABCDEF";

/// The suite runs under foreign locales; the C library is asked in its own.
class NumberText : public testing::Test {
 protected:
  ~NumberText() override {
    uselocale(old_);
    freelocale(c_);
  }

  /// The value that the C library gives the text as a whole.
  static Held reference(const std::string& text) {
    const char* const whole = text.c_str() + text.size();
    char* end = nullptr;
    if (text.find('.') != std::string::npos) {
      const double value = std::strtod(text.c_str(), &end);
      if (end != whole) return {};
      const bool fits = value >= -0x1p63 && value < 0x1p63 && value == std::trunc(value);
      return fits ? hold(static_cast<std::int64_t>(value)) : hold(value);
    }
    const Held held = text[0] == '-' ? hold(std::int64_t{std::strtoll(text.c_str(), &end, 0)})
                                     : hold(std::uint64_t{std::strtoull(text.c_str(), &end, 0)});
    return end == whole ? held : Held{};
  }

  static void check(const std::string& text) {
    if (isBinaryLiteral(text)) return;
    const Held expected = reference(text);
    const Held held = parseNumber(text);
    ASSERT_EQ(held.type, expected.type) << text;
    ASSERT_EQ(load<std::uint64_t>(held.payload), load<std::uint64_t>(expected.payload)) << text;
  }

  static void checkPrefix(const std::string& text) {
    if (isBinaryLiteral(text.substr(std::min(text.size(), text.find_first_not_of(" \t\n\v\f\r")))))
      return;
    for (const int base : {0, 10}) {
      const IntegerPrefix number = parseIntegerPrefix(text, static_cast<unsigned>(base));
      char* end = nullptr;
      ASSERT_EQ(clampSigned(number), std::strtoll(text.c_str(), &end, base)) << text;
      ASSERT_EQ(number.end - text.data(), end - text.c_str()) << text << " base " << base;
      ASSERT_EQ(clampUnsigned(number), std::strtoull(text.c_str(), &end, base)) << text;
    }
    char* end = nullptr;
    const std::int64_t expected = std::strtoll(text.c_str(), &end, 10);
    std::int64_t value = 0;
    const bool isName = !text.empty() && end == text.c_str() + text.size();
    ASSERT_EQ(parseIntegerName(text, value), isName) << text;
    ASSERT_EQ(value, isName ? expected : 0) << text;
  }

  static void checkWritten(double value) {
    NumberBuffer buffer;
    char expected[sizeof buffer.chars];
    std::snprintf(expected, sizeof expected, "%.6f", value);
    ASSERT_EQ(numberText(value, buffer), expected);
  }

  std::size_t pick(std::size_t count) { return static_cast<std::size_t>(random_() % count); }

  std::string randomText(const std::string& alphabet, std::size_t longest) {
    std::string text(1 + pick(longest), ' ');
    for (char& c : text) c = alphabet[pick(alphabet.size())];
    return text;
  }

  std::mt19937_64 random_{20261122};

 private:
  /// Newer C libraries read 0b101 in base 0; this library never does.
  static bool isBinaryLiteral(const std::string& text) {
    const std::size_t sign = !text.empty() && (text[0] == '+' || text[0] == '-') ? 1 : 0;
    return text.compare(sign, 2, "0b") == 0 || text.compare(sign, 2, "0B") == 0;
  }

  locale_t c_ = newlocale(LC_ALL_MASK, "C", nullptr);
  locale_t old_ = uselocale(c_);
};

TEST_F(NumberText, EdgesOfNumbersAreReadAsTheCLibraryDoes) {
  // "<9*400>" stands for 400 nines. Signs and points; integers in base 0; the ends of the ranges;
  // exponents; hexadecimal floating point; long ones; ties between two doubles, and just beside
  // them.
  for (const char* const nothing : {"", " ", "\t+"}) checkPrefix(nothing);
  std::istringstream words(R"(
      5 +5 -5 +-5 -+5 --5 + - . +. -. .. 5. 5.. .5 -.5 +.5 -0.0 0.0 -0 +0 1.5.2 1-2 1.-2 1.5- 1.5+2
      0 00 0x 0x1f 0xFF -0x10 +0x10 0xg 00x1 0x-1 0x+1 0x0x1 017 -017 08 018 0b 1e5 x1 1x1
      0xffffffffffffffff 0x10000000000000000 01777777777777777777777 02000000000000000000000
      -0x8000000000000000 -0x8000000000000001 999999999999999999 1000000000000000000
      9223372036854775807 9223372036854775808 18446744073709551615 18446744073709551616
      -9223372036854775808 -9223372036854775809 -18446744073709551616 99999999999999999999999
      9223372036854775807.0 9223372036854775808.0 -9223372036854775808.0 -9223372036854777856.0
      9007199254740993.0 9007199254740992.5 4503599627370496.5 1234567890123456789.0
      1.e5 1.5e 1.5e+ 1.5e- 1.5E+3 1.5e-3 1.5ee3 1.5e3. .e5 1.e+-5 1.0e22 1.0e23 1.0e308 -1.8e308
      2.5e-324 2.4e-324 2.2250738585072011e-308 1.7976931348623158e308 1.7976931348623159e308
      0.0e999999999999999999999 1.0e999999999999999999999 1.0e-99999999999999999999999 1.0e-400
      0.1 0.3 123456.789 0.1234567890123456789 0x1.8 0x.8 0x1. 0x. -0x1.8 +0xA.b 0x1.8e5 0x-1.5
      0x+1.5 -0x-1.5 0x-.5 0x.-5 0x1.8- 0x0x.1 x.1 e.5 0x1.fffffffffffff8 0x1.fffffffffffff7f
      0x1.fffffffffffff80000000001 0x1.00000000000008 0x1.000000000000080000000000000001
      0x1ffffffffffffffff.8 <9*400>. -<9*400>.0 0.<0*400> 0.<0*400>1 0.<0*400>1e500
      1<0*400>.0e-400 0.<0*307>22250738585072014 <0*400>7 <0*400>7.5 0.<3*800> 0x<f*300>.
      0x0.<0*300>1 0x0.<0*267>fffffffffffff8 0x0.<0*268>8 0x0.<0*268>4 0x0.<0*268>40000001
      0x0.<0*268>c 0x<f*256>. 0x<f*013>8<0*242>. 0x<f*013>7<f*242>. 9007199254740993.<0*037>1
      9007199254740992.99999999999999 9007199254740995.0
      0.500000000000000166533453693773481063544750213623046875
      0.500000000000000166533453693773481063544750213623046876)");
  for (std::string text; words >> text;) {
    for (std::size_t at; (at = text.find('<')) != std::string::npos;) {
      text.replace(at, 7, std::string(std::stoul(text.substr(at + 3, 3)), text[at + 1]));
    }
    SCOPED_TRACE(text.substr(0, 60));
    check(text);
    for (const std::string& whole : {text, " \t\n\v\f\r" + text, "\xC2\xA0" + text, "\x1F" + text,
                                     text + " ", text + "\0005"s}) {
      checkPrefix(whole);
    }
  }
}

TEST_F(NumberText, RandomTextsAreReadAsTheCLibraryDoes) {
  for (int i = 0; i < 200'000; ++i) {
    const std::string text = randomText(kNumberBytes, 12);
    ASSERT_NO_FATAL_FAILURE(check(text));
    ASSERT_NO_FATAL_FAILURE(checkPrefix((pick(4) == 0 ? " " : "") + text));
  }
}

TEST_F(NumberText, RandomDecimalAndHexadecimalFractionsAreReadAsTheCLibraryDoes) {
  for (int i = 0; i < 50'000; ++i) {
    const bool isHex = pick(4) == 0;
    std::string text = randomText(isHex ? "0123456789abcdefABCDEF" : "0123456789", 25);
    text.insert(pick(text.size() + 1), 1, '.');
    if (!isHex && pick(2) == 0) {
      text += (pick(2) == 0 ? "e-" : "E") + std::to_string(pick(345));
    }
    const std::string sign = pick(3) == 0 ? "-" : "";
    ASSERT_NO_FATAL_FAILURE(check(sign + (isHex ? "0x" : "") + text));
  }
}

TEST_F(NumberText, DoublesAreWrittenAsPrintfDoes) {
  using Limits = std::numeric_limits<double>;
  // clang-format off
  std::vector<double> values{
      0.0, 5e-7, 4.9999999e-7, 1.5e-6, 0.9999995, 0.99999949999999997, 9.9999999, 1e-300, 1e20,
      1e22, 1e23, 123456789.1234565, Limits::max(), Limits::min(), Limits::denorm_min(),
      Limits::infinity(), Limits::quiet_NaN()};
  // clang-format on
  for (int power = -80; power <= 70; ++power) values.push_back(std::ldexp(1.0, power));
  for (int i = 0; i < 2000; ++i) {
    // Odd multiples of 2^-7 lie half-way between two texts of six decimals.
    values.push_back(static_cast<double>(pick(100'000'000)) / 128);
    values.push_back(static_cast<double>(pick(1000)) + 255.0 / 256);
  }
  for (const double value : values) {
    for (const double near : {value, std::nextafter(value, 0.0), std::nextafter(value, 1e300)}) {
      ASSERT_NO_FATAL_FAILURE(checkWritten(near));
      ASSERT_NO_FATAL_FAILURE(checkWritten(-near));
    }
  }
}

TEST_F(NumberText, RandomDoublesAreWrittenAsPrintfDoes) {
  for (int i = 0; i < 200'000; ++i) {
    const std::uint64_t bits = random_();
    ASSERT_NO_FATAL_FAILURE(checkWritten(std::bit_cast<double>(bits)));
    // Most exponents give digits on both sides of the point nowhere near it; these do.
    const std::uint64_t exponent = 1023 - 30 + bits % 90;
    const std::uint64_t near = (bits & ~(std::uint64_t{0x7FF} << 52)) | exponent << 52;
    ASSERT_NO_FATAL_FAILURE(checkWritten(std::bit_cast<double>(near)));
  }
}

TEST_F(NumberText, NumbersAreMadeOfTheseBytesOnly) {
  for (int c = 0; c < 256; ++c) {
    const bool expected =
        c != 0 && std::string(kNumberBytes).find(static_cast<char>(c)) != std::string::npos;
    EXPECT_EQ(isNumberByte(static_cast<char>(c)), expected) << c;
  }
}

}  // namespace
