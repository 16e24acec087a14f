#include "vexo_utils/file.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <new>
#include <optional>
#include <utility>

#include "vexo_utils/format.h"

namespace vexo::utils {

/// One open file in one mode; the operations of the other mode fail.
class FdReaderWriter::Channel {
 public:
  virtual ~Channel() = default;
  virtual bool read(std::uint8_t*, std::uint64_t) { return false; }
  virtual bool write(const std::uint8_t*, std::uint64_t) { return false; }
  virtual std::uint64_t size() { return 0; }
  virtual bool readAll(std::string&) { return false; }
};

namespace {

using Channel = FdReaderWriter::Channel;

constexpr std::uint64_t kLargestTransfer = 1U << 30;
constexpr std::uint64_t kSmallestBlock = 4096;
/// A size that a file claims is believed up to here; beyond, memory grows as bytes arrive.
constexpr std::uint64_t kLargestFirstBlock = 16U << 20;
constexpr int kMostLinks = 40;
constexpr int kMostNames = 100;
/// With what is put around it, this stays below the shortest limit of file systems in use (143).
constexpr std::size_t kLongestStem = 100;

template <class Call>
auto uninterrupted(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) {
    result = call();
  }
  return result;
}

/// Owns a file descriptor. Also holds AT_FDCWD, which needs no closing.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) noexcept : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    other.reset();
    return *this;
  }
  ~Descriptor() { reset(); }

  int get() const { return fd_; }
  bool isOpen() const { return fd_ >= 0; }
  void reset() {
    if (isOpen()) {
      close(fd_);
    }
    fd_ = -1;
  }

 private:
  int fd_;
};

Descriptor openAt(const Descriptor& directory, const std::string& path, int flags,
                  mode_t mode = 0) {
  return Descriptor(uninterrupted(
      [&] { return openat(directory.get(), path.c_str(), flags | O_CLOEXEC | O_NOCTTY, mode); }));
}

Descriptor openHere(const std::string& path, int flags) {
  return openAt(Descriptor(AT_FDCWD), path, flags);
}

enum class FileKind { kUnknown, kRegular, kOther };

FileKind kindOf(const Descriptor& file) {
  struct stat status {};
  if (fstat(file.get(), &status) != 0) {
    return FileKind::kUnknown;
  }
  return S_ISREG(status.st_mode) ? FileKind::kRegular : FileKind::kOther;
}

std::size_t transferSize(std::uint64_t count) {
  return static_cast<std::size_t>(std::min(count, kLargestTransfer));
}

ssize_t readSome(const Descriptor& file, void* data, std::uint64_t count) {
  return uninterrupted([&] { return ::read(file.get(), data, transferSize(count)); });
}

bool readExactly(const Descriptor& file, std::uint8_t* data, std::uint64_t count) {
  while (count > 0) {
    const ssize_t done = readSome(file, data, count);
    if (done <= 0) {
      return false;
    }
    data += done;
    count -= static_cast<std::uint64_t>(done);
  }
  return true;
}

bool writeExactly(const Descriptor& file, const std::uint8_t* data, std::uint64_t count) {
  while (count > 0) {
    const ssize_t done =
        uninterrupted([&] { return ::write(file.get(), data, transferSize(count)); });
    if (done <= 0) {
      return false;
    }
    data += done;
    count -= static_cast<std::uint64_t>(done);
  }
  return true;
}

/// True also where there is nothing to sync.
bool sync(const Descriptor& file) {
  return uninterrupted([&] { return fsync(file.get()); }) == 0 || errno == EINVAL ||
         errno == ENOTSUP || errno == EROFS;
}

/// What FILE_OPEN_MODE_READ opens.
class Source final : public Channel {
 public:
  explicit Source(Descriptor file) : file_(std::move(file)) {}

  bool read(std::uint8_t* data, std::uint64_t count) override {
    if (state_ == State::kStreaming) {
      return readExactly(file_, data, count);
    }
    if (state_ == State::kFailed || count > bytes_.size() - taken_) {
      return false;
    }
    std::copy_n(bytes_.data() + taken_, static_cast<std::size_t>(count), data);
    taken_ += static_cast<std::size_t>(count);
    return true;
  }

