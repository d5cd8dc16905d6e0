#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "audio/IAudioEncoder.h"
#include "frames/AudioFrameEncoded.h"
#include "frames/AudioSampleBuffer.h"

namespace qvs::test {

/// Sound of one channel set: interleaved samples with their format.
struct AudioClip {
  uint32_t sampleRate = 48000;
  uint32_t channels = 2;
  std::vector<int16_t> samples;

  size_t length() const { return samples.size() / channels; }
  int16_t at(size_t index, uint32_t channel = 0) const { return samples[index * channels + channel]; }
};

/// `wave(index, channel)` in -1 to 1 for `length` samples a channel.
AudioClip makeClip(uint32_t sampleRate, uint32_t channels, size_t length,
                   const std::function<double(size_t, uint32_t)>& wave);

/// A chirp per channel, loud enough that a codec's noise is far below it.
AudioClip makeSweep(uint32_t sampleRate, uint32_t channels, size_t length);

/// Silence but for a short pulse in all channels at sample `at`.
AudioClip makeClick(uint32_t sampleRate, uint32_t channels, size_t length, size_t at);

/// `count` samples of `sound` from `from` on as a block with that timecode; the caller owns it.
AudioSampleBuffer* makeBlock(const AudioClip& clip, size_t from, size_t count, uint64_t timecode);

/// One coded frame, bytes owned.
struct Unit {
  std::vector<uint8_t> bytes;
  uint64_t timecode = 0;
  uint32_t channels = 0;
  uint32_t sampleRate = 0;

  bool operator==(const Unit&) const = default;
};

/// Copies the frames and frees their blocks.
std::vector<Unit> takeUnits(std::vector<AudioFrameEncoded>& frames);

/// The encoder's headers; their blocks stay its own.
std::vector<Unit> headersOf(IAudioEncoder& encoder);

/// All of `sound` through the encoder in blocks of the sizes given in turn, timecodes from `start` on.
std::vector<Unit> encodeAll(IAudioEncoder& encoder, const AudioClip& clip,
                            const std::vector<size_t>& blockSizes, uint64_t start = 0);

/// All bytes behind each other.
std::vector<uint8_t> joined(const std::vector<Unit>& units);

/// What the ffmpeg command makes of the bytes of a file with that ending (aac, ogg). `start` is the time of its
/// first packet, in samples.
AudioClip decodeFile(const std::vector<uint8_t>& bytes, const std::string& ending, int64_t* start = nullptr);

/// Signal to noise in dB of `decoded` against `sound`, samples `from` to `to` of all channels.
double snrDb(const AudioClip& clip, const AudioClip& decoded, size_t from, size_t to);

/// Index of the largest magnitude in channel 0.
size_t peakOf(const AudioClip& clip);

}  // namespace qvs::test
