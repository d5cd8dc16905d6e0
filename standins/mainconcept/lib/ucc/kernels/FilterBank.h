// The weights of one dimension of a bicubic scaler.
#pragma once

#include <cstdint>

#include "AlignedBuffer.h"

namespace qvs::ucc {

/// For each output sample the first input sample that it takes and its weights. Every output has the same
/// number of taps and all of them lie inside the input: weights of samples beyond an edge are added to the
/// edge sample's. Rows of a wide filter are filled up with zeros to a multiple of kWideMultiple weights.
class FilterBank {
 public:
  /// Filters of at most this number of taps are short: their weights have the bits of fraction asked for,
  /// those of wide filters kWideBits.
  static constexpr uint32_t kMaxShortTaps = 16;
  static constexpr uint32_t kWideBits = 14;
  static constexpr uint32_t kWideMultiple = 32;

  /// Slope of the kernel at distance 1. Between the Catmull-Rom spline (-0.5) and the sharpest in use
  /// (-0.75): two decibels nearer to a Lanczos filter than the former, with little of the latter's ringing.
  static constexpr double kCubic = -0.6;

  /// `reversed`: the outputs come in the opposite order.
  bool build(uint32_t srcSize, uint32_t dstSize, uint32_t shortBits, bool reversed = false);

  uint32_t srcSize() const { return inputs; }
  uint32_t dstSize() const { return outputs; }
  uint32_t taps() const { return tapCount; }
  uint32_t filledTaps() const { return rowWeights; }
  bool isShort() const { return fewTaps; }
  uint32_t bits() const {
    return fractionBits;
  }  ///< 1 << bits is weight 1; each output's weights sum up to it
  uint32_t start(uint32_t output) const { return startMemory.as<uint32_t>()[output]; }
  const int16_t* weights(uint32_t output) const {
    return weightMemory.as<int16_t>() + static_cast<size_t>(output) * rowWeights;
  }

 private:
  struct Span {
    uint32_t first, count;  ///< in the input, from the first weight that isn't 0 to the last
  };
  Span fillRow(uint32_t output, int16_t* row) const;

  uint32_t inputs = 0;
  uint32_t outputs = 0;
  uint32_t tapCount = 0;
  uint32_t rowWeights = 0;  ///< weights from one output's to the next
  uint32_t fractionBits = 0;
  bool fewTaps = false;
  AlignedBuffer startMemory;
  AlignedBuffer weightMemory;
};

}  // namespace qvs::ucc
