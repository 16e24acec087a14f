// The BIN format: size pass, writer and reader.
#include <algorithm>
#include <bit>
#include <limits>

#include "binary_entries.h"
#include "byte_io.h"
#include "tree_walk.h"
#include "variant_access.h"

namespace vexo::variant {

namespace {

constexpr LogArea kLog{"src/variant_bin"};

constexpr std::uint32_t kTagSize = 2;
// The greatest widths of a U56, which is what sizes and room checks count.
constexpr std::uint32_t kMaxKey = 8;
constexpr std::uint32_t kMaxCount = 5;
constexpr std::uint64_t kU56End = std::uint64_t{1} << 56;

bool isSized(std::uint32_t type) { return type == V_STRING || type == V_BINARY; }

struct Bytes {
  const void* data;
  std::uint64_t size;
};

/// The bytes of a string or a buffer.
Bytes bytesOf(const Variant& value) {
  const Payload& payload = payloadOf(value);
  if (typeOf(value) == V_STRING) return {payload.string->data(), payload.string->size()};
  return {payload.buffer->data, payload.buffer->size};
}

/// Counts every U56 at its greatest width.
class SizePass : public TreeVisitor<const Variant> {
 public:
  std::uint64_t total() const { return total_; }

  bool leaf(const Variant& value) {
    const TypeInfo* info = findType(typeOf(value));
    if (info == nullptr) return true;
    total_ += kTagSize + info->binBody;
    if (isSized(info->code)) total_ += kMaxCount + bytesOf(value).size;
    return true;
  }
  bool enter(const Variant& value, const VariantMap& map, Mark&) {
    total_ += kTagSize + 1 + 2 * kMaxCount;
    if (typeOf(value) == V_TYPED_MAP) total_ += kMaxCount + map.typeName.size();
    total_ += kMaxKey * std::uint64_t{map.numericKeys.size()};
    return true;
  }
  bool stringMember(Mark&, const std::string& key, const Variant&) {
    total_ += kMaxCount + key.size();
    return true;
  }

 private:
  std::uint64_t total_ = 0;
};

class BinWriter : public TreeVisitor<const Variant> {
 public:
  struct Mark {
    std::uint32_t base;  // where the map's encoding begins
  };

  BinWriter(std::uint8_t* buffer, std::uint32_t length)
      : out_(buffer, length, kLog, "ToInternalBIN") {}

  std::uint32_t written() const { return out_.position(); }

  bool leaf(const Variant& value) {
    const std::uint32_t base = out_.position();
    const TypeInfo* info = findType(typeOf(value));
    if (!tag(value, base)) return false;
    if (info == nullptr) return false;
    if (isSized(info->code)) return counted(base, bytesOf(value));
    return out_.room(base, info->binBody) && body(value);
  }
  bool enter(const Variant& value, const VariantMap& map, Mark& mark) {
    mark.base = out_.position();
    if (!tag(value, mark.base) || !out_.room(mark.base, 1)) return false;
    out_.write(map.isArray);
    if (typeOf(value) == V_TYPED_MAP &&
        !counted(mark.base, {map.typeName.data(), map.typeName.size()})) {
      return false;
    }
    return number(mark.base, kMaxCount, map.numericKeys.size());
  }
  bool numericMember(Mark& mark, std::int64_t key, const Variant&) {
    return number(mark.base, kMaxKey, static_cast<std::uint64_t>(key));
  }
  bool strings(Mark& mark, const VariantMap& map) {
    return number(mark.base, kMaxCount, map.stringKeys.size());
  }
  bool stringMember(Mark& mark, const std::string& key, const Variant&) {
    return counted(mark.base, {key.data(), key.size()});
  }

