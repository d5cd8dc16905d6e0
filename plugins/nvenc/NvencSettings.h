#pragma once

#include <cstdint>
#include <span>

#include "KeyTable.h"

namespace qvs::nvenc {

/// What the keys of the NVENC plug-in set. The defaults are for live use: each picture comes out in the call that
/// brought it.
struct NvencSettings {
  enum RateControl : int64_t { kBitRate = 0, kCappedQuality = 1, kConstantQp = 2, kVariableRate = 3 };
  static constexpr int64_t kAsPreset = -1;
  static constexpr int64_t kUnspecified = 2;  ///< of the colour description

  int64_t preset = 4;
  int64_t tune = 2;
  int64_t profile = 0;
  int64_t level = 0;  ///< ten times the level, 0: as the stream needs
  int64_t rateControl = kBitRate;
  double quality = 23;
  int64_t qp = 23;
  int64_t vbvMaxRate = 0;  ///< bits per second, 0: the bit rate
  int64_t vbvBuffer = 0;   ///< bits, 0: a second of the largest rate
  int64_t keyFrameInterval = 250;
  int64_t bFrames = 0;
  int64_t references = 0;
  int64_t lookAhead = 0;
  int64_t aqMode = kAsPreset;
  int64_t aqStrength = 0;
  int64_t colorPrimaries = kUnspecified;
  int64_t colorTransfer = kUnspecified;
  int64_t colorMatrix = kUnspecified;
  int64_t fullRange = -1;  ///< -1: not told
  int64_t multiPass = kAsPreset;
  int64_t bReference = 0;
  int64_t asyncDepth = 1;
};

extern const std::span<const plugins::KeyRow<NvencSettings>> kNvencKeys;

}  // namespace qvs::nvenc
