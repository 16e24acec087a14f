// The platform layer: base64, timestamps as text, whole files, the byte queue, formatting,
// splitting, the log.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <set>
#include <thread>
#include <tuple>

#include "host.h"
#include "vexo_host/host.h"
#include "vexo_utils/base64.h"
#include "vexo_utils/file.h"
#include "vexo_utils/format.h"
#include "vexo_utils/io_buffer.h"
#include "vexo_utils/strings.h"
#include "vexo_utils/time.h"

namespace {

using namespace vexo::utils;
using vexo::tests::TemporaryFile;
namespace fs = std::filesystem;
using Names = std::set<std::string>;
static_assert(FILE_OPEN_MODE_READ == 0 && FILE_OPEN_MODE_WRITE == 2, "hosts pass the numbers");

/// What b64 or unb64 makes of `input` with exactly `room` bytes to write to.
std::string recode(decltype(&b64) coder, const std::string& input, std::size_t room) {
  std::string output(room, '\0');
  auto length = static_cast<unsigned int>(room);
  const auto* from = reinterpret_cast<const unsigned char*>(input.data());
  auto* to = reinterpret_cast<unsigned char*>(output.data());
  EXPECT_EQ(coder(from, static_cast<unsigned int>(input.size()), to, length), length);
  return output.substr(0, length);
}

TEST(Base64, OneTextForEachRunOfBytes) {
  EXPECT_EQ(recode(b64, "\xFB\xEF\xBE\xFF\x61\x72\x66", 12), "++++/2FyZg==");
  std::string data;
  for (int i = 0; i < 1021; data += static_cast<char>(i * 7 + i / 256), ++i)
    EXPECT_EQ(recode(unb64, recode(b64, data, (data.size() + 2) / 3 * 4), data.size()), data);
  // clang-format off
  const Names wrong = {"Z", "Zg=", "Zm9vY", "====", "Z===", "A=AA", "AA=A", "Zg==Zg==", "Zh==",
                       "Zm9=", "AAA\x80", {"AA\0A", 4}, "AAAAAA!A", "A!AAAAAAAAA="};
  // clang-format on
  for (const std::string& text : wrong) EXPECT_EQ(recode(unb64, text, 99), "") << text;
  EXPECT_EQ(recode(unb64, "Zm9v", 2), "") << "no room";
  unsigned int length = 4;  // enough for the next length modulo 2^32, which is 0
  EXPECT_TRUE(b64(nullptr, 3221225472U, nullptr, length) == 0 && length == UINT32_MAX);
}

/// The timestamp in a text, written again. A text that is refused must leave the timeval alone.
std::string reread(const std::string& text) {
  timeval time{7, -7};
  const bool isRead = stringToTimeval(text.data(), static_cast<unsigned int>(text.size()), &time);
  return (isRead ? "" : "refused: ") + timevalToString(&time);
}
const std::string kRefused = "refused: timeval(7,-7)";

/// Refused is also a moment that this build's timeval cannot hold.
void expectRoundTrip(std::int64_t seconds, std::int64_t microseconds, const std::string& text) {
  const timeval time{static_cast<decltype(timeval::tv_sec)>(seconds),
                     static_cast<decltype(timeval::tv_usec)>(microseconds)};
  const bool fits = time.tv_sec == seconds && time.tv_usec == microseconds;
  EXPECT_EQ(fits ? timevalToString(&time) : text, text);
  EXPECT_EQ(reread(text), fits ? text : kRefused);
}

TEST(Time, KnownMomentsBothWaysAndNothingElse) {
  // clang-format off
  const std::tuple<std::int64_t, std::int64_t, std::string> moments[] = {
    {0, 0, "1970-01-01T00:00:00.000000Z"},         {0, 1000000, "timeval(0,1000000)"},
    {951782400, 0, "2000-02-29T00:00:00.000000Z"}, {INT32_MAX, 1, "2038-01-19T03:14:07.000001Z"},
    {2147483648, 0, "2038-01-19T03:14:08.000000Z"}, {-2147483649, 0, "1901-12-13T20:45:51.000000Z"},
    {253402300800, 0, "+10000-01-01T00:00:00.000000Z"},
    {-62167219201, 0, "-0001-12-31T23:59:59.000000Z"},
    {INT64_MAX, 999999, "+292277026596-12-04T15:30:07.999999Z"},
    {INT64_MIN, 0, "-292277022657-01-27T08:29:52.000000Z"},
    {INT64_MAX, INT64_MIN, "timeval(9223372036854775807,-9223372036854775808)"}};
  Names seeds = {"2023-02-28T23:59:59.999999Z", "2024-02-30T23:59:60.000000Z",
                 "1900-02-29T19:09:09.000000Z", "+2026-11-22T24:00:00.000250Z",
                 "+999999999999-12-31T23:59:59.999999Z", "-999999999999-01-01T00:00:00.000000Z"};
  // clang-format on
  for (const auto& [seconds, microseconds, text] : moments) {
    expectRoundTrip(seconds, microseconds, text);
    seeds.insert(text);
  }
  for (const std::string& seed : seeds) {
    for (std::size_t i = 0; i < seed.size() * 256; ++i) {
      for (const std::size_t length : {0U, 1U, 99U}) {  // inserts, replaces, cuts off
        const auto text = std::string(seed).replace(i / 256, length, 1, static_cast<char>(i));
        const std::string again = reread(text);
        EXPECT_TRUE(again == text || again == kRefused) << text << " read as " << again;
      }
    }
  }
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {  // the years 0000 to 9999, or what a narrow time_t has of them
    const auto second = static_cast<std::time_t>(random() % 315569520000 - 62167219200);
    std::tm tm{};
    gmtime_r(&second, &tm);
    expectRoundTrip(second, i,
                    format("%04d-%02d-%02dT%02d:%02d:%02d.%06dZ", tm.tm_year + 1900, tm.tm_mon + 1,
                           tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec, i));
  }
}

/// Works in a new directory, in which every temporary file shows.
struct FileTest : testing::Test, TemporaryFile {
  FileTest() { fs::current_path(directory); }
  ~FileTest() override {
    fs::permissions(directory, fs::perms::owner_all);
    fs::current_path(home);
  }
  const fs::path home = fs::current_path();
};

Names names() {
  Names found;
  for (const auto& entry : fs::directory_iterator(".")) found.insert(entry.path().filename());
  return found;
}

bool replace(const std::string& path, const std::string& text) {
  File file;
  return file.Initialize(path, FILE_OPEN_MODE_WRITE, 0) && file.WriteString(text);
}

/// Opens `path` and reads what it holds in every way.
void expectContent(const std::string& path, const std::string& content) {
  File file;
  std::uint8_t byte = 0;
  std::string rest;
  ASSERT_TRUE(file.Initialize(path, FILE_OPEN_MODE_READ, 0) && file.ReadBuffer(&byte, 1)) << path;
  EXPECT_EQ(file.Size(), content.size() - 1);
  EXPECT_TRUE(file.ReadBuffer(&byte, 1) && file.ReadStringAll(rest));
  EXPECT_TRUE(byte == content[1] && rest == content.substr(2)) << path;
  EXPECT_FALSE(file.ReadBuffer(&byte, 1) || file.WriteString("x") || file.Size() > 0);
}

TEST_F(FileTest, ReplacesAtTheFirstWriteAndAppendsAfterwards) {
  std::string name = "e";
  while (name.size() < 255) name += "\u00E9";
  ASSERT_TRUE(replace(name, "old and long"));
  fs::create_hard_link(name, "old");
  File file;
  ASSERT_TRUE(file.Initialize(name, FILE_OPEN_MODE_WRITE, 0));
  EXPECT_EQ(names().begin()->find('.', 1), 100U) << "its temporary name, cut between characters";
  fs::current_path(home);
  EXPECT_TRUE(file.WriteString("new") && file.WriteString("er"));
  fs::current_path(directory);
  expectContent(name, "newer");
  expectContent("old", "old and long");
  EXPECT_TRUE(replace(name, "") && fs::is_empty(name));
  EXPECT_EQ(names(), (Names{name, "old"}));
}

TEST_F(FileTest, WithoutAWriteOrWithAFailedOneNothingChanges) {
  ASSERT_TRUE(replace("f", "old"));
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit small{4096, limit.rlim_max};
  for (const char* name : {"f", "absent"}) {
    File file;
    for (int i = 0; i < 2; ++i) ASSERT_TRUE(file.Initialize(name, FILE_OPEN_MODE_WRITE, 0));
    EXPECT_EQ(names().size(), 2U) << "the first temporary file is gone";
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_FALSE(file.WriteString(std::string(10000, 'x')));
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_FALSE(file.WriteString("late"));
    EXPECT_EQ(names(), Names{"f"});
  }
  expectContent("f", "old");
}

/// While it lives, root is a user like any other, who owns the working directory.
struct AsUser {
  AsUser() { EXPECT_TRUE(user != 0 || (chown(".", kUser, getegid()) == 0 && seteuid(kUser) == 0)); }
  ~AsUser() { EXPECT_EQ(seteuid(user), 0); }
  static constexpr uid_t kUser = 65534;
  const uid_t user = geteuid();
};

TEST_F(FileTest, PermissionsAreKeptAndDecide) {
  const AsUser user;
  const mode_t before = umask(027);
  EXPECT_TRUE(replace("f", "x") && fs::status("f").permissions() == fs::perms{0640});
  umask(before);
  fs::permissions("f", fs::perms{0606});
  EXPECT_TRUE(replace("f", "long text") && fs::status("f").permissions() == fs::perms{0606});
  fs::permissions("f", fs::perms{0400});
  EXPECT_FALSE(replace("f", "x"));
  fs::permissions("f", fs::perms{0600});
  fs::permissions(".", fs::perms{0500});
  EXPECT_TRUE(replace("f", "in place") && !replace("g", "x"));
  expectContent("f", "in place");
}

TEST_F(FileTest, RightsOfAnOwnerOrGroupThatIsNotKeptAreLost) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give files away";
  const std::tuple<bool, gid_t, mode_t> rows[] = {
      {false, 2, 07767}, {true, getegid(), 03767}, {true, 2, 01767}};
  for (const auto& [isUser, group, mode] : rows) {
    EXPECT_TRUE(replace("f", "old") && chown("f", 1, group) == 0 && chmod("f", 07767) == 0);
    const auto user = isUser ? std::make_unique<AsUser>() : nullptr;
    struct stat status {};
    EXPECT_TRUE(replace("f", "new") && stat("f", &status) == 0);
    EXPECT_EQ(status.st_mode & 07777, mode);
    EXPECT_EQ(status.st_uid, isUser ? AsUser::kUser : 1);
  }
}

