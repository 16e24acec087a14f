// The AMF format: size pass and writer. There is no reader.
#include <bit>
#include <cmath>
#include <limits>

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

constexpr std::uint32_t kMarkerSize = 1;
constexpr std::uint32_t kShortCountSize = 2;
constexpr std::uint32_t kLongCountSize = 4;
constexpr std::uint32_t kArrayHeadSize = kMarkerSize + kLongCountSize;
constexpr std::uint32_t kObjectEndSize = kShortCountSize + kMarkerSize;
constexpr std::uint32_t kByteArrayMarkersSize = 2;
constexpr std::size_t kMaxShortCount = std::numeric_limits<std::uint16_t>::max();
constexpr std::uint32_t kByteArrayEnd = 0x10000000;  // sizes from here do not fit into a U29
constexpr std::uint32_t kU29End = 0x20000000;

bool isShort(std::string_view text) { return text.size() <= kMaxShortCount; }

bool isStrictArray(const Variant& value, const VariantMap& map) {
  return typeOf(value) == V_MAP && map.isArray != 0 && map.stringKeys.empty();
}

/// The marker and its count, which both depend on the length.
std::uint32_t stringHeadSize(const std::string& text) {
  return kMarkerSize + (isShort(text) ? kShortCountSize : kLongCountSize);
}

/// The size of a value of fixed size, with its marker; 0 for all others.
std::uint32_t fixedSize(std::uint32_t type) {
  if (isInteger(type) || type == V_DOUBLE) return kMarkerSize + sizeof(double);
  switch (type) {
    case V_NULL:
      return kMarkerSize;
    case V_BOOL:
      return kMarkerSize + 1;
    case V_TIMESTAMP:
      return kMarkerSize + sizeof(double) + kShortCountSize;  // the time zone takes two bytes
    default:
      return 0;
  }
}

bool checkKey(std::string_view key, LogSite site) {
  if (isShort(key)) return true;
  kLog.error(site, "Key too long for AMF");
  return false;
}

bool checkBuffer(const VariantBuffer& buffer, LogSite site) {
  if (buffer.size < kByteArrayEnd) return true;
  kLog.error(site, "Byte array too big for AMF");
  return false;
}

/// A byte array begins with its size and a bit that says that the bytes follow.
std::uint32_t byteArrayHead(const VariantBuffer& buffer) { return buffer.size << 1 | 1; }

class AmfSizePass : public TreeVisitor<const Variant> {
 public:
  static constexpr bool kStringsFirst = true;
  struct Mark {
    bool isArray;
  };

  std::uint64_t total() const { return total_; }

  bool leaf(const Variant& value) {
    const std::uint32_t size = fixedSize(typeOf(value));
    if (size > 0) return add(size);
    const Payload& payload = payloadOf(value);
    if (typeOf(value) == V_STRING) {
      return add(stringHeadSize(*payload.string)) && add(payload.string->size());
    }
    return typeOf(value) == V_BINARY && byteArray(*payload.buffer);
  }
  bool enter(const Variant& value, const VariantMap& map, Mark& mark) {
    mark.isArray = isStrictArray(value, map);
    return add(mark.isArray ? kArrayHeadSize : kMarkerSize + kObjectEndSize);
  }
  bool stringMember(Mark&, const std::string& key, const Variant&) { return name(key); }
  bool numericMember(Mark& mark, std::int64_t key, const Variant&) {
    NumberBuffer buffer;
    return mark.isArray || name(integerText(key, buffer));
  }

 private:
  static constexpr const char* kFunction = "GetAMFRequiredLength";

  bool add(std::uint64_t size) {
    total_ += size;
    return true;
  }
  bool name(std::string_view key) {
    return checkKey(key, kFunction) && add(kShortCountSize + key.size());
  }
  bool byteArray(const VariantBuffer& buffer) {
    if (!checkBuffer(buffer, kFunction)) return false;
    std::uint8_t scratch[4];
    const std::uint32_t width = WriteAdobeU29(scratch, sizeof scratch, byteArrayHead(buffer));
    return add(std::uint64_t{kByteArrayMarkersSize} + width + buffer.size);
  }

  std::uint64_t total_ = 0;
};

class AmfWriter : public TreeVisitor<const Variant> {
 public:
  static constexpr bool kStringsFirst = true;
  struct Mark {
    std::uint32_t base;  // where the map's encoding begins
    bool isArray;
  };

  AmfWriter(std::uint8_t* buffer, std::uint32_t length) : out_(buffer, length, kLog, kFunction) {}

