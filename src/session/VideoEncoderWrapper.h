#pragma once

#include <memory>

#include "session/CaptionCarrier.h"
#include "video/encoders/IVideoEncoder.h"

namespace qvs {

/// One slot of a session's video encoders; empty after a replacement that failed.
struct VideoEncoderWrapper {
  std::unique_ptr<IVideoEncoder> videoEncoder;
  CaptionCarrier captions{};
};

}  // namespace qvs
