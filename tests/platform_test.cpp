// The platform layer: base64, timestamps as text, whole files, the byte queue, formatting, the log.
#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <utility>

#include "vexo_host/host.h"
#include "vexo_utils/base64.h"
#include "vexo_utils/file.h"
#include "vexo_utils/format.h"
#include "vexo_utils/io_buffer.h"
#include "vexo_utils/time.h"

namespace {

using namespace vexo::utils;
namespace fs = std::filesystem;
using std::string_literals::operator""s;

/// What b64 or unb64 makes of `input` with exactly `room` bytes to write to.
std::string recode(decltype(&b64) coder, const std::string& input, std::size_t room) {
  std::string output(room, '\0');
  auto length = static_cast<unsigned int>(room);
  const unsigned int count = coder(reinterpret_cast<const unsigned char*>(input.data()),
                                   static_cast<unsigned int>(input.size()),
                                   reinterpret_cast<unsigned char*>(output.data()), length);
  EXPECT_EQ(count, length);
  return output.substr(0, count);
}

TEST(Base64, OneTextForEachRunOfBytes) {
  EXPECT_EQ(recode(b64, "\xFB\xEF\xBE\xFF\x61\x72\x66", 12), "++++/2FyZg==");
  std::string data;
  for (int i = 0; i < 1021; ++i) {
    EXPECT_EQ(recode(unb64, recode(b64, data, (data.size() + 2) / 3 * 4), data.size()), data);
    data += static_cast<char>(i * 7 + i / 256);
  }
  for (const std::string& text :
       {"Z"s, "Zg="s, "Zm9vY"s, "===="s, "Z==="s, "A=AA"s, "AA=A"s, "Zg==Zg=="s, "Zh=="s, "Zm9="s,
        "Zm9v\nA=="s, "Zm-v"s, "AAA\x80"s, "AA\0A"s, "AAAAAA!A"s, "A!AAAAAAAAAA"s}) {
    EXPECT_EQ(recode(unb64, text, 99), "") << text;
  }
}

TEST(Base64, KeepsToTheRoom) {
  EXPECT_EQ(recode(unb64, "Zm9v", 2), "");
  unsigned int length = 7;
  EXPECT_EQ(b64(nullptr, 4, nullptr, length), 0U);
  EXPECT_EQ(length, 8U);
  length = 0;
  EXPECT_EQ(b64(nullptr, 0, nullptr, length) + unb64(nullptr, 0, nullptr, length), 0U);
  length = 4;  // enough for that length modulo 2^32, which is 0
  EXPECT_EQ(b64(nullptr, 3221225472U, nullptr, length), 0U);
  EXPECT_EQ(length, UINT32_MAX);
}

using Seconds = decltype(timeval::tv_sec);
using Microseconds = decltype(timeval::tv_usec);

/// A moment that this build's timeval cannot hold must not be read, and leave the timeval alone.
void expectRoundTrip(std::int64_t seconds, std::int64_t microseconds, const std::string& text) {
  const timeval time{static_cast<Seconds>(seconds), static_cast<Microseconds>(microseconds)};
  const bool fits = time.tv_sec == seconds && time.tv_usec == microseconds;
  timeval read{1, 1};
  EXPECT_EQ(stringToTimeval(text.data(), static_cast<unsigned int>(text.size()), &read), fits);
  EXPECT_EQ(read.tv_sec, fits ? seconds : 1) << text;
  EXPECT_EQ(read.tv_usec, fits ? microseconds : 1) << text;
  EXPECT_EQ(fits ? timevalToString(&time) : text, text);
}

TEST(Time, KnownMomentsBothWays) {
  const struct {
    std::int64_t seconds, microseconds;
    const char* text;
  } known[] = {
      // clang-format off
      {0,              0,         "1970-01-01T00:00:00.000000Z"},
      {1795375980,     250,       "2026-11-22T19:33:00.000250Z"},
      {951782400,      0,         "2000-02-29T00:00:00.000000Z"},
      {INT32_MAX,      1,         "2038-01-19T03:14:07.000001Z"},
      {2147483648,     0,         "2038-01-19T03:14:08.000000Z"},
      {-2147483649,    0,         "1901-12-13T20:45:51.000000Z"},
      {253402300800,   0,         "+10000-01-01T00:00:00.000000Z"},
      {-62167219201,   0,         "-0001-12-31T23:59:59.000000Z"},
      {INT64_MAX,      999999,    "+292277026596-12-04T15:30:07.999999Z"},
      {INT64_MIN,      0,         "-292277022657-01-27T08:29:52.000000Z"},
      {0,              1000000,   "timeval(0,1000000)"},
      {INT64_MIN,      INT32_MIN, "timeval(-9223372036854775808,-2147483648)"},
      {INT64_MAX,      INT64_MIN, "timeval(9223372036854775807,-9223372036854775808)"},
      // clang-format on
  };
  for (const auto& [seconds, microseconds, text] : known) {
    expectRoundTrip(seconds, microseconds, text);
  }
}

/// A text is a timestamp exactly when that timestamp is written so.
void expectOnlyCanonical(const std::string& text) {
  timeval time{7, -7};
  const bool isRead = stringToTimeval(text.data(), static_cast<unsigned int>(text.size()), &time);
  EXPECT_EQ(timevalToString(&time), isRead ? text : "timeval(7,-7)") << text;
}

TEST(Time, NothingIsMisread) {
  for (const std::string seed :
       {"2023-02-28T23:59:59.999999Z", "2024-02-30T23:59:60.000000Z", "1900-02-29T19:09:09.000000Z",
        "+2026-11-22T24:00:00.000250Z", "-0001-10-30T00:00:00.100000Z",
        "+292277026596-12-04T15:30:07.999999Z", "-292277022657-01-27T08:29:52.000000Z",
        "+999999999999-12-31T23:59:59.999999Z", "-999999999999-01-01T00:00:00.000000Z",
        "timeval(0,1000000)", "timeval(-9223372036854775808,9223372036854775807)"}) {
    for (std::size_t i = 0; i < seed.size(); ++i) {
      expectOnlyCanonical(seed.substr(0, i));
      expectOnlyCanonical(std::string(seed).erase(i, 1));
      for (int c = 0; c < 256; ++c) {
        expectOnlyCanonical(std::string(seed).replace(i, 1, 1, static_cast<char>(c)));
        expectOnlyCanonical(std::string(seed).insert(i, 1, static_cast<char>(c)));
      }
    }
  }
}

TEST(Time, AgreesWithTheCLibrary) {
  constexpr bool kIsWide = sizeof(std::time_t) > 4;
  std::uniform_int_distribution<std::int64_t> seconds(kIsWide ? -62167219200 : INT32_MIN,
                                                      kIsWide ? 253402300799 : INT32_MAX);
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {
    const auto second = static_cast<std::time_t>(seconds(random));
    std::tm tm{};
    gmtime_r(&second, &tm);
    expectRoundTrip(second, i,
                    format("%04d-%02d-%02dT%02d:%02d:%02d.%06dZ", tm.tm_year + 1900, tm.tm_mon + 1,
                           tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, i));
    const timeval any{static_cast<Seconds>(random()), static_cast<Microseconds>(random())};
    expectRoundTrip(any.tv_sec, any.tv_usec, timevalToString(&any));
  }
}

/// Works in a new directory, in which every temporary file shows.
class FileTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(mkdtemp(directory_.data()), nullptr);
    directory_ += '/';
    umask_ = umask(022);
  }
  void TearDown() override {
    umask(umask_);
    fs::permissions(directory_, fs::perms::owner_all);
    fs::remove_all(directory_);
  }

  std::string path(const std::string& name) const { return directory_ + name; }
  std::set<std::string> names() const {
    std::set<std::string> found;
    for (const auto& entry : fs::directory_iterator(directory_)) {
      found.insert(entry.path().filename());
    }
    return found;
  }
  static bool write(const std::string& path, const std::string& text) {
    File file;
    return file.Initialize(path, FILE_OPEN_MODE_WRITE, 0) && file.WriteString(text);
  }
  static std::string read(const std::string& path) {
    File file;
    std::string text;
    EXPECT_TRUE(file.Initialize(path, FILE_OPEN_MODE_READ, 0) && file.ReadStringAll(text)) << path;
    return text;
  }

  std::string directory_ = testing::TempDir() + "platform_test_XXXXXX";
  mode_t umask_ = 0;
};

