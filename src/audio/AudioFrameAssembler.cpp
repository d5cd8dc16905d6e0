// Cutting blocks of any length into codec frames without copying what lies in one block.
#include "audio/AudioFrameAssembler.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace qvs {

namespace {

constexpr size_t kBytesPerSample = 2;

uint32_t samplesLeft(const AudioSampleBuffer& block) {
  return block.getSampleCount() - block.getSampleIndex();
}

}  // namespace

void AudioFrameAssembler::open(uint32_t samples, uint32_t channelCount, uint32_t rate) {
  close();
  gathered = std::make_unique<uint8_t[]>(size_t{samples} * channelCount * kBytesPerSample);
  frameSamples = samples;
  channels = channelCount;
  sampleRate = rate;
}

void AudioFrameAssembler::close() {
  blocks.clear();
  waiting = 0;
  gathered.reset();
}

void AudioFrameAssembler::add(std::unique_ptr<AudioSampleBuffer> block) {
  const uint32_t count = samplesLeft(*block);
  blocks.push(std::move(block));
  waiting += count;  // only once the queue has it
}

bool AudioFrameAssembler::next(Frame& frame) {
  dropSpent();
  if (!isOpen() || waiting < frameSamples) return false;
  AudioSampleBuffer& first = *blocks.front();
  const uint32_t index = first.getSampleIndex();
  frame.timecode = first.getTimecode() + index;
  if (samplesLeft(first) >= frameSamples) {
    frame.samples = first.getBuffer() + size_t{index} * channels * kBytesPerSample;
    first.incSampleIndex(frameSamples);
  } else {
    gather();
    frame.samples = gathered.get();
  }
  waiting -= frameSamples;
  return true;
}

void AudioFrameAssembler::dropSpent() {
  while (!blocks.empty() && samplesLeft(*blocks.front()) == 0) blocks.pop();
}

void AudioFrameAssembler::gather() {
  const size_t sampleBytes = channels * kBytesPerSample;
  for (uint32_t filled = 0; filled < frameSamples; dropSpent()) {
    AudioSampleBuffer& block = *blocks.front();
    const uint32_t count = std::min(samplesLeft(block), frameSamples - filled);
    std::memcpy(gathered.get() + filled * sampleBytes,
                block.getBuffer() + block.getSampleIndex() * sampleBytes, count * sampleBytes);
    block.incSampleIndex(count);
    filled += count;
  }
}

}  // namespace qvs
