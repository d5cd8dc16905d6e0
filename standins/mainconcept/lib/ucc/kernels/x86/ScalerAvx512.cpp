// The scaler's kernels in AVX-512.
#include <immintrin.h>

#include "../KernelTable.h"
#include "ScalerVector.h"

namespace qvs::ucc {
namespace {

struct Avx512 {
  using Reg = __m512i;
  static constexpr int kBytes = 64;
  static constexpr int kUnits = 1;

  static Reg zero() { return _mm512_setzero_si512(); }
  static Reg set16(int value) { return _mm512_set1_epi16(static_cast<int16_t>(value)); }
  static Reg set32(int value) { return _mm512_set1_epi32(value); }
  static Reg load(const void* from) { return _mm512_loadu_si512(from); }
  static void store(void* to, Reg value) { _mm512_storeu_si512(to, value); }
  static void storePart(uint8_t* to, Reg value, uint32_t bytes) {
    _mm512_mask_storeu_epi8(to, ~uint64_t{0} >> (64 - bytes), value);
  }
  static Reg loadUnits(const uint8_t* const* from, ptrdiff_t at) { return load(from[0] + at); }
  static int total32(Reg sums) { return _mm512_reduce_add_epi32(sums); }
  static Reg unpackLow8(Reg a, Reg b) { return _mm512_unpacklo_epi8(a, b); }
  static Reg unpackHigh8(Reg a, Reg b) { return _mm512_unpackhi_epi8(a, b); }
  /// The low halves of the row's lanes in one register, the high halves in the other.
  static void storeWordHalves(int16_t* to, Reg low, Reg high) {
    store(to, _mm512_permutex2var_epi64(low, _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11), high));
    store(to + 32, _mm512_permutex2var_epi64(low, _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15), high));
  }
  static Reg packWords(Reg first, Reg second) { return _mm512_packs_epi32(first, second); }
  static Reg shuffleUnits(Reg bytes, Reg index) { return _mm512_permutexvar_epi8(index, bytes); }
  static Reg add16(Reg a, Reg b) { return _mm512_add_epi16(a, b); }
  static Reg add32(Reg a, Reg b) { return _mm512_add_epi32(a, b); }
  static Reg multiplyPairs(Reg bytes, Reg weights) { return _mm512_maddubs_epi16(bytes, weights); }
  static Reg addPairs(Reg words, Reg weights) { return _mm512_madd_epi16(words, weights); }
  static Reg multiplyHigh(Reg a, Reg b) { return _mm512_mulhrs_epi16(a, b); }
  template <int Bits>
  static Reg shiftRight16(Reg words) {
    return _mm512_srai_epi16(words, Bits);
  }
  template <int Bits>
  static Reg shiftRight32(Reg words) {
    return _mm512_srai_epi32(words, Bits);
  }
  static Reg packUnsigned(Reg first, Reg second) {
    const Reg order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    return _mm512_permutexvar_epi64(order, _mm512_packus_epi16(first, second));
  }
  static void storeNarrowed(int16_t* to, Reg words) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm512_cvtepi32_epi16(words));
  }
};

}  // namespace

void addAvx512Scaler(KernelTable& table) {
  table.gatherVector = {Avx512::kBytes, Avx512::kBytes / Avx512::kUnits};
  table.scaleLine = ScalerVector<Avx512>::scaleLine;
  table.combineLines = ScalerVector<Avx512>::combineLines;
  table.sumRows = ScalerVector<Avx512>::sumRows;
  table.filterLine = ScalerVector<Avx512>::filterLine;
}

}  // namespace qvs::ucc
