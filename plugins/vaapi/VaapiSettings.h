#pragma once

#include <cstdint>

#include "KeyTable.h"

namespace qvs::vaapi {

/// What the keys of the VA-API plug-ins set; the defaults are the members'.
struct VaapiSettings {
  enum RateControl : int64_t { kBitRate = 0, kConstantRate = 1, kConstantQp = 2, kVariableRate = 3 };
  static constexpr int64_t kUnspecified = 2;  ///< of the colour description

  int64_t profile = 0;
  int64_t level = 0;
  int64_t rateControl = kBitRate;
  int64_t qp = 0;
  int64_t keyFrameInterval = 250;
  int64_t colorPrimaries = kUnspecified;
  int64_t colorTransfer = kUnspecified;
  int64_t colorMatrix = kUnspecified;
  int64_t fullRange = -1;
  int64_t targetPercentage = 80;
  int64_t bufferMilliseconds = 1000;
  int64_t asyncDepth = 1;
  int64_t syncTimeout = 500;
  int64_t lowPower = -1;
  int64_t packedHeaders = 1;
  int64_t quality = 0;
  int64_t minQp = 0;
  int64_t maxQp = 0;
};

using VaapiKey = plugins::KeyRow<VaapiSettings>;

// What the software encoders have as well has the last two digits of their numbers.
// clang-format off
constexpr VaapiKey kVaapiKeys[] = {
    {110002, "profile", &VaapiSettings::profile, 0, 3, "of H.264: 0 the highest that the driver has, 1 constrained baseline, 2 main, 3 high"},
    {110003, "level", &VaapiSettings::level, 0, 62, "ten times the level, 0 as size and rate need; not of VP9"},
    {110004, "rateControl", &VaapiSettings::rateControl, 0, 3, "0 bit rate: variable where the driver has it, else constant; 1 constant rate, 2 constant quantizer, 3 variable rate"},
    {110006, "qp", &VaapiSettings::qp, 0, 255, "of the constant quantizer, to 51, VP9 to 255; 0 26, VP9 80"},
    {110009, "keyFrameInterval", &VaapiSettings::keyFrameInterval, 1, 1e6, "most pictures from key frame to key frame, where they don't follow requests alone"},
    {110021, "colorPrimaries", &VaapiSettings::colorPrimaries, 0, 12, "told in packed headers, by the numbers of H.264; 2 nothing, 1 BT.709"},
    {110022, "colorTransfer", &VaapiSettings::colorTransfer, 0, 18, "the same of the transfer curve; 2 nothing, 1 BT.709"},
    {110023, "colorMatrix", &VaapiSettings::colorMatrix, 0, 14, "the same of the matrix; 2 nothing, 1 BT.709"},
    {110024, "fullRange", &VaapiSettings::fullRange, -1, 1, "-1 nothing is told, 0 narrow, 1 full; samples are never converted"},
    {110030, "targetPercentage", &VaapiSettings::targetPercentage, 10, 100, "of a variable rate: the bit rate as a share of the largest"},
    {110031, "bufferMilliseconds", &VaapiSettings::bufferMilliseconds, 100, 10000, "the decoder's buffer, at the largest rate"},
    {110032, "asyncDepth", &VaapiSettings::asyncDepth, 1, 16, "pictures in the card at once; coded pictures come out that many less one later"},
    {110033, "syncTimeout", &VaapiSettings::syncTimeout, 1, 10000, "milliseconds of a wait for a coded picture; the third in vain is a failure"},
    {110034, "lowPower", &VaapiSettings::lowPower, -1, 1, "the low-power encoder: -1 where the driver has no other, 0 never, 1 only"},
    {110035, "packedHeaders", &VaapiSettings::packedHeaders, 0, 1, "1 the driver gets the headers that it takes, 0 it writes all itself"},
    {110036, "quality", &VaapiSettings::quality, 0, 100, "the driver's quality level, 1 the best; 0 as the driver has it"},
    {110037, "minQp", &VaapiSettings::minQp, 0, 255, "least quantizer under a rate control, 0 as the driver has it"},
    {110038, "maxQp", &VaapiSettings::maxQp, 0, 255, "largest quantizer under a rate control, 0 as the driver has it"},
};
// clang-format on

}  // namespace qvs::vaapi
