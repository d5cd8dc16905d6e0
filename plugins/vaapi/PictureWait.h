#pragma once

#include <va/va.h>

#include <cstdint>

#include "Outcome.h"

namespace qvs::vaapi {

/// Waits for a coded picture, never for ever: three waits of the time given, then it counts as lost.
class PictureWait {
 public:
  /// Finds the best way that the driver has.
  void begin(VADisplay onDisplay, int64_t milliseconds);
  Outcome wait(VABufferID coded, VASurfaceID surface);

 private:
  enum class Way { kBuffer, kSurface, kPolling };

  VAStatus once(VABufferID coded, VASurfaceID surface) const;
  VAStatus poll(VASurfaceID surface) const;

  VADisplay display = nullptr;
  int64_t timeout = 0;  ///< milliseconds
  Way way = Way::kPolling;
};

}  // namespace qvs::vaapi
