// The ways in which a binary format reaches a caller: by two calls, into an IOBuffer, into a file.
#ifndef VEXO_VARIANT_SRC_BINARY_OUTPUT_H
#define VEXO_VARIANT_SRC_BINARY_OUTPUT_H

#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#include "log_area.h"
#include "vexo_utils/file.h"
#include "vexo_utils/io_buffer.h"

namespace vexo::variant {

/// `encode(buffer, length)` is a two-call entry: while `length` is too small it only sets it.
template <class Encode>
std::uint32_t appendEncoded(vexo::utils::IOBuffer& output, Encode encode) {
  std::uint32_t length = 0;
  encode(nullptr, length);
  if (length == 0) return 0;
  const std::size_t before = output.size();
  output.ReadFromRepeat(0, length);
  return encode(output.data() + before, length);
}

/// Writes the encoding as the whole content of a file.
template <class Encode>
bool writeEncodedFile(const std::string& path, LogArea log, LogSite site, Encode encode) {
  std::uint32_t length = 0;
  if (encode(nullptr, length) != 0 || length == 0) {
    log.error(site, "Unable to determine the size of the needed buffer");
    return false;
  }
  const std::unique_ptr<std::uint8_t[]> bytes(new std::uint8_t[length]);
  vexo::utils::File file;
  if (!file.Initialize(path, vexo::utils::FILE_OPEN_MODE_WRITE, 0)) return false;
  const std::uint32_t written = encode(bytes.get(), length);
  return written > 0 && file.WriteBuffer(bytes.get(), written);
}

/// Reads a whole file and hands its bytes to `decode(bytes, count)`, which returns how many it
/// took.
template <class Decode>
bool readEncodedFile(const std::string& path, Decode decode) {
  vexo::utils::File file;
  if (!file.Initialize(path, vexo::utils::FILE_OPEN_MODE_READ, 0)) return false;
  const std::uint64_t size = file.Size();
  if (size > std::numeric_limits<std::uint32_t>::max()) return false;
  const std::unique_ptr<std::uint8_t[]> bytes(new std::uint8_t[static_cast<std::size_t>(size)]);
  if (!file.ReadBuffer(bytes.get(), size)) return false;
  return decode(bytes.get(), static_cast<std::uint32_t>(size)) > 0;
}

}  // namespace vexo::variant

#endif
