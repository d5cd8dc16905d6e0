#pragma once

#include <vpx/vpx_encoder.h>

#include <optional>

namespace qvs {

/// The period of one frame as the fraction that libvpx counts time in.
class VPXTimebase {
 public:
  /// The simplest exact form: 1/n for whole rates, 1001/(n * 1000) for the NTSC family, else ten-thousandths.
  /// Nothing for a rate that no fraction of ints can hold: 0, negative, not a number, above 200000.
  static std::optional<vpx_rational_t> fromFrameRate(double frameRate);
};

}  // namespace qvs
