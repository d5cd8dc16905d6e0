#include "support/AudioDecoderRun.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "contract/StageIds.h"
#include "session/StageSelection.h"

namespace qvs::test {

std::unique_ptr<IAudioDecoder> makeAudioDecoder(const std::string& codec) {
  static const std::map<std::string, uint32_t> kIds = {
      {"mp1", kAudioCodecMPEG},     {"mp2", kAudioCodecMPEG},      {"mp3", kAudioCodecMPEG},
      {"aac", kAudioCodecAAC},      {"pcm_alaw", kAudioCodecALaw}, {"pcm_mulaw", kAudioCodecMULaw},
      {"speex", kAudioCodecSpeex},  {"vorbis", kAudioCodecVorbis}, {"opus", kAudioCodecOpus},
      {"pcm_s16le", kAudioCodecPCM}};
  const auto id = kIds.find(codec);
  if (id == kIds.end()) return nullptr;
  const AudioDecoderRow* row = StageSelection::audioDecoder(0, id->second, 0);
  return row != nullptr && row->make != nullptr ? row->make() : nullptr;
}

AudioDecoderRun::AudioDecoderRun(std::unique_ptr<IAudioDecoder> decoder) : stage(std::move(decoder)) {}

bool AudioDecoderRun::open(const AudioFile& file) {
  stage->setDecodeParameters(0);
  if (stage->initialize() != 0) return false;
  auto config = file.config;
  if (!config.empty() &&
      stage->decodeCodecConfig(config.data(), 0, static_cast<uint32_t>(config.size())) != 0)
    return false;
  std::vector<uint8_t> first(stage->getDecodeFrameHeaderSize());
  if (file.codec == "pcm_alaw" || file.codec == "pcm_mulaw") {
    const auto put = [&](uint32_t value) {
      for (int shift = 24; shift >= 0; shift -= 8) first.push_back(static_cast<uint8_t>(value >> shift));
    };
    first.push_back(0);
    put(file.sampleRate);
    put(file.channels);
  } else if (!file.packets.empty()) {
    first.insert(first.end(), file.packets[0].bytes.begin(), file.packets[0].bytes.end());
  }
  if (stage->decodeFirstFrame(first.data(), 0, static_cast<uint32_t>(first.size())) != 0) return false;
  return stage->isFirstFrameDecoded() && out.allocBuffer(stage->getSamplesPerFrame(), stage->getChannels(),
                                                         static_cast<uint32_t>(stage->getSampleRate())) == 0;
}

uint32_t AudioDecoderRun::feed(std::span<const uint8_t> packet, uint64_t timecodeMs) {
  const uint32_t room = stage->getDecodeFrameHeaderSize();
  std::vector<uint8_t> bytes(room + packet.size());
  std::copy(packet.begin(), packet.end(), bytes.begin() + room);
  out.setSampleCount(0);
  const uint32_t result =
      stage->decodeFrame(bytes.data(), 0, static_cast<uint32_t>(bytes.size()), timecodeMs, out);
  const uint32_t count = result == 0 ? out.getSampleCount() : 0;
  const auto* begin = reinterpret_cast<const int16_t*>(out.getBuffer());
  samples.insert(samples.end(), begin, begin + size_t{count} * stage->getDecodedChannels());
  counts.push_back(count);
  codes.push_back(out.getTimecode());
  results.push_back(result);
  return result;
}

void AudioDecoderRun::feedAll(const AudioFile& file) {
  for (const auto& packet : file.packets) {
    feed(packet.bytes, static_cast<uint64_t>(std::llround(std::max(0.0, packet.timecodeMs))));
  }
}

}  // namespace qvs::test
