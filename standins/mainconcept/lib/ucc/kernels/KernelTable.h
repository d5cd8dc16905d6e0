// Every kernel that has more than one form. A table starts as the plain forms; each instruction set then puts
// its own over them. All forms of a kernel give the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "FilterBank.h"
#include "GatherPlan.h"

namespace qvs::ucc {

struct PixelMatrix;

struct KernelTable {
  /// What a GatherPlan for scaleLine is made for.
  GatherVector gatherVector;

  /// Filters a row of bytes into `line`, 64 for each step of a byte. `line` has room for whole blocks.
  void (*scaleLine)(const FilterBank& filter, const GatherPlan& plan, uint32_t components, const uint8_t* src,
                    int16_t* line);

  /// Sums `taps` lines, at most kMaxShortTaps, by 14-bit weights into bytes. Lines may be read up to the next
  /// multiple of 64 samples.
  void (*combineLines)(const int16_t* const* lines, const int16_t* weights, uint32_t taps, uint8_t* dst,
                       uint32_t samples);

  /// Where the vertical filter is wide, columns come first. Sums `taps` rows by 14-bit weights into a line,
  /// 64 for each step of a byte; then filterLine filters the line into bytes.
  void (*sumRows)(const uint8_t* src, ptrdiff_t stride, const int16_t* weights, uint32_t taps, int16_t* line,
                  uint32_t samples);
  void (*filterLine)(const FilterBank& filter, uint32_t components, const int16_t* line, uint8_t* dst);

  /// One row of luma.
  void (*bgraToLuma)(const uint8_t* src, const PixelMatrix& matrix, uint8_t* y, uint32_t width);
  /// Two rows to two rows of luma and one row of width / 2 chroma samples.
  void (*bgraTo420Rows)(const uint8_t* src0, const uint8_t* src1, const PixelMatrix& matrix, uint8_t* y0,
                        uint8_t* y1, uint8_t* u, uint8_t* v, uint32_t width);

  /// Two rows of packed 10-bit 4:2:2 to the same; see v210To420.
  void (*v210To420Rows)(const uint8_t* src0, const uint8_t* src1, uint8_t* y0, uint8_t* y1, uint8_t* u,
                        uint8_t* v, uint32_t width);

  void (*blendRow)(uint8_t* dst, const uint8_t* src, const uint8_t* alpha, uint32_t width);
  void (*blendPairsRow)(uint8_t* dst, const uint8_t* u, const uint8_t* v, const uint8_t* alpha,
                        uint32_t width);

  /// Rows to columns, elements of one byte and of two.
  using TransposeForm = void (*)(const uint8_t* src, ptrdiff_t srcStride, uint8_t* dst, ptrdiff_t dstStride,
                                 uint32_t columns, uint32_t rows);
  TransposeForm transposeBytes;
  TransposeForm transposePairs;
};

// Each puts its forms into the table.
void addPlainScaler(KernelTable& table);
void addPlainBgraTo420(KernelTable& table);
void addPlainV210To420(KernelTable& table);
void addPlainBlend(KernelTable& table);
void addPlainTranspose(KernelTable& table);
void addAvx2Scaler(KernelTable& table);
void addAvx2BgraTo420(KernelTable& table);
void addAvx2V210To420(KernelTable& table);
void addAvx2Blend(KernelTable& table);
void addAvx2Transpose(KernelTable& table);
void addAvx512Scaler(KernelTable& table);
void addAvx512BgraTo420(KernelTable& table);
void addAvx512Blend(KernelTable& table);
void addAvx512Transpose(KernelTable& table);

}  // namespace qvs::ucc
