// The settings' scaling lists, checked and handed to libx264.
#include "avc/AvcScalingLists.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace qvs::mc {

namespace {

constexpr uint8_t kFlat = 16;

bool isFlat(std::span<const uint8_t> list) {
  return std::all_of(list.begin(), list.end(), [](uint8_t weight) { return weight == 0; });
}

bool isWhole(std::span<const uint8_t> list) {
  return std::none_of(list.begin(), list.end(), [](uint8_t weight) { return weight == 0; });
}

template <size_t Size>
void put(const uint8_t (&list)[Size], uint8_t (&target)[Size]) {
  if (isFlat(list)) {
    std::memset(target, kFlat, Size);
  } else {
    std::memcpy(target, list, Size);
  }
}

}  // namespace

const char* AvcScalingLists::repair(h264_v_settings& settings) {
  struct Row {
    const char* name;
    std::span<uint8_t> list;
  };
  const Row rows[] = {
      {"intra_y_4x4_scaling_list", settings.intra_y_4x4_scaling_list},
      {"intra_cb_4x4_scaling_list", settings.intra_cb_4x4_scaling_list},
      {"intra_cr_4x4_scaling_list", settings.intra_cr_4x4_scaling_list},
      {"inter_y_4x4_scaling_list", settings.inter_y_4x4_scaling_list},
      {"inter_cb_4x4_scaling_list", settings.inter_cb_4x4_scaling_list},
      {"inter_cr_4x4_scaling_list", settings.inter_cr_4x4_scaling_list},
      {"intra_y_8x8_scaling_list", settings.intra_y_8x8_scaling_list},
      {"inter_y_8x8_scaling_list", settings.inter_y_8x8_scaling_list},
  };
  const char* changed = nullptr;
  const auto note = [&](const char* name) { changed = changed != nullptr ? changed : name; };
  for (const Row& row : rows) {
    if (isWhole(row.list) || isFlat(row.list)) continue;
    std::fill(row.list.begin(), row.list.end(), uint8_t{0});
    note(row.name);
  }
  for (const auto& [cb, cr] : {std::pair{rows[1], rows[2]}, std::pair{rows[4], rows[5]}}) {
    if (std::equal(cb.list.begin(), cb.list.end(), cr.list.begin())) continue;
    std::copy(cb.list.begin(), cb.list.end(), cr.list.begin());
    note(cr.name);
  }
  return changed;
}

bool AvcScalingLists::areFlat(const h264_v_settings& settings) {
  return isFlat(settings.intra_y_4x4_scaling_list) && isFlat(settings.intra_cb_4x4_scaling_list) &&
         isFlat(settings.inter_y_4x4_scaling_list) && isFlat(settings.inter_cb_4x4_scaling_list) &&
         isFlat(settings.intra_y_8x8_scaling_list) && isFlat(settings.inter_y_8x8_scaling_list);
}

void AvcScalingLists::store(const h264_v_settings& settings, x264_param_t& x264) {
  if (areFlat(settings)) return;
  x264.i_cqm_preset = X264_CQM_CUSTOM;
  put(settings.intra_y_4x4_scaling_list, x264.cqm_4iy);
  put(settings.intra_cb_4x4_scaling_list, x264.cqm_4ic);
  put(settings.inter_y_4x4_scaling_list, x264.cqm_4py);
  put(settings.inter_cb_4x4_scaling_list, x264.cqm_4pc);
  put(settings.intra_y_8x8_scaling_list, x264.cqm_8iy);
  put(settings.inter_y_8x8_scaling_list, x264.cqm_8py);
  // These exist at 4:4:4 alone; libx264 wants them valid.
  std::memset(x264.cqm_8ic, kFlat, sizeof x264.cqm_8ic);
  std::memset(x264.cqm_8pc, kFlat, sizeof x264.cqm_8pc);
}

}  // namespace qvs::mc
