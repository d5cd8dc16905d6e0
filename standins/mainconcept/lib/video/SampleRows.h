#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace qvs::mc {

/// Up to two rows of samples of one plane that make one row of an 8-bit 4:2:0 picture.
struct SampleRows {
  const uint8_t* first;
  const uint8_t* second;  ///< the row below; equal to `first` where rows aren't merged
  size_t width;           ///< samples of a row
};

/// Writes `count` samples. Every form rounds once, to the nearest, and stays within 8 bits. `depth`: bits of
/// a sample, 8 to 16; samples of more than 8 bits lie in 16-bit words.
using RowKernel = void (*)(const SampleRows& rows, uint32_t depth, uint8_t* to, size_t count);

/// The kernel for a plane. `halveColumns`: a chroma plane of full width; samples are weighted 1 2 1 around
/// the column that 4:2:0 keeps, which leaves chroma sited with the left luma column. `mergeRows`: full
/// height; rows are averaged in pairs. Both are for chroma only.
RowKernel rowKernel(uint32_t depth, bool halveColumns, bool mergeRows);

/// What each of three planes counts in a mixed sample, in 65536ths, and what is added to it.
struct SampleMix {
  std::array<int32_t, 3> weights;
  int32_t offset;
};

/// The same for a sample that is mixed of three planes.
using MixKernel = void (*)(const std::array<SampleRows, 3>& rows, const SampleMix& mix, uint32_t depth,
                           uint8_t* to, size_t count);
MixKernel mixKernel(uint32_t depth, bool halveColumns, bool mergeRows);

}  // namespace qvs::mc
