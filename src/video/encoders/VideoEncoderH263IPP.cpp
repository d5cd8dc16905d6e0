// H.263 out: settings by key, pictures into the framework's records, coded pictures out of them.
#include "video/encoders/VideoEncoderH263IPP.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "contract/FrameTypes.h"
#include "contract/ParameterType.h"
#include "contract/StageIds.h"
#include "frames/geometry/ChromaOrder.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr uint32_t kSideUnit = 4;
constexpr uint32_t kSideLimit = 8192;
constexpr uint32_t kFirstKey = 60000;
constexpr int32_t kBitDepth = 8;

using Param = h263e_Param;
/// By key, from kFirstKey on.
constexpr Ipp32s Param::*kKeys[] = {
    &Param::quantIPic,        &Param::quantPPic,   &Param::quantBPic,
    &Param::IPicdist,         &Param::PPicdist,    &Param::PPicsearchWidth,
    &Param::PPicsearchHeight, &Param::MEalgorithm, &Param::MEaccuracy,
    &Param::advPred,          &Param::deblockFilt, &Param::calcPSNR,
    &Param::advIntra,         &Param::UMV,         &Param::modQuant,
    &Param::RateControl,      &Param::BitRate,     &Param::SceneChangeThreshold,
    &Param::FrameSkip,        &Param::GOBheaders,  &Param::PAR_width,
    &Param::PAR_height};

}  // namespace

VideoEncoderH263IPP::VideoEncoderH263IPP()
    : pCodec(std::make_unique<UMC::H263VideoEncoder>()),
      pEncoderParams(std::make_unique<UMC::H263EncoderParams>()) {
  codec = kVideoCodecH263;
}

VideoEncoderH263IPP::~VideoEncoderH263IPP() {
  guarded("VideoEncoderH263IPP::destructor", [&] {
    if (const double psnr = pCodec->GetPSNR(); psnr > 0) {
      getLogger()->info(
          kLogContextVideoEncoder, static_cast<int>(sessionIndex),
          fmt::format("VideoEncoderH263IPP.close[{{context}}]: mean PSNR of luma: {:.2f} dB", psnr));
    }
  });
}

void VideoEncoderH263IPP::warn(const char* operation, const char* text, int64_t number) const {
  getLogger()->warn(kLogContextVideoEncoder, static_cast<int>(sessionIndex),
                    fmt::format("VideoEncoderH263IPP.{}[{{context}}]: {}: {}", operation, text, number));
}

uint32_t VideoEncoderH263IPP::setDefaults(int32_t, int32_t) {
  UMC::VideoInfo defaults;
  defaults.color_format = UMC::YUV420;
  defaults.framerate = 30.0;
  pEncoderParams->info = defaults;
  return kSuccess;
}

uint32_t VideoEncoderH263IPP::setFrameSize(uint32_t width, uint32_t height) {
  return guarded("VideoEncoderH263IPP::setFrameSize", [&]() -> uint32_t {
    constexpr auto kMost = static_cast<uint32_t>(std::numeric_limits<Ipp32s>::max());
    pEncoderParams->info.width = static_cast<Ipp32s>(std::min(width, kMost));
    pEncoderParams->info.height = static_cast<Ipp32s>(std::min(height, kMost));
    const auto refuse = [&](const char* text, uint32_t side) {
      warn("setFrameSize", text, side);
      return kFailure;
    };
    if (width % kSideUnit != 0 || height % kSideUnit != 0) {
      return refuse("Frame width and height must be evenly divisible by 4",
                    width % kSideUnit != 0 ? width : height);
    }
    if (width >= kSideLimit || height >= kSideLimit) {
      return refuse("Frame width and height must be less than 8192", std::max(width, height));
    }
    return kSuccess;
  });
}

uint32_t VideoEncoderH263IPP::setFrameRate(double frameRate) {
  pEncoderParams->info.framerate = frameRate;
  timePerFrame = frameRate > 0.001 ? static_cast<uint64_t>(std::ceil(0.5 + 10000.0 / frameRate)) : 0;
  return kSuccess;
}

uint32_t VideoEncoderH263IPP::setBitrate(uint32_t bitrate) {
  pEncoderParams->info.bitrate = bitrate;
  return kSuccess;
}

uint32_t VideoEncoderH263IPP::setKeyFrameFollow(uint8_t) {
  isKeyFrameFollow = 1;
  return kSuccess;
}

uint32_t VideoEncoderH263IPP::initialize() {
  return guarded("VideoEncoderH263IPP::initialize", [&]() -> uint32_t {
    h263e_Param& param = pEncoderParams->m_Param;
    param.Width = pEncoderParams->info.width;
    param.Height = pEncoderParams->info.height;
    initIn = 1;
    if (const UMC::Status failed = pCodec->Init(pEncoderParams.get()); failed != UMC::UMC_OK) {
      warn("initialize", "CODEC initialization failed", failed);
      return kFailure;
    }
    if (const std::string& idle = pCodec->GetIdleSettings(); !idle.empty()) {
      getLogger()->warn(kLogContextVideoEncoder, static_cast<int>(sessionIndex),
                        "VideoEncoderH263IPP.initialize[{context}]: these settings do nothing here: " + idle);
    }
    return kSuccess;
  });
}

