#pragma once

#include <cstddef>
#include <cstdint>

namespace qvs::intrinsic {

// As the members of ScalerKernels. Each works on whole blocks and gives the count of elements that it has
// done; the plain form does the rest of the row.
size_t halveRowsAvx2(const uint8_t* const rows[6], int16_t* kept, size_t width);
size_t halveColumnsAvx2(const int16_t* kept, uint8_t* target, size_t width);
size_t blendLumaAvx2(const uint8_t* vuya, uint8_t* luma, size_t width);
size_t blendChromaAvx2(const uint8_t* upper, const uint8_t* lower, uint8_t* u, uint8_t* v, size_t width);
size_t blendChromaPairsAvx2(const uint8_t* upper, const uint8_t* lower, uint8_t* uv, size_t width);

}  // namespace qvs::intrinsic
