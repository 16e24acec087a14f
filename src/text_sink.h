// Text on its way into a std::string.
#ifndef VEXO_VARIANT_SRC_TEXT_SINK_H
#define VEXO_VARIANT_SRC_TEXT_SINK_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

namespace vexo::variant {

/// Appends to a string through a pointer, making room in large steps. While the sink lives the
/// string is longer than its text; it has the right length again when the sink goes, on failure
/// too.
class TextSink {
 public:
  explicit TextSink(std::string& output) : output_(output), size_(output.size()) {}
  TextSink(const TextSink&) = delete;
  TextSink& operator=(const TextSink&) = delete;
  ~TextSink() { output_.resize(size_); }

  /// The place for the next bytes, with room for `count`. What was written there becomes text with
  /// advanceTo().
  char* room(std::size_t count) {
    if (output_.size() - size_ < count) [[unlikely]]
      grow(count);
    return output_.data() + size_;
  }
  void advanceTo(const char* end) { size_ = static_cast<std::size_t>(end - output_.data()); }

  void put(char c) {
    *room(1) = c;
    ++size_;
  }
  void put(std::string_view text) {
    if (text.empty()) return;
    std::memcpy(room(text.size()), text.data(), text.size());
    size_ += text.size();
  }
  void fill(std::size_t count, char c) {
    std::memset(room(count), c, count);
    size_ += count;
  }

 private:
  __attribute__((noinline)) void grow(std::size_t count) {
    constexpr std::size_t kFirst = 240;
    const std::size_t largest = output_.max_size();
    if (count > largest - size_) throw std::bad_alloc();
    const std::size_t ample = size_ > largest / 2 ? largest : std::max(2 * size_, kFirst);
    output_.resize(std::max(size_ + count, ample));
  }

  std::string& output_;
  std::size_t size_;
};

}  // namespace vexo::variant

#endif