TEST_F(FileTest, FollowsLinksAndRefusesWhatIsNoFile) {
  fs::create_directory("d");
  fs::create_symlink("../f", "d/relative");
  fs::create_symlink(fs::absolute("d/relative"), "absolute");
  fs::create_symlink("loop", "loop");
  fs::create_symlink("none/f", "lost");
  for (const std::string& name :
       Names{"", "d", ".", "none/f", "none/", "loop", "lost", {"f\0g", 3}}) {
    File file;
    EXPECT_FALSE(replace(name, "x") || file.Initialize(name, FILE_OPEN_MODE_READ, 0) ||
                 file.ReadBuffer(nullptr, 0) || file.Size() > 0);
  }
  for (const std::string text : {"creates", "replaces"}) {
    EXPECT_TRUE(replace("absolute", text));
    expectContent("f", text);
    EXPECT_EQ(names(), (Names{"absolute", "d", "f", "loop", "lost"}));
  }
}

TEST_F(FileTest, PipesDevicesAndProc) {
  const std::string text = format("%0100000d", 1);
  ASSERT_EQ(mkfifo("p", 0600), 0);
  std::thread writer([&] { EXPECT_TRUE(replace("p", text)); });
  expectContent("p", text);
  writer.join();
  EXPECT_TRUE(replace("/dev/null", text) && !replace("/dev/full", text));
  expectContent("/proc/sys/kernel/ostype", "Linux\n");
  const int fd = open("f", O_RDWR | O_CREAT, 0600);
  unlink("f");
  EXPECT_TRUE(replace(format("/proc/self/fd/%d", fd), text));
  expectContent(format("/proc/self/fd/%d", fd), text);
  close(fd);
  EXPECT_EQ(names(), Names{"p"});
  File file;
  std::string same = "same";
  ASSERT_TRUE(file.Initialize("/proc/self/mem", FILE_OPEN_MODE_READ, 0) && file.Size() == 0);
  EXPECT_FALSE(file.ReadStringAll(same) || file.ReadBuffer(nullptr, 0) || same != "same");
}

