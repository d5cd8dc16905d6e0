#pragma once

#include "mc_frame.h"

namespace qvs {

/// Gives the chroma samples of an odd picture's last column and row the values of their neighbours. Decoders
/// and the converter round chroma sizes down and leave them out; encoders read them.
void completeOddChroma(const frame_tt& frame);

}  // namespace qvs