  std::uint32_t written() const { return out_.position(); }

  bool leaf(const Variant& value) {
    const std::uint32_t type = typeOf(value);
    const Payload& payload = payloadOf(value);
    if (type == V_STRING) return string(*payload.string);
    if (type == V_BINARY) return byteArray(*payload.buffer);
    const std::uint32_t size = fixedSize(type);
    if (size > 0) return room(size) && fixed(value);
    kLog.error(kFunction, "variant type not supported by AMF serializer: %s Ignoring it",
               Variant::VariantTypeToString(static_cast<VariantType>(type)));
    return false;
  }
  bool enter(const Variant& value, const VariantMap& map, Mark& mark) {
    mark = {out_.position(), isStrictArray(value, map)};
    if (!room(mark.isArray ? kArrayHeadSize : kMarkerSize)) return false;
    out_.write(mark.isArray ? kStrictArray : kObject);
    if (mark.isArray) out_.write(static_cast<std::uint32_t>(map.numericKeys.size()));
    return true;
  }
  bool stringMember(Mark& mark, const std::string& key, const Variant&) { return name(mark, key); }
  bool numericMember(Mark& mark, std::int64_t key, const Variant&) {
    NumberBuffer buffer;
    return mark.isArray || name(mark, integerText(key, buffer));
  }
  bool leave(Mark& mark, const VariantMap&) {
    if (mark.isArray) return true;
    if (!out_.room(mark.base, kObjectEndSize)) return false;
    out_.write(std::uint16_t{0});
    out_.write(kObjectEnd);
    return true;
  }

 private:
  static constexpr const char* kFunction = "ToInternalAMF";

  /// Room for the first bytes of a value.
  bool room(std::uint64_t needed, int line = __builtin_LINE()) const {
    return out_.room(out_.position(), needed, line);
  }
  bool name(const Mark& mark, std::string_view key) {
    if (!checkKey(key, kFunction) || !out_.room(mark.base, kShortCountSize + key.size())) {
      return false;
    }
    out_.write(static_cast<std::uint16_t>(key.size()));
    out_.write(key.data(), static_cast<std::uint32_t>(key.size()));
    return true;
  }
  bool string(const std::string& text) {
    if (!room(std::uint64_t{stringHeadSize(text)} + text.size())) return false;
    const auto size = static_cast<std::uint32_t>(text.size());
    if (isShort(text)) {
      out_.write(kString);
      out_.write(static_cast<std::uint16_t>(size));
    } else {
      out_.write(kLongString);
      out_.write(size);
    }
    out_.write(text.data(), size);
    return true;
  }
  bool byteArray(const VariantBuffer& buffer) {
    const std::uint32_t base = out_.position();
    if (!checkBuffer(buffer, kFunction) || !room(kByteArrayMarkersSize)) return false;
    out_.write(kAmf3Value);
    out_.write(kAmf3ByteArray);
    const std::uint32_t width = WriteAdobeU29(out_.here(), out_.left(), byteArrayHead(buffer));
    out_.advance(width);
    if (width == 0 || !out_.room(base, buffer.size)) return false;
    out_.write(buffer.data, buffer.size);
    return true;
  }
  /// Needs room.
  bool fixed(const Variant& value) {
    switch (typeOf(value)) {
      case V_NULL:
        out_.write(kNull);
        break;
      case V_BOOL:
        out_.write(kBoolean);
        out_.write(static_cast<std::uint8_t>(integerBits(value)));
        break;
      case V_TIMESTAMP:
        out_.write(kDate);
        number(milliseconds(*payloadOf(value).timestamp));
        out_.write(std::uint16_t{0});  // the time zone
        break;
      default:
        out_.write(kNumber);
        number(static_cast<double>(value));
    }
    return true;
  }
  void number(double value) { out_.write(std::bit_cast<std::uint64_t>(value)); }
  static double milliseconds(const timeval& time) {
    return std::fma(static_cast<double>(time.tv_sec), 1000.0,
                    static_cast<double>(time.tv_usec) / 1000.0);
  }

  ByteWriter out_;
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
  AmfSizePass pass;
  if (!walkTree(*this, pass)) return 0;
  return encodedLength(pass.total(), kLog, "GetAMFRequiredLength");
}

std::uint32_t Variant::ToInternalAMF(std::uint8_t* buffer, std::uint32_t length) const {
  AmfWriter writer(buffer, length);
  return walkTree(*this, writer) ? writer.written() : 0;
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
