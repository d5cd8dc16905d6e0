#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "frames/VideoFrameAncillaryData.h"
#include "platform/FreeDeleter.h"

namespace qvs {

/// Captions as packets of the vertical blanking have them (SMPTE 334: distribution packets) and as coded pictures do
/// (ATSC A/53: user data in an SEI message).
class CaptionFormat {
 public:
  /// Two bytes of captions and what they belong to: 0 and 1 are the fields of CEA-608, 2 and 3 packets of CEA-708.
  struct Triplet {
    uint8_t type;
    uint8_t first;
    uint8_t second;
    bool isLine21() const { return type < 2; }
  };
  /// What one picture has room for.
  static constexpr size_t kTripletsMax = 31;

  /// Appends the triplets of a packet that are more than padding; none where it holds no captions.
  static void read(const VideoFrameAncillaryData& packet, std::vector<Triplet>& triplets);

  /// True for codecs whose pictures can carry them.
  static bool fits(uint32_t codec);

  /// A coded picture (units behind lengths of 4 bytes) with the triplets in front of its first slice; null where it
  /// has none or memory fails. `*len` becomes its length.
  static MallocBytes insert(uint32_t codec, std::span<const uint8_t> picture,
                            std::span<const Triplet> triplets, uint32_t* len);
};

}  // namespace qvs
