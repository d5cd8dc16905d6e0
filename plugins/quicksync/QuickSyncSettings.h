#pragma once

#include <vpl/mfx.h>

#include <cstdint>
#include <span>
#include <string>

#include "EncoderSession.h"
#include "KeyTable.h"
#include "MfxSession.h"

namespace qvs::plugins {

/// What tells one encoder library from another.
struct QuickSyncCodec {
  const char* name;    ///< "H.264"
  mfxU32 id;           ///< MFX_CODEC_
  mfxU16 idrInterval;  ///< of the runtime's counting, for which each I picture of its grid is an IDR picture
  uint8_t sequenceUnit;   ///< type of the NAL unit that begins a key frame's parameter sets
  uint8_t unitTypeShift;  ///< of the type in the unit's first byte
  uint8_t unitTypeMask;
};
extern const QuickSyncCodec kQuickSyncH264;
extern const QuickSyncCodec kQuickSyncH265;

/// What the keys of an encoder set.
struct QuickSyncEncoderSettings : MfxPatience {
  int64_t asyncDepth = 1;
  int64_t rateControl = 1;
  int64_t maxBitRate = 0;
  int64_t bufferLength = 1000;
  int64_t qpI = 24;
  int64_t qpP = 26;
  int64_t qpB = 28;
  int64_t quality = 25;
  int64_t keyFrameInterval = 250;
  int64_t bPictures = 0;
  int64_t references = 0;
  int64_t targetUsage = 4;
  int64_t profile = 0;
  int64_t level = 0;
  int64_t lowPower = 0;
  int64_t slices = 0;
  int64_t lookAhead = 0;
  int64_t colorPrimaries = 2;
  int64_t transfer = 2;
  int64_t matrix = 2;
  int64_t fullRange = 0;
};

std::span<const KeyRow<QuickSyncEncoderSettings>> quickSyncEncoderKeys();

/// The parameters of a running encoder with the records that hang on them: not to be copied.
class QuickSyncParameters {
 public:
  QuickSyncParameters() = default;
  QuickSyncParameters(const QuickSyncParameters&) = delete;
  QuickSyncParameters& operator=(const QuickSyncParameters&) = delete;

  void fill(const QuickSyncCodec& codec, const CommonSettings& common,
            const QuickSyncEncoderSettings& settings);
  void setBitRate(uint32_t bitsPerSecond, const QuickSyncEncoderSettings& settings);

  /// For a change while running: whether coding goes on in the sequence or begins a new one.
  void attachReset(bool newSequence);
  void detachReset();

  /// Bytes that the largest coded picture may take.
  uint32_t largestCoded() const;
  /// Pictures by which coding runs ahead of showing.
  uint32_t reordering() const;
  bool hasBitRate() const;
  /// Of 90 kHz.
  mfxU64 ticksPerPicture() const;
  bool looksAhead() const { return video.mfx.RateControlMethod == MFX_RATECONTROL_LA; }

  mfxVideoParam video{};

 private:
  void fillRateControl(const CommonSettings& common, const QuickSyncEncoderSettings& settings);
  void fillPicture(const CommonSettings& common);

  mfxExtCodingOption option{};
  mfxExtCodingOption2 option2{};
  mfxExtVideoSignalInfo color{};
  mfxExtEncoderResetOption resetOption{};
  mfxExtBuffer* attached[4] = {};
};

}  // namespace qvs::plugins
