#include "vexo_utils/base64.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace vexo::utils {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t kNotInAlphabet = 0x80;

constexpr std::array<std::uint8_t, 256> kValues = [] {
  std::array<std::uint8_t, 256> values{};
  values.fill(kNotInAlphabet);
  for (std::uint8_t value = 0; value < 64; ++value) {
    values[static_cast<unsigned char>(kAlphabet[value])] = value;
  }
  return values;
}();

unsigned char characterOf(unsigned int bits) {
  return static_cast<unsigned char>(kAlphabet[bits & 0x3F]);
}

void encodeGroup(unsigned int first, unsigned int second, unsigned int third, unsigned char* out) {
  const unsigned int bits = first << 16 | second << 8 | third;
  out[0] = characterOf(bits >> 18);
  out[1] = characterOf(bits >> 12);
  out[2] = characterOf(bits >> 6);
  out[3] = characterOf(bits);
}

/// Returns the four values ORed together: `kNotInAlphabet` is set when one of them is not valid.
unsigned int decodeGroup(const unsigned char* text, unsigned char* out) {
  const unsigned int first = kValues[text[0]];
  const unsigned int second = kValues[text[1]];
  const unsigned int third = kValues[text[2]];
  const unsigned int fourth = kValues[text[3]];
  const unsigned int bits = first << 18 | second << 12 | third << 6 | fourth;
  out[0] = static_cast<unsigned char>(bits >> 16);
  out[1] = static_cast<unsigned char>(bits >> 8);
  out[2] = static_cast<unsigned char>(bits);
  return first | second | third | fourth;
}

/// Decodes the last group, of which `padding` characters are '='. The bytes that these stand for
/// come out as zero exactly when the bits in front of the padding are zero, as they must be.
bool decodeLastGroup(const unsigned char* text, unsigned int padding, unsigned char* out) {
  unsigned char padded[4];
  std::fill_n(std::copy_n(text, 4 - padding, padded), padding, static_cast<unsigned char>('A'));
  unsigned char bytes[3];
  if ((decodeGroup(padded, bytes) & kNotInAlphabet) != 0) {
    return false;
  }
  std::copy_n(bytes, 3 - padding, out);
  return std::all_of(bytes + 3 - padding, bytes + 3, [](unsigned char byte) { return byte == 0; });
}

unsigned int countPadding(const unsigned char* text, unsigned int length) {
  if (text[length - 1] != '=') {
    return 0;
  }
  return text[length - 2] == '=' ? 2 : 1;
}

bool decode(const unsigned char* text, unsigned int length, unsigned int padding,
            unsigned char* out) {
  const unsigned char* const last = text + length - 4;
  unsigned int seen = 0;
  for (; text != last; text += 4, out += 3) {
    seen |= decodeGroup(text, out);
  }
  return (seen & kNotInAlphabet) == 0 && decodeLastGroup(last, padding, out);
}

}  // namespace

unsigned int b64(const unsigned char* data, unsigned int size, unsigned char* out,
                 unsigned int& outLen) {
  const std::uint64_t needed = (std::uint64_t{size} + 2) / 3 * 4;
  const bool fits = needed <= outLen;
  outLen = static_cast<unsigned int>(
      std::min<std::uint64_t>(needed, std::numeric_limits<unsigned int>::max()));
  if (!fits) {
    return 0;
  }
  for (; size >= 3; size -= 3, data += 3, out += 4) {
    encodeGroup(data[0], data[1], data[2], out);
  }
  if (size > 0) {
    encodeGroup(data[0], size == 2 ? data[1] : 0U, 0, out);
    std::fill_n(out + 1 + size, 3 - size, static_cast<unsigned char>('='));
  }
  return outLen;
}

unsigned int unb64(const unsigned char* text, unsigned int length, unsigned char* out,
                   unsigned int& outLen) {
  const unsigned int room = outLen;
  outLen = 0;
  if (length == 0 || length % 4 != 0) {
    return 0;
  }
  const unsigned int padding = countPadding(text, length);
  const unsigned int decoded = length / 4 * 3 - padding;
  if (decoded <= room && decode(text, length, padding, out)) {
    outLen = decoded;
  }
  return outLen;
}

}  // namespace vexo::utils
