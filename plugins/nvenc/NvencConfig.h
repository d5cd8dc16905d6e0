#pragma once

#include <cstdint>
#include <string>

#include <ffnvcodec/nvEncodeAPI.h>

#include "EncoderSession.h"
#include "NvencSettings.h"

namespace qvs::nvenc {

/// What a card can do with a codec.
struct NvencCaps {
  int bFrames = 0;
  int bReferences = 0;  ///< the driver's mode: 2 or more has the middle one
  int lookAhead = 0;
  int temporalAq = 0;
  int changesBitRate = 0;
  int minWidth = 0, minHeight = 0;
  int maxWidth = 0, maxHeight = 0;
};

/// An encoder's set-up in the driver's records, which refer to each other: it stays where it is.
struct NvencConfig {
  NvencConfig() = default;
  NvencConfig(const NvencConfig&) = delete;
  NvencConfig& operator=(const NvencConfig&) = delete;

  NV_ENC_INITIALIZE_PARAMS parameters{};
  NV_ENC_CONFIG config{};

  static GUID presetOf(const NvencSettings& settings);
  static NV_ENC_TUNING_INFO tuningOf(const NvencSettings& settings);

  /// Puts the settings over `preset`, what the driver has for them. False, with the reason in `problem`, where they
  /// don't go together or the card lacks something.
  bool store(const NvencSettings& settings, const plugins::CommonSettings& common, bool hevc,
             const NvencCaps& caps, const NV_ENC_CONFIG& preset, std::string& problem);

  /// The rates alone, for a change while running.
  bool storeRates(const NvencSettings& settings, uint32_t bitsPerSecond, std::string& problem);

 private:
  void storeStructure(const NvencSettings& settings, bool keyFrameFollow, bool hevc);
  void storeQuantizers(const NvencSettings& settings);
  void storeCodec(const NvencSettings& settings, bool hevc);
};

/// False, with the reason, where a card doesn't do what is asked for.
bool suits(const NvencCaps& caps, const NvencSettings& settings, uint32_t width, uint32_t height,
           std::string& problem);

}  // namespace qvs::nvenc
