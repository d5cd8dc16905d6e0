#pragma once

#include <cstdint>
#include <vector>

namespace qvs {

class AudioFrameEncoded;
class AudioSampleBuffer;
class AudioResampler;
class ILogger;
class MediaStreamContext;

/// Blocks of samples in, coded audio frames out; one per audio rendition. Timecodes count samples.
class IAudioEncoder {
 public:
  virtual ~IAudioEncoder() = default;

  virtual uint32_t getCodec() = 0;
  virtual double getQuality() = 0;
  virtual void setQuality(double quality) = 0;
  virtual uint32_t getBitrate() = 0;
  virtual void setBitrate(uint32_t bitrate) = 0;  ///< bits per second; `initialize` may correct it
  virtual uint32_t getChannels() = 0;
  virtual void setChannels(uint32_t channels) = 0;
  virtual uint32_t getSampleRate() = 0;
  virtual void setSampleRate(uint32_t sampleRate) = 0;
  virtual uint32_t initialize() = 0;

  /// Appends the stream's headers; their bytes stay the encoder's.
  virtual uint32_t getHeaders(std::vector<AudioFrameEncoded>& out) = 0;

  /// Takes ownership of `buffer`; appends finished frames, whose bytes pass to the caller.
  virtual uint32_t addSampleBuffer(AudioSampleBuffer* buffer, std::vector<AudioFrameEncoded>& out) = 0;
  virtual uint32_t close() = 0;
  virtual void setLogger(ILogger* logger) = 0;                         ///< borrowed
  virtual void setAudioResampler(AudioResampler* audioResampler) = 0;  ///< the encoder owns it from here on
  virtual AudioResampler* getAudioResampler() = 0;
  virtual void setAudioSampleBuffer(AudioSampleBuffer* audioSampleBuffer) = 0;
  virtual AudioSampleBuffer* getAudioSampleBuffer() = 0;
  virtual uint32_t getSessionIndex() = 0;
  virtual void setSessionIndex(uint32_t sessionIndex) = 0;
  virtual uint32_t applyParameters() = 0;
  virtual uint32_t setParameterValue(uint32_t key, int64_t value) = 0;
  virtual uint32_t setParameterValue(uint32_t key, int64_t* values, uint32_t count) = 0;
  virtual uint32_t setParameterValue(uint32_t key, double value) = 0;
  virtual uint32_t setParameterValue(uint32_t key, double* values, uint32_t count) = 0;
  virtual uint32_t getParameterValueType(uint32_t key, uint32_t* arrayLength) = 0;
  virtual uint32_t getParameterValue(uint32_t key, int64_t* value) = 0;
  virtual uint32_t getParameterValue(uint32_t key, int64_t* values, uint32_t* count) = 0;
  virtual uint32_t getParameterValue(uint32_t key, double* value) = 0;
  virtual uint32_t getParameterValue(uint32_t key, double* values, uint32_t* count) = 0;
  virtual void setNativePath(char* nativePath) = 0;
  virtual uint32_t createDone() = 0;
  virtual MediaStreamContext* getMediaStreamContext() = 0;
};

}  // namespace qvs
