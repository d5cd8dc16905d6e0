// Merging and splitting planes with AVX2.
#include <immintrin.h>

#include "frames/kernels/x86/SemiPlanarX86.h"

namespace qvs {
namespace {

constexpr size_t kBlock = 32;  // pairs

inline __m128i load16(const uint8_t* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
inline __m256i load32(const uint8_t* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
inline void store32(uint8_t* p, __m256i v) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}

// Bytes from `p` up to the next multiple of a register: stores that straddle two cache lines cost about
// twice.
inline size_t toAlignment(const uint8_t* p) {
  return -reinterpret_cast<uintptr_t>(p) & 31;
}

inline void merge16(const uint8_t* even, const uint8_t* odd, uint8_t* pairs) {
  const __m128i e = load16(even);
  const __m128i o = load16(odd);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(pairs), _mm_unpacklo_epi8(e, o));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(pairs + 16), _mm_unpackhi_epi8(e, o));
}

inline void merge32(const uint8_t* even, const uint8_t* odd, uint8_t* pairs) {
  // Quadwords 0 2 1 3: the unpack works inside 128-bit lanes.
  const __m256i e = _mm256_permute4x64_epi64(load32(even), 0xD8);
  const __m256i o = _mm256_permute4x64_epi64(load32(odd), 0xD8);
  store32(pairs, _mm256_unpacklo_epi8(e, o));
  store32(pairs + 32, _mm256_unpackhi_epi8(e, o));
}

inline void split16(const uint8_t* pairs, uint8_t* even, uint8_t* odd) {
  const __m128i low = _mm_set1_epi16(0xFF);
  const __m128i a = load16(pairs);
  const __m128i b = load16(pairs + 16);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(even),
                   _mm_packus_epi16(_mm_and_si128(a, low), _mm_and_si128(b, low)));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(odd),
                   _mm_packus_epi16(_mm_srli_epi16(a, 8), _mm_srli_epi16(b, 8)));
}

inline void split32(const uint8_t* pairs, uint8_t* even, uint8_t* odd) {
  const __m256i low = _mm256_set1_epi16(0xFF);
  const __m256i a = load32(pairs);
  const __m256i b = load32(pairs + 32);
  const __m256i e = _mm256_packus_epi16(_mm256_and_si256(a, low), _mm256_and_si256(b, low));
  const __m256i o = _mm256_packus_epi16(_mm256_srli_epi16(a, 8), _mm256_srli_epi16(b, 8));
  store32(even, _mm256_permute4x64_epi64(e, 0xD8));
  store32(odd, _mm256_permute4x64_epi64(o, 0xD8));
}

}  // namespace

// A row begins with a block that overlaps the next, so that all others are aligned, and ends with one that
// overlaps the one before, so that no byte beyond the row is touched.
void mergeAvx2(const uint8_t* even, ptrdiff_t evenStride, const uint8_t* odd, ptrdiff_t oddStride,
               uint8_t* pairs, ptrdiff_t pairsStride, size_t width, size_t rows) {
  for (; rows != 0; --rows, even += evenStride, odd += oddStride, pairs += pairsStride) {
    size_t i = 0;
    if (width >= kBlock) {
      merge32(even, odd, pairs);
      for (i = toAlignment(pairs) / 2; i + kBlock < width; i += kBlock)
        merge32(even + i, odd + i, pairs + 2 * i);
      i = width - kBlock;
      merge32(even + i, odd + i, pairs + 2 * i);
    } else if (width >= 16) {
      merge16(even, odd, pairs);
      i = width - 16;
      merge16(even + i, odd + i, pairs + 2 * i);
    } else {
      for (; i < width; ++i) {
        pairs[2 * i] = even[i];
        pairs[2 * i + 1] = odd[i];
      }
    }
  }
}

void splitAvx2(const uint8_t* pairs, ptrdiff_t pairsStride, uint8_t* even, ptrdiff_t evenStride, uint8_t* odd,
               ptrdiff_t oddStride, size_t width, size_t rows) {
  for (; rows != 0; --rows, even += evenStride, odd += oddStride, pairs += pairsStride) {
    size_t i = 0;
    if (width >= kBlock) {
      split32(pairs, even, odd);
      for (i = toAlignment(even); i + kBlock < width; i += kBlock) split32(pairs + 2 * i, even + i, odd + i);
      i = width - kBlock;
      split32(pairs + 2 * i, even + i, odd + i);
    } else if (width >= 16) {
      split16(pairs, even, odd);
      i = width - 16;
      split16(pairs + 2 * i, even + i, odd + i);
    } else {
      for (; i < width; ++i) {
        even[i] = pairs[2 * i];
        odd[i] = pairs[2 * i + 1];
      }
    }
  }
}

}  // namespace qvs
