#pragma once

#include <cstdint>

#include "frames/FrameProviders.h"
#include "frames/VideoFrameBuffer.h"

namespace qvs {

/// Frames whose pictures stay on the card, with the fourCC "HN12". Such a frame has no storage: its `done` holds the
/// card's handle, null while it has no picture. Whoever takes the handle owes the card its release.
class U30FrameProviders {
 public:
  /// Shared by all stages of the card; they own nothing, so that frames may outlive the stage that gave them out.
  static FrameAllocProvider getAllocProvider();
  static FrameFreeProvider getFreeProvider();

  /// False for any other fourCC: the frame then takes host memory.
  static bool allocProvider(VideoFrameBuffer& frame, uint32_t width, uint32_t height, uint32_t fourCC,
                            uint8_t clear, uint32_t& size);
  /// Gives the picture back to the card. False for any other fourCC.
  static bool freeProvider(VideoFrameBuffer& frame);

  /// The frame's handle, which is the caller's from now on; null where it has none.
  static void* takeHandle(VideoFrameBuffer& frame);
  /// Makes the handle the frame's; one that it still had is given back.
  static void setHandle(VideoFrameBuffer& frame, void* handle);
  static bool hasHandle(const VideoFrameBuffer& frame) { return frame.getFrame().done != nullptr; }
  /// Gives back a picture that no frame has; null is allowed.
  static void release(void* handle);
};

}  // namespace qvs
