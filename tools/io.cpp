#include "io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "vexo_utils/file.h"

namespace tool {
namespace {

constexpr std::size_t kChunk = 65536;
constexpr std::uint64_t kHead = 4096;

/// The C library's words for the error; a call that failed without saying why gets plain ones.
std::string errorText(int error) { return error != 0 ? std::strerror(error) : "cannot be written"; }

/// A system call that is repeated while signals interrupt it.
template <class Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

int openInput(const std::string& path) {
  if (path == kStandardStream) return STDIN_FILENO;
  return uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); });
}

void writeStandardOutput(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written =
        uninterrupted([&] { return ::write(STDOUT_FILENO, bytes.data(), bytes.size()); });
    if (written < 0) throw Failure(kInputOutput, "<stdout>: " + errorText(errno));
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

void replaceFile(const std::string& path, std::string_view bytes) {
  vexo::utils::File file;
  errno = 0;
  const bool written =
      file.Initialize(path, vexo::utils::FILE_OPEN_MODE_WRITE, 0) &&
      file.WriteBuffer(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  if (!written) throw Failure(kInputOutput, inputName(path) + ": " + errorText(errno));
}

}  // namespace

std::string inputName(const std::string& path) {
  if (path.empty()) return "''";
  return path == kStandardStream ? "<stdin>" : path;
}

bool isMissing(const std::string& path) {
  return ::access(path.c_str(), F_OK) != 0 && errno == ENOENT;
}

bool isInput(const std::string& path) {
  std::error_code noneSuch;
  return path == kStandardStream ||
         (!isMissing(path) && !std::filesystem::is_directory(path, noneSuch));
}

Source::Source(const std::string& path, const Reporter& reporter)
    : reporter_(reporter), descriptor_(openInput(path)) {
  if (descriptor_ < 0) reporter_.fail(kInputOutput, errorText(errno));
}

Source::~Source() {
  if (descriptor_ != STDIN_FILENO) ::close(descriptor_);
}

std::string_view Source::head() {
  fill(kHead);
  return std::string_view(bytes_).substr(0, kHead);
}

std::string Source::readAll(std::uint64_t limit) {
  const std::uint64_t known = bytes_.size() + knownRest();
  if (known > limit) refuse(limit);
  bytes_.reserve(static_cast<std::size_t>(known) + kChunk);
  fill(limit + 1);
  if (bytes_.size() > limit) refuse(limit);
  return std::move(bytes_);
}

void Source::fill(std::uint64_t wanted) {
  while (!atEnd_ && bytes_.size() < wanted) {
    const std::size_t had = bytes_.size();
    bytes_.resize(had + kChunk);
    const ssize_t got =
        uninterrupted([&] { return ::read(descriptor_, bytes_.data() + had, kChunk); });
    if (got < 0) reporter_.fail(kInputOutput, errorText(errno));
    bytes_.resize(had + static_cast<std::size_t>(got));
    atEnd_ = got == 0;
  }
}

/// How many bytes a regular file is known to hold still; other inputs know nothing.
std::uint64_t Source::knownRest() const {
  struct stat status;
  if (::fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) return 0;
  const off_t position = ::lseek(descriptor_, 0, SEEK_CUR);
  return static_cast<std::uint64_t>(std::max<off_t>(status.st_size - position, 0));
}

void Source::refuse(std::uint64_t limit) const {
  reporter_.fail(kInputOutput,
                 "too large: more than " + std::to_string(limit) + " bytes of this format");
}

void writeOutput(const std::string& path, std::string_view bytes) {
  if (path == kStandardStream) {
    writeStandardOutput(bytes);
  } else {
    replaceFile(path, bytes);
  }
}

}  // namespace tool
