// The card's encoder plug-in over libx264 and libx265, for pictures in the fake's memory and in the host's.
#include <qvs/video_encoder.h>

#include <cmath>
#include <memory>

#include "Card.h"
#include "CodedFrames.h"
#include "fakes/support/SoftwareEncoder.h"

namespace {

using namespace qvs::fakes;

constexpr const char* kOwner = "encoder";
constexpr uint32_t kHN12 = 0x32314E48;

struct Encoder {
  SoftwareSettings settings;
  std::unique_ptr<SoftwareEncoder> codec;
  qvs::plugins::CodedFrames coded;
  bool first = true;
  uint64_t start = 0;

  void collect() {
    SoftwareCoded one;
    while (codec->take(one)) {
      const uint32_t type = one.type == SoftwareCoded::Type::kKey ? QVS_FRAME_KEY : QVS_FRAME_PREDICTED;
      coded.addAnnexB({type, static_cast<uint64_t>(one.pts), 0}, one.bytes);
    }
  }
};

Encoder* of(void* session) {
  return static_cast<Encoder*>(session);
}

/// The picture while the call lasts; one that lies on the card goes when it ends, however that is.
struct Held {
  explicit Held(PluginVideoBuffer* frame)
      : picture(frame->four_cc == kHN12 ? fake_card_pass(frame->opaque_, "host", kOwner) : nullptr) {}
  ~Held() {
    if (picture != nullptr) fake_card_free(picture, kOwner);
  }
  CardPicture* picture;
};

}  // namespace

#define U30E(name) extern "C" QVS_PLUGIN_EXPORT int32_t u30e_zarvoVideoEncoder_##name
#define U30E_SETTING(name, parameters, body)            \
  U30E(name) parameters {                               \
    QVS_U30_CALL("u30e_" #name);                        \
    SoftwareSettings& settings = of(session)->settings; \
    body;                                               \
    return 0;                                           \
  }

U30E(getVersion)(uint8_t*, uint32_t, uint32_t* major, uint32_t* minor) {
  QVS_U30_CALL("u30e_getVersion");
  *major = 3;
  *minor = 0;
  return 0;
}
U30E(create)(void** session) {
  QVS_U30_CALL("u30e_create");
  *session = new Encoder;
  return 0;
}
U30E(destroy)(void* session) {
  delete of(session);
  return fake_card_fault("u30e_destroy");
}
U30E(setAllocator2)
(void* session, void* host, QvsByteArrayNew create, QvsByteArrayFree release, QvsByteArrayLock lock,
 QvsByteArrayUnlock unlock) {
  of(session)->coded.setAllocator({host, create, release, lock, unlock});
  return 0;
}
U30E_SETTING(setDefaults, (void* session, int32_t, int32_t), settings = {})
U30E_SETTING(setFrameSize, (void* session, uint32_t width, uint32_t height),
             (settings.width = width, settings.height = height))
U30E_SETTING(setFrameRate, (void* session, double rate),
             (settings.fpsNumerator = static_cast<uint32_t>(std::lround(rate * 1000)),
              settings.fpsDenominator = 1000))
U30E_SETTING(setBitrate, (void* session, uint32_t rate), settings.bitRate = settings.maxBitRate = rate)
U30E_SETTING(updateBitrate, (void* session, uint32_t rate), {
  if (of(session)->codec != nullptr) of(session)->codec->setBitRate(rate, rate);
  settings.bitRate = rate;
})
U30E_SETTING(setCodecAndVersion, (void* session, uint32_t codec, uint32_t),
             settings.codec = codec == 12 ? SoftwareCodec::kH265 : SoftwareCodec::kH264)
U30E_SETTING(checkSettings, (void* session), (void)settings)
U30E_SETTING(applyParameters, (void* session), (void)settings)
U30E_SETTING(setParameterValueLong, (void* session, uint32_t key, int64_t value), {
  if (key == 210044) settings.codec = value == 12 ? SoftwareCodec::kH265 : SoftwareCodec::kH264;
})
U30E(setParameterValuesLong)(void*, uint32_t key, int64_t* values, uint32_t count) {
  QVS_U30_CALL("u30e_setParameterValuesLong");
  // The firmware's name in units of 64 bytes, with a zero at its end.
  const auto* name = static_cast<const char*>(static_cast<void*>(values));
  return key == 210047 && name[64 * count - 1] != '\0' ? QVS_PLUGIN_INIT_ENCODER : 0;
}
U30E(initialize)(void* session) {
  QVS_U30_CALL("u30e_initialize");
  Encoder& encoder = *of(session);
  encoder.codec = makeSoftwareEncoder(encoder.settings);
  encoder.first = true;
  return encoder.codec != nullptr ? 0 : QVS_PLUGIN_INIT_ENCODER;
}
U30E(encodeFrame)(void* session, PluginVideoBuffer* frame, PluginVideoEncoderOutput* output) {
  output->frameCount = 0;
  const Held held(frame);
  QVS_U30_CALL("u30e_encodeFrame");
  Encoder& encoder = *of(session);
  if (encoder.codec == nullptr) return QVS_PLUGIN_INIT_ENCODER;
  if (frame->width != encoder.settings.width || frame->height != encoder.settings.height ||
      (frame->four_cc == kHN12 && held.picture == nullptr)) {
    return QVS_PLUGIN_ALLOCATE_BUFFER;
  }
  SoftwarePicture picture{};
  picture.y = held.picture != nullptr ? held.picture->y() : static_cast<uint8_t*>(frame->plane[0]);
  picture.uv = held.picture != nullptr ? held.picture->uv() : static_cast<uint8_t*>(frame->plane[1]);
  picture.stride = held.picture != nullptr ? held.picture->width : frame->stride[0];
  picture.pts = static_cast<int64_t>(frame->timecode);
  picture.key = encoder.first || frame->frameType == QVS_FRAME_KEY;
  encoder.first = false;
  if (!encoder.codec->encode(picture)) return QVS_PLUGIN_ALLOCATE_BUFFER;
  encoder.collect();
  void* frames[QVS_VIDEO_ENCODER_FRAMES_MAX];
  uint32_t sizes[QVS_VIDEO_ENCODER_FRAMES_MAX], types[QVS_VIDEO_ENCODER_FRAMES_MAX];
  uint64_t times[QVS_VIDEO_ENCODER_FRAMES_MAX], offsets[QVS_VIDEO_ENCODER_FRAMES_MAX];
  uint32_t count = output->maxFrameCount;
  encoder.coded.handOut({frames, sizes, types, times, offsets, &count});
  for (uint32_t i = 0; i < count; ++i) {
    VideoFrameEncodedData& coded = output->frames[i];
    coded.buffer = static_cast<uint8_t*>(frames[i]);
    coded.len = sizes[i];
    coded.frameType = types[i];
    coded.timecode = times[i];
    coded.timecodeOffset = static_cast<int64_t>(offsets[i]);
    coded.isAllocated = 1;
  }
  output->frameCount = count;
  return 0;
}
U30E(skipFrame)(void*, PluginVideoBuffer* frame) {
  const Held held(frame);
  QVS_U30_CALL("u30e_skipFrame");
  return 0;
}
