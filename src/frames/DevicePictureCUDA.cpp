// A picture in a GPU's memory: storage, copies from and to the host, scaling, drawing.
#include "frames/DevicePictureCUDA.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>

#include "frames/geometry/ChromaOrder.h"
#include "frames/geometry/FourCC.h"
#include "frames/geometry/OverlayPlacement.h"
#include "frames/VideoFrameUtils.h"
#include "frames/VideoOverlayFrame.h"
#include "platform/Status.h"

namespace qvs {
namespace {

constexpr uint8_t kBlackLuma = 0;
constexpr uint8_t kNoChroma = 128;
constexpr uint32_t kPixelBytes = 4;
/// Rectangles begin and end on whole chroma samples.
constexpr PixelSize kStep{2, 2};

enum class HostFormat : uint8_t { kNone, kPlanar, kPairs, kPacked };

HostFormat hostFormatOf(const frame_tt& frame) {
  switch (frame.four_cc) {
    case kFourCCYV12:
    case kFourCCI420:
    case kFourCCIYUV:
      return HostFormat::kPlanar;
    case kFourCCNV12:
    case kFourCCNV21:
      return HostFormat::kPairs;
    case kFourCCBGRA:
      return HostFormat::kPacked;
    default:
      return HostFormat::kNone;
  }
}

PixelRect clipped(const PixelRect& rect, PixelSize picture) {
  return clipRect(rect, picture, kStep);
}

size_t asSize(int64_t value) {
  return static_cast<size_t>(value);
}

NppiSize nppSize(PixelSize size) {
  return {static_cast<int>(size.width), static_cast<int>(size.height)};
}

}  // namespace

DevicePictureCUDA::DevicePictureCUDA(const VideoScaleSetDataCUDA& pool)
    : context(pool.m_Context),
      stream(pool.stream),
      calls(pool.calls),
      memoryKind(memoryKindOf(pool.m_Device)),
      ctxLock(pool.m_Context.get()),
      videoImageProcessor(
          std::make_unique<VideoImageProcessorCUDA>(context, stream.get(), pool.deviceID, calls)) {}

DevicePictureCUDA::~DevicePictureCUDA() {
  finish();
}

uint32_t DevicePictureCUDA::allocate(PixelSize size) {
  finish();
  VideoScaleBufferDataCUDA& picture = data.buffer;
  picture = {};
  if (size.width == 0 || size.height == 0) return kFailure;
  const std::lock_guard hold(ctxLock);
  size_t pitch = 0;
  const PlanarLayout wanted{0, size.height};
  picture.buffer = takePitchedMemory(context, size.width, wanted.rows(), &pitch, *calls);
  if (!picture.buffer) return kFailure;
  picture.width = size.width;
  picture.height = size.height;
  picture.stride = pitch;
  picture.size = static_cast<uint32_t>(layout().size());
  return kSuccess;
}

uint32_t DevicePictureCUDA::finish() const {
  if (!pending) return kSuccess;
  pending = false;
  const std::lock_guard hold(ctxLock);
  return calls->ok(cuStreamSynchronize(stream.get()), "cuStreamSynchronize") ? kSuccess : kFailure;
}

PluginVideoFrameBufferCUDA DevicePictureCUDA::pluginRecord() const {
  finish();
  const VideoScaleBufferDataCUDA& picture = data.buffer;
  return {picture.buffer.get(), picture.size, picture.width, picture.height, picture.stride, 0};
}

void DevicePictureCUDA::fillBlack() {
  const std::lock_guard hold(ctxLock);
  const PlanarLayout whole = layout();
  const CUdeviceptr start = devicePointer(data.buffer.buffer.get());
  pending = true;
  calls->ok(cuMemsetD8Async(start, kBlackLuma, whole.offsetU(), stream.get()), "cuMemsetD8Async");
  calls->ok(cuMemsetD8Async(start + whole.offsetU(), kNoChroma, whole.size() - whole.offsetU(), stream.get()),
            "cuMemsetD8Async");
}

// Copies from and to the host. The host's block crosses in one piece; what it holds is sorted on the device.

bool DevicePictureCUDA::stage(size_t bytes) {
  VideoScaleBufferDataCUDA& staging = data.transferTmp;
  if (staging.buffer && staging.size == bytes) return true;
  staging = {};
  staging.buffer = takeDeviceMemory(context, bytes, memoryKind, *calls);
  if (staging.buffer) staging.size = static_cast<uint32_t>(bytes);
  return staging.buffer != nullptr;
}

uint32_t DevicePictureCUDA::upload(const HostPicture& host) {
  return transfer(host, Direction::kToDevice);
}

uint32_t DevicePictureCUDA::download(const HostPicture& host) {
  return transfer(host, Direction::kToHost);
}

uint32_t DevicePictureCUDA::transfer(const HostPicture& host, Direction direction) {
  if (host.pixels != getSize() || hostFormatOf(host.frame) == HostFormat::kNone) {
    calls->ok(CUDA_ERROR_NOT_SUPPORTED, "transferToLocation[size or format]");
    return kFailure;
  }
  const std::lock_guard hold(ctxLock);
  if (!stage(host.size)) return kFailure;
  const CUdeviceptr staged = devicePointer(data.transferTmp.buffer.get());
  pending = true;
  bool queued = true;
  if (direction == Direction::kToDevice) {
    queued = calls->ok(cuMemcpyHtoDAsync(staged, host.bytes, host.size, stream.get()), "cuMemcpyHtoDAsync");
  }
  queued = queued && convert(host, direction);
  if (direction == Direction::kToHost) {
    queued = queued &&
             calls->ok(cuMemcpyDtoHAsync(host.bytes, staged, host.size, stream.get()), "cuMemcpyDtoHAsync");
  }
  // Also after a failure: nothing queued may touch the host's memory later on.
  return finish() == kSuccess && queued ? kSuccess : kFailure;
}

/// Between the staged block and the picture.
bool DevicePictureCUDA::convert(const HostPicture& host, Direction direction) {
  const bool toDevice = direction == Direction::kToDevice;
  auto* const staged = static_cast<uint8_t*>(data.transferTmp.buffer.get());
  const NppiSize size = nppSize(host.pixels);
  const frame_tt& frame = host.frame;
  switch (hostFormatOf(frame)) {
    case HostFormat::kPlanar:
      return copyPlanes(host, direction);
    case HostFormat::kPairs: {
      uint8_t* const chroma = staged + (frame.plane[1] - host.bytes);
      const bool swapped = frame.four_cc == kFourCCNV21;
      const PairsSteps steps{frame.stride[0], frame.stride[1]};
      return toDevice ? videoImageProcessor->unpackNV12(staged, chroma, steps, planes(), size, swapped)
                      : videoImageProcessor->packNV12(planes(), staged, chroma, steps, size, swapped);
    }
    default:
      return toDevice ? videoImageProcessor->unpackBGRA(staged, frame.stride[0], planes(), size)
                      : videoImageProcessor->packBGRA(planes(), staged, frame.stride[0], size);
  }
}

bool DevicePictureCUDA::copyPlanes(const HostPicture& host, Direction direction) {
  const frame_tt& frame = host.frame;
  const ChromaOrder order = chromaOrder(frame.four_cc);
  const DevicePlanes to = planes();
  const struct {
    uint32_t host;
    uint8_t* device;
    bool isChroma;
  } pairs[] = {{0, to.y, false}, {order.u, to.u, true}, {order.v, to.v, true}};
  auto* const staged = static_cast<uint8_t*>(data.transferTmp.buffer.get());
  return std::all_of(std::begin(pairs), std::end(pairs), [&](const auto& pair) {
    const PlanarLayout whole = layout();
    return copyPlane(staged + (frame.plane[pair.host] - host.bytes), frame.stride[pair.host], pair.device,
                     pair.isChroma ? whole.chromaStride() : whole.stride,
                     pair.isChroma ? chromaSide(frame.width) : frame.width,
                     pair.isChroma ? chromaSide(frame.height) : frame.height, direction);
  });
}

bool DevicePictureCUDA::copyPlane(uint8_t* staged, int32_t stagedStride, uint8_t* plane, size_t stride,
                                  size_t width, size_t height, Direction direction) {
  CUDA_MEMCPY2D copy{};
  copy.srcMemoryType = copy.dstMemoryType = CU_MEMORYTYPE_DEVICE;
  copy.WidthInBytes = width;
  copy.Height = height;
  copy.srcDevice = devicePointer(staged);
  copy.srcPitch = static_cast<size_t>(stagedStride);
  copy.dstDevice = devicePointer(plane);
  copy.dstPitch = stride;
  if (direction == Direction::kToHost) {
    std::swap(copy.srcDevice, copy.dstDevice);
    std::swap(copy.srcPitch, copy.dstPitch);
  }
  return calls->ok(cuMemcpy2DAsync(&copy, stream.get()), "cuMemcpy2DAsync");
}

// Scaling.

ImageInfo DevicePictureCUDA::borrowed(const PixelRect& region) const {
  ImageInfo image;
  image.data = borrowDeviceMemory(data.buffer.buffer.get());
  image.width = data.buffer.width;
  image.height = data.buffer.height;
  image.stride = data.buffer.stride;
  image.roi = {asSize(region.x), asSize(region.y), asSize(region.width), asSize(region.height)};
  image.loc = VideoBufferLocation::CUDA;
  image.fourCC = kFourCCI420;
  return image;
}

uint32_t DevicePictureCUDA::place(const DevicePicture& other, const Placement& placement,
                                  Completion completion) {
  const auto* source = dynamic_cast<const DevicePictureCUDA*>(&other);
  if (source == nullptr || source->context != context) {
    calls->ok(CUDA_ERROR_INVALID_CONTEXT, "transferFrame[pictures of two devices]");
    return kFailure;
  }
  // Its own stream orders it no longer.
  if (source->finish() != kSuccess) return kFailure;
  uint32_t status = kSuccess;
  const std::lock_guard hold(ctxLock);
  if (!scaleFrom(*source, placement, &status)) status = kFailure;
  if (completion == Completion::kQueued && status == kSuccess) return kSuccess;
  return finish() == kSuccess ? status : kFailure;
}

bool DevicePictureCUDA::scaleFrom(const DevicePictureCUDA& source, const Placement& placement,
                                  uint32_t* status) {
  const PixelSize from = source.getSize();
  const PixelSize to = getSize();
  if (from == to && source.data.buffer.size == data.buffer.size) {
    pending = true;
    return calls->ok(
        cuMemcpyDtoDAsync(devicePointer(data.buffer.buffer.get()),
                          devicePointer(source.data.buffer.buffer.get()), data.buffer.size, stream.get()),
        "cuMemcpyDtoDAsync");
  }
  PixelRect sourceRegion{0, 0, from.width, from.height};
  PixelRect targetRegion{0, 0, to.width, to.height};
  if (placement.hasSource) sourceRegion = clipped(placement.source, from);
  if (placement.hasTarget) targetRegion = clipped(placement.target, to);
  if (sourceRegion.isEmpty() || targetRegion.isEmpty()) {
    *status = kFailure;
    return true;
  }
  pending = true;
  return videoImageProcessor->scale(source.borrowed(sourceRegion), borrowed(targetRegion)).data != nullptr;
}

// Drawing.

uint32_t DevicePictureCUDA::drawOverlay(VideoOverlayFrame& overlay, const OverlayPlacement& placement) {
  const std::lock_guard hold(ctxLock);
  if (!prepare(overlay)) return kFailure;
  const PixelRect at{placement.clamped.x & ~int64_t{1}, placement.clamped.y & ~int64_t{1},
                     placement.clamped.width, placement.clamped.height};
  const PreparedOverlay& image = overlay.getDataCUDA().image;
  if (!image.isMade()) return kSuccess;  // one column or row: nothing of it has whole chroma samples
  pending = true;
  return videoImageProcessor->blend(borrowed(at), image) ? kSuccess : kFailure;
}

/// Takes an image to the device at the size at which it is drawn; where it is there, does nothing.
bool DevicePictureCUDA::prepare(VideoOverlayFrame& overlay) {
  VideoScaleOverlayDataCUDA& kept = overlay.getDataCUDA();
  const uint32_t width = overlay.getDstWidth();
  const uint32_t height = overlay.getDstHeight();
  if (kept.width == width && kept.height == height) return true;
  kept = {};
  FrameMemory converted;
  const uint8_t* pixels = overlay.uccView().plane[0];
  int32_t stride = overlay.uccView().stride[0];
  if (overlay.getFourCC() != kFourCCBGRA) {
    converted = makeFrameMemory(uint64_t{kPixelBytes} * overlay.getWidth() * overlay.getHeight(), false);
    if (!converted || VideoFrameUtils::uccConvertToBGRA(overlay.uccView(), converted.get()) != 0)
      return false;
    pixels = converted.get();
    stride = static_cast<int32_t>(kPixelBytes * overlay.getWidth());
  }
  ImageInfo image = uploadImage(pixels, stride, overlay.getWidth(), overlay.getHeight());
  if (image.data && (image.width != width || image.height != height)) {
    ImageInfo scaled;
    int step = 0;
    scaled.data =
        takeImage(context, static_cast<int>(width), static_cast<int>(height), kPixelBytes, &step, *calls);
    scaled.width = width;
    scaled.height = height;
    scaled.stride = static_cast<size_t>(step);
    scaled.roi = {0, 0, width, height};
    scaled.fourCC = kFourCCBGRA;
    scaled = videoImageProcessor->scale(image, std::move(scaled));
    // Before the image at its own size goes.
    pending = true;
    if (finish() != kSuccess) return false;
    image = std::move(scaled);
  }
  if (!image.data) return false;
  if (width > 1 && height > 1) {
    kept.image = videoImageProcessor->prepare(image);
    if (!kept.image.isMade()) return false;
  }
  kept.width = width;
  kept.height = height;
  return true;
}

ImageInfo DevicePictureCUDA::uploadImage(const uint8_t* pixels, int32_t stride, uint32_t width,
                                         uint32_t height) {
  ImageInfo image;
  int step = 0;
  image.data =
      takeImage(context, static_cast<int>(width), static_cast<int>(height), kPixelBytes, &step, *calls);
  if (!image.data) return image;
  image.width = width;
  image.height = height;
  image.stride = static_cast<size_t>(step);
  image.roi = {0, 0, width, height};
  image.fourCC = kFourCCBGRA;
  CUDA_MEMCPY2D copy{};
  copy.srcMemoryType = CU_MEMORYTYPE_HOST;
  copy.srcHost = pixels;
  copy.srcPitch = static_cast<size_t>(std::abs(stride));
  copy.dstMemoryType = CU_MEMORYTYPE_DEVICE;
  copy.dstDevice = devicePointer(image.data.get());
  copy.dstPitch = image.stride;
  copy.WidthInBytes = size_t{kPixelBytes} * width;
  // Rows of a bottom-up image go one by one: no copy walks backwards.
  copy.Height = stride > 0 ? height : 1;
  for (uint32_t row = 0; row < height; row += static_cast<uint32_t>(copy.Height)) {
    copy.srcHost = pixels + int64_t{stride} * row;
    copy.dstDevice = devicePointer(image.data.get()) + image.stride * row;
    if (!calls->ok(cuMemcpy2D(&copy), "cuMemcpy2D")) return {};
  }
  return image;
}

}  // namespace qvs
