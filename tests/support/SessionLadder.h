#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "frames/geometry/FourCC.h"
#include "session/TranscoderSession.h"
#include "support/IvfReader.h"

namespace qvs::test {

/// One rendition of a ladder.
struct RenditionSettings {
  uint32_t width = 320;
  uint32_t height = 240;
  uint32_t bitrate = 2000000;  ///< bits per second
  uint32_t fitMode = 3;
  double frameRate = 25;
  uint32_t codecVersion = 8;
  uint32_t fourcc = kFourCCYV12;
  std::vector<std::pair<uint32_t, int64_t>> parameters = {{100033, -8},
                                                          {100100, 1}};  ///< encoder keys and values
};

struct LadderSettings {
  uint32_t codecVersion = 8;
  uint32_t fourcc = kFourCCYV12;  ///< of decoded pictures
  uint32_t poolSize = 3;          ///< frames of each pool
  uint64_t scalerFlags = 0;
  std::vector<RenditionSettings> renditions = {};
};

/// One coded unit that came out of an encoder.
struct EncodedUnit {
  std::vector<uint8_t> bytes;
  uint64_t timecode = 0;
  uint32_t frameType = 0;
};

/// Drives a whole session the way a server does. Operations that must succeed throw std::runtime_error with
/// their name when they don't.
class SessionLadder {
 public:
  explicit SessionLadder(LadderSettings settings);

  /// Decodes one packet into a pool entry and keeps it. False when it gave no picture; the entry then goes
  /// back.
  bool decode(const CodedPacket& packet, uint64_t timecode, uint32_t frameType = 0);

  /// Transfers the picture that `decode` kept into all renditions, encodes each, and gives all frames back.
  /// `frameType` 1 asks for a key frame.
  void encode(uint32_t frameType = 0);

  /// `decode`, then `encode` where there is a picture; timecode as in the packet.
  bool transcode(const CodedPacket& packet);

  /// Units that rendition `index` has given so far, in order.
  const std::vector<EncodedUnit>& units(size_t index) const { return encoded[index]; }

  /// The picture that `decode` kept, or null.
  VideoFrameBuffer* decodedFrame();
  void releaseDecoded();
  uint32_t decodedFrameIndex() const { return decodedIndex; }
  uint32_t decoderStatus() const { return status; }
  const TranscoderVideoDecoderFrameInfo& frameInfo() const { return info; }
  TranscoderSession& session() { return *transcoder; }

  /// All log lines since the last call.
  std::vector<LogStatement> takeLog();

  /// Ends the session as `destroyInstance` does.
  void destroy() { transcoder.reset(); }

 private:
  void setUp();
  void addRendition(const RenditionSettings& rendition);
  void collect(size_t index);

  LadderSettings settings;
  std::unique_ptr<TranscoderSession> transcoder;
  std::vector<std::vector<EncodedUnit>> encoded;
  bool holdsPicture = false;
  uint32_t decodedIndex = 0;
  uint64_t decodedTimecode = 0;
  uint32_t status = 0;
  TranscoderVideoDecoderFrameInfo info;
};

}  // namespace qvs::test
