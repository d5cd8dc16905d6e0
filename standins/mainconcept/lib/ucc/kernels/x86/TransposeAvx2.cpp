// Rows to columns in AVX2.
#include <immintrin.h>

#include "../KernelTable.h"
#include "TransposeVector.h"

namespace qvs::ucc {
namespace {

struct Avx2 {
  using Reg = __m256i;
  static constexpr uint32_t kLanes = 2;

  /// A register's lanes from places `step` apart.
  static Reg loadLanes(const uint8_t* from, ptrdiff_t step) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(lane(from)), lane(from + step), 1);
  }
  template <int ElementBytes>
  static Reg unpackLow(Reg a, Reg b) {
    return ElementBytes == 1 ? _mm256_unpacklo_epi8(a, b) : _mm256_unpacklo_epi16(a, b);
  }
  template <int ElementBytes>
  static Reg unpackHigh(Reg a, Reg b) {
    return ElementBytes == 1 ? _mm256_unpackhi_epi8(a, b) : _mm256_unpackhi_epi16(a, b);
  }
  static void store(uint8_t* to, Reg value) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value); }

 private:
  static __m128i lane(const uint8_t* from) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)); }
};

}  // namespace

void addAvx2Transpose(KernelTable& table) {
  table.transposeBytes = TransposeVector<Avx2, uint8_t>::run;
  table.transposePairs = TransposeVector<Avx2, uint16_t>::run;
}

}  // namespace qvs::ucc
