#pragma once

#include "ipp-samples/IppTypes.h"
#include "ipp-samples/MediaData.h"
#include "ipp-samples/VideoData.h"

namespace qvs::UMC {

using Status = Ipp32s;
inline constexpr Status UMC_OK = 0;
inline constexpr Status UMC_ERR_NOT_INITIALIZED = -1;
inline constexpr Status UMC_ERR_INVALID_PARAMS = -2;
inline constexpr Status UMC_ERR_ALLOC = -3;
inline constexpr Status UMC_ERR_FAILED = -4;
inline constexpr Status UMC_ERR_UNSUPPORTED = -5;
inline constexpr Status UMC_ERR_NOT_ENOUGH_DATA = -6;  ///< nothing comes out yet

class BaseCodecParams {
 public:
  virtual ~BaseCodecParams() = default;
};

/// What all codecs of the framework answer.
class BaseCodec {
 public:
  virtual ~BaseCodec() = default;
  virtual Status Init(BaseCodecParams* params) = 0;
  virtual Status GetFrame(VideoData* in, MediaData* out) = 0;
  virtual Status Close() = 0;
};

}  // namespace qvs::UMC
