// Rows to columns in AVX2.
#include <immintrin.h>

#include "../KernelTable.h"
#include "TransposeVector.h"

namespace qvs::ucc {
namespace {

struct Avx2 {
  using Reg = __m256i;
  static constexpr uint32_t kBytes = 32;

  static void prefetch(const uint8_t* from) {
    _mm_prefetch(reinterpret_cast<const char*>(from), _MM_HINT_T0);
  }
  static Reg load(const uint8_t* from) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)); }
  template <int ElementBytes>
  static Reg unpackLow(Reg a, Reg b) {
    return ElementBytes == 1 ? _mm256_unpacklo_epi8(a, b) : _mm256_unpacklo_epi16(a, b);
  }
  template <int ElementBytes>
  static Reg unpackHigh(Reg a, Reg b) {
    return ElementBytes == 1 ? _mm256_unpackhi_epi8(a, b) : _mm256_unpackhi_epi16(a, b);
  }
  static void storeLanes(uint8_t* to, ptrdiff_t step, Reg value) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm256_castsi256_si128(value));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + step), _mm256_extracti128_si256(value, 1));
  }
};

}  // namespace

void addAvx2Transpose(KernelTable& table) {
  table.transposeBytes = TransposeVector<Avx2, uint8_t>::run;
  table.transposePairs = TransposeVector<Avx2, uint16_t>::run;
}

}  // namespace qvs::ucc
