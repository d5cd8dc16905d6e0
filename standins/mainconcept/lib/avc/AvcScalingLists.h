#pragma once

#include <mc_enc_avc.h>
#include <x264.h>

namespace qvs::mc {

/// The record's scaling lists. A list of zeros is flat.
class AvcScalingLists {
 public:
  /// Flattens lists that have zeros among other values, and gives both chroma planes the list of Cb. The name
  /// of the first list changed, or null.
  static const char* repair(h264_v_settings& settings);

  static bool areFlat(const h264_v_settings& settings);
  static void store(const h264_v_settings& settings, x264_param_t& x264);
};

}  // namespace qvs::mc
