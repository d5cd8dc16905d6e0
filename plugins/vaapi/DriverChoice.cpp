// What the driver offers, held against what is wanted.
#include "DriverChoice.h"

#include <algorithm>
#include <array>
#include <vector>

namespace qvs::vaapi {
namespace {

Outcome chooseProfile(VADisplay display, const VaCodec& codec, int64_t wanted, VAProfile& profile) {
  std::vector<VAProfile> offered(static_cast<size_t>(std::max(vaMaxNumProfiles(display), 0)));
  int count = 0;
  Outcome asked = outcomeOf(vaQueryConfigProfiles(display, offered.data(), &count),
                            QVS_PLUGIN_NO_ENTRY_POINTS, "vaQueryConfigProfiles");
  if (asked.failed()) return asked;
  offered.resize(static_cast<size_t>(count));
  for (VAProfile candidate : codec.profiles(wanted)) {
    if (std::ranges::find(offered, candidate) == offered.end()) continue;
    profile = candidate;
    return {};
  }
  return {QVS_PLUGIN_NO_ENTRY_POINTS, std::string("the driver has no profile of ") + kCodecRow.codecs +
                                          (wanted != 0 ? " as the key profile wants it" : "")};
}

Outcome chooseEntrypoint(VADisplay display, int64_t lowPower, DriverChoice& choice) {
  std::vector<VAEntrypoint> offered(static_cast<size_t>(std::max(vaMaxNumEntrypoints(display), 0)));
  int count = 0;
  Outcome asked = outcomeOf(vaQueryConfigEntrypoints(display, choice.profile, offered.data(), &count),
                            QVS_PLUGIN_NO_ENTRY_POINTS, "vaQueryConfigEntrypoints");
  if (asked.failed()) return asked;
  offered.resize(static_cast<size_t>(count));
  if (offered.empty()) return {QVS_PLUGIN_NO_ENTRY_POINTS, "the driver has no entry points for the profile"};
  const auto has = [&](VAEntrypoint one) { return std::ranges::find(offered, one) != offered.end(); };
  if (lowPower != 1 && has(VAEntrypointEncSlice)) {
    choice.entrypoint = VAEntrypointEncSlice;
  } else if (lowPower != 0 && has(VAEntrypointEncSliceLP)) {
    choice.entrypoint = VAEntrypointEncSliceLP;
  } else {
    return {QVS_PLUGIN_NO_SLICE_ENCODING, lowPower == -1  ? "the driver only decodes the profile"
                                          : lowPower == 0 ? "the driver has only a low-power encoder"
                                                          : "the driver has no low-power encoder"};
  }
  return {};
}

Outcome chooseRate(uint32_t offered, int64_t wanted, uint32_t& rate) {
  struct Row {
    int64_t key;
    uint32_t bit;
    const char* name;
  };
  using S = VaapiSettings;
  static constexpr Row kRows[] = {{S::kVariableRate, VA_RC_VBR, "variable rate"},
                                  {S::kConstantRate, VA_RC_CBR, "constant rate"},
                                  {S::kConstantQp, VA_RC_CQP, "constant quantizer"}};
  const auto has = [&](const Row& row) { return (offered & row.bit) != 0; };
  if (wanted == S::kBitRate) {
    if (!has(kRows[0]) && !has(kRows[1])) {
      return {QVS_PLUGIN_NO_VBR, "the driver offers neither variable nor constant rate"};
    }
    wanted = has(kRows[0]) ? S::kVariableRate : S::kConstantRate;
  }
  const Row& row = *std::ranges::find(kRows, wanted, &Row::key);
  if (!has(row)) return {QVS_PLUGIN_NO_VBR, std::string("the driver doesn't offer ") + row.name};
  rate = row.bit;
  return {};
}

}  // namespace

Outcome chooseDriver(VADisplay display, const VaCodec& codec, const VaapiSettings& settings, uint32_t width,
                     uint32_t height, DriverChoice& choice) {
  Outcome result = chooseProfile(display, codec, settings.profile, choice.profile);
  if (!result.failed()) result = chooseEntrypoint(display, settings.lowPower, choice);
  if (result.failed()) return result;

  enum { kFormat, kRate, kPacked, kDirection, kWidth, kHeight, kQuality, kFeatures, kBlocks, kCount };
  std::array<VAConfigAttrib, kCount> asked{{{VAConfigAttribRTFormat, 0},
                                            {VAConfigAttribRateControl, 0},
                                            {VAConfigAttribEncPackedHeaders, 0},
                                            {VAConfigAttribPredictionDirection, 0},
                                            {VAConfigAttribMaxPictureWidth, 0},
                                            {VAConfigAttribMaxPictureHeight, 0},
                                            {VAConfigAttribEncQualityRange, 0},
                                            {VAConfigAttribEncHEVCFeatures, 0},
                                            {VAConfigAttribEncHEVCBlockSizes, 0}}};
  result = outcomeOf(vaGetConfigAttributes(display, choice.profile, choice.entrypoint, asked.data(), kCount),
                     QVS_PLUGIN_NO_ENTRY_POINTS, "vaGetConfigAttributes");
  if (result.failed()) return result;
  // 0 where the driver doesn't know of the attribute.
  const auto told = [&](int index) {
    const uint32_t value = asked[static_cast<size_t>(index)].value;
    return value == VA_ATTRIB_NOT_SUPPORTED ? 0 : value;
  };
  if ((told(kFormat) & VA_RT_FORMAT_YUV420) == 0) {
    return {QVS_PLUGIN_NO_COLOR_FORMAT, "the driver doesn't encode 4:2:0 of 8 bits"};
  }
  if ((told(kWidth) != 0 && width > told(kWidth)) || (told(kHeight) != 0 && height > told(kHeight))) {
    return {QVS_PLUGIN_CREATE_CONTEXT,
            "the driver encodes up to " + std::to_string(told(kWidth)) + "x" + std::to_string(told(kHeight))};
  }
  choice.takesPacked = asked[kPacked].value != VA_ATTRIB_NOT_SUPPORTED;
  choice.packed = settings.packedHeaders != 0 ? told(kPacked) & codec.packedHeaders() : 0;
  choice.lowDelayB = (told(kDirection) & VA_PREDICTION_DIRECTION_BI_NOT_EMPTY) != 0;
  choice.qualityLevels = told(kQuality);
  choice.hevcFeatures = asked[kFeatures].value;
  choice.hevcBlocks = asked[kBlocks].value;
  return chooseRate(told(kRate), settings.rateControl, choice.rateControl);
}

}  // namespace qvs::vaapi
