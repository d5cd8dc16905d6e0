// The listener that copies a session's last decoded picture, for the host's checksums and comparisons.
#include "listener/DecodedFrameListener.h"

#include "frames/VideoFrameBuffer.h"
#include "listener/PlaneCopy.h"

namespace qvs::host {

uint32_t DecodedFrameListener::onVideoDecodeBeforeOverlay(int64_t, IVideoDecoder*, VideoFrameBuffer* frame) {
  frame_.clear();
  frame_.resize(planesSize(*frame));
  copyPlanes(*frame, frame_);
  return 0;
}

}  // namespace qvs::host
