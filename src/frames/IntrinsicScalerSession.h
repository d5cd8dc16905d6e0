#pragma once

#include <cstdint>

#include "mc_frame.h"
#include "qvs/video_scaler.h"

namespace qvs {

/// A frame's session of the optional scaler plug-in, made on first use.
class IntrinsicScalerSession {
 public:
  IntrinsicScalerSession() = default;
  ~IntrinsicScalerSession();
  IntrinsicScalerSession(const IntrinsicScalerSession&) = delete;
  IntrinsicScalerSession& operator=(const IntrinsicScalerSession&) = delete;

  /// False where there is no plug-in, or it gives no session.
  bool open();

  /// Whether the planes lie where the plug-in's record, which tells of the first one only, has them. Those of
  /// an odd picture don't: its chroma is rounded up.
  static bool canTell(const frame_tt& picture);

  /// The rest wants an open session and pictures that can be told. False: not done.
  bool scaleByHalf(const frame_tt& source, const frame_tt& half);
  /// Blends a "VUYA" image over `picture` with its top left pixel at an even place.
  bool drawOverlay(const VideoFrameIntrinsicScalerFrame& image, int32_t x, int32_t y,
                   const frame_tt& picture);

 private:
  void* session = nullptr;
};

}  // namespace qvs
