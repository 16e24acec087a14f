// A stack of plain records that starts on the thread's stack and spills to the heap.
#ifndef VEXO_VARIANT_SRC_POD_STACK_H
#define VEXO_VARIANT_SRC_POD_STACK_H

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

namespace vexo::variant {

/// Holds the first `kInline` records without allocating. Pushing may move the records.
template <class T, std::size_t kInline>
class PodStack {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

 public:
  PodStack() = default;
  PodStack(const PodStack&) = delete;
  PodStack& operator=(const PodStack&) = delete;
  ~PodStack() {
    if (begin_ != inlineItems()) ::operator delete(begin_);
  }

  bool empty() const { return end_ == begin_; }
  std::size_t size() const { return static_cast<std::size_t>(end_ - begin_); }
  T* begin() { return begin_; }
  T* end() { return end_; }
  T& top() { return end_[-1]; }
  T& operator[](std::size_t i) { return begin_[i]; }
  const T& operator[](std::size_t i) const { return begin_[i]; }

  T& push(const T& item) {
    if (end_ == limit_) [[unlikely]]
      grow(1);
    return *::new (static_cast<void*>(end_++)) T(item);
  }
  /// Adds `count` records, which the caller gives their content, and returns the first.
  T* pushMany(std::size_t count) {
    if (static_cast<std::size_t>(limit_ - end_) < count) [[unlikely]]
      grow(count);
    return std::exchange(end_, end_ + count);
  }
  void pop() { --end_; }
  void truncate(std::size_t size) { end_ = begin_ + size; }

 private:
  T* inlineItems() { return reinterpret_cast<T*>(inline_); }

  __attribute__((noinline)) void grow(std::size_t count) {
    const std::size_t size = this->size();
    const std::size_t capacity =
        std::max(2 * static_cast<std::size_t>(limit_ - begin_), size + count);
    T* larger = static_cast<T*>(::operator new(capacity * sizeof(T)));
    std::memcpy(static_cast<void*>(larger), begin_, size * sizeof(T));
    if (begin_ != inlineItems()) ::operator delete(begin_);
    begin_ = larger;
    end_ = larger + size;
    limit_ = larger + capacity;
  }

  alignas(T) std::byte inline_[kInline * sizeof(T)];
  T* begin_ = inlineItems();
  T* end_ = begin_;
  T* limit_ = begin_ + kInline;
};

}  // namespace vexo::variant

#endif
