#pragma once

#include <qvs/plugin.h>
#include <va/va.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>

namespace qvs::vaapi {

/// A status of the plug-in contract, and in words what it is about. Success costs nothing.
struct [[nodiscard]] Outcome {
  int32_t status = QVS_PLUGIN_OK;
  std::string words;

  bool failed() const { return status != QVS_PLUGIN_OK; }
};

/// What a call into libva answered: success, or `status` with the call's name and libva's own words.
inline Outcome outcomeOf(VAStatus answer, int32_t status, const char* call) {
  if (answer == VA_STATUS_SUCCESS) return {};
  char number[16];
  std::snprintf(number, sizeof number, " (0x%x)", static_cast<unsigned>(answer));
  return {status, std::string(call) + ": " + vaErrorStr(answer) + number};
}

/// Keeps the first failure of several.
inline void keepFirst(Outcome& first, Outcome next) {
  if (!first.failed()) first = std::move(next);
}

}  // namespace qvs::vaapi