uint32_t VideoEncoderH263IPP::addFrame(VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode) {
  return guarded("VideoEncoderH263IPP::addFrame", [&]() -> uint32_t {
    if (!pCodec) return kFailure;
    frame.transferToSystemMemory();
    const uint32_t type = frameType != 0 ? frameType : frame.getFrameType();
    if ((initIn != 0 && !initInput(frame)) || !takePlanes(frame)) return kFailure;
    const bool key = isKeyFrameFollow != 0 && type == kFrameTypeKey;
    in.SetFrameType(key ? UMC::I_PICTURE : UMC::P_PICTURE);
    in.SetTime(static_cast<double>(timecode));
    const UMC::Status status = pCodec->GetFrame(&in, &out);
    if (status == UMC::UMC_OK) return collect();
    if (status == UMC::UMC_ERR_NOT_ENOUGH_DATA) return kSuccess;  // the rate control left the picture out
    if (std::has_single_bit(++failures)) warn("addFrame", "The picture could not be encoded", status);
    return kFailure;
  });
}

bool VideoEncoderH263IPP::initInput(const VideoFrameBuffer& frame) {
  const bool done = in.Init(static_cast<Ipp32s>(frame.getWidth()), static_cast<Ipp32s>(frame.getHeight()),
                            pEncoderParams->info.color_format, kBitDepth);
  if (!done) warn("initialize", "Input buffer initialization failed", UMC::UMC_ERR_INVALID_PARAMS);
  initIn = done ? 0 : 1;
  return done;
}

// The frame's planes are Y, V, U for "YV12"; the encoder wants Y, U, V.
bool VideoEncoderH263IPP::takePlanes(const VideoFrameBuffer& frame) {
  const uint32_t format = frame.getFourCC();
  const bool planar = format == kFourCCYV12 || format == kFourCCI420 || format == kFourCCIYUV;
  const bool sized = static_cast<Ipp32s>(frame.getWidth()) == in.GetWidth() &&
                     static_cast<Ipp32s>(frame.getHeight()) == in.GetHeight();
  if (!planar || !sized || frame.getPlane(2) == nullptr) {
    if (std::has_single_bit(++failures)) warn("addFrame", "A picture of another size or format", format);
    return false;
  }
  const ChromaOrder order = chromaOrder(format);
  const uint32_t planes[] = {0, static_cast<uint32_t>(order.u), static_cast<uint32_t>(order.v)};
  for (Ipp32s i = 0; i < 3; ++i) {
    in.SetPlanePointer(frame.getPlane(planes[i]), i);
    in.SetPlanePitch(frame.getStride(planes[i]), i);
  }
  return true;
}

uint32_t VideoEncoderH263IPP::collect() {
  const size_t size = out.GetDataSize();
  if (size == 0) return kSuccess;
  auto* bytes = static_cast<uint8_t*>(std::malloc(size));
  if (bytes == nullptr) return kFailure;
  std::copy_n(out.GetDataPointer(), size, bytes);
  const uint32_t type = pCodec->GetFrameType() == UMC::I_PICTURE ? kFrameTypeKey : kFrameTypePredicted;
  frames.list().emplace_back(bytes, static_cast<uint32_t>(size), static_cast<uint64_t>(out.GetTime()), 0,
                             type, true);
  out.Reset();
  ++frameCount;
  return kSuccess;
}

uint32_t VideoEncoderH263IPP::getEncodedFrames(std::vector<VideoFrameEncoded>& taken) {
  return guarded("VideoEncoderH263IPP::getEncodedFrames", [&] {
    taken.insert(taken.end(), frames.begin(), frames.end());
    frames.list().clear();  // the bytes are the caller's now
    return kSuccess;
  });
}

Ipp32s* VideoEncoderH263IPP::field(uint32_t key) {
  const uint32_t index = key - kFirstKey;
  return key >= kFirstKey && index < std::size(kKeys) ? &(pEncoderParams->m_Param.*kKeys[index]) : nullptr;
}

uint32_t VideoEncoderH263IPP::setParameterValue(uint32_t key, int64_t value) {
  constexpr int64_t kMost = std::numeric_limits<Ipp32s>::max();
  if (Ipp32s* setting = field(key)) *setting = static_cast<Ipp32s>(std::clamp(value, -kMost, kMost));
  return kSuccess;
}

uint32_t VideoEncoderH263IPP::getParameterValueType(uint32_t key, uint32_t* arrayLength) {
  if (arrayLength != nullptr) *arrayLength = 0;
  return field(key) != nullptr ? kParameterLong : kParameterUnknown;
}

uint32_t VideoEncoderH263IPP::getParameterValue(uint32_t key, int64_t* value) {
  const Ipp32s* setting = field(key);
  if (setting != nullptr && value != nullptr) *value = *setting;
  return kSuccess;
}

}  // namespace qvs
