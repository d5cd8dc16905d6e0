// VP9 behind a fake card, by libvpx.
#include <vpx/vp8cx.h>
#include <vpx/vpx_encoder.h>

#include <algorithm>

#include "SoftwareEncoder.h"

namespace qvs::fakes {
namespace {

class SoftwareVp9 : public SoftwareEncoder {
 public:
  explicit SoftwareVp9(const SoftwareSettings& settings) : SoftwareEncoder(settings.delay) {
    vpx_codec_enc_config_default(vpx_codec_vp9_cx(), &config, 0);
    config.g_w = settings.width;
    config.g_h = settings.height;
    config.g_timebase = {static_cast<int>(settings.fpsDenominator), static_cast<int>(settings.fpsNumerator)};
    config.g_threads = 1;
    config.g_lag_in_frames = 0;
    config.kf_mode = VPX_KF_DISABLED;
    config.rc_end_usage = settings.rate == SoftwareRate::kVariableBitRate ? VPX_VBR : VPX_CBR;
    config.rc_target_bitrate = settings.bitRate / 1000;
    if (settings.rate == SoftwareRate::kConstantQp) {
      // The index of 0 to 255 that a card takes against libvpx's 0 to 63.
      config.rc_end_usage = VPX_Q;
      config.rc_min_quantizer = config.rc_max_quantizer = std::min(settings.qp / 4, 63u);
    }
    open = vpx_codec_enc_init(&codec, vpx_codec_vp9_cx(), &config, 0) == VPX_CODEC_OK;
    if (open) vpx_codec_control(&codec, VP8E_SET_CPUUSED, 8);
    vpx_img_wrap(&image, VPX_IMG_FMT_NV12, config.g_w, config.g_h, 1, &none);
  }
  ~SoftwareVp9() override {
    if (open) vpx_codec_destroy(&codec);
  }
  bool isOpen() const { return open; }

  bool setBitRate(uint32_t bitsPerSecond, uint32_t) override {
    config.rc_target_bitrate = bitsPerSecond / 1000;
    return vpx_codec_enc_config_set(&codec, &config) == VPX_CODEC_OK;
  }

  std::vector<uint8_t> headers() override { return {}; }

 protected:
  bool code(const SoftwarePicture* picture) override {
    if (picture == nullptr) return true;  // it holds nothing back
    image.planes[VPX_PLANE_Y] = const_cast<uint8_t*>(picture->y);
    image.planes[VPX_PLANE_U] = const_cast<uint8_t*>(picture->uv);
    image.planes[VPX_PLANE_V] = image.planes[VPX_PLANE_U] + 1;
    for (int plane : {VPX_PLANE_Y, VPX_PLANE_U, VPX_PLANE_V}) {
      image.stride[plane] = static_cast<int>(picture->stride);
    }
    const vpx_enc_frame_flags_t flags = picture->key ? VPX_EFLAG_FORCE_KF : 0;
    if (vpx_codec_encode(&codec, &image, count++, 1, flags, VPX_DL_REALTIME) != VPX_CODEC_OK) return false;
    vpx_codec_iter_t iterator = nullptr;
    while (const vpx_codec_cx_pkt_t* packet = vpx_codec_get_cx_data(&codec, &iterator)) {
      if (packet->kind != VPX_CODEC_CX_FRAME_PKT) continue;
      const auto* bytes = static_cast<const uint8_t*>(packet->data.frame.buf);
      SoftwareCoded coded;
      coded.bytes.assign(bytes, bytes + packet->data.frame.sz);
      coded.pts = coded.dts = picture->pts;
      coded.type = (packet->data.frame.flags & VPX_FRAME_IS_KEY) != 0 ? SoftwareCoded::Type::kKey
                                                                      : SoftwareCoded::Type::kPredicted;
      ready.push_back(std::move(coded));
    }
    return true;
  }

 private:
  vpx_codec_enc_cfg_t config;
  vpx_codec_ctx_t codec;
  vpx_image_t image;
  uint8_t none = 0;  // the wrapped picture's planes are set for each one
  vpx_codec_pts_t count = 0;
  bool open = false;
};

}  // namespace

std::unique_ptr<SoftwareEncoder> makeSoftwareVp9(const SoftwareSettings& settings) {
  auto made = std::make_unique<SoftwareVp9>(settings);
  if (!made->isOpen()) return nullptr;
  return made;
}

}  // namespace qvs::fakes