 private:
  bool tag(const Variant& value, std::uint32_t base) {
    if (!out_.room(base, kTagSize)) return false;
    out_.write(static_cast<std::uint16_t>(typeOf(value)));
    return true;
  }
  /// Needs room.
  bool u56(std::uint64_t value) {
    if (value < 0x80) return fixed(static_cast<std::uint8_t>(value));  // the most frequent by far
    const std::uint32_t width = ToU56(value, out_.here());
    out_.advance(width);
    return width > 0;
  }
  bool number(std::uint32_t base, std::uint32_t widest, std::uint64_t value,
              int line = __builtin_LINE()) {
    return out_.room(base, widest, line) && u56(value);
  }
  bool counted(std::uint32_t base, Bytes bytes, int line = __builtin_LINE()) {
    if (!out_.room(base, bytes.size + kMaxCount, line) || !u56(bytes.size)) return false;
    out_.write(bytes.data, static_cast<std::size_t>(bytes.size));
    return true;
  }
  template <class T>
  bool fixed(T value) {
    out_.write(value);
    return true;
  }
  /// The body of a value of fixed greatest size; needs room for that.
  bool body(const Variant& value) {
    const Payload& payload = payloadOf(value);
    const auto bits = [&] { return integerBits(value); };
    switch (typeOf(value)) {
      case V_BOOL:
      case V_INT8:
      case V_UINT8:
        return fixed(static_cast<std::uint8_t>(bits()));
      case V_INT16:
        return fixed(static_cast<std::uint16_t>(bits()));
      case V_INT32:
        return fixed(static_cast<std::uint32_t>(bits()));
      case V_INT64:
      case V_UINT64:
        return fixed(bits());
      case V_UINT16:
      case V_UINT32:
        return u56(bits());
      case V_DOUBLE:
        return fixed(std::bit_cast<std::uint64_t>(load<double>(payload)));
      case V_TIMESTAMP:
        out_.write(static_cast<std::uint64_t>(std::int64_t{payload.timestamp->tv_sec}));
        return fixed(static_cast<std::uint32_t>(payload.timestamp->tv_usec));
      default:
        return true;  // null
    }
  }

  ByteWriter out_;
};

/// Builds the tree while reading, so that what stands before a failure stays.
class BinReader {
 public:
  BinReader(const std::uint8_t* buffer, std::uint32_t length)
      : in_(buffer, length, kLog, "FromBIN"), unreserved_(length / kSmallestMember) {}

  /// The number of bytes read, or 0.
  std::uint32_t read(Variant& root) {
    if (!value(root)) return 0;
    while (!frames_.empty()) {
      if (!readMembers(frames_.top())) return 0;
    }
    return in_.position();
  }

 private:
  static constexpr std::uint32_t kSmallestMember = 3;  // one byte of key and a tag

  struct Frame {
    VariantMap* map;
    std::uint32_t base;
    std::uint32_t left;  // members to come of the set being read
    bool inStrings;
  };

  /// Reads members of the innermost map up to the next map, which becomes the innermost, or closes
  /// it.
  bool readMembers(Frame& frame) {
    const std::size_t depth = frames_.size();
    while (frame.left > 0) {
      --frame.left;
      Variant* const member = frame.inStrings ? stringMember(frame) : numericMember(frame);
      if (member == nullptr || !value(*member)) return false;
      if (frames_.size() > depth) return true;
    }
    if (frame.inStrings) {
      frames_.pop();
      return true;
    }
    frame.inStrings = true;
    return count(frame, frame.map->stringKeys);
  }

  Variant* numericMember(Frame& frame) {
    std::uint64_t key = 0;
    if (!u56(key)) return nullptr;
    const auto [position, isNew] =
        frame.map->numericKeys.try_emplace(static_cast<std::int64_t>(key));
    return &position->second;
  }

  Variant* stringMember(Frame& frame) {
    std::string_view key;
    if (!text(frame.base, key)) return nullptr;
    const auto [position, isNew] = frame.map->stringKeys.try_emplace(key);
    return &position->second;
  }

