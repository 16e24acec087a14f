#include "vexo_variant/text_error.h"

#include <algorithm>

namespace vexo::variant {

TextPosition locateText(const char* data, std::size_t length, std::size_t offset) {
  TextPosition position;
  position.offset = std::min(offset, length);
  for (std::size_t i = 0; i < position.offset; ++i) {
    const auto byte = static_cast<unsigned char>(data[i]);
    if (byte == '\n') {
      ++position.line;
      position.column = 1;
    } else if ((byte & 0xC0) != 0x80) {  // not a continuation of the character before
      ++position.column;
    }
  }
  return position;
}

}  // namespace vexo::variant
