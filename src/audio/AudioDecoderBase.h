#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "audio/AudioResampler.h"
#include "audio/IAudioDecoder.h"
#include "platform/WithoutParameters.h"
#include "session/MediaStreamContext.h"

namespace qvs {

/// What all audio decoders share: the record of the last block, the running count of samples, attachments and
/// the answers of a decoder that needs no configuration. Decodes nothing by itself.
class AudioDecoderBase : public WithoutParameters<IAudioDecoder> {
 public:
  AudioDecoderBase() = default;
  AudioDecoderBase(const AudioDecoderBase&) = delete;
  AudioDecoderBase& operator=(const AudioDecoderBase&) = delete;

  uint32_t getCodec() override { return codec; }
  uint32_t getDecodedChannels() override { return decodedChannels; }
  uint32_t getDecodedSampleRate() override { return decodedSampleRate; }
  uint32_t getDecodedSampleCount() override { return decodedSampleCount; }
  uint32_t getDecodedSampleSize() override { return decodedSampleSize; }
  uint64_t getDecodedTimecode() override { return decodedTimecode; }
  uint32_t setDecodeParameters(uint32_t format) override { return setDecodeParameters(-1, -1, format); }
  uint32_t setDecodeParameters(int32_t, int32_t, uint32_t) override { return 0; }
  uint32_t initialize() override { return 0; }
  uint32_t decodeCodecConfig(uint8_t*, uint32_t, uint32_t) override { return 0; }
  uint32_t captureFrame(AudioSampleBuffer&, uint32_t*, int64_t*) override { return 0; }
  void resetDecodedFrameState() override;
  uint32_t close() override { return 0; }
  uint32_t getDecodeFrameHeaderSize() override { return 0; }
  uint32_t getChannels() override { return decodedChannels; }
  int32_t getSampleRate() override { return static_cast<int32_t>(decodedSampleRate); }
  uint32_t getSamplesPerFrame() override { return 2048; }
  uint32_t getFramesDecoded() override { return framesDecoded; }
  uint8_t isFirstFrameDecoded() override { return firstFrameDecoded != 0; }
  void setLogger(ILogger* value) override { logger = value; }
  void setAudioResampler(AudioResampler* value) override { audioResampler.reset(value); }
  AudioResampler* getAudioResampler() override { return audioResampler.get(); }
  void setNativePath(char*) override {}
  uint32_t createDone() override { return 0; }
  uint32_t setCaptureDevice(int32_t deviceId) override;
  MediaStreamContext* getMediaStreamContext() override { return &mediaStreamContext; }

  /// The logger given, or the process-wide one.
  ILogger* getLogger() const;

 protected:
  /// The count of samples at `decodedSampleRate` for a block that came with `timecodeMs`. Blocks are
  /// contiguous while the clock stays within a millisecond of the count; otherwise the count jumps to it.
  uint64_t getTimecodeScaled(uint64_t lastTimecodeScaled, uint32_t lastSampleCount,
                             uint64_t timecodeMs) const;

  /// Milliseconds at which the last block ended, counted at `rate` Hz; 0 before the first.
  uint64_t followingMs(uint32_t rate) const;

  /// Takes the stream's format into the record, and keeps it for `restoreFormat`. At another rate than
  /// before the running count starts anew.
  void setFormat(uint32_t sampleRate, uint32_t channels);

  /// Puts the stream's format back where a reset has zeroed the record: the stream itself went on.
  void restoreFormat();

  /// Sees to it that `out` can take `sampleCount` samples of `channels` channels, keeping what it holds.
  /// False, and `out` as it was, where that is more than any real packet holds or memory is out.
  static bool makeRoom(AudioSampleBuffer& out, uint64_t sampleCount, uint32_t channels);

  /// Result of an input without audio: nothing is recorded, and `out` no longer offers an older block.
  static uint32_t emptyBlock(AudioSampleBuffer& out);

  /// Enters a block of `sampleCount` samples a channel, already written into `out`, in all records.
  void finishBlock(AudioSampleBuffer& out, uint32_t sampleCount, uint64_t timecodeMs);

  /// `text` as a warning of this decoder's place in the log.
  void warn(const std::string& text) const;

  uint32_t codec = 0xFFFFFFFFu;
  uint32_t decodedSampleRate = 0;  ///< Hz
  uint32_t decodedChannels = 0;
  uint32_t decodedSampleCount = 0;  ///< samples per channel of the last block
  uint32_t decodedSampleSize = 0;   ///< bytes of the last block
  uint64_t decodedTimecode = 0;     ///< samples
  ILogger* logger = nullptr;        ///< borrowed
  int32_t captureDeviceId = 0;
  std::unique_ptr<AudioResampler> audioResampler;
  MediaStreamContext mediaStreamContext;
  uint32_t framesDecoded = 0;
  uint32_t firstFrameDecoded = 0;
  uint64_t lastTimecodeScaled = ~uint64_t{0};  ///< samples; all ones before the first block
  uint32_t lastSampleCount = 0;

 private:
  uint32_t streamSampleRate = 0;  ///< Hz; as `setFormat` was told
  uint32_t streamChannels = 0;
};

}  // namespace qvs
