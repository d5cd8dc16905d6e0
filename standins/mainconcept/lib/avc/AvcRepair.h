#pragma once

#include <mc_enc_avc.h>

namespace qvs::mc {

/// Puts the settings that can't be served to the nearest that can.
class AvcRepair {
 public:
  /// `callbacks` may be null; its warning printer gets a line for each change.
  AvcRepair(h264_v_settings& settings, const mc_callbacks_t* callbacks)
      : settings(settings), callbacks(callbacks) {}

  /// The number of fields changed.
  int32_t run();

 private:
  void force(const char* name, int32_t h264_v_settings::*field, int32_t value);
  void report(const char* name);
  void repairProfile();
  void repairRanges();
  void repairShape();
  void repairFrameRate();
  void repairRates();
  void repairPictureTypes();
  void repairArrays();
  void repairColors();

  h264_v_settings& settings;
  const mc_callbacks_t* callbacks;
  int32_t changes = 0;
};

}  // namespace qvs::mc
