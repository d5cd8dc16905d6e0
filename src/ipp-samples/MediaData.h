#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "ipp-samples/IppTypes.h"

namespace qvs::UMC {

/// A piece of coded data in memory of its own, with its time.
class MediaData {
 public:
  MediaData() = default;
  explicit MediaData(size_t capacity) : memory(capacity) {}

  const Ipp8u* GetDataPointer() const { return memory.data(); }
  size_t GetDataSize() const { return size; }
  size_t GetBufferSize() const { return memory.size(); }
  Ipp64f GetTime() const { return time; }
  void SetTime(Ipp64f value) { time = value; }

  /// Puts bytes behind what there is; beyond the capacity that grows.
  void Append(const Ipp8u* bytes, size_t count) {
    if (size + count > memory.size()) memory.resize(size + count);
    std::copy_n(bytes, count, memory.data() + size);
    size += count;
  }

  /// Empty, for the next; the memory stays.
  void Reset() {
    size = 0;
    time = 0.0;
  }

 private:
  std::vector<Ipp8u> memory;
  size_t size = 0;
  Ipp64f time = 0.0;
};

}  // namespace qvs::UMC
