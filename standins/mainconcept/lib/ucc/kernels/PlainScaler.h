// The portable forms of the scaler's kernels; vector forms leave to them what they don't cover.
#pragma once

#include <cstddef>
#include <cstdint>

#include "FilterBank.h"
#include "GatherPlan.h"

namespace qvs::ucc {

/// Bits of fraction of a sample between the two passes, and of the sum of the second pass.
inline constexpr int kLineBits = 6;
inline constexpr int kSumBits = 5;

void plainScaleLine(const FilterBank& filter, const GatherPlan& plan, uint32_t components, const uint8_t* src,
                    int16_t* line);
void plainCombineLines(const int16_t* const* lines, const int16_t* weights, uint32_t taps, uint8_t* dst,
                       uint32_t samples);
void plainSumRows(const uint8_t* src, ptrdiff_t stride, const int16_t* weights, uint32_t taps, int16_t* line,
                  uint32_t samples);
void plainFilterLine(const FilterBank& filter, uint32_t components, const int16_t* line, uint8_t* dst);

}  // namespace qvs::ucc
