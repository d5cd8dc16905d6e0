#pragma once

#include "audio/AudioDecoderG711.h"

namespace qvs {

class AudioDecoderMULaw : public AudioDecoderG711 {
 public:
  AudioDecoderMULaw() : AudioDecoderG711(g711::kMULaw) {}
};

}  // namespace qvs
