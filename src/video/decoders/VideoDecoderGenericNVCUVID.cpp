// Decoding on an NVIDIA card: coded units in, pictures out, parameters.
#include "video/decoders/VideoDecoderGenericNVCUVID.h"

#include <array>
#include <cstring>
#include <mutex>

#include "contract/DecodeFlags.h"
#include "contract/FrameTypes.h"
#include "contract/ScaleIds.h"
#include "contract/StageIds.h"
#include "cuda_runtime_api.h"
#include "frames/geometry/ChromaOrder.h"
#include "frames/geometry/ChromaShape.h"
#include "frames/VideoFrameBuffer.h"
#include "log/ILogger.h"
#include "platform/ConcurrentLockFactory.h"
#include "platform/Guard.h"
#include "video/scaling/device/cuda/NVidiaCUDAContextManager.h"
#include "video/scaling/device/cuda/VideoImageProcessorCUDA.h"

namespace qvs {
namespace {

constexpr uint64_t kTimestampsPerMillisecond = 10000;
constexpr size_t kTimecodesKept = 100;
constexpr uint32_t kDelimiterLengthH264 = 6;
constexpr uint32_t kDelimiterLengthH265 = 7;
constexpr uint32_t kPictureReady = DecodeFlagPictureDone | DecodeFlagFrameAvailable;

using Frame = VideoDecoderGenericNVCUVIDFrameInfo;

/// One plane of a decoded picture, and where it goes.
struct PlaneCopy {
  size_t offset;  ///< bytes from the picture's start
  size_t pitch;   ///< bytes of its rows there
  size_t width;   ///< bytes
  size_t rows;
  uint32_t target;  ///< plane of the frame
};

std::array<PlaneCopy, 3> planesOf(const Frame& frame, size_t pass, ChromaOrder order) {
  const PlanarLayout layout = frame.layout(pass);
  const size_t width = frame.sizes.frameWidth;
  const size_t rows = chromaSide(layout.height);
  return {{{0, layout.stride, width, layout.height, 0},
           {layout.offsetU(), layout.chromaStride(), chromaSide(width), rows, order.u},
           {layout.offsetV(), layout.chromaStride(), chromaSide(width), rows, order.v}}};
}

}  // namespace

VideoDecoderGenericNVCUVID::VideoDecoderGenericNVCUVID()
    : typesLock(ConcurrentLockFactory::newConcurrentLock()),
      calls(std::make_shared<CudaCalls>("VideoDecoderGenericNVCUVID", kLogContextVideoDecoder)) {
  codec = kVideoCodecH264;
  int supported = 0;
  cudaDeviceGetAttribute(&supported, cudaDevAttrMemoryPoolsSupported, 0);
  isCudaDevAttrMemoryPoolsSupported = supported == 1;
  if (supported != 1) {
    getLogger()->info(kLogContextVideoDecoder, 0, "VideoDecoderGenericNVCUVID MemoryPools is not supported");
  }
}

VideoDecoderGenericNVCUVID::~VideoDecoderGenericNVCUVID() {
  VideoDecoderGenericNVCUVID::close();
}

uint32_t VideoDecoderGenericNVCUVID::setGPUID(int32_t value) {
  gpuid = value;
  return kSuccess;
}

// Units in.

uint32_t VideoDecoderGenericNVCUVID::decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return guarded("VideoDecoderGenericNVCUVID::decodeCodecConfig", [&]() -> uint32_t {
    if (buffer == nullptr || codec == kVideoCodecMPEG2) return kSuccess;
    const ParameterSets::View record{buffer + offset, len};
    ParameterSets read;
    if (codec == kVideoCodecH265) {
      read.readHevcRecord(record);
    } else if (read.readAvcRecord(record).field != nullptr) {
      parameterSets.nalUnitLen = read.nalUnitLen;
      return kSuccess;
    }
    parameterSets = std::move(read);
    return kSuccess;
  });
}

uint32_t VideoDecoderGenericNVCUVID::addFrame(uint8_t* buffer, uint32_t offset, uint32_t len,
                                              uint64_t timecode, uint32_t frameType) {
  return guarded("VideoDecoderGenericNVCUVID::addFrame", [&]() -> uint32_t {
    inputBuffer.clear();
    inputBufferTimecode = timecode;
    inputBufferFrameType = frameType;
    if (buffer == nullptr) return kSuccess;
    uint8_t* bytes = buffer + offset;
    if (codec != kVideoCodecMPEG2) return addUnits(bytes, len);
    inputBuffer.assign(bytes, bytes + len);
    return kSuccess;
  });
}

