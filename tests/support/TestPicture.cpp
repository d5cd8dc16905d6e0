#include "support/TestPicture.h"

#include <vpx/vp8cx.h>
#include <vpx/vpx_encoder.h>

#include <cmath>
#include <memory>
#include <stdexcept>

#include "support/FrameSamples.h"

namespace qvs::test {

namespace {

constexpr uint64_t kFrameMs = 40;

struct ImageDeleter {
  void operator()(vpx_image_t* image) const { vpx_img_free(image); }
};

uint8_t component(const TestPixel& pixel, char plane) {
  return plane == 'Y' ? pixel.y : plane == 'U' ? pixel.u : pixel.v;
}

void paint(vpx_image_t& image, uint32_t time) {
  const char names[] = {'Y', 'U', 'V'};
  for (int plane = 0; plane < 3; ++plane) {
    const uint32_t step = plane == 0 ? 1 : 2;
    for (uint32_t y = 0; y < (image.d_h + step - 1) / step; ++y) {
      uint8_t* row = image.planes[plane] + static_cast<ptrdiff_t>(y) * image.stride[plane];
      for (uint32_t x = 0; x < (image.d_w + step - 1) / step; ++x) {
        row[x] = component(testPixel(x * step, y * step, image.d_w, image.d_h, time), names[plane]);
      }
    }
  }
}

template <typename Visit>
void forEachSample(const VideoFrameBuffer& frame, char plane, Visit visit) {
  const Samples samples(frame);
  const uint32_t step = plane == 'Y' ? 1 : 2;
  for (uint32_t y = 0; y + step <= frame.getHeight(); y += step) {
    for (uint32_t x = 0; x + step <= frame.getWidth(); x += step)
      visit(plane == 'Y' ? samples.y(x, y) : plane == 'U' ? samples.u(x, y) : samples.v(x, y), x, y);
  }
}

vpx_codec_enc_cfg_t streamConfig(vpx_codec_iface_t* codec, uint32_t width, uint32_t height) {
  vpx_codec_enc_cfg_t config{};
  vpx_codec_enc_config_default(codec, &config, 0);
  config.g_w = width;
  config.g_h = height;
  config.g_lag_in_frames = 0;
  config.rc_target_bitrate = 20000;
  config.rc_min_quantizer = 2;
  config.rc_max_quantizer = 12;
  return config;
}

}  // namespace

TestPixel testPixel(uint32_t x, uint32_t y, uint32_t width, uint32_t height, uint32_t time) {
  const double fx = static_cast<double>(x) / width;
  const double fy = static_cast<double>(y) / height;
  const double wave = std::sin(fx * 9.0 + time * 0.2) * std::cos(fy * 7.0 - time * 0.1);
  return {static_cast<uint8_t>(120 + 80 * wave), static_cast<uint8_t>(70 + 30 * fx),
          static_cast<uint8_t>(190 - 30 * fy)};
}

void paintTestPicture(VideoFrameBuffer& frame, uint32_t time) {
  for (char plane : {'Y', 'U', 'V'}) {
    forEachSample(frame, plane, [&](uint8_t& sample, uint32_t x, uint32_t y) {
      sample = component(testPixel(x, y, frame.getWidth(), frame.getHeight(), time), plane);
    });
  }
  frame.setLocations(VideoFrameBuffer::systemMem);
}

double psnrOfPlane(const VideoFrameBuffer& frame, char plane, uint32_t time) {
  double sum = 0;
  size_t count = 0;
  forEachSample(frame, plane, [&](uint8_t& sample, uint32_t x, uint32_t y) {
    const double want = component(testPixel(x, y, frame.getWidth(), frame.getHeight(), time), plane);
    sum += (sample - want) * (sample - want);
    ++count;
  });
  if (count == 0) return 0;
  return sum == 0 ? 100 : 10 * std::log10(255.0 * 255.0 * static_cast<double>(count) / sum);
}

CodedStream makeStream(uint32_t codecVersion, uint32_t width, uint32_t height, uint32_t frames) {
  vpx_codec_iface_t* codec = codecVersion == 9 ? vpx_codec_vp9_cx() : vpx_codec_vp8_cx();
  const vpx_codec_enc_cfg_t config = streamConfig(codec, width, height);
  vpx_codec_ctx_t context{};
  if (vpx_codec_enc_init(&context, codec, &config, 0) != VPX_CODEC_OK) throw std::runtime_error("encoder");
  vpx_codec_control(&context, VP8E_SET_CPUUSED, 8);
  const std::unique_ptr<vpx_image_t, ImageDeleter> image(
      vpx_img_alloc(nullptr, VPX_IMG_FMT_I420, width, height, 16));
  CodedStream stream{codecVersion, width, height, {}};
  for (uint32_t frame = 0; frame < frames; ++frame) {
    paint(*image, frame);
    vpx_codec_encode(&context, image.get(), frame, 1, 0, VPX_DL_REALTIME);
    vpx_codec_iter_t iterator = nullptr;
    while (const vpx_codec_cx_pkt_t* packet = vpx_codec_get_cx_data(&context, &iterator)) {
      if (packet->kind != VPX_CODEC_CX_FRAME_PKT) continue;
      const auto* bytes = static_cast<const uint8_t*>(packet->data.frame.buf);
      stream.packets.push_back({{bytes, bytes + packet->data.frame.sz}, frame * kFrameMs});
    }
  }
  vpx_codec_destroy(&context);
  return stream;
}

std::vector<Packet> makePackets(uint32_t codecVersion, uint32_t width, uint32_t height, uint32_t frames) {
  std::vector<Packet> packets;
  for (CodedPacket& packet : makeStream(codecVersion, width, height, frames).packets)
    packets.push_back(std::move(packet.bytes));
  return packets;
}

}  // namespace qvs::test
