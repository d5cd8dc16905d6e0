#pragma once

#include <mc_enc_avc.h>
#include <x264.h>

namespace qvs::mc {

/// The settings record as a whole.
class AvcSettings {
 public:
  static void fillDefaults(h264_v_settings& settings, int32_t videoType, int32_t width, int32_t height,
                           int32_t interlaceMode);

  /// Fills the fields that the speed level governs.
  static void applyLevel(h264_v_settings& settings, int32_t level);

  /// Parameters of libx264 for a record that was repaired. False where its profile can't have them.
  static bool toX264(const h264_v_settings& settings, x264_param_t& x264);

  /// libx264 changes its rate while running only where the buffer fills at the average rate. Rates whose peak
  /// is near the average are encoded so; at equal size that costs no quality.
  static bool isSteerable(const h264_v_settings& settings);

  /// The part of `toX264` that may change while encoding. `rateScale` multiplies the rates.
  static void storeRates(const h264_v_settings& settings, double rateScale, x264_param_t& x264);
};

}  // namespace qvs::mc
