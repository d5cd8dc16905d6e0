// The color converter: any picture format into any other, scaled where the sizes differ, with an optional
// overlay.
//
// Calls on one instance must not overlap; different instances are independent. An instance keeps its plan
// (kernels, filter tables, scratch rows) and remakes it only when a format, size, colorimetry or overlay
// shape changes.
#pragma once

#include <cstdint>

#include "mc_frame.h"

extern "C" {

/// Pixel formats. Names of packed formats give the components in the order of their bytes. Subsampled chroma
/// has width / 2 (or width / 4) x height / 2 samples, rounded down: an odd last column or row shares the
/// chroma beside it, and a picture too small for any chroma is grey. Planar YUV formats name their planes in
/// the order Y, U, V in `ucc_frame_t::plane`, whatever the order in memory.
enum ucc_pixel_format_e {
  UCC_FORMAT_UNKNOWN = 0,
  UCC_FORMAT_AYUV = 1,
  UCC_FORMAT_UYVY = 4,
  UCC_FORMAT_YUY2 = 5,
  UCC_FORMAT_Y210 = 8,
  UCC_FORMAT_Y216 = 9,
  UCC_FORMAT_V210 = 10,
  UCC_FORMAT_Y41P = 11,
  UCC_FORMAT_I422 = 20,
  UCC_FORMAT_P210 = 26,
  UCC_FORMAT_P216 = 27,
  UCC_FORMAT_I420 = 28,
  UCC_FORMAT_NV12 = 29,
  UCC_FORMAT_NV21 = 30,
  UCC_FORMAT_P010 = 37,
  UCC_FORMAT_P016 = 38,
  UCC_FORMAT_BGRA = 43,
  UCC_FORMAT_ARGB = 44,
  UCC_FORMAT_R555 = 45,
  UCC_FORMAT_R565 = 46,
  UCC_FORMAT_BGR3 = 48,
  UCC_FORMAT_BGR4 = 49,
  UCC_FORMAT_VUYA = 103,
  UCC_FORMAT_R210 = 104,  ///< big-endian words of 2 bits of nothing and 10 bits each of red, green, blue
};

// Code points of ITU-T H.273.
enum ucc_color_primaries_e {
  COLOR_PRIMARIES_UNSPECIFIED = 2,
  COLOR_PRIMARIES_BT709_6 = 1,
  COLOR_PRIMARIES_BT601_6 = 6,
};
enum ucc_transfer_characteristics_e {
  TRANSFER_CHARACTERISTICS_UNSPECIFIED = 2,
  TRANSFER_CHARACTERISTICS_BT709_6 = 1,
  TRANSFER_CHARACTERISTICS_BT601_6 = 6,
};
enum ucc_matrix_coefficients_e {
  MATRIX_COEFFICIENTS_UNSPECIFIED = 2,
  MATRIX_COEFFICIENTS_BT709_6 = 1,
  MATRIX_COEFFICIENTS_BT601_6 = 6,
};
enum ucc_signal_range_e {
  PIC_SIGNAL_RANGE_UNSPECIFIED = 0,
  PIC_SIGNAL_RANGE_SHORT = 1,  ///< 16 to 235 and 16 to 240 at 8 bits
  PIC_SIGNAL_RANGE_FULL = 2,   ///< 0 to 255 at 8 bits
};

struct ucc_colorimetry_t {
  uint32_t color_primaries;
  uint32_t transfer_characteristics;
  uint32_t matrix_coefficients;
  uint32_t signal_range;
};

/// A picture as the converter sees it. Zero it before use; unused words stay 0.
struct ucc_frame_t {
  uint32_t pixel_format;  ///< ucc_pixel_format_e
  uint32_t width;         ///< pixels, 1 to 16384
  uint32_t height;        ///< rows, 1 to 16384
  uint32_t progressive_frame_flag;
  int32_t stride[4];  ///< bytes; negative for bottom-up pictures
  uint8_t* plane[4];
  ucc_colorimetry_t colorimetry;     ///< all zero: BT.709, full range for RGB, as the other frame for YUV
  uint32_t bottom_field_first_flag;  ///< of an interlaced picture: the lower field is the earlier one
  uint8_t reserved[428];
};
static_assert(sizeof(ucc_frame_t) == 512);

/// Blends `frame` over the source on its way to the target, or in place where source and target are one
/// picture.
struct ucc_overlay_config_t {
  uint32_t type;       ///< 2: blend by the overlay's own alpha; a format without alpha is opaque
  ucc_frame_t* frame;  ///< borrowed; scaled to width x height when its size differs
  int32_t x;  ///< pixels from the target's left edge; may be negative, the overlay is clipped to the picture
  int32_t y;  ///< rows from the target's top edge
  uint32_t width;   ///< pixels
  uint32_t height;  ///< rows
  /// Caller's number of the overlay's pixels. 0: they are read afresh on each call. Any other number promises
  /// that pixels under the same number, size and format are equal, so that the instance may keep its
  /// converted copy.
  uint64_t content_id;
};

/// How the source comes into the target: mirrored from left to right, then turned clockwise by the sum of the
/// turns. The target's width and height are those of the turned picture.
enum ucc_orientation_e {
  UCC_ORIENTATION_TURN_90 = 1,
  UCC_ORIENTATION_TURN_180 = 2,
  UCC_ORIENTATION_MIRROR = 4,
};

enum ucc_deinterlacing_method_e {
  UCC_DEINTERLACING_NONE = 0,
  UCC_DEINTERLACING_INTERFIELD_INTERPOLATION = 1,
};

/// A part of a picture: pixels in 24.8 fixed point, right and bottom are its last column and row. The fraction is
/// dropped. Where a corner halves a chroma sample, the part begins with that sample.
struct ucc_rect_t {
  int32_t left;
  int32_t top;
  int32_t right;
  int32_t bottom;
};

struct ucc_config_t {
  ucc_overlay_config_t* overlay;  ///< null: none; over the turned picture
  uint32_t orientation;           ///< bits of ucc_orientation_e; 0: as it lies
  /// ucc_deinterlacing_method_e. Pictures that aren't marked as progressive become whole ones of their first field,
  /// with the help of the instance's picture before. Formats that can't be deinterlaced pass as they are.
  uint32_t deinterlacing_method_idc;
  const ucc_rect_t* source_rect;  ///< what is read; null: all
  const ucc_rect_t* target_rect;  ///< what is written; null: all. The rest stays as it is
  uint32_t reserved[24];
};

/// A new instance, or null when memory fails. `flags` must be 0.
void* UCC_Create(uint32_t flags);

void UCC_Destroy(void* instance);  ///< null is allowed

/// Deinterlaces, converts, scales and turns `source` into `target`. 0 on success; 1 for a null argument, an unknown format,
/// orientation or method, a size out of range, a stride that doesn't hold a row, a part that isn't inside of its picture; 2
/// when memory fails. The target is
/// untouched after 1.
uint32_t UCC_Transform(void* instance, ucc_frame_t* target, const ucc_frame_t* source,
                       const ucc_config_t* config);

/// Points `frame` into `memory` as `info` lays it out, with the format of `info->fourcc`; planes are named Y,
/// U, V. Leaves the colorimetry alone. 0 on success; 1 for a format that the converter doesn't know.
uint32_t UCC_InitFrameBuffer(ucc_frame_t* frame, uint8_t* memory, const mc_frame_colorspace_info_t* info);
}
