#include <vpx/vp8cx.h>
#include <vpx/vp8dx.h>
#include <vpx/vpx_decoder.h>
#include <vpx/vpx_encoder.h>

#include "ladder/FloorCodec.h"

namespace qvs::bench {
namespace {

class VpxDecoder : public FloorDecoder {
 public:
  VpxDecoder() {
    checkFloor(vpx_codec_dec_init(&codec, vpx_codec_vp8_dx(), nullptr, 0) == VPX_CODEC_OK, "dec_init");
  }
  ~VpxDecoder() override { vpx_codec_destroy(&codec); }

  void decode(std::span<uint8_t> packet, const Taker& take) override {
    const auto size = static_cast<unsigned>(packet.size());
    checkFloor(vpx_codec_decode(&codec, packet.data(), size, nullptr, 0) == VPX_CODEC_OK, "vpx_codec_decode");
    vpx_codec_iter_t iterator = nullptr;
    while (const auto* image = vpx_codec_get_frame(&codec, &iterator)) {
      take({image->d_w,
            image->d_h,
            {image->planes[0], image->planes[1], image->planes[2]},
            {image->stride[0], image->stride[1], image->stride[2]}});
    }
  }

 private:
  vpx_codec_ctx_t codec{};
};

class VpxEncoder : public FloorEncoder {
 public:
  explicit VpxEncoder(const Rung& rung) {
    vpx_codec_enc_cfg_t config;
    checkFloor(vpx_codec_enc_config_default(vpx_codec_vp8_cx(), &config, 0) == VPX_CODEC_OK,
               "config_default");
    config.g_w = rung.width;
    config.g_h = rung.height;
    config.g_timebase = {1, static_cast<int>(kFrameRate)};
    config.rc_target_bitrate = rung.bitrate / 1000;
    config.rc_end_usage = VPX_CBR;
    config.g_lag_in_frames = 0;
    config.kf_mode = VPX_KF_DISABLED;
    config.kf_min_dist = config.kf_max_dist = 0;
    config.g_threads = kEncoderThreads;
    checkFloor(vpx_codec_enc_init(&codec, vpx_codec_vp8_cx(), &config, 0) == VPX_CODEC_OK, "enc_init");
    checkFloor(vpx_codec_control(&codec, VP8E_SET_CPUUSED, kCpuUsed) == VPX_CODEC_OK, "VP8E_SET_CPUUSED");
    vpx_img_wrap(&image, VPX_IMG_FMT_I420, rung.width, rung.height, 1, &anyByte);
  }
  ~VpxEncoder() override { vpx_codec_destroy(&codec); }

  void encode(const FloorPicture& picture, uint64_t frameNumber, PacketSink& sink) override {
    for (int plane = 0; plane < 3; ++plane) {
      image.planes[plane] = picture.planes[plane];
      image.stride[plane] = picture.strides[plane];
    }
    const vpx_enc_frame_flags_t flags = isKeyFrame(frameNumber) ? VPX_EFLAG_FORCE_KF : 0;
    checkFloor(vpx_codec_encode(&codec, &image, static_cast<vpx_codec_pts_t>(frameNumber), 1, flags,
                                VPX_DL_REALTIME) == VPX_CODEC_OK,
               "vpx_codec_encode");
    vpx_codec_iter_t iterator = nullptr;
    while (const auto* packet = vpx_codec_get_cx_data(&codec, &iterator)) {
      if (packet->kind != VPX_CODEC_CX_FRAME_PKT) continue;
      sink.write(static_cast<const uint8_t*>(packet->data.frame.buf), packet->data.frame.sz);
    }
  }

 private:
  vpx_codec_ctx_t codec{};
  vpx_image_t image{};
  uint8_t anyByte = 0;
};

}  // namespace

std::unique_ptr<FloorDecoder> FloorDecoder::make(PacketSource&) {
  return std::make_unique<VpxDecoder>();
}

std::unique_ptr<FloorEncoder> FloorEncoder::make(const Rung& rung) {
  return std::make_unique<VpxEncoder>(rung);
}

}  // namespace qvs::bench
