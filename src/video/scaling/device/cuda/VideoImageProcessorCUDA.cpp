// Scaling, drawing and conversion of pictures on a GPU.
#include "video/scaling/device/cuda/VideoImageProcessorCUDA.h"

#include <mutex>
#include <stdexcept>
#include <utility>

#include "frames/geometry/FourCC.h"
#include "video/scaling/device/cuda/npp/ImageKernels.h"

namespace qvs {
namespace {

constexpr int kAlphaChannel = 3;

/// What the processor asks its device, where the answer goes, and what is said without one.
struct DeviceQuestion {
  CUdevice_attribute attribute;
  int NppStreamContext::*answer;
  const char* failure;
};
constexpr DeviceQuestion kQuestions[] = {
    {CU_DEVICE_ATTRIBUTE_MULTIPROCESSOR_COUNT, &NppStreamContext::nMultiProcessorCount,
     "Error: could not get CUDA multiprocessor count"},
    {CU_DEVICE_ATTRIBUTE_MAX_THREADS_PER_MULTIPROCESSOR, &NppStreamContext::nMaxThreadsPerMultiProcessor,
     "Error: could not get CUDA threads per multiprocessor"},
    {CU_DEVICE_ATTRIBUTE_MAX_THREADS_PER_BLOCK, &NppStreamContext::nMaxThreadsPerBlock,
     "Error: could not get CUDA threads per block"},
    {CU_DEVICE_ATTRIBUTE_COMPUTE_CAPABILITY_MAJOR, &NppStreamContext::nCudaDevAttrComputeCapabilityMajor,
     "Error: could not get CUDA compute capability major"},
    {CU_DEVICE_ATTRIBUTE_COMPUTE_CAPABILITY_MINOR, &NppStreamContext::nCudaDevAttrComputeCapabilityMinor,
     "Error: could not get CUDA compute capability minor"},
};

int asInt(size_t value) {
  return static_cast<int>(value);
}

NppiRect regionOf(const ImageInfo& image) {
  return {asInt(image.roi.x), asInt(image.roi.y), asInt(image.roi.width), asInt(image.roi.height)};
}

NppiSize sizeOf(const ImageInfo& image) {
  return {asInt(image.width), asInt(image.height)};
}

/// What covers the chroma samples of a region that starts on one.
NppiRect halved(const NppiRect& rect) {
  return {rect.x / 2, rect.y / 2, (rect.width + 1) / 2, (rect.height + 1) / 2};
}

NppiSize halved(NppiSize size) {
  return {(size.width + 1) / 2, (size.height + 1) / 2};
}

uint8_t* bytesOf(const ImageInfo& image) {
  return static_cast<uint8_t*>(image.data.get());
}

uint8_t* bytesOf(const DeviceMemory& memory) {
  return static_cast<uint8_t*>(memory.get());
}

DevicePlanes planesOf(const ImageInfo& image) {
  return {image.data.get(), {image.stride, image.height}};
}

ImageInfo without(ImageInfo target) {
  target.data.reset();
  return target;
}

}  // namespace

VideoImageProcessorCUDA::VideoImageProcessorCUDA(std::shared_ptr<CUctx_st> context, CUstream stream,
                                                 int32_t deviceId, std::shared_ptr<CudaCalls> calls)
    : cudaCtx(std::move(context)), ctxLock(cudaCtx.get()), calls(std::move(calls)) {
  streamCtx.hStream = stream;
  streamCtx.nCudaDeviceId = deviceId;
  const std::lock_guard hold(ctxLock);
  CUdevice device = 0;
  if (!this->calls->ok(cuDeviceGet(&device, deviceId), "cuDeviceGet"))
    throw std::runtime_error("Error: could not get CUDA device");
  for (const DeviceQuestion& question : kQuestions) {
    if (!this->calls->ok(cuDeviceGetAttribute(&(streamCtx.*question.answer), question.attribute, device),
                         "cuDeviceGetAttribute"))
      throw std::runtime_error(question.failure);
  }
  int shared = 0;
  if (!this->calls->ok(cuDeviceGetAttribute(&shared, CU_DEVICE_ATTRIBUTE_MAX_SHARED_MEMORY_PER_BLOCK, device),
                       "cuDeviceGetAttribute"))
    throw std::runtime_error("Error: could not get CUDA shared memory per block");
  streamCtx.nSharedMemPerBlock = static_cast<size_t>(shared);
  if (!this->calls->ok(cuStreamGetFlags(stream, &streamCtx.nStreamFlags), "cuStreamGetFlags"))
    throw std::runtime_error("Error: could not get CUDA stream flags");
}

ImageInfo VideoImageProcessorCUDA::scale(const ImageInfo& source, ImageInfo target) {
  if (!target.data) return target;
  switch (source.fourCC) {
    case kFourCCI420:
    case kFourCCYV12:
      return scaleI420(source, std::move(target));
    case kFourCCRGBA:
    case kFourCCBGRA:
    case kFourCCYUVA:
      return scaleYUVA(source, std::move(target));
    default:
      return without(std::move(target));
  }
}

bool VideoImageProcessorCUDA::scalePlane(const ImageInfo& source, const uint8_t* from,
                                         const ImageInfo& target, uint8_t* to, bool isChroma) {
  const int half = isChroma ? 2 : 1;
  const auto size = [&](const ImageInfo& image) { return isChroma ? halved(sizeOf(image)) : sizeOf(image); };
  const auto region = [&](const ImageInfo& image) {
    return isChroma ? halved(regionOf(image)) : regionOf(image);
  };
  return calls->ok(nppiResize_8u_C1R_Ctx(from, asInt(source.stride) / half, size(source), region(source), to,
                                         asInt(target.stride) / half, size(target), region(target),
                                         NPPI_INTER_CUBIC, streamCtx),
                   "nppiResize_8u_C1R_Ctx");
}

ImageInfo VideoImageProcessorCUDA::scaleI420(const ImageInfo& source, ImageInfo target) {
  const DevicePlanes from = planesOf(source);
  const DevicePlanes to = planesOf(target);
  const bool done = scalePlane(source, from.y, target, to.y, false) &&
                    scalePlane(source, from.u, target, to.u, true) &&
                    scalePlane(source, from.v, target, to.v, true);
  if (!done) return without(std::move(target));
  target.loc = VideoBufferLocation::CUDA;
  return target;
}

ImageInfo VideoImageProcessorCUDA::scaleYUVA(const ImageInfo& source, ImageInfo target) {
  const NppStatus status = nppiResize_8u_C4R_Ctx(
      bytesOf(source), asInt(source.stride), sizeOf(source), regionOf(source), bytesOf(target),
      asInt(target.stride), sizeOf(target), regionOf(target), NPPI_INTER_CUBIC, streamCtx);
  if (!calls->ok(status, "nppiResize_8u_C4R_Ctx")) return without(std::move(target));
  target.loc = VideoBufferLocation::CUDA;
  return target;
}

ImageInfo VideoImageProcessorCUDA::overlay(const ImageInfo& frame, ImageInfo target,
                                           const ImageInfo& overlay) {
  const PreparedOverlay prepared = prepare(overlay);
  const bool blended = prepared.isMade() && blend(frame, prepared);
  // Also after a failure: what is prepared here goes back on return.
  if (!finish() || !blended) return without(std::move(target));
  target.loc = VideoBufferLocation::CUDA;
  return target;
}

ImageInfo VideoImageProcessorCUDA::rotate(const ImageInfo& /*source*/, ImageInfo target) {
  return target;
}

PreparedOverlay VideoImageProcessorCUDA::prepare(const ImageInfo& overlay) {
  PreparedOverlay made;
  made.width = asInt(overlay.width & ~size_t{1});
  made.height = asInt(overlay.height & ~size_t{1});
  if (made.width == 0 || made.height == 0) return {};
  const auto image = [&](int* step, int half) {
    return takeImage(cudaCtx, made.width / half, made.height / half, 1, step, *calls);
  };
  made.y = image(&made.step, 1);
  made.clear = image(&made.step, 1);
  made.u = image(&made.halfStep, 2);
  made.v = image(&made.halfStep, 2);
  made.clearHalf = image(&made.halfStep, 2);
  if (!made.y || !made.clear || !made.u || !made.v || !made.clearHalf) return {};
  // Both: what is queued must not outlive its memory.
  const bool queued = splitOverlay(overlay, made) && multiplyAndInvert(made);
  return finish() && queued ? std::move(made) : PreparedOverlay();
}

/// Into luma, chroma and alpha, the latter still as it is.
bool VideoImageProcessorCUDA::splitOverlay(const ImageInfo& overlay, PreparedOverlay& made) {
  const NppiSize size{made.width, made.height};
  Npp8u* planes[3] = {bytesOf(made.y), bytesOf(made.u), bytesOf(made.v)};
  int steps[3] = {made.step, made.halfStep, made.halfStep};
  if (overlay.fourCC == kFourCCBGRA) {
    if (!calls->ok(nppiBGRToYUV420_8u_AC4P3R_Ctx(bytesOf(overlay), asInt(overlay.stride), planes, steps, size,
                                                 streamCtx),
                   "nppiBGRToYUV420_8u_AC4P3R_Ctx"))
      return false;
  } else if (overlay.fourCC != kFourCCYUVA || !splitYUVA(overlay, made)) {
    return false;
  }
  const NppiSize halfSize = halved(size);
  return calls->ok(nppiCopy_8u_C4C1R_Ctx(bytesOf(overlay) + kAlphaChannel, asInt(overlay.stride),
                                         bytesOf(made.clear), made.step, size, streamCtx),
                   "nppiCopy_8u_C4C1R_Ctx") &&
         calls->ok(
             nppiResize_8u_C1R_Ctx(bytesOf(made.clear), made.step, size, {0, 0, size.width, size.height},
                                   bytesOf(made.clearHalf), made.halfStep, halfSize,
                                   {0, 0, halfSize.width, halfSize.height}, NPPI_INTER_CUBIC, streamCtx),
             "nppiResize_8u_C1R_Ctx");
}

bool VideoImageProcessorCUDA::splitYUVA(const ImageInfo& overlay, PreparedOverlay& made) {
  return calls->ok(nppiCopy_8u_C4C1R_Ctx(bytesOf(overlay), asInt(overlay.stride), bytesOf(made.y), made.step,
                                         {made.width, made.height}, streamCtx),
                   "nppiCopy_8u_C4C1R_Ctx") &&
         shrinkChannel(overlay, 1, made, made.u.get()) && shrinkChannel(overlay, 2, made, made.v.get());
}

bool VideoImageProcessorCUDA::shrinkChannel(const ImageInfo& overlay, int channel,
                                            const PreparedOverlay& made, void* target) {
  const NppiSize size{made.width, made.height};
  const NppiSize halfSize = halved(size);
  int step = 0;
  const DeviceMemory whole = takeImage(cudaCtx, size.width, size.height, 1, &step, *calls);
  const bool queued =
      whole &&
      calls->ok(nppiCopy_8u_C4C1R_Ctx(bytesOf(overlay) + channel, asInt(overlay.stride), bytesOf(whole), step,
                                      size, streamCtx),
                "nppiCopy_8u_C4C1R_Ctx") &&
      calls->ok(nppiResize_8u_C1R_Ctx(bytesOf(whole), step, size, {0, 0, size.width, size.height},
                                      static_cast<Npp8u*>(target), made.halfStep, halfSize,
                                      {0, 0, halfSize.width, halfSize.height}, NPPI_INTER_CUBIC, streamCtx),
                "nppiResize_8u_C1R_Ctx");
  // Before the temporary goes.
  return finish() && queued;
}

bool VideoImageProcessorCUDA::multiplyAndInvert(PreparedOverlay& made) {
  const struct {
    const DeviceMemory& plane;
    const DeviceMemory& alpha;
    int half;
  } planes[] = {{made.y, made.clear, 1}, {made.u, made.clearHalf, 2}, {made.v, made.clearHalf, 2}};
  for (const auto& each : planes) {
    const int step = each.half == 1 ? made.step : made.halfStep;
    if (!calls->ok(nppiMulScale_8u_C1IR_Ctx(bytesOf(each.alpha), step, bytesOf(each.plane), step,
                                            {made.width / each.half, made.height / each.half}, streamCtx),
                   "nppiMulScale_8u_C1IR_Ctx"))
      return false;
  }
  return calls->ok(nppiNot_8u_C1IR_Ctx(bytesOf(made.clear), made.step, {made.width, made.height}, streamCtx),
                   "nppiNot_8u_C1IR_Ctx") &&
         calls->ok(nppiNot_8u_C1IR_Ctx(bytesOf(made.clearHalf), made.halfStep,
                                       {made.width / 2, made.height / 2}, streamCtx),
                   "nppiNot_8u_C1IR_Ctx");
}

bool VideoImageProcessorCUDA::blend(const ImageInfo& frame, const PreparedOverlay& overlay) {
  const size_t x = frame.roi.x;
  const size_t y = frame.roi.y;
  const DevicePlanes planes = planesOf(frame);
  const size_t width = frame.roi.width & ~size_t{1};
  const size_t height = frame.roi.height & ~size_t{1};
  // The overlay's own size bounds what is read, the picture's what is written.
  if (width > static_cast<size_t>(overlay.width) || height > static_cast<size_t>(overlay.height) ||
      x + width > frame.width || y + height > frame.height || width == 0 || height == 0)
    return false;
  const size_t chroma = y / 2 * planes.layout.chromaStride() + x / 2;
  return calls->ok(
      ImageKernels::launch(ImageKernel::kDrawOverlay, streamCtx.hStream, asInt(width / 2), asInt(height / 2),
                           planes.y + y * frame.stride + x, planes.u + chroma, planes.v + chroma,
                           asInt(frame.stride), overlay.y.get(), overlay.u.get(), overlay.v.get(),
                           overlay.clear.get(), overlay.step, overlay.clearHalf.get(), overlay.halfStep,
                           asInt(width / 2), asInt(height / 2)),
      "cuLaunchKernel[qvs_draw_overlay]");
}

ImageInfo VideoImageProcessorCUDA::convertNV12toYUV420(const ImageInfo& source, bool useAsync) {
  if (source.fourCC != kFourCCNV12) return {};
  ImageInfo target = allocateYUV420Image(source.width, source.height, source.stride, useAsync);
  if (!target.data) return target;
  const uint8_t* luma = bytesOf(source);
  const int step = asInt(source.stride);
  const bool queued = unpackNV12(luma, luma + source.height * source.stride, {step, step}, planesOf(target),
                                 sizeOf(source), false);
  return queued ? std::move(target) : ImageInfo();
}

bool VideoImageProcessorCUDA::unpackNV12(const uint8_t* luma, const uint8_t* chroma, PairsSteps steps,
                                         const DevicePlanes& to, NppiSize size, bool swapped) {
  const Npp8u* const source[2] = {luma, chroma};
  Npp8u* target[3] = {to.y, swapped ? to.v : to.u, swapped ? to.u : to.v};
  const int half = asInt(to.layout.chromaStride());
  int targetSteps[3] = {asInt(to.layout.stride), half, half};
  if (steps.luma == steps.chroma)
    return calls->ok(nppiNV12ToYUV420_8u_P2P3R_Ctx(source, steps.luma, target, targetSteps, size, streamCtx),
                     "nppiNV12ToYUV420_8u_P2P3R_Ctx");
  const NppiSize threads = halved(size);
  return calls->ok(
      ImageKernels::launch(ImageKernel::kNv12To420, streamCtx.hStream, threads.width, threads.height, luma,
                           chroma, steps.luma, steps.chroma, target[0], target[1], target[2], targetSteps[0],
                           half, half, size.width, size.height),
      "cuLaunchKernel[npp_nv12_to_420]");
}

bool VideoImageProcessorCUDA::packNV12(const DevicePlanes& from, uint8_t* luma, uint8_t* chroma,
                                       PairsSteps steps, NppiSize size, bool swapped) {
  const NppiSize threads = halved(size);
  return calls->ok(ImageKernels::launch(ImageKernel::kPlanarToNv12, streamCtx.hStream, threads.width,
                                        threads.height, from.y, swapped ? from.v : from.u,
                                        swapped ? from.u : from.v, asInt(from.layout.stride), luma, chroma,
                                        steps.luma, steps.chroma, size.width, size.height),
                   "cuLaunchKernel[qvs_planar_to_nv12]");
}

bool VideoImageProcessorCUDA::unpackBGRA(const uint8_t* from, int step, const DevicePlanes& to,
                                         NppiSize size) {
  Npp8u* target[3] = {to.y, to.u, to.v};
  const int half = asInt(to.layout.chromaStride());
  int steps[3] = {asInt(to.layout.stride), half, half};
  return calls->ok(nppiBGRToYUV420_8u_AC4P3R_Ctx(from, step, target, steps, size, streamCtx),
                   "nppiBGRToYUV420_8u_AC4P3R_Ctx");
}

bool VideoImageProcessorCUDA::packBGRA(const DevicePlanes& from, uint8_t* to, int step, NppiSize size) {
  return calls->ok(
      ImageKernels::launch(ImageKernel::kPlanarToBgra, streamCtx.hStream, size.width, size.height, from.y,
                           from.u, from.v, asInt(from.layout.stride), to, step, size.width, size.height),
      "cuLaunchKernel[qvs_planar_to_bgra]");
}

ImageInfo VideoImageProcessorCUDA::allocateYUV420Image(size_t width, size_t height, size_t stride,
                                                       bool useAsync) {
  ImageInfo image;
  const PlanarLayout layout{stride, height};
  const std::lock_guard hold(ctxLock);
  image.data = takeDeviceMemory(cudaCtx, layout.size(),
                                useAsync ? CudaMemoryKind::kPooled : CudaMemoryKind::kPlain, *calls);
  if (!image.data) return {};
  image.width = width;
  image.height = height;
  image.stride = stride;
  image.roi = {0, 0, width, height};
  image.loc = VideoBufferLocation::CUDA;
  image.fourCC = kFourCCI420;
  return image;
}

}  // namespace qvs
