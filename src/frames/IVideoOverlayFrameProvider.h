#pragma once

#include <cstdint>
#include <vector>

namespace qvs {

class VideoOverlayFrame;

/// Gives overlays in the order in which they are drawn.
class IVideoOverlayFrameProvider {
 public:
  virtual ~IVideoOverlayFrameProvider() = default;

  /// Appends borrowed pointers.
  virtual void getFrames(std::vector<VideoOverlayFrame*>& list) = 0;
  virtual uint32_t getFrameCount() = 0;
};

}  // namespace qvs
