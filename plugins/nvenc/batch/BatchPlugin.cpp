// The off-line library: what the shared entry points read.
#include "NvidiaRoad.h"

namespace qvs::plugins {
namespace {

constexpr uint32_t kProfile = 120002;

std::unique_ptr<BatchRoad> make(bool /*hevc*/) {
  return std::make_unique<nvenc::NvidiaRoad>();
}

/// What isn't known becomes a value that the encoder refuses.
int64_t profileOf(uint32_t number) {
  switch (number) {
    case 66:
      return 1;
    case 77:
      return 2;
    case 100:
      return 3;
    default:
      return -1;
  }
}

}  // namespace

const BatchPlugin kBatchPlugin{nvenc::NvencSession::version, make, kProfile, profileOf};

}  // namespace qvs::plugins
