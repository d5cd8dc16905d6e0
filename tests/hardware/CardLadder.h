#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "hardware/HardwareInspector.h"
#include "session/TranscoderSession.h"
#include "support/EncodedUnit.h"

namespace qvs::test {

/// A coded H.264 stream of the moving test picture.
struct CardStream {
  std::vector<uint8_t> headers;
  std::vector<std::vector<uint8_t>> packets;
};
CardStream makeCardStream(uint32_t width, uint32_t height, uint32_t frames);

struct CardRung {
  uint32_t width, height;
  uint32_t implementation = 17;
  uint32_t codec = 7;
};

enum class Fate { kEncode, kSkip, kDrop };

/// A session with decoder, scaler and encoders of the card, driven as a server does it.
class CardLadder : public TranscoderSession {
 public:
  /// `fourcc` "YV12": pictures pass through host memory; "HN12": they stay on the card.
  CardLadder(uint32_t fourcc, std::vector<CardRung> rungs);

  bool start(const CardStream& stream, uint32_t width, uint32_t height);
  /// One packet and what comes of it; false where something failed.
  bool feed(const std::vector<uint8_t>& packet, uint64_t timecode);
  /// What is still in the scaler.
  bool finish();
  bool replace(uint32_t rung, uint32_t implementation);
  void forget();  ///< the units so far

  const std::vector<EncodedUnit>& units(size_t rung) const { return kept[rung]; }

  std::function<Fate(uint32_t rung)> fateOf = [](uint32_t) { return Fate::kEncode; };
  /// Behind the scaler, with the pool entry of each rung.
  std::function<void(const VideoFrameBuffer& source, const std::vector<uint32_t>& targets)> look;
  bool dropsDecoded = false;  ///< pictures go no further than the decoder

 private:
  class Cards : public HardwareInspector {
   public:
    explicit Cards(const char* folder);
  };
  bool scale(uint32_t source);
  bool addEncoder(int32_t slot, const CardRung& rung);

  uint32_t fourcc;
  std::vector<CardRung> rungs;
  std::vector<std::vector<EncodedUnit>> kept;
};

}  // namespace qvs::test
