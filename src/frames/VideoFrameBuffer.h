#pragma once

#include <vpx/vpx_image.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <qvs/video_frame.h>
#include "contract/FrameTypes.h"
#include "frames/AudioLevelData.h"
#include "frames/FrameMemory.h"
#include "frames/FrameProviders.h"
#include "frames/FrameReferences.h"
#include "frames/geometry/FitPlacement.h"
#include "frames/UccInstance.h"
#include "frames/VideoFrameAncillaryData.h"
#include "frames/VideoFrameBufferCaptureInfo.h"
#include "frames/VideoFrameBufferFractionalFrame.h"
#include "frames/VideoFrameBufferTimecodeInfo.h"
#include "frames/VideoScaleFrameData.h"
#include "log/ILogger.h"
#include "mc_frame.h"
#include "platform/Status.h"
#include "video/scaling/device/IVideoImageProcessor.h"

namespace qvs {

class IVideoOverlayFrameProvider;
class VideoFrameBufferSet;
class VideoOverlayFrame;
class VideoOverlayFrames;
struct VideoScaleSetData;
struct OverlayPlacement;

/// One raw picture, with its pixels in host memory, in device memory, or both. Made once by a pool and used
/// again for picture after picture; nothing of it is freed per picture. One thread at a time.
///
/// Planes lie in memory in the order that the fourCC names: see ChromaOrder.
class VideoFrameBuffer : public FrameReferences {
 public:
  /// Bits of `locations`.
  static constexpr auto unknown = static_cast<uint32_t>(VideoBufferLocation::unknown);
  static constexpr auto systemMem = static_cast<uint32_t>(VideoBufferLocation::systemMem);
  static constexpr auto CUDA = static_cast<uint32_t>(VideoBufferLocation::CUDA);

  static constexpr uint32_t kTimecodeInfoMax = 12;
  static constexpr uint32_t kFractionalFramesMax = 4;

  VideoFrameBuffer();
  ~VideoFrameBuffer();
  VideoFrameBuffer(const VideoFrameBuffer&) = delete;
  VideoFrameBuffer& operator=(const VideoFrameBuffer&) = delete;

  // Storage.

  /// Gives the frame storage for this size; kSuccess and nothing done where it has it already, the fourCC
  /// then staying as it was, or where the size is kFramePixelsLimit or more. `clear` zeroes the storage.
  uint32_t allocBuffer(uint32_t width, uint32_t height);
  uint32_t allocBuffer(uint32_t width, uint32_t height, uint32_t fourCC);
  uint32_t allocBuffer(uint32_t width, uint32_t height, uint32_t fourCC, uint8_t clear);

  /// Replaces `allocBuffer` by a stage's own allocation. kFailure where one is empty.
  uint32_t setAllocProvider(FrameAllocProvider alloc, FrameFreeProvider free);

  /// For alloc providers: takes storage of at least hostLayout(...).storageSize bytes and lays the planes
  /// over it.
  void setStorage(FrameMemory memory, uint32_t width, uint32_t height, uint32_t fourCC);

  /// Once the pool's scale implementation is known.
  uint32_t initialize();

  /// Bytes of host storage by the format's rule; 0 for a format without one.
  static uint64_t getVideoFrameSize(uint32_t width, uint32_t height, uint32_t fourCC, int32_t* stride,
                                    int32_t* offset);

  /// Brings `getVPXFrame` up to date with the planes.
  void updateVPXFrame();

  // Host and device.

  /// Makes the copy at `location` valid. The bit is set even where there is nothing to copy.
  uint32_t transferToLocation(uint32_t location);
  uint32_t transferToSystemMemory() { return transferToLocation(systemMem); }
  uint32_t transferLocationFromDecode();
  bool isLocationSystemMemory() const { return (locations & systemMem) != 0; }
  bool isLocationCUDA() const { return (locations & CUDA) != 0; }
  uint32_t allocateCUDAFrame();
  uint32_t allocateCUDAFrameIfNeeded();
  uint32_t initVideoScaleCUDA();
  uint32_t closeVideoScaleCUDA();

