// The blending kernels in AVX-512.
#include <immintrin.h>

#include "../KernelTable.h"
#include "BlendVector.h"

namespace qvs::ucc {
namespace {

struct Avx512 {
  using Reg = __m512i;
  static constexpr uint32_t kBytes = 64;

  static __mmask64 firstBytes(uint32_t bytes) { return ~uint64_t{0} >> (64 - bytes); }
  static Reg load(const uint8_t* from) { return _mm512_loadu_si512(from); }
  static void store(uint8_t* to, Reg value) { _mm512_storeu_si512(to, value); }
  static Reg loadPart(const uint8_t* from, uint32_t bytes) {
    return _mm512_maskz_loadu_epi8(firstBytes(bytes), from);
  }
  static void storePart(uint8_t* to, Reg value, uint32_t bytes) {
    _mm512_mask_storeu_epi8(to, firstBytes(bytes), value);
  }
  static Reg set8(int value) { return _mm512_set1_epi8(static_cast<char>(value)); }
  static Reg set16(int value) { return _mm512_set1_epi16(static_cast<int16_t>(value)); }
  static Reg add16(Reg a, Reg b) { return _mm512_add_epi16(a, b); }
  static Reg exclusiveOr(Reg a, Reg b) { return _mm512_xor_si512(a, b); }
  static Reg shiftRight8(Reg words) { return _mm512_srli_epi16(words, 8); }
  static Reg multiplyPairs(Reg bytes, Reg weights) { return _mm512_maddubs_epi16(bytes, weights); }
  static Reg unpackLow(Reg a, Reg b) { return _mm512_unpacklo_epi8(a, b); }
  static Reg unpackHigh(Reg a, Reg b) { return _mm512_unpackhi_epi8(a, b); }
  static Reg packToBytes(Reg first, Reg second) { return _mm512_packus_epi16(first, second); }
  static Reg spreadForUnpack(Reg bytes) {
    return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 4, 1, 5, 2, 6, 3, 7), bytes);
  }
};

}  // namespace

void addAvx512Blend(KernelTable& table) {
  table.blendRow = BlendVector<Avx512>::blendRow;
  table.blendPairsRow = BlendVector<Avx512>::blendPairsRow;
}

}  // namespace qvs::ucc
