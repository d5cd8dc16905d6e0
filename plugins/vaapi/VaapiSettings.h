#pragma once

#include <cstdint>

#include "KeyTable.h"

namespace qvs::vaapi {

/// What the keys of the VA-API plug-ins set; the defaults are the members'.
struct VaapiSettings {
  int64_t rateControl = -1;
  int64_t qp = -1;
  int64_t targetPercentage = 80;
  int64_t bufferMilliseconds = 1000;
  int64_t keyInterval = 250;
  int64_t profile = 0;
  int64_t level = 0;
  int64_t asyncDepth = 1;
  int64_t syncTimeout = 500;
  int64_t lowPower = -1;
  int64_t packedHeaders = 1;
  int64_t quality = 0;
  int64_t minQp = 0;
  int64_t maxQp = 0;
  int64_t fullRange = 1;
};

using VaapiKey = plugins::KeyRow<VaapiSettings>;

constexpr VaapiKey kVaapiKeys[] = {
    {110000, "rateControl", &VaapiSettings::rateControl, -1, 2,
     "-1 variable where the driver has it, else constant; 0 constant QP, 1 constant rate, 2 variable rate"},
    {110001, "qp", &VaapiSettings::qp, -1, 255,
     "the quantizer of constant QP: 0 to 51, VP9 0 to 255; -1 26, VP9 80"},
    {110002, "targetPercentage", &VaapiSettings::targetPercentage, 10, 100,
     "the bit rate as a percentage of the highest, with a variable rate"},
    {110003, "bufferMilliseconds", &VaapiSettings::bufferMilliseconds, 100, 10000,
     "size of the decoder's buffer, at the highest rate"},
    {110004, "keyInterval", &VaapiSettings::keyInterval, 1, 100000,
     "pictures from key frame to key frame; not used where key frames come only when asked for"},
    {110005, "profile", &VaapiSettings::profile, 0, 100,
     "H.264: 66 constrained baseline, 77 main, 100 high; 0 the best that the driver has"},
    {110006, "level", &VaapiSettings::level, 0, 186,
     "as the stream tells it, 41 for H.264's 4.1, 123 for H.265's; 0 by size"},
    {110007, "asyncDepth", &VaapiSettings::asyncDepth, 1, 16,
     "pictures in the card at once; coded pictures come out that many less one later"},
    {110008, "syncTimeout", &VaapiSettings::syncTimeout, 1, 10000,
     "milliseconds of one wait for a coded picture; the third in vain is a failure"},
    {110009, "lowPower", &VaapiSettings::lowPower, -1, 1,
     "the low-power encoder: -1 where the driver has no other, 0 never, 1 only"},
    {110010, "packedHeaders", &VaapiSettings::packedHeaders, 0, 1,
     "1 gives the driver the headers that it takes, 0 none"},
    {110011, "quality", &VaapiSettings::quality, 0, 100,
     "the driver's quality level, 1 the best; 0 the driver's default"},
    {110012, "minQp", &VaapiSettings::minQp, 0, 255, "lowest quantizer of a rate control; 0 the driver's"},
    {110013, "maxQp", &VaapiSettings::maxQp, 0, 255, "highest quantizer of a rate control; 0 the driver's"},
    {110014, "fullRange", &VaapiSettings::fullRange, 0, 1,
     "what packed headers tell of the samples, which are BT.709: 1 full range, 0 studio range"},
};

}  // namespace qvs::vaapi
