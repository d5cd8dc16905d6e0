#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "frames/VideoFrameEncoded.h"
#include "ladder/LadderSpec.h"
#include "ladder/PacketSink.h"
#include "session/TranscoderSession.h"

namespace qvs::bench {

/// One session that makes the ladder, driven by the calls that a server makes, in their order.
class SessionLadder {
 public:
  /// `from` and `config`: the input's codec and configuration record. `outputFolder` empty: packets are
  /// counted and dropped. `parallel`: encoders are asynchronous.
  SessionLadder(const LadderSpec& ladder, Codec from, std::span<uint8_t> config, bool parallel,
                const std::string& outputFolder);

  /// Hands one packet over and takes everything back that comes of it.
  void transcode(std::span<const uint8_t> packet, uint64_t frameNumber);

  /// From now on packets are taken when the next picture is ready instead of at once, so that parallel
  /// encoders work while that picture is decoded. `finish` takes the last ones.
  void decodeAhead() { ahead = true; }
  void finish();

  uint64_t packetCount() const { return packets; }  ///< coded packets in and out so far

 private:
  void createDecoder(Codec codec);
  void addRung(const LadderSpec& ladder, const Rung& rung, bool parallel);
  void encodePicture(uint32_t decoderBuffer, uint64_t timecode);
  void takePackets(uint32_t rung);

  TranscoderSession session;
  std::vector<PacketSink> sinks;           ///< by rung
  std::vector<VideoFrameEncoded> encoded;  ///< kept between frames
  std::vector<VideoFrameAncillaryData> ancillaryData;
  uint64_t packets = 0;
  uint64_t pictures = 0;
  bool ahead = false;
};

}  // namespace qvs::bench
