// H.264 as libva takes it: one slice a picture, one reference, key pictures with both parameter sets.
#include <algorithm>
#include <array>

#include "H264Headers.h"
#include "LevelTable.h"
#include "VaCodec.h"

namespace qvs::vaapi {
namespace {

constexpr uint32_t kBlock = 16;
constexpr uint8_t kSlicePredicted = 0, kSliceIntra = 2;
constexpr uint32_t kSequenceUnit = 7;

// Macroblocks a second and in a picture; rates of the High profile.
constexpr LevelRow kLevels[] = {
    {10, 1485, 99, 80},           {11, 3000, 396, 240},         {12, 6000, 396, 480},
    {13, 11880, 396, 960},        {20, 11880, 396, 2500},       {21, 19800, 792, 5000},
    {22, 20250, 1620, 5000},      {30, 40500, 1620, 12500},     {31, 108000, 3600, 17500},
    {32, 216000, 5120, 25000},    {40, 245760, 8192, 25000},    {41, 245760, 8192, 62500},
    {42, 522240, 8704, 62500},    {50, 589824, 22080, 168750},  {51, 983040, 36864, 300000},
    {52, 2073600, 36864, 300000}, {60, 4177920, 139264, 300000}};

struct ProfileRow {
  VAProfile profile;
  int64_t key;  ///< the plug-in's number of it
  uint8_t idc;
  uint8_t constraints;  ///< the flags in front of the level
};
constexpr ProfileRow kProfiles[] = {{VAProfileH264High, 3, 100, 0},
                                    {VAProfileH264Main, 2, 77, 0x40},
                                    {VAProfileH264ConstrainedBaseline, 1, 66, 0xC0}};

VAPictureH264 noPicture() {
  VAPictureH264 picture{};
  picture.picture_id = VA_INVALID_SURFACE;
  picture.flags = VA_PICTURE_H264_INVALID;
  return picture;
}

class H264Codec : public VaCodec {
 public:
  std::span<const VAProfile> profiles(int64_t wanted) const override {
    static constexpr std::array<VAProfile, 3> kAll = {kProfiles[0].profile, kProfiles[1].profile,
                                                      kProfiles[2].profile};
    if (wanted == 0) return kAll;
    for (size_t i = 0; i < kAll.size(); ++i) {
      if (kProfiles[i].key == wanted) return std::span(kAll).subspan(i, 1);
    }
    return {};
  }
  uint32_t maxQp() const override { return 51; }
  uint32_t defaultQp() const override { return 26; }
  uint32_t packedHeaders() const override {
    return VA_ENC_PACKED_HEADER_SEQUENCE | VA_ENC_PACKED_HEADER_PICTURE | VA_ENC_PACKED_HEADER_SLICE;
  }

  void begin(const StreamShape& given) override {
    shape = given;
    profile = std::ranges::find(kProfiles, shape.profile, &ProfileRow::profile);
    beginSequence();
    beginPicture();
    slice = {};
    slice.num_macroblocks = uint32_t{stream.picture_width_in_mbs} * stream.picture_height_in_mbs;
    slice.macroblock_info = VA_INVALID_ID;
    slice.direct_spatial_mv_pred_flag = 1;
    std::ranges::fill(slice.RefPicList0, noPicture());
    std::ranges::fill(slice.RefPicList1, noPicture());
    writer.sets(stream, parameters, profile->idc, profile->constraints, shape.color);
    sets = writer.sequenceSet;
    sets.insert(sets.end(), writer.pictureSet.begin(), writer.pictureSet.end());
  }

  void setBitRate(uint32_t bitsPerSecond) override { stream.bits_per_second = bitsPerSecond; }

  void sequence(ParameterList& out) override { out.add(VAEncSequenceParameterBufferType, stream); }
  void picture(const PictureState& state, ParameterList& out) override {
    const uint32_t order = 2 * state.sinceKey;
    parameters.CurrPic.picture_id = state.reconstructed;
    parameters.CurrPic.frame_idx = parameters.frame_num = static_cast<uint16_t>(state.sinceKey % 256);
    parameters.CurrPic.TopFieldOrderCnt = parameters.CurrPic.BottomFieldOrderCnt =
        static_cast<int32_t>(order);
    parameters.coded_buf = state.coded;
    parameters.pic_fields.bits.idr_pic_flag = state.key;
    slice.slice_type = state.key ? kSliceIntra : kSlicePredicted;
    slice.idr_pic_id = static_cast<uint16_t>(state.keyNumber);
    slice.pic_order_cnt_lsb = static_cast<uint16_t>(order % 256);
    parameters.ReferenceFrames[0] = slice.RefPicList0[0] = state.key ? noPicture() : previous;
    previous = parameters.CurrPic;
    previous.flags = VA_PICTURE_H264_SHORT_TERM_REFERENCE;

    out.add(VAEncPictureParameterBufferType, parameters);
    if (state.key) addSets(out);
    if ((shape.packed & VA_ENC_PACKED_HEADER_SLICE) != 0) {
      writer.slice(stream, parameters, slice);
      out.addPacked(packed[2], VAEncPackedHeaderSlice, writer.sliceHeader, writer.sliceBits);
    }
    out.add(VAEncSliceParameterBufferType, slice);
  }

