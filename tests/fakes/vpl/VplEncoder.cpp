// The fake runtime's encoders.
#include "fakes/vpl/VplEncoder.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "fakes/support/FaultScript.h"

namespace qvs::fakes {
namespace {

using Bytes = std::vector<uint8_t>;

SoftwareSettings settingsOf(const mfxInfoMFX& mfx) {
  SoftwareSettings settings;
  settings.codec = mfx.CodecId == MFX_CODEC_HEVC ? SoftwareCodec::kH265 : SoftwareCodec::kH264;
  settings.width = mfx.FrameInfo.CropW != 0 ? mfx.FrameInfo.CropW : mfx.FrameInfo.Width;
  settings.height = mfx.FrameInfo.CropH != 0 ? mfx.FrameInfo.CropH : mfx.FrameInfo.Height;
  settings.fpsNumerator = mfx.FrameInfo.FrameRateExtN;
  settings.fpsDenominator = std::max(mfx.FrameInfo.FrameRateExtD, 1u);
  settings.bPictures = mfx.GopRefDist > 1 ? mfx.GopRefDist - 1u : 0;
  const uint32_t unit = 1000u * std::max<uint32_t>(mfx.BRCParamMultiplier, 1);
  switch (mfx.RateControlMethod) {
    case MFX_RATECONTROL_CQP:
      settings.rate = SoftwareRate::kConstantQp;
      settings.qp = mfx.QPP;
      break;
    case MFX_RATECONTROL_ICQ:
      settings.rate = SoftwareRate::kConstantQp;
      settings.qp = mfx.ICQQuality;
      break;
    default:
      settings.rate = mfx.RateControlMethod == MFX_RATECONTROL_CBR ? SoftwareRate::kConstantBitRate
                                                                   : SoftwareRate::kVariableBitRate;
      settings.bitRate = mfx.TargetKbps * unit;
      settings.maxBitRate = std::max<uint32_t>(mfx.MaxKbps * unit, settings.bitRate);
  }
  return settings;
}

/// Units with their start codes.
std::vector<Bytes> unitsOf(const Bytes& bytes) {
  std::vector<Bytes> units;
  for (size_t i = 0; i < bytes.size(); ++i) {
    const bool begins =
        i + 3 < bytes.size() && bytes[i] == 0 && bytes[i + 1] == 0 && bytes[i + 2] == 0 && bytes[i + 3] == 1;
    if (begins || units.empty()) units.emplace_back();
    units.back().push_back(bytes[i]);
  }
  return units;
}

mfxStatus copyUnit(const Bytes& unit, mfxU8* to, mfxU16& size) {
  if (size < unit.size()) return MFX_ERR_NOT_ENOUGH_BUFFER;
  std::memcpy(to, unit.data(), unit.size());
  size = static_cast<mfxU16>(unit.size());
  return MFX_ERR_NONE;
}

}  // namespace

VplEncoder::VplEncoder(const mfxVideoParam& wanted) {
  vplCounts().opened("encoder");
  parameters.mfx = wanted.mfx;
  open();
}

VplEncoder::~VplEncoder() {
  letGo();
  vplCounts().closed("encoder");
}

void VplEncoder::open() {
  software = makeSoftwareEncoder(settingsOf(parameters.mfx));
  headers = software != nullptr ? software->headers() : Bytes{};
  drained = headersGiven = false;
  sinceKey = 0;
}

void VplEncoder::letGo() {
  for (const Input& input : inputs) {
    if (input.surface != nullptr) --input.surface->Data.Locked;
  }
  firstInput += static_cast<int64_t>(inputs.size());
  inputs.clear();
}

uint32_t VplEncoder::codedSize() const {
  return parameters.mfx.FrameInfo.Width * parameters.mfx.FrameInfo.Height * 3u / 2 + 4096;
}

mfxStatus VplEncoder::reset(const mfxVideoParam& wanted) {
  const auto* option = attachedRecord<mfxExtEncoderResetOption>(wanted, MFX_EXTBUFF_ENCODER_RESET_OPTION);
  const SoftwareSettings settings = settingsOf(wanted.mfx);
  if (option != nullptr && option->StartNewSequence == MFX_CODINGOPTION_OFF) {
    return software->setBitRate(settings.bitRate, settings.maxBitRate) ? MFX_ERR_NONE
                                                                       : MFX_ERR_INVALID_VIDEO_PARAM;
  }
  letGo();  // what wasn't drained is lost
  parameters.mfx = wanted.mfx;
  open();
  return isOpen() ? MFX_ERR_NONE : MFX_ERR_INVALID_VIDEO_PARAM;
}

mfxStatus VplEncoder::tell(mfxVideoParam& out) {
  out.mfx = parameters.mfx;
  const uint32_t unit = std::max<uint32_t>(parameters.mfx.BRCParamMultiplier, 1);
  out.mfx.BRCParamMultiplier = static_cast<mfxU16>(unit);
  out.mfx.BufferSizeInKB = static_cast<mfxU16>(codedSize() / 1000 / unit + 1);
  if (out.mfx.GopPicSize == 0) out.mfx.GopPicSize = 250;
  if (out.mfx.GopRefDist == 0) out.mfx.GopRefDist = 1;
  const std::vector<Bytes> units = unitsOf(headers);
  const size_t first = parameters.mfx.CodecId == MFX_CODEC_HEVC ? 1 : 0;
  if (units.size() < first + 2) return MFX_ERR_UNKNOWN;
  mfxStatus status = MFX_ERR_NONE;
  if (auto* sets = attachedRecord<mfxExtCodingOptionSPSPPS>(out, MFX_EXTBUFF_CODING_OPTION_SPSPPS)) {
    status = copyUnit(units[first], sets->SPSBuffer, sets->SPSBufSize);
    if (status == MFX_ERR_NONE) status = copyUnit(units[first + 1], sets->PPSBuffer, sets->PPSBufSize);
  }
  auto* video = attachedRecord<mfxExtCodingOptionVPS>(out, MFX_EXTBUFF_CODING_OPTION_VPS);
  if (video != nullptr && first == 1 && status == MFX_ERR_NONE) {
    status = copyUnit(units[0], video->VPSBuffer, video->VPSBufSize);
  }
  return status;
}

/// Pictures in 90 kHz.
int64_t VplEncoder::ticks(int64_t count) const {
  const mfxFrameInfo& info = parameters.mfx.FrameInfo;
  return count * 90000 * std::max(info.FrameRateExtD, 1u) / std::max(info.FrameRateExtN, 1u);
}

mfxStatus VplEncoder::give(const mfxEncodeCtrl* control, mfxFrameSurface1* surface) {
  if (drained) return MFX_ERR_UNDEFINED_BEHAVIOR;  // only a reset begins anew
  if (pictures == 0) firstTimestamp = surface->Data.TimeStamp;
  if (surface->Data.Y == nullptr) return MFX_ERR_LOCK_MEMORY;
  const bool asked = control != nullptr && (control->FrameType & (MFX_FRAMETYPE_IDR | MFX_FRAMETYPE_I)) != 0;
  const int64_t interval = parameters.mfx.GopPicSize > 0 ? parameters.mfx.GopPicSize : 250;
  const bool key = asked || sinceKey % interval == 0;
  sinceKey = key ? 1 : sinceKey + 1;
  ++surface->Data.Locked;
  inputs.push_back({surface->Data.TimeStamp, surface, lumaSum(*surface)});
  const uint32_t pitch = uint32_t{surface->Data.PitchHigh} << 16 | surface->Data.PitchLow;
  return software->encode({surface->Data.Y, surface->Data.UV, pitch, pictures++, key})
             ? MFX_ERR_NONE
             : MFX_ERR_DEVICE_FAILED;
}

mfxStatus VplEncoder::encode(const mfxEncodeCtrl* control, mfxFrameSurface1* surface,
                             VplOperation& operation) {
  if (surface != nullptr) {
    if (const mfxStatus status = give(control, surface); status != MFX_ERR_NONE) return status;
  } else if (!drained) {
    drained = true;
    if (!software->drain()) return MFX_ERR_DEVICE_FAILED;
  }
  SoftwareCoded coded;
  if (!software->take(coded)) return MFX_ERR_MORE_DATA;
  Input& input = inputs[static_cast<size_t>(coded.pts - firstInput)];
  operation.surface = std::exchange(input.surface, nullptr);
  operation.sum = input.sum;
  operation.timestamp = input.timestamp;
  operation.decodeTimestamp = static_cast<mfxI64>(firstTimestamp) + ticks(coded.dts);
  while (!inputs.empty() && inputs.front().surface == nullptr) {
    inputs.pop_front();
    ++firstInput;
  }
  static constexpr mfxU16 kTypes[] = {MFX_FRAMETYPE_I | MFX_FRAMETYPE_IDR | MFX_FRAMETYPE_REF,
                                      MFX_FRAMETYPE_P | MFX_FRAMETYPE_REF, MFX_FRAMETYPE_B};
  operation.frameType = kTypes[static_cast<int>(coded.type)];
  const bool strip =
      coded.type == SoftwareCoded::Type::kKey && headersGiven && faultScript().is("headers", "once");
  headersGiven = true;
  if (strip)
    coded.bytes.erase(coded.bytes.begin(), coded.bytes.begin() + static_cast<ptrdiff_t>(headers.size()));
  operation.coded = std::move(coded.bytes);
  return MFX_ERR_NONE;
}

}  // namespace qvs::fakes

