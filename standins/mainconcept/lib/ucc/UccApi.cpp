// The converter's C interface.
#include <new>

#include "ucc/Converter.h"

using qvs::ucc::Converter;
using qvs::ucc::FourCcRow;
using qvs::ucc::PixelFormat;

namespace {

constexpr auto kBadArgument = static_cast<uint32_t>(qvs::ucc::Status::kBadArgument);
constexpr auto kDone = static_cast<uint32_t>(qvs::ucc::Status::kDone);

// A bottom-up picture of one plane starts on the last row of its block; more planes have no bottom-up layout.
bool layoutIsKnown(const mc_frame_colorspace_info_t& info, const PixelFormat& format) {
  for (int p = 0; p < format.planes; ++p) {
    if (info.stride[p] < 0 && format.planes > 1) return false;
  }
  return true;
}

}  // namespace

extern "C" {

void* UCC_Create(uint32_t flags) {
  return flags == 0 ? new (std::nothrow) Converter : nullptr;
}

void UCC_Destroy(void* instance) {
  delete static_cast<Converter*>(instance);
}

uint32_t UCC_Transform(void* instance, ucc_frame_t* target, const ucc_frame_t* source,
                       const ucc_config_t* config) {
  if (!instance || !target || !source) return kBadArgument;
  auto* converter = static_cast<Converter*>(instance);
  return static_cast<uint32_t>(converter->transform(*target, *source, config ? *config : ucc_config_t{}));
}

uint32_t UCC_InitFrameBuffer(ucc_frame_t* frame, uint8_t* memory, const mc_frame_colorspace_info_t* info) {
  if (!frame || !memory || !info) return kBadArgument;
  const FourCcRow* row = qvs::ucc::findFourCc(info->fourcc);
  if (!row) return kBadArgument;
  const PixelFormat& format = *qvs::ucc::findPixelFormat(row->format);
  if (!layoutIsKnown(*info, format)) return kBadArgument;

  frame->pixel_format = format.id;
  frame->width = info->width;
  frame->height = info->height;
  for (int p = 0; p < 4; ++p) {
    const int from = row->vBeforeU && (p == 1 || p == 2) ? 3 - p : p;
    const bool used = p < format.planes;
    frame->plane[p] = used ? memory + info->plane_offset[from] : nullptr;
    frame->stride[p] = used ? info->stride[from] : 0;
  }
  if (info->stride[0] < 0) frame->plane[0] += static_cast<int64_t>(info->frame_size) + info->stride[0];
  return kDone;
}

}  // extern "C"
