#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "frames/VideoFrameBuffer.h"
#include "frames/VideoFrameBufferAllocator.h"
#include "frames/VideoOverlayFrames.h"
#include "frames/VideoScaleSetData.h"
#include "log/ILogger.h"
#include "platform/Status.h"

namespace qvs {

/// The pool of frames of one stage, with the stage's overlays and its share of a GPU. Frames and free list
/// follow the thread rules of their classes; all else belongs to the thread that drives the session's video
/// path.
class VideoFrameBufferSet {
 public:
  VideoFrameBufferSet();
  ~VideoFrameBufferSet();
  VideoFrameBufferSet(const VideoFrameBufferSet&) = delete;
  VideoFrameBufferSet& operator=(const VideoFrameBufferSet&) = delete;

  /// Drops all references and frames and makes `count` new frames, without storage.
  uint32_t initialize(uint32_t count);

  /// Borrowed; null past the end.
  VideoFrameBuffer* getVideoFrameBuffer(uint32_t index) const {
    return index < buffers.size() ? buffers[index].get() : nullptr;
  }
  auto begin() const { return buffers.begin(); }
  auto end() const { return buffers.end(); }
  size_t size() const { return buffers.size(); }
  const std::shared_ptr<VideoFrameBufferAllocator>& getVideoFrameBufferAllocator() const {
    return bufferAllocator;
  }
  VideoOverlayFrames& getOverlayFrames() { return overlayFrames; }

  void setLogger(ILogger* value) { logger = value; }  ///< borrowed
  ILogger* getLogger() const { return logger; }
  void setScaleImplementation(uint32_t value) { scaleSetData->implementation = value; }
  uint32_t getScaleImplementation() const { return scaleSetData->implementation; }
  void setScaleFlags(uint64_t value) { scaleSetData->flags = value; }
  uint64_t getScaleFlags() const { return scaleSetData->flags; }
  /// How the pool's pictures are scaled; frames that join it share this.
  const std::shared_ptr<VideoScaleSetData>& getScaleSetData() const { return scaleSetData; }
  void setScaleCUDADeviceID(int32_t value) { scaleSetData->cuda.deviceID = value; }
  void setCUDADeviceId(int32_t value) { scaleSetData->cuda.deviceID = value; }
  VideoScaleSetDataCUDA& getScaleSetDataCUDA() { return scaleSetData->cuda; }
  VideoScaleSetDataVAAPI& getScaleSetDataVAAPI() { return scaleSetData->vaapi; }

  /// Scales `source` into `target`, which may be of another pool. Overlays, where there are any, are about to
  /// be drawn on the target, so that its bars are painted afresh; a device then has done its work when these have
  /// been applied.
  uint32_t transferFrame(VideoFrameBuffer& source, VideoFrameBuffer& target, VideoOverlayFrames& overlays);

  /// Draws the overlays, if there are any.
  uint32_t applyOverlays(VideoFrameBuffer& frame, VideoOverlayFrames& overlays);

  uint32_t initVideoScaleCUDA();
  uint32_t closeVideoScaleCUDA();
  uint32_t initVideoScaleVAAPI() { return kSuccess; }
  uint32_t closeVideoScaleVAAPI() { return kSuccess; }

 private:
  uint32_t loadConversions(const std::shared_ptr<CUctx_st>& context);

  /// Lets go of the frames, whoever else still holds some of them.
  void dropFrames();

  ILogger* logger = nullptr;
  std::shared_ptr<VideoScaleSetData> scaleSetData;
  std::vector<std::shared_ptr<VideoFrameBuffer>> buffers;
  std::shared_ptr<VideoFrameBufferAllocator> bufferAllocator;
  VideoOverlayFrames overlayFrames;
};

}  // namespace qvs
