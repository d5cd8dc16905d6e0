// How a vector kernel filters a row: which bytes it shuffles together and by what it multiplies them.
#pragma once

#include <cstdint>

#include "AlignedBuffer.h"
#include "FilterBank.h"

namespace qvs::ucc {

/// Bytes of a vector and of its units: the parts that a shuffle stays inside of. 0 where there is no vector
/// form.
struct GatherVector {
  uint32_t bytes;
  uint32_t unitBytes;
};

/// Blocks of outputs in a row that use the same table, each reading `sourceStep` bytes further on.
struct GatherRun {
  static constexpr uint32_t kMaxSteps = 4;

  uint32_t blocks;
  int32_t sourceStep;             ///< negative where the outputs are reversed
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

  /// For rows of `interleaved` components. The plan is empty (usable() is false) where
  /// the filter has too many taps for the kernels or the row is shorter than a unit. False when memory fails.
  bool build(const FilterBank& filter, uint32_t interleaved, const GatherVector& of);

  bool usable() const { return runCount != 0; }
  uint32_t tapsPerStep() const { return stepTaps; }  ///< 2 or 4
  uint32_t steps() const { return stepCount; }       ///< 1 to 4
  bool sharedWindow() const { return oneWindow; }    ///< all steps read the same bytes
  uint32_t outputsPerBlock() const { return vectorBytes / stepTaps; }
  uint32_t runs() const { return runCount; }
  const GatherRun& run(uint32_t index) const { return runMemory.as<GatherRun>()[index]; }
  const uint8_t* table(uint32_t index) const {
    return tableMemory.as<uint8_t>() + static_cast<size_t>(index) * tableBytes();
  }

 private:
  size_t tableBytes() const { return size_t{3} * stepCount * vectorBytes; }
  void appendBlock(const FilterBank& filter, uint32_t firstOutput);
  void fillBlock(const FilterBank& filter, uint32_t firstOutput, uint8_t* table, GatherRun& run) const;

  uint32_t components = 1;
  uint32_t vectorBytes = 0;
  uint32_t unitBytes = 0;
  uint32_t stepTaps = 2;
  uint32_t stepCount = 0;
  bool oneWindow = false;
  uint32_t runCount = 0;
  uint32_t tableCount = 0;
  AlignedBuffer runMemory;
  AlignedBuffer tableMemory;
};

}  // namespace qvs::ucc
