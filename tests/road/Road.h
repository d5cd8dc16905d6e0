#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "contract/StageIds.h"
#include "road/DirectDecoder.h"
#include "session/TranscoderSession.h"

namespace qvs::test {

using Packet = std::vector<uint8_t>;

/// The bytes of a coded stream of the test picture, key frame first.
std::vector<Packet> makePackets(uint32_t codecVersion, uint32_t width, uint32_t height, uint32_t frames);

struct RoadRung {
  uint32_t width = 32;
  uint32_t height = 32;
};

struct RoadSetup {
  uint32_t codecVersion = 8;  ///< of the input; the rungs are VP8
  std::vector<RoadRung> rungs{{32, 32}};
  uint32_t fitMode = 3;
  uint32_t decoderFrames = 2;
  uint32_t rungFrames = 2;
  bool asynchronous = false;
  uint32_t codec = kVideoCodecVPX;  ///< of the input
};

/// What came of one packet.
struct RoadResult {
  bool failed = false;       ///< some operation gave something else than 0
  bool picture = false;      ///< a decoded picture came
  uint64_t timecode = 0;     ///< of that picture
  uint32_t packetCount = 0;  ///< coded units of all rungs
  DecodedPicture decoded;    ///< only when pictures are kept
};

/// A running sum over bytes: equal sums for equal bytes.
class ByteSum {
 public:
  void add(const uint8_t* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i) sum = (sum ^ bytes[i]) * 0x100000001B3u;
  }
  uint64_t value() const { return sum; }

 private:
  uint64_t sum = 0xCBF29CE484222325u;
};

/// A whole session driven as a server does, by one that goes on after failures: every reference that it took
/// is given back whatever happened in between. Bookkeeping of its own allocates as little as it can, so that
/// a failing allocator mostly meets the library.
class Road {
 public:
  explicit Road(const RoadSetup& setup) : setup(setup) {}

  /// Wires the session; false at the first operation that fails, where a server gives up.
  bool open();
  RoadResult feed(std::span<const uint8_t> packet, uint64_t timecode, uint32_t frameType = 2);

  void keepPictures(bool keep) { picturesKept = keep; }
  uint64_t packetSum() const { return packets.value(); }  ///< over all coded units so far
  TranscoderSession& getSession() { return session; }

 private:
  bool addRung(const RoadRung& rung);
  void takePicture(uint32_t buffer, uint64_t timecode, uint32_t frameType, RoadResult& result);
  void encode(uint32_t buffer, uint64_t timecode, uint32_t frameType, RoadResult& result);
  void takePackets(uint32_t rung, RoadResult& result);

  RoadSetup setup;
  bool picturesKept = false;
  ByteSum packets;
  TranscoderSession session;
};

}  // namespace qvs::test
