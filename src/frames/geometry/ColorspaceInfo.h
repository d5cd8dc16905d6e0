#pragma once

#include <cstdint>

#include "mc_frame.h"

// Where the pixels of a picture lie, told by fourCC, width and height. Nothing is written on failure. Strides
// and offsets are bytes; results 0 success, 1 failure.

namespace qvs {

/// As in mc_color_space_base_info_t::chroma_format; -1 for an unknown format.
int32_t get_chroma_format(uint32_t fourcc);

/// 0 for an unknown format.
uint32_t get_pixels_per_macropixel(uint32_t fourcc);

/// Whether the size fits the format's subsampling.
uint32_t check_frame_colorspace_param(uint32_t width, uint32_t height, uint32_t fourcc);

/// `strides` is null or holds four requested strides, 0 for the default. Fails, beyond what
/// `check_frame_colorspace_param` refuses, where the picture doesn't fit 31 bits of offsets.
uint32_t get_frame_colorspace_info(mc_frame_colorspace_info_t* info, uint32_t width, uint32_t height,
                                   uint32_t fourcc, const int32_t* strides);
uint32_t get_frame_colorspace_info(mc_frame_colorspace_info_t* info, uint32_t width, uint32_t height,
                                   uint32_t fourcc);

/// Byte offset of pixel (x, y) from each plane's start. `strides` holds four.
uint32_t get_plane_offsets_in_bytes(int32_t* offsets, uint32_t x, uint32_t y, uint32_t fourcc,
                                    const int32_t* strides);

/// Narrows `info` by so many pixels on each side; it goes on addressing the uncut block.
uint32_t crop_frame_colorspace_info(mc_frame_colorspace_info_t* info, uint32_t left, uint32_t top,
                                    uint32_t right, uint32_t bottom);

}  // namespace qvs
