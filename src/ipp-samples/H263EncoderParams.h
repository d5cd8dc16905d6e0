#pragma once

#include "ipp-samples/VideoEncoderParams.h"

namespace qvs {

/// Settings of the H.263 encoder.
struct h263e_Param {
  Ipp32s Width = 0;
  Ipp32s Height = 0;
  Ipp32s TimeResolution = 30000;
  Ipp32s TimeIncrement = 1001;
  Ipp32s quantIPic = 8;  ///< 1 to 31; of a constant quantizer
  Ipp32s quantPPic = 8;
  Ipp32s quantBPic = 8;
  Ipp32s IPicdist = 15;  ///< pictures from one key picture to the next
  Ipp32s PPicdist = 1;
  Ipp32s PPicsearchWidth = 16;
  Ipp32s PPicsearchHeight = 16;
  Ipp32s MEalgorithm = 2;  ///< 0 none, 1 logarithmic, 2 and more predictive
  Ipp32s MEaccuracy = 2;   ///< 1 whole, 2 half a pixel
  Ipp32s advPred = 0;
  Ipp32s deblockFilt = 0;
  Ipp32s calcPSNR = 0;
  Ipp32s advIntra = 0;
  Ipp32s UMV = 0;
  Ipp32s modQuant = 0;
  Ipp8u* bsBuffer = nullptr;
  Ipp32s bsBuffSize = 0;
  Ipp32s RateControl = 1;  ///< 0: a constant quantizer
  Ipp32s BitRate = 0;      ///< bits per second; 0: the one of the video info
  Ipp32s SceneChangeThreshold = 0;
  Ipp32s FrameSkip = 0;
  Ipp32s GOBheaders = 0;
  Ipp32s PAR_width = 0;
  Ipp32s PAR_height = 0;
};

namespace UMC {

class H263EncoderParams : public VideoEncoderParams {
 public:
  h263e_Param m_Param;
};

}  // namespace UMC
}  // namespace qvs
