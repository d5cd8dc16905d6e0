#pragma once

#include <mc_enc_avc.h>
#include <x264.h>

namespace qvs::mc {

/// False, with all unspecified, for a number that is no description.
bool colorimetryOf(int32_t description, mc_colorimetry_t& colorimetry);

/// Puts code points that H.264 lacks to unspecified. True when one was.
bool repairColorimetry(mc_colorimetry_t& colorimetry);

/// Writes the record's colorimetry, resolved by the picture's size where it is automatic, as usability
/// information.
void storeColorimetry(x264_param_t& x264, const h264_v_settings& settings);

}  // namespace qvs::mc
