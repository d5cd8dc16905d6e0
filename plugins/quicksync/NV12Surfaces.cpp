// System memory for a media runtime's pictures.
#include "NV12Surfaces.h"

#include <cstdlib>

namespace qvs::plugins {
namespace {

constexpr uint32_t kAlignment = 64;

uint32_t alignedTo(uint32_t value, uint32_t unit) {
  return (value + unit - 1) / unit * unit;
}

}  // namespace

void NV12Surfaces::Free::operator()(uint8_t* bytes) const {
  std::free(bytes);
}

bool NV12Surfaces::allocate(const mfxFrameInfo& info, uint32_t count) {
  clear();
  const uint32_t pitch = alignedTo(info.Width, kAlignment);
  const size_t luma = size_t{pitch} * info.Height;
  const size_t size = luma + size_t{pitch} * ((info.Height + 1u) / 2);
  const size_t step = (size + kAlignment - 1) / kAlignment * kAlignment;
  memory.reset(static_cast<uint8_t*>(std::aligned_alloc(kAlignment, step * count)));
  if (memory == nullptr) return false;
  surfaces.assign(count, {});
  decoded.assign(count, {});
  attached.assign(count, nullptr);
  held.assign(count, 0);
  for (uint32_t i = 0; i < count; ++i) {
    decoded[i].Header = {MFX_EXTBUFF_DECODED_FRAME_INFO, sizeof decoded[i]};
    attached[i] = &decoded[i].Header;
    surfaces[i].Info = info;
    mfxFrameData& data = surfaces[i].Data;
    data.Y = memory.get() + step * i;
    data.UV = data.Y + luma;
    data.PitchLow = static_cast<mfxU16>(pitch);
    data.PitchHigh = static_cast<mfxU16>(pitch >> 16);
    data.ExtParam = &attached[i];
    data.NumExtParam = 1;
  }
  return true;
}

void NV12Surfaces::clear() {
  surfaces.clear();
  memory.reset();
}

mfxFrameSurface1* NV12Surfaces::findFree() {
  for (size_t i = 0; i < surfaces.size(); ++i) {
    next = (next + 1) % surfaces.size();
    // The runtime's own threads change the count.
    const mfxU16 locked = __atomic_load_n(&surfaces[next].Data.Locked, __ATOMIC_ACQUIRE);
    if (locked == 0 && held[next] == 0) return &surfaces[next];
  }
  return nullptr;
}

uint16_t decodedFrameType(const mfxFrameSurface1& surface) {
  if (surface.Data.NumExtParam == 0) return 0;
  return reinterpret_cast<const mfxExtDecodedFrameInfo*>(surface.Data.ExtParam[0])->FrameType;
}

}  // namespace qvs::plugins
