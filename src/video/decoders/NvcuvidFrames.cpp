// Decoded pictures in device memory, and that memory, used again and again.
#include "video/decoders/NvcuvidFrames.h"

#include <algorithm>
#include <utility>

#include "platform/ConcurrentLockFactory.h"

namespace qvs {

size_t VideoDecoderGenericNVCUVIDFrameInfo::passes() const {
  if (frameParams.progressive_frame != 0) return 1;
  return std::min<size_t>(static_cast<size_t>(std::max(frameParams.repeat_first_field, 0)) + 2, kPasses);
}

NvcuvidFrames::NvcuvidFrames() : lock(ConcurrentLockFactory::newConcurrentLock()) {}

NvcuvidFrames::~NvcuvidFrames() = default;

void NvcuvidFrames::push(VideoDecoderGenericNVCUVIDFrameInfo frame) {
  ScopedLock guard(*lock);
  decodedFrames.push_back(std::move(frame));
}

bool NvcuvidFrames::pop(VideoDecoderGenericNVCUVIDFrameInfo& frame) {
  ScopedLock guard(*lock);
  if (decodedFrames.empty()) return false;
  frame = std::move(decodedFrames.front());
  decodedFrames.pop_front();
  return true;
}

bool NvcuvidFrames::isEmpty() const {
  ScopedLock guard(*lock);
  return decodedFrames.empty();
}

bool NvcuvidFrames::nextSizes(NvcuvidSizes& sizes) const {
  ScopedLock guard(*lock);
  if (decodedFrames.empty()) return false;
  sizes = decodedFrames.front().sizes;
  return true;
}

DeviceMemory NvcuvidFrames::getRecycledFrame(size_t size) {
  std::list<VideoDecoderGenericNVCUVIDDevicePtrHolder> others;  // freed outside of the lock
  ScopedLock guard(*lock);
  while (!recycledFrames.empty() && recycledFrames.front().size != size) {
    others.splice(others.end(), recycledFrames, recycledFrames.begin());
  }
  if (recycledFrames.empty()) return {};
  DeviceMemory found = std::move(recycledFrames.front().buffer);
  recycledFrames.pop_front();
  return found;
}

void NvcuvidFrames::recyleFrame(VideoDecoderGenericNVCUVIDDevicePtrHolder memory) {
  if (!memory.buffer) return;
  ScopedLock guard(*lock);
  // `memory` outlives the lock: what is too much is freed behind it.
  if (recycledFrames.size() < kKept) recycledFrames.push_back(std::move(memory));
}

void NvcuvidFrames::recycle(VideoDecoderGenericNVCUVIDFrameInfo& frame) {
  for (VideoDecoderGenericNVCUVIDDevicePtrHolder& memory : frame.tmpFrame) recyleFrame(std::move(memory));
}

void NvcuvidFrames::clear() {
  ScopedLock guard(*lock);
  decodedFrames.clear();
  recycledFrames.clear();
}

}  // namespace qvs
