// The formats that the converter knows, as data: how a picture's bytes turn into planes of plain samples and
// back.
#pragma once

#include <cstdint>

#include "mc_frame.h"
#include "mc_ucc.h"
#include "ucc/Rows.h"

namespace qvs::ucc {

enum class Family : uint8_t { kYuv, kRgb };

/// One plane in memory. `groupBytes` hold `groupSamples`; a plane of chroma counts chroma samples, any other
/// pixels.
struct PlaneCodec {
  UnpackRow unpack;
  PackRow pack;
  bool chroma;
  uint8_t groupSamples;
  uint8_t groupBytes;
  bool wholeGroups;  ///< a last group that isn't full still takes all its bytes
};

/// What two formats must share for their samples to pass from one to the other unchanged.
struct WorkingForm {
  Family family;
  uint8_t depth;   ///< bits of a sample
  uint8_t shiftX;  ///< log2 of luma columns for one chroma column
  uint8_t shiftY;

  bool operator==(const WorkingForm&) const = default;
  uint32_t sampleBytes() const { return depth > 8 ? 2 : 1; }
  /// Chroma of grey.
  uint32_t neutral() const { return 1u << (depth - 1); }
  uint32_t shiftXOf(int component) const { return component == 1 || component == 2 ? shiftX : 0; }
  uint32_t shiftYOf(int component) const { return component == 1 || component == 2 ? shiftY : 0; }
};

struct PixelFormat {
  uint32_t id;  ///< ucc_pixel_format_e
  WorkingForm form;
  bool hasAlpha;
  uint8_t planes;
  PlaneCodec plane[3];

  /// Samples of a row, and rows, of a plane in a picture of the given size.
  uint32_t samplesInRow(int planeIndex, uint32_t width) const {
    return plane[planeIndex].chroma ? width >> form.shiftX : width;
  }
  uint32_t rowsOf(int planeIndex, uint32_t height) const {
    return plane[planeIndex].chroma ? height >> form.shiftY : height;
  }
  /// Bytes that a row of the plane takes; its stride may be longer.
  uint32_t rowBytes(int planeIndex, uint32_t width) const;
};

/// Null for a format that isn't known.
const PixelFormat* findPixelFormat(uint32_t id);

struct FourCcRow {
  char name[5];
  uint32_t format;
  bool vBeforeU;  ///< memory holds V in the second plane
};

/// Null for a fourCC that isn't known.
const FourCcRow* findFourCc(uint32_t fourcc);

}  // namespace qvs::ucc
