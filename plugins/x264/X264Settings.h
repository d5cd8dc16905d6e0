#pragma once

#include <cstdint>
#include <span>
#include <string>

#include <x264.h>

#include "H26xSettings.h"
#include "KeyTable.h"

namespace qvs::plugins {

struct X264Settings : H26xSettings {
  /// Everything in libx264's terms but the log. False, with the reason in `problem`, where parts don't go together.
  bool store(const CommonSettings& common, x264_param_t& x264, std::string& problem) const;

  static void storeRates(const H26xRates& rates, x264_param_t& x264);
};

extern const std::span<const KeyRow<X264Settings>> kX264Keys;

}  // namespace qvs::plugins
