// Packed 10-bit 4:2:2 to 4:2:0: the portable rows, the loop over a picture.
#include "V210To420.h"

#include <algorithm>
#include <cstring>

#include "CpuDispatch.h"
#include "KernelTable.h"

namespace qvs::ucc {
namespace {

constexpr uint32_t kPixels = 6;  ///< of a group
constexpr uint32_t kWords = 4;
constexpr uint32_t kSamples = 12;

struct Group {
  uint32_t sample[kSamples];

  explicit Group(const uint8_t* bytes) {
    uint32_t words[kWords];
    std::memcpy(words, bytes, sizeof words);
    for (uint32_t i = 0; i < kSamples; ++i) sample[i] = words[i / 3] >> (i % 3 * 10) & 1023;
  }
};

uint8_t narrow(uint32_t sum, uint32_t shift) {
  return static_cast<uint8_t>(std::min((sum + (1u << (shift - 1))) >> shift, 255u));
}

void plainRows(const uint8_t* src0, const uint8_t* src1, uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v,
               uint32_t width) {
  plainV210To420Rows(src0, src1, y0, y1, u, v, 0, width);
}

}  // namespace

void plainV210To420Rows(const uint8_t* src0, const uint8_t* src1, uint8_t* y0, uint8_t* y1, uint8_t* u,
                        uint8_t* v, uint32_t from, uint32_t width) {
  for (uint32_t x = from; x < width; x += kPixels) {
    const size_t at = size_t{x} / kPixels * kWords * 4;
    const Group above(src0 + at), below(src1 + at);
    const uint32_t pixels = std::min(kPixels, width - x);
    for (uint32_t i = 0; i < pixels; ++i) {
      y0[x + i] = narrow(above.sample[2 * i + 1], 2);
      y1[x + i] = narrow(below.sample[2 * i + 1], 2);
    }
    for (uint32_t i = 0; i < pixels / 2; ++i) {
      u[x / 2 + i] = narrow(above.sample[4 * i] + below.sample[4 * i], 3);
      v[x / 2 + i] = narrow(above.sample[4 * i + 2] + below.sample[4 * i + 2], 3);
    }
  }
}

void v210To420(const uint8_t* src, ptrdiff_t srcStride, const Planes420& dst, uint32_t width,
               uint32_t height) {
  const auto rows = kernels().v210To420Rows;
  for (ptrdiff_t row = 0; row + 1 < static_cast<ptrdiff_t>(height); row += 2) {
    const uint8_t* const above = src + row * srcStride;
    uint8_t* const y = dst.y + row * dst.yStride;
    rows(above, above + srcStride, y, y + dst.yStride, dst.u + row / 2 * dst.uStride,
         dst.v + row / 2 * dst.vStride, width);
  }
}

void addPlainV210To420(KernelTable& table) {
  table.v210To420Rows = plainRows;
}

}  // namespace qvs::ucc
