#include "report.h"

#include <unistd.h>

#include <algorithm>
#include <array>

namespace tool {
namespace {

constexpr std::string_view kPrefix = "vexo-variant: ";

}  // namespace

char printable(char byte) noexcept {
  const auto code = static_cast<unsigned char>(byte);
  return code < 0x20 || code == 0x7F ? '?' : byte;
}

void printLine(std::string_view message) noexcept {
  std::array<char, 8192> line;
  char* end = std::copy(kPrefix.begin(), kPrefix.end(), line.data());
  const std::string_view shown = message.substr(0, line.size() - kPrefix.size() - 1);
  end = std::transform(shown.begin(), shown.end(), end, printable);
  *end++ = '\n';
  // Nobody is left to tell when standard error itself cannot be written.
  [[maybe_unused]] const ssize_t written =
      ::write(STDERR_FILENO, line.data(), static_cast<std::size_t>(end - line.data()));
}

void Reporter::fail(ExitCode code, const std::string& message) const {
  throw Failure(code, name_ + ": " + message);
}

void Reporter::failAt(std::uint64_t line, std::uint64_t column, const std::string& reason) const {
  throw Failure(kNotParsed,
                name_ + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " + reason);
}

void Reporter::warn(const std::string& message) const {
  if (!quiet_) printLine("warning: " + name_ + ": " + message);
}

void Reporter::warnAt(std::uint64_t line, const std::string& message) const {
  if (!quiet_) printLine("warning: " + name_ + ":" + std::to_string(line) + ": " + message);
}

}  // namespace tool