using Names = std::set<std::string>;

TEST_F(FileTest, ReplacesAtTheFirstWriteAndAppendsAfterwards) {
  ASSERT_TRUE(write(path("f"), "old and long"));
  fs::create_hard_link(path("f"), path("old"));
  File file;
  ASSERT_TRUE(file.Initialize(path("f"), FILE_OPEN_MODE_WRITE, 0));
  EXPECT_EQ(read(path("f")), "old and long");
  EXPECT_TRUE(file.WriteString("new") && file.WriteString("er"));
  EXPECT_EQ(read(path("f")), "newer");
  EXPECT_EQ(read(path("old")), "old and long") << "not a new file";
  EXPECT_TRUE(write(path("f"), ""));
  EXPECT_EQ(read(path("f")), "");
  EXPECT_EQ(names(), (Names{"f", "old"}));
}

TEST_F(FileTest, WithoutAWriteOrWithAFailedOneNothingChanges) {
  ASSERT_TRUE(write(path("f"), "old"));
  const auto previous = std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit small{4096, limit.rlim_max};
  for (const char* name : {"f", "absent"}) {
    File file;
    ASSERT_TRUE(file.Initialize(path(name), FILE_OPEN_MODE_WRITE, 0));
    ASSERT_TRUE(file.Initialize(path(name), FILE_OPEN_MODE_WRITE, 0));
    EXPECT_EQ(names().size(), 2U) << "the first temporary file is gone";
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_FALSE(file.WriteString(std::string(10000, 'x')));
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_FALSE(file.WriteString("late"));
    EXPECT_EQ(names(), Names{"f"});
  }
  std::signal(SIGXFSZ, previous);
  EXPECT_EQ(read(path("f")), "old");
}

