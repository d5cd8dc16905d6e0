// Picture descriptions that the codec, colour-space and converter libraries share. Pure data, C layout.
#pragma once

#include <cstdint>

extern "C" {

/// A plain picture. Nothing in it is owned.
struct mc_frame_t {
  uint32_t width;    ///< pixels
  uint32_t height;   ///< rows
  uint32_t four_cc;  ///< format, first letter in the low byte
  uint32_t state;
  uint8_t* plane[4];    ///< first pixel of each plane, null where the format has no such plane
  int32_t stride[4];    ///< bytes from one row to the next; negative for bottom-up formats
  void (*done)(void*);  ///< release function of a picture that lies in a device's memory, else null
  void* ext_cc;
  int32_t cc_pix_range;
  uint32_t reserved3;
};
typedef mc_frame_t frame_tt;

/// Where the planes of a picture lie inside one block of memory.
struct mc_frame_colorspace_info_t {
  uint32_t width;   ///< pixels
  uint32_t height;  ///< rows
  uint32_t fourcc;
  uint32_t planes;           ///< 1 to 4
  int32_t stride[4];         ///< bytes
  int32_t plane_offset[4];   ///< bytes from the block's start
  uint32_t frame_size;       ///< bytes of the whole block
  uint32_t plane_height[4];  ///< rows
  uint32_t plane_width[4];   ///< samples; pixels for packed formats
};

/// One row of the format table.
struct mc_color_space_base_info_t {
  uint32_t fourcc;
  uint32_t cs_type;       ///< 1 YUV, 2 RGB, 3 XYZ
  uint32_t bit_depth;     ///< bits of one component
  int32_t chroma_format;  ///< 0 luma only, 1 4:2:0, 2 4:2:2, 3 4:4:4, 4 2:1:1, 5 4:1:0, 6 4:1:1, 7 "YUV9"
  uint32_t has_alpha_channel;
  uint32_t bits_per_pixel;
  uint32_t pixels_per_macropixel;
  char name[12];
  char alternative_name[12];
};
}
