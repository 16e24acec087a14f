#include "host.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "report.h"
#include "vexo_host/host.h"

namespace tool {
namespace {

constexpr int kErrorLevel = 3;

std::array<char, 512> lastError = {};

}  // namespace

const char* lastLibraryError() noexcept { return lastError.data(); }

}  // namespace tool

void logInternal(const char*, const char*, const char*, int, int level, int, int,
                 const char* format, ...) {
  if (level > tool::kErrorLevel) return;
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(tool::lastError.data(), tool::lastError.size(), format, arguments);
  va_end(arguments);
}

void forceCrash() {
  tool::printLine("internal error");
  tool::printLine(tool::lastLibraryError());
  std::abort();
}