TEST_F(FileTest, PermissionsAreKeptAndNewFilesFollowTheUmask) {
  umask(027);
  ASSERT_TRUE(write(path("f"), "x"));
  EXPECT_EQ(fs::status(path("f")).permissions(), fs::perms{0640});
  for (const fs::perms mode : {fs::perms{0604}, fs::perms{0777}}) {
    fs::permissions(path("f"), mode);
    ASSERT_TRUE(write(path("f"), "y"));
    EXPECT_EQ(fs::status(path("f")).permissions(), mode);
  }
}

TEST_F(FileTest, FollowsSymbolicLinks) {
  fs::create_symlink("f", path("relative"));
  fs::create_symlink(path("relative"), path("absolute"));
  for (const char* text : {"creates", "replaces"}) {
    EXPECT_TRUE(write(path("absolute"), text));
    EXPECT_EQ(read(path("f")), text);
    EXPECT_EQ(names(), (Names{"f", "relative", "absolute"}));
  }
}

TEST_F(FileTest, AnOpenFileUnderProcIsWrittenInPlace) {
  const int fd = open(path("f").c_str(), O_RDWR | O_CREAT, 0600);
  unlink(path("f").c_str());
  EXPECT_TRUE(write(format("/proc/self/fd/%d", fd), "new"));
  EXPECT_EQ(read(format("/proc/self/fd/%d", fd)), "new");
  EXPECT_EQ(names(), Names{});
  close(fd);
}

TEST_F(FileTest, RefusesWhatIsNoFile) {
  fs::create_symlink("loop", path("loop"));
  fs::create_symlink("none/f", path("lost"));
  for (const std::string& bad : {""s, directory_, path("."), path("none/f"), path("f\0g"s),
                                 path("none/"), path("loop"), path("lost")}) {
    File file;
    EXPECT_FALSE(file.Initialize(bad, FILE_OPEN_MODE_READ, 0)) << bad;
    EXPECT_FALSE(file.Initialize(bad, FILE_OPEN_MODE_WRITE, 0)) << bad;
    EXPECT_FALSE(file.WriteString("") || file.ReadBuffer(nullptr, 0) || file.Size() > 0);
  }
  EXPECT_EQ(names(), (Names{"loop", "lost"}));
}

TEST_F(FileTest, LongNamesWorkAndTheWorkingDirectoryMayChange) {
  std::string name = "e";
  while (name.size() < 255) {
    name += "\u00E9";
  }
  const fs::path home = fs::current_path();
  fs::current_path(directory_);
  File file;
  EXPECT_TRUE(file.Initialize(name, FILE_OPEN_MODE_WRITE, 0));
  fs::current_path(home);
  EXPECT_EQ(names().begin()->find('.', 1), 100U) << "the temporary name is cut between characters";
  EXPECT_TRUE(file.WriteString("x"));
  EXPECT_EQ(names(), Names{name});
}

