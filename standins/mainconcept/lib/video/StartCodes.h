#pragma once

#include <cstddef>
#include <cstdint>

namespace qvs::mc {

/// Where the next 00 00 01 begins, from `from` on; `size` without one.
inline size_t findStartCode(const uint8_t* bytes, size_t size, size_t from) {
  for (size_t at = from; at + 3 <= size;) {
    const uint8_t last = bytes[at + 2];
    if (last == 1 && bytes[at] == 0 && bytes[at + 1] == 0) return at;
    at += last > 1 ? 3 : 1;  // no start code holds a larger byte
  }
  return size;
}

}  // namespace qvs::mc
