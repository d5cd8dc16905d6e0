#pragma once

#include <cstdint>

#include "frames/geometry/FitPlacement.h"
#include "mc_frame.h"
#include "mc_ucc.h"

namespace qvs {

/// The converter's name of a format: 1 and `*format`, or 0 and `*format` untouched.
uint32_t fourCCtoUCCFormat(uint32_t fourcc, uint32_t* format);

/// Lays a picture tightly over `memory` and names its planes as they lie there. 1 on success; 0, with the
/// frame untouched, for an unknown format.
uint32_t initUCCFrame(ucc_frame_t* frame, uint32_t format, uint32_t width, uint32_t height, uint8_t* memory);

/// The colors of every conversion in the system: BT.709, full range, progressive.
void setUCCColorimetry(ucc_frame_t* frame);

/// The whole picture as the converter sees it: its planes named Y, U, V whatever their order in memory, with
/// the system's colorimetry. 1 on success; 0, with `*view` untouched, for a format without a converter name.
/// Does not own the pixels.
uint32_t uccViewOfFrame(ucc_frame_t* view, const frame_tt& frame);

/// The same for a rectangle inside of the picture, with its corner on a whole chroma sample and macropixel. 0
/// also where the picture's rows don't fit its strides, as with formats that have no storage rule.
uint32_t uccViewOfRect(ucc_frame_t* view, const frame_tt& frame, const PixelRect& rect);

}  // namespace qvs
