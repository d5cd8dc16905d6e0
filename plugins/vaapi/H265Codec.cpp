// H.265 as libva takes it: one slice a picture, one reference, key pictures with all parameter sets.
#include <algorithm>
#include <array>

#include "H265Headers.h"
#include "LevelTable.h"

namespace qvs::vaapi {
namespace {

constexpr uint8_t kSliceBidirectional = 0, kSlicePredicted = 1, kSliceIntra = 2;
constexpr uint8_t kKeyUnit = 19, kTrailingUnit = 1;
constexpr uint32_t kFirstUnitBehindSlices = 32, kSequenceUnit = 33;

// Luma samples a second and in a picture; rates of the Main tier.
constexpr LevelRow kLevels[] = {{30, 552960, 36864, 128},           {60, 3686400, 122880, 1500},
                                {63, 7372800, 245760, 3000},        {90, 16588800, 552960, 6000},
                                {93, 33177600, 983040, 10000},      {120, 66846720, 2228224, 12000},
                                {123, 133693440, 2228224, 20000},   {150, 267386880, 8912896, 25000},
                                {153, 534773760, 8912896, 40000},   {156, 1069547520, 8912896, 60000},
                                {180, 1069547520, 35651584, 60000}, {183, 2139095040, 35651584, 120000},
                                {186, 4278190080, 35651584, 240000}};

VAPictureHEVC noPicture() {
  VAPictureHEVC picture{};
  picture.picture_id = VA_INVALID_SURFACE;
  picture.flags = VA_PICTURE_HEVC_INVALID;
  return picture;
}

class H265Codec : public VaCodec {
 public:
  std::span<const VAProfile> profiles(int64_t) const override {
    static constexpr std::array kMain = {VAProfileHEVCMain};
    return kMain;
  }
  uint32_t maxQp() const override { return 51; }
  uint32_t defaultQp() const override { return 26; }
  uint32_t packedHeaders() const override {
    return VA_ENC_PACKED_HEADER_SEQUENCE | VA_ENC_PACKED_HEADER_SLICE;
  }

  void begin(const StreamShape& given) override {
    shape = given;
    parameters = {};
    beginSequence();
    beginPicture();
    slice = {};
    const uint32_t block = 8u << stream.log2_min_luma_coding_block_size_minus3
                              << stream.log2_diff_max_min_luma_coding_block_size;
    slice.num_ctu_in_slice = ((stream.pic_width_in_luma_samples + block - 1) / block) *
                             ((stream.pic_height_in_luma_samples + block - 1) / block);
    slice.max_num_merge_cand = 5;
    slice.slice_fields.bits.last_slice_of_pic_flag = 1;
    slice.slice_fields.bits.slice_loop_filter_across_slices_enabled_flag = 1;
    slice.slice_fields.bits.slice_sao_luma_flag = slice.slice_fields.bits.slice_sao_chroma_flag =
        stream.seq_fields.bits.sample_adaptive_offset_enabled_flag;
    std::ranges::fill(slice.ref_pic_list0, noPicture());
    std::ranges::fill(slice.ref_pic_list1, noPicture());
    writer.sets(stream, parameters, shape);
  }

  void setBitRate(uint32_t bitsPerSecond) override { stream.bits_per_second = bitsPerSecond; }

  void sequence(ParameterList& out) override { out.add(VAEncSequenceParameterBufferType, stream); }
  void picture(const PictureState& state, ParameterList& out) override {
    parameters.decoded_curr_pic.picture_id = state.reconstructed;
    parameters.decoded_curr_pic.pic_order_cnt = static_cast<int32_t>(state.sinceKey);
    parameters.reference_frames[0] = slice.ref_pic_list0[0] = state.key ? noPicture() : previous;
    slice.ref_pic_list1[0] = shape.lowDelayB ? slice.ref_pic_list0[0] : noPicture();
    previous = parameters.decoded_curr_pic;
    previous.flags = VA_PICTURE_HEVC_RPS_ST_CURR_BEFORE;
    parameters.coded_buf = state.coded;
    parameters.nal_unit_type = state.key ? kKeyUnit : kTrailingUnit;
    parameters.pic_fields.bits.idr_pic_flag = state.key;
    parameters.pic_fields.bits.coding_type = state.key ? 1 : shape.lowDelayB ? 3 : 2;
    slice.slice_type = state.key ? kSliceIntra : shape.lowDelayB ? kSliceBidirectional : kSlicePredicted;

    out.add(VAEncPictureParameterBufferType, parameters);
    if (state.key && (shape.packed & VA_ENC_PACKED_HEADER_SEQUENCE) != 0) {
      out.addPacked(packed[0], VAEncPackedHeaderSequence, writer.allSets,
                    static_cast<uint32_t>(writer.allSets.size()) * 8);
    }
    if ((shape.packed & VA_ENC_PACKED_HEADER_SLICE) != 0) {
      writer.slice(stream, parameters, slice);
      out.addPacked(packed[1], VAEncPackedHeaderSlice, writer.sliceHeader, writer.sliceBits);
    }
    out.add(VAEncSliceParameterBufferType, slice);
  }

