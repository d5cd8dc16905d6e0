// Memory for kernels: aligned to a cache line, not zeroed, and without exceptions.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace qvs::ucc {

class AlignedBuffer {
 public:
  static constexpr size_t kAlignment = 64;

  /// Replaces the memory by `bytes` bytes; false when there is none, and then the buffer is empty.
  bool allocate(size_t bytes) {
    memory.reset(std::aligned_alloc(kAlignment, (bytes + kAlignment) & ~(kAlignment - 1)));
    return memory != nullptr;
  }

  template <class T>
  T* as() const {
    return static_cast<T*>(memory.get());
  }

 private:
  struct Free {
    void operator()(void* memory) const { std::free(memory); }
  };
  std::unique_ptr<void, Free> memory;
};

}  // namespace qvs::ucc
