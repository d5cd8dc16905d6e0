#pragma once

#include "mc_ucc.h"
#include "ucc/PlanarPicture.h"
#include "video/Deinterlacer.h"

namespace qvs::ucc {

/// Ahead of a conversion: an interlaced picture as a whole one of its first field, in its own format and size, so that
/// rows of different times are never mixed. Alpha becomes opaque.
class DeinterlaceStage {
 public:
  /// The whole picture, good until the next call; null where its form can't be deinterlaced or memory fails.
  const ucc_frame_t* run(const PixelFormat& format, const ucc_frame_t& source);

 private:
  bool prepare(const PixelFormat& format, const ucc_frame_t& source);

  mc::Deinterlacer deinterlacer;
  mc::AvFramePtr fields;
  AlignedBlock block;
  size_t blockBytes = 0;
  ucc_frame_t whole{};
};

}  // namespace qvs::ucc
