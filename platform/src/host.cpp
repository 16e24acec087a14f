#include "vexo_host/host.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <span>

namespace {

/// Enough for nearly every line, and little on a thread with a small stack.
constexpr std::size_t kLineOnStack = 1024;

struct Origin {
  const char* module;
  const char* file;
  const char* function;
  int line;
  int level;
};

char levelLetter(int level) {
  if (level <= 3) {
    return 'E';
  }
  return level < 7 ? 'N' : 'D';
}

std::size_t lengthOf(int printfResult) {
  return static_cast<std::size_t>(std::max(printfResult, 0));
}

/// Writes what fits into `room` and returns the length of the whole line without its end.
std::size_t compose(std::span<char> room, const Origin& origin, const char* format,
                    std::va_list arguments) {
  const std::size_t head = lengthOf(
      std::snprintf(room.data(), room.size(), "%c %s %s:%d %s: ", levelLetter(origin.level),
                    origin.module, origin.file, origin.line, origin.function));
  const std::span<char> rest = room.subspan(std::min(head, room.size()));
  return head + lengthOf(std::vsnprintf(rest.data(), rest.size(), format, arguments));
}

/// Ends the line in place of the terminating zero. Control characters would break the line, or
/// drive the terminal that shows it.
void emit(char* text, std::size_t length) {
  const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
  std::replace_if(text, text + length, isControl, ' ');
  text[length] = '\n';
  while (write(STDERR_FILENO, text, length + 1) == -1 && errno == EINTR) {
  }
}

}  // namespace

void logInternal(const char* module, const char* file, const char* function, int line, int level,
                 int, int, const char* format, ...) {
  const int callersErrno = errno;
  const Origin origin{module, file, function, line, level};
  char onStack[kLineOnStack];
  std::va_list arguments;
  va_start(arguments, format);
  const std::size_t length = compose(onStack, origin, format, arguments);
  va_end(arguments);

  std::unique_ptr<char[]> onHeap;
  if (length >= sizeof onStack) {
    onHeap.reset(new (std::nothrow) char[length + 1]);
  }
  if (onHeap != nullptr) {
    va_start(arguments, format);
    compose({onHeap.get(), length + 1}, origin, format, arguments);
    va_end(arguments);
    emit(onHeap.get(), length);
  } else {
    emit(onStack, std::min(length, sizeof onStack - 1));
  }
  errno = callersErrno;
}

void forceCrash() { std::abort(); }
