// A stack of plain records that starts on the thread's stack and spills to the heap.
#ifndef VEXO_VARIANT_SRC_POD_STACK_H
#define VEXO_VARIANT_SRC_POD_STACK_H

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>

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
    if (items_ != inlineItems()) ::operator delete(items_);
  }

  bool empty() const { return size_ == 0; }
  std::size_t size() const { return size_; }
  T* begin() { return items_; }
  T* end() { return items_ + size_; }
  T& top() { return items_[size_ - 1]; }
  T& operator[](std::size_t i) { return items_[i]; }

  T& push(const T& item) {
    if (size_ == capacity_) [[unlikely]]
      grow();
    return *::new (static_cast<void*>(items_ + size_++)) T(item);
  }
  void pop() { --size_; }
  void truncate(std::size_t size) { size_ = size; }

 private:
  T* inlineItems() { return reinterpret_cast<T*>(inline_); }

  __attribute__((noinline)) void grow() {
    T* larger = static_cast<T*>(::operator new(2 * capacity_ * sizeof(T)));
    std::memcpy(static_cast<void*>(larger), items_, size_ * sizeof(T));
    if (items_ != inlineItems()) ::operator delete(items_);
    items_ = larger;
    capacity_ *= 2;
  }

  alignas(T) std::byte inline_[kInline * sizeof(T)];
  T* items_ = inlineItems();
  std::size_t size_ = 0;
  std::size_t capacity_ = kInline;
};

}  // namespace vexo::variant

#endif
