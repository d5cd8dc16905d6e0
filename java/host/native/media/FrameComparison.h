#pragma once

#include "media/FrameReader.h"

#include <cstdint>
#include <string>

namespace qvs::host {

/// A rectangle of the source picture that is left out of the comparison; empty when a side is 0.
struct ExcludedArea {
  int x = 0, y = 0, width = 0, height = 0;
};

struct ComparisonResult {
  double psnrDb = 0;  ///< over all samples of Y, U and V of all pictures; 100 when nothing differs
  int64_t frames = 0;
};

/// Measures a rendition against its source: each picture against the source picture of the same time, scaled
/// to the rendition's size by a bicubic filter.
class FrameComparison {
 public:
  MediaStatus run(const std::string& sourcePath, const std::string& renditionPath,
                  const ExcludedArea& excluded, ComparisonResult* result);

 private:
  MediaStatus advanceSourceTo(double renditionMs, bool* found);
  MediaStatus scaleSource();
  void addDifference(const ExcludedArea& excluded);

  FrameReader source_;
  FrameReader rendition_;
  AvFramePtr scaled_;
  SwsPtr scaler_;
  bool sourceReady_ = false;
  double shiftMs_ = 0;  ///< of the source against the rendition
  uint64_t squaredError_ = 0;
  uint64_t samples_ = 0;
};

}  // namespace qvs::host
