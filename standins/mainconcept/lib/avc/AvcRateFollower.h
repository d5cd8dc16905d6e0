#pragma once

#include <cstdint>

namespace qvs::mc {

/// libx264 without look-ahead budgets bits by the nominal frame rate, whatever the time stamps say. Where
/// pictures really come at another rate, this tells the factor by which its rates must be multiplied so that
/// the bits per second come out as asked.
class AvcRateFollower {
 public:
  /// Duration of a picture at the nominal rate, in 100 ns.
  explicit AvcRateFollower(double nominalDuration) : nominal(nominalDuration) {}

  /// Takes a picture's time in 100 ns. True when `scale` has changed.
  bool add(int64_t time);

  double scale() const { return inForce; }

 private:
  double nominal;
  double inForce = 1.0;
  int64_t last = 0;
  int64_t sum = 0;    ///< of the durations in the window, 100 ns
  int32_t count = 0;  ///< durations in the window
  bool started = false;
};

}  // namespace qvs::mc
