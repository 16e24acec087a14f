// Numbers as text, compared with what the C library makes of them in the "C" locale.
#include "number_text.h"

#include <gtest/gtest.h>
#include <locale.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>

namespace {

using namespace vexo::variant;
using std::string_literals::operator""s;

constexpr char kNumberBytes[] = "+-.x0123456789abcdefABCDEF";

/// The suite runs under foreign locales; the C library is asked in its own.
class NumberText : public testing::Test {
 protected:
  NumberText() { uselocale(newlocale(LC_ALL_MASK, "C", nullptr)); }
  ~NumberText() override { uselocale(LC_GLOBAL_LOCALE); }

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
    return end == whole && !text.empty() ? held : Held{};
  }

  static bool mayDiffer(const std::string& text) {  // newer C libraries read 0b101 in base 0
    return text.find("0b") != std::string::npos || text.find("0B") != std::string::npos;
  }

  static void check(const std::string& text) {
    if (mayDiffer(text)) return;
    const Held expected = reference(text);
    const Held held = parseNumber(text);
    ASSERT_EQ(held.type, expected.type) << text;
    ASSERT_EQ(load<std::uint64_t>(held.payload), load<std::uint64_t>(expected.payload)) << text;
  }

  static void checkPrefix(const std::string& text) {
    for (const int base : {0, 10}) {
      if (base == 0 && mayDiffer(text)) continue;
      const IntegerPrefix number = parseIntegerPrefix(text, static_cast<unsigned>(base));
      char* end = nullptr;
      const std::int64_t expected = std::strtoll(text.c_str(), &end, base);
      ASSERT_EQ(clampSigned(number), expected) << text;
      ASSERT_EQ(clampUnsigned(number), std::strtoull(text.c_str(), nullptr, base)) << text;
      ASSERT_EQ(number.end - text.data(), end - text.c_str()) << text << " base " << base;
      if (base == 0) continue;
      std::int64_t value = 0;
      const bool isName = !text.empty() && end == text.c_str() + text.size();
      ASSERT_EQ(parseIntegerName(text, value), isName) << text;
      ASSERT_EQ(value, isName ? expected : 0) << text;
    }
  }

  static void checkWritten(double value) {
    char written[kNumberTextRoom];
    char expected[sizeof written];
    std::snprintf(expected, sizeof expected, "%.6f", value);
    ASSERT_EQ(std::string_view(written, writeNumber(value, written)), expected);
  }

  std::size_t pick(std::size_t count) { return static_cast<std::size_t>(random_() % count); }

  std::string randomText(const std::string& alphabet, std::size_t longest) {
    std::string text(1 + pick(longest), ' ');
    for (char& c : text) c = alphabet[pick(alphabet.size())];
    return text;
  }

  std::mt19937_64 random_{20261122};
};

/// The words of a text; "_" is the empty one, and "<9*400>" stands for 400 nines.
std::vector<std::string> words(const std::string& text) {
  std::istringstream input(text);
  std::vector<std::string> result;
  for (std::string word; input >> word; result.push_back(word == "_" ? "" : word)) {
    for (std::size_t at; (at = word.find('<')) != std::string::npos;)
      word.replace(at, 7, std::string(std::stoul(word.substr(at + 3, 3)), word[at + 1]));
  }
  return result;
}

TEST_F(NumberText, EdgesOfNumbersAreReadAsTheCLibraryDoes) {
  // The ends of the ranges, what is too large or too small by much or by little, ties between two
  // doubles and what is just beside them, whole or cut: every start with every end and exponent.
  const auto ends =
      words(R"(_ . .. .0 .1 .5 .8 .c .25 .-5 -2 .5- .1234567890123456789 .99999999999999
      .500000000000000166533453693773481063544750213623046875 .<0*400>1 .<0*037>1 .<0*300>1 .<3*800>
      .500000000000000166533453693773481063544750213623046876 .fffffffffffff8 .<0*268>8
      .fffffffffffff7f .fffffffffffff80000000001 .00000000000008 .000000000000080000000000000001
      .<0*268>4 .<0*268>c .<0*307>22250738585072014 .<0*267>fffffffffffff8 .<0*268>40000001)");
  const auto exponents = words(R"(_ e e+ e- E+3 e-3 ee3 e3. e+-5 e22 e23 e308 e-308 e-324 e-400 e500
      e999999999999999999999 e-99999999999999999999999)");
  for (const std::string& start :
       words(R"(_ 0 1 2 5 0b 017 018 999999999999999999 1000000000000000000
      01777777777777777777777 02000000000000000000000 18446744073709551615 18446744073709551616
      9223372036854775807 9223372036854775808 9223372036854775809 9223372036854777856
      4503599627370496 9007199254740992 9007199254740993 9007199254740995 17976931348623159<0*292>
      17976931348623158<0*292> <9*400> <0*400> <0*400>7 1<0*400> 0x 0xg 0x0 0x0x 0x1 0x-1 0xA
      0x7fffffffffffffff 0x8000000000000000 0x8000000000000001 0xffffffffffffffff
      0x10000000000000000 0x1ffffffffffffffff 0x<f*300> 0x<f*256> 0x<f*013>8<0*242>
      0x<f*013>7<f*242>)")) {
    for (const std::string& end : ends) {
      for (const std::string& exponent : exponents)
        check((pick(2) ? "-" : "") + start + end + exponent);
    }
    for (const std::string before : {"", "-", "+", " \t\n\v\f\r", " +", "\xC2\xA0", "\x1F"})
      for (const std::string& behind : {""s, " "s, "\0005"s}) checkPrefix(before + start + behind);
  }
}

TEST_F(NumberText, RandomTextsAreReadAsTheCLibraryDoes) {
  for (int i = 0; i < 200'000; ++i) {
    const std::string text = randomText(kNumberBytes, 12);
    ASSERT_NO_FATAL_FAILURE(check(text));
    ASSERT_NO_FATAL_FAILURE(checkPrefix((pick(4) == 0 ? " " : "") + text));
    const bool isHex = pick(4) == 0;
    std::string fraction = randomText(isHex ? "0123456789abcdefABCDEF" : "0123456789", 25);
    fraction.insert(pick(fraction.size() + 1), 1, '.');
    if (!isHex && pick(2) == 0) fraction += (pick(2) ? "e-" : "E") + std::to_string(pick(345));
    ASSERT_NO_FATAL_FAILURE(check((pick(3) == 0 ? "-" : "") + (isHex ? "0x"s : "") + fraction));
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
  for (int i = 0; i < 20'000; ++i) {
    const std::uint64_t bits = random_();
    values.push_back(std::bit_cast<double>(bits));
    // Most exponents give digits on both sides of the point nowhere near it; these do.
    values.push_back(std::ldexp(static_cast<double>(bits >> 11), static_cast<int>(bits % 90) - 83));
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

TEST_F(NumberText, NumbersAreMadeOfTheseBytesOnly) {
  const std::string bytes = kNumberBytes;
  for (int c = 0; c < 256; ++c)
    EXPECT_EQ(isNumberByte(static_cast<char>(c)), bytes.find(static_cast<char>(c)) < bytes.size());
}

}  // namespace
