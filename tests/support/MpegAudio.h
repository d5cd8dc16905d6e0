#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "log/LogCollector.h"
#include "support/AudioDecoderRun.h"

namespace qvs::test {

/// `makeSamples` coded by libavcodec's `encoder` ("aac", "mp2", "libmp3lame"), a packet a frame. Channels 1 or
/// 2; AAC also 6, 8, and 7, a layout that has no number of its own in the configuration.
AudioFile makeMpegAudio(const std::string& encoder, uint32_t sampleRate, uint32_t channels, uint32_t samples);

/// Packets that carry ADTS headers lose them, and the file gets the configuration that they tell of. Other
/// files stay as they are.
void removeAdtsHeaders(AudioFile& file);

/// One packet of all packets' bytes.
std::vector<uint8_t> joinPackets(const AudioFile& file);

/// A decoder that is open for `file`, its log lines kept.
class MpegAudioRun : public AudioDecoderRun {
 public:
  explicit MpegAudioRun(const AudioFile& file, int64_t scaleChannels = 0);

  /// Log lines since the last call, one a line.
  std::string log();

  bool opened = false;

 private:
  explicit MpegAudioRun(const std::string& codec);

  std::unique_ptr<LogCollector> collector = std::make_unique<LogCollector>();
};

/// Interleaved samples of all packets.
std::vector<int16_t> decodeAudio(const AudioFile& file);

}  // namespace qvs::test