  std::uint64_t size() override {
    if (state_ == State::kStreaming) {
      const std::uint64_t left = claimedLeft();
      if (left > 0 && isTrue(left)) {
        return left;
      }
      slurp();
    }
    return bytes_.size() - taken_;
  }

  bool readAll(std::string& text) override {
    if (state_ == State::kStreaming) {
      slurp();
    }
    if (state_ == State::kFailed) {
      return false;
    }
    bytes_.erase(0, std::exchange(taken_, 0));
    text = std::exchange(bytes_, {});
    return true;
  }

 private:
  enum class State { kStreaming, kSlurped, kFailed };

  off_t position() const { return lseek(file_.get(), 0, SEEK_CUR); }

  /// 0 when the file does not know.
  std::uint64_t claimedLeft() const {
    struct stat status {};
    if (fstat(file_.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
      return 0;
    }
    return static_cast<std::uint64_t>(std::max<off_t>(status.st_size - position(), 0));
  }

  /// Files under /sys claim a page and hold less: looks whether the last byte is there.
  bool isTrue(std::uint64_t left) const {
    const off_t last = position() + static_cast<off_t>(left) - 1;
    char byte;
    return uninterrupted([&] { return pread(file_.get(), &byte, 1, last); }) == 1;
  }

  std::size_t firstBlock() const {
    // One byte more than expected lets the end show without another block.
    return static_cast<std::size_t>(
        std::clamp(claimedLeft() + 1, kSmallestBlock, kLargestFirstBlock));
  }

  static void grow(std::string& bytes) {
    if (bytes.size() == bytes.max_size()) {
      throw std::bad_alloc();
    }
    bytes.resize(bytes.size() > bytes.max_size() / 2 ? bytes.max_size() : 2 * bytes.size());
  }

  /// Reads all that is left into `bytes_`. Nothing can be read any more if that fails half-way.
  void slurp() {
    state_ = State::kFailed;
    std::string bytes(firstBlock(), '\0');
    std::size_t filled = 0;
    ssize_t done = 0;
    while ((done = readSome(file_, &bytes[filled], bytes.size() - filled)) > 0) {
      filled += static_cast<std::size_t>(done);
      if (filled == bytes.size()) {
        grow(bytes);
      }
    }
    if (done == 0) {
      bytes.resize(filled);
      bytes_ = std::move(bytes);
      state_ = State::kSlurped;
    }
  }

  Descriptor file_;
  State state_ = State::kStreaming;
  std::string bytes_;  // read ahead, of which `taken_` are consumed
  std::size_t taken_ = 0;
};

/// A file that is written from its front, and ends where the last write ended.
class Output {
 public:
  Output() = default;
  explicit Output(Descriptor file) : file_(std::move(file)), kind_(kindOf(file_)) {
    if (kind_ == FileKind::kUnknown) {
      file_.reset();  // a longer old content could not be cut off
    }
  }

  bool isOpen() const { return file_.isOpen(); }

  /// Also syncs. Closes the file when that fails, and so fails from then on.
  bool write(const std::uint8_t* data, std::uint64_t count) {
    if (isOpen() && writeExactly(file_, data, count) && endAfter(count) && sync(file_)) {
      return true;
    }
    file_.reset();
    return false;
  }

  /// Makes an empty file stand in for one with this status. Where the owner cannot be kept, running
  /// the file must not lend the rights of another one.
  bool adopt(const struct stat& status) {
    mode_t mode = status.st_mode & 07777;
    if (fchown(file_.get(), status.st_uid, status.st_gid) != 0) {
      mode &= fchown(file_.get(), static_cast<uid_t>(-1), status.st_gid) == 0 ? 03777U : 01777U;
    }
    return fchmod(file_.get(), mode) == 0;
  }

 private:
  bool endAfter(std::uint64_t count) {
    length_ += count;
    return kind_ != FileKind::kRegular ||
           uninterrupted([&] { return ftruncate(file_.get(), static_cast<off_t>(length_)); }) == 0;
  }

