#pragma once

#include <cstdint>
#include <string>

#include "EncoderSession.h"

namespace qvs::plugins {

/// What the keys of the software encoders for H.264 and H.265 set. The defaults are for live use: each picture comes
/// out in the call that brought it.
struct H26xSettings {
  enum RateControl : int64_t { kBitRate = 0, kCappedQuality = 1, kConstantQp = 2 };
  static constexpr int64_t kAsPreset = -1;
  static constexpr int64_t kUnspecified = 2;  ///< of the colour description

  int64_t preset = 2;
  int64_t tune = 0;
  int64_t profile = 0;
  int64_t level = 0;  ///< ten times the level, 0: as the stream needs
  int64_t rateControl = kBitRate;
  double quality = 23;
  int64_t qp = 23;
  int64_t vbvMaxRate = 0;  ///< bits per second, 0: the bit rate
  int64_t vbvBuffer = 0;   ///< bits, 0: a second of the largest rate, -1: no buffer
  int64_t keyFrameInterval = 250;
  int64_t bFrames = 0;
  int64_t references = 0;  ///< 0: as the preset has it
  int64_t lookAhead = 0;
  int64_t threads = 0;  ///< 0: this machine's share
  int64_t frameThreads = 0;
  int64_t slices = 0;
  int64_t openGop = 0;
  int64_t sceneCut = kAsPreset;
  int64_t aqMode = kAsPreset;
  double aqStrength = kAsPreset;
  int64_t tree = kAsPreset;  ///< quantizers by what later pictures take from a block
  int64_t colorPrimaries = kUnspecified;
  int64_t colorTransfer = kUnspecified;
  int64_t colorMatrix = kUnspecified;
  int64_t fullRange = -1;  ///< -1: not told

  /// The threads asked for, or the share.
  int threadCount() const;
};

/// A stream's rates in kilobits, as libx264 and libx265 take them; the last two are 0 where there is no buffer.
struct H26xRates {
  int bitRate = 0;
  int maxRate = 0;
  int buffer = 0;

  /// What the settings mean at a bit rate. False, with the reason in `problem`, where they lack something.
  bool set(const H26xSettings& settings, uint32_t bitsPerSecond, std::string& problem);

  /// The rates after a change while running. False, with the reason, where it would change nothing.
  bool change(const H26xSettings& settings, uint32_t from, uint32_t to, std::string& problem);

  /// Whether the buffer fills at the bit rate itself.
  bool constant() const { return buffer > 0 && maxRate <= bitRate; }
};

/// Sizes that 4:2:0 can say are even: an odd last column or row is left out.
struct CodedSize {
  int width;
  int height;
};
inline CodedSize codedSize(const CommonSettings& common) {
  return {static_cast<int>(common.width & ~1u), static_cast<int>(common.height & ~1u)};
}

}  // namespace qvs::plugins
