// Deinterlaces captured pictures with the color converter.
#include "capture/CaptureDeviceTransferVideoFrameBase.h"

namespace qvs {

namespace {

ucc_frame_t viewOf(uint8_t* bytes, uint32_t width, uint32_t height, uint32_t stride) {
  ucc_frame_t view{};
  view.pixel_format = UCC_FORMAT_AYUV;
  view.width = width;
  view.height = height;
  view.stride[0] = static_cast<int32_t>(stride);
  view.plane[0] = bytes;
  return view;
}

}  // namespace

uint32_t CaptureDeviceTransferVideoFrameBase::deinterlaceFrameMC(uint8_t* src, uint8_t* dst, uint32_t width,
                                                                 uint32_t height, uint32_t stride) {
  if (stride > INT32_MAX) return kFailure;
  if (!ucc_deinterlace_ptr) ucc_deinterlace_ptr.reset(UCC_Create(0));
  ucc_frame_t ucc_deinterlace_src = viewOf(src, width, height, stride);
  ucc_frame_t ucc_deinterlace_dts = viewOf(dst, width, height, stride);
  ucc_deinterlace_src.bottom_field_first_flag = videoTopFieldFirst != 0 ? 0 : 1;
  ucc_config_t ucc_deinterlace_config{};
  ucc_deinterlace_config.deinterlacing_method_idc = UCC_DEINTERLACING_INTERFIELD_INTERPOLATION;
  return UCC_Transform(ucc_deinterlace_ptr.get(), &ucc_deinterlace_dts, &ucc_deinterlace_src,
                       &ucc_deinterlace_config);
}

}  // namespace qvs
