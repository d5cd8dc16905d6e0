// What the settings of the NVENC plug-in are in the driver's records.
#include "NvencConfig.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "FrameRate.h"
#include "H26xSettings.h"

namespace qvs::nvenc {
namespace {

using S = NvencSettings;

constexpr int kHasMiddleBReference = 2;
constexpr uint32_t kLongGop = 1u << 30;  // B pictures and a group without an end don't go together

NV_ENC_CONFIG_H264_VUI_PARAMETERS colorOf(const S& settings) {
  NV_ENC_CONFIG_H264_VUI_PARAMETERS vui{};
  const int64_t numbers[] = {settings.colorPrimaries, settings.colorTransfer, settings.colorMatrix};
  vui.colourDescriptionPresentFlag =
      std::any_of(std::begin(numbers), std::end(numbers), [](int64_t one) { return one != S::kUnspecified; });
  vui.videoSignalTypePresentFlag = vui.colourDescriptionPresentFlag != 0 || settings.fullRange >= 0;
  constexpr uint32_t kFormatUnspecified = 5;
  vui.videoFormat = kFormatUnspecified;
  vui.videoFullRangeFlag = settings.fullRange == 1;
  vui.colourPrimaries = static_cast<uint32_t>(settings.colorPrimaries);
  vui.transferCharacteristics = static_cast<uint32_t>(settings.colorTransfer);
  vui.colourMatrix = static_cast<uint32_t>(settings.colorMatrix);
  return vui;
}

/// What both codecs' records have under one name.
template <typename Codec>
void storeCommon(const S& settings, uint32_t gop, Codec& codec) {
  codec.idrPeriod = gop;
  codec.repeatSPSPPS = 1;
  codec.disableSPSPPS = 0;
  codec.outputAUD = 0;
  codec.useBFramesAsRef = settings.bFrames > 0 && settings.bReference != 0 ? NV_ENC_BFRAME_REF_MODE_MIDDLE
                                                                           : NV_ENC_BFRAME_REF_MODE_DISABLED;
}

uint32_t bits32(int64_t bits) {
  return static_cast<uint32_t>(std::min<int64_t>(bits, std::numeric_limits<uint32_t>::max()));
}

}  // namespace

GUID NvencConfig::presetOf(const S& settings) {
  static const GUID kPresets[] = {NV_ENC_PRESET_P1_GUID, NV_ENC_PRESET_P2_GUID, NV_ENC_PRESET_P3_GUID,
                                  NV_ENC_PRESET_P4_GUID, NV_ENC_PRESET_P5_GUID, NV_ENC_PRESET_P6_GUID,
                                  NV_ENC_PRESET_P7_GUID};
  return kPresets[settings.preset - 1];
}

NV_ENC_TUNING_INFO NvencConfig::tuningOf(const S& settings) {
  return static_cast<NV_ENC_TUNING_INFO>(settings.tune);
}

bool suits(const NvencCaps& caps, const S& settings, uint32_t width, uint32_t height, std::string& problem) {
  const auto lacks = [&](bool wanted, bool there, const char* what) {
    if (wanted && !there) problem = std::string("the card has no ") + what;
    return wanted && !there;
  };
  const bool small =
      width < static_cast<uint32_t>(caps.minWidth) || height < static_cast<uint32_t>(caps.minHeight);
  if (small || width > static_cast<uint32_t>(caps.maxWidth) ||
      height > static_cast<uint32_t>(caps.maxHeight)) {
    const auto size = [](auto w, auto h) { return std::to_string(w) + "x" + std::to_string(h); };
    problem = "the card takes pictures of " + size(caps.minWidth, caps.minHeight) + " to " +
              size(caps.maxWidth, caps.maxHeight) + ", this is " + size(width, height);
    return false;
  }
  if (settings.bFrames > caps.bFrames) {
    problem = "the card makes " + std::to_string(caps.bFrames) + " B pictures in a row at most";
    return false;
  }
  return !lacks(settings.bFrames > 0 && settings.bReference != 0, caps.bReferences >= kHasMiddleBReference,
                "B pictures as reference") &&
         !lacks(settings.lookAhead > 0, caps.lookAhead != 0, "look-ahead") &&
         !lacks(settings.aqMode >= 2, caps.temporalAq != 0, "adaptive quantizer over time");
}

bool NvencConfig::store(const S& settings, const plugins::CommonSettings& common, bool hevc,
                        const NvencCaps& caps, const NV_ENC_CONFIG& preset, std::string& problem) {
  const plugins::CodedSize size = plugins::codedSize(common);
  const auto width = static_cast<uint32_t>(size.width);
  const auto height = static_cast<uint32_t>(size.height);
  if (!suits(caps, settings, width, height, problem)) return false;
  constexpr int64_t kBaseline = 1;
  if (!hevc && settings.profile == kBaseline && settings.bFrames != 0) {
    problem = "profile baseline has no B pictures";
    return false;
  }
  config = preset;
  config.version = NV_ENC_CONFIG_VER;
  config.rcParams.version = NV_ENC_RC_PARAMS_VER;
  storeStructure(settings, common.keyFrameFollow, hevc);
  storeQuantizers(settings);
  storeCodec(settings, hevc);

  parameters = {};
  parameters.version = NV_ENC_INITIALIZE_PARAMS_VER;
  parameters.encodeGUID = hevc ? NV_ENC_CODEC_HEVC_GUID : NV_ENC_CODEC_H264_GUID;
  parameters.presetGUID = presetOf(settings);
  parameters.tuningInfo = tuningOf(settings);
  parameters.encodeWidth = parameters.darWidth = width;
  parameters.encodeHeight = parameters.darHeight = height;
  const plugins::FrameRate rate = plugins::frameRateOf(common.frameRate);
  parameters.frameRateNum = rate.num;
  parameters.frameRateDen = rate.den;
  parameters.enablePTD = 1;
  parameters.encodeConfig = &config;
  return storeRates(settings, common.bitRate, problem);
}

void NvencConfig::storeStructure(const S& settings, bool keyFrameFollow, bool hevc) {
  config.frameFieldMode = NV_ENC_PARAMS_FRAME_FIELD_MODE_FRAME;
  config.frameIntervalP = static_cast<int32_t>(settings.bFrames + 1);
  config.gopLength = static_cast<uint32_t>(settings.keyFrameInterval);
  if (keyFrameFollow) config.gopLength = settings.bFrames > 0 ? kLongGop : NVENC_INFINITE_GOPLENGTH;
  const GUID profiles[] = {NV_ENC_CODEC_PROFILE_AUTOSELECT_GUID, NV_ENC_H264_PROFILE_BASELINE_GUID,
                           NV_ENC_H264_PROFILE_MAIN_GUID, NV_ENC_H264_PROFILE_HIGH_GUID};
  config.profileGUID = hevc ? NV_ENC_HEVC_PROFILE_MAIN_GUID : profiles[settings.profile];
  NV_ENC_RC_PARAMS& rate = config.rcParams;
  rate.enableLookahead = settings.lookAhead > 0;
  rate.lookaheadDepth = static_cast<uint16_t>(settings.lookAhead);
  // What the look-ahead would move or drop: key frames stand where they are asked for.
  rate.disableIadapt = 1;
  rate.disableBadapt = 1;
}

void NvencConfig::storeQuantizers(const S& settings) {
  NV_ENC_RC_PARAMS& rate = config.rcParams;
  constexpr int64_t kSpatial = 1, kTemporal = 2;
  if (settings.aqMode >= 0) {
    rate.enableAQ = (settings.aqMode & kSpatial) != 0;
    rate.enableTemporalAQ = (settings.aqMode & kTemporal) != 0;
  }
  if (settings.aqStrength > 0) rate.aqStrength = static_cast<uint32_t>(settings.aqStrength) & 15u;
  if (settings.multiPass >= 0) rate.multiPass = static_cast<NV_ENC_MULTI_PASS>(settings.multiPass);
  const auto qp = static_cast<uint32_t>(settings.qp);
  rate.constQP = {qp, qp, qp};
  rate.rateControlMode = settings.rateControl == S::kConstantQp ? NV_ENC_PARAMS_RC_CONSTQP
                         : settings.rateControl == S::kBitRate  ? NV_ENC_PARAMS_RC_CBR
                                                                : NV_ENC_PARAMS_RC_VBR;
  rate.targetQuality = rate.targetQualityLSB = 0;
  if (settings.rateControl != S::kCappedQuality) return;
  constexpr double kSteps = 256;
  rate.targetQuality = static_cast<uint8_t>(settings.quality);
  rate.targetQualityLSB = static_cast<uint8_t>((settings.quality - std::floor(settings.quality)) * kSteps);
}

void NvencConfig::storeCodec(const S& settings, bool hevc) {
  const auto references = static_cast<uint32_t>(settings.references);
  const auto level = static_cast<uint32_t>(settings.level);
  if (hevc) {
    NV_ENC_CONFIG_HEVC& codec = config.encodeCodecConfig.hevcConfig;
    storeCommon(settings, config.gopLength, codec);
    codec.level = level * 3;  // as H.265 counts them
    codec.tier = NV_ENC_TIER_HEVC_MAIN;
    codec.chromaFormatIDC = 1;
    codec.pixelBitDepthMinus8 = 0;
    if (references != 0) codec.maxNumRefFramesInDPB = references;
    codec.hevcVUIParameters = colorOf(settings);
  } else {
    NV_ENC_CONFIG_H264& codec = config.encodeCodecConfig.h264Config;
    storeCommon(settings, config.gopLength, codec);
    codec.level = level;
    codec.chromaFormatIDC = 1;
    if (references != 0) codec.maxNumRefFrames = references;
    codec.h264VUIParameters = colorOf(settings);
  }
}

bool NvencConfig::storeRates(const S& settings, uint32_t bitsPerSecond, std::string& problem) {
  NV_ENC_RC_PARAMS& rate = config.rcParams;
  rate.averageBitRate = rate.maxBitRate = rate.vbvBufferSize = rate.vbvInitialDelay = 0;
  if (settings.rateControl == S::kConstantQp) return true;
  const bool capped = settings.rateControl == S::kCappedQuality;
  const int64_t cap = settings.rateControl == S::kBitRate ? 0 : settings.vbvMaxRate;
  const int64_t most = capped && cap != 0 ? cap : std::max<int64_t>(cap, bitsPerSecond);
  if (most == 0 || (!capped && bitsPerSecond == 0)) {
    problem = capped ? "capped quality needs a bit rate or vbvMaxRate" : "no bit rate is set";
    return false;
  }
  // With a quality the bit rate is nothing but the cap.
  rate.averageBitRate = capped ? 0 : bitsPerSecond;
  rate.maxBitRate = bits32(most);
  rate.vbvBufferSize = bits32(settings.vbvBuffer != 0 ? settings.vbvBuffer : most);
  return true;
}

}  // namespace qvs::nvenc
