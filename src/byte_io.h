// Bounded writing and reading of bytes, big-endian.
#ifndef VEXO_VARIANT_SRC_BYTE_IO_H
#define VEXO_VARIANT_SRC_BYTE_IO_H

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "log_area.h"
#include "vexo_variant/byte_order.h"

namespace vexo::variant {

/// A place in a byte range that nothing leaves: who wants to write or read says first how much room
/// that takes. The bytes are those of nested values; `base` is where the current one begins.
template <class Byte>
class ByteRange {
 public:
  ByteRange(Byte* data, std::uint32_t length, LogArea log, const char* function)
      : data_(data), end_(length), log_(log), function_(function) {}

  const char* function() const { return function_; }
  std::uint32_t position() const { return position_; }
  std::uint32_t left() const { return end_ - position_; }
  Byte* here() const { return data_ + position_; }
  void advance(std::uint32_t count) { position_ += count; }

  /// Whether `needed` bytes are left; if not, logs what the value that began at `base` lacks.
  bool room(std::uint32_t base, std::uint64_t needed, int line = __builtin_LINE()) const {
    return needed <= left() || logLack(base, needed, line);
  }

  // Each of these needs room.

  template <std::unsigned_integral T>
  void write(T value) {
    detail::storeBigEndian(value, here());
    advance(sizeof(T));
  }
  void write(const void* bytes, std::size_t count) {
    if (count > 0) std::memcpy(here(), bytes, count);
    advance(static_cast<std::uint32_t>(count));
  }

  template <std::unsigned_integral T>
  T read() {
    const T value = detail::loadBigEndian<T>(here());
    advance(sizeof(T));
    return value;
  }

 private:
  [[gnu::noinline]] bool logLack(std::uint32_t base, std::uint64_t needed, int line) const {
    log_.error({function_, line}, "Limit exceeded: C: %u; V: %u; M: %u", position_ - base,
               static_cast<std::uint32_t>(needed), end_ - base);
    return false;
  }

  Byte* data_;
  std::uint32_t end_;
  std::uint32_t position_ = 0;
  LogArea log_;
  const char* function_;
};

using ByteWriter = ByteRange<std::uint8_t>;
using ByteReader = ByteRange<const std::uint8_t>;

}  // namespace vexo::variant

#endif