  Descriptor file_;
  FileKind kind_ = FileKind::kUnknown;
  std::uint64_t length_ = 0;
};

/// A name in a directory, which stays the same when the working directory changes.
struct Place {
  Descriptor directory;
  std::string name;
};

/// Links such as /proc/self/fd/1 lead to an open file; what they say only describes it.
bool isDescription(const Place& link) {
  struct statfs status {};
  return fstatfs(link.directory.get(), &status) == 0 && status.f_type == PROC_SUPER_MAGIC;
}

/// What the symbolic link at `place` says; empty when there is no link, nothing when that is
/// unknown.
std::optional<std::string> readLink(const Place& place) {
  std::string link(PATH_MAX, '\0');
  const ssize_t length =
      readlinkat(place.directory.get(), place.name.c_str(), link.data(), link.size());
  if (length < 0 && errno != EINVAL && errno != ENOENT) {
    return std::nullopt;
  }
  link.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
  return link;
}

/// What a path leads to behind all symbolic links, be there a file or not.
/// Neither a place nor nameless is what cannot be told.
struct Location {
  bool isNameless = false;
  std::optional<Place> place = std::nullopt;
};

Location locate(std::string path) {
  Descriptor start(AT_FDCWD);
  for (int links = 0; links <= kMostLinks; ++links) {
    const std::size_t nameStart = path.rfind('/') + 1;
    const std::string parent = nameStart == 0 ? "." : path.substr(0, nameStart);
    Place place{openAt(start, parent, O_PATH | O_DIRECTORY), path.substr(nameStart)};
    if (!place.directory.isOpen() || place.name.empty()) {
      return {};
    }
    std::optional<std::string> link = readLink(place);
    if (!link) {
      return {};
    }
    if (link->empty()) {
      return {false, std::move(place)};
    }
    if (isDescription(place)) {
      return {true};
    }
    start = std::move(place.directory);
    path = *std::move(link);
  }
  return {};
}

/// Hidden, and of a length that file systems take. Not cut within a UTF-8 sequence, which some of
/// them refuse.
std::string temporaryName(const std::string& name, int attempt) {
  std::size_t length = std::min(name.size(), kLongestStem);
  while (length < name.size() && length > 0 &&
         (static_cast<unsigned char>(name[length]) & 0xC0) == 0x80) {
    --length;
  }
  unsigned long long random = 0;
  if (getrandom(&random, sizeof random, GRND_NONBLOCK) != sizeof random) {
    random = static_cast<unsigned long long>(attempt);
  }
  return format(".%s.%016llx.tmp", name.substr(0, length).c_str(), random);
}

/// Whether an error says that a file cannot be replaced here, but perhaps written in place.
bool forbidsReplacing(int error) {
  return error == EACCES || error == EPERM || error == EROFS || error == EBUSY || error == EXDEV;
}

/// A regular file, which its first write replaces.
class Replacement final : public Channel {
 public:
  /// `existing` is the file at `place` open for writing, if there is one.
  Replacement(Place place, Descriptor existing)
      : place_(std::move(place)), existing_(std::move(existing)) {}
  ~Replacement() override { discard(); }

  /// Finds out whether writing can work, and which way.
  bool prepare() {
    if (createTemporary()) {
      return true;
    }
    // ENOENT is what /proc answers; the directory is there.
    const bool isForbidden = forbidsReplacing(errno) || errno == ENOENT;
    discard();
    content_ = isForbidden ? Output(std::move(existing_)) : Output();
    return content_.isOpen();
  }

  bool write(const std::uint8_t* data, std::uint64_t count) override {
    const bool isFirst = !temporary_.empty();
    if (content_.write(data, count) && (!isFirst || publish(data, count))) {
      return true;
    }
    discard();
    return false;
  }

 private:
  bool createTemporary() {
    struct stat status {};
    if (!existing_.isOpen()) {
      return createWithMode(0666);
    }
    // Private until it has the mode of the old file: nobody else opens it before.
    return fstat(existing_.get(), &status) == 0 && createWithMode(0600) && content_.adopt(status);
  }

  bool createWithMode(mode_t mode) {
    for (int attempt = 0; attempt < kMostNames; ++attempt) {
      std::string name = temporaryName(place_.name, attempt);
      Descriptor file = openAt(place_.directory, name, O_WRONLY | O_CREAT | O_EXCL, mode);
      if (file.isOpen()) {
        content_ = Output(std::move(file));
        temporary_ = std::move(name);
        return true;
      }
      if (errno != EEXIST) {
        return false;
      }
    }
    return false;
  }

