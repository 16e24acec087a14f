// The host that the tests give the library: it records messages, and can run out of memory.
#ifndef VEXO_TESTS_HOST_H
#define VEXO_TESTS_HOST_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <random>
#include <sstream>

#include "vexo_variant/text_error.h"
#include "vexo_variant/variant.h"

namespace vexo::tests {

using V = variant::Variant&;
using Chars = const char*;
using Bytes = std::vector<std::uint8_t>;

/// One message, as "src/variant_bin FromBIN 3: Limit exceeded: C: 2; V: 1; M: 2".
using Messages = std::vector<std::string>;

/// What this thread logged since the last call. Every test begins without messages.
Messages takeMessages();

/// What EXPECT_DEATH looks for: the message as above, as a regular expression.
std::string violation(const std::string& message);

/// While it lives, the n-th allocation (counted from 0) of this thread fails, and all after it if
/// `lasting`.
struct FailingAllocation {
  explicit FailingAllocation(std::size_t n, bool lasting = false);
  ~FailingAllocation();
  /// Whether the allocation was reached.
  bool happened() const;
};

/// Allocations made by this thread so far, and blocks and bytes now allocated by all threads. Bytes
/// are those asked for.
std::size_t allocationCount();
std::size_t liveBlocks();
std::size_t liveBytes();
/// The most bytes that were allocated at once while `body` ran, beyond those before.
std::size_t peakBytes(const std::function<void()>& body);

/// Runs `body` on a thread with a stack of 64 KiB.
void runOnSmallStack(const std::function<void()>& body);

/// The tree that a JSON text stands for; fails the test when it does not parse as a whole.
variant::Variant parsed(const std::string& json);
/// The value that BIN in hexadecimal stands for.
variant::Variant decoded(const std::string& hex);
/// Compact JSON.
std::string json(const variant::Variant& value);
/// The BIN encoding, and the result of reading one.
Bytes toBin(const variant::Variant& value);
std::uint32_t readBin(variant::Variant& value, const Bytes& bytes);
/// "100E03"; on the way in, spaces may part the digits.
std::string hex(const Bytes& bytes);
Bytes unhex(std::string text);

/// "1:6: expected ':' after member name".
std::string told(const variant::TextError& error);

/// The cells of a table, which "=>" separates; rows are lines, or stand three spaces apart.
std::vector<std::vector<std::string>> table(std::string text);
std::string repeated(const std::string& text, std::size_t count);
std::string replaced(std::string text, const std::string& what, const std::string& by);

/// Every row "JSON => text" tells how a value shows after the action, which must not leak.
void expectChanges(void (*action)(V value), const std::string& rows,
                   std::string (*show)(const variant::Variant&) = json);

/// A path in a new directory of its own, which goes with the object; there is no file yet.
struct TemporaryFile {
  ~TemporaryFile() { std::filesystem::remove_all(directory); }
  void write(const std::string& text) const { std::ofstream(path, std::ios::binary) << text; }
  std::string read() const {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::string directory = testing::TempDir() + "vexo-test-XXXXXX";
  std::string path = mkdtemp(directory.data()) + std::string("/file");
};

}  // namespace vexo::tests

namespace vexo::variant {
/// Keeps GoogleTest from printing a value by one of its conversions.
inline void PrintTo(const Variant& value, std::ostream* output) { *output << value.ToString(); }
}  // namespace vexo::variant

#endif
