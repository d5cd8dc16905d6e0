// Rows to columns in AVX-512.
#include <immintrin.h>

#include "../KernelTable.h"
#include "TransposeVector.h"

namespace qvs::ucc {
namespace {

struct Avx512 {
  using Reg = __m512i;
  static constexpr uint32_t kBytes = 64;

  static void prefetch(const uint8_t* from) {
    _mm_prefetch(reinterpret_cast<const char*>(from), _MM_HINT_T0);
  }
  static Reg load(const uint8_t* from) { return _mm512_loadu_si512(from); }
  template <int ElementBytes>
  static Reg unpackLow(Reg a, Reg b) {
    return ElementBytes == 1 ? _mm512_unpacklo_epi8(a, b) : _mm512_unpacklo_epi16(a, b);
  }
  template <int ElementBytes>
  static Reg unpackHigh(Reg a, Reg b) {
    return ElementBytes == 1 ? _mm512_unpackhi_epi8(a, b) : _mm512_unpackhi_epi16(a, b);
  }
  static void storeLanes(uint8_t* to, ptrdiff_t step, Reg value) {
    storeLane(to, _mm512_castsi512_si128(value));
    storeLane(to + step, _mm512_extracti32x4_epi32(value, 1));
    storeLane(to + 2 * step, _mm512_extracti32x4_epi32(value, 2));
    storeLane(to + 3 * step, _mm512_extracti32x4_epi32(value, 3));
  }

 private:
  static void storeLane(uint8_t* to, __m128i value) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), value);
  }
};

}  // namespace

void addAvx512Transpose(KernelTable& table) {
  table.transposeBytes = TransposeVector<Avx512, uint8_t>::run;
  table.transposePairs = TransposeVector<Avx512, uint16_t>::run;
}

}  // namespace qvs::ucc