  /// Reads the number of members and makes room for them. All maps of the input together get no
  /// more room in advance than the input could fill, whatever their counts say.
  template <class Members>
  bool count(Frame& frame, Members& members) {
    std::uint64_t declared = 0;
    if (!u56(declared)) return false;
    frame.left = static_cast<std::uint32_t>(declared);
    const std::uint32_t reserved = std::min(frame.left, unreserved_);
    unreserved_ -= reserved;
    members.reserve(reserved);
    return true;
  }

  bool u56(std::uint64_t& value) {
    if (in_.left() > 0 && *in_.here() < 0x80) {  // the most frequent by far
      value = in_.read<std::uint8_t>();
      return true;
    }
    return longU56(value);
  }
  [[gnu::noinline]] bool longU56(std::uint64_t& value) {
    const std::uint32_t width = FromU56(in_.here(), in_.left(), value);
    in_.advance(width);
    return width > 0;
  }

  /// A byte count and as many bytes.
  bool text(std::uint32_t base, std::string_view& bytes, int line = __builtin_LINE()) {
    std::uint64_t size = 0;
    if (!u56(size) || !in_.room(base, size, line)) return false;
    bytes = {reinterpret_cast<const char*>(in_.here()), static_cast<std::size_t>(size)};
    in_.advance(static_cast<std::uint32_t>(size));
    return true;
  }

  bool value(Variant& target) {
    if (typeOf(target) != V_NULL) target.Free();  // a repeated key
    const std::uint32_t base = in_.position();
    if (!in_.room(base, kTagSize)) return false;
    const std::uint32_t tag = in_.read<std::uint16_t>();
    switch (tag) {
      case V_NULL:
        return true;
      case V_STRING:
        return string(base, target);
      case V_BINARY:
        return binary(base, target);
      case V_MAP:
      case V_TYPED_MAP:
        return map(base, static_cast<VariantType>(tag), target);
      case V_BOOL:
        return fixed<bool>(base, target);
      case V_INT8:
        return fixed<std::int8_t>(base, target);
      case V_INT16:
        return fixed<std::int16_t>(base, target);
      case V_INT32:
        return fixed<std::int32_t>(base, target);
      case V_INT64:
        return fixed<std::int64_t>(base, target);
      case V_UINT8:
        return fixed<std::uint8_t>(base, target);
      case V_UINT16:
        return shortened<std::uint16_t>(target);
      case V_UINT32:
        return shortened<std::uint32_t>(target);
      case V_UINT64:
        return fixed<std::uint64_t>(base, target);
      case V_DOUBLE:
        return fixed<double>(base, target);
      case V_TIMESTAMP:
        return timestamp(base, target);
      default:
        return false;
    }
  }

  template <class T>
  bool shortened(Variant& target) {
    std::uint64_t value = 0;
    if (!u56(value)) return false;
    put(target, hold(static_cast<T>(value)));
    return true;
  }

  /// An inline value of fixed size.
  template <class T>
  bool fixed(std::uint32_t base, Variant& target) {
    if (!in_.room(base, sizeof(T))) return false;
    if constexpr (std::is_same_v<T, bool>) {
      put(target, hold(in_.read<std::uint8_t>() != 0));
    } else if constexpr (std::is_same_v<T, double>) {
      put(target, hold(std::bit_cast<double>(in_.read<std::uint64_t>())));
    } else {
      put(target, hold(static_cast<T>(in_.read<std::make_unsigned_t<T>>())));
    }
    return true;
  }

  /// A narrower `timeval` takes the low bits of its fields.
  bool timestamp(std::uint32_t base, Variant& target) {
    if (!in_.room(base, findType(V_TIMESTAMP)->binBody)) return false;
    auto time = std::make_unique<timeval>();
    const auto seconds = static_cast<std::int64_t>(in_.read<std::uint64_t>());
    const auto microseconds = static_cast<std::int32_t>(in_.read<std::uint32_t>());
    time->tv_sec = static_cast<decltype(time->tv_sec)>(seconds);
    time->tv_usec = microseconds;
    put(target, holdRecord(time.release()));
    return true;
  }

