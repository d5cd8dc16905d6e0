#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace qvs {

/// The channel layout that an AudioSpecificConfig spells out where its channel configuration is 0.
class AACChannelLayout {
 public:
  /// The layout as an element that stands in front of a frame's data, in whole bytes; a decoder of frames
  /// with ADTS headers learns it from there. Empty where the configuration has none, or not all of it.
  static std::vector<uint8_t> elementOf(std::span<const uint8_t> config);
};

}  // namespace qvs
