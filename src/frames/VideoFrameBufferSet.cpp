// A pool of frames: making and dropping them, transfers into them, and the start of their device.
#include "frames/VideoFrameBufferSet.h"

#include <algorithm>

#include "platform/Guard.h"
#include "video/scaling/device/cuda/CudaBringUp.h"

namespace qvs {

namespace {

/// A refused geometry is no failure of the pool's operation; an exception is.
uint32_t failureOnly(uint32_t status) {
  return status == kFailure ? kFailure : kSuccess;
}

}  // namespace

VideoFrameBufferSet::VideoFrameBufferSet()
    : scaleSetData(std::make_shared<VideoScaleSetData>()),
      bufferAllocator(std::make_shared<VideoFrameBufferAllocator>()) {
  overlayFrames.setBufferSet(this, scaleSetData.get());
}

VideoFrameBufferSet::~VideoFrameBufferSet() {
  closeVideoScaleCUDA();
  closeVideoScaleVAAPI();
  dropFrames();
}

void VideoFrameBufferSet::dropFrames() {
  for (const auto& frame : buffers) {
    frame->releaseAllJavaBufferAllocations();
    frame->leaveBufferSet();
  }
  buffers.clear();
}

uint32_t VideoFrameBufferSet::initialize(uint32_t count) {
  // A new free list: the old frames leave with the old one.
  if (!buffers.empty()) {
    dropFrames();
    bufferAllocator = std::make_shared<VideoFrameBufferAllocator>();
  }
  buffers.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    auto frame = std::make_shared<VideoFrameBuffer>();
    frame->setBufferSet(this, scaleSetData);
    frame->setBufferIndex(i);
    buffers.push_back(frame);
    bufferAllocator->addFrameBuffer(std::move(frame));
  }
  if (getScaleImplementation() == kScaleCUDA) initVideoScaleCUDA();
  if (getScaleImplementation() == kScaleVAAPI) initVideoScaleVAAPI();
  return kSuccess;
}

uint32_t VideoFrameBufferSet::transferFrame(VideoFrameBuffer& source, VideoFrameBuffer& target,
                                            VideoOverlayFrames& overlays) {
  return guarded("VideoFrameBufferSet::transferFrame", [&]() -> uint32_t {
    return failureOnly(target.transferFrame(source, overlays.getFrameCount() != 0));
  });
}

uint32_t VideoFrameBufferSet::applyOverlays(VideoFrameBuffer& frame, VideoOverlayFrames& overlays) {
  // By contract the transfer's label.
  return guarded("VideoFrameBufferSet::transferFrame", [&]() -> uint32_t {
    // Another thread may clear the overlays: what is counted must be what is drawn.
    const ScopedLock hold(overlays.getLock());
    return overlays.getFrameCount() != 0 ? failureOnly(frame.applyOverlay(overlays)) : kSuccess;
  });
}

uint32_t VideoFrameBufferSet::initVideoScaleCUDA() {
  VideoScaleSetDataCUDA& cuda = scaleSetData->cuda;
  if (cuda.inited != 0) return kSuccess;
  cuda.inited = 1;
  cuda.deviceID = std::max(cuda.deviceID, 0);
  const CudaBringUp device(kCudaUserFrames, logger);
  const uint32_t status = device.openDevice(cuda.deviceID, &cuda.m_Device);
  // Contexts of devices are not part of this build: pictures stay in host memory.
  return status != kSuccess ? status : device.failed(CudaStep::kContext);
}

uint32_t VideoFrameBufferSet::closeVideoScaleCUDA() {
  VideoScaleSetDataCUDA& cuda = scaleSetData->cuda;
  cuda.inited = 0;
  cuda.cu_module_conversion = nullptr;
  cuda.m_Stream = nullptr;
  return kSuccess;
}

}  // namespace qvs
