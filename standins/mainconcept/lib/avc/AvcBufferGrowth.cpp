// The encoder's rate buffer after a change of rate: small at first, growing to the size asked.
#include "avc/AvcBufferGrowth.h"

#include <algorithm>

namespace qvs::mc {

namespace {

// Tripled rates reach nine tenths in the second second so, thirds of rates come at once; larger first sizes
// are slower, faster growth starves the pictures after it.
constexpr double kStartSeconds = 0.1;
constexpr int32_t kPicturesAStep = 12;
constexpr double kStep = 1.1;

}  // namespace

void AvcBufferGrowth::restart(int32_t rate) {
  size = rate / 1000.0 * kStartSeconds;
  pictures = 0;
}

bool AvcBufferGrowth::grow() {
  if (size == 0 || ++pictures < kPicturesAStep) return false;
  pictures = 0;
  size *= kStep;
  return true;
}

int32_t AvcBufferGrowth::limit(int32_t asked) {
  // Below 10 kbit/s it starts under one kilobit, and 0 would switch the buffer off.
  if (size != 0 && size < asked) return std::max(1, static_cast<int32_t>(size));
  size = 0;
  return asked;
}

}  // namespace qvs::mc
