// A frame's life: memory, format, views of its planes, and its place in host or device memory.
#include "frames/VideoFrameBuffer.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <utility>

#include "frames/geometry/ChromaOrder.h"
#include "frames/geometry/HostLayout.h"
#include "frames/VideoFrameBufferSet.h"
#include "platform/Guard.h"
#include "video/scaling/device/VideoFrameIntrinsicScalerSingleton.h"

namespace qvs {

VideoFrameBuffer::VideoFrameBuffer()
    : ucc_s(UCC_Create(0)),
      ucc_overlay_s(UCC_Create(0)),
      ucc_overlay_apply_s(UCC_Create(0)),
      ucc_BGRA_s(UCC_Create(0)),
      ucc_blackfill_s(UCC_Create(0)) {
  // Better no frame than one that silently keeps an old picture.
  if (!ucc_s || !ucc_overlay_s || !ucc_overlay_apply_s || !ucc_BGRA_s || !ucc_blackfill_s)
    throw std::bad_alloc();
}

VideoFrameBuffer::~VideoFrameBuffer() {
  if (free_provider && frame.done != nullptr && !(*free_provider)(*this)) {
    std::printf("VideoFrameBuffer::destructor[free_provider]: failed buffer release: %d for buffer %p\n", 0,
                static_cast<void*>(buffer.get()));
  }
  if (instrinsicScalerSessionPtr != nullptr) {
    VideoFrameIntrinsicScalerSingleton::getInstance()->destroy(instrinsicScalerSessionPtr);
  }
  closeVideoScaleCUDA();
}

uint32_t VideoFrameBuffer::allocBuffer(uint32_t width, uint32_t height) {
  return allocBuffer(width, height, frame.four_cc);
}

uint32_t VideoFrameBuffer::allocBuffer(uint32_t width, uint32_t height, uint32_t fourCC) {
  return allocBuffer(width, height, fourCC, 1);
}

uint32_t VideoFrameBuffer::allocBuffer(uint32_t width, uint32_t height, uint32_t fourCC, uint8_t clear) {
  uint32_t result = kSuccess;
  if (alloc_provider && (*alloc_provider)(*this, width, height, fourCC, clear, result)) return result;
  if (buffer && width == frame.width && height == frame.height) return kSuccess;
  lastLetterboxSrcWidth = lastLetterboxSrcHeight = 0;
  if (uint64_t{width} * height >= kFramePixelsLimit) return kSuccess;

  result = guarded("VideoFrameBuffer::allocBuffer", [&]() -> uint32_t {
    FrameMemory memory = makeFrameMemory(hostLayout(width, height, fourCC).storageSize, clear != 0);
    if (!memory) throw std::bad_alloc();
    setStorage(std::move(memory), width, height, fourCC);
    return kSuccess;
  });
  if (getScaleImplementation() == kScaleCUDA) allocateCUDAFrame();
  updateVPXFrame();
  return result;
}

uint32_t VideoFrameBuffer::setAllocProvider(FrameAllocProvider alloc, FrameFreeProvider free) {
  if (!alloc || !free) return kFailure;
  alloc_provider = std::move(alloc);
  free_provider = std::move(free);
  return kSuccess;
}

void VideoFrameBuffer::setStorage(FrameMemory memory, uint32_t width, uint32_t height, uint32_t fourCC) {
  const HostLayout layout = hostLayout(width, height, fourCC);
  buffer = std::move(memory);
  stride = layout.stride;
  frame_start_offset = layout.startOffset;
  frame_size = layout.size;
  storageSize = layout.storageSize;
  layOutPlanes(&frame, width, height, fourCC, layout, buffer.get());
  lastLetterboxSrcWidth = lastLetterboxSrcHeight = 0;
  updateVPXFrame();
}

uint32_t VideoFrameBuffer::initialize() {
  return getScaleImplementation() == kScaleCUDA ? initVideoScaleCUDA() : kSuccess;
}

uint64_t VideoFrameBuffer::getVideoFrameSize(uint32_t width, uint32_t height, uint32_t fourCC,
                                             int32_t* stride, int32_t* offset) {
  const HostLayout layout = hostLayout(width, height, fourCC);
  if (stride != nullptr) *stride = layout.stride;
  if (offset != nullptr) *offset = layout.startOffset;
  return layout.size;
}

void VideoFrameBuffer::updateVPXFrame() {
  vpx_frame = {};
  vpx_frame.fmt = VPX_IMG_FMT_I420;
  vpx_frame.w = vpx_frame.d_w = frame.width;
  vpx_frame.h = vpx_frame.d_h = frame.height;
  vpx_frame.x_chroma_shift = vpx_frame.y_chroma_shift = 1;
  vpx_frame.bps = 12;
  std::copy(std::begin(frame.plane), std::end(frame.plane), vpx_frame.planes);
  std::copy(std::begin(frame.stride), std::end(frame.stride), vpx_frame.stride);
  if (frame.plane[2] == nullptr) return;
  const ChromaOrder order = chromaOrder(frame.four_cc);
  vpx_frame.planes[VPX_PLANE_U] = frame.plane[order.u];
  vpx_frame.planes[VPX_PLANE_V] = frame.plane[order.v];
}

uint32_t VideoFrameBuffer::transferToLocation(uint32_t location) {
  // A frame without a device picture has nothing to copy, and claims the location just the same.
  locations |= location;
  return kSuccess;
}

uint32_t VideoFrameBuffer::transferLocationFromDecode() {
  switch (getScaleImplementation()) {
    case kScaleCUDA:
      transferToLocation(CUDA);
      break;
    case kScaleCPU:
    case kScaleOpenCL:
      transferToLocation(systemMem);
      break;
    default:
      break;
  }
  return kSuccess;
}

// Nothing binds the device's driver yet, so there is never a context: what needs one fails as for a pool
// whose start failed.
uint32_t VideoFrameBuffer::allocateCUDAFrame() {
  return kFailure;
}

uint32_t VideoFrameBuffer::allocateCUDAFrameIfNeeded() {
  const VideoScaleBufferDataCUDA& picture = scaleFrameDataCUDA.buffer;
  const bool fits =
      picture.buffer && picture.size != 0 && picture.width == frame.width && picture.height == frame.height;
  return fits ? kSuccess : allocateCUDAFrame();
}

uint32_t VideoFrameBuffer::initVideoScaleCUDA() {
  return kFailure;
}

uint32_t VideoFrameBuffer::closeVideoScaleCUDA() {
  for (VideoScaleBufferDataCUDA* data :
       {&scaleFrameDataCUDA.buffer, &scaleFrameDataCUDA.scaleTmp, &scaleFrameDataCUDA.transferTmp}) {
    data->size = 0;
  }
  return kSuccess;
}

void VideoFrameBuffer::getPluginBufferInfo(PluginVideoFrameBuffer* out, uint32_t type, uint64_t time) const {
  const VideoScaleBufferDataCUDA& picture = scaleFrameDataCUDA.buffer;
  *out = {};
  out->buffer = buffer.get();
  out->stride = static_cast<uint32_t>(stride);
  out->width = frame.width;
  out->height = frame.height;
  out->frameType = type;
  out->timecode = time;
  out->four_cc = frame.four_cc;
  out->locations = locations;
  out->frameCUDA = {picture.buffer.get(), picture.size,   picture.width,
                    picture.height,       picture.stride, kFourCCNV12};
}

void VideoFrameBuffer::setTimecodeInfo(const VideoFrameBufferTimecodeInfo* items, uint32_t count) {
  timecodeInfoCount = items != nullptr ? std::min(count, kTimecodeInfoMax) : 0;
  std::copy_n(items, timecodeInfoCount, timecodeInfo.begin());
}

void VideoFrameBuffer::getTimecodeInfo(VideoFrameBufferTimecodeInfo* items, uint32_t* count) const {
  if (count == nullptr) return;
  *count = items != nullptr ? std::min(*count, timecodeInfoCount) : timecodeInfoCount;
  if (items != nullptr) std::copy_n(timecodeInfo.begin(), *count, items);
}

void VideoFrameBuffer::getAncillaryDataObjs(std::vector<VideoFrameAncillaryData>& list) const {
  list.insert(list.end(), ancillaryData.begin(), ancillaryData.end());
}

void VideoFrameBuffer::copyAncillaryData(const VideoFrameBuffer& other) {
  if (&other == this) return;
  other.getAncillaryDataObjs(ancillaryData);
}

void VideoFrameBuffer::createJavaBufferAllocation() {
  if (auto token = bufferAllocation.lock()) javaBufferAllocations.push_front(std::move(token));
}

void VideoFrameBuffer::releaseJavaBufferAllocation() {
  if (!javaBufferAllocations.empty()) javaBufferAllocations.pop_front();
}

void VideoFrameBuffer::releaseAllJavaBufferAllocations() {
  javaBufferAllocations.clear();
}

uint32_t VideoFrameBuffer::getScaleImplementation() const {
  return bufferSet != nullptr ? bufferSet->getScaleImplementation() : uint32_t{kScaleCPU};
}

uint64_t VideoFrameBuffer::getScaleFlags() const {
  return bufferSet != nullptr ? bufferSet->getScaleFlags() : 0;
}

uint8_t VideoFrameBuffer::assign(std::array<uint32_t, 4>& field, const uint32_t* values) {
  if (values == nullptr) return 0;
  std::copy_n(values, field.size(), field.begin());
  return 1;
}

}  // namespace qvs
