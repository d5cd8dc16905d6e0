#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "ladder/LadderSpec.h"
#include "ladder/PacketSink.h"
#include "support/SessionDriver.h"

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

  void decodeAhead() { driver.decodeAhead(); }
  void finish() { driver.finish(); }

  uint64_t packetCount() const { return driver.packetCount(); }  ///< coded packets in and out so far

 private:
  std::vector<PacketSink> sinks;  ///< by rung
  test::SessionDriver driver;
  uint64_t pictures = 0;
};

}  // namespace qvs::bench
