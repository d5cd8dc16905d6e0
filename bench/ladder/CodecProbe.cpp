#include "ladder/CodecProbe.h"

extern "C" {
#include <dlfcn.h>
#include <libavcodec/avcodec.h>
#include <x264.h>
}
#include <vpx/vpx_decoder.h>
#include <vpx/vpx_encoder.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>

namespace {

std::atomic<uint64_t> codecTime{0};
std::atomic<uint64_t> codecAllocations{0};
std::atomic<uint64_t> otherAllocations{0};
constinit thread_local int codecDepth = 0;

void countAllocation() {
  (codecDepth ? codecAllocations : otherAllocations).fetch_add(1, std::memory_order_relaxed);
}

/// Everything between its life's ends belongs to the codec.
class InCodec {
 public:
  InCodec() { ++codecDepth; }
  ~InCodec() {
    --codecDepth;
    const auto spent = std::chrono::steady_clock::now() - start;
    codecTime.fetch_add(static_cast<uint64_t>(std::chrono::nanoseconds(spent).count()),
                        std::memory_order_relaxed);
  }

 private:
  std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

}  // namespace

namespace qvs::bench {

uint64_t codecNanoseconds() {
  return codecTime.load(std::memory_order_relaxed);
}

AllocationCounts allocationCounts() {
  return {codecAllocations, otherAllocations};
}

}  // namespace qvs::bench

// The linker sends calls of libvpx and libx264 here (--wrap), the look-up of libavcodec's functions too,
// and calls of the C allocator, those of shared libraries included, which see only exported symbols.
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

void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
void __libc_free(void*);

void* malloc(size_t size) {
  countAllocation();
  return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) {
  countAllocation();
  return __libc_calloc(count, size);
}

void* realloc(void* block, size_t size) {
  countAllocation();
  return __libc_realloc(block, size);
}

void* memalign(size_t alignment, size_t size) {
  countAllocation();
  return __libc_memalign(alignment, size);
}

void* aligned_alloc(size_t alignment, size_t size) {
  return memalign(alignment, size);
}

int posix_memalign(void** block, size_t alignment, size_t size) {
  void* made = memalign(alignment, size);
  if (!made) return ENOMEM;
  *block = made;
  return 0;
}

void free(void* block) {
  __libc_free(block);
}
}
#pragma GCC visibility pop
