// The codecs' rows, the encoders' keys, and what the runtime is asked for because of them.
#include "QuickSyncSettings.h"

#include <algorithm>

#include "FrameRate.h"
#include "H26xSettings.h"

namespace qvs::plugins {
namespace {

enum RateControl : int64_t { kConstantRate, kVariableRate, kConstantQp, kConstantQuality };

constexpr uint32_t kMostKbps = 65535;

uint16_t alignedTo16(uint32_t value) {
  return static_cast<uint16_t>((value + 15) / 16 * 16);
}

template <typename Record>
mfxExtBuffer* emptied(Record& record, mfxU32 id) {
  record = {};
  record.Header = {id, sizeof record};
  return &record.Header;
}

}  // namespace

const QuickSyncCodec kQuickSyncH264{"H.264", MFX_CODEC_AVC, 0, 7, 0, 0x1F};
const QuickSyncCodec kQuickSyncH265{"H.265", MFX_CODEC_HEVC, 1, 32, 1, 0x3F};

std::span<const KeyRow<QuickSyncEncoderSettings>> quickSyncEncoderKeys() {
  using S = QuickSyncEncoderSettings;
  static constexpr KeyRow<S> kRows[] = {
      {50000, "asyncDepth", &S::asyncDepth, 1, 16,
       "pictures under way at once; each more is one more of delay"},
      {50001, "rateControl", &S::rateControl, 0, 3,
       "0 constant rate, 1 variable rate, 2 constant QP, 3 constant quality"},
      {50002, "maxBitRate", &S::maxBitRate, 0, 4e9,
       "peak of the variable rate, bits per second; 0 one and a half"},
      {50003, "bufferLength", &S::bufferLength, 0, 60000,
       "milliseconds of the rate that the decoder's buffer holds; 0 leaves it to the runtime"},
      {50004, "qpI", &S::qpI, 1, 51, "constant QP of I pictures"},
      {50005, "qpP", &S::qpP, 1, 51, "constant QP of P pictures"},
      {50006, "qpB", &S::qpB, 1, 51, "constant QP of B pictures"},
      {50007, "quality", &S::quality, 1, 51, "of constant quality, 1 is best"},
      {50008, "keyFrameInterval", &S::keyFrameInterval, 1, 65535,
       "pictures between two key frames, at most; not where key frames follow the source"},
      {50009, "bPictures", &S::bPictures, 0, 7, "B pictures between two others"},
      {50010, "references", &S::references, 0, 16, "reference pictures; 0 leaves it to the runtime"},
      {50011, "targetUsage", &S::targetUsage, 1, 7, "1 best quality to 7 best speed"},
      {50012, "profile", &S::profile, 0, 255, "as the stream numbers it, 66, 77 or 100, or 1; 0 by the rest"},
      {50013, "level", &S::level, 0, 62, "ten times the level; 0 by size and rate"},
      {50014, "lowPower", &S::lowPower, 0, 2, "fixed function encoding: 0 by the runtime, 1 on, 2 off"},
      {50015, "slices", &S::slices, 0, 64, "slices a picture; 0 by the runtime"},
      {50016, "lookAhead", &S::lookAhead, 0, 100, "pictures looked ahead at a variable rate; 0 none"},
      {50017, "colorPrimaries", &S::colorPrimaries, 0, 255, "as the stream numbers them, 2 unspecified"},
      {50018, "transfer", &S::transfer, 0, 255, "as the stream numbers it, 2 unspecified"},
      {50019, "matrix", &S::matrix, 0, 255, "as the stream numbers it, 2 unspecified"},
      {50020, "fullRange", &S::fullRange, 0, 1, "1: luma from 0 to 255"},
      {50021, "busyTimeout", &S::busyTimeout, 1, 60000, "milliseconds that a busy device is asked again"},
      {50022, "syncTimeout", &S::syncTimeout, 1, 60000,
       "milliseconds that a picture under way is waited for"},
  };
  return kRows;
}

void QuickSyncParameters::fill(const QuickSyncCodec& codec, const CommonSettings& common,
                               const QuickSyncEncoderSettings& settings) {
  video = {};
  video.AsyncDepth = static_cast<mfxU16>(settings.asyncDepth);
  video.IOPattern = MFX_IOPATTERN_IN_SYSTEM_MEMORY;
  mfxInfoMFX& mfx = video.mfx;
  mfx.CodecId = codec.id;
  mfx.CodecProfile = static_cast<mfxU16>(settings.profile);
  mfx.CodecLevel = static_cast<mfxU16>(settings.level);
  mfx.TargetUsage = static_cast<mfxU16>(settings.targetUsage);
  mfx.GopPicSize = static_cast<mfxU16>(common.keyFrameFollow ? 65535 : settings.keyFrameInterval);
  mfx.GopRefDist = static_cast<mfxU16>(settings.bPictures + 1);
  mfx.GopOptFlag = MFX_GOP_CLOSED;
  mfx.IdrInterval = codec.idrInterval;
  mfx.NumSlice = static_cast<mfxU16>(settings.slices);
  mfx.NumRefFrame = static_cast<mfxU16>(settings.references);
  static constexpr mfxU16 kSwitch[] = {MFX_CODINGOPTION_UNKNOWN, MFX_CODINGOPTION_ON, MFX_CODINGOPTION_OFF};
  mfx.LowPower = kSwitch[settings.lowPower];
  fillPicture(common);

  attached[0] = emptied(option, MFX_EXTBUFF_CODING_OPTION);
  option.AUDelimiter = MFX_CODINGOPTION_OFF;
  option.PicTimingSEI = MFX_CODINGOPTION_OFF;
  attached[1] = emptied(option2, MFX_EXTBUFF_CODING_OPTION2);
  option2.RepeatPPS = MFX_CODINGOPTION_OFF;
  option2.AdaptiveI = MFX_CODINGOPTION_OFF;
  option2.BRefType = MFX_B_REF_OFF;  // one picture of reordering, whatever their number
  if (settings.lookAhead > 0) option2.LookAheadDepth = static_cast<mfxU16>(settings.lookAhead);
  attached[2] = emptied(color, MFX_EXTBUFF_VIDEO_SIGNAL_INFO);
  color.VideoFormat = 5;  // unspecified
  color.VideoFullRange = static_cast<mfxU16>(settings.fullRange);
  color.ColourDescriptionPresent =
      settings.colorPrimaries != 2 || settings.transfer != 2 || settings.matrix != 2;
  color.ColourPrimaries = static_cast<mfxU16>(settings.colorPrimaries);
  color.TransferCharacteristics = static_cast<mfxU16>(settings.transfer);
  color.MatrixCoefficients = static_cast<mfxU16>(settings.matrix);
  video.ExtParam = attached;
  video.NumExtParam = 3;

  fillRateControl(common, settings);
}

void QuickSyncParameters::fillPicture(const CommonSettings& common) {
  mfxFrameInfo& info = video.mfx.FrameInfo;
  info.FourCC = MFX_FOURCC_NV12;
  info.ChromaFormat = MFX_CHROMAFORMAT_YUV420;
  info.PicStruct = MFX_PICSTRUCT_PROGRESSIVE;
  info.BitDepthLuma = info.BitDepthChroma = 0;
  const CodedSize size = codedSize(common);
  info.CropW = static_cast<mfxU16>(size.width);
  info.CropH = static_cast<mfxU16>(size.height);
  info.Width = alignedTo16(info.CropW);
  info.Height = alignedTo16(info.CropH);
  info.AspectRatioW = info.AspectRatioH = 1;
  const FrameRate rate = frameRateOf(common.frameRate);
  info.FrameRateExtN = rate.num;
  info.FrameRateExtD = rate.den;
}

mfxU64 QuickSyncParameters::ticksPerPicture() const {
  const mfxFrameInfo& info = video.mfx.FrameInfo;
  return std::max<mfxU64>(mfxU64{90000} * info.FrameRateExtD / std::max<mfxU32>(info.FrameRateExtN, 1), 1);
}

bool QuickSyncParameters::hasBitRate() const {
  const mfxU16 method = video.mfx.RateControlMethod;
  return method != MFX_RATECONTROL_CQP && method != MFX_RATECONTROL_ICQ;
}

void QuickSyncParameters::fillRateControl(const CommonSettings& common,
                                          const QuickSyncEncoderSettings& settings) {
  mfxInfoMFX& mfx = video.mfx;
  int64_t control = settings.rateControl;
  // Without a bit rate there is nothing to keep to but a quality.
  if (common.bitRate == 0 && control <= kVariableRate) control = kConstantQuality;
  switch (control) {
    case kConstantQp:
      mfx.RateControlMethod = MFX_RATECONTROL_CQP;
      mfx.QPI = static_cast<mfxU16>(settings.qpI);
      mfx.QPP = static_cast<mfxU16>(settings.qpP);
      mfx.QPB = static_cast<mfxU16>(settings.qpB);
      return;
    case kConstantQuality:
      mfx.RateControlMethod = MFX_RATECONTROL_ICQ;
      mfx.ICQQuality = static_cast<mfxU16>(settings.quality);
      return;
    case kConstantRate:
      mfx.RateControlMethod = MFX_RATECONTROL_CBR;
      break;
    default:
      mfx.RateControlMethod = settings.lookAhead > 0 ? MFX_RATECONTROL_LA : MFX_RATECONTROL_VBR;
  }
  setBitRate(common.bitRate, settings);
}

void QuickSyncParameters::setBitRate(uint32_t bitsPerSecond, const QuickSyncEncoderSettings& settings) {
  mfxInfoMFX& mfx = video.mfx;
  const auto target = std::max<uint32_t>(bitsPerSecond / 1000, 1);
  uint32_t peak = target;
  if (settings.rateControl == kVariableRate) {
    peak = settings.maxBitRate > 0 ? static_cast<uint32_t>(settings.maxBitRate / 1000) : target + target / 2;
    peak = std::max(peak, target);
  }
  const auto buffer = static_cast<uint32_t>(target * static_cast<uint64_t>(settings.bufferLength) / 8000);
  // The fields have 16 bits; all of them count in units of the multiplier.
  const uint32_t unit = std::max(peak, buffer) / kMostKbps + 1;
  mfx.BRCParamMultiplier = static_cast<mfxU16>(unit);
  mfx.TargetKbps = static_cast<mfxU16>(target / unit);
  mfx.MaxKbps = static_cast<mfxU16>(peak / unit);
  mfx.BufferSizeInKB = static_cast<mfxU16>(buffer / unit);
  mfx.InitialDelayInKB = static_cast<mfxU16>(buffer / unit / 2);
}

void QuickSyncParameters::attachReset(bool newSequence) {
  attached[3] = emptied(resetOption, MFX_EXTBUFF_ENCODER_RESET_OPTION);
  resetOption.StartNewSequence = newSequence ? MFX_CODINGOPTION_ON : MFX_CODINGOPTION_OFF;
  video.NumExtParam = 4;
}

void QuickSyncParameters::detachReset() {
  video.NumExtParam = 3;
}

// At least the picture without any coding, which a large rate may exceed and a small one must not.
uint32_t QuickSyncParameters::largestCoded() const {
  const mfxInfoMFX& mfx = video.mfx;
  const uint32_t told = 1000u * mfx.BufferSizeInKB * std::max<uint32_t>(mfx.BRCParamMultiplier, 1);
  return std::max(told, uint32_t{mfx.FrameInfo.Width} * mfx.FrameInfo.Height * 3 / 2);
}

uint32_t QuickSyncParameters::reordering() const {
  const uint32_t distance = video.mfx.GopRefDist;
  if (distance <= 1) return 0;
  if (option2.BRefType != MFX_B_REF_PYRAMID) return 1;
  uint32_t levels = 1;
  while ((1u << levels) < distance) ++levels;
  return levels;
}

}  // namespace qvs::plugins