TEST_F(FileTest, PermissionDecides) {
  if (geteuid() == 0) {
    GTEST_SKIP() << "root is refused nothing";
  }
  ASSERT_TRUE(write(path("f"), "long text"));
  fs::permissions(path("f"), fs::perms{0400});
  EXPECT_FALSE(write(path("f"), "x")) << "read-only file";
  fs::permissions(path("f"), fs::perms{0600});
  fs::permissions(directory_, fs::perms{0500});
  EXPECT_TRUE(write(path("f"), "short")) << "in place";
  EXPECT_FALSE(write(path("g"), "x")) << "read-only directory";
  EXPECT_EQ(read(path("f")), "short");
}

/// Opens `path` and reads what it holds in every way.
void expectContent(const std::string& path, const std::string& content) {
  File file;
  ASSERT_TRUE(file.Initialize(path, FILE_OPEN_MODE_READ, 0)) << path;
  std::uint8_t part[8];
  EXPECT_TRUE(file.ReadBuffer(part, 8));
  EXPECT_EQ(file.Size(), content.size() - 8);
  EXPECT_TRUE(file.ReadBuffer(part, 8));
  std::string rest;
  EXPECT_TRUE(file.ReadStringAll(rest));
  EXPECT_TRUE(rest == content.substr(16)) << path;
  EXPECT_FALSE(file.ReadBuffer(part, 1) || file.WriteString("x") || file.Size() > 0);
}

TEST_F(FileTest, ReadsFilesPipesAndProc) {
  const std::string text = format("%0100000d", 1);
  ASSERT_TRUE(write(path("f"), text));
  expectContent(path("f"), text);
  expectContent("/proc/version", read("/proc/version"));
  ASSERT_EQ(mkfifo(path("p").c_str(), 0600), 0);
  std::thread writer([&] { EXPECT_TRUE(write(path("p"), text)); });
  expectContent(path("p"), text);
  writer.join();
  EXPECT_EQ(names(), (Names{"f", "p"}));
}

TEST_F(FileTest, DevicesMayFail) {
  EXPECT_TRUE(write("/dev/null", "x"));
  EXPECT_FALSE(write("/dev/full", "x"));
  File file;
  ASSERT_TRUE(file.Initialize("/proc/self/mem", FILE_OPEN_MODE_READ, 0));
  std::string text = "same";
  EXPECT_EQ(file.Size(), 0U);
  EXPECT_FALSE(file.ReadStringAll(text) || file.ReadBuffer(nullptr, 0));
  EXPECT_EQ(text, "same");
}

TEST(IOBuffer, IsAQueue) {
  IOBuffer buffer;
  EXPECT_TRUE(buffer.ReadFromBuffer(nullptr, 0) && buffer.Ignore(0));
  std::uint8_t next = 0, expected = 0;
  for (std::uint32_t round = 0; round < 300; ++round) {
    for (std::uint32_t i = 0; i <= round; ++i, ++next) {
      i % 2 == 0 ? buffer.ReadFromRepeat(next, 1) : buffer.ReadFromBuffer(&next, 1);
    }
    for (std::uint32_t i = 0; i < round; ++i, ++expected) {
      ASSERT_EQ(*buffer.data(), expected);
      ASSERT_TRUE(buffer.Ignore(1));
    }
    ASSERT_EQ(buffer.size(), round + 1);
  }
  IOBuffer moved = std::move(buffer);
  EXPECT_EQ(buffer.size(), 0U);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(moved.size(), 300U);
  EXPECT_FALSE(moved.Ignore(301));
  EXPECT_EQ(moved.size(), 0U);
}

TEST(Format, AnyLength) {
  EXPECT_EQ(format("%s", "") + format("%d:%s", -7, "x"), "-7:x");
  EXPECT_EQ(format("%70000d", 1), std::string(69999, ' ') + "1");
}

// This program has a logInternal of its own; the platform's is the next one.
TEST(HostLog, OneLineOfAnyLength) {
  void* const symbol = dlsym(RTLD_NEXT, "logInternal");
  if (symbol == nullptr) {
    GTEST_SKIP() << "the platform is not a shared library";
  }
  for (const std::size_t length : {0U, 1000U, 1001U, 1002U, 1003U, 1004U, 30000U}) {
    const std::string message(length, 'm');
    testing::internal::CaptureStderr();
    reinterpret_cast<decltype(&logInternal)>(symbol)("mod", "src/a", "Do", 12, 3, 0, 0,
                                                     "%s\n%s\x1B", message.c_str(), "b");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "E mod src/a:12 Do: " + message + " b \n");
  }
}

}  // namespace
