#include "road/TestStream.h"

#include <vpx/vp8cx.h>
#include <vpx/vp8dx.h>
#include <vpx/vpx_decoder.h>
#include <vpx/vpx_encoder.h>

#include <stdexcept>

namespace qvs::test {
namespace {

void require(vpx_codec_err_t result, const char* what) {
  if (result != VPX_CODEC_OK) throw std::runtime_error(what);
}

void paint(vpx_image_t& image, uint32_t number) {
  for (int plane = 0; plane < 3; ++plane) {
    const uint32_t shift = plane ? 1 : 0;
    const uint32_t width = (image.d_w + shift) >> shift, height = (image.d_h + shift) >> shift;
    for (uint32_t y = 0; y < height; ++y) {
      uint8_t* row = image.planes[plane] + static_cast<ptrdiff_t>(y) * image.stride[plane];
      for (uint32_t x = 0; x < width; ++x) {
        row[x] = plane == 0   ? static_cast<uint8_t>(32 + (x * 3 + y * 5 + number * 7) % 192)
                 : plane == 1 ? static_cast<uint8_t>(60 + (x + number) % 24)
                              : static_cast<uint8_t>(180 - (y + number) % 24);
      }
    }
  }
}

}  // namespace

std::vector<Packet> makeStream(const StreamShape& shape) {
  auto* interface = shape.codecVersion == 9 ? vpx_codec_vp9_cx() : vpx_codec_vp8_cx();
  vpx_codec_enc_cfg_t config;
  require(vpx_codec_enc_config_default(interface, &config, 0), "encoder defaults");
  config.g_w = shape.width;
  config.g_h = shape.height;
  config.g_lag_in_frames = 0;
  config.g_threads = 1;
  vpx_codec_ctx_t codec{};
  require(vpx_codec_enc_init(&codec, interface, &config, 0), "encoder");
  require(vpx_codec_control(&codec, VP8E_SET_CPUUSED, 8), "encoder speed");
  vpx_image_t image;
  if (!vpx_img_alloc(&image, VPX_IMG_FMT_I420, shape.width, shape.height, 16)) throw std::bad_alloc();
  std::vector<Packet> packets;
  for (uint32_t number = 0; number < shape.frames; ++number) {
    paint(image, number);
    require(vpx_codec_encode(&codec, &image, number, 1, 0, VPX_DL_REALTIME), "encoding");
    vpx_codec_iter_t iterator = nullptr;
    while (const auto* packet = vpx_codec_get_cx_data(&codec, &iterator)) {
      if (packet->kind != VPX_CODEC_CX_FRAME_PKT) continue;
      const auto* bytes = static_cast<const uint8_t*>(packet->data.frame.buf);
      packets.emplace_back(bytes, bytes + packet->data.frame.sz);
    }
  }
  vpx_img_free(&image);
  vpx_codec_destroy(&codec);
  return packets;
}

DirectDecoder::DirectDecoder(uint32_t codecVersion) {
  require(vpx_codec_dec_init(&codec, codecVersion == 9 ? vpx_codec_vp9_dx() : vpx_codec_vp8_dx(), nullptr, 0),
          "decoder");
}

DecodedPicture DirectDecoder::decode(std::span<const uint8_t> packet) {
  DecodedPicture picture;
  vpx_codec_decode(&codec, packet.data(), static_cast<unsigned>(packet.size()), nullptr, 0);
  vpx_codec_iter_t iterator = nullptr;
  const auto* image = vpx_codec_get_frame(&codec, &iterator);
  if (!image) return picture;
  picture.width = image->d_w;
  picture.height = image->d_h;
  lastPlain420 = image->fmt == VPX_IMG_FMT_I420;
  if (!lastPlain420) return picture;
  for (int plane = 0; plane < 3; ++plane) {
    const uint32_t width = plane ? image->d_w / 2 : image->d_w, height = plane ? image->d_h / 2 : image->d_h;
    picture.planes[plane].reserve(static_cast<size_t>(width) * height);
    for (uint32_t y = 0; y < height; ++y) {
      const uint8_t* row = image->planes[plane] + static_cast<ptrdiff_t>(y) * image->stride[plane];
      picture.planes[plane].insert(picture.planes[plane].end(), row, row + width);
    }
  }
  return picture;
}

}  // namespace qvs::test