using namespace qvs::fakes;

QVS_VPL_EXPORT mfxStatus MFXVideoENCODE_Query(mfxSession, mfxVideoParam* in, mfxVideoParam* out) {
  QVS_VPL_CALL(MFXVideoENCODE_Query);
  if (out == nullptr) return MFX_ERR_NULL_PTR;
  if (in == nullptr || in == out) return MFX_ERR_NONE;
  if (in->mfx.CodecId != MFX_CODEC_AVC && in->mfx.CodecId != MFX_CODEC_HEVC) return MFX_ERR_UNSUPPORTED;
  out->mfx = in->mfx;
  out->AsyncDepth = in->AsyncDepth;
  out->IOPattern = in->IOPattern;
  for (mfxU16 i = 0; i < out->NumExtParam; ++i) {
    mfxExtBuffer* to = out->ExtParam[i];
    const auto* from = attachedRecord<mfxExtBuffer>(*in, to->BufferId);
    if (from != nullptr && from != to && from->BufferSz == to->BufferSz) std::memcpy(to, from, to->BufferSz);
  }
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXVideoENCODE_QueryIOSurf(mfxSession, mfxVideoParam* wanted,
                                                    mfxFrameAllocRequest* request) {
  QVS_VPL_CALL(MFXVideoENCODE_QueryIOSurf);
  request->Info = wanted->mfx.FrameInfo;
  // B pictures wait for their successors and, with libx265, for some more.
  const mfxU16 distance = std::max<mfxU16>(wanted->mfx.GopRefDist, 1);
  request->NumFrameMin = static_cast<mfxU16>(distance > 1 ? distance + 8 : 2);
  request->NumFrameSuggested = static_cast<mfxU16>(request->NumFrameMin + wanted->AsyncDepth);
  request->Type = MFX_MEMTYPE_FROM_ENCODE | MFX_MEMTYPE_EXTERNAL_FRAME | MFX_MEMTYPE_SYSTEM_MEMORY;
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXVideoENCODE_Init(mfxSession session, mfxVideoParam* wanted) {
  QVS_VPL_CALL(MFXVideoENCODE_Init);
  if (session->encoder != nullptr) return MFX_ERR_UNDEFINED_BEHAVIOR;
  if (session->display() == nullptr) return MFX_ERR_DEVICE_FAILED;
  const mfxFrameInfo& info = wanted->mfx.FrameInfo;
  if (info.Width % 16 != 0 || info.Height % 16 != 0 || info.CropW > info.Width || info.CropH > info.Height) {
    return MFX_ERR_INVALID_VIDEO_PARAM;
  }
  auto made = std::make_shared<VplEncoder>(*wanted);
  if (!made->isOpen()) return MFX_ERR_INVALID_VIDEO_PARAM;
  session->encoder = std::move(made);
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXVideoENCODE_Reset(mfxSession session, mfxVideoParam* wanted) {
  QVS_VPL_CALL(MFXVideoENCODE_Reset);
  return session->encoder == nullptr ? MFX_ERR_NOT_INITIALIZED : session->encoder->reset(*wanted);
}
QVS_VPL_EXPORT mfxStatus MFXVideoENCODE_GetVideoParam(mfxSession session, mfxVideoParam* out) {
  QVS_VPL_CALL(MFXVideoENCODE_GetVideoParam);
  return session->encoder == nullptr ? MFX_ERR_NOT_INITIALIZED : session->encoder->tell(*out);
}
QVS_VPL_EXPORT mfxStatus MFXVideoENCODE_Close(mfxSession session) {
  const auto answer = vplFault("MFXVideoENCODE_Close");
  if (session->encoder == nullptr) return MFX_ERR_NOT_INITIALIZED;
  session->encoder.reset();
  return answer.value_or(MFX_ERR_NONE);
}
QVS_VPL_EXPORT mfxStatus MFXVideoENCODE_EncodeFrameAsync(mfxSession session, mfxEncodeCtrl* control,
                                                         mfxFrameSurface1* surface, mfxBitstream* bits,
                                                         mfxSyncPoint* point) {
  VplOperation operation;
  *point = nullptr;
  if (const auto answer = vplFault("MFXVideoENCODE_EncodeFrameAsync", operation)) return *answer;
  if (session->encoder == nullptr) return MFX_ERR_NOT_INITIALIZED;
  if (bits->MaxLength - bits->DataOffset - bits->DataLength < session->encoder->codedSize()) {
    return MFX_ERR_NOT_ENOUGH_BUFFER;
  }
  const mfxStatus status = session->encoder->encode(control, surface, operation);
  if (status != MFX_ERR_NONE) return status;
  operation.bits = bits;
  session->start(std::move(operation), point);
  return status;
}