  // Pictures.

  /// Places `source` here by the fit mode. `force` paints letterbox bars even where they should still be
  /// there. 1: a converter is missing or a geometry is refused. kFailure after an exception or for an empty
  /// rectangle.
  uint32_t transferFrame(VideoFrameBuffer& source, bool force);
  uint32_t transferFrame(VideoFrameBuffer& source, uint32_t mode, bool force);

  /// Draws overlays in place. kFailure without an overlay or a converter; 1 where a geometry was refused and
  /// that overlay left out.
  uint32_t applyOverlay(VideoOverlayFrames& overlays);

  /// Paints the whole picture black; 1 without a converter.
  uint32_t blackFill();
  /// The same for callers that have described the picture.
  uint32_t blackFill(const mc_frame_colorspace_info_t& info);

  /// A "BGRA" copy for previews, tight rows. A width or height of 0 follows from the other by the frame's
  /// aspect; both 0: the frame's size. Any pointer but the sizes' may be null. Where `*buffer` is null it is
  /// malloc'ed and the caller frees it; else it must hold width x height x 4 bytes.
  uint32_t getFrameBGRA(uint8_t** buffer, uint32_t* size, uint32_t* width, uint32_t* height,
                        uint64_t* timecode);

  /// Makes the half-size copies that are larger than the smallest picture wanted.
  void updateFractionalFrames(uint32_t width, uint32_t height);
  /// A borrowed view. False, with `out` untouched, for a level that the last update didn't make.
  bool getFractionalFrame(uint32_t index, frame_tt* out) const;

  /// This frame into another one of the same size, and the same on two records: source, target.
  uint32_t copyYV12toNV12(VideoFrameBuffer& target);
  uint32_t copyNV12toYV12(VideoFrameBuffer& target);
  static uint32_t copyYV12toNV12(const mc_frame_t* source, const mc_frame_t* target);
  static uint32_t copyNV12toYV12(const mc_frame_t* source, const mc_frame_t* target);

  /// Debug aid: appends the planes to a file.
  uint32_t writeFrameToFile(const char* path);
  /// Every fourth byte from `plane` on: one component of width x height packed pixels. Empty for bad
  /// arguments.
  static std::unique_ptr<uint8_t[]> ExtractPlaneFromYUVA(const uint8_t* data, int32_t width, int32_t height,
                                                         int32_t plane);

  void getPluginBufferInfo(PluginVideoFrameBuffer* out, uint32_t type, uint64_t time) const;

  // Data that travels with the picture.

  /// Keeps up to kTimecodeInfoMax.
  void setTimecodeInfo(const VideoFrameBufferTimecodeInfo* items, uint32_t count);
  /// `*count` is the capacity going in and the number written coming out; with null items, the number there
  /// is.
  void getTimecodeInfo(VideoFrameBufferTimecodeInfo* items, uint32_t* count) const;
  uint32_t getTimecodeInfoCount() const { return timecodeInfoCount; }

  void addAncillaryDataObj(const VideoFrameAncillaryData& item) { ancillaryData.push_back(item); }
  /// Appends to `list`.
  void getAncillaryDataObjs(std::vector<VideoFrameAncillaryData>& list) const;
  void clearAncillaryDataObjs() { ancillaryData.clear(); }
  void copyAncillaryData(const VideoFrameBuffer& other);
  /// Drops the ancillary data; pixels and times stay.
  void recycle() { clearAncillaryDataObjs(); }

  // Placement, read on targets. Four values, or null to switch off.

  void setCrop(const uint32_t* values) { cropSet = assign(crop, values); }  ///< left, right, top, bottom
  void setSrcRect(const uint32_t* values) { srcRectSet = assign(srcRect, values); }  ///< x, y, width, height
  void setPadding(const uint32_t* values) { paddingSet = assign(padding, values); }  ///< as crop
  void setDstRect(const uint32_t* values) { dstRectSet = assign(dstRect, values); }  ///< as srcRect
  bool isCrop() const { return cropSet != 0; }
  bool isSrcRect() const { return srcRectSet != 0; }
  bool isPadding() const { return paddingSet != 0; }
  bool isDstRect() const { return dstRectSet != 0; }
  const uint32_t* getCrop() const { return crop.data(); }
  const uint32_t* getSrcRect() const { return srcRect.data(); }
  const uint32_t* getPadding() const { return padding.data(); }
  const uint32_t* getDstRect() const { return dstRect.data(); }

