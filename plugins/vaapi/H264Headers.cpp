// H.264's sequence and picture parameter sets and slice headers, bit by bit.
#include "H264Headers.h"

#include "ColorHeader.h"

namespace qvs::vaapi {
namespace {

constexpr uint32_t kSequenceUnit = 0x67, kPictureUnit = 0x68, kKeySliceUnit = 0x65, kSliceUnit = 0x61;
constexpr uint32_t kHighProfile = 100;

}  // namespace

void H264Headers::usability(const VAEncSequenceParameterBufferH264& sequence, const ColorDescription& color) {
  out.bits(0, 2);  // aspect ratio, overscan
  writeColor(out, color);
  out.bit(false);  // places of chroma samples
  out.bit(true);
  out.bits(sequence.num_units_in_tick, 32);
  out.bits(sequence.time_scale, 32);
  out.bit(sequence.vui_fields.bits.fixed_frame_rate_flag != 0);
  out.bits(0, 3);  // two buffer models, structure of pictures
  out.bit(true);   // restrictions
  out.bit(true);   // vectors over the border
  out.unsignedGolomb(0);
  out.unsignedGolomb(0);
  out.unsignedGolomb(sequence.vui_fields.bits.log2_max_mv_length_horizontal);
  out.unsignedGolomb(sequence.vui_fields.bits.log2_max_mv_length_vertical);
  out.unsignedGolomb(0);  // nothing is reordered
  out.unsignedGolomb(sequence.max_num_ref_frames);
}

void H264Headers::sets(const VAEncSequenceParameterBufferH264& sequence,
                       const VAEncPictureParameterBufferH264& picture, uint8_t profileIdc,
                       uint8_t constraints, const ColorDescription& color) {
  out.clear();
  out.bits(kSequenceUnit, 8);
  out.bits(profileIdc, 8);
  out.bits(constraints, 8);
  out.bits(sequence.level_idc, 8);
  out.unsignedGolomb(sequence.seq_parameter_set_id);
  if (profileIdc == kHighProfile) {
    out.unsignedGolomb(1);  // 4:2:0
    out.unsignedGolomb(0);  // 8 bits
    out.unsignedGolomb(0);
    out.bits(0, 2);  // bypass, scaling lists
  }
  out.unsignedGolomb(sequence.seq_fields.bits.log2_max_frame_num_minus4);
  out.unsignedGolomb(0);  // the type of picture order counts
  out.unsignedGolomb(sequence.seq_fields.bits.log2_max_pic_order_cnt_lsb_minus4);
  out.unsignedGolomb(sequence.max_num_ref_frames);
  out.bit(false);  // gaps of frame numbers
  out.unsignedGolomb(sequence.picture_width_in_mbs - 1u);
  out.unsignedGolomb(sequence.picture_height_in_mbs - 1u);
  out.bit(true);  // frames only
  out.bit(true);  // direct inference
  out.bit(sequence.frame_cropping_flag != 0);
  if (sequence.frame_cropping_flag != 0) {
    out.unsignedGolomb(sequence.frame_crop_left_offset);
    out.unsignedGolomb(sequence.frame_crop_right_offset);
    out.unsignedGolomb(sequence.frame_crop_top_offset);
    out.unsignedGolomb(sequence.frame_crop_bottom_offset);
  }
  out.bit(true);
  usability(sequence, color);
  out.trailing();
  sequenceSet.clear();
  appendUnit(sequenceSet, out.data(), out.bitLength());

  const auto& fields = picture.pic_fields.bits;
  out.clear();
  out.bits(kPictureUnit, 8);
  out.unsignedGolomb(picture.pic_parameter_set_id);
  out.unsignedGolomb(picture.seq_parameter_set_id);
  out.bit(fields.entropy_coding_mode_flag != 0);
  out.bit(false);
  out.unsignedGolomb(0);  // one slice group
  out.unsignedGolomb(picture.num_ref_idx_l0_active_minus1);
  out.unsignedGolomb(0);
  out.bits(0, 3);  // no weights
  out.signedGolomb(picture.pic_init_qp - 26);
  out.signedGolomb(0);
  out.signedGolomb(picture.chroma_qp_index_offset);
  out.bit(fields.deblocking_filter_control_present_flag != 0);
  out.bits(0, 2);  // constrained prediction, redundant pictures
  if (fields.transform_8x8_mode_flag != 0) {
    out.bit(true);
    out.bit(false);
    out.signedGolomb(picture.second_chroma_qp_index_offset);
  }
  out.trailing();
  pictureSet.clear();
  appendUnit(pictureSet, out.data(), out.bitLength());
}

void H264Headers::slice(const VAEncSequenceParameterBufferH264& sequence,
                        const VAEncPictureParameterBufferH264& picture,
                        const VAEncSliceParameterBufferH264& slice) {
  const bool key = picture.pic_fields.bits.idr_pic_flag != 0;
  out.clear();
  out.bits(key ? kKeySliceUnit : kSliceUnit, 8);
  out.unsignedGolomb(slice.macroblock_address);
  out.unsignedGolomb(slice.slice_type + 5u);  // all slices of the picture are of this type
  out.unsignedGolomb(slice.pic_parameter_set_id);
  out.bits(picture.frame_num, sequence.seq_fields.bits.log2_max_frame_num_minus4 + 4);
  if (key) out.unsignedGolomb(slice.idr_pic_id);
  out.bits(slice.pic_order_cnt_lsb, sequence.seq_fields.bits.log2_max_pic_order_cnt_lsb_minus4 + 4);
  if (key) {
    out.bits(0, 2);  // earlier pictures are shown, and it is no long-term reference
  } else {
    out.bits(0, 2);  // as many references as the picture set tells, in their order
    out.bit(false);  // references leave in their order
    if (picture.pic_fields.bits.entropy_coding_mode_flag != 0) out.unsignedGolomb(slice.cabac_init_idc);
  }
  out.signedGolomb(slice.slice_qp_delta);
  if (picture.pic_fields.bits.deblocking_filter_control_present_flag != 0) {
    out.unsignedGolomb(slice.disable_deblocking_filter_idc);
    if (slice.disable_deblocking_filter_idc != 1) {
      out.signedGolomb(slice.slice_alpha_c0_offset_div2);
      out.signedGolomb(slice.slice_beta_offset_div2);
    }
  }
  sliceHeader.clear();
  sliceBits = appendUnit(sliceHeader, out.data(), out.bitLength());
}

}  // namespace qvs::vaapi