  bool string(std::uint32_t base, Variant& target) {
    std::string_view bytes;
    if (!text(base, bytes)) return false;
    put(target, holdText(bytes));
    return true;
  }

  bool binary(std::uint32_t base, Variant& target) {
    std::string_view bytes;
    if (!text(base, bytes)) return false;
    auto buffer = newBuffer(static_cast<std::uint32_t>(bytes.size()));
    if (!bytes.empty()) std::memcpy(buffer->data, bytes.data(), bytes.size());
    put(target, holdRecord(buffer.release()));
    return true;
  }

  bool map(std::uint32_t base, VariantType type, Variant& target) {
    put(target, holdRecord(type, new VariantMap));
    VariantMap& map = mapOf(target);
    if (!in_.room(base, 1)) return false;
    map.isArray = in_.read<std::uint8_t>() != 0;
    if (type == V_TYPED_MAP) {
      std::string_view name;
      if (!text(base, name)) return false;
      map.typeName = name;
    }
    Frame& frame = frames_.push({&map, base, 0, false});
    return count(frame, map.numericKeys);
  }

  ByteReader in_;
  std::uint32_t unreserved_;
  PodStack<Frame, 32> frames_;
};

}  // namespace

std::uint32_t ToU56(std::uint64_t value, std::uint8_t* destination) {
  if (destination == nullptr || value >= kU56End) {
    kLog.error("ToU56", "Invalid parameters supplied");
    return 0;
  }
  const std::uint32_t width =
      value == 0 ? 1 : (static_cast<std::uint32_t>(std::bit_width(value)) + 6) / 7;
  for (std::uint32_t i = width; i > 0; value >>= 7) {
    const std::uint8_t more = i == width ? 0 : 0x80;
    destination[--i] = static_cast<std::uint8_t>((value & 0x7F) | more);
  }
  return width;
}

std::uint32_t FromU56(const std::uint8_t* buffer, std::uint32_t length, std::uint64_t& result) {
  if (buffer == nullptr || length == 0) {
    kLog.error("FromU56", "Invalid parameters supplied");
    return 0;
  }
  result = 0;
  const std::uint32_t end = std::min<std::uint32_t>(length, 8);
  for (std::uint32_t i = 0; i < end; ++i) {
    result = result << 7 | (buffer[i] & 0x7F);
    if ((buffer[i] & 0x80) == 0) return i + 1;
  }
  return 0;
}

std::uint32_t Variant::GetBinRequiredLength() const {
  SizePass pass;
  walkTree(*this, pass);
  return encodedLength(pass.total(), kLog, "GetBinRequiredLength");
}

std::uint32_t Variant::ToInternalBIN(std::uint8_t* buffer, std::uint32_t length) const {
  BinWriter writer(buffer, length);
  return walkTree(*this, writer) ? writer.written() : 0;
}

std::uint32_t Variant::ToBIN(std::uint8_t* buffer, std::uint32_t& length) const {
  return fits(GetBinRequiredLength(), length) ? ToInternalBIN(buffer, length) : 0;
}

std::uint32_t Variant::ToBIN(vexo::utils::IOBuffer& output) const {
  return appendEncoded(*this, &Variant::ToBIN, output);
}

bool Variant::ToBINFile(const std::string& path) const {
  return writeEncodedFile(*this, &Variant::ToBIN, path, kLog, "ToBINFile");
}

std::uint32_t Variant::FromBIN(const std::uint8_t* buffer, std::uint32_t length) {
  const Variant old(std::move(*this));  // the input may be a part of it
  return BinReader(buffer, length).read(*this);
}

bool Variant::FromBINFile(const std::string& path) {
  return readEncodedFile(*this, &Variant::FromBIN, path);
}

}  // namespace vexo::variant
