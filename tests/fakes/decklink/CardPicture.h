#pragma once

#include <cstdint>
#include <vector>

#include "fakes/decklink/CardScript.h"

namespace qvs::fakes::card {

/// What the fake card shows: in the upper left the picture's number as kBits blocks from its lowest bit on, white or
/// black; the left half in one color, the right half in another, whose U and V all differ; a white bar that moves.
class CardPicture {
 public:
  static constexpr int kBits = 16, kBlockWidth = 24, kBlockHeight = 32, kBarWidth = 24;

  static long rowBytes(uint32_t format, long width);
  void paint(const CardMode& mode, uint32_t format, uint64_t number, std::vector<uint8_t>& out);

 private:
  void colorRow(const CardMode& mode);
  void bar(long width, uint64_t number, int field);
  void pack(const CardMode& mode, uint32_t format, uint8_t* row) const;

  std::vector<uint16_t> y, u, v;  ///< a row of 4:2:2 in 10 bits
};

/// Sound of a picture's time: on channel c a tone of 300 + 100 c Hz, and at each 25th picture 1 kHz on all, louder.
/// 16 or 32 bits a sample.
void fillSound(uint64_t first, uint32_t samples, uint32_t channels, uint32_t bits, bool beep,
               std::vector<uint8_t>& out);

/// A line of the vertical blanking as it lies in memory, with the packets of the picture that belong there.
class CardBlanking {
 public:
  static constexpr uint32_t kCaptionLine = 11, kSpliceLine = 12, kBadLine = 13;
  std::vector<uint8_t> line(const CardMode& mode, uint64_t number, uint32_t lineNumber) const;
  bool splice = false;
  bool bad = false;
};

}  // namespace qvs::fakes::card
