// The v210 to 4:2:0 kernel in AVX2.
#include <immintrin.h>

#include "../KernelTable.h"
#include "../V210To420.h"

namespace qvs::ucc {
namespace {

constexpr uint32_t kBlock = 12;  ///< pixels of a register, two groups
constexpr uint32_t kLumaOver =
    2;  ///< bytes that the last store of a block writes beyond it, later overwritten
constexpr uint32_t kChromaOver = 1;

/// Samples of two groups as words: those of the low and middle bits, by turns; and those of the high bits with zeros
/// between.
struct Samples {
  __m256i lowAndMiddle, high;

  explicit Samples(const uint8_t* from) {
    const __m256i words = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    const __m256i mask = _mm256_set1_epi32(1023);
    lowAndMiddle =
        _mm256_or_si256(_mm256_and_si256(words, mask),
                        _mm256_and_si256(_mm256_slli_epi32(words, 6), _mm256_slli_epi32(mask, 16)));
    high = _mm256_and_si256(_mm256_srli_epi32(words, 20), mask);
  }
};

/// Rounds to bytes: in each lane eight of `lowAndMiddle`, then eight of `high`.
template <int kShift>
__m256i narrow(__m256i lowAndMiddle, __m256i high) {
  const __m256i half = _mm256_set1_epi16(1 << (kShift - 1));
  return _mm256_packus_epi16(_mm256_srli_epi16(_mm256_add_epi16(lowAndMiddle, half), kShift),
                             _mm256_srli_epi16(_mm256_add_epi16(high, half), kShift));
}

void storeLuma(uint8_t* y, const Samples& samples) {
  const __m256i order =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(1, 2, 10, 5, 6, 14, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1));
  const __m256i bytes = _mm256_shuffle_epi8(narrow<2>(samples.lowAndMiddle, samples.high), order);
  _mm_storel_epi64(reinterpret_cast<__m128i*>(y), _mm256_castsi256_si128(bytes));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(y + 6), _mm256_extracti128_si256(bytes, 1));
}

void storeChroma(uint8_t* u, uint8_t* v, const Samples& above, const Samples& below) {
  const __m256i bytes = narrow<3>(_mm256_add_epi16(above.lowAndMiddle, below.lowAndMiddle),
                                  _mm256_add_epi16(above.high, below.high));
  const __m256i order =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 3, 12, -1, 8, 4, 7, -1, -1, -1, -1, -1, -1, -1, -1, -1));
  const __m256i pairs = _mm256_shuffle_epi8(bytes, order);
  const __m128i first = _mm256_castsi256_si128(pairs), second = _mm256_extracti128_si256(pairs, 1);
  _mm_storeu_si32(u, first);
  _mm_storeu_si32(u + 3, second);
  _mm_storeu_si32(v, _mm_srli_si128(first, 4));
  _mm_storeu_si32(v + 3, _mm_srli_si128(second, 4));
}

void rows(const uint8_t* src0, const uint8_t* src1, uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v,
          uint32_t width) {
  uint32_t x = 0;
  for (; x + kBlock + 2 * kChromaOver + kLumaOver <= width; x += kBlock, src0 += 32, src1 += 32) {
    const Samples above(src0), below(src1);
    storeLuma(y0 + x, above);
    storeLuma(y1 + x, below);
    storeChroma(u + x / 2, v + x / 2, above, below);
  }
  const size_t done = size_t{x} / kBlock * 32;
  plainV210To420Rows(src0 - done, src1 - done, y0, y1, u, v, x, width);
}

}  // namespace

void addAvx2V210To420(KernelTable& table) {
  table.v210To420Rows = rows;
}

}  // namespace qvs::ucc
