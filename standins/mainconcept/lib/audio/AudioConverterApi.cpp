// The C interface of the audio converter.
#include "audio/AudioConverter.h"

using qvs::mc::AudioConverter;

namespace {

AudioConverter& of(audio_converter_tt* converter) {
  return *reinterpret_cast<AudioConverter*>(converter);
}

}  // namespace

extern "C" {

uint32_t audioConverterCheckSettings(callbacks_t*, const converter_settings* settings, uint32_t, void*) {
  return settings != nullptr ? AudioConverter::check(*settings) : uint32_t{AUDIO_CONVERTER_BAD_ARGUMENT};
}

audio_converter_tt* audioConverterNew(callbacks_t*, const converter_settings* settings) {
  if (settings == nullptr || AudioConverter::check(*settings) != 0) return nullptr;
  return reinterpret_cast<audio_converter_tt*>(AudioConverter::make(*settings).release());
}

uint32_t audioConverterInit(audio_converter_tt* converter, bufstream_tt* stream) {
  return converter != nullptr ? of(converter).init(stream) : uint32_t{AUDIO_CONVERTER_BAD_ARGUMENT};
}

uint32_t audioConverterPutBytes(audio_converter_tt* converter, const uint8_t* data, uint32_t size, uint32_t,
                                void**) {
  return converter != nullptr ? of(converter).put(data, size) : uint32_t{AUDIO_CONVERTER_BAD_ARGUMENT};
}

void audioConverterDone(audio_converter_tt* converter, int32_t abort) {
  if (converter == nullptr) return;
  if (abort != 0) {
    of(converter).discard();
  } else {
    of(converter).drain();
  }
}

void audioConverterFree(audio_converter_tt* converter) {
  delete reinterpret_cast<AudioConverter*>(converter);
}
}
