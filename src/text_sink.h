// Text on its way into a std::string.
#ifndef VEXO_VARIANT_SRC_TEXT_SINK_H
#define VEXO_VARIANT_SRC_TEXT_SINK_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vexo::variant {

/// Gathers text in parts that never move, the first of them inside the sink, and gives it away at
/// once: a growing string would be copied again and again.
class TextSink {
 public:
  TextSink() = default;
  TextSink(const TextSink&) = delete;
  TextSink& operator=(const TextSink&) = delete;

  /// The place for the next bytes, with room for `count`. What was written there becomes text with
  /// advanceTo().
  char* room(std::size_t count) {
    if (static_cast<std::size_t>(end_ - here_) < count) [[unlikely]]
      addPart(count);
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
  /// The same for a text that the compiler knows, without a call.
  template <std::size_t kSize>
  void putLiteral(const char (&text)[kSize]) {
    std::memcpy(room(kSize - 1), text, kSize - 1);
    here_ += kSize - 1;
  }
  void fill(std::size_t count, char c) {
    std::memset(room(count), c, count);
    here_ += count;
  }

  /// Appends the whole text, or nothing when memory runs out.
  void appendTo(std::string& output) const {
    const std::string_view last = textOfLast();
    std::size_t size = output.size() + last.size();
    for (const Part& part : full_) size += part.size;
    output.reserve(size);
    const char* begin = first_;
    for (const Part& part : full_) {
      output.append(begin, part.size);
      begin = part.next.get();
    }
    output += last;
  }

 private:
  /// A part that is full, and the place of the one behind it.
  struct Part {
    std::size_t size;
    std::unique_ptr<char[]> next;
  };

  std::string_view textOfLast() const {
    const char* const begin = full_.empty() ? first_ : full_.back().next.get();
    return {begin, static_cast<std::size_t>(here_ - begin)};
  }

  __attribute__((noinline)) void addPart(std::size_t count) {
    constexpr std::size_t kMostDoublings = 5;
    const std::size_t size =
        std::max(count, kFirst << std::min<std::size_t>(full_.size() + 1, kMostDoublings));
    full_.push_back({textOfLast().size(), std::unique_ptr<char[]>(new char[size])});
    here_ = full_.back().next.get();
    end_ = here_ + size;
  }

  static constexpr std::size_t kFirst = 2048;

  char first_[kFirst];
  std::vector<Part> full_;
  char* here_ = first_;  // where the next byte goes
  char* end_ = first_ + kFirst;
};

}  // namespace vexo::variant

#endif