  std::span<const uint8_t> headers() const override { return sets; }
  bool hasHeaders(std::span<const uint8_t> coded) const override {
    for (size_t i = 0; i + 3 < coded.size(); ++i) {
      if (coded[i] == 0 && coded[i + 1] == 0 && coded[i + 2] == 1) {
        const uint32_t type = coded[i + 3] & 31u;
        if (type == kSequenceUnit) return true;
        if (type <= 5) return false;  // a slice: what follows is coded data
      }
    }
    return false;
  }

 private:
  void beginSequence() {
    stream = {};
    const uint32_t columns = (shape.width + kBlock - 1) / kBlock, rows = (shape.height + kBlock - 1) / kBlock;
    const double rate = static_cast<double>(shape.rate.num) / shape.rate.den;
    const uint32_t level = shape.level != 0
                               ? shape.level
                               : levelFor(kLevels, uint64_t{columns} * rows, rate, shape.bitsPerSecond);
    stream.level_idc = static_cast<uint8_t>(level);
    stream.intra_period = stream.intra_idr_period = shape.keyInterval;
    stream.ip_period = 1;
    stream.bits_per_second = shape.bitsPerSecond;
    stream.max_num_ref_frames = 1;
    stream.picture_width_in_mbs = static_cast<uint16_t>(columns);
    stream.picture_height_in_mbs = static_cast<uint16_t>(rows);
    auto& fields = stream.seq_fields.bits;
    fields.chroma_format_idc = 1;
    fields.frame_mbs_only_flag = 1;
    fields.direct_8x8_inference_flag = 1;
    fields.log2_max_frame_num_minus4 = 4;
    fields.log2_max_pic_order_cnt_lsb_minus4 = 4;
    stream.frame_crop_right_offset = (columns * kBlock - shape.width) / 2;
    stream.frame_crop_bottom_offset = (rows * kBlock - shape.height) / 2;
    stream.frame_cropping_flag = stream.frame_crop_right_offset != 0 || stream.frame_crop_bottom_offset != 0;
    stream.vui_parameters_present_flag = 1;
    stream.vui_fields.bits.timing_info_present_flag = 1;
    stream.vui_fields.bits.bitstream_restriction_flag = 1;
    stream.vui_fields.bits.motion_vectors_over_pic_boundaries_flag = 1;
    stream.vui_fields.bits.log2_max_mv_length_horizontal = 15;
    stream.vui_fields.bits.log2_max_mv_length_vertical = 15;
    stream.num_units_in_tick = shape.rate.den;
    stream.time_scale = 2 * shape.rate.num;
  }

  void beginPicture() {
    parameters = {};
    std::ranges::fill(parameters.ReferenceFrames, noPicture());
    parameters.pic_init_qp = static_cast<uint8_t>(shape.qp);
    auto& fields = parameters.pic_fields.bits;
    fields.reference_pic_flag = 1;
    fields.entropy_coding_mode_flag = shape.profile != VAProfileH264ConstrainedBaseline;
    fields.transform_8x8_mode_flag = shape.profile == VAProfileH264High;
    fields.deblocking_filter_control_present_flag = 1;
  }

  /// A driver that doesn't know of picture headers gets both sets as one.
  void addSets(ParameterList& out) {
    if ((shape.packed & VA_ENC_PACKED_HEADER_SEQUENCE) == 0) return;
    const bool apart = (shape.packed & VA_ENC_PACKED_HEADER_PICTURE) != 0;
    const std::vector<uint8_t>& first = apart ? writer.sequenceSet : sets;
    out.addPacked(packed[0], VAEncPackedHeaderSequence, first, static_cast<uint32_t>(first.size()) * 8);
    if (!apart) return;
    out.addPacked(packed[1], VAEncPackedHeaderPicture, writer.pictureSet,
                  static_cast<uint32_t>(writer.pictureSet.size()) * 8);
  }

  StreamShape shape;
  const ProfileRow* profile = nullptr;
  VAEncSequenceParameterBufferH264 stream{};
  VAEncPictureParameterBufferH264 parameters{};
  VAEncSliceParameterBufferH264 slice{};
  VAPictureH264 previous{};
  VAEncPackedHeaderParameterBuffer packed[3]{};
  H264Headers writer;
  std::vector<uint8_t> sets;
};

}  // namespace

const CodecRow kCodecRow{"vaapi", "H.264", [] { return std::unique_ptr<VaCodec>(new H264Codec); }};

}  // namespace qvs::vaapi
