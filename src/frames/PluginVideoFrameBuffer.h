#pragma once

#include <cstddef>
#include <cstdint>

namespace qvs {

/// The device copy of a picture as a plug-in sees it.
struct PluginVideoFrameBufferCUDA {
  void* buffer;  ///< device pointer
  uint32_t size;
  uint32_t width;
  uint32_t height;
  size_t stride;     ///< bytes
  uint32_t four_cc;  ///< always "NV12"
};

/// A picture as an encoder plug-in sees it. All borrowed.
struct PluginVideoFrameBuffer {
  void* buffer;     ///< host pointer to the first row
  uint32_t stride;  ///< bytes
  uint32_t width;
  uint32_t height;
  uint32_t frameType;
  uint64_t timecode;
  uint32_t four_cc;
  uint32_t locations;  ///< which copies are valid
  PluginVideoFrameBufferCUDA frameCUDA;
  void* hostContext;
};

}  // namespace qvs
