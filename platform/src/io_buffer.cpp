#include "vexo_utils/io_buffer.h"

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace vexo::utils {
namespace {

constexpr std::size_t kSmallestCapacity = 64;

}  // namespace

IOBuffer::IOBuffer(IOBuffer&& other) noexcept { *this = std::move(other); }

IOBuffer& IOBuffer::operator=(IOBuffer&& other) noexcept {
  storage_ = std::move(other.storage_);
  capacity_ = std::exchange(other.capacity_, 0);
  readOffset_ = std::exchange(other.readOffset_, 0);
  writeOffset_ = std::exchange(other.writeOffset_, 0);
  return *this;
}

bool IOBuffer::ReadFromRepeat(std::uint8_t byte, std::uint32_t count) {
  std::fill_n(extend(count), count, byte);
  return true;
}

bool IOBuffer::ReadFromBuffer(const std::uint8_t* bytes, std::uint32_t count) {
  std::copy_n(bytes, count, extend(count));
  return true;
}

bool IOBuffer::Ignore(std::uint32_t count) noexcept {
  const bool enough = count <= size();
  readOffset_ += std::min<std::size_t>(count, size());
  return enough;
}

std::uint8_t* IOBuffer::extend(std::size_t count) {
  if (count > capacity_ - writeOffset_) {
    makeRoom(count);
  }
  std::uint8_t* const place = storage_.get() + writeOffset_;
  writeOffset_ += count;
  return place;
}

/// Moves the unread bytes to the front, of this block if that is cheap enough: no more bytes are
/// moved than were dropped since the last time, or a queue that stays nearly full would move them
/// with every append.
void IOBuffer::makeRoom(std::size_t count) {
  const std::size_t unread = size();
  if (count > std::numeric_limits<std::size_t>::max() - unread) {
    throw std::bad_alloc();
  }
  const std::size_t needed = unread + count;
  if (needed <= capacity_ && unread <= readOffset_) {
    std::copy_n(data(), unread, storage_.get());
  } else {
    // No block is larger than half of what std::size_t counts: doubling cannot wrap.
    const std::size_t capacity = std::max({needed, 2 * capacity_, kSmallestCapacity});
    auto storage = std::make_unique_for_overwrite<std::uint8_t[]>(capacity);
    std::copy_n(data(), unread, storage.get());
    storage_ = std::move(storage);
    capacity_ = capacity;
  }
  readOffset_ = 0;
  writeOffset_ = unread;
}

}  // namespace vexo::utils
