#pragma once

#include <x265.h>

#include <span>
#include <string>

#include "H26xSettings.h"
#include "KeyTable.h"

namespace qvs::plugins {

/// libx265's operations at eight bits.
const x265_api& x265();

struct X265Settings : H26xSettings {
  X265Settings() {
    preset = 1;
    quality = 28;
    qp = 28;
    frameThreads = 1;
  }

  /// Everything in libx265's terms but the pool of threads. False, with the reason in `problem`, where parts don't go
  /// together.
  bool store(const CommonSettings& common, x265_param& param, std::string& problem) const;

  static void storeRates(const H26xRates& rates, x265_param& param);

  /// The pool's size in libx265's words.
  std::string pool() const;
};

extern const std::span<const KeyRow<X265Settings>> kX265Keys;

}  // namespace qvs::plugins
