#pragma once

#include <cstddef>
#include <cstdint>

namespace qvs::mc {

/// Where the next 00 00 01 begins, from `from` on; `size` without one.
inline size_t findStartCode(const uint8_t* bytes, size_t size, size_t from) {
  for (size_t at = from; at + 3 <= size; ++at) {
    if (bytes[at] == 0 && bytes[at + 1] == 0 && bytes[at + 2] == 1) return at;
  }
  return size;
}

}  // namespace qvs::mc
