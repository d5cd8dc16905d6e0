#pragma once

#include <cstdint>

namespace qvs {

class AudioSampleBuffer;
class AudioResampler;
class ILogger;
class MediaStreamContext;

/// One coded audio stream in, blocks of interleaved signed 16-bit samples out.
class IAudioDecoder {
 public:
  virtual ~IAudioDecoder() = default;

  virtual uint32_t getCodec() = 0;
  virtual uint32_t getDecodedChannels() = 0;
  virtual uint32_t getDecodedSampleRate() = 0;
  virtual uint32_t getDecodedSampleCount() = 0;  ///< samples per channel of the last block
  virtual uint32_t getDecodedSampleSize() = 0;   ///< bytes of the last block
  virtual uint64_t getDecodedTimecode() = 0;     ///< samples, not milliseconds
  virtual uint32_t setDecodeParameters(uint32_t format) = 0;
  virtual uint32_t setDecodeParameters(int32_t sampleRate, int32_t channels, uint32_t format) = 0;
  virtual uint32_t initialize() = 0;
  virtual uint32_t decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) = 0;

  /// Learns the stream's format from its first frame; decodes nothing.
  virtual uint32_t decodeFirstFrame(uint8_t* buffer, uint32_t offset, uint32_t len) = 0;

  /// `timecode` in milliseconds; the block's own timecode counts samples.
  virtual uint32_t decodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                               AudioSampleBuffer& out) = 0;
  virtual uint32_t captureFrame(AudioSampleBuffer& out, uint32_t* flags, int64_t* timecode) = 0;
  virtual void resetDecodedFrameState() = 0;
  virtual uint32_t close() = 0;

  /// Bytes that the caller leaves free in front of each coded frame.
  virtual uint32_t getDecodeFrameHeaderSize() = 0;
  virtual uint32_t getChannels() = 0;
  virtual int32_t getSampleRate() = 0;
  virtual uint32_t getSamplesPerFrame() = 0;
  virtual uint32_t getFramesDecoded() = 0;
  virtual uint8_t isFirstFrameDecoded() = 0;
  virtual void setLogger(ILogger* logger) = 0;                         ///< borrowed
  virtual void setAudioResampler(AudioResampler* audioResampler) = 0;  ///< the decoder owns it from here on
  virtual AudioResampler* getAudioResampler() = 0;
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
  virtual uint32_t setCaptureDevice(int32_t deviceId) = 0;
  virtual MediaStreamContext* getMediaStreamContext() = 0;
};

}  // namespace qvs
