// Whole files: read at once, or replaced at once.
#ifndef VEXO_UTILS_FILE_H
#define VEXO_UTILS_FILE_H

#include <cstdint>
#include <memory>
#include <string>

namespace vexo::utils {

enum FILE_OPEN_MODE {
  FILE_OPEN_MODE_READ = 0,
  FILE_OPEN_MODE_WRITE = 2,
};

/// Reading and writing through a file descriptor that it owns.
class __attribute__((visibility("default"))) FdReaderWriter {
 public:
  class Channel;

  FdReaderWriter(const FdReaderWriter&) = delete;
  FdReaderWriter& operator=(const FdReaderWriter&) = delete;
  virtual ~FdReaderWriter();

  /// True when exactly `count` bytes were read.
  bool ReadBuffer(std::uint8_t* data, std::uint64_t count);
  /// True when all bytes were written; see File for what that means there.
  bool WriteBuffer(const std::uint8_t* data, std::uint64_t count);
  bool WriteString(const std::string& text);

 protected:
  FdReaderWriter();

  /// Does the work; each mode has its own kind. Null while nothing is open.
  std::unique_ptr<Channel> channel_;
};

/// One file, open for reading or for replacing its whole content.
///
/// Writing: the first WriteBuffer or WriteString brings the content, be it empty. It goes to a
/// temporary file beside the target, is synced, and renamed over the target, so that whatever
/// happens the target holds the old content or the new one. An existing file keeps its permissions
/// (and, where allowed, its owner); a symbolic link is followed, also to a file that does not exist
/// yet; a hard link becomes a file of its own, and the other names keep the old content. Where this
/// cannot work (a device, a pipe, a directory that cannot be written to) the target is written in
/// place. Without a write, or when it fails, a target that is not written in place is untouched and
/// the temporary file is gone; but when only its directory cannot be synced, the new content is
/// there and may not survive a power cut. A process that is killed may leave ".NAME.<16
/// digits>.tmp" behind. Further writes append to the target and sync it. After a failure nothing
/// more is written.
///
/// Reading in write mode and writing in read mode fail. Every operation may throw `std::bad_alloc`.
class __attribute__((visibility("default"))) File : public FdReaderWriter {
 public:
  File();
  ~File() override;

  /// Opens `path` in place of what was open before; true on success. Refused are a directory, and
  /// for writing an existing file without write permission. The third argument is reserved.
  bool Initialize(const std::string& path, FILE_OPEN_MODE mode, unsigned int reserved);
  /// How many bytes there are left to read; 0 in write mode. For a pipe and for files that do not
  /// know their size (such as those under /proc) it reads them all first.
  std::uint64_t Size();
  /// Replaces `text` by everything that is left to read; false, with `text` untouched, when reading
  /// fails.
  bool ReadStringAll(std::string& text);
};

}  // namespace vexo::utils

#endif