  bool publish(const std::uint8_t* data, std::uint64_t count) {
    const int directory = place_.directory.get();
    if (renameat(directory, temporary_.c_str(), directory, place_.name.c_str()) == 0) {
      temporary_.clear();
      existing_.reset();
      return syncDirectory();
    }
    const bool isForbidden = forbidsReplacing(errno);
    discard();
    return isForbidden && writeInPlace(data, count);
  }

  bool writeInPlace(const std::uint8_t* data, std::uint64_t count) {
    if (!existing_.isOpen()) {
      existing_ = openAt(place_.directory, place_.name, O_WRONLY | O_CREAT | O_EXCL, 0666);
    }
    content_ = Output(std::move(existing_));
    return content_.write(data, count);
  }

  /// The new name survives a crash once its directory is on the disk. Not every directory may be
  /// read, and not every file system syncs one; anything else is a failure.
  bool syncDirectory() const {
    const Descriptor directory = openAt(place_.directory, ".", O_RDONLY | O_DIRECTORY);
    return directory.isOpen() ? sync(directory) || errno != EIO : errno == EACCES;
  }

  void discard() {
    content_ = Output();
    if (!temporary_.empty()) {
      unlinkat(place_.directory.get(), temporary_.c_str(), 0);
      temporary_.clear();
    }
  }

  Place place_;
  Descriptor existing_;
  Output content_;
  std::string temporary_;  // its name, until the file is renamed or gone
};

/// A device, a pipe, or a file that has no name.
class InPlace final : public Channel {
 public:
  explicit InPlace(Descriptor file) : content_(std::move(file)) {}
  bool write(const std::uint8_t* data, std::uint64_t count) override {
    return content_.write(data, count);
  }

 private:
  Output content_;
};

std::unique_ptr<Channel> openSource(const std::string& path) {
  Descriptor file = openHere(path, O_RDONLY);
  struct stat status {};
  if (!file.isOpen() || fstat(file.get(), &status) != 0 || S_ISDIR(status.st_mode)) {
    return nullptr;
  }
  return std::make_unique<Source>(std::move(file));
}

std::unique_ptr<Channel> openTarget(const std::string& path) {
  Descriptor existing = openHere(path, O_WRONLY);
  if (!existing.isOpen() && errno != ENOENT) {
    return nullptr;
  }
  const FileKind kind = existing.isOpen() ? kindOf(existing) : FileKind::kRegular;
  if (kind == FileKind::kOther) {
    return std::make_unique<InPlace>(std::move(existing));
  }
  // What cannot be told now could be told and replaced another time: it is not written in place.
  Location location = kind == FileKind::kRegular ? locate(path) : Location();
  if (location.isNameless && existing.isOpen()) {
    return std::make_unique<InPlace>(std::move(existing));
  }
  if (!location.place) {
    return nullptr;
  }
  auto target = std::make_unique<Replacement>(*std::move(location.place), std::move(existing));
  return target->prepare() ? std::move(target) : nullptr;
}

std::unique_ptr<Channel> openPath(const std::string& path, FILE_OPEN_MODE mode) {
  if (path.empty() || path.find('\0') != std::string::npos) {
    return nullptr;
  }
  switch (mode) {
    case FILE_OPEN_MODE_READ:
      return openSource(path);
    case FILE_OPEN_MODE_WRITE:
      return openTarget(path);
  }
  return nullptr;
}

}  // namespace

FdReaderWriter::FdReaderWriter() = default;
FdReaderWriter::~FdReaderWriter() = default;

bool FdReaderWriter::ReadBuffer(std::uint8_t* data, std::uint64_t count) {
  return channel_ != nullptr && channel_->read(data, count);
}

bool FdReaderWriter::WriteBuffer(const std::uint8_t* data, std::uint64_t count) {
  return channel_ != nullptr && channel_->write(data, count);
}

bool FdReaderWriter::WriteString(const std::string& text) {
  return WriteBuffer(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
}

File::File() = default;
File::~File() = default;

bool File::Initialize(const std::string& path, FILE_OPEN_MODE mode, unsigned int /*reserved*/) {
  channel_.reset();
  channel_ = openPath(path, mode);
  return channel_ != nullptr;
}

std::uint64_t File::Size() { return channel_ != nullptr ? channel_->size() : 0; }

bool File::ReadStringAll(std::string& text) {
  return channel_ != nullptr && channel_->readAll(text);
}

}  // namespace vexo::utils
