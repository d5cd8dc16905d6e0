// H.264 behind a fake card, by libx264.
#include "SoftwareEncoder.h"

#include <x264.h>

namespace qvs::fakes {
namespace {

void setRate(x264_param_t& param, SoftwareRate rate, uint32_t bitRate, uint32_t maxBitRate) {
  const bool constant = rate == SoftwareRate::kConstantBitRate;
  param.rc.i_rc_method = X264_RC_ABR;
  param.rc.i_bitrate = static_cast<int>(bitRate / 1000);
  param.rc.i_vbv_max_bitrate = static_cast<int>((constant ? bitRate : maxBitRate) / 1000);
  param.rc.i_vbv_buffer_size = param.rc.i_vbv_max_bitrate;
}

x264_param_t paramsOf(const SoftwareSettings& settings) {
  x264_param_t param;
  x264_param_default_preset(&param, "ultrafast", settings.bPictures == 0 ? "zerolatency" : nullptr);
  param.i_width = static_cast<int>(settings.width);
  param.i_height = static_cast<int>(settings.height);
  param.i_csp = X264_CSP_NV12;
  param.i_fps_num = settings.fpsNumerator;
  param.i_fps_den = settings.fpsDenominator;
  param.i_keyint_max = X264_KEYINT_MAX_INFINITE;
  param.i_scenecut_threshold = 0;
  param.i_threads = 1;
  param.b_sliced_threads = 0;
  param.i_bframe = static_cast<int>(settings.bPictures);
  param.i_bframe_pyramid = X264_B_PYRAMID_NONE;
  param.b_vfr_input = 0;
  param.b_repeat_headers = 1;
  param.b_annexb = 1;
  param.i_log_level = X264_LOG_NONE;
  // What a slice of another parameter set's could carry as well, so that a fake may put its caller's headers in front.
  param.i_frame_reference = 1;
  param.analyse.b_psy = 0;
  param.analyse.i_weighted_pred = 0;
  param.b_deblocking_filter = 1;
  param.i_deblocking_filter_alphac0 = param.i_deblocking_filter_beta = 0;
  param.b_cabac = settings.cabac;
  param.analyse.b_transform_8x8 = settings.transform8x8;
  param.analyse.i_chroma_qp_offset = settings.chromaQpOffset;
  if (settings.rate == SoftwareRate::kConstantQp) {
    param.rc.i_rc_method = X264_RC_CQP;
    param.rc.i_qp_constant = static_cast<int>(settings.qp);
  } else {
    setRate(param, settings.rate, settings.bitRate, settings.maxBitRate);
  }
  return param;
}

class SoftwareH264 : public SoftwareEncoder {
 public:
  explicit SoftwareH264(const SoftwareSettings& wanted) : SoftwareEncoder(wanted.delay), settings(wanted) {
    x264_param_t param = paramsOf(settings);
    encoder = x264_encoder_open(&param);
  }
  ~SoftwareH264() override {
    if (encoder != nullptr) x264_encoder_close(encoder);
  }
  bool isOpen() const { return encoder != nullptr; }

  bool setBitRate(uint32_t bitsPerSecond, uint32_t maxBitsPerSecond) override {
    x264_param_t param;
    x264_encoder_parameters(encoder, &param);
    setRate(param, settings.rate, bitsPerSecond, maxBitsPerSecond);
    return x264_encoder_reconfig(encoder, &param) == 0;
  }

  std::vector<uint8_t> headers() override {
    x264_nal_t* units = nullptr;
    int count = 0;
    x264_encoder_headers(encoder, &units, &count);
    std::vector<uint8_t> bytes;
    for (int i = 0; i < count; ++i) {
      if (units[i].i_type == NAL_SEI) continue;
      bytes.insert(bytes.end(), units[i].p_payload, units[i].p_payload + units[i].i_payload);
    }
    return bytes;
  }

 protected:
  bool code(const SoftwarePicture* picture) override {
    if (picture != nullptr) return step(picture) >= 0;
    int size = 0;
    while (x264_encoder_delayed_frames(encoder) > 0 && size >= 0) size = step(nullptr);
    return size >= 0;
  }

 private:
  int step(const SoftwarePicture* picture) {
    x264_picture_t in, out;
    if (picture != nullptr) {
      x264_picture_init(&in);
      in.img.i_csp = X264_CSP_NV12;
      in.img.i_plane = 2;
      // The library takes pointers to what it only reads.
      in.img.plane[0] = const_cast<uint8_t*>(picture->y);
      in.img.plane[1] = const_cast<uint8_t*>(picture->uv);
      in.img.i_stride[0] = in.img.i_stride[1] = static_cast<int>(picture->stride);
      in.i_pts = picture->pts;
      in.i_type = picture->key ? X264_TYPE_IDR : X264_TYPE_AUTO;
    }
    x264_nal_t* units = nullptr;
    int count = 0;
    const int size = x264_encoder_encode(encoder, &units, &count, picture != nullptr ? &in : nullptr, &out);
    if (size <= 0) return size;
    SoftwareCoded coded;
    coded.bytes.assign(units[0].p_payload, units[0].p_payload + size);
    coded.pts = out.i_pts;
    coded.dts = out.i_dts;
    coded.type = out.b_keyframe               ? SoftwareCoded::Type::kKey
                 : IS_X264_TYPE_B(out.i_type) ? SoftwareCoded::Type::kBidirectional
                                              : SoftwareCoded::Type::kPredicted;
    ready.push_back(std::move(coded));
    return size;
  }

  SoftwareSettings settings;
  x264_t* encoder = nullptr;
};

}  // namespace

std::unique_ptr<SoftwareEncoder> makeSoftwareH264(const SoftwareSettings& settings) {
  auto made = std::make_unique<SoftwareH264>(settings);
  if (!made->isOpen()) return nullptr;
  return made;
}

}  // namespace qvs::fakes
