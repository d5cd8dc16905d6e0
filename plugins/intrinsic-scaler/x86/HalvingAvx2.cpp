// The halving kernels with AVX2.
#include <immintrin.h>

#include "HalfFilter.h"
#include "x86/ScalerKernelsX86.h"

namespace qvs::intrinsic {
namespace {

inline __m256i widen(const uint8_t* p) {
  return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}

inline __m256i taps(int first, int second) {
  return _mm256_set1_epi32(static_cast<int>(static_cast<uint32_t>(second) << 16 | (first & 0xFFFF)));
}

// Eight samples from the sixteen kept ones at `kept` and two on either side.
inline __m256i filterColumns(const int16_t* kept) {
  constexpr int kShift = kTapBits + kKeptBits;
  const auto load = [](const int16_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); };
  __m256i sum = _mm256_madd_epi16(load(kept - 2), taps(kOuterTap, kMiddleTap));
  sum = _mm256_add_epi32(sum, _mm256_madd_epi16(load(kept), taps(kInnerTap, kInnerTap)));
  sum = _mm256_add_epi32(sum, _mm256_madd_epi16(load(kept + 2), taps(kMiddleTap, kOuterTap)));
  return _mm256_srai_epi32(_mm256_add_epi32(sum, _mm256_set1_epi32(1 << (kShift - 1))), kShift);
}

}  // namespace

// The sum needs 16 bits without a sign, from -5610 to 38250: a bias keeps it above 0 modulo 65536 until it
// has been shifted.
size_t halveRowsAvx2(const uint8_t* const rows[6], int16_t* kept, size_t width) {
  static_assert(kTapBits - kKeptBits == 1, "the sum fits for this filter only");
  constexpr int kBias = 8192;
  const __m256i outer = _mm256_set1_epi16(kOuterTap);
  const __m256i middle = _mm256_set1_epi16(kMiddleTap);
  const __m256i inner = _mm256_set1_epi16(kInnerTap);
  size_t i = 0;
  for (; i + 16 <= width; i += 16) {
    const auto pair = [&](int a, int b) { return _mm256_add_epi16(widen(rows[a] + i), widen(rows[b] + i)); };
    __m256i sum = _mm256_mullo_epi16(pair(0, 5), outer);
    sum = _mm256_add_epi16(sum, _mm256_mullo_epi16(pair(1, 4), middle));
    sum = _mm256_add_epi16(sum, _mm256_mullo_epi16(pair(2, 3), inner));
    sum = _mm256_srli_epi16(_mm256_add_epi16(sum, _mm256_set1_epi16(kBias + 1)), 1);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(kept + i),
                        _mm256_sub_epi16(sum, _mm256_set1_epi16(kBias / 2)));
  }
  return i;
}

size_t halveColumnsAvx2(const int16_t* kept, uint8_t* target, size_t width) {
  size_t i = 0;
  for (; i + 16 <= width; i += 16) {
    const __m256i words = _mm256_packs_epi32(filterColumns(kept + 2 * i), filterColumns(kept + 2 * i + 16));
    const __m256i ordered = _mm256_permute4x64_epi64(words, 0xD8);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(target + i),
                     _mm_packus_epi16(_mm256_castsi256_si128(ordered), _mm256_extracti128_si256(ordered, 1)));
  }
  return i;
}

}  // namespace qvs::intrinsic
