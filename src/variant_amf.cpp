// The AMF format: size pass and writer. There is no reader.
#include <bit>
#include <cmath>
#include <concepts>
#include <limits>
#include <string_view>
#include <type_traits>
#include <utility>

#include "binary_entries.h"
#include "byte_io.h"
#include "number_text.h"
#include "tree_walk.h"
#include "variant_access.h"

namespace vexo::variant {

namespace {

constexpr LogArea kLog{"src/variant_amf"};

constexpr std::uint8_t kNumber = 0x00;
constexpr std::uint8_t kBoolean = 0x01;
constexpr std::uint8_t kString = 0x02;
constexpr std::uint8_t kObject = 0x03;
constexpr std::uint8_t kNull = 0x05;
constexpr std::uint8_t kObjectEnd = 0x09;
constexpr std::uint8_t kStrictArray = 0x0A;
constexpr std::uint8_t kDate = 0x0B;
constexpr std::uint8_t kLongString = 0x0C;
constexpr std::uint8_t kAmf3Value = 0x11;
constexpr std::uint8_t kAmf3ByteArray = 0x0C;

constexpr std::uint16_t kNoName = 0;    // comes before the end of an object
constexpr std::uint16_t kTimeZone = 0;  // of a date
constexpr std::size_t kMaxShortSize = std::numeric_limits<std::uint16_t>::max();
constexpr std::uint32_t kByteArrayEnd = 0x10000000;  // sizes from here do not fit into a U29
constexpr std::uint32_t kU29End = 0x20000000;

bool isStrictArray(const Variant& value, const VariantMap& map) {
  return typeOf(value) == V_MAP && map.isArray != 0 && map.stringKeys.empty();
}

double milliseconds(const timeval& time) {
  return std::fma(static_cast<double>(time.tv_sec), 1000.0,
                  static_cast<double>(time.tv_usec) / 1000.0);
}

/// Counts what a writer would write.
class ByteCounter {
 public:
  explicit ByteCounter(const char* function) : function_(function) {}

  const char* function() const { return function_; }
  std::uint64_t position() const { return position_; }
  bool room(std::uint64_t, std::uint64_t, int = 0) const { return true; }
  void write(const void*, std::uint64_t count) { advance(count); }
  template <std::unsigned_integral T>
  void write(T) {
    advance(sizeof(T));
  }
  void advance(std::uint64_t count) { position_ += count; }
  // A little room to try out how wide a number gets.
  std::uint8_t* here() { return scratch_; }
  std::uint32_t left() const { return sizeof scratch_; }

 private:
  const char* function_;
  std::uint64_t position_ = 0;
  std::uint8_t scratch_[4];
};

/// Writes a tree to a ByteWriter, or measures it with a ByteCounter: one description serves both,
/// so that the size is exact.
template <class Output>
class AmfPass : public TreeVisitor<const Variant> {
  using Position = decltype(std::declval<Output&>().position());

 public:
  static constexpr bool kStringsFirst = true;
  struct Mark {
    Position base;  // where the map's encoding begins
    bool isArray;
  };

  explicit AmfPass(Output& output) : out_(output) {}

  bool leaf(const Variant& value) {
    const Payload& payload = payloadOf(value);
    switch (typeOf(value)) {
      case V_NULL:
        return head(kNull, 0);
      case V_BOOL:
        return head(kBoolean, 1) && put(static_cast<std::uint8_t>(integerBits(value)));
      case V_TIMESTAMP:
        return head(kDate, sizeof(double) + sizeof kTimeZone) &&
               putDouble(milliseconds(*payload.timestamp)) && put(kTimeZone);
      case V_STRING:
        return string(*payload.string);
      case V_BINARY:
        return byteArray(*payload.buffer);
      default:
        return number(value);
    }
  }
  bool enter(const Variant& value, const VariantMap& map, Mark& mark) {
    mark = {out_.position(), isStrictArray(value, map)};
    const auto count = static_cast<std::uint32_t>(map.numericKeys.size());
    return mark.isArray ? head(kStrictArray, sizeof count) && put(count) : head(kObject, 0);
  }
  bool stringMember(Mark& mark, const std::string& key, const Variant&) { return name(mark, key); }
  bool numericMember(Mark& mark, std::int64_t key, const Variant&) {
    IntegerBuffer buffer;
    return mark.isArray || name(mark, integerText(key, buffer));
  }
  bool leave(Mark& mark, const VariantMap&) {
    return mark.isArray || (out_.room(mark.base, sizeof kNoName + sizeof kObjectEnd) &&
                            put(kNoName) && put(kObjectEnd));
  }

 private:
  /// A marker, with room for so many bytes behind it as well.
  bool head(std::uint8_t marker, std::uint64_t body, int line = __builtin_LINE()) {
    return out_.room(out_.position(), sizeof marker + body, line) && put(marker);
  }
  // These need room.
  template <class T>
  bool put(T value) {
    out_.write(value);
    return true;
  }
  bool put(std::string_view bytes) {
    out_.write(bytes.data(), bytes.size());
    return true;
  }
  bool putDouble(double value) { return put(std::bit_cast<std::uint64_t>(value)); }

