// Merging and splitting planes with AVX-512.
#include <immintrin.h>

#include "frames/kernels/x86/SemiPlanarX86.h"

namespace qvs {
namespace {

constexpr size_t kBlock = 64;    // pairs
constexpr __mmask8 kAll = 0xFF;  // the unmasked permutation draws a false warning from the compiler

// The first n bits, n up to 64.
inline __mmask64 firstBytes(size_t n) {
  return n >= 64 ? ~__mmask64{0} : (__mmask64{1} << n) - 1;
}
inline size_t bytesFrom(size_t bytes, size_t start) {
  return bytes > start ? bytes - start : 0;
}

// Bytes from `p` up to the next whole cache line: stores that straddle two lines cost about twice.
inline size_t toAlignment(const uint8_t* p) {
  return -reinterpret_cast<uintptr_t>(p) & (kBlock - 1);
}

inline void interleave(__m512i even, __m512i odd, __m512i* first, __m512i* second) {
  // The unpack works inside 128-bit lanes, so the quadwords are dealt out to them first.
  const __m512i order = _mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7);
  even = _mm512_maskz_permutexvar_epi64(kAll, order, even);
  odd = _mm512_maskz_permutexvar_epi64(kAll, order, odd);
  *first = _mm512_unpacklo_epi8(even, odd);
  *second = _mm512_unpackhi_epi8(even, odd);
}

inline void deinterleave(__m512i first, __m512i second, __m512i* even, __m512i* odd) {
  const __m512i order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
  const __m512i low = _mm512_set1_epi16(0xFF);
  *even = _mm512_maskz_permutexvar_epi64(
      kAll, order, _mm512_packus_epi16(_mm512_and_si512(first, low), _mm512_and_si512(second, low)));
  *odd = _mm512_maskz_permutexvar_epi64(
      kAll, order, _mm512_packus_epi16(_mm512_srli_epi16(first, 8), _mm512_srli_epi16(second, 8)));
}

inline void mergeBlock(const uint8_t* even, const uint8_t* odd, uint8_t* pairs) {
  __m512i first, second;
  interleave(_mm512_loadu_si512(even), _mm512_loadu_si512(odd), &first, &second);
  _mm512_storeu_si512(pairs, first);
  _mm512_storeu_si512(pairs + kBlock, second);
}

inline void mergeShort(const uint8_t* even, const uint8_t* odd, uint8_t* pairs, size_t width) {
  __m512i first, second;
  const __mmask64 mask = firstBytes(width);
  interleave(_mm512_maskz_loadu_epi8(mask, even), _mm512_maskz_loadu_epi8(mask, odd), &first, &second);
  _mm512_mask_storeu_epi8(pairs, firstBytes(2 * width), first);
  _mm512_mask_storeu_epi8(pairs + kBlock, firstBytes(bytesFrom(2 * width, kBlock)), second);
}

inline void splitBlock(const uint8_t* pairs, uint8_t* even, uint8_t* odd) {
  __m512i e, o;
  deinterleave(_mm512_loadu_si512(pairs), _mm512_loadu_si512(pairs + kBlock), &e, &o);
  _mm512_storeu_si512(even, e);
  _mm512_storeu_si512(odd, o);
}

inline void splitShort(const uint8_t* pairs, uint8_t* even, uint8_t* odd, size_t width) {
  __m512i e, o;
  deinterleave(_mm512_maskz_loadu_epi8(firstBytes(2 * width), pairs),
               _mm512_maskz_loadu_epi8(firstBytes(bytesFrom(2 * width, kBlock)), pairs + kBlock), &e, &o);
  const __mmask64 mask = firstBytes(width);
  _mm512_mask_storeu_epi8(even, mask, e);
  _mm512_mask_storeu_epi8(odd, mask, o);
}

}  // namespace

// A row begins with a block that overlaps the next, so that all others are aligned, and ends with one that
// overlaps the one before; a row shorter than a block is masked.
void mergeAvx512(const uint8_t* even, ptrdiff_t evenStride, const uint8_t* odd, ptrdiff_t oddStride,
                 uint8_t* pairs, ptrdiff_t pairsStride, size_t width, size_t rows) {
  for (; rows != 0; --rows, even += evenStride, odd += oddStride, pairs += pairsStride) {
    if (width < kBlock) {
      mergeShort(even, odd, pairs, width);
      continue;
    }
    mergeBlock(even, odd, pairs);
    for (size_t i = toAlignment(pairs) / 2; i + kBlock < width; i += kBlock) {
      mergeBlock(even + i, odd + i, pairs + 2 * i);
    }
    const size_t last = width - kBlock;
    mergeBlock(even + last, odd + last, pairs + 2 * last);
  }
}

void splitAvx512(const uint8_t* pairs, ptrdiff_t pairsStride, uint8_t* even, ptrdiff_t evenStride,
                 uint8_t* odd, ptrdiff_t oddStride, size_t width, size_t rows) {
  for (; rows != 0; --rows, even += evenStride, odd += oddStride, pairs += pairsStride) {
    if (width < kBlock) {
      splitShort(pairs, even, odd, width);
      continue;
    }
    splitBlock(pairs, even, odd);
    for (size_t i = toAlignment(even); i + kBlock < width; i += kBlock) {
      splitBlock(pairs + 2 * i, even + i, odd + i);
    }
    const size_t last = width - kBlock;
    splitBlock(pairs + 2 * last, even + last, odd + last);
  }
}

}  // namespace qvs
