#pragma once

#include <cstdint>

namespace qvs {

/// From a card's counters to the system's time: each is offset once onto the wall clock and then runs free, so that
/// sound and picture stay in step. Time never goes back: where it would, sound and picture are moved on together.
class BlackMagicClock {
 public:
  struct Rate {
    uint32_t rateEnum;  ///< E pictures in D seconds
    uint32_t rateDen;
    bool known() const { return rateEnum != 0 && rateDen != 0; }
    /// Times of pictures by their number.
    uint64_t millisecondsOf(int64_t index) const;
    int64_t indexAt(uint64_t milliseconds) const;
  };

  /// When the offset is taken anew.
  enum class Anchor {
    kNo,
    kIfAstray,  ///< where the card's counter doesn't go on from where it was: a loss of signal isn't seen in the times
    kYes,
  };
  /// The number of the picture that the card counts as `index`.
  int64_t videoIndex(int64_t index, const Rate& rate, uint64_t wallMilliseconds, Anchor anchor);
  int64_t audioSample(int64_t time, uint64_t samplesPerSecond, uint64_t wallMilliseconds, Anchor anchor);
  /// Of the picture that was delivered last, by whomever.
  void setLastVideo(uint64_t milliseconds) {
    lastVideo = milliseconds;
    hasVideo = true;
  }
  uint64_t getLastVideo() const { return lastVideo; }
  bool hasDelivered() const { return hasVideo; }

 private:
  bool isAstray(uint64_t milliseconds, uint64_t wallMilliseconds) const;

  int64_t absTimeAdjVideoFrameIndex = 0;
  int64_t absTimeAdjAudioSampleCount = 0;
  uint64_t lead = 0;       ///< ms that the time is ahead of the wall clock
  uint64_t lastVideo = 0;  ///< ms
  bool hasVideo = false;
};

}  // namespace qvs
