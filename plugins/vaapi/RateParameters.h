#pragma once

#include <va/va.h>

#include <cstddef>
#include <cstdint>

#include "VaapiSettings.h"
#include "VaCodec.h"

namespace qvs::vaapi {

/// The driver's records of rate control: bit rate, decoder's buffer, rate of pictures, quality.
class RateParameters {
 public:
  void begin(const VaapiSettings& settings, uint32_t rateControl, plugins::FrameRate frameRate,
             uint32_t qualityLevels);
  void setBitRate(uint32_t bitsPerSecond);
  void add(ParameterList& out) const;

  bool isControlled() const { return controlled; }

  /// Bits per second that the stream may reach.
  uint32_t highest() const { return rate.record.bits_per_second; }

 private:
  /// libva's record ends in an array of no length, behind which the real one stands.
  template <typename Record>
  struct Extended {
    VAEncMiscParameterType type;
    Record record;
  };

  bool controlled = false;  ///< not a constant QP
  bool withQuality = false;
  uint32_t percentage = 100;
  uint64_t bufferMilliseconds = 1000;
  Extended<VAEncMiscParameterRateControl> rate{};
  Extended<VAEncMiscParameterHRD> buffer{};
  Extended<VAEncMiscParameterFrameRate> pictures{};
  Extended<VAEncMiscParameterBufferQualityLevel> quality{};
  static_assert(offsetof(Extended<VAEncMiscParameterHRD>, record) ==
                offsetof(VAEncMiscParameterBuffer, data));
};

}  // namespace qvs::vaapi
