// The references that keep a frame out of its pool.
#include "frames/FrameReferences.h"

#include <utility>

namespace qvs {

std::pmr::memory_resource* frameReferenceMemory() {
  // Leaked: frames may be dropped by threads that outlive static destruction.
  static auto* const memory = new std::pmr::synchronized_pool_resource();
  return memory;
}

void FrameReferences::createJavaBufferAllocation() {
  if (auto token = getBufferAllocation()) javaBufferAllocations.push_front(std::move(token));
}

void FrameReferences::releaseJavaBufferAllocation() {
  if (!javaBufferAllocations.empty()) javaBufferAllocations.pop_front();
}

void FrameReferences::releaseAllJavaBufferAllocations() {
  javaBufferAllocations.clear();
}

std::shared_ptr<VideoFrameBufferAllocation> FrameReferences::getBufferAllocation() const {
  const std::lock_guard<std::mutex> guard(tokenLock);
  return bufferAllocation.lock();
}

void FrameReferences::setBufferAllocation(std::weak_ptr<VideoFrameBufferAllocation> token) {
  const std::lock_guard<std::mutex> guard(tokenLock);
  bufferAllocation = std::move(token);
}

}  // namespace qvs
