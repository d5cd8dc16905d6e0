// The scaler's kernels in AVX2.
#include <immintrin.h>

#include <cstring>

#include "../KernelTable.h"
#include "ScalerVector.h"

namespace qvs::ucc {
namespace {

struct Avx2 {
  using Reg = __m256i;
  static constexpr int kBytes = 32;
  static constexpr int kUnits = 2;  ///< shuffles stay inside 16-byte lanes

  static Reg zero() { return _mm256_setzero_si256(); }
  static Reg set16(int value) { return _mm256_set1_epi16(static_cast<int16_t>(value)); }
  static Reg set32(int value) { return _mm256_set1_epi32(value); }
  static Reg load(const void* from) { return _mm256_loadu_si256(static_cast<const __m256i*>(from)); }
  static void store(void* to, Reg value) { _mm256_storeu_si256(static_cast<__m256i*>(to), value); }
  static void storePart(uint8_t* to, Reg value, uint32_t bytes) {
    uint8_t whole[kBytes];
    store(whole, value);
    std::memcpy(to, whole, bytes);
  }
  static Reg loadUnits(const uint8_t* const* from, ptrdiff_t at) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from[0] + at));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from[1] + at));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
  }
  static int total32(Reg sums) {
    __m128i four = _mm_add_epi32(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
    four = _mm_add_epi32(four, _mm_shuffle_epi32(four, 0x4E));
    return _mm_cvtsi128_si32(_mm_add_epi32(four, _mm_shuffle_epi32(four, 0xB1)));
  }
  static Reg unpackLow8(Reg a, Reg b) { return _mm256_unpacklo_epi8(a, b); }
  static Reg unpackHigh8(Reg a, Reg b) { return _mm256_unpackhi_epi8(a, b); }
  /// The low halves of the row's lanes in one register, the high halves in the other.
  static void storeWordHalves(int16_t* to, Reg low, Reg high) {
    store(to, _mm256_permute2x128_si256(low, high, 0x20));
    store(to + 16, _mm256_permute2x128_si256(low, high, 0x31));
  }
  static Reg packWords(Reg first, Reg second) { return _mm256_packs_epi32(first, second); }
  static Reg shuffleUnits(Reg bytes, Reg index) { return _mm256_shuffle_epi8(bytes, index); }
  static Reg add16(Reg a, Reg b) { return _mm256_add_epi16(a, b); }
  static Reg add32(Reg a, Reg b) { return _mm256_add_epi32(a, b); }
  static Reg multiplyPairs(Reg bytes, Reg weights) { return _mm256_maddubs_epi16(bytes, weights); }
  static Reg addPairs(Reg words, Reg weights) { return _mm256_madd_epi16(words, weights); }
  static Reg multiplyHigh(Reg a, Reg b) { return _mm256_mulhrs_epi16(a, b); }
  template <int Bits>
  static Reg shiftRight16(Reg words) {
    return _mm256_srai_epi16(words, Bits);
  }
  template <int Bits>
  static Reg shiftRight32(Reg words) {
    return _mm256_srai_epi32(words, Bits);
  }
  static Reg packUnsigned(Reg first, Reg second) {
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0xD8);
  }
  static void storeNarrowed(int16_t* to, Reg words) {
    const Reg packed = _mm256_permute4x64_epi64(_mm256_packs_epi32(words, words), 0xD8);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm256_castsi256_si128(packed));
  }
};

}  // namespace

void addAvx2Scaler(KernelTable& table) {
  table.gatherVector = {Avx2::kBytes, Avx2::kBytes / Avx2::kUnits};
  table.scaleLine = ScalerVector<Avx2>::scaleLine;
  table.combineLines = ScalerVector<Avx2>::combineLines;
  table.sumRows = ScalerVector<Avx2>::sumRows;
  table.filterLine = ScalerVector<Avx2>::filterLine;
}

}  // namespace qvs::ucc
