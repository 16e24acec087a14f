// A file for tests that write and read one.
#ifndef VEXO_TESTS_TEMPORARY_FILE_H
#define VEXO_TESTS_TEMPORARY_FILE_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace vexo::tests {

/// A path in a new directory of its own, which goes with the object; there is no file yet.
class TemporaryFile {
 public:
  TemporaryFile() : directory_(testing::TempDir() + "vexo-test-XXXXXX") {
    EXPECT_NE(mkdtemp(directory_.data()), nullptr);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() { std::filesystem::remove_all(directory_); }

  const std::string& directory() const { return directory_; }
  std::string path() const { return directory_ + "/file"; }
  void write(const std::string& text) const { std::ofstream(path(), std::ios::binary) << text; }
  std::string read() const {
    std::ifstream file(path(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::string directory_;
};

}  // namespace vexo::tests

#endif