  // Accessors. All pointers are borrowed.

  uint32_t getWidth() const { return frame.width; }
  uint32_t getHeight() const { return frame.height; }
  uint32_t getFourCC() const { return frame.four_cc; }
  void setFourCC(uint32_t value) { frame.four_cc = value; }
  uint8_t* getPlane(uint32_t index) const { return index < 4 ? frame.plane[index] : nullptr; }
  int32_t getStride(uint32_t index) const { return index < 4 ? frame.stride[index] : 0; }
  int32_t getStride() const { return stride; }
  frame_tt& getFrame() { return frame; }
  const frame_tt& getFrame() const { return frame; }
  vpx_image_t* getVPXFrame() { return &vpx_frame; }
  uint8_t* getBuffer() const { return buffer.get(); }
  size_t getFrameSize() const { return frame_size; }
  int32_t getFrameStartOffset() const { return frame_start_offset; }

  int32_t getDisplayWidth() const { return displayWidth; }
  void setDisplayWidth(int32_t value) { displayWidth = value; }
  int32_t getDisplayHeight() const { return displayHeight; }
  void setDisplayHeight(int32_t value) { displayHeight = value; }
  uint64_t getTimecode() const { return timecode; }
  void setTimecode(uint64_t value) { timecode = value; }
  uint64_t getFrameIndex() const { return frameIndex; }
  void setFrameIndex(uint64_t value) { frameIndex = value; }
  uint32_t getFrameType() const { return frameType; }
  void setFrameType(uint32_t value) { frameType = value; }
  uint32_t getFitMode() const { return fitMode; }
  void setFitMode(uint32_t value) { fitMode = value; }
  uint32_t getLocations() const { return locations; }
  void setLocations(uint32_t value) { locations = value; }
  uint64_t getFlags() const { return flags; }
  void setFlags(uint64_t value) { flags = value; }
  double getFrameRate() const { return frameRate; }
  void setFrameRate(double value) { frameRate = value; }
  uint32_t getColorSpace() const { return colorSpace; }
  void setColorSpace(uint32_t value) { colorSpace = value; }
  uint32_t getScaleMode() const { return scaleMode; }
  void setScaleMode(uint32_t value) { scaleMode = value; }
  VideoFrameBufferCaptureInfo& getCaptureInfo() { return captureInfo; }
  AudioLevelData& getAudioLevelData() { return audioLevelData; }
  void setAudioLevelData(const AudioLevelData& value) { audioLevelData = value; }
  ILogger* getLogger() const { return logger; }
  void setLogger(ILogger* value) { logger = value; }
  VideoFrameBufferSet* getBufferSet() const { return bufferSet; }
  /// The pool that the frame belongs to, borrowed, and how that pool's pictures are scaled.
  void setBufferSet(VideoFrameBufferSet* set, std::shared_ptr<VideoScaleSetData> data) {
    bufferSet = set;
    scaleSetData = std::move(data);
  }
  /// Its pool goes: whoever still holds the frame keeps what it needs of it.
  void leaveBufferSet() { bufferSet = nullptr; }
  uint32_t getBufferIndex() const { return bufferIndex; }
  void setBufferIndex(uint32_t value) { bufferIndex = value; }
  IVideoOverlayFrameProvider* getOverlayFrameProvider() const { return overlayFrameProvider; }
  void setOverlayFrameProvider(IVideoOverlayFrameProvider* value) { overlayFrameProvider = value; }
  uint32_t getScaleImplementation() const;  ///< 1 outside a pool
  uint64_t getScaleFlags() const;           ///< 0 outside a pool

