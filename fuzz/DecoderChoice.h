#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "session/HardwareAvailability.h"
#include "session/StageSelection.h"
#include "video/decoders/IVideoDecoder.h"

namespace qvs::fuzz {

/// One of the decoders that take a configuration, initialized.
inline std::unique_ptr<IVideoDecoder> makeDecoder(uint8_t choice) {
  constexpr uint32_t kCodecs[] = {7, 12, 10, 9, 2, 11, 100};
  const uint32_t codec = kCodecs[choice % 7];
  auto decoder = StageSelection::videoDecoder(0, codec, 0, {})->make();
  decoder->setCodecAndVersion(codec, 0);
  if (decoder->initialize() != 0) __builtin_trap();
  return decoder;
}

}  // namespace qvs::fuzz
