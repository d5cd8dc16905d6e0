#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "audio/AudioResampler.h"
#include "audio/IAudioEncoder.h"
#include "platform/WithoutParameters.h"
#include "session/MediaStreamContext.h"

namespace qvs {

/// What all audio encoders share: the wanted format, the rendition's place in the log, attachments. Encodes
/// nothing by itself.
class AudioEncoderBase : public WithoutParameters<IAudioEncoder> {
 public:
  AudioEncoderBase() = default;
  AudioEncoderBase(const AudioEncoderBase&) = delete;
  AudioEncoderBase& operator=(const AudioEncoderBase&) = delete;

  uint32_t getCodec() override { return codec; }
  double getQuality() override { return quality; }
  void setQuality(double value) override { quality = value; }
  uint32_t getBitrate() override { return bitrate; }
  void setBitrate(uint32_t value) override { bitrate = value; }
  uint32_t getChannels() override { return channels; }
  void setChannels(uint32_t value) override { channels = value; }
  uint32_t getSampleRate() override { return sampleRate; }
  void setSampleRate(uint32_t value) override { sampleRate = value; }
  void setLogger(ILogger* value) override { logger = value; }
  void setAudioResampler(AudioResampler* value) override { audioResampler.reset(value); }
  AudioResampler* getAudioResampler() override { return audioResampler.get(); }
  void setAudioSampleBuffer(AudioSampleBuffer* value) override { audioSampleBuffer = value; }
  AudioSampleBuffer* getAudioSampleBuffer() override { return audioSampleBuffer; }
  uint32_t getSessionIndex() override { return sessionIndex; }
  void setSessionIndex(uint32_t value) override { sessionIndex = value; }
  void setNativePath(char*) override {}
  uint32_t createDone() override { return 0; }
  MediaStreamContext* getMediaStreamContext() override { return &mediaStreamContext; }

  /// The logger given, or the process-wide one.
  ILogger* getLogger() const;

  /// One channel of 16-bit stereo on both sides: the first with `channelCopy` 1, else the second. Writes
  /// nothing for other channel counts and sample sizes. Always 0.
  static uint32_t copyChannels(const uint8_t* src, uint8_t* dst, uint32_t channelCopy, uint32_t sampleCount,
                               uint32_t channels, uint32_t bytesPerSample);

 protected:
  /// Samples a channel of `block` from its index on, of which its count is lowered to what its memory holds.
  static uint32_t countSamples(AudioSampleBuffer& block);

  /// Whether `block` is of the format that the encoder was opened with; 0 stands for any. The first of
  /// several blocks that aren't has a line under `label`.
  bool fits(const char* label, const AudioSampleBuffer& block, uint32_t wantedChannels, uint32_t wantedRate);

  /// `text` as a warning, error or news of this rendition.
  void info(const std::string& text) const;
  void warn(const std::string& text) const;
  void error(const std::string& text) const;

  uint32_t codec = 0xFFFFFFFFu;
  double quality = 0.0;
  uint32_t bitrate = 0;  ///< bits per second
  uint32_t channels = 0;
  uint32_t sampleRate = 0;                         ///< Hz
  uint32_t sessionIndex = 0;                       ///< index of its log lines
  ILogger* logger = nullptr;                       ///< borrowed
  std::unique_ptr<AudioResampler> audioResampler;  ///< null: none
  AudioSampleBuffer* audioSampleBuffer = nullptr;  ///< borrowed
  MediaStreamContext mediaStreamContext;
  bool misfitReported = false;
};

}  // namespace qvs
