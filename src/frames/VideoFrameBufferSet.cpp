#include "frames/VideoFrameBufferSet.h"

#include <fmt/format.h>

#include "log/LogGlobalLogger.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

/// A refused geometry is no failure of the pool's operation; an exception is.
uint32_t failureOnly(uint32_t status) {
  return status == kFailure ? kFailure : kSuccess;
}

}  // namespace

VideoFrameBufferSet::VideoFrameBufferSet() : bufferAllocator(std::make_shared<VideoFrameBufferAllocator>()) {
  overlayFrames.setBufferSet(this);
}

VideoFrameBufferSet::~VideoFrameBufferSet() {
  closeVideoScaleCUDA();
  closeVideoScaleVAAPI();
  releaseReferences();
}

void VideoFrameBufferSet::releaseReferences() {
  for (const auto& frame : buffers) frame->releaseAllJavaBufferAllocations();
}

uint32_t VideoFrameBufferSet::initialize(uint32_t count) {
  // A new free list: the old frames leave with the old one, whoever still holds some of them.
  if (!buffers.empty()) {
    releaseReferences();
    bufferAllocator = std::make_shared<VideoFrameBufferAllocator>();
    buffers.clear();
  }
  buffers.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    auto frame = std::make_shared<VideoFrameBuffer>();
    frame->setBufferSet(this);
    frame->setBufferIndex(i);
    buffers.push_back(frame);
    bufferAllocator->addFrameBuffer(std::move(frame));
  }
  if (scaleImplementation == kScaleCUDA) initVideoScaleCUDA();
  if (scaleImplementation == kScaleVAAPI) initVideoScaleVAAPI();
  return kSuccess;
}

uint32_t VideoFrameBufferSet::transferFrame(VideoFrameBuffer& source, VideoFrameBuffer& target,
                                            VideoOverlayFrames& overlays) {
  return guarded("VideoFrameBufferSet::transferFrame", [&]() -> uint32_t {
    return failureOnly(target.transferFrame(source, overlays.getFrameCount() != 0));
  });
}

uint32_t VideoFrameBufferSet::applyOverlays(VideoFrameBuffer& frame, VideoOverlayFrames& overlays) {
  return guarded("VideoFrameBufferSet::transferFrame", [&]() -> uint32_t {
    return overlays.getFrameCount() != 0 ? failureOnly(frame.applyOverlay(overlays)) : kSuccess;
  });
}

uint32_t VideoFrameBufferSet::initVideoScaleCUDA() {
  if (scaleSetDataCUDA.inited != 0) return kSuccess;
  scaleSetDataCUDA.inited = 1;
  // Nothing binds the device's driver yet: as if it said that there is no device.
  constexpr int kCudaErrorNoDevice = 100;
  loggerOrGlobal(logger)->warn(
      kLogContextVideoDecoder, 0,
      fmt::format("VideoFrameBufferSet.initVideoScaleCUDA[{{context}}]: cuInit: Failure result:{}",
                  kCudaErrorNoDevice));
  return kFailure;
}

uint32_t VideoFrameBufferSet::closeVideoScaleCUDA() {
  scaleSetDataCUDA.inited = 0;
  scaleSetDataCUDA.cu_module_conversion = nullptr;
  scaleSetDataCUDA.m_Stream = nullptr;
  return kSuccess;
}

}  // namespace qvs
