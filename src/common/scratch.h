// Scratch arrays for the evaluation path: a fixed buffer on the stack that
// covers realistic blends, with a heap fallback only beyond it. The host
// calls the library millions of times per planning run, so the common case
// must not allocate.
#pragma once

#include <cstddef>
#include <memory>

namespace tarn {

template <class T, std::size_t Inline>
class ScratchArray {
 public:
  explicit ScratchArray(std::size_t count) : size_(count) {
    if (count > Inline) {
      heap_.reset(new T[count]());
      data_ = heap_.get();
    } else {
      data_ = inline_;
      for (std::size_t i = 0; i < count; ++i) inline_[i] = T();
    }
  }
  ScratchArray(const ScratchArray&) = delete;
  ScratchArray& operator=(const ScratchArray&) = delete;

  T* data() { return data_; }
  const T* data() const { return data_; }
  std::size_t size() const { return size_; }
  T& operator[](std::size_t i) { return data_[i]; }
  const T& operator[](std::size_t i) const { return data_[i]; }

 private:
  std::size_t size_;
  T inline_[Inline == 0 ? 1 : Inline];
  std::unique_ptr<T[]> heap_;
  T* data_;
};

}  // namespace tarn
