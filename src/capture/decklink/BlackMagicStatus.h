#pragma once

#include <cstdint>

namespace qvs {

/// What starting, stopping and opening a card can end with; the numbers are the host's.
enum BlackMagicStatus : uint32_t {
  kCardDone = 0,
  kCardAlreadyRuns = 2,
  kCardAlreadyStands = 3,
  kCardNoIterator = 4,
  kCardIteratorFailed = 5,
  kCardNoPointer = 6,
  kCardInactive = 8,
  kCardNotFound = 9,
  kCardNoInput = 10,
  kCardNoCallback = 12,
  kCardNoVideo = 13,
  kCardNoAudio = 14,
  kCardNoStreams = 15,
  kCardNothingEnabled = 16,
  kCardNoNotification = 18,
  kCardNoAttributes = 19,
  kCardNoConfiguration = 20,
};

}  // namespace qvs
