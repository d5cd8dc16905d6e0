// The RGB to 4:2:0 kernels in AVX-512.
#include <immintrin.h>

#include <cstring>

#include "../KernelTable.h"
#include "BgraTo420Vector.h"

namespace qvs::ucc {
namespace {

struct Avx512 {
  using Reg = __m512i;
  static constexpr int kBytes = 64;

  struct Weights {
    Reg high, low, bias;  ///< the bias is that of the high part
    explicit Weights(const PixelWeights& weights)
        : high(broadcast(weights.high)),
          low(broadcast(weights.low)),
          bias(_mm512_set1_epi32(weights.bias >> 7)) {}
    static Reg broadcast(const int8_t (&bytes)[4]) {
      int32_t word;
      std::memcpy(&word, bytes, sizeof word);
      return _mm512_set1_epi32(word);
    }
  };

  static Reg load(const uint8_t* from) { return _mm512_loadu_si512(from); }
  static void store(uint8_t* to, Reg value) { _mm512_storeu_si512(to, value); }
  static void storeHalves(uint8_t* low, uint8_t* high, Reg value) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(low), _mm512_castsi512_si256(value));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(high), _mm512_extracti64x4_epi64(value, 1));
  }
  static Reg set16(int value) { return _mm512_set1_epi16(static_cast<int16_t>(value)); }
  static Reg average16(Reg a, Reg b) { return _mm512_avg_epu16(a, b); }
  static Reg halve(Reg words) { return _mm512_srli_epi16(words, 1); }

  static Reg dotPixels(Reg pixels, const Weights& weights) {
    const Reg high = _mm512_slli_epi32(_mm512_dpbusd_epi32(weights.bias, pixels, weights.high), 7);
    const Reg sum = _mm512_dpbusd_epi32(high, pixels, weights.low);
    return _mm512_srai_epi32(sum, 14);
  }
  /// Sums of the components of pixels 0 and 1, 2 and 3 and so on.
  static Reg addNeighbours(Reg pixels) {
    const Reg pairs =
        _mm512_broadcast_i32x4(_mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15));
    return _mm512_maddubs_epi16(_mm512_shuffle_epi8(pixels, pairs), _mm512_set1_epi8(1));
  }
  static Reg packToWords(Reg first, Reg second) { return _mm512_packs_epi32(first, second); }
  static Reg packToBytes(Reg first, Reg second) { return _mm512_packus_epi16(first, second); }

  // Packing works in 16-byte lanes; these put the samples back into the row's order.
  static Reg orderLuma(Reg bytes) {
    return _mm512_permutexvar_epi32(_mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15),
                                    bytes);
  }
  static Reg orderChroma(Reg bytes) {
    alignas(64) static constexpr uint16_t kOrder[32] = {0,  8,  16, 24, 1,  9,  17, 25, 2,  10, 18,
                                                        26, 3,  11, 19, 27, 4,  12, 20, 28, 5,  13,
                                                        21, 29, 6,  14, 22, 30, 7,  15, 23, 31};
    return _mm512_permutexvar_epi16(_mm512_load_si512(kOrder), bytes);
  }
};

}  // namespace

void addAvx512BgraTo420(KernelTable& table) {
  table.bgraToLuma = BgraTo420Vector<Avx512>::toLuma;
  table.bgraTo420Rows = BgraTo420Vector<Avx512>::to420Rows;
}

}  // namespace qvs::ucc
