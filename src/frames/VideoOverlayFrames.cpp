// The numbered overlays of a pool, under the lock that drawing holds.
#include "frames/VideoOverlayFrames.h"

#include <algorithm>

#include "platform/ConcurrentLockFactory.h"

namespace qvs {

VideoOverlayFrames::VideoOverlayFrames() : lock(ConcurrentLockFactory::newConcurrentLock()) {}

VideoOverlayFrames::~VideoOverlayFrames() {
  clearAllFrames();
}

void VideoOverlayFrames::putFrame(uint32_t slot, VideoOverlayFrame* frame) {
  std::unique_ptr<VideoOverlayFrame> owned(frame);
  ScopedLock hold(*lock);
  clearFrame(slot);
  if (!owned) return;
  VideoOverlayFrameHolder& holder = overlayMap[slot];
  owned->setOverlayFrames(this, scaleSetData);
  holder.frame = owned.release();
}

void VideoOverlayFrames::clearFrame(uint32_t slot) {
  ScopedLock hold(*lock);
  const auto entry = overlayMap.find(slot);
  if (entry == overlayMap.end()) return;
  entry->second.deleteFrame();
  overlayMap.erase(entry);
}

void VideoOverlayFrames::clearAllFrames() {
  ScopedLock hold(*lock);
  for (auto& [slot, holder] : overlayMap) holder.deleteFrame();
  overlayMap.clear();
}

void VideoOverlayFrames::getFrames(std::vector<VideoOverlayFrame*>& list) {
  ScopedLock hold(*lock);
  for (const auto& [slot, holder] : overlayMap) list.push_back(holder.frame);
}

uint32_t VideoOverlayFrames::getFrameCount() {
  ScopedLock hold(*lock);
  return static_cast<uint32_t>(overlayMap.size());
}

uint32_t VideoOverlayFrames::maxTransparentFrameSize(uint32_t* width, uint32_t* height) {
  ScopedLock hold(*lock);
  *width = *height = 0;
  for (const auto& [slot, holder] : overlayMap) {
    if (!holder.frame->isTransparent()) continue;
    *width = std::max(*width, holder.frame->getDstWidth());
    *height = std::max(*height, holder.frame->getDstHeight());
  }
  return 0;
}

bool VideoOverlayFrames::isTransparent() {
  ScopedLock hold(*lock);
  return std::any_of(overlayMap.begin(), overlayMap.end(),
                     [](const auto& entry) { return entry.second.frame->isTransparent(); });
}

const std::vector<VideoOverlayFrame*>& VideoOverlayFrames::framesToDraw() {
  drawList.clear();
  getFrames(drawList);
  return drawList;
}

}  // namespace qvs
