// Rate control as libva has it.
#include "RateParameters.h"

#include <algorithm>
#include <limits>

namespace qvs::vaapi {

void RateParameters::begin(const VaapiSettings& settings, uint32_t rateControl, plugins::FrameRate frameRate,
                           uint32_t qualityLevels) {
  controlled = rateControl != VA_RC_CQP;
  percentage = rateControl == VA_RC_VBR ? static_cast<uint32_t>(settings.targetPercentage) : 100;
  bufferMilliseconds = static_cast<uint64_t>(settings.bufferMilliseconds);
  rate = {VAEncMiscParameterTypeRateControl, {}};
  rate.record.target_percentage = percentage;
  rate.record.window_size = static_cast<uint32_t>(bufferMilliseconds);
  rate.record.min_qp = static_cast<uint32_t>(settings.minQp);
  rate.record.max_qp = static_cast<uint32_t>(settings.maxQp);
  buffer = {VAEncMiscParameterTypeHRD, {}};
  pictures = {VAEncMiscParameterTypeFrameRate, {}};
  pictures.record.framerate = frameRate.den << 16 | frameRate.num;
  withQuality = settings.quality != 0 && qualityLevels != 0;
  quality = {VAEncMiscParameterTypeQualityLevel, {}};
  quality.record.quality_level = std::min(static_cast<uint32_t>(settings.quality), qualityLevels);
}

void RateParameters::setBitRate(uint32_t bitsPerSecond) {
  if (!controlled) return;
  constexpr uint64_t kMost = std::numeric_limits<uint32_t>::max();
  const uint64_t most = std::min(uint64_t{bitsPerSecond} * 100 / percentage, kMost);
  const uint64_t bits = std::min(most * bufferMilliseconds / 1000, kMost);
  rate.record.bits_per_second = static_cast<uint32_t>(most);
  buffer.record.buffer_size = static_cast<uint32_t>(bits);
  buffer.record.initial_buffer_fullness = static_cast<uint32_t>(bits / 4 * 3);
}

void RateParameters::add(ParameterList& out) const {
  if (controlled) {
    out.add(VAEncMiscParameterBufferType, rate);
    out.add(VAEncMiscParameterBufferType, buffer);
  }
  out.add(VAEncMiscParameterBufferType, pictures);
  if (withQuality) out.add(VAEncMiscParameterBufferType, quality);
}

}  // namespace qvs::vaapi
