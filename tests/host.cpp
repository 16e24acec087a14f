#include "host.h"

#include <pthread.h>

#include <atomic>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

#include "vexo_host/host.h"

namespace {

thread_local vexo::tests::Messages messages;
thread_local std::size_t allocations = 0;
thread_local std::size_t firstFailure = SIZE_MAX, lastFailure = SIZE_MAX;
thread_local bool failed = false;
std::atomic<std::size_t> blocks{0}, bytes{0}, peak{0};

/// In front of every block: its size, and padding that keeps the alignment.
constexpr std::size_t kPrefix = alignof(std::max_align_t);

void* allocate(std::size_t size) {
  const std::size_t number = allocations++;
  const bool fails = number >= firstFailure && number <= lastFailure;
  failed |= fails;
  char* const block = fails ? nullptr : static_cast<char*>(std::malloc(size + kPrefix));
  if (block == nullptr) throw std::bad_alloc();
  *reinterpret_cast<std::size_t*>(block) = size;
  ++blocks;
  const std::size_t now = bytes += size;
  for (std::size_t old = peak; now > old && !peak.compare_exchange_weak(old, now);) {
  }
  return block + kPrefix;
}

void release(void* pointer) {
  if (pointer == nullptr) return;
  char* block = static_cast<char*>(pointer) - kPrefix;
  bytes -= *reinterpret_cast<std::size_t*>(block);
  --blocks;
  std::free(block);
}

/// Every test begins without messages.
class MessageCleaner : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override { vexo::tests::takeMessages(); }
};

}  // namespace

// Arrays come here as well.
void* operator new(std::size_t size) { return allocate(size); }
void operator delete(void* pointer) noexcept { release(pointer); }
void operator delete(void* pointer, std::size_t) noexcept { release(pointer); }

extern "C" {

void logInternal(const char* module, const char* file, const char* function, int line, int level,
                 int, int, const char* format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  EXPECT_STREQ(module, "vexo_variant");
  EXPECT_GT(line, 0);
  // What is allocated here does not count.
  const std::size_t number = allocations, failure = std::exchange(firstFailure, SIZE_MAX);
  messages.push_back(std::string(file) + " " + function + " " + std::to_string(level) + ": " +
                     text);
  std::fprintf(stderr, "%s\n", messages.back().c_str());
  allocations = number;
  firstFailure = failure;
}

void forceCrash() { std::abort(); }
}

namespace vexo::tests {

Messages takeMessages() { return std::exchange(messages, {}); }

std::string violation(const std::string& message) {
  std::string pattern;
  for (const char c : message) pattern += {'[', c, ']'};
  return pattern;
}

FailingAllocation::FailingAllocation(std::size_t n, bool lasting) {
  failed = false;
  lastFailure = lasting ? SIZE_MAX : allocations + n;
  firstFailure = allocations + n;
}
FailingAllocation::~FailingAllocation() { firstFailure = SIZE_MAX; }
bool FailingAllocation::happened() const { return failed; }

std::size_t allocationCount() { return allocations; }
std::size_t liveBlocks() { return blocks; }
std::size_t liveBytes() { return bytes; }
std::size_t peakBytes(const std::function<void()>& body) {
  const std::size_t before = peak = bytes.load();
  body();
  return peak - before;
}

void runOnSmallStack(const std::function<void()>& body) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 64 * 1024), 0);
  pthread_t thread;
  const auto start = [](void* argument) -> void* {
    (**static_cast<const std::function<void()>**>(argument))();
    return nullptr;
  };
  const auto* argument = &body;
  ASSERT_EQ(pthread_create(&thread, &attributes, start, &argument), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

variant::Variant parsed(const std::string& json) {
  variant::Variant value;
  EXPECT_EQ(value.FromJSON(json), static_cast<int>(json.size())) << json;
  return value;
}

variant::Variant decoded(const std::string& hex) {
  variant::Variant value;
  EXPECT_EQ(readBin(value, unhex(hex)), unhex(hex).size()) << hex;
  return value;
}

std::string json(const variant::Variant& value) {
  std::string text;
  EXPECT_TRUE(value.ToJSON(text, false));
  return text;
}

Bytes toBin(const variant::Variant& value) {
  std::uint32_t length = value.GetBinRequiredLength();
  Bytes bytes(length);
  bytes.resize(value.ToBIN(bytes.data(), length));
  return bytes;
}

std::uint32_t readBin(variant::Variant& value, const Bytes& bytes) {
  return value.FromBIN(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
}

std::string hex(const Bytes& bytes) {
  std::string text;
  for (const int byte : bytes)
    text += {"0123456789ABCDEF"[byte / 16], "0123456789ABCDEF"[byte % 16]};
  return text;
}

Bytes unhex(std::string text) {
  std::erase(text, ' ');
  Bytes bytes;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2)
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
  return bytes;
}

std::string told(const variant::TextError& error) {
  const auto& [offset, line, column] = error.position;
  return std::to_string(line) + ":" + std::to_string(column) + ": " + error.reason;
}

std::vector<std::vector<std::string>> table(std::string text) {
  const auto split = [](const std::string& whole, const std::string& by) {
    std::vector<std::string> parts;
    for (std::size_t start = 0, end = 0; end != std::string::npos; start = end + by.size()) {
      end = whole.find(by, start);
      std::string& part = parts.emplace_back(whole, start, end - start);
      part.erase(0, part.find_first_not_of(' '));
      part.erase(part.find_last_not_of(' ') + 1);
    }
    return parts;
  };
  for (std::size_t at; (at = text.find('\n')) != std::string::npos;) text.replace(at, 1, "   ");
  std::vector<std::vector<std::string>> rows;
  for (const std::string& row : split(text, "   ")) {
    if (!row.empty()) rows.push_back(split(row, "=>"));
  }
  return rows;
}

std::string replaced(std::string text, const std::string& what, const std::string& by) {
  for (std::size_t i = 0; (i = text.find(what, i)) != std::string::npos; i += by.size())
    text.replace(i, what.size(), by);
  return text;
}

std::string repeated(const std::string& text, std::size_t count) {
  std::string result;
  for (; count > 0; --count) result += text;
  return result;
}

void expectChanges(void (*action)(V value), const std::string& rows,
                   std::string (*show)(const variant::Variant&)) {
  for (const auto& row : table(rows)) {
    const std::size_t before = liveBlocks();
    {
      variant::Variant value = parsed(row[0]);
      action(value);
      EXPECT_EQ(show(value), row[1]) << row[0];
    }
    EXPECT_EQ(liveBlocks(), before) << row[0];
  }
}

}  // namespace vexo::tests

int main(int argc, char** argv) {
  std::setlocale(LC_ALL, "");  // the suite runs under several locales
  testing::InitGoogleTest(&argc, argv);
  GTEST_FLAG_SET(death_test_style, "fast");
  testing::UnitTest::GetInstance()->listeners().Append(new MessageCleaner);
  return RUN_ALL_TESTS();
}