 private:
  uint32_t placeOnCpu(VideoFrameBuffer& source, const Placement& placement, PixelSize display, bool force);
  uint32_t placeOnDevice(const VideoFrameBuffer& source, const Placement& placement, PixelSize display,
                         bool force);
  uint32_t scaleFrom(const VideoFrameBuffer& source, const PixelRect& from, const PixelRect& to);
  /// Whether letterbox bars have to be painted for a source of this size; takes note that they are.
  bool takeBarsDue(PixelSize display, bool force);
  void forgetBars() { lastLetterboxSrcWidth = lastLetterboxSrcHeight = 0; }

  uint32_t drawOverlay(VideoOverlayFrame& overlay);
  bool drawByPlugin(VideoOverlayFrame& overlay, const OverlayPlacement& placement);
  uint32_t drawByConverter(VideoOverlayFrame& overlay, const OverlayPlacement& placement);
  void reportShortOverlay(VideoOverlayFrame& overlay) const;
  bool halve(const frame_tt& source, VideoFrameBufferFractionalFrame& level);
  /// The scaler plug-in's session, made on first use; false without one.
  bool hasScalerSession();

  static uint8_t assign(std::array<uint32_t, 4>& field, const uint32_t* values);

  FrameAllocProvider alloc_provider;
  FrameFreeProvider free_provider;
  VideoFrameBufferSet* bufferSet = nullptr;         ///< borrowed; null outside a pool
  std::shared_ptr<VideoScaleSetData> scaleSetData;  ///< the pool's, which it may outlive; null outside a pool
  uint32_t bufferIndex = 0;
  frame_tt frame{};
  UccInstance ucc_s;
  UccInstance ucc_overlay_s;
  UccInstance ucc_overlay_apply_s;
  UccInstance ucc_BGRA_s;
  UccInstance ucc_blackfill_s;
  vpx_image_t vpx_frame{};
  int32_t stride = 0;              ///< bytes; negative for bottom-up formats
  int32_t frame_start_offset = 0;  ///< bytes
  size_t frame_size = 0;           ///< bytes by the format's rule
  size_t storageSize = 0;          ///< bytes that the planes reach in `buffer`
  FrameMemory buffer;
  int32_t displayWidth = 0;
  int32_t displayHeight = 0;
  uint64_t timecode = 0;  ///< ms
  uint64_t frameIndex = ~uint64_t{0};
  uint32_t frameType = 0;
  uint32_t fitMode = kFitStretch;
  uint32_t locations = unknown;
  uint64_t flags = 0;
  double frameRate = 0;
  uint32_t lastLetterboxSrcWidth = 0;
  uint32_t lastLetterboxSrcHeight = 0;
  std::array<uint32_t, 4> crop{};
  uint8_t cropSet = 0;
  std::array<uint32_t, 4> srcRect{};
  uint8_t srcRectSet = 0;
  std::array<uint32_t, 4> padding{};
  uint8_t paddingSet = 0;
  std::array<uint32_t, 4> dstRect{};
  uint8_t dstRectSet = 0;
  ILogger* logger = nullptr;                                   ///< borrowed
  IVideoOverlayFrameProvider* overlayFrameProvider = nullptr;  ///< borrowed
  uint32_t scaleMode = 0;
  VideoScaleFrameDataCUDA scaleFrameDataCUDA;
  VideoScaleFrameDataVAAPI scaleFrameDataVAAPI;
  AudioLevelData audioLevelData;
  std::vector<VideoFrameAncillaryData> ancillaryData;
  void* instrinsicScalerSessionPtr = nullptr;  ///< owned; session of the scaler plug-in
  std::array<VideoFrameBufferFractionalFrame, kFractionalFramesMax> fractionalFrames;
  uint32_t colorSpace = 0;
  VideoFrameBufferCaptureInfo captureInfo;
  std::array<VideoFrameBufferTimecodeInfo, kTimecodeInfoMax> timecodeInfo{};
  uint32_t timecodeInfoCount = 0;
  bool isCudaDevAttrMemoryPoolsSupported = false;             ///< the device allocates in stream order
  std::unique_ptr<IVideoImageProcessor> videoImageProcessor;  ///< null: no device
};

}  // namespace qvs
