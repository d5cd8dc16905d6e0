// A pool of frames: making and dropping them, transfers into them, and the start of their device.
#include "frames/VideoFrameBufferSet.h"

#include <fmt/format.h>

#include <algorithm>
#include <mutex>

#include "log/LogGlobalLogger.h"
#include "platform/Guard.h"
#include "video/scaling/device/cuda/CudaBringUp.h"
#include "video/scaling/device/cuda/NVidiaCUDAContextManager.h"

namespace qvs {

namespace {

constexpr int32_t kConversionsFailed = -8;

/// Where the kernels of the module go, in its order.
constexpr CUfunction VideoScaleSetDataCUDA::*kKernelFields[kConversionKernelCount] = {
    &VideoScaleSetDataCUDA::cu_func_V210ToYUVA,     &VideoScaleSetDataCUDA::cu_func_V210ToNV12,
    &VideoScaleSetDataCUDA::cu_func_V210ToNV12Fast, &VideoScaleSetDataCUDA::cu_func_R210ToYUVA,
    &VideoScaleSetDataCUDA::cu_func_R210ToNV12,     &VideoScaleSetDataCUDA::cu_func_YUVAToNV12,
    &VideoScaleSetDataCUDA::cu_func_TransformYUVA,  &VideoScaleSetDataCUDA::cu_func_YUVAToYV24,
    &VideoScaleSetDataCUDA::cu_func_YV24ToYUVA,     &VideoScaleSetDataCUDA::cu_func_YUVAScaleByFactor,
    &VideoScaleSetDataCUDA::cu_func_YUVAToRGBA,     &VideoScaleSetDataCUDA::cu_func_NV12ToYUVA};

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
    if (overlays.getFrameCount() == 0) return frame.finishDevice();
    return failureOnly(frame.applyOverlay(overlays));
  });
}

uint32_t VideoFrameBufferSet::initVideoScaleCUDA() {
  VideoScaleSetDataCUDA& cuda = scaleSetData->cuda;
  if (cuda.inited != 0) return kSuccess;
  cuda.inited = 1;
  cuda.deviceID = std::max(cuda.deviceID, 0);
  const CudaBringUp device(kCudaUserFrames, logger);
  uint32_t status = device.openDevice(cuda.deviceID, &cuda.m_Device);
  std::shared_ptr<CUctx_st> context;
  if (status == kSuccess) status = device.openContext(cuda.m_Device, cuda.deviceID, &context);
  if (status == kSuccess) status = device.openStream(context, &cuda.stream);
  if (status == kSuccess) status = loadConversions(context);
  if (status != kSuccess) {
    cuda.stream = nullptr;
    return status;
  }
  cuda.calls = std::make_shared<CudaCalls>("VideoFrameBuffer.onDevice", kLogContextVideoScaler);
  cuda.calls->attach(logger, context.get());
  cuda.ctxLock = cudaCtxLock(context.get());
  cuda.m_ContextDeviceId = static_cast<uint32_t>(cuda.deviceID);
  cuda.m_Stream = cuda.stream.get();
  // Last: whoever sees it finds the rest.
  cuda.m_Context = std::move(context);
  return kSuccess;
}

uint32_t VideoFrameBufferSet::loadConversions(const std::shared_ptr<CUctx_st>& context) {
  VideoScaleSetDataCUDA& cuda = scaleSetData->cuda;
  cudaCtxLock current(context.get());
  const std::lock_guard hold(current);
  ConversionModule::Failure failure;
  cuda.module = ConversionModule::load(context, &failure);
  if (!cuda.module) {
    loggerOrGlobal(logger)->warn(
        kLogContextVideoDecoder, 0,
        fmt::format("VideoFrameBufferSet.initVideoScaleCUDA[{{context}}]: {}: Failure result:{}",
                    failure.call, static_cast<int>(failure.code)));
    NVidiaCUDAContextManager::getInstance()->noteResult(context.get(), failure.code);
    return static_cast<uint32_t>(kConversionsFailed);
  }
  cuda.cu_module_conversion = cuda.module->get();
  for (size_t i = 0; i < kConversionKernelCount; ++i) cuda.*kKernelFields[i] = cuda.module->getKernel(i);
  return kSuccess;
}

uint32_t VideoFrameBufferSet::closeVideoScaleCUDA() {
  VideoScaleSetDataCUDA& cuda = scaleSetData->cuda;
  if (cuda.inited == 0) return kSuccess;
  cuda.inited = 0;
  cuda.cu_module_conversion = nullptr;
  for (CUfunction VideoScaleSetDataCUDA::*field : kKernelFields) cuda.*field = nullptr;
  cuda.m_Stream = nullptr;
  // What frames that live on still need of these stays with them.
  cuda.module = nullptr;
  cuda.stream = nullptr;
  if (cuda.calls) cuda.calls->setLogger(nullptr);
  return kSuccess;
}

}  // namespace qvs
