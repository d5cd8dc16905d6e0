// The blending kernels in AVX2.
#include <immintrin.h>

#include <cstring>

#include "../KernelTable.h"
#include "BlendVector.h"

namespace qvs::ucc {
namespace {

struct Avx2 {
  using Reg = __m256i;
  static constexpr uint32_t kBytes = 32;

  static Reg load(const uint8_t* from) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)); }
  static void store(uint8_t* to, Reg value) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value); }
  static Reg loadPart(const uint8_t* from, uint32_t bytes) {
    uint8_t whole[kBytes] = {};
    std::memcpy(whole, from, bytes);
    return load(whole);
  }
  static void storePart(uint8_t* to, Reg value, uint32_t bytes) {
    uint8_t whole[kBytes];
    store(whole, value);
    std::memcpy(to, whole, bytes);
  }
  static Reg set8(int value) { return _mm256_set1_epi8(static_cast<char>(value)); }
  static Reg set16(int value) { return _mm256_set1_epi16(static_cast<int16_t>(value)); }
  static Reg add16(Reg a, Reg b) { return _mm256_add_epi16(a, b); }
  static Reg exclusiveOr(Reg a, Reg b) { return _mm256_xor_si256(a, b); }
  static Reg shiftRight8(Reg words) { return _mm256_srli_epi16(words, 8); }
  static Reg multiplyPairs(Reg bytes, Reg weights) { return _mm256_maddubs_epi16(bytes, weights); }
  static Reg unpackLow(Reg a, Reg b) { return _mm256_unpacklo_epi8(a, b); }
  static Reg unpackHigh(Reg a, Reg b) { return _mm256_unpackhi_epi8(a, b); }
  static Reg packToBytes(Reg first, Reg second) { return _mm256_packus_epi16(first, second); }
  static Reg spreadForUnpack(Reg bytes) { return _mm256_permute4x64_epi64(bytes, 0xD8); }
};

}  // namespace

void addAvx2Blend(KernelTable& table) {
  table.blendRow = BlendVector<Avx2>::blendRow;
  table.blendPairsRow = BlendVector<Avx2>::blendPairsRow;
}

}  // namespace qvs::ucc