TEST(IOBuffer, IsAQueue) {
  IOBuffer buffer;
  std::uint8_t expected = 0, next = 0;
  for (int i = 0; i < 9000; ++i, ++next) {
    i % 2 == 0 ? buffer.ReadFromRepeat(next, 1) : buffer.ReadFromBuffer(&next, 1);
    ASSERT_TRUE(i % 3 == 0 || (*std::as_const(buffer).data() == expected++ && buffer.Ignore(1)));
  }
  IOBuffer moved = std::move(buffer);  // NOLINTNEXTLINE(bugprone-use-after-move)
  EXPECT_TRUE(buffer.size() == 0 && moved.size() == 3000);
  EXPECT_TRUE(buffer.ReadFromRepeat(7, 1) && *buffer.data() == 7);
  EXPECT_TRUE(moved.Ignore(2999) && !moved.Ignore(2) && moved.Ignore(0) && moved.size() == 0);
}

// This program has a logInternal of its own; the platform's is the next one.
TEST(HostLog, OneLineOfAnyLength) {
  void* const symbol = dlsym(RTLD_NEXT, "logInternal");
  if (symbol == nullptr) GTEST_SKIP() << "the platform is not a shared library";
  const auto log = reinterpret_cast<decltype(&logInternal)>(symbol);
  for (const std::size_t length : {0U, 1000U, 1001U, 1002U, 1003U, 1004U, 30000U}) {
    const std::string message(length, 'm');
    testing::internal::CaptureStderr();
    log("mod", "src/a", "Do", 12, 3, 0, 0, "%s\n%s\x1B", message.c_str(), format("%s", "").c_str());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "E mod src/a:12 Do: " + message + "  \n");
  }
}

TEST(Strings, AreSplitAndTrimmed) {
  // The text, what parts it, and its pieces behind what was there before, each in brackets.
  for (const auto& row : vexo::tests::table(R"(
      => . => [before][]   a..b. => . => [before][a][][b][]   --a---b => -- => [before][][a][-b]
      a.b => => [before][a.b]   a.b => a.b.c => [before][a.b])")) {
    std::vector<std::string> pieces{"before"};
    split(row[0], row[1], pieces);
    std::string found;
    for (const std::string& piece : pieces) found += "[" + piece + "]";
    EXPECT_EQ(found, row[2]) << row[0];
  }
  for (std::string text : {" \t\n\v\f\r a \t", "a \t", " a \t"}) {
    lTrim(text);
    EXPECT_EQ(text, "a \t");
  }
  std::string blank = " \xA0", empty = "\t ";
  lTrim(blank), lTrim(empty);
  EXPECT_EQ(blank + empty, "\xA0");
}

}  // namespace
