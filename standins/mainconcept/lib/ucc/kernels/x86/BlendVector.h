// Alpha blending over a vector type. `V` gives the registers and operations of one instruction set.
#pragma once

#include <cstdint>

namespace qvs::ucc {

template <class V>
class BlendVector {
 public:
  static void blendRow(uint8_t* dst, const uint8_t* src, const uint8_t* alpha, uint32_t width) {
    uint32_t x = 0;
    for (; x + V::kBytes <= width; x += V::kBytes) {
      V::store(dst + x, blend(V::load(dst + x), V::load(src + x), V::load(alpha + x)));
    }
    const uint32_t left = width - x;
    if (left == 0) return;
    const Reg below = V::loadPart(dst + x, left);
    V::storePart(dst + x, blend(below, V::loadPart(src + x, left), V::loadPart(alpha + x, left)), left);
  }

  static void blendPairsRow(uint8_t* dst, const uint8_t* u, const uint8_t* v, const uint8_t* alpha,
                            uint32_t width) {
    uint32_t x = 0;
    for (; x + V::kBytes <= width; x += V::kBytes) {
      const Pairs above(V::load(u + x), V::load(v + x));
      const Pairs weight(V::load(alpha + x), V::load(alpha + x));
      uint8_t* to = dst + size_t{2} * x;
      V::store(to, blend(V::load(to), above.first, weight.first));
      V::store(to + V::kBytes, blend(V::load(to + V::kBytes), above.second, weight.second));
    }
    const uint32_t left = width - x;
    if (left == 0) return;
    const Pairs above(V::loadPart(u + x, left), V::loadPart(v + x, left));
    const Reg part = V::loadPart(alpha + x, left);
    const Pairs weight(part, part);
    blendPart(dst + size_t{2} * x, above.first, weight.first, 2 * left);
    if (2 * left > V::kBytes) {
      blendPart(dst + size_t{2} * x + V::kBytes, above.second, weight.second, 2 * left - V::kBytes);
    }
  }

 private:
  using Reg = typename V::Reg;

  /// Samples of two planes side by side, in the order of the row.
  struct Pairs {
    Reg first, second;
    Pairs(Reg a, Reg b) {
      a = V::spreadForUnpack(a);
      b = V::spreadForUnpack(b);
      first = V::unpackLow(a, b);
      second = V::unpackHigh(a, b);
    }
  };

  static void blendPart(uint8_t* dst, Reg above, Reg alpha, uint32_t bytes) {
    const uint32_t count = bytes < V::kBytes ? bytes : V::kBytes;
    V::storePart(dst, blend(V::loadPart(dst, count), above, alpha), count);
  }

  /// above x a + below x (255 - a), as above x (a - 128) + below x (127 - a) + 128 x (above + below), since
  /// the byte multiplication takes one side signed; then divided by 255 and rounded.
  static Reg half(Reg samples, Reg weights) {
    const Reg sum64 = V::multiplyPairs(samples, V::set8(64));
    const Reg product = V::add16(V::multiplyPairs(samples, weights), V::add16(sum64, sum64));
    const Reg rounded = V::add16(product, V::set16(128));
    return V::shiftRight8(V::add16(rounded, V::shiftRight8(rounded)));
  }

  static Reg blend(Reg below, Reg above, Reg alpha) {
    const Reg forAbove = V::exclusiveOr(alpha, V::set8(-128));
    const Reg forBelow = V::exclusiveOr(alpha, V::set8(127));
    return V::packToBytes(half(V::unpackLow(above, below), V::unpackLow(forAbove, forBelow)),
                          half(V::unpackHigh(above, below), V::unpackHigh(forAbove, forBelow)));
  }
};

}  // namespace qvs::ucc
