#pragma once

#include <array>
#include <memory>
#include <vector>

#include "audio/AudioDecoderBase.h"

namespace qvs {

class VorbisSynthesis;

/// Vorbis by libvorbis. The configuration holds the three header packets: a byte that is not read, the
/// lengths of the first two, then the packets. A length is one byte, or Xiph lacing where the packets begin
/// behind one.
///
/// The first packet gives no audio; each later one gives what overlaps with the packet before. Channels leave
/// in the order of their mask's bits; of four the rear pair comes behind the front pair.
class AudioDecoderVorbis : public AudioDecoderBase {
 public:
  AudioDecoderVorbis();
  ~AudioDecoderVorbis() override;

  uint32_t initialize() override;

  /// A configuration that is refused leaves the one before at work; the same one again changes nothing.
  uint32_t decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) override;
  uint32_t decodeFirstFrame(uint8_t* buffer, uint32_t offset, uint32_t len) override;

  /// A block that is too small for the packet grows.
  uint32_t decodeFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                       AudioSampleBuffer& out) override;
  uint32_t close() override;
  uint32_t getSamplesPerFrame() override { return 1024; }

 private:
  uint32_t takeHeaders(uint8_t* headers, const std::array<uint32_t, 3>& lengths);
  void refuse(const std::string& text) const;

  std::unique_ptr<VorbisSynthesis> synthesis;  ///< null until a configuration has been taken
  std::vector<uint8_t> config;                 ///< that `synthesis` was made from
};

}  // namespace qvs
