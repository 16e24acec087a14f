// A byte queue: appended at the end, consumed from the front.
#ifndef VEXO_UTILS_IO_BUFFER_H
#define VEXO_UTILS_IO_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <memory>

namespace vexo::utils {

/// Bytes wait between the read and the write position of one growing block. Appending may move
/// them: pointers into the buffer live until the next append.
class __attribute__((visibility("default"))) IOBuffer {
 public:
  IOBuffer() noexcept = default;
  IOBuffer(IOBuffer&& other) noexcept;
  IOBuffer& operator=(IOBuffer&& other) noexcept;
  ~IOBuffer() = default;

  /// The bytes that wait to be read.
  std::uint8_t* data() noexcept { return storage_.get() + readOffset_; }
  const std::uint8_t* data() const noexcept { return storage_.get() + readOffset_; }
  std::size_t size() const noexcept { return writeOffset_ - readOffset_; }

  /// Appends `count` copies of `byte`. Throws `std::bad_alloc` without having changed anything.
  /// Amortised constant time per byte. Always true.
  bool ReadFromRepeat(std::uint8_t byte, std::uint32_t count);
  /// Appends `count` bytes, which must not lie in the buffer itself. Otherwise as ReadFromRepeat.
  bool ReadFromBuffer(const std::uint8_t* bytes, std::uint32_t count);
  /// Drops the first `count` bytes, or all there are; returns whether there were as many.
  bool Ignore(std::uint32_t count) noexcept;

 private:
  /// Appends `count` bytes of any value and returns their place.
  std::uint8_t* extend(std::size_t count);
  void makeRoom(std::size_t count);

  std::unique_ptr<std::uint8_t[]> storage_;
  std::size_t capacity_ = 0;
  std::size_t readOffset_ = 0;
  std::size_t writeOffset_ = 0;
};

}  // namespace vexo::utils

#endif
