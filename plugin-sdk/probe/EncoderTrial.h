#pragma once

#include <qvs/video_encoder.h>

#include "Trial.h"

namespace qvs::probe {

/// What is to be encoded.
struct TrialSettings {
  uint32_t codec = 7;  ///< the transcoder's number
  uint32_t codecVersion = 0;
  uint32_t width = 640;
  uint32_t height = 360;
  std::string folder;  ///< of the plug-in, and of what its vendor puts beside it
};

/// Encodes ten pictures that move, and tells how it went..
Json tryEncoder(const pluginVideoEncoder& plugin, const TrialSettings& settings, Steps& steps);

}  // namespace qvs::probe
