// Waiting for the card: timed calls where the driver has them, else looking again and again.
#include "PictureWait.h"

#include <chrono>
#include <thread>

namespace qvs::vaapi {
namespace {

constexpr int kMisses = 3;
constexpr std::chrono::microseconds kLook{500};
constexpr const char* kNames[] = {"vaSyncBuffer", "vaSyncSurface2", "vaQuerySurfaceStatus"};

}  // namespace

void PictureWait::begin(VADisplay onDisplay, int64_t milliseconds) {
  display = onDisplay;
  timeout = milliseconds;
  // A driver that knows the call has something to say against the id.
  if (vaSyncBuffer(display, VA_INVALID_ID, 0) != VA_STATUS_ERROR_UNIMPLEMENTED) {
    way = Way::kBuffer;
  } else if (vaSyncSurface2(display, VA_INVALID_SURFACE, 0) != VA_STATUS_ERROR_UNIMPLEMENTED) {
    way = Way::kSurface;
  } else {
    way = Way::kPolling;
  }
}

Outcome PictureWait::wait(VABufferID coded, VASurfaceID surface) {
  using Clock = std::chrono::steady_clock;
  VAStatus answer = VA_STATUS_SUCCESS;
  for (int miss = 0; miss < kMisses; ++miss) {
    const auto until = Clock::now() + std::chrono::milliseconds(timeout);
    answer = once(coded, surface);
    if (answer != VA_STATUS_ERROR_TIMEDOUT && answer != VA_STATUS_ERROR_HW_BUSY) break;
    // Busy may come at once: the wait is as long all the same.
    if (answer == VA_STATUS_ERROR_HW_BUSY) std::this_thread::sleep_until(until);
  }
  return outcomeOf(answer, QVS_PLUGIN_INIT_ENCODER, kNames[static_cast<int>(way)]);
}

VAStatus PictureWait::once(VABufferID coded, VASurfaceID surface) const {
  const auto nanoseconds = static_cast<uint64_t>(timeout) * 1'000'000;
  switch (way) {
    case Way::kBuffer:
      return vaSyncBuffer(display, coded, nanoseconds);
    case Way::kSurface:
      return vaSyncSurface2(display, surface, nanoseconds);
    case Way::kPolling:
      return poll(surface);
  }
  return VA_STATUS_ERROR_UNIMPLEMENTED;
}

VAStatus PictureWait::poll(VASurfaceID surface) const {
  const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout);
  for (;;) {
    VASurfaceStatus state = VASurfaceReady;
    const VAStatus answer = vaQuerySurfaceStatus(display, surface, &state);
    if (answer != VA_STATUS_SUCCESS || state != VASurfaceRendering) return answer;
    if (std::chrono::steady_clock::now() >= until) return VA_STATUS_ERROR_TIMEDOUT;
    std::this_thread::sleep_for(kLook);
  }
}

}  // namespace qvs::vaapi
