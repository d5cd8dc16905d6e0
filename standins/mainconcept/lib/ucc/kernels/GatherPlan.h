// How a vector kernel filters a row: which bytes it shuffles together and by what it multiplies them.
#pragma once

#include <cstdint>

#include "AlignedBuffer.h"
#include "FilterBank.h"

namespace qvs::ucc {

/// Blocks of outputs in a row that use the same table, each reading `sourceStep` bytes further on.
struct GatherRun {
  static constexpr uint32_t kMaxSteps = 4;

  uint32_t blocks;
  uint32_t sourceStep;
  uint32_t table;                 ///< number of the table
  uint32_t offset[kMaxSteps][2];  ///< [step][unit]: source bytes from the row's start, for the first block
};

/// A block is one vector of outputs. In each step a unit of the vector (all of it, or each 16-byte lane)
/// loads its own bytes from the source, shuffles `tapsPerStep` neighbouring samples of each output together
/// and multiplies them.
///
/// A table holds for each step three vectors: byte indices, high parts and low parts of the weights, so that
/// weight = 32 x high + low with low from -16 to 15: sums of up to 16 taps then fit 16 bits.
class GatherPlan {
 public:
  static constexpr int kLowBits = 5;
  static constexpr uint32_t kMaxSteps = GatherRun::kMaxSteps;

  /// For vectors of `vectorBytes` made of units of `unitBytes`. The plan is empty (usable() is false) where
  /// the filter has too many taps for the kernels or the row is shorter than a unit. False when memory fails.
  bool build(const FilterBank& filter, uint32_t components, uint32_t vectorBytes, uint32_t unitBytes);

  bool usable() const { return runs_ != 0; }
  uint32_t tapsPerStep() const { return tapsPerStep_; }  ///< 2 or 4
  uint32_t steps() const { return steps_; }              ///< 1 to 4
  bool sharedWindow() const { return sharedWindow_; }    ///< all steps read the same bytes
  uint32_t outputsPerBlock() const { return vectorBytes_ / tapsPerStep_; }
  uint32_t runs() const { return runs_; }
  const GatherRun& run(uint32_t index) const { return runList_.as<GatherRun>()[index]; }
  const uint8_t* table(uint32_t index) const {
    return tables_.as<uint8_t>() + static_cast<size_t>(index) * tableBytes();
  }

 private:
  size_t tableBytes() const { return size_t{3} * steps_ * vectorBytes_; }
  void appendBlock(const FilterBank& filter, uint32_t firstOutput);
  void fillBlock(const FilterBank& filter, uint32_t firstOutput, uint8_t* table, GatherRun& run) const;

  uint32_t components_ = 1;
  uint32_t vectorBytes_ = 0;
  uint32_t unitBytes_ = 0;
  uint32_t tapsPerStep_ = 2;
  uint32_t steps_ = 0;
  bool sharedWindow_ = false;
  uint32_t runs_ = 0;
  uint32_t tableCount_ = 0;
  AlignedBuffer runList_;
  AlignedBuffer tables_;
};

}  // namespace qvs::ucc
