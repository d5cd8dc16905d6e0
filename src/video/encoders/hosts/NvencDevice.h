#pragma once

#include <cstdint>
#include <memory>

#include <qvs/video_frame.h>
#include "cuda.h"
#include "log/ILogger.h"

namespace qvs {

/// A card's context and a stream in it, for one encoder.
class NvencDevice {
 public:
  /// The device with this number, from 0, that encodes the codec. Null, told at warn level, with the number of what
  /// failed in `result`.
  static std::shared_ptr<NvencDevice> open(uint32_t codec, int32_t ordinal, ILogger* logger,
                                           uint32_t* result);

  const std::shared_ptr<CUctx_st>& getContext() const { return context; }
  PluginVideoCUDAContext record() const { return {context.get(), stream.get(), deviceId}; }

 private:
  std::shared_ptr<CUctx_st> context;
  std::shared_ptr<CUstream_st> stream;
  uint32_t deviceId = 0;
};

}  // namespace qvs
