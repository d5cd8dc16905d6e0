// Device memory, taken and given back in its context.
#include "video/scaling/device/cuda/CudaMemory.h"

#include <mutex>

#include "cuda_runtime_api.h"
#include "nppi.h"
#include "video/scaling/device/cuda/cudaCtxLock.h"

namespace qvs {
namespace {

template <typename Free>
DeviceMemory keep(void* memory, const std::shared_ptr<CUctx_st>& context, Free free) {
  return DeviceMemory(memory, [context, free](void* pointer) {
    cudaCtxLock current(context.get());
    const std::lock_guard hold(current);
    free(pointer);
  });
}

}  // namespace

DeviceMemory takeDeviceMemory(const std::shared_ptr<CUctx_st>& context, size_t bytes, CudaMemoryKind kind,
                              CudaCalls& calls) {
  if (kind == CudaMemoryKind::kPooled) {
    void* memory = nullptr;
    const cudaError_t code = cudaMallocAsync(&memory, bytes, nullptr);
    if (!calls.ok(static_cast<CUresult>(code), "cudaMallocAsync")) return {};
    return keep(memory, context, [](void* pointer) { cudaFreeAsync(pointer, nullptr); });
  }
  CUdeviceptr memory = 0;
  if (!calls.ok(cuMemAlloc(&memory, bytes), "cuMemAlloc")) return {};
  return keep(reinterpret_cast<void*>(memory), context,
              [](void* pointer) { cuMemFree(reinterpret_cast<CUdeviceptr>(pointer)); });
}

DeviceMemory takePitchedMemory(const std::shared_ptr<CUctx_st>& context, size_t width, size_t rows,
                               size_t* pitch, CudaCalls& calls) {
  constexpr unsigned kElementBytes = 16;
  CUdeviceptr memory = 0;
  if (!calls.ok(cuMemAllocPitch(&memory, pitch, width, rows, kElementBytes), "cuMemAllocPitch")) return {};
  return keep(reinterpret_cast<void*>(memory), context,
              [](void* pointer) { cuMemFree(reinterpret_cast<CUdeviceptr>(pointer)); });
}

DeviceMemory takeImage(const std::shared_ptr<CUctx_st>& context, int width, int height, int channels,
                       int* step, CudaCalls& calls) {
  Npp8u* memory =
      channels == 4 ? nppiMalloc_8u_C4(width, height, step) : nppiMalloc_8u_C1(width, height, step);
  const char* call = channels == 4 ? "nppiMalloc_8u_C4" : "nppiMalloc_8u_C1";
  if (!calls.ok(memory != nullptr ? CUDA_SUCCESS : CUDA_ERROR_OUT_OF_MEMORY, call)) return {};
  return keep(memory, context, nppiFree);
}

CudaMemoryKind memoryKindOf(CUdevice device) {
  int supported = 0;
  cudaDeviceGetAttribute(&supported, cudaDevAttrMemoryPoolsSupported, device);
  return supported == 1 ? CudaMemoryKind::kPooled : CudaMemoryKind::kPlain;
}

}  // namespace qvs
