#pragma once

#include <cstddef>
#include <memory>

#include "cuda.h"
#include "video/scaling/device/cuda/CudaCalls.h"
#include "video/scaling/device/cuda/VideoScaleBufferDataCUDA.h"

namespace qvs {

/// How a block of device memory is taken; it is given back the same way.
enum class CudaMemoryKind : uint8_t {
  kPlain,
  kPooled,  ///< in the order of the default stream, which all streams of this library follow
};

/// Memory in a context, which the memory keeps alive, whoever else lets go of it. The context has to be current for
/// taking; giving back makes it current. Empty, and told, where there is none.
DeviceMemory takeDeviceMemory(const std::shared_ptr<CUctx_st>& context, size_t bytes, CudaMemoryKind kind,
                              CudaCalls& calls);

/// The same with rows of `*pitch` bytes, at least `width`, so that rows and half rows start well.
DeviceMemory takePitchedMemory(const std::shared_ptr<CUctx_st>& context, size_t width, size_t rows,
                               size_t* pitch, CudaCalls& calls);

/// An image as image functions want it.
DeviceMemory takeImage(const std::shared_ptr<CUctx_st>& context, int width, int height, int channels,
                       int* step, CudaCalls& calls);

/// Memory that somebody else owns.
inline DeviceMemory borrowDeviceMemory(void* memory) {
  return DeviceMemory(memory, [](void*) {});
}

/// Whether a device has memory in the order of streams.
CudaMemoryKind memoryKindOf(CUdevice device);

}  // namespace qvs
