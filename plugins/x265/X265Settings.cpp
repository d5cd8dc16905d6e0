// The keys of the x265 plug-ins, and what they are for libx265.
#include "X265Settings.h"

#include <algorithm>

#include "FrameRate.h"

namespace qvs::plugins {
namespace {

using S = X265Settings;

// clang-format off
constexpr KeyRow<S> kRows[] = {
    {80000, "preset", &S::preset, 0, 9, "0 ultrafast, 1 superfast, 2 veryfast, 3 faster, 4 fast, 5 medium, 6 slow, 7 slower, 8 veryslow, 9 placebo"},
    {80001, "tune", &S::tune, 0, 5, "0 none, 1 psnr, 2 ssim, 3 grain, 4 fastdecode, 5 animation; delay has keys of its own"},
    {80002, "profile", &S::profile, 0, 2, "0 as the settings need, 1 main, 2 main-intra"},
    {80003, "level", &S::level, 0, 62, "ten times the level, 0 as the stream needs"},
    {80004, "rateControl", &S::rateControl, 0, 2, "0 bit rate, 1 capped quality, 2 constant quantizer"},
    {80005, "quality", &S::quality, 0, 51, "of capped quality, lower is better"},
    {80006, "qp", &S::qp, 1, 51, "of the constant quantizer"},
    {80007, "vbvMaxRate", &S::vbvMaxRate, 0, 2e9, "largest rate in bits per second, 0 the bit rate"},
    {80008, "vbvBuffer", &S::vbvBuffer, -1, 2e9, "bits, 0 a second of the largest rate, -1 no buffer"},
    {80009, "keyFrameInterval", &S::keyFrameInterval, 1, 1e6, "most pictures from key frame to key frame, where they don't follow requests alone"},
    {80010, "bFrames", &S::bFrames, 0, 16, "B pictures in a row; each holds pictures back"},
    {80011, "references", &S::references, 0, 8, "reference pictures, 0 as the preset has it; at most 6 with B pictures"},
    {80012, "lookAhead", &S::lookAhead, 0, 250, "pictures held back to plan ahead, more than bFrames where there are any"},
    {80013, "threads", &S::threads, 0, 128, "of the session's pool, 0 this machine's share: affinity and quota of the control groups"},
    {80014, "frameThreads", &S::frameThreads, 0, 16, "pictures coded side by side, each but the first held back; 0 by the pool's size"},
    {80015, "slices", &S::slices, 0, 250, "of a picture, 0 and 1 one; with more a picture is held back"},
    {80016, "openGop", &S::openGop, 0, 1, "1 lets B pictures lean across a key frame"},
    {80017, "sceneCut", &S::sceneCut, -1, 100, "readiness to begin anew at a cut, 0 never, -1 as the preset has it; only with look-ahead, never where key frames follow requests alone"},
    {80018, "aqMode", &S::aqMode, -1, 4, "adaptive quantizer: 0 off, 1 by variance, 2 in balance, 3 in balance and for the dark, 4 by edges, -1 as the preset has it"},
    {80019, "aqStrength", &S::aqStrength, -1, 3, "of the adaptive quantizer, -1 as preset and tune have it"},
    {80020, "cuTree", &S::tree, -1, 1, "0 off, 1 on, -1 as the preset has it; only with look-ahead"},
    {80021, "colorPrimaries", &S::colorPrimaries, 0, 12, "told in the stream, by the numbers of H.265; 2 nothing, 1 BT.709"},
    {80022, "colorTransfer", &S::colorTransfer, 0, 18, "the same of the transfer curve; 2 nothing, 1 BT.709"},
    {80023, "colorMatrix", &S::colorMatrix, 0, 14, "the same of the matrix; 2 nothing, 1 BT.709"},
    {80024, "fullRange", &S::fullRange, -1, 1, "-1 nothing is told, 0 narrow, 1 full; samples are never converted"},
};
// clang-format on

constexpr const char* kTunes[] = {nullptr, "psnr", "ssim", "grain", "fastdecode", "animation"};
constexpr const char* kProfiles[] = {nullptr, "main", "main-intra"};
constexpr int64_t kLevels[] = {10, 20, 21, 30, 31, 40, 41, 50, 51, 52, 60, 61, 62};
constexpr int64_t kMostReferencesWithB = 6;
constexpr int kMaxSide = 8192;
constexpr int kLeastBlock = 16;

bool fits(CodedSize size, std::string& problem) {
  if (std::min(size.width, size.height) >= kLeastBlock && std::max(size.width, size.height) <= kMaxSide)
    return true;
  problem = "libx265 codes pictures with sides of 16 to 8192";
  return false;
}

// libx265 would refuse these without a word.
bool agree(const S& settings, std::string& problem) {
  if (settings.level != 0 &&
      std::find(std::begin(kLevels), std::end(kLevels), settings.level) == std::end(kLevels)) {
    problem = "level " + std::to_string(settings.level) + " is none of H.265's";
    return false;
  }
  if (settings.bFrames == 0 || settings.references <= kMostReferencesWithB) return true;
  problem = "with B pictures there are at most 6 references";
  return false;
}

void storeSize(CodedSize size, x265_param& param) {
  param.sourceWidth = size.width;
  param.sourceHeight = size.height;
  param.internalCsp = X265_CSP_I420;
  // A picture has one coding block at least.
  const auto least = static_cast<uint32_t>(std::min(size.width, size.height));
  while (param.maxCUSize > least) param.maxCUSize /= 2;
  param.maxTUSize = std::min(param.maxTUSize, param.maxCUSize);
}

void storeStructure(const S& settings, bool keyFrameFollow, x265_param& param) {
  param.frameNumThreads = static_cast<int>(settings.frameThreads);
  param.maxSlices = static_cast<unsigned>(std::max<int64_t>(settings.slices, 1));
  param.bframes = static_cast<int>(settings.bFrames);
  param.lookaheadDepth = static_cast<int>(settings.lookAhead);
  if (param.bframes > 0) param.lookaheadDepth = std::max(param.lookaheadDepth, param.bframes + 1);
  if (param.bframes == 0) param.bFrameAdaptive = X265_B_ADAPT_NONE;
  param.bOpenGOP = settings.openGop != 0;
  if (settings.references != 0) param.maxNumReferences = static_cast<int>(settings.references);
  if (settings.sceneCut >= 0) param.scenecutThreshold = static_cast<int>(settings.sceneCut);
  if (param.lookaheadDepth == 0) param.scenecutThreshold = 0;
  param.keyframeMax = static_cast<int>(settings.keyFrameInterval);
  if (!keyFrameFollow) return;
  param.keyframeMax = -1;  // without end
  param.scenecutThreshold = 0;
}

void storeQuantizers(const S& settings, x265_param& param) {
  if (settings.rateControl == S::kBitRate) param.rc.rateControlMode = X265_RC_ABR;
  if (settings.rateControl == S::kCappedQuality) param.rc.rateControlMode = X265_RC_CRF;
  if (settings.rateControl == S::kConstantQp) param.rc.rateControlMode = X265_RC_CQP;
  param.rc.rfConstant = settings.quality;
  param.rc.qp = static_cast<int>(settings.qp);
  if (settings.aqMode >= 0) param.rc.aqMode = static_cast<int>(settings.aqMode);
  if (settings.aqStrength >= 0) param.rc.aqStrength = settings.aqStrength;
  if (settings.tree >= 0) param.rc.cuTree = static_cast<int>(settings.tree);
  if (param.lookaheadDepth == 0) param.rc.cuTree = 0;
}

void storeColor(const S& settings, x265_param& param) {
  auto& vui = param.vui;
  vui.bEnableColorDescriptionPresentFlag = settings.colorPrimaries != S::kUnspecified ||
                                           settings.colorTransfer != S::kUnspecified ||
                                           settings.colorMatrix != S::kUnspecified;
  vui.bEnableVideoSignalTypePresentFlag = vui.bEnableColorDescriptionPresentFlag || settings.fullRange >= 0;
  vui.bEnableVideoFullRangeFlag = settings.fullRange == 1;
  vui.colorPrimaries = static_cast<int>(settings.colorPrimaries);
  vui.transferCharacteristics = static_cast<int>(settings.colorTransfer);
  vui.matrixCoeffs = static_cast<int>(settings.colorMatrix);
}

}  // namespace

const std::span<const KeyRow<X265Settings>> kX265Keys{kRows};

const x265_api& x265() {
  static const x265_api* const api = x265_api_get(8);
  return *api;
}

std::string X265Settings::pool() const {
  const int count = threadCount();
  return count > 1 ? std::to_string(count) : "none";
}

void X265Settings::storeRates(const H26xRates& rates, x265_param& param) {
  if (rates.bitRate != 0) param.rc.bitrate = rates.bitRate;
  param.rc.vbvMaxBitrate = rates.maxRate;
  param.rc.vbvBufferSize = rates.buffer;
}

bool X265Settings::store(const CommonSettings& common, x265_param& param, std::string& problem) const {
  const CodedSize size = codedSize(common);
  H26xRates rates;
  if (!fits(size, problem) || !agree(*this, problem) || !rates.set(*this, common.bitRate, problem))
    return false;
  if (x265().param_default_preset(&param, x265_preset_names[preset], kTunes[tune]) < 0) {
    problem = "libx265 refuses preset and tune";
    return false;
  }
  param.logLevel = X265_LOG_NONE;  // it would write to standard error
  storeSize(size, param);
  const FrameRate rate = frameRateOf(common.frameRate);
  param.fpsNum = rate.num;
  param.fpsDenom = rate.den;
  param.bRepeatHeaders = 1;
  param.bAnnexB = 0;
  param.bEmitInfoSEI = 0;
  param.levelIdc = static_cast<int>(level);
  storeStructure(*this, common.keyFrameFollow, param);
  storeQuantizers(*this, param);
  storeRates(rates, param);
  storeColor(*this, param);
  if (x265().param_apply_profile(&param, kProfiles[profile]) == 0) return true;
  problem = std::string("libx265 refuses profile ") + kProfiles[profile];
  return false;
}

}  // namespace qvs::plugins
