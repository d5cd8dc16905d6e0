#pragma once

#include <cstdint>
#include <memory>

#include "contract/ScaleIds.h"
#include "video/scaling/device/cuda/ConversionModule.h"
#include "video/scaling/device/cuda/CudaCalls.h"
#include "video/scaling/device/cuda/cudaCtxLock.h"

namespace qvs {

/// A pool's share of a GPU.
struct VideoScaleSetDataCUDA {
  uint8_t inited = 0;                   ///< set by the first start, whether it worked or not
  int32_t deviceID = -1;                ///< -1: the first
  std::shared_ptr<CUctx_st> m_Context;  ///< empty: no device
  uint32_t m_ContextDeviceId = 0;
  CUdevice m_Device = 0;
  CUstream m_Stream = nullptr;
  cudaCtxLock ctxLock;  ///< bound to the context by the start
  // What keeps stream and module for as long as a frame that outlives its pool needs them.
  std::shared_ptr<CUstream_st> stream;
  std::shared_ptr<ConversionModule> module;
  std::shared_ptr<CudaCalls> calls;  ///< where the failures of the pool's frames go
  CUmodule cu_module_conversion = nullptr;
  // Kernels of that module; the start fills those that it resolves.
  CUfunction cu_func_NV12AndYV12Conversion = nullptr;
  CUfunction cu_func_OverlayImage = nullptr;
  CUfunction cu_func_R210ToYUVA = nullptr;
  CUfunction cu_func_R210ToNV12 = nullptr;
  CUfunction cu_func_V210ToYUVA = nullptr;
  CUfunction cu_func_V210ToNV12 = nullptr;
  CUfunction cu_func_V210ToNV12Fast = nullptr;
  CUfunction cu_func_YUVAToNV12 = nullptr;
  CUfunction cu_func_TransformYUVA = nullptr;
  CUfunction cu_func_YUVAToYV24 = nullptr;
  CUfunction cu_func_YV24ToYUVA = nullptr;
  CUfunction cu_func_YUVAScaleByFactor = nullptr;
  CUfunction cu_func_YUVAToRGBA = nullptr;
  CUfunction cu_func_NV12ToYUVA = nullptr;
  CUfunction cu_func_NV12ToRGBA = nullptr;
};

struct VideoScaleSetDataVAAPI {
  void* vaImage = nullptr;
};

/// How a pool's pictures are scaled, and with what. Each of its frames holds a share, since a frame may
/// outlive its pool.
struct VideoScaleSetData {
  uint32_t implementation = kScaleCPU;  ///< ScaleImplementation
  uint64_t flags = 0;                   ///< kScaleFlag...
  VideoScaleSetDataCUDA cuda;
  VideoScaleSetDataVAAPI vaapi;
};

}  // namespace qvs
