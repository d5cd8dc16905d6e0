#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "fakes/decklink/CardInterfaces.h"
#include "fakes/support/OpenCounts.h"

// What the fake card is told to do, beside the orders of `FaultScript` that make calls fail by their names. Values:
//
//   mode=Hp25         what comes in: a code of CardMode
//   pace=fast         the next picture as soon as two or fewer are in hand; else by the clock
//   frames=N          so many pictures, then none
//   devices=N         cards that there are (1)
//   captions=TEXT     CEA-608 text in 708 packets, one pair a picture, again and again
//   timecode=off      no timecode
//   format=R12B       the layout that pictures have, whatever was asked for
//   events=WHAT@N,... at picture N, counted from 0:
//     lost back         the signal
//     mode:CODE         another format, told where detection was asked for
//     rgb yuv           another color space, told likewise
//     mute unmute       no sound packets
//     pause:MS          nothing for so long
//     burst:K           K pictures without waiting for anybody
//     skip:K            K picture numbers that never come
//     splice            an SCTE-104 message, half a second ahead
//     bad               a packet whose checksum is wrong
//     unplug plug       the card

namespace qvs::fakes::card {

struct CardMode {
  char code[5];
  const char* name;
  long width;
  long height;
  int64_t duration;
  int64_t scale;
  char dominance[5];
  uint32_t flags;
  bool isNtsc() const { return height == 486; }
};

struct CardEvent {
  std::string what;
  int64_t argument = 0;
  std::string word;  ///< the argument as it stands
  uint64_t at = 0;
};

uint32_t codeOf(const char* text);
const std::vector<CardMode>& cardModes();
const CardMode* findMode(uint32_t code);

/// Grows with each script: events happen once in one.
extern std::atomic<uint64_t> scriptGeneration;

/// The events of the script, in its order.
std::vector<CardEvent> scriptEvents();

/// What the fault script has for a call: an answer other than 0, or late.
Status faultOf(const char* call);
OpenCounts& cardCounts();

}  // namespace qvs::fakes::card
