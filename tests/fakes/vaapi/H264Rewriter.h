#pragma once

#include <va/va.h>

#include <cstdint>
#include <span>
#include <vector>

namespace qvs::fakes {

/// Makes x264's slices those of the caller's parameter sets, as a card's are: its slice data stays, the header in front
/// becomes the caller's packed one, or one made from the caller's records.
class H264Rewriter {
 public:
  /// What a slice header's layout and values depend on.
  struct Layout {
    uint32_t frameNumBits = 4;
    uint32_t orderType = 0;
    uint32_t orderBits = 4;
    uint32_t references = 1;
    bool cabac = false;
    bool bottomOrder = false;
    bool deblocking = false;
    bool redundant = false;
    int32_t initialQp = 26;
  };

  /// x264's own parameter sets, Annex B.
  void setHeaders(std::span<const uint8_t> annexB);

  /// Appends the slice `unit`, rewritten, to `out`. `packed`: the caller's header behind its start code, may be empty.
  void append(std::span<const uint8_t> unit, const VAEncSequenceParameterBufferH264& sequence,
              const VAEncPictureParameterBufferH264& picture, const VAEncSliceParameterBufferH264& slice,
              std::span<const uint8_t> packed, std::vector<uint8_t>& out) const;

 private:
  Layout own;
};

}  // namespace qvs::fakes
