// Off-line work on an NVIDIA card.
#include "NvidiaRoad.h"

#include "CodedFrames.h"
#include "contract/DecodeFlags.h"
#include "contract/ScaleIds.h"
#include "contract/StageIds.h"
#include "frames/geometry/FourCC.h"

namespace qvs::nvenc {
namespace {

constexpr uint32_t kReady = DecodeFlagFrameAvailable;

VideoFrameBuffer* openPool(VideoFrameBufferSet& pool, int32_t gpu) {
  pool.setScaleImplementation(kScaleCUDA);
  pool.setCUDADeviceId(gpu);
  pool.initialize(1);
  return pool.getScaleSetDataCUDA().m_Context ? pool.getVideoFrameBuffer(0) : nullptr;
}

}  // namespace

NvidiaRoad::NvidiaRoad() {
  decoder.setCodec(kVideoCodecH264);
}

int32_t NvidiaRoad::openDecoder(int32_t gpu) {
  decoder.setGPUID(gpu);
  if (decoder.initialize() != 0) return QVS_PLUGIN_CREATE_DECODER;
  decoded = openPool(decodedPool, gpu);
  scaled = openPool(scaledPool, gpu);
  if (decoded == nullptr || scaled == nullptr) return QVS_PLUGIN_CREATE_VPP;
  const VideoScaleSetDataCUDA& card = scaledPool.getScaleSetDataCUDA();
  return coder.setCudaContext({card.m_Context.get(), card.m_Stream, card.m_ContextDeviceId});
}

int32_t NvidiaRoad::decode(std::span<const uint8_t> unit, uint64_t timecode, const Taker& taker,
                           bool& damaged) {
  const bool ended = unit.empty();
  if (ended) {
    decoder.setParameterValue(VideoDecoderGenericNVCUVID::kKeyEndOfStream, int64_t{1});
  } else {
    prefixed.clear();
    plugins::forEachUnit(unit, [&](std::span<const uint8_t> one) {
      for (int shift = 24; shift >= 0; shift -= 8)
        prefixed.push_back(static_cast<uint8_t>(one.size() >> shift));
      prefixed.insert(prefixed.end(), one.begin(), one.end());
    });
    // Sets stand in front of each key picture: the decoder has none of its own to add.
    decoder.addFrame(prefixed.data(), 0, static_cast<uint32_t>(prefixed.size()), timecode,
                     kFrameTypePredicted);
  }
  uint32_t flags = 0;
  do {
    if (decoder.decode(&flags) != 0) return QVS_PLUGIN_INIT_DECODER;
    damaged = damaged || (flags & DecodeFlagAborted) != 0;
    if ((flags & kReady) == 0) continue;
    if (const int32_t status = fetch(); status != QVS_PLUGIN_OK) return status;
    if (const int32_t status = taker(decoded->getTimecode()); status != QVS_PLUGIN_OK) return status;
  } while ((flags & kReady) != 0);
  return damaged ? QVS_PLUGIN_PARSE_HEADER : QVS_PLUGIN_OK;
}

void NvidiaRoad::readSizes() {
  decoder.getDecodedFrameSize(&info.frameWidth, &info.frameHeight, &info.displayWidth, &info.displayHeight);
  info.frameRate = decoder.getFrameRate();
}

int32_t NvidiaRoad::fetch() {
  readSizes();
  if (decoded->allocBuffer(info.frameWidth, info.frameHeight, kFourCCYV12) != 0)
    return QVS_PLUGIN_ALLOCATE_BUFFER;
  decoder.getDecodedFrame(*decoded);
  return decoded->isLocationCUDA() ? QVS_PLUGIN_OK : QVS_PLUGIN_INIT_DECODER;
}

int32_t NvidiaRoad::openScaler(uint32_t fitMode) {
  scaled->setFitMode(fitMode);
  const plugins::CommonSettings& common = coder.common;
  const bool made = scaled->allocBuffer(common.width, common.height, kFourCCYV12) == 0;
  return made ? QVS_PLUGIN_OK : QVS_PLUGIN_ALLOCATE_BUFFER;
}

int32_t NvidiaRoad::pass(bool key, uint64_t timecode) {
  if (scaled->transferFrame(*decoded, false) != 0) return QVS_PLUGIN_INIT_VPP;
  plugins::Picture picture = plugins::devicePictureAt(scaled->getDevicePicture()->pluginRecord());
  picture.key = key;
  picture.timecode = timecode;
  return coder.encode(picture);
}

}  // namespace qvs::nvenc
