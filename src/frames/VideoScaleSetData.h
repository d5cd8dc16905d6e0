#pragma once

#include <cstdint>
#include <memory>

#include "video/scaling/device/CudaHandles.h"

namespace qvs {

/// A pool's share of a GPU.
struct VideoScaleSetDataCUDA {
  uint8_t inited = 0;                   ///< set by the first start, whether it worked or not
  int32_t deviceID = -1;                ///< -1: the first
  std::shared_ptr<CUctx_st> m_Context;  ///< empty: no device
  uint32_t m_ContextDeviceId = 0;
  CUdevice m_Device = 0;
  CUstream m_Stream = nullptr;
  CUmodule cu_module_conversion = nullptr;
};

struct VideoScaleSetDataVAAPI {
  void* vaImage = nullptr;
};

}  // namespace qvs
