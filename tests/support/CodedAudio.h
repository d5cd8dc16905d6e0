#pragma once

#include <cstdint>
#include <vector>

#include "support/AudioFile.h"

namespace qvs::test {

/// Interleaved chords that wander, the same on every run; the channels differ.
std::vector<int16_t> makeSamples(uint32_t sampleRate, uint32_t channels, uint32_t sampleCount);

/// A second of `makeSamples` coded by the codec's own library, in packets of 20 ms (Vorbis: as they come).
/// Channels 1 or 2; 16000 Hz for Speex, 48000 Hz for Opus.
AudioFile makeOpus(uint32_t channels);
AudioFile makeVorbis(uint32_t sampleRate, uint32_t channels);
AudioFile makeSpeex(uint32_t framesPerPacket);

/// The same as samples, at any rate and channel count.
AudioFile makePcm(uint32_t sampleRate, uint32_t channels);
std::vector<uint8_t> makePcmConfig(uint32_t sampleRate, uint32_t channels);

/// By the name that libavcodec has for the codec.
AudioFile makeCodedAudio(const std::string& codec);

/// The Opus configuration of a stream, 19 bytes.
std::vector<uint8_t> makeOpusHead(uint32_t sampleRate, uint32_t channels, int16_t gain = 0);

/// The Speex stream header, 80 bytes. Mode 0 is narrowband, 1 wideband, 2 ultra-wideband.
std::vector<uint8_t> makeSpeexHeader(uint32_t mode, uint32_t sampleRate);

}  // namespace qvs::test
