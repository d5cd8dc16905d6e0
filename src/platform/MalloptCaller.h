#pragma once

#include <cstdint>

namespace qvs {

/// A process-wide counted switch of the allocator's fill byte (M_PERTURB), for hunting reads of fresh or
/// freed memory.
class MalloptCaller {
 public:
  /// Counts up and sets the fill byte.
  static void perturbEnsure(int32_t value);

  /// Counts down; at 0 the fill is off. A release without an ensure does nothing.
  static void perturbRelease();

 private:
  static int32_t users;
};

}  // namespace qvs
