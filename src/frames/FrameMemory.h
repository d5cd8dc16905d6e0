#pragma once

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>

namespace qvs {

/// Bytes of a picture, ended by whatever the one who made them says.
using FrameMemory = std::unique_ptr<uint8_t[], std::function<void(uint8_t*)>>;

/// Bytes behind every picture that vector code may read, never write.
inline constexpr size_t kFrameMemorySlack = 64;

/// `size` bytes and the slack, zeroed or not; empty when memory fails.
FrameMemory makeFrameMemory(uint64_t size, bool clear);

/// Takes over malloc'ed bytes.
inline FrameMemory adoptMallocedMemory(uint8_t* bytes) {
  return FrameMemory(bytes, [](uint8_t* memory) { std::free(memory); });
}

}  // namespace qvs
