// A frame's storage and locations, and its share in what others do with the picture.
#include "frames/VideoFrameBuffer.h"

#include <vpx/vpx_image.h>

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include "contract/ScaleIds.h"
#include "frames/DevicePictureFactory.h"
#include "frames/FrameCopies.h"
#include "frames/geometry/ChromaOrder.h"
#include "frames/geometry/FourCC.h"
#include "frames/geometry/HostLayout.h"
#include "frames/OverlayDrawing.h"
#include "frames/VideoOverlayFrames.h"
#include "frames/VideoScaleSetData.h"
#include "platform/Guard.h"
#include "video/scaling/device/VideoFrameNV12Utils.h"

namespace qvs {

namespace {

/// Never destroyed, as what it is given.
void keepForEver(FrameMemory memory) {
  static auto* const lock = new std::mutex;
  static auto* const kept = new std::vector<FrameMemory>;
  const std::lock_guard guard(*lock);
  kept->push_back(std::move(memory));
}

}  // namespace

VideoFrameBuffer::VideoFrameBuffer()
    : ucc_s(UCC_Create(0)),
      ucc_overlay_s(UCC_Create(0)),
      ucc_overlay_apply_s(UCC_Create(0)),
      ucc_BGRA_s(UCC_Create(0)),
      ucc_blackfill_s(UCC_Create(0)),
      vpx_frame(std::make_unique<vpx_image>()) {
  // Better no frame than one that silently keeps an old picture.
  if (!ucc_s || !ucc_overlay_s || !ucc_overlay_apply_s || !ucc_BGRA_s || !ucc_blackfill_s)
    throw std::bad_alloc();
}

VideoFrameBuffer::~VideoFrameBuffer() {
  if (free_provider && frame.done != nullptr && !(*free_provider)(*this)) {
    std::printf("VideoFrameBuffer::destructor[free_provider]: failed buffer release: %d for buffer %p\n", 0,
                static_cast<void*>(buffer.get()));
  }
}

uint32_t VideoFrameBuffer::allocBuffer(uint32_t width, uint32_t height) {
  return allocBuffer(width, height, frame.four_cc);
}

uint32_t VideoFrameBuffer::allocBuffer(uint32_t width, uint32_t height, uint32_t fourCC) {
  return allocBuffer(width, height, fourCC, 1);
}

uint32_t VideoFrameBuffer::allocBuffer(uint32_t width, uint32_t height, uint32_t fourCC, uint8_t clear) {
  uint32_t result = kSuccess;
  if (fourCC != frame.four_cc) releaseCardPicture();
  if (alloc_provider && (*alloc_provider)(*this, width, height, fourCC, clear, result)) return result;
  if (buffer && width == frame.width && height == frame.height) return kSuccess;
  bars.forget();
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

bool VideoFrameBuffer::releaseCardPicture() {
  return free_provider && frame.done != nullptr && (*free_provider)(*this);
}

void VideoFrameBuffer::setStorage(FrameMemory memory, uint32_t width, uint32_t height, uint32_t fourCC) {
  const HostLayout layout = hostLayout(width, height, fourCC);
  buffer = std::move(memory);
  stride = layout.stride;
  frame_start_offset = layout.startOffset;
  frame_size = layout.size;
  storageSize = layout.storageSize;
  layOutPlanes(&frame, width, height, fourCC, layout, buffer.get());
  bars.forget();
  updateVPXFrame();
}

bool VideoFrameBuffer::abandonStorage() {
  FrameMemory fresh = makeFrameMemory(storageSize, false);
  if (!fresh || !buffer || alloc_provider) return false;
  uint8_t* const before = buffer.get();
  std::copy_n(before, storageSize, fresh.get());
  keepForEver(std::exchange(buffer, std::move(fresh)));
  for (uint8_t*& plane : frame.plane) {
    if (plane != nullptr) plane = buffer.get() + (plane - before);
  }
  updateVPXFrame();
  return true;
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
  vpx_image& image = *vpx_frame;
  image = {};
  image.fmt = VPX_IMG_FMT_I420;
  image.w = image.d_w = frame.width;
  image.h = image.d_h = frame.height;
  image.x_chroma_shift = image.y_chroma_shift = 1;
  image.bps = 12;
  std::copy(std::begin(frame.plane), std::end(frame.plane), image.planes);
  std::copy(std::begin(frame.stride), std::end(frame.stride), image.stride);
  if (frame.plane[2] == nullptr) return;
  const ChromaOrder order = chromaOrder(frame.four_cc);
  image.planes[VPX_PLANE_U] = frame.plane[order.u];
  image.planes[VPX_PLANE_V] = frame.plane[order.v];
}

DevicePicture::HostPicture VideoFrameBuffer::hostPicture() const {
  return {buffer.get(), storageSize, stride, {frame.width, frame.height}, frame};
}

uint32_t VideoFrameBuffer::transferToLocation(uint32_t location) {
  return guarded("VideoFrameBuffer::transferToLocation", [&]() -> uint32_t {
    uint32_t status = kSuccess;
    if (buffer && hasDevicePicture()) {
      if (location == CUDA && !isLocationCUDA() && isLocationSystemMemory())
        status = device->upload(hostPicture());
      if (location == systemMem && !isLocationSystemMemory() && isLocationCUDA()) {
        status = device->download(hostPicture());
      }
    }
    if (status != kSuccess) return status;
    locations |= location;
    return kSuccess;
  });
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

uint32_t VideoFrameBuffer::initVideoScaleCUDA() {
  return guarded("VideoFrameBuffer::initVideoScaleCUDA", [&]() -> uint32_t {
    if (!device && scaleSetData) device = makeDevicePicture(scaleSetData);
    return device ? kSuccess : kFailure;
  });
}

uint32_t VideoFrameBuffer::allocateCUDAFrame() {
  const bool wanted = frame.width != 0 && frame.height != 0 && initVideoScaleCUDA() == kSuccess;
  return wanted ? device->allocate({frame.width, frame.height}) : kFailure;
}

uint32_t VideoFrameBuffer::allocateCUDAFrameIfNeeded() {
  const PixelSize size{frame.width, frame.height};
  const bool fits = device && device->hasStorage() && device->getSize() == size;
  return fits ? kSuccess : allocateCUDAFrame();
}

uint32_t VideoFrameBuffer::applyOverlay(VideoOverlayFrames& overlays) {
  return guarded("VideoFrameBuffer::applyOverlay", [&]() -> uint32_t {
    const ScopedLock hold(overlays.getLock());
    const std::vector<VideoOverlayFrame*>& frames = overlays.framesToDraw();
    if (frames.empty() || !ucc_overlay_s || !ucc_overlay_apply_s) return kFailure;
    const bool onDevice = getScaleImplementation() == kScaleCUDA;
    const bool byPlugin = (getScaleFlags() & kScaleFlagPluginOverlays) != 0;
    const OverlayTarget target{frame, byPlugin ? &scalerSession : nullptr, logger};
    uint32_t result = kSuccess;
    bars.forget();
    for (VideoOverlayFrame* overlay : frames) {
      const OverlayPlacement placement = placementOf(*overlay, {frame.width, frame.height});
      uint32_t status = kSuccess;
      if (placement.fits && onDevice && hasDevicePicture()) status = drawOnDevice(*overlay, placement);
      if (placement.fits && !onDevice && buffer) status = drawOverlay(*overlay, placement, target);
      // One that is refused takes none of the others with it.
      if (result == kSuccess) result = status;
    }
    const uint32_t finished = finishDevice();
    return finished == kSuccess ? result : finished;
  });
}

uint32_t VideoFrameBuffer::drawOnDevice(VideoOverlayFrame& overlay, const OverlayPlacement& placement) {
  if (!isCovered(overlay, logger)) return kSuccess;
  const bool there = isLocationCUDA() || transferToLocation(CUDA) == kSuccess;
  if (!there || overlay.getShape() != VideoOverlayFrame::Shape::kSound) return kFailure;
  const uint32_t status = device->drawOverlay(overlay, placement);
  // The host's copy lacks what was drawn.
  if (status == kSuccess) locations = CUDA;
  return status;
}

uint32_t VideoFrameBuffer::getFrameBGRA(uint8_t** out, uint32_t* size, uint32_t* width, uint32_t* height,
                                        uint64_t* time) {
  if (time != nullptr) *time = getTimecode();
  if (out != nullptr) transferToLocation(systemMem);
  return copyToBGRA(frame, ucc_BGRA_s.get(), out, size, width, height);
}

void VideoFrameBuffer::updateFractionalFrames(uint32_t width, uint32_t height) {
  fractionalFrames.clear();
  const bool wanted = (getScaleFlags() & kScaleFlagFractionalFrames) != 0 && frame.four_cc == kFourCCYV12 &&
                      getScaleImplementation() == kScaleCPU && buffer;
  if (wanted && scalerSession.open()) fractionalFrames.update(frame, {width, height}, scalerSession);
}

uint32_t VideoFrameBuffer::copyYV12toNV12(VideoFrameBuffer& target) {
  return copyYV12toNV12(&frame, &target.frame);
}
uint32_t VideoFrameBuffer::copyNV12toYV12(VideoFrameBuffer& target) {
  return copyNV12toYV12(&frame, &target.frame);
}
uint32_t VideoFrameBuffer::copyYV12toNV12(const mc_frame_t* source, const mc_frame_t* target) {
  return VideoFrameNV12Utils::copyYV12toNV12(source, target);
}
uint32_t VideoFrameBuffer::copyNV12toYV12(const mc_frame_t* source, const mc_frame_t* target) {
  return VideoFrameNV12Utils::copyNV12toYV12(source, target);
}

uint32_t VideoFrameBuffer::writeFrameToFile(const char* path) {
  return appendPlanesToFile(frame, buffer.get() + storageSize, path);
}

std::unique_ptr<uint8_t[]> VideoFrameBuffer::ExtractPlaneFromYUVA(const uint8_t* data, int32_t width,
                                                                  int32_t height, int32_t plane) {
  return extractComponent(data, width, height, plane);
}

void VideoFrameBuffer::getPluginBufferInfo(PluginVideoFrameBuffer* out, uint32_t type, uint64_t time) const {
  *out = {};
  out->buffer = buffer.get();
  out->stride = static_cast<uint32_t>(stride);
  out->width = frame.width;
  out->height = frame.height;
  out->frameType = type;
  out->timecode = time;
  out->four_cc = frame.four_cc;
  out->locations = locations;
  if (device) out->frameCUDA = device->pluginRecord();
  out->frameCUDA.four_cc = kFourCCNV12;
}

void VideoFrameBuffer::setBufferSet(VideoFrameBufferSet* set, std::shared_ptr<VideoScaleSetData> data) {
  bufferSet = set;
  scaleSetData = std::move(data);
}

uint32_t VideoFrameBuffer::getScaleImplementation() const {
  return scaleSetData ? scaleSetData->implementation : uint32_t{kScaleCPU};
}

uint64_t VideoFrameBuffer::getScaleFlags() const {
  return scaleSetData ? scaleSetData->flags : 0;
}

}  // namespace qvs
