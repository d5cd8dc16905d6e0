#pragma once

#include "ipp-samples/BaseCodec.h"

namespace qvs::UMC {

struct VideoInfo {
  Ipp32s width = 0;
  Ipp32s height = 0;
  ColorFormat color_format = NONE;
  Ipp32u bitrate = 0;  ///< bits per second
  Ipp32s aspect_ratio_width = 1;
  Ipp32s aspect_ratio_height = 1;
  Ipp64f framerate = 0.0;
  Ipp64f duration = 0.0;
  Ipp32s interlace_type = 0;
  Ipp32s stream_type = 0;
  Ipp32s stream_subtype = 0;
  Ipp32s streamPID = 0;
};

class VideoEncoderParams : public BaseCodecParams {
 public:
  VideoInfo info;
};

}  // namespace qvs::UMC
