#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <qvs/video_frame.h>
#include "bufstream/UccInstance.h"
#include "contract/FrameTypes.h"
#include "frames/DevicePicture.h"
#include "frames/FractionalFrames.h"
#include "frames/FrameMemory.h"
#include "frames/FrameProperties.h"
#include "frames/FrameProviders.h"
#include "frames/FrameReferences.h"
#include "frames/FrameSideData.h"
#include "frames/IntrinsicScalerSession.h"
#include "frames/LetterboxBars.h"
#include "frames/PlacementSettings.h"
#include "log/ILogger.h"
#include "mc_frame.h"
#include "platform/Status.h"

struct vpx_image;  // vpx_image_t

namespace qvs {

class IVideoOverlayFrameProvider;
class VideoFrameBufferSet;
class VideoOverlayFrames;
struct VideoScaleSetData;

/// One raw picture, with its pixels in host memory, in device memory, or both. Made once by a pool and used
/// again for picture after picture; nothing of it is freed per picture. One thread at a time.
///
/// Planes lie in memory in the order that the fourCC names: see ChromaOrder.
class VideoFrameBuffer : public FrameProperties,
                         public FrameSideData,
                         public PlacementSettings,
                         public FrameReferences {
 public:
  /// Bits of `locations`.
  static constexpr auto unknown = static_cast<uint32_t>(VideoBufferLocation::unknown);
  static constexpr auto systemMem = static_cast<uint32_t>(VideoBufferLocation::systemMem);
  static constexpr auto CUDA = static_cast<uint32_t>(VideoBufferLocation::CUDA);

  VideoFrameBuffer();
  ~VideoFrameBuffer();

  // Storage.

  /// Gives the frame storage for this size; kSuccess and nothing done where it has it already, the fourCC
  /// then staying as it was, or where the size is kFramePixelsLimit or more. `clear` zeroes the storage.
  uint32_t allocBuffer(uint32_t width, uint32_t height);
  uint32_t allocBuffer(uint32_t width, uint32_t height, uint32_t fourCC);
  uint32_t allocBuffer(uint32_t width, uint32_t height, uint32_t fourCC, uint8_t clear);

  /// Replaces `allocBuffer` by a stage's own allocation. kFailure where one is empty.
  uint32_t setAllocProvider(FrameAllocProvider alloc, FrameFreeProvider free);

  /// Gives a picture that lies on a card back to it, by the free provider; true where there was one.
  bool releaseCardPicture();

  /// For alloc providers: takes storage of at least hostLayout(...).storageSize bytes and lays the planes
  /// over it.
  void setStorage(FrameMemory memory, uint32_t width, uint32_t height, uint32_t fourCC);

  /// Moves the picture to new storage and never frees what it had: for a reader that can't be stopped. False, and
  /// nothing done, where memory fails or the storage is a stage's own.
  bool abandonStorage();

  /// Once the pool's scale implementation is known.
  uint32_t initialize();

  /// Bytes of host storage by the format's rule; 0 for a format without one.
  static uint64_t getVideoFrameSize(uint32_t width, uint32_t height, uint32_t fourCC, int32_t* stride,
                                    int32_t* offset);

  /// Brings `getVPXFrame` up to date with the planes.
  void updateVPXFrame();

  // Host and device.

  /// Makes the copy at `location` valid. The bit is set even where there is nothing to copy, but not after a copy that
  /// failed.
  uint32_t transferToLocation(uint32_t location);
  uint32_t transferToSystemMemory() { return transferToLocation(systemMem); }
  uint32_t transferLocationFromDecode();
  bool isLocationSystemMemory() const { return (locations & systemMem) != 0; }
  bool isLocationCUDA() const { return (locations & CUDA) != 0; }
  uint32_t initVideoScaleCUDA();
  uint32_t allocateCUDAFrame();
  uint32_t allocateCUDAFrameIfNeeded();
  /// Waits for what a device still has to do on the picture.
  uint32_t finishDevice() const { return device ? device->finish() : kSuccess; }
  /// Null where the pool has no device. `setDevicePicture` is for those who bring a picture of their own.
  DevicePicture* getDevicePicture() const { return device.get(); }
  void setDevicePicture(std::unique_ptr<DevicePicture> picture) { device = std::move(picture); }

  // Pictures.

  /// Places `source` here by the fit mode. `force` paints letterbox bars even where they should still be
  /// there; a device may then still be at work, until overlays have been applied, and read `source`. 1: a converter is missing or a geometry is refused. kFailure after an exception or for an empty
  /// rectangle. An encoder that works asynchronously reads its frames until their coded ones are out: a
  /// picture placed in one before that tears.
  uint32_t transferFrame(VideoFrameBuffer& source, bool force);
  uint32_t transferFrame(VideoFrameBuffer& source, uint32_t mode, bool force);

  /// Draws overlays in place. kFailure without an overlay or a converter; 1 where a geometry was refused and
  /// that overlay left out.
  uint32_t applyOverlay(VideoOverlayFrames& overlays);

  /// Paints the whole picture black; 1 without a converter.
  uint32_t blackFill();
  /// The same for callers that have described the picture.
  uint32_t blackFill(const mc_frame_colorspace_info_t& info);

  /// A "BGRA" copy for previews; see copyToBGRA. Any pointer but the sizes' may be null.
  uint32_t getFrameBGRA(uint8_t** buffer, uint32_t* size, uint32_t* width, uint32_t* height,
                        uint64_t* timecode);

  /// Makes the half-size copies that are larger than the smallest picture wanted.
  void updateFractionalFrames(uint32_t width, uint32_t height);
  /// See FractionalFrames::get.
  bool getFractionalFrame(uint32_t index, frame_tt* out) const { return fractionalFrames.get(index, out); }

  /// This frame into another one of the same size, and the same on two records: source, target.
  uint32_t copyYV12toNV12(VideoFrameBuffer& target);
  uint32_t copyNV12toYV12(VideoFrameBuffer& target);
  static uint32_t copyYV12toNV12(const mc_frame_t* source, const mc_frame_t* target);
  static uint32_t copyNV12toYV12(const mc_frame_t* source, const mc_frame_t* target);

  /// Debug aids; see appendPlanesToFile and extractComponent.
  uint32_t writeFrameToFile(const char* path);
  static std::unique_ptr<uint8_t[]> ExtractPlaneFromYUVA(const uint8_t* data, int32_t width, int32_t height,
                                                         int32_t plane);

  void getPluginBufferInfo(PluginVideoFrameBuffer* out, uint32_t type, uint64_t time) const;

  // Accessors. All pointers are borrowed.

  uint32_t getWidth() const { return frame.width; }
  uint32_t getHeight() const { return frame.height; }
  uint32_t getFourCC() const { return frame.four_cc; }
  void setFourCC(uint32_t value) { frame.four_cc = value; }  ///< the label alone: planes stay where they lie
  uint8_t* getPlane(uint32_t index) const { return index < 4 ? frame.plane[index] : nullptr; }
  int32_t getStride(uint32_t index) const { return index < 4 ? frame.stride[index] : 0; }
  int32_t getStride() const { return stride; }
  frame_tt& getFrame() { return frame; }
  const frame_tt& getFrame() const { return frame; }
  vpx_image* getVPXFrame() const { return vpx_frame.get(); }
  uint8_t* getBuffer() const { return buffer.get(); }
  size_t getFrameSize() const { return frame_size; }
  int32_t getFrameStartOffset() const { return frame_start_offset; }
  uint32_t getLocations() const { return locations; }
  void setLocations(uint32_t value) { locations = value; }

  ILogger* getLogger() const { return logger; }
  void setLogger(ILogger* value) { logger = value; }
  VideoFrameBufferSet* getBufferSet() const { return bufferSet; }
  /// The pool that the frame belongs to, and how that pool's pictures are scaled.
  void setBufferSet(VideoFrameBufferSet* set, std::shared_ptr<VideoScaleSetData> data);
  /// Its pool goes: whoever still holds the frame keeps what it needs of it.
  void leaveBufferSet() { bufferSet = nullptr; }
  uint32_t getBufferIndex() const { return bufferIndex; }
  void setBufferIndex(uint32_t value) { bufferIndex = value; }
  IVideoOverlayFrameProvider* getOverlayFrameProvider() const { return overlayFrameProvider; }
  void setOverlayFrameProvider(IVideoOverlayFrameProvider* value) { overlayFrameProvider = value; }
  uint32_t getScaleImplementation() const;  ///< 1 outside a pool
  uint64_t getScaleFlags() const;           ///< 0 outside a pool

 private:
  DevicePicture::HostPicture hostPicture() const;
  uint32_t placeOnCpu(VideoFrameBuffer& source, const Placement& placement, PixelSize display, bool force);
  uint32_t placeOnDevice(VideoFrameBuffer& source, const Placement& placement, PixelSize display, bool force);
  bool hasDevicePicture() const { return device && device->hasStorage(); }
  uint32_t drawOnDevice(VideoOverlayFrame& overlay, const OverlayPlacement& placement);
  uint32_t scaleFrom(const VideoFrameBuffer& source, const PixelRect& from, const PixelRect& to);

  FrameAllocProvider alloc_provider;
  FrameFreeProvider free_provider;
  VideoFrameBufferSet* bufferSet = nullptr;         ///< borrowed; null outside a pool
  std::shared_ptr<VideoScaleSetData> scaleSetData;  ///< the pool's; null outside a pool
  uint32_t bufferIndex = 0;
  frame_tt frame{};
  UccInstance ucc_s, ucc_overlay_s, ucc_overlay_apply_s, ucc_BGRA_s, ucc_blackfill_s;
  std::unique_ptr<vpx_image> vpx_frame;
  int32_t stride = 0;              ///< bytes; negative for bottom-up formats
  int32_t frame_start_offset = 0;  ///< bytes
  size_t frame_size = 0;           ///< bytes by the format's rule
  size_t storageSize = 0;          ///< bytes that the planes reach in `buffer`
  FrameMemory buffer;
  std::unique_ptr<DevicePicture> device;  ///< null: none
  uint32_t locations = unknown;
  LetterboxBars bars;
  ILogger* logger = nullptr;                                   ///< borrowed
  IVideoOverlayFrameProvider* overlayFrameProvider = nullptr;  ///< borrowed
  IntrinsicScalerSession scalerSession;
  FractionalFrames fractionalFrames;
};

}  // namespace qvs
