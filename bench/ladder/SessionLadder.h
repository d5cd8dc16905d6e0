#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "frames/VideoFrameEncoded.h"
#include "ladder/IvfStream.h"
#include "ladder/LadderSpec.h"
#include "session/TranscoderSession.h"

namespace qvs::bench {

/// One session that makes the ladder, driven by the calls that a server makes, in their order.
class SessionLadder {
 public:
  /// `outputFolder` empty: packets are counted and dropped. `parallel`: encoders work on threads of their
  /// own.
  SessionLadder(std::span<const Rung> rungs, bool vp9Input, bool parallel, const std::string& outputFolder);

  /// Hands one packet over and takes everything back that comes of it.
  void transcode(std::span<const uint8_t> packet, uint64_t frameNumber);

  uint64_t packetCount() const { return packets; }  ///< coded packets in and out so far

 private:
  void createDecoder(bool vp9Input);
  void addRung(const Rung& rung, bool parallel);
  void encodePicture(uint32_t decoderBuffer, uint64_t frameNumber, uint64_t timecode);
  void takePackets(uint32_t rung);

  TranscoderSession session;
  std::array<IvfSink, kRungs.size()> sinks;  ///< by rung
  std::vector<VideoFrameEncoded> encoded;    ///< kept between frames
  std::vector<VideoFrameAncillaryData> ancillaryData;
  uint64_t packets = 0;
};

}  // namespace qvs::bench
