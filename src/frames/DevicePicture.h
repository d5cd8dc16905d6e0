#pragma once

#include <cstddef>
#include <cstdint>

#include <qvs/video_frame.h>
#include "frames/geometry/FitPlacement.h"
#include "mc_frame.h"

namespace qvs {

class VideoOverlayFrame;
struct OverlayPlacement;

/// A frame's picture in a device's memory, and all that knows of the device: storage, copies from and to the
/// host, scaling, drawing. One class for each kind of device; a frame whose pool has no device has none, and
/// does without.
///
/// Used by one thread at a time, as its frame is. Operations that fail leave the picture as it was. It may
/// outlive its pool.
class DevicePicture {
 public:
  virtual ~DevicePicture() = default;

  /// The host's copy: one block of `size` bytes, in which the planes lie as `frame` says.
  struct HostPicture {
    uint8_t* bytes;
    size_t size;
    int32_t stride;  ///< bytes of the first plane
    PixelSize pixels;
    const frame_tt& frame;
  };

  /// Whether what was asked for is done on return, or may be queued until `finish`.
  enum class Completion : uint8_t { kDone, kQueued };

  /// Storage for pictures of this size in place of the old one. kFailure, and no picture, where there is
  /// none.
  virtual uint32_t allocate(PixelSize size) = 0;
  /// Whether it has storage.
  virtual bool hasStorage() const = 0;
  virtual PixelSize getSize() const = 0;

  /// Done on return. By the format's label: planar, NV12 and BGRA; kFailure for others.
  virtual uint32_t upload(const HostPicture& host) = 0;
  virtual uint32_t download(const HostPicture& host) = 0;

  /// May be done only when a later operation of the picture is.
  virtual void fillBlack() = 0;

  /// Scales `source`, a picture on the same device, here. Pictures of equal size are copied whole. Rectangles are
  /// narrowed to whole chroma samples inside of their pictures. While it is queued, the source must not change.
  virtual uint32_t place(const DevicePicture& source, const Placement& placement, Completion completion) = 0;

  /// Draws an overlay that fits; queued. The overlay stays until `finish`.
  virtual uint32_t drawOverlay(VideoOverlayFrame& overlay, const OverlayPlacement& placement) = 0;

  /// Waits for what is queued; kFailure where the device could not do it.
  virtual uint32_t finish() const = 0;

  /// The picture, finished, as encoder plug-ins see it; all but the format.
  virtual PluginVideoFrameBufferCUDA pluginRecord() const = 0;
};

}  // namespace qvs
