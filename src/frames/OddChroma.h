#pragma once

#include "mc_frame.h"

namespace qvs {

/// The chroma samples of an odd picture's last column and row, which the converter leaves out: it rounds
/// chroma sizes down.
class OddChroma {
 public:
  explicit OddChroma(const frame_tt& frame) : frame(frame) {}

  /// Takes them from `source`, of the same size and format, or from their neighbours where it is null.
  void complete(const frame_tt* source) const;

 private:
  const frame_tt& frame;
};

}  // namespace qvs
