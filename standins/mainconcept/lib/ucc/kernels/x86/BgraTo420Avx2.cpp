// The RGB to 4:2:0 kernels in AVX2.
#include <immintrin.h>

#include <cstring>

#include "../KernelTable.h"
#include "BgraTo420Vector.h"

namespace qvs::ucc {
namespace {

struct Avx2 {
  using Reg = __m256i;
  static constexpr int kBytes = 32;

  struct Weights {
    Reg high, low, bias;
    explicit Weights(const PixelWeights& weights)
        : high(broadcast(weights.high)), low(broadcast(weights.low)), bias(_mm256_set1_epi32(weights.bias)) {}
    static Reg broadcast(const int8_t (&bytes)[4]) {
      int32_t word;
      std::memcpy(&word, bytes, sizeof word);
      return _mm256_set1_epi32(word);
    }
  };

  static Reg load(const uint8_t* from) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)); }
  static void store(uint8_t* to, Reg value) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), value); }
  static void storeHalves(uint8_t* low, uint8_t* high, Reg value) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(low), _mm256_castsi256_si128(value));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(high), _mm256_extracti128_si256(value, 1));
  }
  static Reg set16(int value) { return _mm256_set1_epi16(static_cast<int16_t>(value)); }
  static Reg average16(Reg a, Reg b) { return _mm256_avg_epu16(a, b); }
  static Reg halve(Reg words) { return _mm256_srli_epi16(words, 1); }

  static Reg dotPixels(Reg pixels, const Weights& weights) {
    const Reg high = _mm256_madd_epi16(_mm256_maddubs_epi16(pixels, weights.high), set16(128));
    const Reg low = _mm256_madd_epi16(_mm256_maddubs_epi16(pixels, weights.low), set16(1));
    return _mm256_srai_epi32(_mm256_add_epi32(_mm256_add_epi32(high, low), weights.bias), 14);
  }
  /// Sums of the components of pixels 0 and 1, 2 and 3 and so on.
  static Reg addNeighbours(Reg pixels) {
    const Reg pairs =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15));
    return _mm256_maddubs_epi16(_mm256_shuffle_epi8(pixels, pairs), _mm256_set1_epi8(1));
  }
  static Reg packToWords(Reg first, Reg second) { return _mm256_packs_epi32(first, second); }
  static Reg packToBytes(Reg first, Reg second) { return _mm256_packus_epi16(first, second); }

  // Packing works in 16-byte lanes; these put the samples back into the row's order.
  static Reg orderLuma(Reg bytes) {
    return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
  }
  static Reg orderChroma(Reg bytes) {
    const Reg words =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15));
    return _mm256_shuffle_epi8(_mm256_permute4x64_epi64(bytes, 0xD8), words);
  }
};

}  // namespace

void addAvx2BgraTo420(KernelTable& table) {
  table.bgraToLuma = BgraTo420Vector<Avx2>::toLuma;
  table.bgraTo420Rows = BgraTo420Vector<Avx2>::to420Rows;
}

}  // namespace qvs::ucc
