// H.265's parameter sets and slice headers, bit by bit.
#include "H265Headers.h"

#include "ColorHeader.h"

namespace qvs::vaapi {
namespace {

constexpr uint32_t kVideoUnit = 32, kSequenceUnit = 33, kPictureUnit = 34;
constexpr uint32_t kSliceBidirectional = 0, kSliceIntra = 2;

}  // namespace

void H265Headers::unit(uint32_t type) {
  out.clear();
  out.bits(type << 9 | 1, 16);  // layer 0, temporal layer 0
}

void H265Headers::finish() {
  out.trailing();
  appendUnit(allSets, out.data(), out.bitLength());
}

void H265Headers::profileTierLevel(const VAEncSequenceParameterBufferHEVC& sequence) {
  out.bits(0, 2);
  out.bit(sequence.general_tier_flag != 0);
  out.bits(sequence.general_profile_idc, 5);
  out.bits(0x60000000, 32);  // what decodes Main or Main 10 decodes this
  out.bits(0b1001, 4);       // progressive frames only
  out.bits(0, 32);
  out.bits(0, 12);
  out.bits(sequence.general_level_idc, 8);
}

void H265Headers::videoSet(const VAEncSequenceParameterBufferHEVC& sequence) {
  unit(kVideoUnit);
  out.bits(0, 4);
  out.bits(0b11, 2);  // the base layer is here
  out.bits(0, 6);     // one layer
  out.bits(0, 3);     // one temporal layer
  out.bit(true);
  out.bits(0xFFFF, 16);
  profileTierLevel(sequence);
  out.bit(true);
  out.unsignedGolomb(1);  // two pictures in the decoder, none reordered
  out.unsignedGolomb(0);
  out.unsignedGolomb(0);
  out.bits(0, 6);
  out.unsignedGolomb(0);
  out.bits(0, 2);  // timing, extension
  finish();
}

void H265Headers::sequenceSet(const VAEncSequenceParameterBufferHEVC& sequence, const StreamShape& shape) {
  const auto& fields = sequence.seq_fields.bits;
  unit(kSequenceUnit);
  out.bits(0, 4);
  out.bits(0, 3);
  out.bit(true);
  profileTierLevel(sequence);
  out.unsignedGolomb(0);
  out.unsignedGolomb(1);  // 4:2:0
  out.unsignedGolomb(sequence.pic_width_in_luma_samples);
  out.unsignedGolomb(sequence.pic_height_in_luma_samples);
  const uint32_t right = (sequence.pic_width_in_luma_samples - shape.width) / 2;
  const uint32_t bottom = (sequence.pic_height_in_luma_samples - shape.height) / 2;
  out.bit(right != 0 || bottom != 0);
  if (right != 0 || bottom != 0) {
    for (uint32_t offset : {0u, right, 0u, bottom}) out.unsignedGolomb(offset);
  }
  out.unsignedGolomb(0);  // 8 bits
  out.unsignedGolomb(0);
  out.unsignedGolomb(kOrderBits - 4);
  out.bit(true);
  out.unsignedGolomb(1);  // two pictures in the decoder, none reordered
  out.unsignedGolomb(0);
  out.unsignedGolomb(0);
  out.unsignedGolomb(sequence.log2_min_luma_coding_block_size_minus3);
  out.unsignedGolomb(sequence.log2_diff_max_min_luma_coding_block_size);
  out.unsignedGolomb(sequence.log2_min_transform_block_size_minus2);
  out.unsignedGolomb(sequence.log2_diff_max_min_transform_block_size);
  out.unsignedGolomb(sequence.max_transform_hierarchy_depth_inter);
  out.unsignedGolomb(sequence.max_transform_hierarchy_depth_intra);
  out.bit(false);  // scaling lists
  out.bit(fields.amp_enabled_flag != 0);
  out.bit(fields.sample_adaptive_offset_enabled_flag != 0);
  out.bit(false);         // PCM
  out.unsignedGolomb(0);  // each slice brings its reference set
  out.bit(false);         // long-term references
  out.bit(fields.sps_temporal_mvp_enabled_flag != 0);
  out.bit(fields.strong_intra_smoothing_enabled_flag != 0);
  out.bit(true);   // what follows tells how to show it
  out.bits(0, 2);  // aspect ratio, overscan
  writeColor(out, shape.color);
  out.bits(0, 5);  // places of chroma samples, neutral chroma, fields, their information, default window
  out.bit(true);
  out.bits(sequence.vui_num_units_in_tick, 32);
  out.bits(sequence.vui_time_scale, 32);
  out.bits(0, 2);  // order counts as time, buffer model
  out.bit(false);  // restrictions
  out.bit(false);  // extensions
  finish();
}

void H265Headers::pictureSet(const VAEncPictureParameterBufferHEVC& picture) {
  const auto& fields = picture.pic_fields.bits;
  unit(kPictureUnit);
  out.unsignedGolomb(0);
  out.unsignedGolomb(0);
  out.bits(0, 2);  // dependent slices, output flag
  out.bits(0, 3);
  out.bit(fields.sign_data_hiding_enabled_flag != 0);
  out.bit(false);         // initial state by slice
  out.unsignedGolomb(0);  // one reference in each list
  out.unsignedGolomb(0);
  out.signedGolomb(picture.pic_init_qp - 26);
  out.bit(false);  // constrained prediction
  out.bit(fields.transform_skip_enabled_flag != 0);
  out.bit(fields.cu_qp_delta_enabled_flag != 0);
  if (fields.cu_qp_delta_enabled_flag != 0) out.unsignedGolomb(picture.diff_cu_qp_delta_depth);
  out.signedGolomb(0);  // quantizers of chroma
  out.signedGolomb(0);
  out.bits(0, 6);  // their offsets by slice, two weights, bypass, tiles, wavefronts
  out.bit(fields.pps_loop_filter_across_slices_enabled_flag != 0);
  out.bits(0, 3);  // control of the filter, scaling lists, modification of lists
  out.unsignedGolomb(0);
  out.bits(0, 2);  // extensions
  finish();
}

void H265Headers::sets(const VAEncSequenceParameterBufferHEVC& sequence,
                       const VAEncPictureParameterBufferHEVC& picture, const StreamShape& shape) {
  allSets.clear();
  videoSet(sequence);
  sequenceSet(sequence, shape);
  pictureSet(picture);
}

void H265Headers::slice(const VAEncSequenceParameterBufferHEVC& sequence,
                        const VAEncPictureParameterBufferHEVC& picture,
                        const VAEncSliceParameterBufferHEVC& slice) {
  const auto& fields = slice.slice_fields.bits;
  const bool key = picture.pic_fields.bits.idr_pic_flag != 0;
  unit(picture.nal_unit_type);
  out.bit(true);            // the picture's first
  if (key) out.bit(false);  // earlier pictures are shown
  out.unsignedGolomb(0);
  out.unsignedGolomb(slice.slice_type);
  if (!key) {
    out.bits(static_cast<uint32_t>(picture.decoded_curr_pic.pic_order_cnt) % (1u << kOrderBits), kOrderBits);
    out.bit(false);  // its reference set: the picture before
    out.unsignedGolomb(1);
    out.unsignedGolomb(0);
    out.unsignedGolomb(0);
    out.bit(true);
    if (sequence.seq_fields.bits.sps_temporal_mvp_enabled_flag != 0) out.bit(false);
  }
  const bool offsets = sequence.seq_fields.bits.sample_adaptive_offset_enabled_flag != 0;
  if (offsets) {
    out.bit(fields.slice_sao_luma_flag != 0);
    out.bit(fields.slice_sao_chroma_flag != 0);
  }
  if (slice.slice_type != kSliceIntra) {
    out.bit(false);  // as many references as the picture set tells
    if (slice.slice_type == kSliceBidirectional) out.bit(fields.mvd_l1_zero_flag != 0);
    out.unsignedGolomb(5u - slice.max_num_merge_cand);
  }
  out.signedGolomb(slice.slice_qp_delta);
  if (picture.pic_fields.bits.pps_loop_filter_across_slices_enabled_flag != 0) {
    out.bit(fields.slice_loop_filter_across_slices_enabled_flag != 0);
  }
  out.trailing();
  sliceHeader.clear();
  sliceBits = appendUnit(sliceHeader, out.data(), out.bitLength());
}

}  // namespace qvs::vaapi
