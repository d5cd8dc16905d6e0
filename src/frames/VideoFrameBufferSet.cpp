// A rendition's pool: its frames, its scaler choice and the step from a source frame into one of its own.
#include "frames/VideoFrameBufferSet.h"

#include <fmt/format.h>

#include "log/LogGlobalLogger.h"
#include "platform/Guard.h"
#include "video/scaling/device/cuda/CudaWrapper.h"

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
  // By contract the transfer's label.
  return guarded("VideoFrameBufferSet::transferFrame", [&]() -> uint32_t {
    // Another thread may clear the overlays: what is counted must be what is drawn.
    const ScopedLock hold(overlays.getLock());
    return overlays.getFrameCount() != 0 ? failureOnly(frame.applyOverlay(overlays)) : kSuccess;
  });
}

uint32_t VideoFrameBufferSet::initVideoScaleCUDA() {
  if (scaleSetDataCUDA.inited != 0) return kSuccess;
  scaleSetDataCUDA.inited = 1;
  const auto failed = [&](const std::string& text, int32_t result) {
    loggerOrGlobal(logger)->warn(kLogContextVideoDecoder, 0,
                                 "VideoFrameBufferSet.initVideoScaleCUDA[{context}]: " + text);
    return static_cast<uint32_t>(result);
  };
  const auto refused = [&](const char* call, CUresult code, int32_t result) {
    return failed(fmt::format("{}: Failure result:{}", call, code), result);
  };
  const CudaDriver* driver = cudaDriver();
  // No driver is told as the driver tells of no device.
  CUresult code = driver != nullptr ? driver->cuInit(0) : kCudaErrorNoDevice;
  if (code != 0) return refused("cuInit", code, -1);
  int count = 0;
  code = driver->cuDeviceGetCount(&count);
  if (code != 0) return refused("cuDeviceGetCount", code, -2);
  if (scaleSetDataCUDA.deviceID < 0) scaleSetDataCUDA.deviceID = 0;
  if (scaleSetDataCUDA.deviceID >= count) return failed("CUDA device not found.", -3);
  code = driver->cuDeviceGet(&scaleSetDataCUDA.m_Device, scaleSetDataCUDA.deviceID);
  if (code != 0) return refused("cuDeviceGet", code, -4);
  int major = 0;
  int minor = 0;
  code = driver->cuDeviceComputeCapability(&major, &minor, scaleSetDataCUDA.m_Device);
  if (code != 0) return refused("cuDeviceComputeCapability", code, -5);
  // Contexts of devices are not part of this build: pictures stay in host memory.
  return failed("acquireContext: Failed to acquire CUDA context", -7);
}

uint32_t VideoFrameBufferSet::closeVideoScaleCUDA() {
  scaleSetDataCUDA.inited = 0;
  scaleSetDataCUDA.cu_module_conversion = nullptr;
  scaleSetDataCUDA.m_Stream = nullptr;
  return kSuccess;
}

}  // namespace qvs
