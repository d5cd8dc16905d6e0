#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qvs::test {

struct AudioPacket {
  std::vector<uint8_t> bytes;
  double timecodeMs = 0;  ///< as the container has it; may be below 0 where it tells of a lead-in
};

/// The first sound of a media file, coded, by libavformat.
struct AudioFile {
  std::string codec;            ///< libavcodec's name of it, "" where the file holds no sound
  std::vector<uint8_t> config;  ///< the codec's configuration as containers keep it
  uint32_t sampleRate = 0;      ///< Hz
  uint32_t channels = 0;
  uint32_t leadIn = 0;  ///< samples at the start that a player drops
  std::vector<AudioPacket> packets;
};

/// A file that can't be read gives an empty record.
AudioFile readAudioFile(const std::string& path);

/// The first sound as interleaved 16-bit samples by the ffmpeg command, with `inputOptions` before the
/// input. Empty where it gives none.
std::vector<int16_t> decodeWithFfmpeg(const std::string& path, const std::string& inputOptions = "");

/// Signal to noise in dB of `samples` against `reference` over their common length; 200 where they are equal.
double snrDb(std::span<const int16_t> reference, std::span<const int16_t> samples);

/// The folder with real media and a "/" behind it; "" where the environment names none.
std::string mediaFolder();

}  // namespace qvs::test
