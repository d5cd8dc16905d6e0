#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "contract/StageIds.h"
#include "frames/geometry/FourCC.h"
#include "session/TranscoderSession.h"
#include "support/DecodedPicture.h"
#include "support/EncodedUnit.h"

namespace qvs::test {

using ParameterValues = std::vector<std::pair<uint32_t, int64_t>>;  ///< keys and values

/// One rung of a ladder: an encoder with the fastest settings on one thread, and its pool.
struct RungSetup {
  uint32_t width = 32;
  uint32_t height = 32;
  uint32_t bitrate = 2'000'000;  ///< bits per second
  uint32_t codec = kVideoCodecVPX;
  uint32_t codecVersion = 8;
  uint32_t fitMode = 3;
  double frameRate = 25;
  uint32_t fourcc = kFourCCYV12;
  bool asynchronous = false;
  ParameterValues parameters = {};  ///< on top of the fast ones
};

struct SessionSetup {
  uint32_t codec = kVideoCodecVPX;  ///< of the input
  uint32_t codecVersion = 8;
  uint32_t fourcc = kFourCCYV12;  ///< of decoded frames
  std::span<uint8_t> config = {};
  uint32_t poolSize = 2;  ///< frames of each pool
  uint64_t scalerFlags = 0;
  std::vector<RungSetup> rungs = {};
  ParameterValues decoderParameters = {};
  int32_t captureDevice = -1;  ///< reads this device, whatever is fed, instead of a stream
  /// Where coded units go; without one they are kept.
  std::function<void(uint32_t rung, const VideoFrameEncoded& unit)> sink = {};
  /// Before a rung's parameters are applied.
  std::function<void(TranscoderSession& session, uint32_t rung)> tune = {};
};

/// Keys for a decoder that works on its caller's thread alone.
ParameterValues oneThreadDecoding(uint32_t codec);

/// What came of one packet.
struct Step {
  bool failed = false;       ///< some operation gave something else than 0
  bool picture = false;      ///< a decoded picture came
  uint64_t timecode = 0;     ///< of that picture
  uint32_t packetCount = 0;  ///< coded units of all rungs
  DecodedPicture decoded;    ///< only when pictures are kept
};

enum class OnFailure {
  kThrow,  ///< std::runtime_error with the operation's name
  kGoOn,   ///< as a server does: what was taken is given back whatever happened in between
};

/// Drives a whole session, wiring and frames, by the calls that a server makes and in their order. Once wired it
/// allocates one block a packet, and what is kept; the session allocates one a coded unit.
class SessionDriver {
 public:
  /// Wires the session. A server gives up at the first operation that fails: see `isOpen`.
  explicit SessionDriver(SessionSetup setup, OnFailure onFailure = OnFailure::kThrow);
  ~SessionDriver();
  SessionDriver(const SessionDriver&) = delete;
  SessionDriver& operator=(const SessionDriver&) = delete;

  bool isOpen() const { return open; }

  /// Decodes one packet into a frame of the pool and keeps it. False when it gave no picture; the frame then goes
  /// back.
  bool decode(std::span<const uint8_t> packet, uint64_t timecode, uint32_t frameType = 0);

  /// Transfers the picture that `decode` kept into all rungs, encodes each, and gives all frames back.
  /// `frameType` 1 asks for a key frame.
  void encode(uint32_t frameType = 0);

  /// `decode`, then `encode` where there is a picture.
  Step feed(std::span<const uint8_t> packet, uint64_t timecode, uint32_t frameType = 2);

  /// From now on units are taken when the next picture is ready instead of at once, so that asynchronous encoders
  /// work while that picture is decoded. `finish` takes the last ones.
  void decodeAhead() { ahead = true; }
  void finish();

  void keepPictures(bool keep) { picturesKept = keep; }

  /// Units that a rung has given so far, in order.
  const std::vector<EncodedUnit>& units(size_t rung) const { return kept[rung]; }
  uint64_t packetCount() const { return packets; }  ///< coded packets in and out so far

  /// The picture that `decode` kept, or null.
  VideoFrameBuffer* decodedFrame();
  void releaseDecoded();
  uint32_t decodedFrameIndex() const { return decodedIndex; }
  uint64_t decodedTimecode() const { return timecodeOfDecoded; }
  const TranscoderVideoDecoderFrameInfo& frameInfo() const { return info; }

  TranscoderSession& session() { return transcoder; }

  /// The texts of all log lines since the last call.
  std::vector<std::string> takeLog();

 private:
  bool wire();
  bool wireDecoder();
  bool wireRung(const RungSetup& rung);
  void takeUnits(uint32_t rung);
  /// Whether an operation gave 0.
  bool did(uint32_t status, const char* operation);

  const SessionSetup setup;
  const OnFailure onFailure;
  TranscoderSession transcoder;
  bool open = false;
  bool failed = false;  ///< since the last packet
  bool ahead = false;
  bool picturesKept = false;
  bool holdsPicture = false;
  uint32_t decodedIndex = 0;
  uint64_t timecodeOfDecoded = 0;
  uint64_t packets = 0;
  TranscoderVideoDecoderFrameInfo info;
  std::vector<uint32_t> targets;  ///< by rung
  EncodedVideoUnits encoded;      ///< this and the next: kept between packets for their storage
  std::vector<VideoFrameAncillaryData> ancillaryData;
  std::vector<std::vector<EncodedUnit>> kept;  ///< by rung
};

/// A running sum over coded units: equal sums for equal bytes. Allocates nothing.
class UnitSum {
 public:
  void add(const VideoFrameEncoded& unit) {
    for (const uint8_t byte : std::span(unit.getBuffer(), unit.getLen())) sum = (sum ^ byte) * 0x100000001B3u;
  }
  uint64_t value() const { return sum; }

 private:
  uint64_t sum = 0xCBF29CE484222325u;
};

}  // namespace qvs::test