  std::span<const uint8_t> headers() const override { return writer.allSets; }
  bool hasHeaders(std::span<const uint8_t> coded) const override {
    for (size_t i = 0; i + 3 < coded.size(); ++i) {
      if (coded[i] == 0 && coded[i + 1] == 0 && coded[i + 2] == 1) {
        const uint32_t type = coded[i + 3] >> 1 & 63u;
        if (type == kSequenceUnit) return true;
        if (type < kFirstUnitBehindSlices) return false;  // a slice: what follows is coded data
      }
    }
    return false;
  }

 private:
  void beginSequence() {
    stream = {};
    blocks();
    const uint32_t unit = 8u << stream.log2_min_luma_coding_block_size_minus3;
    const auto aligned = [&](uint32_t side) {
      return static_cast<uint16_t>((side + unit - 1) / unit * unit);
    };
    stream.pic_width_in_luma_samples = aligned(shape.width);
    stream.pic_height_in_luma_samples = aligned(shape.height);
    const double rate = static_cast<double>(shape.rate.num) / shape.rate.den;
    const uint64_t size = uint64_t{stream.pic_width_in_luma_samples} * stream.pic_height_in_luma_samples;
    stream.general_profile_idc = 1;
    stream.general_level_idc = static_cast<uint8_t>(
        shape.level != 0 ? 3 * shape.level : levelFor(kLevels, size, rate, shape.bitsPerSecond));
    stream.intra_period = stream.intra_idr_period = shape.keyInterval;
    stream.ip_period = 1;
    stream.bits_per_second = shape.bitsPerSecond;
    stream.seq_fields.bits.chroma_format_idc = 1;
    stream.seq_fields.bits.low_delay_seq = 1;
    stream.vui_parameters_present_flag = 1;
    stream.vui_fields.bits.vui_timing_info_present_flag = 1;
    stream.vui_num_units_in_tick = shape.rate.den;
    stream.vui_time_scale = shape.rate.num;
  }

  /// The block sizes and tools that the driver tells; where it tells none, those of the first cards that had this.
  void blocks() {
    uint32_t block = 2, coding = 1, transformLow = 0, transformHigh = 3, inter = 3, intra = 3;
    bool unequal = true, offsets = false, smoothing = false;
    if (shape.hevcBlocks != VA_ATTRIB_NOT_SUPPORTED) {
      VAConfigAttribValEncHEVCBlockSizes told{};
      told.value = shape.hevcBlocks;
      block = told.bits.log2_max_coding_tree_block_size_minus3;
      coding = told.bits.log2_min_luma_coding_block_size_minus3;
      transformLow = told.bits.log2_min_luma_transform_block_size_minus2;
      transformHigh = told.bits.log2_max_luma_transform_block_size_minus2;
      inter = told.bits.max_max_transform_hierarchy_depth_inter;
      intra = told.bits.max_max_transform_hierarchy_depth_intra;
    }
    auto& fields = parameters.pic_fields.bits;
    if (shape.hevcFeatures != VA_ATTRIB_NOT_SUPPORTED) {
      VAConfigAttribValEncHEVCFeatures told{};
      told.value = shape.hevcFeatures;
      unequal = told.bits.amp != 0;
      offsets = told.bits.sao != 0;
      smoothing = told.bits.strong_intra_smoothing != 0;
      fields.sign_data_hiding_enabled_flag = told.bits.sign_data_hiding != 0;
      fields.transform_skip_enabled_flag = told.bits.transform_skip != 0;
    }
    stream.log2_min_luma_coding_block_size_minus3 = static_cast<uint8_t>(coding);
    stream.log2_diff_max_min_luma_coding_block_size = static_cast<uint8_t>(block - std::min(block, coding));
    stream.log2_min_transform_block_size_minus2 = static_cast<uint8_t>(transformLow);
    stream.log2_diff_max_min_transform_block_size =
        static_cast<uint8_t>(transformHigh - std::min(transformHigh, transformLow));
    stream.max_transform_hierarchy_depth_inter = static_cast<uint8_t>(inter);
    stream.max_transform_hierarchy_depth_intra = static_cast<uint8_t>(intra);
    stream.seq_fields.bits.amp_enabled_flag = unequal;
    stream.seq_fields.bits.sample_adaptive_offset_enabled_flag = offsets;
    stream.seq_fields.bits.strong_intra_smoothing_enabled_flag = smoothing;
  }

  void beginPicture() {
    std::ranges::fill(parameters.reference_frames, noPicture());
    parameters.collocated_ref_pic_index = 0xFF;
    parameters.pic_init_qp = static_cast<uint8_t>(shape.qp);
    auto& fields = parameters.pic_fields.bits;
    fields.reference_pic_flag = 1;
    fields.cu_qp_delta_enabled_flag = !shape.constantQp;
    fields.pps_loop_filter_across_slices_enabled_flag = 1;
  }

  StreamShape shape;
  VAEncSequenceParameterBufferHEVC stream{};
  VAEncPictureParameterBufferHEVC parameters{};
  VAEncSliceParameterBufferHEVC slice{};
  VAPictureHEVC previous{};
  VAEncPackedHeaderParameterBuffer packed[2]{};
  H265Headers writer;
};

}  // namespace

const CodecRow kCodecRow{"vaapi", "H.265", [] { return std::unique_ptr<VaCodec>(new H265Codec); }};

}  // namespace qvs::vaapi
