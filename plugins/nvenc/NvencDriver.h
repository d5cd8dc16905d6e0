#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <ffnvcodec/nvEncodeAPI.h>

struct CudaFunctions;
struct NvencFunctions;

namespace qvs::nvenc {

/// The driver's two libraries. Loaded when first asked for, and let go with this plug-in.
struct NvencDriver {
  struct Free {
    void operator()(CudaFunctions* functions) const;
    void operator()(NvencFunctions* functions) const;
  };

  std::unique_ptr<CudaFunctions, Free> cuda;
  std::unique_ptr<NvencFunctions, Free> library;
  NV_ENCODE_API_FUNCTION_LIST nvenc{};
  uint32_t major = 0;  ///< the newest interface that the driver has; it takes older ones too
  uint32_t minor = 0;
};

/// Null, with the reason in `problem`, where the driver is missing or too old. Any thread.
const NvencDriver* nvencDriver(std::string& problem);

/// "cuMemAlloc: CUDA_ERROR_OUT_OF_MEMORY (2)"
std::string cudaFailure(const NvencDriver& driver, const char* call, int code);

/// "nvEncEncodePicture: NV_ENC_ERR_GENERIC (20)", with the driver's own words where it has some.
std::string nvencFailure(const NvencDriver& driver, void* encoder, const char* call, NVENCSTATUS code);

}  // namespace qvs::nvenc
