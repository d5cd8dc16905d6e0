#pragma once

#include <cstring>
#include <vector>

#include "audio/AudioResampler.h"
#include "frames/AudioSampleBuffer.h"
#include "log/LogCollector.h"

namespace qvs::test {

/// A block that holds `samples`, interleaved, as its first sample of all at `timecode`.
inline void fillBlock(AudioSampleBuffer& block, const int16_t* samples, uint32_t count, uint32_t channels,
                      uint32_t rate, uint64_t timecode) {
  const uint32_t bytes = count * channels * 2;
  if (block.getBuffer() == nullptr || block.getLen() < bytes) block.allocBuffer(count, channels, rate);
  block.setSampleCount(count);
  block.setChannels(channels);
  block.setSampleRate(rate);
  block.setTimecode(timecode);
  if (block.getBuffer() != nullptr && bytes != 0) std::memcpy(block.getBuffer(), samples, bytes);
}

inline std::vector<int16_t> samplesOf(const AudioSampleBuffer& block) {
  const auto* first = reinterpret_cast<const int16_t*>(block.getBuffer());
  return {first, first + size_t{block.getSampleCount()} * block.getChannels()};
}

inline void setTarget(AudioResampler& resampler, uint32_t rate, uint32_t channels, uint32_t mask = 0) {
  resampler.setTargetSampleRate(rate);
  resampler.setTargetChannels(channels);
  resampler.setTargetChannelMask(mask);
}

inline std::vector<std::string> linesOf(LogCollector& log) {
  std::vector<LogStatement> statements;
  log.getLogStatements(statements);
  std::vector<std::string> lines;
  for (const LogStatement& line : statements) lines.push_back(line.str);
  return lines;
}

}  // namespace qvs::test
