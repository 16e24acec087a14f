#include "binary_entries.h"

#include <limits>
#include <memory>

#include "vexo_utils/file.h"
#include "vexo_utils/io_buffer.h"

namespace vexo::variant {

std::uint32_t encodedLength(std::uint64_t size, LogArea log, LogSite site) {
  if (size <= std::numeric_limits<std::uint32_t>::max()) return static_cast<std::uint32_t>(size);
  log.error(site, "Encoding needs %llu bytes, which is 4 GiB or more",
            static_cast<unsigned long long>(size));
  return 0;
}

bool fits(std::uint32_t required, std::uint32_t& length) {
  if (required != 0 && length >= required) return true;
  length = required;
  return false;
}

std::uint32_t appendEncoded(const Variant& value, Encode encode, vexo::utils::IOBuffer& output) {
  std::uint32_t length = 0;
  (value.*encode)(nullptr, length);
  if (length == 0) return 0;
  const std::size_t before = output.size();
  output.ReadFromRepeat(0, length);
  return (value.*encode)(output.data() + before, length);
}

bool writeEncodedFile(const Variant& value, Encode encode, const std::string& path, LogArea log,
                      LogSite site) {
  std::uint32_t length = 0;
  if ((value.*encode)(nullptr, length) != 0 || length == 0) {
    log.error(site, "Unable to determine the size of the needed buffer");
    return false;
  }
  const std::unique_ptr<std::uint8_t[]> bytes(new std::uint8_t[length]);
  vexo::utils::File file;
  if (!file.Initialize(path, vexo::utils::FILE_OPEN_MODE_WRITE, 0)) return false;
  const std::uint32_t written = (value.*encode)(bytes.get(), length);
  return written > 0 && file.WriteBuffer(bytes.get(), written);
}

bool readEncodedFile(Variant& value, Decode decode, const std::string& path) {
  vexo::utils::File file;
  if (!file.Initialize(path, vexo::utils::FILE_OPEN_MODE_READ, 0)) return false;
  const std::uint64_t size = file.Size();
  if (size > std::numeric_limits<std::uint32_t>::max()) return false;
  const std::unique_ptr<std::uint8_t[]> bytes(new std::uint8_t[static_cast<std::size_t>(size)]);
  if (!file.ReadBuffer(bytes.get(), size)) return false;
  return (value.*decode)(bytes.get(), static_cast<std::uint32_t>(size)) > 0;
}

}  // namespace vexo::variant
