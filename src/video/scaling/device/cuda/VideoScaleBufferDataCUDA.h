#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace qvs {

/// Device memory, ended by whatever the one who made it says.
using DeviceMemory = std::unique_ptr<void, std::function<void(void*)>>;

/// A picture, or a block of bytes, in device memory.
struct VideoScaleBufferDataCUDA {
  DeviceMemory buffer;
  uint32_t size = 0;  ///< bytes; 0: not in use
  uint32_t width = 0;
  uint32_t height = 0;
  size_t stride = 0;  ///< bytes
};

}  // namespace qvs
