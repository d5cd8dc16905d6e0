#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace qvs {

/// Up to two rows of samples of one plane that make one row of an 8-bit 4:2:0 picture.
struct SampleRows {
  const uint8_t* first;
  const uint8_t* second;  ///< the row below; equal to `first` where rows aren't merged
  size_t width;           ///< samples of a row
};

/// How the samples of a plane lie and what has to become of them. Chroma of full width is weighted 1 2 1
/// around the column that 4:2:0 keeps, which leaves it sited with the left luma column; chroma of full height
/// is averaged in pairs of rows.
struct SampleForm {
  bool wide;       ///< in 16-bit words, low bits first; else in bytes
  uint32_t depth;  ///< bits of a sample, 8 to 16
  bool halveColumns;
  bool mergeRows;
};

/// Writes `count` samples of 8 bits. Every form rounds once, to the nearest, and stays within 8 bits.
using SampleKernel = void (*)(const SampleRows& rows, uint32_t depth, uint8_t* to, size_t count);
SampleKernel sampleKernel(const SampleForm& form);

/// What each of three planes counts in a mixed sample, in 65536ths, and what is added to it.
struct SampleMix {
  std::array<int32_t, 3> weights;
  int32_t offset;
};

/// The same for a sample that is mixed of three planes of one form.
using MixKernel = void (*)(const std::array<SampleRows, 3>& rows, const SampleMix& mix, uint32_t depth,
                           uint8_t* to, size_t count);
MixKernel mixKernel(const SampleForm& form);

}  // namespace qvs
