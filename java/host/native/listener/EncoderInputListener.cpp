// The listener that copies pictures on their way into an encoder, for the measurement of what comes out of it.
#include "listener/EncoderInputListener.h"

#include "frames/VideoFrameBuffer.h"
#include "listener/PlaneCopy.h"

namespace qvs::host {

uint32_t EncoderInputListener::onVideoEncodeAfterOverlay(int64_t, IVideoEncoder*, VideoFrameBuffer*,
                                                         VideoFrameBuffer* target) {
  if (into_.empty()) return 0;
  const bool readable = target->isLocationSystemMemory();
  taken_ = readable && planesSize(*target) == into_.size() && copyPlanes(*target, into_);
  into_ = {};
  return 0;
}

void EncoderInputListener::ask(std::span<uint8_t> into) {
  into_ = into;
  taken_ = false;
}

bool EncoderInputListener::taken() {
  into_ = {};
  return taken_;
}

}  // namespace qvs::host
