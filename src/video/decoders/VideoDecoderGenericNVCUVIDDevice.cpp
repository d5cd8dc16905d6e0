// Decoding on an NVIDIA card: bringing the device up and down, and what the parser calls back with.
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <mutex>

#include "contract/StageIds.h"
#include "cudawrapper.h"
#include "log/ILogger.h"
#include "platform/Guard.h"
#include "video/decoders/VideoDecoderGenericNVCUVID.h"
#include "video/scaling/device/cuda/CudaBringUp.h"
#include "video/scaling/device/cuda/NVidiaCUDAContextManager.h"
#include "video/scaling/device/cuda/VideoImageProcessorCUDA.h"

namespace qvs {
namespace {

// What the base class's hardware access asks for, where it does.
constexpr uint32_t kAccessCuda = 3, kAccessNvcuvid = 4;
constexpr unsigned kOldestCapability = 47;  ///< cards beyond it have the decoder

constexpr const char* modeText(uint32_t mode) {
  return mode == cudaVideoCreate_PreferCUVID  ? "NVCUVID[NVDEC]"
         : mode == cudaVideoCreate_PreferDXVA ? "DXVA"
                                              : "DEFAULT";
}

}  // namespace

uint32_t VideoDecoderGenericNVCUVID::initialize() {
  return guarded("VideoDecoderGenericNVCUVID::initialize", [&] {
    close();
    const uint32_t result = initCuda(std::max(gpuid, 0));
    return m_Context ? createParser() : result;
  });
}

uint32_t VideoDecoderGenericNVCUVID::close() {
  return guarded("VideoDecoderGenericNVCUVID::close", [&] {
    inputBuffer.clear();
    destroyDecoder();
    destroyParser();
    closeCuda();
    return kSuccess;
  });
}

uint32_t VideoDecoderGenericNVCUVID::initCuda(int32_t ordinal) {
  const CudaBringUp bringUp(kCudaUserNvcuvid, getLogger());
  uint32_t result = bringUp.openDevice(ordinal, &m_Device);
  if (result != kSuccess) return result;
  int major = 0, minor = 0;
  const CUresult code = cuDeviceComputeCapability(&major, &minor, m_Device);
  if (code != CUDA_SUCCESS) return bringUp.failed(CudaStep::kCapability, code);
  const bool hasDecoder =
      (static_cast<unsigned>(major) << 4) + static_cast<unsigned>(minor) > kOldestCapability;
  if (!hasDecoder || cudaWrapperHasNvcuvid() == 0) return bringUp.failed(CudaStep::kAvailability);
  m_ContextDeviceId = static_cast<uint32_t>(ordinal);
  result = bringUp.openContext(m_Device, ordinal, &m_Context);
  if (result != kSuccess) return result;
  ctxLock = cudaCtxLock(m_Context.get());
  calls->attach(getLogger(), m_Context.get());
  parserCalls.setLogger(getLogger());
  result = bringUp.openStream(m_Context, &m_ReadbackSID, CudaStep::kStream);
  if (result == kSuccess) result = bringUp.openStream(m_Context, &m_GetFrameSID, CudaStep::kSecondStream);
  if (result == kSuccess) {
    const std::lock_guard scope(ctxLock);
    imageProcessor =
        std::make_unique<VideoImageProcessorCUDA>(m_Context, m_ReadbackSID.get(), ordinal, calls);
  } else {
    closeCuda();
  }
  return result;
}

void VideoDecoderGenericNVCUVID::closeCuda() {
  if (!m_Context) return;
  {
    const std::lock_guard scope(ctxLock);
    shown = {};
    hasShown = false;
    frames.clear();
    imageProcessor.reset();
    if (decodedFrameBuffer != nullptr) cuMemFreeHost(decodedFrameBuffer);
    decodedFrameBuffer = nullptr;
    decodedFrameBufferSize = 0;
    m_ReadbackSID.reset();
    m_GetFrameSID.reset();
  }
  ctxLock = cudaCtxLock();
  calls->attach(logger, nullptr);
  m_Context.reset();
  seq = {};
  seqChromaFormat = -1;
  refused = ended = false;
}

uint32_t VideoDecoderGenericNVCUVID::createParser() {
  CUVIDPARSERPARAMS parameters{};
  parameters.CodecType = codec == kVideoCodecMPEG2  ? cudaVideoCodec_MPEG2
                         : codec == kVideoCodecH265 ? cudaVideoCodec_HEVC
                                                    : cudaVideoCodec_H264;
  parameters.ulMaxNumDecodeSurfaces = static_cast<unsigned>(std::max(maxNumDecodeSurfaces, 1));
  parameters.ulMaxDisplayDelay = static_cast<unsigned>(std::max(maxDisplayDelay, 0));
  parameters.pUserData = this;
  static constexpr const char* kLabel = "VideoDecoderGenericNVCUVID::parserCallback";
  // The parser is C: nothing is thrown through it.
  parameters.pfnSequenceCallback = [](void* user, CUVIDEOFORMAT* format) {
    return guarded(
        kLabel, [&] { return static_cast<VideoDecoderGenericNVCUVID*>(user)->handleVideoSequence(*format); },
        0);
  };
  parameters.pfnDecodePicture = [](void* user, CUVIDPICPARAMS* picture) {
    return guarded(
        kLabel, [&] { return static_cast<VideoDecoderGenericNVCUVID*>(user)->handlePictureDecode(*picture); },
        0);
  };
  parameters.pfnDisplayPicture = [](void* user, CUVIDPARSERDISPINFO* info) {
    // Some parsers tell the stream's end so.
    if (info == nullptr) return 1;
    return guarded(
        kLabel, [&] { return static_cast<VideoDecoderGenericNVCUVID*>(user)->handlePictureDisplay(*info); },
        0);
  };
  const std::lock_guard scope(ctxLock);
  const CUresult code = cuvidCreateVideoParser(&m_Parser, &parameters);
  if (code == CUDA_SUCCESS) return kSuccess;
  m_Parser = nullptr;
  getLogger()->warn(
      kLogContextVideoDecoder, 0,
      fmt::format(
          "VideoDecoderGenericNVCUVID.createParser[{{context}}]: cuvidCreateVideoParser: Failure result:{}",
          static_cast<int>(code)));
  return kFailure;
}

void VideoDecoderGenericNVCUVID::destroyParser() {
  if (m_Parser == nullptr) return;
  const std::lock_guard scope(ctxLock);
  calls->ok(cuvidDestroyVideoParser(m_Parser), "cuvidDestroyVideoParser");
  m_Parser = nullptr;
}

int VideoDecoderGenericNVCUVID::handleVideoSequence(const CUVIDEOFORMAT& format) {
  seqFrameRate = format.frame_rate.numerator != 0 && format.frame_rate.denominator != 0
                     ? static_cast<double>(format.frame_rate.numerator) / format.frame_rate.denominator
                     : 0;
  NvcuvidSizes sizes;
  sizes.codedWidth = format.coded_width;
  sizes.codedHeight = format.coded_height;
  const auto& area = format.display_area;
  const bool hasArea = area.right > area.left && area.bottom > area.top;
  sizes.frameWidth = hasArea ? static_cast<uint32_t>(area.right - area.left) : format.coded_width;
  sizes.frameHeight = hasArea ? static_cast<uint32_t>(area.bottom - area.top) : format.coded_height;
  sizes.displayWidth = sizes.frameWidth;
  sizes.displayHeight = sizes.frameHeight;
  const auto& aspect = format.display_aspect_ratio;
  if (aspect.x > 0 && aspect.y > 0) {
    const int64_t wanted = int64_t{aspect.x} * sizes.frameHeight / aspect.y;
    // Ratios are rounded: a pixel is no difference.
    if (std::abs(wanted - int64_t{sizes.frameWidth}) > 1) sizes.displayWidth = static_cast<uint32_t>(wanted);
  }
  const bool changed = seqChromaFormat != static_cast<int32_t>(format.chroma_format) || !(sizes == seq);
  seqChromaFormat = static_cast<int32_t>(format.chroma_format);
  seq = sizes;
  seqChange = changed ? 1 : seqChange;
  setFrameWidth(seq.frameWidth);
  setFrameHeight(seq.frameHeight);
  setDisplayWidth(seq.displayWidth);
  setDisplayHeight(seq.displayHeight);
  setFrameRate(seqFrameRate);
  if (changed) {
    getLogger()->info(
        kLogContextVideoDecoder, 0,
        fmt::format("VideoDecoderGenericNVCUVID.handleVideoSequence[{{context}}]:  aspect:{}x{} frameRate:{} "
                    "frame:{}x{} display:{}x{} coded:{}x{}",
                    aspect.x, aspect.y, seqFrameRate, seq.frameWidth, seq.frameHeight, seq.displayWidth,
                    seq.displayHeight, seq.codedWidth, seq.codedHeight));
  }
  // A stream may ask for more surfaces than were thought of; the parser is told by any answer above 1.
  const int surfaces = std::max(numDecodeSurfaces, int{format.min_num_decode_surfaces});
  const int answer = surfaces > maxNumDecodeSurfaces ? surfaces : 1;
  if (m_Decoder != nullptr && !changed) return answer;
  destroyDecoder();
  createDecoder(format);
  return answer;
}

// The card crops to the display area, so that a mapped surface is the picture and nothing else.
uint32_t VideoDecoderGenericNVCUVID::createDecoder(const CUVIDEOFORMAT& format) {
  if (implementation == kAccessCuda) hardwareMode = cudaVideoCreate_PreferCUDA;
  if (implementation == kAccessNvcuvid) hardwareMode = cudaVideoCreate_PreferCUVID;
  const auto even = [](uint32_t side) { return (side + 1) & ~1u; };
  targetHeight = even(seq.frameHeight);
  CUVIDDECODECREATEINFO info{};
  info.CodecType = format.codec;
  info.ulWidth = seq.codedWidth;
  info.ulHeight = seq.codedHeight;
  info.ulTargetWidth = even(seq.frameWidth);
  info.ulTargetHeight = targetHeight;
  const bool hasArea = format.display_area.right > format.display_area.left &&
                       format.display_area.bottom > format.display_area.top;
  const int left = hasArea ? format.display_area.left : 0;
  const int top = hasArea ? format.display_area.top : 0;
  info.display_area.left = static_cast<short>(left);
  info.display_area.top = static_cast<short>(top);
  info.display_area.right = static_cast<short>(left + static_cast<int>(info.ulTargetWidth));
  info.display_area.bottom = static_cast<short>(top + static_cast<int>(info.ulTargetHeight));
  info.ulNumDecodeSurfaces =
      static_cast<unsigned>(std::max(numDecodeSurfaces, int{format.min_num_decode_surfaces}));
  info.ChromaFormat = format.chroma_format;
  info.OutputFormat = cudaVideoSurfaceFormat_NV12;
  info.bitDepthMinus8 = format.bit_depth_luma_minus8;
  const auto mode =
      static_cast<uint32_t>(deinterlace != 0 ? deinterlaceMode : cudaVideoDeinterlaceMode_Weave);
  info.DeinterlaceMode = static_cast<cudaVideoDeinterlaceMode>(std::min(mode, 2u));
  info.ulNumOutputSurfaces = static_cast<unsigned>(std::max(numOutputSurfaces, 1));
  info.ulCreationFlags = hardwareMode;
  const CUresult code = cuvidCreateDecoder(&m_Decoder, &info);
  refused = code != CUDA_SUCCESS;
  constexpr const char* kHead = "VideoDecoderGenericNVCUVID.createDecoder[{context}]: cuvidCreateDecoder";
  if (!refused) {
    getLogger()->info(kLogContextVideoDecoder, 0,
                      fmt::format("{} successful: hardwareMode:{}", kHead, modeText(hardwareMode)));
    return kSuccess;
  }
  m_Decoder = nullptr;
  NVidiaCUDAContextManager::getInstance()->noteResult(m_Context.get(), code);
  getLogger()->error(kLogContextVideoDecoder, 0,
                     fmt::format("{}: Failure result:{}", kHead, static_cast<int>(code)));
  return kFailure;
}

void VideoDecoderGenericNVCUVID::destroyDecoder() {
  if (m_Decoder == nullptr) return;
  const std::lock_guard scope(ctxLock);
  calls->ok(cuvidDestroyDecoder(m_Decoder), "cuvidDestroyDecoder");
  m_Decoder = nullptr;
}

int VideoDecoderGenericNVCUVID::handlePictureDecode(CUVIDPICPARAMS& picture) {
  if (!m_Context || m_Decoder == nullptr) return 0;
  const CUresult code = cuvidDecodePicture(m_Decoder, &picture);
  if (code == CUDA_SUCCESS) return 1;
  pictureFailed = true;
  NVidiaCUDAContextManager::getInstance()->noteResult(m_Context.get(), code);
  std::printf("handlePictureDecode: cuvidDecodePicture failed: %d\n", static_cast<int>(code));
  return 1;
}

int VideoDecoderGenericNVCUVID::handlePictureDisplay(const CUVIDPARSERDISPINFO& info) {
  VideoDecoderGenericNVCUVIDFrameInfo frame;
  frame.frameParams = info;
  frame.sizes = seq;
  for (size_t pass = 0; pass < frame.passes(); ++pass) takePass(frame, pass);
  frames.push(std::move(frame));
  return 1;
}

// The surface is the decoder's: it is held for as long as the conversion takes.
void VideoDecoderGenericNVCUVID::takePass(VideoDecoderGenericNVCUVIDFrameInfo& frame, size_t pass) {
  CUVIDPROCPARAMS parameters{};
  parameters.progressive_frame = frame.frameParams.progressive_frame;
  parameters.second_field = static_cast<int>(pass);
  parameters.top_field_first = frame.frameParams.top_field_first;
  parameters.unpaired_field = frame.passes() == 1;
  parameters.output_stream = m_ReadbackSID.get();
  unsigned long long mapped = 0;
  unsigned pitch = 0;
  const CUresult code =
      cuvidMapVideoFrame64(m_Decoder, frame.frameParams.picture_index, &mapped, &pitch, &parameters);
  if (!calls->ok(code, "cuvidMapVideoFrame64")) return;
  if (!convert(frame, pass, mapped, pitch)) frame.tmpFrame[pass] = {};
  calls->ok(cuvidUnmapVideoFrame64(m_Decoder, mapped), "cuvidUnmapVideoFrame64");
}

bool VideoDecoderGenericNVCUVID::convert(VideoDecoderGenericNVCUVIDFrameInfo& frame, size_t pass,
                                         CUdeviceptr mapped, uint32_t pitch) {
  frame.decodedFramePitch[pass] = pitch;
  VideoDecoderGenericNVCUVIDDevicePtrHolder& memory = frame.tmpFrame[pass];
  const PlanarLayout layout = frame.layout(pass);
  memory.size = layout.size();
  memory.buffer = frames.getRecycledFrame(memory.size);
  if (!memory.buffer) {
    const CudaMemoryKind kind =
        isCudaDevAttrMemoryPoolsSupported ? CudaMemoryKind::kPooled : CudaMemoryKind::kPlain;
    memory.buffer = takeDeviceMemory(m_Context, memory.size, kind, *calls);
  }
  if (!memory.buffer) return false;
  const auto* luma = reinterpret_cast<const uint8_t*>(mapped);
  const int step = static_cast<int>(pitch);
  const NppiSize size{static_cast<int>(frame.sizes.frameWidth), static_cast<int>(frame.sizes.frameHeight)};
  const bool queued = imageProcessor->unpackNV12(luma, luma + size_t{pitch} * targetHeight, {step, step},
                                                 DevicePlanes(memory.buffer.get(), layout), size, false);
  return calls->ok(cuStreamSynchronize(m_ReadbackSID.get()), "cuStreamSynchronize") && queued;
}

}  // namespace qvs
