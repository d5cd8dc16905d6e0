// Rows to columns in AVX-512.
#include <immintrin.h>

#include "../KernelTable.h"
#include "TransposeVector.h"

namespace qvs::ucc {
namespace {

struct Avx512 {
  using Reg = __m512i;
  static constexpr uint32_t kLanes = 4;

  /// A register's lanes from places `step` apart.
  static Reg loadLanes(const uint8_t* from, ptrdiff_t step) {
    Reg lanes = _mm512_castsi128_si512(lane(from));
    lanes = _mm512_inserti32x4(lanes, lane(from + step), 1);
    lanes = _mm512_inserti32x4(lanes, lane(from + 2 * step), 2);
    return _mm512_inserti32x4(lanes, lane(from + 3 * step), 3);
  }
  template <int ElementBytes>
  static Reg unpackLow(Reg a, Reg b) {
    return ElementBytes == 1 ? _mm512_unpacklo_epi8(a, b) : _mm512_unpacklo_epi16(a, b);
  }
  template <int ElementBytes>
  static Reg unpackHigh(Reg a, Reg b) {
    return ElementBytes == 1 ? _mm512_unpackhi_epi8(a, b) : _mm512_unpackhi_epi16(a, b);
  }
  static void store(uint8_t* to, Reg value) { _mm512_storeu_si512(to, value); }

 private:
  static __m128i lane(const uint8_t* from) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)); }
};

}  // namespace

void addAvx512Transpose(KernelTable& table) {
  table.transposeBytes = TransposeVector<Avx512, uint8_t>::run;
  table.transposePairs = TransposeVector<Avx512, uint16_t>::run;
}

}  // namespace qvs::ucc
