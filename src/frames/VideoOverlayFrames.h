#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "frames/FrameMemory.h"
#include "frames/IVideoOverlayFrameProvider.h"
#include "frames/VideoOverlayFrameHolder.h"
#include "platform/IConcurrentLock.h"

namespace qvs {

class VideoFrameBufferSet;
struct VideoScaleSetData;

/// The numbered overlays of one pool, drawn in the order of their numbers. Callable from all threads: the
/// lock is recursive, and whoever draws holds it for the whole picture.
class VideoOverlayFrames : public IVideoOverlayFrameProvider {
 public:
  VideoOverlayFrames();
  ~VideoOverlayFrames() override;
  VideoOverlayFrames(const VideoOverlayFrames&) = delete;
  VideoOverlayFrames& operator=(const VideoOverlayFrames&) = delete;

  /// Takes `frame` over, deleting what was in the slot. Null clears the slot.
  void putFrame(uint32_t slot, VideoOverlayFrame* frame);
  void clearFrame(uint32_t slot);
  void clearAllFrames();

  void lockFrames() { lock->lock(); }
  void unlockFrames() { lock->unlock(); }
  IConcurrentLock& getLock() { return *lock; }

  void getFrames(std::vector<VideoOverlayFrame*>& list) override;
  uint32_t getFrameCount() override;

  /// The greatest destination width and the greatest height, each by itself, over overlays with a transparent
  /// pixel; 0 without one.
  uint32_t maxTransparentFrameSize(uint32_t* width, uint32_t* height);
  /// Whether any overlay has a transparent pixel.
  bool isTransparent();

  uint8_t* getWorkBuffer() const { return wbuffer.get(); }
  /// malloc'ed; taken over, and the old one freed.
  void setWorkBuffer(uint8_t* buffer) { wbuffer = adoptMallocedMemory(buffer); }
  uint32_t getWorkWidth() const { return wWidth; }
  void setWorkWidth(uint32_t value) { wWidth = value; }
  uint32_t getWorkHeight() const { return wHeight; }
  void setWorkHeight(uint32_t value) { wHeight = value; }
  VideoFrameBufferSet* getBufferSet() const { return bufferSet; }
  /// `data` says how the pool's pictures are scaled. Both borrowed.
  void setBufferSet(VideoFrameBufferSet* set, const VideoScaleSetData* data) {
    bufferSet = set;
    scaleSetData = data;
  }

  /// The overlays in drawing order, in a list that keeps its memory. Only while the lock is held.
  const std::vector<VideoOverlayFrame*>& framesToDraw();

 private:
  std::unique_ptr<IConcurrentLock> lock;
  std::map<uint32_t, VideoOverlayFrameHolder> overlayMap;
  FrameMemory wbuffer;
  uint32_t wWidth = 0;
  uint32_t wHeight = 0;
  VideoFrameBufferSet* bufferSet = nullptr;         ///< borrowed
  const VideoScaleSetData* scaleSetData = nullptr;  ///< borrowed
  std::vector<VideoOverlayFrame*> drawList;
};

}  // namespace qvs
