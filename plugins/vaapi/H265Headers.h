#pragma once

#include <va/va.h>

#include <cstdint>
#include <vector>

#include "BitWriter.h"
#include "VaCodec.h"

namespace qvs::vaapi {

/// H.265's headers out of the records that the driver gets, so that both say the same.
class H265Headers {
 public:
  /// Bits of a picture's order count in a slice header.
  static constexpr uint32_t kOrderBits = 8;

  void sets(const VAEncSequenceParameterBufferHEVC& sequence, const VAEncPictureParameterBufferHEVC& picture,
            const StreamShape& shape);
  void slice(const VAEncSequenceParameterBufferHEVC& sequence, const VAEncPictureParameterBufferHEVC& picture,
             const VAEncSliceParameterBufferHEVC& slice);

  std::vector<uint8_t> allSets;  ///< video, sequence and picture parameter set, Annex B
  std::vector<uint8_t> sliceHeader;
  uint32_t sliceBits = 0;

 private:
  void unit(uint32_t type);
  void profileTierLevel(const VAEncSequenceParameterBufferHEVC& sequence);
  void videoSet(const VAEncSequenceParameterBufferHEVC& sequence);
  void sequenceSet(const VAEncSequenceParameterBufferHEVC& sequence, const StreamShape& shape);
  void pictureSet(const VAEncPictureParameterBufferHEVC& picture);
  void finish();

  BitWriter out;
};

}  // namespace qvs::vaapi
