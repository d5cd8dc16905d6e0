// The C interface of the AAC encoder.
#include <mc_enc_aac.h>

#include <new>

#include "audio/AacEncoder.h"
#include "audio/AacSettings.h"

using qvs::mc::AacEncoder;
using qvs::mc::AacSettings;

/// The handle.
struct mc_aac_encoder_t : AacEncoder {
  using AacEncoder::AacEncoder;
};

extern "C" {

const char* aacOutAudioDefaults(aac_a_settings* settings, int32_t preset) {
  if (settings == nullptr || preset != 0) return nullptr;
  AacSettings::setDefaults(*settings);
  return "AAC LC";
}

int32_t aacOutAudioChkSettings(const callbacks_t* callbacks, const aac_a_settings* settings, uint32_t,
                               uint32_t sampleRate, void*, void*) {
  if (settings == nullptr) return -1;
  const char* reason = AacSettings::whyNot(*settings, sampleRate);
  if (reason == nullptr) return 0;
  if (callbacks != nullptr && callbacks->err_printf != nullptr) {
    callbacks->err_printf("AAC: settings refused: %s", reason);
  }
  return -1;
}

aacaenc_tt* aacOutAudioNew(const callbacks_t* callbacks, const aac_a_settings* settings, uint32_t, uint32_t,
                           uint32_t sampleRate) {
  if (settings == nullptr || AacSettings::whyNot(*settings, sampleRate) != nullptr) return nullptr;
  return new (std::nothrow) mc_aac_encoder_t(callbacks, *settings, sampleRate);
}

int32_t aacOutAudioInit(aacaenc_tt* instance, bufstream_tt* stream) {
  return instance != nullptr && instance->open(stream) ? 0 : -1;
}

int32_t aacOutAudioPutBytes(aacaenc_tt* instance, const uint8_t* data, uint32_t size) {
  return instance != nullptr && data != nullptr && instance->put(data, size) ? 0 : -1;
}

int32_t aacOutAudioDone(aacaenc_tt* instance, int32_t abort) {
  if (instance == nullptr) return -1;
  return abort != 0 || instance->drain() ? 0 : -1;
}

void aacOutAudioFree(aacaenc_tt* instance) {
  delete instance;
}
}
