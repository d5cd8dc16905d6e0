#pragma once

#include "session/jni/records/CommonRecords.h"
#include "video/decoders/TranscoderVideoDecoderCaptureInfo.h"

// Java records of capture, one table each.

namespace qvs {

inline constexpr JavaRecord<TranscoderVideoDecoderCaptureInfo, 8> kCaptureInfo{
    nullptr,
    {{{"droppedFrames", "J", &TranscoderVideoDecoderCaptureInfo::droppedFrames},
      {"frameCountTotal", "J", &TranscoderVideoDecoderCaptureInfo::frameCountTotal},
      {"frameSyncCount", "J", &TranscoderVideoDecoderCaptureInfo::frameSyncCount},
      {"frameWidth", "I", &TranscoderVideoDecoderCaptureInfo::frameWidth},
      {"frameHeight", "I", &TranscoderVideoDecoderCaptureInfo::frameHeight},
      {"lastTimecode", "J", &TranscoderVideoDecoderCaptureInfo::lastTimecode},
      {"lastFrameIndex", "J", &TranscoderVideoDecoderCaptureInfo::lastFrameIndex},
      {"lastKeyTimecode", "J", &TranscoderVideoDecoderCaptureInfo::lastKeyTimecode}}}};

}  // namespace qvs
