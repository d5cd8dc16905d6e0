// Times of a card's pictures and sound.
#include "capture/decklink/BlackMagicClock.h"

namespace qvs {

namespace {
constexpr uint64_t kAstrayMs = 500;
}

uint64_t BlackMagicClock::Rate::millisecondsOf(int64_t index) const {
  if (index < 0) return 0;
  const auto number = static_cast<uint64_t>(index);
  const uint64_t perTurn = uint64_t{rateDen} * 1000;  // of as many pictures as the rate's numerator
  return number / rateEnum * perTurn + number % rateEnum * perTurn / rateEnum;
}

int64_t BlackMagicClock::Rate::indexAt(uint64_t milliseconds) const {
  const uint64_t perTurn = uint64_t{rateDen} * 1000;
  return static_cast<int64_t>(milliseconds / perTurn * rateEnum +
                              milliseconds % perTurn * rateEnum / perTurn);
}

bool BlackMagicClock::isAstray(uint64_t milliseconds, uint64_t wallMilliseconds) const {
  const uint64_t apart =
      milliseconds > wallMilliseconds ? milliseconds - wallMilliseconds : wallMilliseconds - milliseconds;
  return apart > kAstrayMs;
}

int64_t BlackMagicClock::videoIndex(int64_t index, const Rate& rate, uint64_t wallMilliseconds,
                                    Anchor anchor) {
  const int64_t running = index + absTimeAdjVideoFrameIndex;
  const uint64_t then = rate.millisecondsOf(running);
  const bool goesOn = !hasVideo || then > lastVideo;
  if (anchor == Anchor::kNo && goesOn) return running;
  if (anchor == Anchor::kIfAstray && hasVideo && goesOn && !isAstray(then, wallMilliseconds)) return running;
  int64_t wall = rate.indexAt(wallMilliseconds);
  if (hasVideo && rate.millisecondsOf(wall) <= lastVideo) {
    wall = rate.indexAt(lastVideo);
    while (rate.millisecondsOf(wall) <= lastVideo) ++wall;
  }
  const uint64_t chosen = rate.millisecondsOf(wall);
  lead = chosen > wallMilliseconds ? chosen - wallMilliseconds : 0;
  absTimeAdjVideoFrameIndex = wall - index;
  return wall;
}

int64_t BlackMagicClock::audioSample(int64_t time, uint64_t samplesPerSecond, uint64_t wallMilliseconds,
                                     Anchor anchor) {
  const int64_t running = time + absTimeAdjAudioSampleCount;
  const uint64_t then = running > 0 ? static_cast<uint64_t>(running) * 1000 / samplesPerSecond : 0;
  if (anchor == Anchor::kYes || (anchor == Anchor::kIfAstray && isAstray(then, wallMilliseconds + lead))) {
    absTimeAdjAudioSampleCount =
        static_cast<int64_t>(samplesPerSecond * (wallMilliseconds + lead) / 1000) - time;
  }
  return time + absTimeAdjAudioSampleCount;
}

}  // namespace qvs
