#pragma once

#include <va/va.h>

#include <cstdint>
#include <vector>

#include "BitWriter.h"
#include "VaCodec.h"

namespace qvs::vaapi {

/// H.264's headers out of the records that the driver gets, so that both say the same.
class H264Headers {
 public:
  /// The parameter sets. `profileIdc` and `constraints` are as the stream tells them.
  void sets(const VAEncSequenceParameterBufferH264& sequence, const VAEncPictureParameterBufferH264& picture,
            uint8_t profileIdc, uint8_t constraints, const ColorDescription& color);
  void slice(const VAEncSequenceParameterBufferH264& sequence, const VAEncPictureParameterBufferH264& picture,
             const VAEncSliceParameterBufferH264& slice);

  std::vector<uint8_t> sequenceSet, pictureSet, sliceHeader;  ///< Annex B
  uint32_t sliceBits = 0;                                     ///< of the header, start code included

 private:
  void usability(const VAEncSequenceParameterBufferH264& sequence, const ColorDescription& color);

  BitWriter out;
};

}  // namespace qvs::vaapi
