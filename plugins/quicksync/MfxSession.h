#pragma once

#include <vpl/mfx.h>

#include <cstdint>
#include <string>

#include "VaDisplay.h"

namespace qvs::plugins {

/// How long a runtime is waited for, milliseconds.
struct MfxPatience {
  int64_t busyTimeout = 1000;  ///< while the device refuses a picture as busy
  int64_t syncTimeout = 2000;  ///< for a picture that the device has taken
};

/// A session of the vendor's media runtime, which the dispatcher finds, with the display that it works on.
class MfxSession {
 public:
  MfxSession() = default;
  ~MfxSession() { close(); }
  MfxSession(const MfxSession&) = delete;
  MfxSession& operator=(const MfxSession&) = delete;

  /// A status; `problem` names the call that failed and its answer.
  int32_t open(int32_t gpu, std::string& problem);
  void close();

  operator mfxSession() const { return session; }

  /// The runtime's interface, once open.
  mfxVersion getVersion() const { return version; }

  /// Waits for an operation, `milliseconds` at most. MFX_WRN_IN_EXECUTION when it isn't done by then.
  mfxStatus sync(mfxSyncPoint point, int64_t milliseconds) const;

 private:
  VaDisplay display;  ///< outlives the session that works on it
  mfxLoader loader = nullptr;
  mfxSession session = nullptr;
  mfxVersion version{};
};

/// Whether a runtime works on this machine, as a plug-in's getVersion tells it.
int32_t probeMfx(std::string& text, uint32_t& major, uint32_t& minor);

}  // namespace qvs::plugins
