#pragma once

#include <cstdint>

namespace qvs::mc {

/// A large buffer makes libx264 slow to follow a new rate: it spends what an old, higher rate left in it, or
/// fills it before it spends anything of a higher one. So after a change it starts small and grows to the
/// size asked.
class AvcBufferGrowth {
 public:
  /// `rate` in bits per second.
  void restart(int32_t rate);

  /// Once a picture. True when the limit has changed.
  bool grow();

  /// The size to use of the one asked, both in kilobits.
  int32_t limit(int32_t asked);

 private:
  double size = 0;  ///< kilobits; 0: no limit
  int32_t pictures = 0;
};

}  // namespace qvs::mc
