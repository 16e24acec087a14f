// Bytes in and out: files, standard input and output.
#ifndef VEXO_TOOLS_IO_H
#define VEXO_TOOLS_IO_H

#include <cstdint>
#include <string>
#include <string_view>

#include "report.h"

namespace tool {

/// The path that stands for standard input or standard output.
inline constexpr std::string_view kStandardStream = "-";

/// How messages name an input: its path, or "<stdin>"; an empty path is shown as a pair of quotes.
std::string inputName(const std::string& path);

/// Whether there is nothing under this path: not that it cannot be read, or not be told.
bool isMissing(const std::string& path);

/// Whether an input may be there, which a directory is not.
bool isInput(const std::string& path);

/// An input that is open. Failures to open and to read end the command.
class Source {
 public:
  Source(const std::string& path, const Reporter& reporter);
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  ~Source();

  /// The first bytes, enough to tell formats apart.
  std::string_view head();
  /// All bytes; an input of more than `limit` is refused. The source is empty afterwards.
  std::string readAll(std::uint64_t limit);

 private:
  void fill(std::uint64_t wanted);
  std::uint64_t knownRest() const;
  [[noreturn]] void refuse(std::uint64_t limit) const;

  const Reporter& reporter_;
  int descriptor_;
  std::string bytes_;
  bool atEnd_ = false;
};

/// Writes to standard output, or replaces the whole content of a file.
void writeOutput(const std::string& path, std::string_view bytes);

}  // namespace tool

#endif
