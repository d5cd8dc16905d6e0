// The overlay blending kernels with AVX2.
#include <immintrin.h>

#include "x86/ScalerKernelsX86.h"

namespace qvs::intrinsic {
namespace {

inline __m256i load32(const uint8_t* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

inline __m256i component(__m256i pixels, int byte) {
  return _mm256_and_si256(_mm256_srli_epi32(pixels, 8 * byte), _mm256_set1_epi32(0xFF));
}

inline bool isClear(__m256i pixels) {
  return _mm256_testz_si256(pixels, _mm256_set1_epi32(static_cast<int>(0xFF000000u))) != 0;
}

// Two registers of eight 32-bit numbers into sixteen 16-bit ones.
inline __m256i narrow(__m256i first, __m256i second) {
  return _mm256_permute4x64_epi64(_mm256_packus_epi32(first, second), 0xD8);
}

inline __m128i narrow(__m256i numbers) {
  return _mm_packus_epi32(_mm256_castsi256_si128(numbers), _mm256_extracti128_si256(numbers, 1));
}

// Sums of neighbours: sixteen 32-bit numbers into eight.
inline __m256i addPairs(__m256i first, __m256i second) {
  return _mm256_permute4x64_epi64(_mm256_hadd_epi32(first, second), 0xD8);
}

// Sixteen pixels of two rows: what they weigh on the eight chroma samples below them.
struct Quads {
  __m256i u;  // sums of A*U, up to 4 * 255 * 255
  __m256i v;
  __m256i rest;  // 1020 less the sum of A
};

inline __m256i weighted(__m256i upper, __m256i lower, int byte) {
  const auto product = [byte](__m256i pixels) {
    return _mm256_madd_epi16(component(pixels, byte), component(pixels, 3));
  };
  return _mm256_add_epi32(product(upper), product(lower));
}

inline __m256i alphas(__m256i upper, __m256i lower) {
  return _mm256_add_epi32(component(upper, 3), component(lower, 3));
}

// False where all sixteen are clear.
inline bool gather(const uint8_t* upper, const uint8_t* lower, Quads* quads) {
  const __m256i a = load32(upper);
  const __m256i b = load32(upper + 32);
  const __m256i c = load32(lower);
  const __m256i d = load32(lower + 32);
  if (isClear(_mm256_or_si256(_mm256_or_si256(a, b), _mm256_or_si256(c, d)))) return false;
  quads->v = addPairs(weighted(a, c, 0), weighted(b, d, 0));
  quads->u = addPairs(weighted(a, c, 1), weighted(b, d, 1));
  quads->rest = _mm256_sub_epi32(_mm256_set1_epi32(4 * 255), addPairs(alphas(a, c), alphas(b, d)));
  return true;
}

// (sum + rest * old) / 1020, rounded: a quarter, then the exact division of a 16-bit number by 255.
inline __m256i blend(__m256i sum, __m256i rest, __m256i old) {
  const __m256i whole =
      _mm256_add_epi32(_mm256_add_epi32(sum, _mm256_madd_epi16(rest, old)), _mm256_set1_epi32(510));
  const __m256i quarter = _mm256_srli_epi32(whole, 2);
  const __m256i next = _mm256_add_epi32(quarter, _mm256_set1_epi32(1));
  return _mm256_srli_epi32(_mm256_add_epi32(next, _mm256_srli_epi32(quarter, 8)), 8);
}

inline void blendEight(const Quads& quads, __m256i sum, uint8_t* samples) {
  auto* place = reinterpret_cast<__m128i*>(samples);
  const __m128i words = narrow(blend(sum, quads.rest, _mm256_cvtepu8_epi32(_mm_loadl_epi64(place))));
  _mm_storel_epi64(place, _mm_packus_epi16(words, words));
}

}  // namespace

size_t blendLumaAvx2(const uint8_t* vuya, uint8_t* luma, size_t width) {
  const __m256i opaque = _mm256_set1_epi16(255);
  size_t i = 0;
  for (; i + 16 <= width; i += 16) {
    const __m256i first = load32(vuya + 4 * i);
    const __m256i second = load32(vuya + 4 * i + 32);
    if (isClear(_mm256_or_si256(first, second))) continue;
    const __m256i a = narrow(component(first, 3), component(second, 3));
    const __m256i y = narrow(component(first, 2), component(second, 2));
    auto* place = reinterpret_cast<__m128i*>(luma + i);
    const __m256i old = _mm256_cvtepu8_epi16(_mm_loadu_si128(place));
    __m256i sum =
        _mm256_add_epi16(_mm256_mullo_epi16(a, y), _mm256_mullo_epi16(_mm256_sub_epi16(opaque, a), old));
    sum = _mm256_add_epi16(sum, _mm256_set1_epi16(128));
    sum = _mm256_srli_epi16(_mm256_add_epi16(sum, _mm256_srli_epi16(sum, 8)), 8);
    _mm_storeu_si128(place, _mm_packus_epi16(_mm256_castsi256_si128(sum), _mm256_extracti128_si256(sum, 1)));
  }
  return i;
}

size_t blendChromaAvx2(const uint8_t* upper, const uint8_t* lower, uint8_t* u, uint8_t* v, size_t width) {
  size_t i = 0;
  for (; i + 8 <= width; i += 8) {
    Quads quads;
    if (!gather(upper + 8 * i, lower + 8 * i, &quads)) continue;
    blendEight(quads, quads.u, u + i);
    blendEight(quads, quads.v, v + i);
  }
  return i;
}

size_t blendChromaPairsAvx2(const uint8_t* upper, const uint8_t* lower, uint8_t* uv, size_t width) {
  size_t i = 0;
  for (; i + 8 <= width; i += 8) {
    Quads quads;
    if (!gather(upper + 8 * i, lower + 8 * i, &quads)) continue;
    auto* place = reinterpret_cast<__m128i*>(uv + 2 * i);
    const __m128i old = _mm_loadu_si128(place);
    const __m256i oldU = _mm256_cvtepu16_epi32(_mm_and_si128(old, _mm_set1_epi16(0xFF)));
    const __m256i oldV = _mm256_cvtepu16_epi32(_mm_srli_epi16(old, 8));
    const __m128i newU = narrow(blend(quads.u, quads.rest, oldU));
    const __m128i newV = narrow(blend(quads.v, quads.rest, oldV));
    _mm_storeu_si128(place, _mm_or_si128(newU, _mm_slli_epi16(newV, 8)));
  }
  return i;
}

}  // namespace qvs::intrinsic
