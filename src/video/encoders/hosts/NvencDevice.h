#pragma once

#include <cstdint>
#include <memory>

#include <qvs/video_frame.h>
#include "cuda.h"
#include "log/ILogger.h"

namespace qvs {

/// A card's context and a stream in it, for one encoder. The stream ends with this.
class NvencDevice {
 public:
  NvencDevice(std::shared_ptr<CUctx_st> cudaContext, uint32_t device)
      : context(std::move(cudaContext)), deviceId(device) {}
  ~NvencDevice();
  NvencDevice(const NvencDevice&) = delete;
  NvencDevice& operator=(const NvencDevice&) = delete;

  /// The device with this number, from 0, that encodes the codec. Null, told at warn level, with the number of what
  /// failed in `result`.
  static std::shared_ptr<NvencDevice> open(uint32_t codec, int32_t ordinal, ILogger* logger,
                                           uint32_t* result);

  const std::shared_ptr<CUctx_st>& getContext() const { return context; }
  PluginVideoCUDAContext record() const { return {context.get(), stream, deviceId}; }

 private:
  std::shared_ptr<CUctx_st> context;
  uint32_t deviceId;
  CUstream stream = nullptr;
};

}  // namespace qvs
