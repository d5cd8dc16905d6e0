// The AAC encoder's defaults and what it refuses.
#include "audio/AacSettings.h"

#include <iterator>

namespace qvs::mc {

namespace {

constexpr uint32_t kRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                               22050, 16000, 12000, 11025, 8000,  7350};
constexpr uint32_t kVbrBest = 10;

/// One thing that the encoder needs of its settings.
struct Rule {
  bool (*holds)(const aac_a_settings& settings, uint32_t sampleRate);
  const char* otherwise;
};

using Settings = const aac_a_settings&;

constexpr Rule kRules[] = {
    {[](Settings, uint32_t rate) { return AacSettings::rateIndex(rate) != AacSettings::kNoIndex; },
     "the sample rate is none of AAC's"},
    {[](Settings s, uint32_t) {
       return s.input_channels >= 1 && s.input_channels <= 8 && s.input_channels != 7;
     },
     "AAC carries 1 to 6 or 8 channels"},
    {[](Settings s, uint32_t) { return s.he == AAC_HE_OFF; },
     "spectral band replication (HE) is not available in this encoder"},
    {[](Settings s, uint32_t) { return s.aac_object_type == AAC_OBJECT_LC; },
     "only the LC object type is available in this encoder"},
    {[](Settings s, uint32_t) { return s.mpeg_version == AAC_MPEG_4 || s.mpeg_version == AAC_MPEG_2; },
     "mpeg_version is neither 4 nor 2"},
    {[](Settings s, uint32_t) { return s.audio_bitrate_index < std::size(AAC_AUDIO_BITRATES); },
     "audio_bitrate_index is past the table of bit rates"},
    {[](Settings s, uint32_t) { return s.header_type <= AAC_HEADER_ADTS; },
     "header_type is neither raw nor ADTS"},
    {[](Settings s, uint32_t) { return s.vbr <= kVbrBest; }, "vbr is above 10"},
    {[](Settings s, uint32_t) { return s.bits_per_sample == 16; }, "samples must have 16 bits"},
    {[](Settings s, uint32_t) { return s.protect_adts_stream == 0; },
     "checksums in ADTS headers are not available in this encoder"},
    {[](Settings s, uint32_t) { return s.pts_units >= 0; }, "pts_units is negative"},
    {[](Settings s, uint32_t) { return s.ch_mode < AAC_CH_MODE_CUSTOM; },
     "custom channel modes are not available in this encoder"},
    {[](Settings s, uint32_t) { return s.LFE_filtering == 0 || s.input_channels < 6; },
     "filtering of the LFE channel is not available in this encoder"},
    {[](Settings s, uint32_t) { return s.restart_interval == 0; },
     "restart_interval is not available in this encoder"},
};

}  // namespace

void AacSettings::setDefaults(aac_a_settings& settings) {
  settings = {};
  settings.input_channels = 2;
  settings.mpeg_version = AAC_MPEG_4;
  settings.aac_object_type = AAC_OBJECT_LC;
  settings.audio_bitrate_index = 19;
  settings.header_type = AAC_HEADER_ADTS;
  settings.bits_per_sample = 16;
  settings.tns = 1;
}

const char* AacSettings::whyNot(const aac_a_settings& settings, uint32_t sampleRate) {
  for (const Rule& rule : kRules) {
    if (!rule.holds(settings, sampleRate)) return rule.otherwise;
  }
  return nullptr;
}

uint32_t AacSettings::bitrate(const aac_a_settings& settings) {
  constexpr uint32_t kLowest = AAC_AUDIO_BITRATES[1];
  const uint32_t indexed = AAC_AUDIO_BITRATES[settings.audio_bitrate_index];
  const uint32_t kilobits = settings.audio_bitrate_custom != 0 ? settings.audio_bitrate_custom : indexed;
  return (kilobits != 0 ? kilobits : kLowest) * 1000;
}

uint32_t AacSettings::rateIndex(uint32_t sampleRate) {
  for (uint32_t index = 0; index < std::size(kRates); ++index) {
    if (kRates[index] == sampleRate) return index;
  }
  return kNoIndex;
}

}  // namespace qvs::mc
