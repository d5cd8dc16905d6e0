#pragma once

#include <cstdint>
#include <memory>

namespace qvs {

/// One piece of coded input in a decoder's list. `buffer` points into the caller's bytes, or into `kept` where
/// the block has to outlive them.
struct ByteBlock {
  uint8_t* buffer = nullptr;
  uint32_t len = 0;        ///< bytes
  uint64_t timecode = 0;   ///< milliseconds
  uint32_t frameType = 0;  ///< 1 key, 2 predicted, 3 bidirectional; 0 on every block of a unit but its first
  std::unique_ptr<uint8_t[]> kept{};  ///< a copy of the bytes; null while they are the caller's
};

}  // namespace qvs
