// VP9 as libva takes it: each picture predicted from the one before; the driver writes all headers.
#include <va/va.h>

#include <algorithm>
#include <array>

#include "VaCodec.h"

namespace qvs::vaapi {
namespace {

constexpr uint8_t kFilterLevel = 16, kSharpness = 4;
constexpr uint32_t kWidestTile = 4096;

class Vp9Codec : public VaCodec {
 public:
  std::span<const VAProfile> profiles(int64_t) const override {
    static constexpr std::array kMain = {VAProfileVP9Profile0};
    return kMain;
  }
  uint32_t maxQp() const override { return 255; }
  uint32_t defaultQp() const override { return 80; }
  bool takesOddSides() const override { return true; }

  void begin(const StreamShape& shape) override {
    stream = {};
    stream.max_frame_width = shape.width;
    stream.max_frame_height = shape.height;
    stream.kf_min_dist = 1;
    stream.kf_max_dist = stream.intra_period = shape.keyInterval;
    stream.bits_per_second = shape.bitsPerSecond;
    parameters = {};
    parameters.frame_width_src = parameters.frame_width_dst = shape.width;
    parameters.frame_height_src = parameters.frame_height_dst = shape.height;
    parameters.pic_flags.bits.show_frame = 1;
    parameters.pic_flags.bits.refresh_frame_context = 1;
    parameters.luma_ac_qindex = static_cast<uint8_t>(shape.qp);
    parameters.filter_level = kFilterLevel;
    parameters.sharpness_level = kSharpness;
    for (uint32_t tiles = (shape.width + kWidestTile - 1) / kWidestTile; tiles > 1; tiles = (tiles + 1) / 2) {
      ++parameters.log2_tile_columns;
    }
    std::ranges::fill(parameters.reference_frames, VA_INVALID_SURFACE);
  }

  void setBitRate(uint32_t bitsPerSecond) override { stream.bits_per_second = bitsPerSecond; }

  void sequence(ParameterList& out) override { out.add(VAEncSequenceParameterBufferType, stream); }
  void picture(const PictureState& state, ParameterList& out) override {
    parameters.reconstructed_frame = state.reconstructed;
    parameters.reference_frames[0] = state.reference;
    parameters.coded_buf = state.coded;
    // All three references of the format are the picture before, which slot 0 holds.
    parameters.ref_flags.bits.force_kf = state.key;
    parameters.ref_flags.bits.ref_frame_ctrl_l0 = state.key ? 0 : 1;
    parameters.pic_flags.bits.frame_type = !state.key;
    parameters.refresh_frame_flags = 1;
    out.add(VAEncPictureParameterBufferType, parameters);
  }

  bool hasHeaders(std::span<const uint8_t>) const override { return true; }
  bool isAnnexB() const override { return false; }

 private:
  VAEncSequenceParameterBufferVP9 stream{};
  VAEncPictureParameterBufferVP9 parameters{};
};

}  // namespace

const CodecRow kCodecRow{"vaapi", "VP9", [] { return std::unique_ptr<VaCodec>(new Vp9Codec); }};

}  // namespace qvs::vaapi
