#pragma once

#include <mc_audio_converter.h>

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace qvs {

class AudioSampleBuffer;
class ILogger;

/// Brings blocks of interleaved 16-bit audio of any rate and layout to one rate and layout. Belongs to the
/// decoder or encoder that it is attached to; one thread at a time.
///
/// The first block, and each block that changes format or doesn't follow the one before, starts a converter:
/// the old one's rest leaves with its own running timecode, and the output clock is set anew from the
/// block's.
class AudioResampler {
 public:
  AudioResampler();
  ~AudioResampler();
  AudioResampler(const AudioResampler&) = delete;
  AudioResampler& operator=(const AudioResampler&) = delete;

  void setLogger(ILogger* value) { logger = value; }  ///< borrowed; null: no lines
  void setLogContext(uint32_t value) { logContext = value; }
  void setSessionIndex(uint32_t value) { sessionIndex = value; }
  void setTargetSampleRate(uint32_t value) { sampleRateDst = value; }  ///< Hz
  void setTargetChannels(uint32_t value) { channelsDst = value; }
  void setTargetChannelMask(uint32_t value) {
    channelMaskDst = value;
  }  ///< audio_flag_t; 0: by channel count
  void setSourceChannelMask(uint32_t value) {
    channelMaskSrc = value;
  }  ///< audio_flag_t; 0: by channel count

  /// `in` and `out` may be one buffer; `out`'s memory is replaced where it's too small. `out` holds a block
  /// of the target format, or sample count 0: nothing this time. Always 0; a source that can't be converted
  /// is logged, and each of its blocks tries again. A block that would put out more than 16 MiB is dropped
  /// with a line.
  uint32_t resample(AudioSampleBuffer& in, AudioSampleBuffer& out);

  /// Makes the converter for a source format. 0 also where that failed.
  uint32_t setup(uint32_t sampleRate, uint32_t channels);

  /// Drops the converter and what it holds. Target format and clocks stay.
  uint32_t close();

  /// Drains the converter's filter into this object.
  uint32_t flush();

  /// The same, appended to `buffer`.
  uint32_t flush(AudioSampleBuffer& buffer);

  /// Copies what was converted; samples per channel. The bytes stay here until the caller counts them off.
  uint32_t addSamplesToBuffer(AudioSampleBuffer& buffer);

  /// Behind the samples already in `buffer`, which are lost where its memory is too small.
  uint32_t appendSamplesToBuffer(AudioSampleBuffer& buffer);

 private:
  struct Free {
    void operator()(uint8_t* block) const { std::free(block); }
  };

  using Bytes = std::unique_ptr<uint8_t, Free>;

  /// What a converter left when it was closed.
  struct Rest {
    Bytes bytes;
    uint32_t size = 0;
    uint64_t timecode = 0;  ///< target samples
  };

  bool startsAnew(uint32_t sampleRate, uint32_t channels, uint64_t timecode) const;
  Rest rebuild(uint32_t sampleRate, uint32_t channels, uint64_t timecode);
  bool convert(const AudioSampleBuffer& in, uint32_t samples, uint32_t channels);
  bool makeRoom(uint64_t samples);
  void warnDropped(const char* reason, uint32_t samples);
  uint32_t moveSamples(const uint8_t* bytes, uint32_t size, uint64_t& timecode, AudioSampleBuffer& target,
                       uint32_t existing) const;
  void fillStream();
  void fillSettings();
  bool linesAreDue();
  void logFormats() const;
  void makeConverter(bool logging);

  ILogger* logger = nullptr;
  uint32_t logContext = 3;
  uint32_t sessionIndex = 0;
  uint8_t logFailure = 1;                  ///< arms the lines of `setup`
  uint64_t frameCountLog = 0;              ///< `frameCount` at the last line
  uint64_t frameCountDrop = ~uint64_t{0};  ///< `frameCount` when a lost block was last told of
  bufstream_tt stream{};                   ///< the converter's way into `buffer`
  uint32_t buffSize;                       ///< bytes of `buffer`
  Bytes buffer;                            ///< output since the last collection
  uint32_t ptr = 0;                        ///< bytes in `buffer`
  converter_settings settings{};
  audio_converter_tt* aconv = nullptr;  ///< null: closed
  uint32_t bitsPerChannel = 16;
  uint32_t sampleRateSrc = 0;
  uint32_t channelsSrc = 0;
  uint32_t channelMaskSrc = 0;
  uint32_t sampleRateDst = 0;
  uint32_t channelsDst = 0;
  uint32_t channelMaskDst = 0;
  uint64_t timecodeSrcNext = ~uint64_t{0};   ///< source samples; what a contiguous block comes with
  uint64_t timecodeSrcStart = ~uint64_t{0};  ///< source samples
  uint64_t timecodeDstNext = ~uint64_t{0};   ///< target samples; of the next sample out
  uint64_t frameCount = 0;                   ///< blocks given to a converter
  callbacks_t callbacks;
};

}  // namespace qvs
