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
ErrorListener* listener = nullptr;

}  // namespace

ErrorListener::ErrorListener() : before_(listener) { listener = this; }

ErrorListener::~ErrorListener() { listener = before_; }

void FirstError::hear(const char* message) {
  if (text_.empty()) text_ = message;
}

}  // namespace tool

void logInternal(const char*, const char*, const char*, int, int level, int, int,
                 const char* format, ...) {
  if (level > tool::kErrorLevel) return;
  std::va_list arguments;
  va_start(arguments, format);
  // What does not fit is cut off.
  (void)std::vsnprintf(tool::lastError.data(), tool::lastError.size(), format, arguments);
  va_end(arguments);
  if (tool::listener != nullptr) tool::listener->hear(tool::lastError.data());
}

void forceCrash() {
  tool::printLine("internal error");
  tool::printLine(tool::lastError.data());
  std::abort();
}
