#include "ladder/CodecProbe.h"

#include <vpx/vpx_decoder.h>
#include <vpx/vpx_encoder.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>

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

// The linker sends calls of libvpx here (--wrap) and calls of the C allocator too, those of shared libraries
// included.
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
