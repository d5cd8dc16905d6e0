// Settings that can't be served, moved to the nearest that can and reported.
#include "avc/AvcRepair.h"

#include <x264.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

#include "avc/AvcColor.h"
#include "avc/AvcScalingLists.h"
#include "avc/AvcSettingTable.h"

namespace qvs::mc {

namespace {

constexpr double kLowestFrameRate = 0.01;
constexpr double kHighestFrameRate = 1000.0;
constexpr double kFallbackFrameRate = 30.0;
/// Small weights rule out the finest quantizers; libx264 then refuses a range that ends among them.
constexpr int32_t kLeastMaxQuantOfLists = 36;

bool isLevel(int32_t level) {
  for (const x264_level_t* row = x264_levels; row->level_idc != 0; ++row) {
    if (row->level_idc == level) return true;
  }
  return level == H264_LEVEL_AUTO;
}

bool equal(const mc_colorimetry_t& left, const mc_colorimetry_t& right) {
  return std::memcmp(&left, &right, sizeof left) == 0;
}

}  // namespace

int32_t AvcRepair::run() {
  repairProfile();
  repairRanges();
  repairShape();
  repairFrameRate();
  repairRates();
  repairPictureTypes();
  repairArrays();
  repairColors();
  return changes;
}

void AvcRepair::force(const char* name, int32_t h264_v_settings::*field, int32_t value) {
  const int32_t asked = settings.*field;
  if (asked == value) return;
  settings.*field = value;
  ++changes;
  if (callbacks == nullptr || callbacks->wrn_printf == nullptr) return;
  callbacks->wrn_printf("H.264 encoder: %s can't be %d, %d is taken", name, asked, value);
}

void AvcRepair::report(const char* name) {
  ++changes;
  if (callbacks == nullptr || callbacks->wrn_printf == nullptr) return;
  callbacks->wrn_printf("H.264 encoder: %s can't be served as set and was changed", name);
}

void AvcRepair::repairProfile() {
  // The numbers by which streams name their profiles are the usual mistake.
  static constexpr int32_t kStreamNumbers[][2] = {{66, H264_BASELINE}, {77, H264_MAIN}, {2, H264_HIGH}};
  for (const auto& [number, profile] : kStreamNumbers) {
    if (settings.profile_id == number) force("profile_id", &h264_v_settings::profile_id, profile);
  }
}

void AvcRepair::repairRanges() {
  for (const AvcSetting& setting : avcSettings()) {
    const int32_t value = settings.*setting.field;
    force(setting.name, setting.field, std::clamp(value, setting.lowest, setting.highest));
  }
}

void AvcRepair::repairShape() {
  using S = h264_v_settings;
  if (!isLevel(settings.level_id)) force("level_id", &S::level_id, H264_LEVEL_AUTO);
  force("def_horizontal_size", &S::def_horizontal_size, settings.def_horizontal_size & ~1);
  force("def_vertical_size", &S::def_vertical_size, settings.def_vertical_size & ~1);
  // Fields halve the chroma rows once more; the baseline profile has none.
  if (settings.def_vertical_size % 4 != 0 || settings.profile_id == H264_BASELINE) {
    force("interlace_mode", &S::interlace_mode, H264_PROGRESSIVE);
  }
  if (settings.sar_width == 0 || settings.sar_height == 0) {
    force("sar_width", &S::sar_width, 0);
    force("sar_height", &S::sar_height, 0);
  }
}

void AvcRepair::repairFrameRate() {
  const double rate = settings.frame_rate;
  if (!(rate >= kLowestFrameRate && rate <= kHighestFrameRate)) {
    const bool isRate = std::isfinite(rate) && rate > 0;
    settings.frame_rate = isRate ? std::clamp(rate, kLowestFrameRate, kHighestFrameRate) : kFallbackFrameRate;
    report("frame_rate");
  }
  if (settings.num_units_in_tick == 0 || settings.time_scale == 0) return;
  const double told = settings.time_scale / (2.0 * settings.num_units_in_tick);
  if (told >= kLowestFrameRate && told <= kHighestFrameRate) return;
  force("num_units_in_tick", &h264_v_settings::num_units_in_tick, 0);
}

void AvcRepair::repairRates() {
  using S = h264_v_settings;
  if (settings.bit_rate_mode == H264_VBR && settings.max_bit_rate > 0) {
    force("max_bit_rate", &S::max_bit_rate, std::max(settings.max_bit_rate, settings.bit_rate));
  }
  const bool peak = settings.bit_rate_mode == H264_CBR || settings.max_bit_rate > 0;
  if (settings.bit_rate_mode == H264_CQT || settings.bit_rate_buffer_size == 0 || !peak) {
    force("hrd_maintain", &S::hrd_maintain, 0);
  }
  force("max_quant", &S::max_quant, std::max(settings.max_quant, settings.min_quant));
  force("cr_offset", &S::cr_offset, settings.cb_offset);
}

void AvcRepair::repairPictureTypes() {
  using S = h264_v_settings;
  if (settings.live_mode != 0 || settings.low_delay != 0) {
    force("reordering_delay", &S::reordering_delay, 1);
    force("buffering", &S::buffering, 0);
    force("encoding_buffering", &S::encoding_buffering, 0);
  }
  if (settings.profile_id == H264_BASELINE) force("reordering_delay", &S::reordering_delay, 1);
  if (settings.idr_interval == 0) return force("air_mode", &S::air_mode, 0);
  const int32_t closest = settings.idr_interval / 2 + 1;
  force("min_idr_interval", &S::min_idr_interval, std::min(settings.min_idr_interval, closest));
}

void AvcRepair::repairArrays() {
  const auto clear = [this](const char* name, auto* begin, auto* end) {
    if (std::all_of(begin, end, [](auto value) { return value == 0; })) return;
    std::fill(begin, end, 0);
    report(name);
  };
  clear("max_frame_size", std::begin(settings.max_frame_size), std::end(settings.max_frame_size));
  clear("min_frame_size", std::begin(settings.min_frame_size), std::end(settings.min_frame_size));
  auto& strength = settings.adaptive_quant_strength;
  clear("adaptive_quant_strength", std::begin(strength) + 1, std::end(strength));
  if (strength[0] < 0) {
    strength[0] = 0;
    report("adaptive_quant_strength");
  }
  if (const char* name = AvcScalingLists::repair(settings)) report(name);
  if (AvcScalingLists::areFlat(settings)) return;
  force("max_quant", &h264_v_settings::max_quant, std::max(settings.max_quant, kLeastMaxQuantOfLists));
}

void AvcRepair::repairColors() {
  if (repairColorimetry(settings.source_colorimetry)) report("source_colorimetry");
  if (repairColorimetry(settings.colorimetry)) report("colorimetry");
  mc_colorimetry_t unspecified;
  colorimetryOf(COLOR_DESCRIPTION_UNSPECIFIED, unspecified);
  if (equal(settings.source_colorimetry, unspecified)) return;
  const bool other = !equal(settings.colorimetry, settings.source_colorimetry);
  // Colors aren't converted here: the stream must tell what the pictures are.
  if (other && !equal(settings.colorimetry, unspecified)) report("colorimetry");
  settings.colorimetry = settings.source_colorimetry;
}

}  // namespace qvs::mc
