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
/// string is longer than its text, and nobody else may change or move it; it has the right length
/// again when the sink goes, on failure too.
class TextSink {
 public:
  explicit TextSink(std::string& output) : output_(output) { setPointers(output.size()); }
  TextSink(const TextSink&) = delete;
  TextSink& operator=(const TextSink&) = delete;
  ~TextSink() { output_.resize(size()); }

  /// The place for the next bytes, with room for `count`. What was written there becomes text with
  /// advanceTo().
  char* room(std::size_t count) {
    if (static_cast<std::size_t>(end_ - here_) < count) [[unlikely]]
      grow(count);
    return here_;
  }
  void advanceTo(char* end) { here_ = end; }

  void put(char c) {
    *room(1) = c;
    ++here_;
  }
  void put(std::string_view text) {
    if (text.empty()) return;
    std::memcpy(room(text.size()), text.data(), text.size());
    here_ += text.size();
  }
  void fill(std::size_t count, char c) {
    std::memset(room(count), c, count);
    here_ += count;
  }

 private:
  std::size_t size() const { return static_cast<std::size_t>(here_ - output_.data()); }
  void setPointers(std::size_t size) {
    here_ = output_.data() + size;
    end_ = output_.data() + output_.size();
  }

  __attribute__((noinline)) void grow(std::size_t count) {
    constexpr std::size_t kFirst = 240;
    const std::size_t size = this->size();
    const std::size_t largest = output_.max_size();
    if (count > largest - size) throw std::bad_alloc();
    const std::size_t ample = size > largest / 2 ? largest : std::max(2 * size, kFirst);
    output_.resize(std::max(size + count, ample));
    setPointers(size);
  }

  std::string& output_;
  char* here_;  // where the next byte goes
  char* end_;   // of the room
};

}  // namespace vexo::variant

#endif