uint32_t VideoDecoderGenericNVCUVID::addUnits(uint8_t* bytes, uint32_t len) {
  const bool hevc = codec == kVideoCodecH265;
  const uint32_t type = inputBufferFrameType;
  ParameterSets& sets = parameterSets;
  NalSplices splices{headerBuffer.get(), {}, {}};
  if (hevc) {
    const Bytes& delimiter = type == kFrameTypeKey             ? aud265KFrame
                             : type == kFrameTypeBidirectional ? aud265BFrame
                                                               : aud265PFrame;
    splices.delimiter = {delimiter.get(), kDelimiterLengthH265};
    splices.sets = {spliced(sets.vpsFrame), spliced(sets.spsFrame), spliced(sets.ppsFrame)};
  } else {
    const Bytes& delimiter = type == kFrameTypeKey             ? audKFrame
                             : type == kFrameTypeBidirectional ? audBFrame
                                                               : audPFrame;
    splices.delimiter = {delimiter.get(), kDelimiterLengthH264};
    splices.sets = {spliced(sets.spsFrame), spliced(sets.ppsFrame)};
  }
  NalUnitSplicer& splicer = hevc ? splicerH265 : splicerH264;
  const uint32_t result =
      splicer.splice({bytes, len, sets.nalUnitLen, inputBufferTimecode, type}, splices, pieces);
  // What stands in front of a damaged length is no whole picture.
  if (result != kSuccess) pieces.clear();
  for (; !pieces.empty(); pieces.pop()) {
    const ByteBlock& piece = pieces.front();
    inputBuffer.insert(inputBuffer.end(), piece.buffer, piece.buffer + piece.len);
  }
  return result;
}

void VideoDecoderGenericNVCUVID::remember(uint64_t timecode, uint32_t frameType) {
  ScopedLock guard(*typesLock);
  timecodeToFrameType[timecode] = frameType;
  timecodesInMap.push_back(timecode);
  while (timecodesInMap.size() > kTimecodesKept) {
    timecodeToFrameType.erase(timecodesInMap.front());
    timecodesInMap.pop_front();
  }
}

uint32_t VideoDecoderGenericNVCUVID::frameTypeOf(uint64_t timecode) const {
  ScopedLock guard(*typesLock);
  const auto found = timecodeToFrameType.find(timecode);
  return found != timecodeToFrameType.end() ? found->second : kFrameTypePredicted;
}

uint32_t VideoDecoderGenericNVCUVID::decode(uint32_t* flags) {
  return guarded("VideoDecoderGenericNVCUVID::decode", [&]() -> uint32_t {
    *flags = DecodeFlagInputDone;
    if (hasShown) frames.recycle(shown);
    hasShown = false;
    const bool usable = m_Context && m_Parser != nullptr && !isLost();
    if (usable && !inputBuffer.empty()) {
      ended = false;
      remember(inputBufferTimecode, inputBufferFrameType);
      parse(CUVID_PKT_TIMESTAMP, flags);
    } else if (usable && endOfStream != 0 && !ended) {
      ended = true;
      parse(CUVID_PKT_ENDOFSTREAM, flags);
    }
    inputBuffer.clear();
    if (!frames.isEmpty()) {
      *flags |= kPictureReady;
    } else if (ended) {
      *flags |= DecodeFlagFlushed;
    }
    return refused || (m_Context && isLost()) ? kFailure : kSuccess;
  });
}

void VideoDecoderGenericNVCUVID::parse(uint32_t packetFlags, uint32_t* flags) {
  CUVIDSOURCEDATAPACKET packet{};
  packet.flags = packetFlags;
  packet.timestamp = static_cast<CUvideotimestamp>(inputBufferTimecode * kTimestampsPerMillisecond);
  packet.payload = inputBuffer.data();
  packet.payload_size = inputBuffer.size();
  pictureFailed = false;
  const std::lock_guard scope(ctxLock);
  const bool parsed = calls->ok(cuvidParseVideoData(m_Parser, &packet), "cuvidParseVideoData");
  if (!parsed || pictureFailed) *flags |= DecodeFlagAborted;
}

