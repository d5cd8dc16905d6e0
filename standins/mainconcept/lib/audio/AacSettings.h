#pragma once

#include <mc_enc_aac.h>

namespace qvs::mc {

/// What the encoder makes of its settings.
class AacSettings {
 public:
  static void setDefaults(aac_a_settings& settings);

  /// Null where the settings can be served, else the reason as a sentence.
  static const char* whyNot(const aac_a_settings& settings, uint32_t sampleRate);

  /// Bits per second of all channels.
  static uint32_t bitrate(const aac_a_settings& settings);

  /// Index of a rate in the headers of AAC; kNoIndex for a rate that the format lacks.
  static constexpr uint32_t kNoIndex = 15;
  static uint32_t rateIndex(uint32_t sampleRate);
};

}  // namespace qvs::mc
