// The fake runtime's picture processing: scales from crop to crop, with black around it.
#include <libyuv/scale.h>
#include <vpl/mfx.h>

#include <algorithm>

#include "fakes/vpl/Runtime.h"

using namespace qvs::fakes;

namespace {

bool isInside(const mfxFrameInfo& info, const mfxFrameInfo& room) {
  return info.FourCC == MFX_FOURCC_NV12 && info.CropW > 0 && info.CropH > 0 && info.Width == room.Width &&
         info.Height == room.Height && info.CropX + info.CropW <= info.Width &&
         info.CropY + info.CropH <= info.Height;
}

uint8_t* lumaOf(const mfxFrameSurface1& surface, size_t pitch) {
  return surface.Data.Y + surface.Info.CropY * pitch + surface.Info.CropX;
}

uint8_t* chromaOf(const mfxFrameSurface1& surface, size_t pitch) {
  return surface.Data.UV + surface.Info.CropY / 2 * pitch + surface.Info.CropX;
}

size_t pitchOf(const mfxFrameSurface1& surface) {
  return size_t{surface.Data.PitchHigh} << 16 | surface.Data.PitchLow;
}

void scale(const mfxFrameSurface1& from, mfxFrameSurface1& to) {
  const size_t in = pitchOf(from), out = pitchOf(to);
  std::fill_n(to.Data.Y, out * to.Info.Height, uint8_t{16});
  std::fill_n(to.Data.UV, out * to.Info.Height / 2, uint8_t{128});
  libyuv::NV12Scale(lumaOf(from, in), static_cast<int>(in), chromaOf(from, in), static_cast<int>(in),
                    from.Info.CropW, from.Info.CropH, lumaOf(to, out), static_cast<int>(out),
                    chromaOf(to, out), static_cast<int>(out), to.Info.CropW, to.Info.CropH,
                    libyuv::kFilterBox);
  to.Data.TimeStamp = from.Data.TimeStamp;
}

}  // namespace

QVS_VPL_EXPORT mfxStatus MFXVideoVPP_Query(mfxSession, mfxVideoParam*, mfxVideoParam*) {
  QVS_VPL_CALL(MFXVideoVPP_Query);
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXVideoVPP_Init(mfxSession session, mfxVideoParam* wanted) {
  QVS_VPL_CALL(MFXVideoVPP_Init);
  const mfxInfoVPP& vpp = wanted->vpp;
  if (session->scaler != nullptr) return MFX_ERR_UNDEFINED_BEHAVIOR;
  if (session->display() == nullptr) return MFX_ERR_DEVICE_FAILED;
  const bool rated =
      vpp.In.FrameRateExtN * vpp.In.FrameRateExtD * vpp.Out.FrameRateExtN * vpp.Out.FrameRateExtD != 0;
  if (!rated || !isInside(vpp.In, vpp.In) || !isInside(vpp.Out, vpp.Out)) return MFX_ERR_INVALID_VIDEO_PARAM;
  session->scaler = std::make_shared<mfxInfoVPP>(vpp);
  vplCounts().opened("scaler");
  return MFX_ERR_NONE;
}
QVS_VPL_EXPORT mfxStatus MFXVideoVPP_Close(mfxSession session) {
  const auto answer = vplFault("MFXVideoVPP_Close");
  if (session->scaler == nullptr) return MFX_ERR_NOT_INITIALIZED;
  session->scaler.reset();
  vplCounts().closed("scaler");
  return answer.value_or(MFX_ERR_NONE);
}
QVS_VPL_EXPORT mfxStatus MFXVideoVPP_RunFrameVPPAsync(mfxSession session, mfxFrameSurface1* in,
                                                      mfxFrameSurface1* out, mfxExtVppAuxData*,
                                                      mfxSyncPoint* point) {
  VplOperation operation;
  *point = nullptr;
  if (const auto answer = vplFault("MFXVideoVPP_RunFrameVPPAsync", operation)) return *answer;
  if (session->scaler == nullptr) return MFX_ERR_NOT_INITIALIZED;
  if (in == nullptr) return MFX_ERR_MORE_DATA;
  if (out->Data.Locked != 0) return MFX_ERR_LOCK_MEMORY;
  if (!isInside(in->Info, session->scaler->In) || !isInside(out->Info, session->scaler->Out))
    return MFX_ERR_INCOMPATIBLE_VIDEO_PARAM;
  scale(*in, *out);
  ++out->Data.Locked;
  operation.surface = out;
  session->start(std::move(operation), point);
  return MFX_ERR_NONE;
}