bool VideoDecoderGenericNVCUVID::isLost() const {
  return NVidiaCUDAContextManager::getInstance()->isLost(m_ContextDeviceId);
}

// Pictures out.

uint32_t VideoDecoderGenericNVCUVID::getDecodedFrameSize(uint32_t* frameWidthOut, uint32_t* frameHeightOut,
                                                         uint32_t* displayWidthOut,
                                                         uint32_t* displayHeightOut) {
  NvcuvidSizes sizes{displayWidth, displayHeight, frameWidth, frameHeight, 0, 0};
  if (hasShown) {
    sizes = shown.sizes;
  } else {
    frames.nextSizes(sizes);
  }
  *frameWidthOut = sizes.frameWidth;
  *frameHeightOut = sizes.frameHeight;
  *displayWidthOut = sizes.displayWidth;
  *displayHeightOut = sizes.displayHeight;
  return kSuccess;
}

uint32_t VideoDecoderGenericNVCUVID::getDecodedFrame(VideoFrameBuffer& target) {
  return guarded("VideoDecoderGenericNVCUVID::getDecodedFrame", [&]() -> uint32_t {
    const bool second = hasShown;
    if (!m_Context || (!second && !frames.pop(shown))) {
      black(target);
      return kSuccess;
    }
    const CUVIDPARSERDISPINFO& info = shown.frameParams;
    decodedFrameTimecode = static_cast<uint64_t>(info.timestamp) / kTimestampsPerMillisecond;
    decodedFrameType = frameTypeOf(decodedFrameTimecode);
    decodedFrameFlags = 0;
    if (deinterlace == 0 && info.progressive_frame == 0) {
      decodedFrameFlags = kFrameFlagInterlaced;
      if (info.top_field_first == 0) decodedFrameFlags |= kFrameFlagBottomFieldFirst;
    }
    target.setFrameType(decodedFrameType);
    target.setTimecode(decodedFrameTimecode);
    target.setDisplayWidth(static_cast<int32_t>(shown.sizes.displayWidth));
    target.setDisplayHeight(static_cast<int32_t>(shown.sizes.displayHeight));
    target.setFlags(decodedFrameFlags);
    const std::lock_guard scope(ctxLock);
    bool copied = false;
    const size_t passes = shown.passes();
    if (deinterlaceDoubleRate != 0) {
      // Each of the first two passes is a picture of its own.
      copied = deliver(shown, second && passes > 1 ? 1 : 0, target);
    } else {
      // The last pass stays.
      for (size_t pass = 0; pass < passes; ++pass) copied = deliver(shown, pass, target) || copied;
    }
    hasShown = deinterlaceDoubleRate != 0 && !second;
    if (!hasShown) frames.recycle(shown);
    if (!copied) black(target);
    return kSuccess;
  });
}

bool VideoDecoderGenericNVCUVID::deliver(const Frame& frame, size_t pass, VideoFrameBuffer& target) {
  const bool fits =
      target.getWidth() == frame.sizes.frameWidth && target.getHeight() == frame.sizes.frameHeight;
  if (!frame.tmpFrame[pass].buffer || !fits) return false;
  switch (target.getScaleImplementation()) {
    case kScaleCUDA:
      return copyToDevice(frame, pass, target);
    case kScaleCPU:
    case kScaleOpenCL:
      return copyToHost(frame, pass, target);
    default:
      return false;
  }
}

