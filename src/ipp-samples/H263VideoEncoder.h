#pragma once

#include <memory>
#include <string>

#include "ipp-samples/H263EncoderParams.h"

namespace qvs::UMC {

/// H.263 and, where a size or a setting takes its modes, H.263+, by libavcodec.
class H263VideoEncoder : public BaseCodec {
 public:
  H263VideoEncoder();
  ~H263VideoEncoder() override;

  /// Again: it begins anew.
  Status Init(BaseCodecParams* params) override;
  /// The coded picture behind what `out` holds, with its time. A picture whose type is I_PICTURE becomes a key picture.
  Status GetFrame(VideoData* in, MediaData* out) override;
  Status Close() override;

  /// Of the picture that came last: a key picture or not.
  FrameType GetFrameType() const;
  /// Settings of the last Init that do nothing here, with commas between; empty: all do.
  const std::string& GetIdleSettings() const;
  /// Mean of the luma of all pictures, dB; 0 where it wasn't asked for.
  Ipp64f GetPSNR() const;

 private:
  struct State;
  std::unique_ptr<State> state;
};

}  // namespace qvs::UMC
