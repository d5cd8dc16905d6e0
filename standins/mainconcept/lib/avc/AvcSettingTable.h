#pragma once

#include <mc_enc_avc.h>
#include <x264.h>

#include <cstdint>
#include <span>

namespace qvs::mc {

/// One integer field of the settings record and what libx264 has for it.
struct AvcSetting {
  const char* name;
  int32_t h264_v_settings::*field;
  int32_t lowest, highest;  ///< what is served
  int32_t fallback;         ///< of the default settings where `load` is null

  /// The field's value in parameters of libx264; null where it isn't theirs.
  int32_t (*load)(const x264_param_t& x264);

  /// Null: the one value served, or a field that is taken together with others.
  void (*store)(x264_param_t& x264, int32_t value);
};

/// All integer fields that stand on their own, in the order of the record.
std::span<const AvcSetting> avcSettings();

}  // namespace qvs::mc
