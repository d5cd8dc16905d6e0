// H.264 parameter sets out of the parameters of a picture.
#include "CuvidHeaders.h"

#include <algorithm>

#include "BitWriter.h"
#include "video/BitReader.h"

namespace qvs::fakes {
namespace {

using vaapi::BitWriter;

constexpr uint8_t kZigzag4[16] = {0, 1, 4, 8, 5, 2, 3, 6, 9, 12, 13, 10, 7, 11, 14, 15};
constexpr uint8_t kZigzag8[64] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                                  12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28,
                                  35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23, 30, 37, 44, 51,
                                  58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

uint32_t number(int value) {
  return static_cast<uint32_t>(value);
}

void finish(BitWriter& writer, std::vector<uint8_t>& out) {
  writer.trailing();
  vaapi::appendUnit(out, writer.data(), writer.bitLength());
  writer.clear();
}

void writeSequence(const CUVIDPICPARAMS& picture, BitWriter& writer) {
  const CUVIDH264PICPARAMS& h264 = picture.CodecSpecific.h264;
  const bool framesOnly = h264.frame_mbs_only_flag != 0;
  writer.bits(0x67640033, 32);                                // High, level 5.1
  for (int i = 0; i < 4; ++i) writer.unsignedGolomb(i == 1);  // set 0, 4:2:0, 8 bits
  writer.bits(0, 2);
  writer.unsignedGolomb(number(h264.log2_max_frame_num_minus4));
  writer.unsignedGolomb(number(h264.pic_order_cnt_type));
  if (h264.pic_order_cnt_type == 0) writer.unsignedGolomb(number(h264.log2_max_pic_order_cnt_lsb_minus4));
  writer.unsignedGolomb(number(h264.num_ref_frames));
  writer.bit(false);
  writer.unsignedGolomb(number(picture.PicWidthInMbs - 1));
  writer.unsignedGolomb(number(picture.FrameHeightInMbs / (framesOnly ? 1 : 2) - 1));
  writer.bit(framesOnly);
  if (!framesOnly) writer.bit(h264.MbaffFrameFlag != 0);
  writer.bit(h264.direct_8x8_inference_flag != 0);
  writer.bits(0, 2);  // no cropping, nothing of how to show it
}

template <size_t size>
void writeList(BitWriter& writer, const unsigned char (&values)[size], const uint8_t (&order)[size]) {
  int last = 8;
  writer.bit(true);
  for (uint8_t place : order) {
    writer.signedGolomb(static_cast<int8_t>(values[place] - last));
    last = values[place];
  }
}

template <size_t lists, size_t size>
bool isFlat(const unsigned char (&values)[lists][size]) {
  return std::all_of(&values[0][0], &values[0][0] + lists * size,
                     [](unsigned char one) { return one == 16; });
}

void writeScaling(const CUVIDH264PICPARAMS& h264, BitWriter& writer) {
  const bool listed = !isFlat(h264.WeightScale4x4) || !isFlat(h264.WeightScale8x8);
  writer.bit(listed);
  if (!listed) return;
  for (const auto& list : h264.WeightScale4x4) writeList(writer, list, kZigzag4);
  if (h264.transform_8x8_mode_flag == 0) return;
  for (const auto& list : h264.WeightScale8x8) writeList(writer, list, kZigzag8);
}

/// The number of the set that the first slice names.
uint32_t pictureSetOf(const CUVIDPICPARAMS& picture) {
  const unsigned first = picture.nNumSlices != 0 ? picture.pSliceDataOffsets[0] : 0;
  const size_t end = std::min<size_t>(picture.nBitstreamDataLen, first + 20);
  const std::vector<uint8_t> bytes(picture.pBitstreamData + std::min<size_t>(first + 4, end),
                                   picture.pBitstreamData + end);
  mc::BitReader reader(bytes);
  reader.unsignedGolomb();  // first macroblock
  reader.unsignedGolomb();  // type
  return reader.unsignedGolomb();
}

void writePicture(const CUVIDPICPARAMS& picture, BitWriter& writer) {
  const CUVIDH264PICPARAMS& h264 = picture.CodecSpecific.h264;
  writer.bits(0x68, 8);
  writer.unsignedGolomb(pictureSetOf(picture));
  writer.unsignedGolomb(0);
  writer.bit(h264.entropy_coding_mode_flag != 0);
  writer.bit(h264.pic_order_present_flag != 0);
  writer.unsignedGolomb(0);
  writer.unsignedGolomb(number(h264.num_ref_idx_l0_active_minus1));
  writer.unsignedGolomb(number(h264.num_ref_idx_l1_active_minus1));
  writer.bit(h264.weighted_pred_flag != 0);
  writer.bits(number(h264.weighted_bipred_idc), 2);
  writer.signedGolomb(h264.pic_init_qp_minus26);
  writer.signedGolomb(h264.pic_init_qs_minus26);
  writer.signedGolomb(h264.chroma_qp_index_offset);
  writer.bit(h264.deblocking_filter_control_present_flag != 0);
  writer.bit(h264.constrained_intra_pred_flag != 0);
  writer.bit(h264.redundant_pic_cnt_present_flag != 0);
  writer.bit(h264.transform_8x8_mode_flag != 0);
  writeScaling(h264, writer);
  writer.signedGolomb(h264.second_chroma_qp_index_offset);
}

}  // namespace

std::vector<uint8_t> h264HeadersOf(const CUVIDPICPARAMS& picture) {
  std::vector<uint8_t> headers;
  // The offsets of that type aren't among the parameters.
  if (picture.CodecSpecific.h264.pic_order_cnt_type == 1) return headers;
  BitWriter writer;
  writeSequence(picture, writer);
  finish(writer, headers);
  writePicture(picture, writer);
  finish(writer, headers);
  return headers;
}

}  // namespace qvs::fakes
