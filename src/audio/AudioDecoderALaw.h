#pragma once

#include "audio/AudioDecoderG711.h"

namespace qvs {

class AudioDecoderALaw : public AudioDecoderG711 {
 public:
  AudioDecoderALaw() : AudioDecoderG711(g711::kALaw) {}
};

}  // namespace qvs
