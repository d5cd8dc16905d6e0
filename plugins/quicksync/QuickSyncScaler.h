#pragma once

#include <vpl/mfx.h>

#include <cstdint>
#include <string>

#include "MfxSession.h"
#include "Placement.h"

namespace qvs::plugins {

/// The runtime's picture processing: scales, and makes whole pictures of fields. From surface to surface, one picture
/// out for each that goes in.
class QuickSyncScaler {
 public:
  QuickSyncScaler() = default;
  ~QuickSyncScaler() { close(); }
  QuickSyncScaler(const QuickSyncScaler&) = delete;
  QuickSyncScaler& operator=(const QuickSyncScaler&) = delete;

  int32_t open(int32_t gpu);

  /// On return `to` is filled. Both surfaces tell their own picture as before.
  int32_t scale(mfxFrameSurface1& from, mfxFrameSurface1& to, const Placement& placement);

  /// In words, what the last status other than 0 was about.
  std::string problem;

 private:
  int32_t fail(int32_t status, std::string why);
  int32_t setUp(const mfxFrameInfo& from, const mfxFrameInfo& to);
  int32_t run(mfxFrameSurface1& from, mfxFrameSurface1& to);
  void stop();
  void close();

  MfxSession session;
  MfxPatience patience;
  mfxFrameInfo in{};  ///< as it runs
  bool running = false;
};

}  // namespace qvs::plugins
