// Which stage serves what a host asks for, on a machine that has it and on one that doesn't.

#include <gtest/gtest.h>

#include "session/StageSelection.h"
#include "video/decoders/hosts/VideoDecoderPluginHost.h"
#include "video/decoders/VideoDecoderVPX.h"
#include "video/encoders/hosts/VideoEncoderPluginHost.h"

namespace qvs {
namespace {

using Machine = HardwareAvailability;

/// A stage that needs all `bits` of a word of the machine.
struct Choice {
  uint32_t codec, implementation;
  uint32_t Machine::*word;
  uint32_t bits;
  const char* className;
  const char* logText;
  PluginPath path = PluginPath::kNative;
};

/// Every choice is taken with its bits, and falls back to the codec's default when one of them is missing.
template <typename Select, size_t kCount>
void expectChoices(const Choice (&choices)[kCount], Select select) {
  for (const Choice& choice : choices) {
    SCOPED_TRACE(choice.logText);
    Machine machine;
    machine.*choice.word = choice.bits;
    const auto* row = select(choice.codec, choice.implementation, machine);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->className, std::string(choice.className));
    EXPECT_EQ(row->logTextOf(9), choice.logText);
    EXPECT_EQ(row->path, choice.path);
    const auto* fallback = select(choice.codec, 0, machine);
    EXPECT_NE(fallback, row);
    for (uint32_t bit = 1; bit != 0; bit <<= 1) {
      if ((choice.bits & bit) == 0) continue;
      machine.*choice.word = choice.bits == ~0u ? 0 : ~bit;
      EXPECT_EQ(select(choice.codec, choice.implementation, machine), fallback) << bit;
    }
  }
}

TEST(StageSelection, ChoosesVideoDecoders) {
  constexpr Choice kChoices[] = {
      {7, 1, &Machine::quickSyncAvailable, 1, "VideoDecoderH264QuickSyncHost", "H.264: QuickSync",
       PluginPath::kQuickSync},
      {7, 4, &Machine::cudaAvailable, 32, "VideoDecoderGenericNVCUVID", "H.264: NVCUVID[NVDEC]"},
      {7, 3, &Machine::cudaAvailable, 16, "VideoDecoderGenericNVCUVID", "H.264: NVCUVID[NVDEC]"},
      {7, 5, &Machine::u30Available, 1, "VideoDecoderH264U30Host", "H.264: U30"},
      {11, 1, &Machine::quickSyncAvailable, 0x200, "VideoDecoderMP2QuickSyncHost", "MPEG2: QuickSync",
       PluginPath::kQuickSync},
      {12, 4, &Machine::cudaAvailable, 32, "VideoDecoderGenericNVCUVID", "H.265: NVCUVID[NVDEC]"},
      {12, 5, &Machine::u30Available, 1, "VideoDecoderH264U30Host", "H.265: U30"},
  };
  const auto select = [](uint32_t codec, uint32_t implementation, const Machine& machine) {
    return StageSelection::videoDecoder(0, codec, implementation, machine);
  };
  expectChoices(kChoices, select);
  const Machine everything{~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u, ~0u};
  EXPECT_STREQ(select(12, 3, everything)->className, "VideoDecoderH265");
  EXPECT_STREQ(select(12, 1, everything)->className, "VideoDecoderH265");
  EXPECT_STREQ(select(8, 1, everything)->className, "VideoDecoderVPX");
  EXPECT_STREQ(StageSelection::videoDecoder(1, 99, 0, {})->className, "VideoDecoderCapture");
  for (uint32_t unknown : {0u, 1u, 3u, 6u, 13u, 0xFFFFFFFFu})
    EXPECT_EQ(select(unknown, 1, {}), nullptr) << unknown;
}

TEST(StageSelection, ChoosesVideoEncoders) {
  constexpr Choice kChoices[] = {
      {12, 9, &Machine::cudaAvailable, 0x208, "VideoEncoderH26XNVENC12Host", "H.265: NVENC12"},
      {12, 8, &Machine::quickSyncAvailable, 16, "VideoEncoderH265QuickSyncHost", "H.265: QuickSync",
       PluginPath::kQuickSync},
      {12, 11, &Machine::x265Available, ~0u, "VideoEncoderH265X265Host", "H.265: X265"},
      {12, 15, &Machine::advantechVegaAvailable, ~0u, "VideoEncoderH26XAdvantechVegaHost",
       "H.265: AdvantechVega"},
      {12, 16, &Machine::vaapiAvailable, 8, "VideoEncoderH265VAAPIHost", "H.265: VAAPI", PluginPath::kVaapi},
      {12, 18, &Machine::u30Available, 1, "VideoEncoderH265U30Host", "H.265: U30"},
      {8, 12, &Machine::vaapiAvailable, 16, "VideoEncoderVP9VAAPIHost", "VPX[9]: VAAPI", PluginPath::kVaapi},
      {7, 1, &Machine::quickSyncAvailable, 8, "VideoEncoderH264QuickSyncHost", "H.264: QuickSync",
       PluginPath::kQuickSync},
      {7, 6, &Machine::cudaAvailable, 0x202, "VideoEncoderH26XNVENC12Host", "H.264: NVENC12"},
      {7, 10, &Machine::vaapiAvailable, 4, "VideoEncoderH264VAAPIHost", "H.264: VAAPI", PluginPath::kVaapi},
      {7, 7, &Machine::x264Available, ~0u, "VideoEncoderH264X264Host", "H.264: X264"},
      {7, 14, &Machine::advantechVegaAvailable, ~0u, "VideoEncoderH26XAdvantechVegaHost",
       "H.264: AdvantechVega"},
      {7, 17, &Machine::u30Available, 1, "VideoEncoderH265U30Host", "H.264: U30"},
  };
  expectChoices(kChoices, StageSelection::videoEncoder);
  for (uint32_t unknown : {0u, 2u, 10u, 11u, 13u})
    EXPECT_EQ(StageSelection::videoEncoder(unknown, 1, {}), nullptr) << unknown;
}

TEST(StageSelection, TellsQuickSyncHostsHowTheHardwareIsReached) {
  const Machine machine{.quickSyncAvailable = ~0u, .quickSyncHardwareAccess = kHardwareAccessX11};
  for (const auto& [codec, implementation] : {std::pair(7u, 1u), {12u, 8u}}) {
    const auto stage = StageSelection::videoEncoder(codec, implementation, machine)->create(machine);
    const auto* host = dynamic_cast<VideoEncoderPluginHost*>(stage.get());
    ASSERT_NE(host, nullptr) << codec;
    EXPECT_EQ(host->getHardwareAccess(), uint32_t{kHardwareAccessX11});
  }
  for (const uint32_t codec : {7u, 11u}) {
    const auto stage = StageSelection::videoDecoder(0, codec, 1, machine)->create(machine);
    const auto* host = dynamic_cast<VideoDecoderPluginHost*>(stage.get());
    ASSERT_NE(host, nullptr) << codec;
    EXPECT_EQ(host->getHardwareAccess(), uint32_t{kHardwareAccessX11});
    EXPECT_EQ(stage->getCodec(), codec);
  }
}

TEST(StageSelection, ChoosesAudioStages) {
  EXPECT_STREQ(StageSelection::audioDecoder(1, 0, 0)->logText, "Capture: default");
  EXPECT_STREQ(StageSelection::audioDecoder(0, 2, 3)->logText, "MP3: default");
  EXPECT_STREQ(StageSelection::audioDecoder(0, 2, 1)->logText, "MPEG1 Part 1/2: default");
  EXPECT_EQ(StageSelection::audioDecoder(0, 1, 0), nullptr);
  EXPECT_EQ(StageSelection::audioEncoder(7), nullptr);
}

TEST(StageSelection, TellsAClassOfTheMachineBeforeASessionHasTheStage) {
  VideoDecoderRow row{.codec = 8, .implementation = kAnyImplementation};
  row.prepare = [](IVideoDecoder& stage, const HardwareAvailability& machine) {
    stage.setBitDepth(machine.quickSyncHardwareAccess);
  };
  const HardwareAvailability machine{.quickSyncHardwareAccess = 6};
  EXPECT_EQ(row.create(machine), nullptr);
  row.make = [] { return std::unique_ptr<IVideoDecoder>(std::make_unique<VideoDecoderVPX>()); };
  EXPECT_EQ(row.create(machine)->getBitDepth(), 6u);
}

}  // namespace
}  // namespace qvs
