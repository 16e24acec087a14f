#include "report.h"

#include <unistd.h>

#include <algorithm>
#include <array>

namespace tool {
namespace {

constexpr std::string_view kPrefix = "vexo-variant: ";

bool isControl(char byte) {
  const auto code = static_cast<unsigned char>(byte);
  return code < 0x20 || code == 0x7F;
}

/// U+0080 to U+009F.
bool isWideControl(char first, char second) {
  return first == '\xC2' && (static_cast<unsigned char>(second) & 0xE0) == 0x80;
}

}  // namespace

void makePrintable(std::span<char> text, std::string_view kept) noexcept {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isControl(text[i]) && kept.find(text[i]) == std::string_view::npos) text[i] = '?';
    if (i > 0 && isWideControl(text[i - 1], text[i])) text[i - 1] = text[i] = '?';
  }
}

void printLine(std::string_view message) noexcept {
  std::array<char, 8192> line;
  char* end = std::copy(kPrefix.begin(), kPrefix.end(), line.data());
  const std::string_view shown = message.substr(0, line.size() - kPrefix.size() - 1);
  char* const start = end;
  end = std::copy(shown.begin(), shown.end(), start);
  makePrintable({start, end});
  *end++ = '\n';
  // Nobody is left to tell when standard error itself cannot be written.
  [[maybe_unused]] const ssize_t written =
      ::write(STDERR_FILENO, line.data(), static_cast<std::size_t>(end - line.data()));
}

std::string Reporter::placeOf(std::uint64_t line, std::uint64_t column) const {
  return name_ + ":" + std::to_string(line) + ":" + std::to_string(column) + ": ";
}

void Reporter::fail(ExitCode code, const std::string& message) const {
  throw Failure(code, name_ + ": " + message);
}

void Reporter::failAt(std::uint64_t line, std::uint64_t column, const std::string& reason) const {
  throw Failure(kNotParsed, placeOf(line, column) + reason);
}

void Reporter::warn(const std::string& message) const {
  if (!quiet_) printLine("warning: " + name_ + ": " + message);
}

void Reporter::warnAt(std::uint64_t line, const std::string& message) const {
  if (!quiet_) printLine("warning: " + name_ + ":" + std::to_string(line) + ": " + message);
}

void Reporter::warnAt(std::uint64_t line, std::uint64_t column, const std::string& message) const {
  if (!quiet_) printLine("warning: " + placeOf(line, column) + message);
}

void Reporter::warnOfMore(std::uint64_t count, const std::string& what) const {
  if (count > kShownWarnings) warn(std::to_string(count - kShownWarnings) + " more " + what);
}

}  // namespace tool
