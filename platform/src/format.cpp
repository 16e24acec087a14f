#include "vexo_utils/format.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>

namespace vexo::utils {

// NOLINTNEXTLINE(cert-dcl50-cpp): the host's interface has the parameters of printf
std::string format(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  if (length <= 0) {
    return {};
  }
  std::string text(static_cast<std::size_t>(length), '\0');
  va_start(arguments, format);
  (void)std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  va_end(arguments);
  return text;
}

}  // namespace vexo::utils
