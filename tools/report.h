// What the command says on standard error, and how it ends.
#ifndef VEXO_TOOLS_REPORT_H
#define VEXO_TOOLS_REPORT_H

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tool {

enum ExitCode : int {
  kDone = 0,
  kNotFound = 1,
  kDifferent = 1,
  kUsage = 2,
  kNotParsed = 3,
  kNotRepresentable = 4,
  kInputOutput = 5,
};

/// Ends the command: main prints the message as the one error line and exits with the code.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}
  ExitCode code() const noexcept { return code_; }

 private:
  ExitCode code_;
};

/// Names, keys and values come from input: none may break a line or steer the terminal. Control
/// bytes that are not among `kept` become '?', and so do both bytes of the control characters that
/// UTF-8 has beyond ASCII.
void makePrintable(std::span<char> text, std::string_view kept = {}) noexcept;

/// Prints "vexo-variant: MESSAGE" as exactly one printable line; what goes past a few kilobytes is
/// cut off. Needs no memory.
void printLine(std::string_view message) noexcept;

/// How many warnings of a kind are given, so that they can be read.
inline constexpr std::uint64_t kShownWarnings = 5;

/// Failures and warnings about one input, which is named in front of each.
class Reporter {
 public:
  Reporter(std::string name, bool quiet) : name_(std::move(name)), quiet_(quiet) {}

  [[noreturn]] void fail(ExitCode code, const std::string& message) const;
  /// The input does not parse, and this is where.
  [[noreturn]] void failAt(std::uint64_t line, std::uint64_t column,
                           const std::string& reason) const;
  void warn(const std::string& message) const;
  void warnAt(std::uint64_t line, const std::string& message) const;
  void warnAt(std::uint64_t line, std::uint64_t column, const std::string& message) const;
  /// Where `count` warnings of a kind were due, of which kShownWarnings were given.
  void warnOfMore(std::uint64_t count, const std::string& what) const;

 private:
  std::string placeOf(std::uint64_t line, std::uint64_t column) const;

  std::string name_;
  bool quiet_;
};

}  // namespace tool

#endif