bool VideoDecoderGenericNVCUVID::copyToDevice(const Frame& frame, size_t pass, VideoFrameBuffer& target) {
  const DevicePicture* picture = target.getDevicePicture();
  if (picture == nullptr || !picture->hasStorage()) return false;
  const PluginVideoFrameBufferCUDA record = picture->pluginRecord();
  const PlanarLayout layout{record.stride, record.height};
  const CUdeviceptr to = devicePointer(record.buffer);
  const CUdeviceptr targets[] = {to, to + layout.offsetU(), to + layout.offsetV()};
  // On the device U goes before V whatever the label.
  for (const PlaneCopy& plane : planesOf(frame, pass, {1, 2})) {
    CUDA_MEMCPY2D copy{};
    copy.srcMemoryType = copy.dstMemoryType = CU_MEMORYTYPE_DEVICE;
    copy.srcDevice = devicePointer(frame.tmpFrame[pass].buffer.get()) + plane.offset;
    copy.srcPitch = plane.pitch;
    copy.dstDevice = targets[plane.target];
    copy.dstPitch = plane.target == 0 ? layout.stride : layout.chromaStride();
    copy.WidthInBytes = plane.width;
    copy.Height = plane.rows;
    if (!calls->ok(cuMemcpy2DAsync(&copy, m_GetFrameSID.get()), "cuMemcpy2DAsync")) return false;
  }
  if (!calls->ok(cuStreamSynchronize(m_GetFrameSID.get()), "cuStreamSynchronize")) return false;
  target.setLocations(VideoFrameBuffer::CUDA);
  return true;
}

bool VideoDecoderGenericNVCUVID::copyToHost(const Frame& frame, size_t pass, VideoFrameBuffer& target) {
  const ChromaShape* shape = findChromaShape(target.getFourCC());
  const bool planar = shape != nullptr && shape->halfHeight && shape->bytes == 1;
  const VideoDecoderGenericNVCUVIDDevicePtrHolder& memory = frame.tmpFrame[pass];
  if (!planar || target.getPlane(2) == nullptr || !growStaging(memory.size)) return false;
  const CUresult code = cuMemcpyDtoH(decodedFrameBuffer, devicePointer(memory.buffer.get()), memory.size);
  if (!calls->ok(code, "cuMemcpyDtoH")) return false;
  for (const PlaneCopy& plane : planesOf(frame, pass, chromaOrder(target.getFourCC()))) {
    const uint8_t* from = decodedFrameBuffer + plane.offset;
    uint8_t* to = target.getPlane(plane.target);
    for (size_t row = 0; row < plane.rows; ++row) {
      std::memcpy(to, from, plane.width);
      from += plane.pitch;
      to += target.getStride(plane.target);
    }
  }
  target.setLocations(VideoFrameBuffer::systemMem);
  return true;
}

bool VideoDecoderGenericNVCUVID::growStaging(size_t size) {
  if (decodedFrameBufferSize >= size) return true;
  if (decodedFrameBuffer != nullptr) cuMemFreeHost(decodedFrameBuffer);
  decodedFrameBuffer = nullptr;
  decodedFrameBufferSize = 0;
  void* memory = nullptr;
  if (!calls->ok(cuMemAllocHost(&memory, size), "cuMemAllocHost")) return false;
  decodedFrameBuffer = static_cast<uint8_t*>(memory);
  decodedFrameBufferSize = size;
  return true;
}

// Where the frames' pool is a device's, what is painted lies there.
void VideoDecoderGenericNVCUVID::black(VideoFrameBuffer& target) {
  const DevicePicture* picture = target.getDevicePicture();
  const bool onDevice =
      target.getScaleImplementation() == kScaleCUDA && picture != nullptr && picture->hasStorage();
  target.setLocations(onDevice ? VideoFrameBuffer::CUDA : VideoFrameBuffer::systemMem);
  target.blackFill();
}

const ParameterRow<VideoDecoderGenericNVCUVID>* VideoDecoderGenericNVCUVID::parameterOf(uint32_t key) {
  using This = VideoDecoderGenericNVCUVID;
  static constexpr ParameterRow<This> kRows[] = {
      parameterField<This, &This::deinterlace>(kKeyDeinterlace),
      parameterField<This, &This::deinterlaceDoubleRate>(kKeyDeinterlaceDoubleRate),
      parameterField<This, &This::numDecodeSurfaces>(kKeyNumDecodeSurfaces),
      parameterField<This, &This::maxNumDecodeSurfaces>(kKeyMaxNumDecodeSurfaces),
      parameterField<This, &This::maxDisplayDelay>(kKeyMaxDisplayDelay),
      parameterField<This, &This::numOutputSurfaces>(kKeyNumOutputSurfaces),
      parameterField<This, &This::deinterlaceMode>(kKeyDeinterlaceMode),
      parameterField<This, &This::endOfStream>(kKeyEndOfStream),
  };
  return findParameter(kRows, key);
}

}  // namespace qvs
