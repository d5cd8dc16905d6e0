#include "AudioBlocks.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <numbers>

#include "support/AudioFile.h"

namespace qvs::test {

AudioClip makeClip(uint32_t sampleRate, uint32_t channels, size_t length,
                   const std::function<double(size_t, uint32_t)>& wave) {
  AudioClip clip{sampleRate, channels, std::vector<int16_t>(length * channels)};
  for (size_t i = 0; i < length; ++i) {
    for (uint32_t channel = 0; channel < channels; ++channel) {
      clip.samples[i * channels + channel] = static_cast<int16_t>(std::lround(32767 * wave(i, channel)));
    }
  }
  return clip;
}

AudioClip makeSweep(uint32_t sampleRate, uint32_t channels, size_t length) {
  const double seconds = static_cast<double>(length) / sampleRate;
  return makeClip(sampleRate, channels, length, [&](size_t i, uint32_t channel) {
    const double t = static_cast<double>(i) / sampleRate;
    const double slope = 0.08 * sampleRate / seconds;
    const double phase = (200.0 + 130.0 * channel) * t + slope * t * t / 2;
    return 0.4 * std::sin(2 * std::numbers::pi * phase);
  });
}

AudioClip makeClick(uint32_t sampleRate, uint32_t channels, size_t length, size_t at) {
  // Half a millisecond wide, so that a codec keeps it.
  const double width = sampleRate / 4000.0;
  return makeClip(sampleRate, channels, length, [&](size_t i, uint32_t) {
    const double x = (static_cast<double>(i) - static_cast<double>(at)) / width;
    return 0.9 * std::exp(-x * x);
  });
}

AudioSampleBuffer* makeBlock(const AudioClip& clip, size_t from, size_t count, uint64_t timecode) {
  auto block = std::make_unique<AudioSampleBuffer>();
  block->allocBuffer(static_cast<uint32_t>(count), clip.channels, clip.sampleRate);
  std::memcpy(block->getBuffer(), clip.samples.data() + from * clip.channels, block->getLen());
  block->setTimecode(timecode);
  return block.release();
}

std::vector<Unit> takeUnits(std::vector<AudioFrameEncoded>& frames) {
  std::vector<Unit> units;
  for (const AudioFrameEncoded& frame : frames) {
    units.push_back({{frame.getBuffer(), frame.getBuffer() + frame.getLen()},
                     frame.getTimecode(),
                     frame.getChannels(),
                     frame.getSampleRate()});
    std::free(frame.getBuffer());
  }
  frames.clear();
  return units;
}

std::vector<Unit> headersOf(IAudioEncoder& encoder) {
  std::vector<AudioFrameEncoded> frames;
  encoder.getHeaders(frames);
  std::vector<Unit> units;
  for (const AudioFrameEncoded& frame : frames) {
    units.push_back({{frame.getBuffer(), frame.getBuffer() + frame.getLen()},
                     frame.getTimecode(),
                     frame.getChannels(),
                     frame.getSampleRate()});
  }
  return units;
}

std::vector<Unit> encodeAll(IAudioEncoder& encoder, const AudioClip& clip,
                            const std::vector<size_t>& blockSizes, uint64_t start) {
  std::vector<AudioFrameEncoded> frames;
  size_t turn = 0;
  for (size_t done = 0; done < clip.length(); ++turn) {
    const size_t count = std::min(blockSizes[turn % blockSizes.size()], clip.length() - done);
    encoder.addSampleBuffer(makeBlock(clip, done, count, start + done), frames);
    done += count;
  }
  return takeUnits(frames);
}

std::vector<uint8_t> joined(const std::vector<Unit>& units) {
  std::vector<uint8_t> bytes;
  for (const Unit& unit : units) bytes.insert(bytes.end(), unit.bytes.begin(), unit.bytes.end());
  return bytes;
}

AudioClip decodeFile(const std::vector<uint8_t>& bytes, const std::string& ending, int64_t* start) {
  const std::string path = testing::TempDir() + "qvs-audio-" + std::to_string(getpid()) + "." + ending;
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  const AudioFile file = readAudioFile(path);
  AudioClip clip{file.sampleRate, file.channels, decodeWithFfmpeg(path)};
  std::remove(path.c_str());
  if (start != nullptr) *start = std::llround(file.packets.at(0).timecodeMs * file.sampleRate / 1000);
  return clip;
}

double snrDb(const AudioClip& clip, const AudioClip& decoded, size_t from, size_t to) {
  const size_t begin = from * clip.channels,
               end = std::min({to, clip.length(), decoded.length()}) * clip.channels;
  return snrDb(std::span(clip.samples).subspan(begin, end - begin),
               std::span(decoded.samples).subspan(begin, end - begin));
}

size_t peakOf(const AudioClip& clip) {
  size_t best = 0;
  for (size_t i = 1; i < clip.length(); ++i) {
    if (std::abs(int{clip.at(i)}) > std::abs(int{clip.at(best)})) best = i;
  }
  return best;
}

}  // namespace qvs::test