  bool number(const Variant& value) {
    const std::uint32_t type = typeOf(value);
    if (!isInteger(type) && type != V_DOUBLE) return unsupported(type);
    return head(kNumber, sizeof(double)) && putDouble(static_cast<double>(value));
  }
  /// Only the writer tells; the size is 0 without a word.
  bool unsupported(std::uint32_t type) const {
    if (std::is_same_v<Output, ByteWriter>) {
      kLog.error(out_.function(), "variant type not supported by AMF serializer: %s Ignoring it",
                 Variant::VariantTypeToString(callersType(type)));
    }
    return false;
  }

  bool string(std::string_view text) {
    const auto size = static_cast<std::uint32_t>(text.size());
    if (text.size() <= kMaxShortSize) {
      const auto shortSize = static_cast<std::uint16_t>(size);
      return head(kString, sizeof shortSize + text.size()) && put(shortSize) && put(text);
    }
    return head(kLongString, sizeof size + std::uint64_t{text.size()}) && put(size) && put(text);
  }

  bool name(const Mark& mark, std::string_view key) {
    if (key.size() > kMaxShortSize) {
      kLog.error(out_.function(), "Key too long for AMF");
      return false;
    }
    const auto size = static_cast<std::uint16_t>(key.size());
    return out_.room(mark.base, sizeof size + key.size()) && put(size) && put(key);
  }

  /// Its size comes with a bit that says that the bytes follow.
  bool byteArray(const VariantBuffer& buffer) {
    if (buffer.size >= kByteArrayEnd) {
      kLog.error(out_.function(), "Byte array too big for AMF");
      return false;
    }
    const auto base = out_.position();
    if (!head(kAmf3Value, sizeof kAmf3ByteArray) || !put(kAmf3ByteArray)) return false;
    const std::uint32_t width = WriteAdobeU29(out_.here(), out_.left(), buffer.size << 1 | 1);
    out_.advance(width);
    if (width == 0 || !out_.room(base, buffer.size)) return false;
    out_.write(buffer.data, buffer.size);
    return true;
  }

  Output& out_;
};

}  // namespace

std::uint32_t WriteAdobeU29(std::uint8_t* buffer, std::uint32_t length, std::uint32_t value) {
  constexpr const char* kFunction = "WriteAdobeU29";
  if (value >= kU29End) {
    kLog.error(kFunction, "Invalid size for Adobe U29 format");
    return 0;
  }
  const std::uint32_t width = value < 0x80 ? 1 : value < 0x4000 ? 2 : value < 0x200000 ? 3 : 4;
  ByteWriter out(buffer, length, kLog, kFunction);
  if (!out.room(0, width)) return 0;
  // Seven bits to a byte, but eight to the last of four.
  const unsigned lastBits = width == 4 ? 8 : 7;
  for (unsigned more = width - 1; more > 0; --more) {
    const std::uint32_t bits = value >> (lastBits + 7 * (more - 1));
    out.write(static_cast<std::uint8_t>((bits & 0x7F) | 0x80));
  }
  out.write(static_cast<std::uint8_t>(value & ((1u << lastBits) - 1)));
  if (width == 1) kLog.log(LogArea::kDebug, kFunction, "%08x; %02x", value, value);
  return width;
}

std::uint32_t Variant::GetAMFRequiredLength() const {
  ByteCounter counter("GetAMFRequiredLength");
  AmfPass pass(counter);
  if (!walkTree(*this, pass)) return 0;
  return encodedLength(counter.position(), kLog, counter.function());
}

std::uint32_t Variant::ToInternalAMF(std::uint8_t* buffer, std::uint32_t length) const {
  ByteWriter writer(buffer, length, kLog, "ToInternalAMF");
  AmfPass pass(writer);
  return walkTree(*this, pass) ? writer.position() : 0;
}

std::uint32_t Variant::ToAMF(std::uint8_t* buffer, std::uint32_t& length) const {
  return fits(GetAMFRequiredLength(), length) ? ToInternalAMF(buffer, length) : 0;
}

std::uint32_t Variant::ToAMF(vexo::utils::IOBuffer& output) const {
  return appendEncoded(*this, &Variant::ToAMF, output);
}

bool Variant::ToAMFFile(const std::string& path) const {
  return writeEncodedFile(*this, &Variant::ToAMF, path, kLog, "ToAMFFile");
}

std::uint32_t Variant::FromAMF(const std::uint8_t*, std::uint32_t) {
  kLog.log(LogArea::kNotice, "FromAMF", "Function %s not yet implemented", "FromAMF");
  return 0;
}

bool Variant::FromAMFFile(const std::string& path) {
  return readEncodedFile(*this, &Variant::FromAMF, path);
}

}  // namespace vexo::variant
