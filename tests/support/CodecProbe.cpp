// The wrapped calls of the codec libraries, with a clock around them.

#include "support/CodecProbe.h"

extern "C" {
#include <dlfcn.h>
#include <libavcodec/avcodec.h>
#include <x264.h>
}
#include <vpx/vpx_decoder.h>
#include <vpx/vpx_encoder.h>

#include <atomic>
#include <chrono>
#include <cstring>

#include "support/AllocationCounter.h"

namespace {

std::atomic<uint64_t> codecTime{0};

/// Everything between its life's ends belongs to the codec.
class InCodec {
 public:
  ~InCodec() {
    const auto spent = std::chrono::steady_clock::now() - start;
    codecTime.fetch_add(static_cast<uint64_t>(std::chrono::nanoseconds(spent).count()),
                        std::memory_order_relaxed);
  }

 private:
  qvs::test::AllocationsApart apart;
  std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

}  // namespace

namespace qvs::test {

uint64_t codecNanoseconds() {
  return codecTime.load(std::memory_order_relaxed);
}

}  // namespace qvs::test

// The linker sends calls of libvpx and libx264 here (--wrap), the look-up of libavcodec's functions too; those of
// shared libraries see only exported symbols.
#pragma GCC visibility push(default)
extern "C" {

vpx_codec_err_t __real_vpx_codec_decode(vpx_codec_ctx_t*, const uint8_t*, unsigned int, void*, long);
vpx_image_t* __real_vpx_codec_get_frame(vpx_codec_ctx_t*, vpx_codec_iter_t*);
vpx_codec_err_t __real_vpx_codec_encode(vpx_codec_ctx_t*, const vpx_image_t*, vpx_codec_pts_t, unsigned long,
                                        vpx_enc_frame_flags_t, unsigned long);
const vpx_codec_cx_pkt_t* __real_vpx_codec_get_cx_data(vpx_codec_ctx_t*, vpx_codec_iter_t*);

vpx_codec_err_t __wrap_vpx_codec_decode(vpx_codec_ctx_t* codec, const uint8_t* data, unsigned int size,
                                        void* userPrivate, long deadline) {
  InCodec scope;
  return __real_vpx_codec_decode(codec, data, size, userPrivate, deadline);
}

vpx_image_t* __wrap_vpx_codec_get_frame(vpx_codec_ctx_t* codec, vpx_codec_iter_t* iterator) {
  InCodec scope;
  return __real_vpx_codec_get_frame(codec, iterator);
}

vpx_codec_err_t __wrap_vpx_codec_encode(vpx_codec_ctx_t* codec, const vpx_image_t* image, vpx_codec_pts_t pts,
                                        unsigned long duration, vpx_enc_frame_flags_t flags,
                                        unsigned long deadline) {
  InCodec scope;
  return __real_vpx_codec_encode(codec, image, pts, duration, flags, deadline);
}

const vpx_codec_cx_pkt_t* __wrap_vpx_codec_get_cx_data(vpx_codec_ctx_t* codec, vpx_codec_iter_t* iterator) {
  InCodec scope;
  return __real_vpx_codec_get_cx_data(codec, iterator);
}

int __real_x264_encoder_encode(x264_t*, x264_nal_t**, int*, x264_picture_t*, x264_picture_t*);

int __wrap_x264_encoder_encode(x264_t* encoder, x264_nal_t** units, int* count, x264_picture_t* in,
                               x264_picture_t* out) {
  InCodec scope;
  return __real_x264_encoder_encode(encoder, units, count, in, out);
}

void* __real_dlsym(void* library, const char* name);

static decltype(&avcodec_send_packet) realSendPacket;
static decltype(&avcodec_receive_frame) realReceiveFrame;

static int timedSendPacket(AVCodecContext* context, const AVPacket* packet) {
  InCodec scope;
  return realSendPacket(context, packet);
}

static int timedReceiveFrame(AVCodecContext* context, AVFrame* frame) {
  InCodec scope;
  return realReceiveFrame(context, frame);
}

void* __wrap_dlsym(void* library, const char* name) {
  void* found = __real_dlsym(library, name);
  if (std::strcmp(name, "avcodec_send_packet") == 0) {
    realSendPacket = reinterpret_cast<decltype(realSendPacket)>(found);
    return found ? reinterpret_cast<void*>(timedSendPacket) : nullptr;
  }
  if (std::strcmp(name, "avcodec_receive_frame") == 0) {
    realReceiveFrame = reinterpret_cast<decltype(realReceiveFrame)>(found);
    return found ? reinterpret_cast<void*>(timedReceiveFrame) : nullptr;
  }
  return found;
}
}
#pragma GCC visibility pop
