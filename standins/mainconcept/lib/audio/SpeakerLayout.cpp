// Channel layouts and whether libswresample can mix one into another.
#include "audio/SpeakerLayout.h"

#include <mc_audio_converter.h>

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <bit>
#include <iterator>

namespace qvs::mc {

namespace {

constexpr uint32_t kChannelsMax = 16;
constexpr uint32_t kUntoldFrom = 7;  ///< from this count on C alone means that nobody told the layout

struct Speaker {
  uint32_t flag;
  uint64_t bit;
};

// Ascending on both sides, so that channels keep their order. The first pair of surrounds is the engine's
// back pair: in its bits the back pair comes before the side pair, and its 5.1 mixes down alike with either.
constexpr Speaker kSpeakers[] = {
    {CHANNEL_FLAG_L, AV_CH_FRONT_LEFT},   {CHANNEL_FLAG_R, AV_CH_FRONT_RIGHT},
    {CHANNEL_FLAG_C, AV_CH_FRONT_CENTER}, {CHANNEL_FLAG_LFE, AV_CH_LOW_FREQUENCY},
    {CHANNEL_FLAG_Ls, AV_CH_BACK_LEFT},   {CHANNEL_FLAG_Rs, AV_CH_BACK_RIGHT},
    {CHANNEL_FLAG_Lrs, AV_CH_SIDE_LEFT},  {CHANNEL_FLAG_Rrs, AV_CH_SIDE_RIGHT},
};
constexpr uint32_t kKnownFlags = 0xFF;

// By channel count; as `kDefaultMasks` of the resampler where that tells more than C.
constexpr uint64_t kUsual[] = {
    0,
    AV_CH_FRONT_CENTER,
    AV_CH_LAYOUT_STEREO,
    AV_CH_LAYOUT_SURROUND,
    AV_CH_LAYOUT_3POINT1,
    AV_CH_LAYOUT_5POINT0_BACK,
    AV_CH_LAYOUT_5POINT1_BACK,
    AV_CH_LAYOUT_6POINT1,
    AV_CH_LAYOUT_7POINT1,
};

uint64_t speakersOf(uint32_t flags) {
  uint64_t mask = 0;
  for (const Speaker& speaker : kSpeakers) {
    if ((flags & speaker.flag) != 0) mask |= speaker.bit;
  }
  return mask;
}

constexpr uint32_t kPairs[] = {CHANNEL_FLAG_L | CHANNEL_FLAG_R, CHANNEL_FLAG_Ls | CHANNEL_FLAG_Rs,
                               CHANNEL_FLAG_Lrs | CHANNEL_FLAG_Rrs};

// Audio is mixed between rooms that have a front and both speakers of each pair.
bool canBeMixed(uint32_t flags) {
  for (const uint32_t pair : kPairs) {
    if ((flags & pair) != 0 && (flags & pair) != pair) return false;
  }
  return (flags & (CHANNEL_FLAG_L | CHANNEL_FLAG_C)) != 0 && (flags & ~kKnownFlags) == 0;
}

}  // namespace

SpeakerLayout layoutOf(uint32_t channels, uint32_t flags) {
  if (channels == 0 || channels > kChannelsMax) return {};
  const bool untold = channels >= kUntoldFrom && flags == CHANNEL_FLAG_C;
  // A mask for another count tells nothing, as when a stream's count changes: the usual layout it is.
  if (untold || static_cast<uint32_t>(std::popcount(flags)) != channels) {
    if (channels < std::size(kUsual)) return {kUsual[channels], true};
  } else if (canBeMixed(flags)) {
    return {speakersOf(flags), true};
  }
  return {(uint64_t{1} << channels) - 1, false};
}

}  // namespace qvs::mc
