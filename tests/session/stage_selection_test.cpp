#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "session/StageSelection.h"
#include "video/decoders/VideoDecoderVPX.h"

namespace qvs {
namespace {

/// What a machine has, and what a host asks of it.
struct Choice {
  uint32_t codec;
  uint32_t implementation;
  HardwareAvailability machine;
  std::string className;
  std::string logText;
};

HardwareAvailability cuda(uint32_t word) {
  return {.cudaAvailable = word};
}
HardwareAvailability quickSync(uint32_t word) {
  return {.quickSyncAvailable = word};
}
HardwareAvailability vaapi(uint32_t word) {
  return {.vaapiAvailable = word};
}
HardwareAvailability u30(uint32_t word) {
  return {.u30Available = word};
}

TEST(StageSelection, ChoosesVideoDecoders) {
  const Choice choices[] = {
      {2, 9, {}, "VideoDecoderMP4", "SorensonSpark: default"},
      {7, 1, quickSync(1), "VideoDecoderH264QuickSyncHost", "H.264: QuickSync"},
      {7, 1, quickSync(0xFFFFFFFE), "VideoDecoderH264", "H.264: default"},
      {7, 4, cuda(32), "VideoDecoderGenericNVCUVID", "H.264: NVCUVID[NVDEC]"},
      {7, 4, cuda(16), "VideoDecoderH264", "H.264: default"},
      {7, 3, cuda(16), "VideoDecoderGenericNVCUVID", "H.264: NVCUVID[NVDEC]"},
      {7, 3, cuda(32), "VideoDecoderH264", "H.264: default"},
      {7, 5, u30(1), "VideoDecoderH264U30Host", "H.264: U30"},
      {7, 5, {}, "VideoDecoderH264", "H.264: default"},
      {8, 1, quickSync(0xFFFFFFFF), "VideoDecoderVPX", "VPX[9]: default"},
      {9, 0, {}, "VideoDecoderMP4", "H.263: default"},
      {10, 0, {}, "VideoDecoderMP4", "MP4: default"},
      {11, 1, quickSync(0x200), "VideoDecoderMP2QuickSyncHost", "MPEG2: QuickSync"},
      {11, 1, quickSync(1), "VideoDecoderMP2", "MPEG2: default"},
      {12, 4, cuda(32), "VideoDecoderGenericNVCUVID", "H.265: NVCUVID[NVDEC]"},
      {12, 3, cuda(16), "VideoDecoderH265", "H.265: default"},
      {12, 1, quickSync(0xFFFFFFFF), "VideoDecoderH265", "H.265: default"},
      {12, 5, u30(1), "VideoDecoderH264U30Host", "H.265: U30"},
  };
  for (const Choice& choice : choices) {
    const VideoDecoderRow* row =
        StageSelection::videoDecoder(0, choice.codec, choice.implementation, choice.machine);
    ASSERT_NE(row, nullptr) << choice.logText;
    EXPECT_EQ(row->className, choice.className);
    EXPECT_EQ(row->logTextOf(9), choice.logText);
  }
  EXPECT_STREQ(StageSelection::videoDecoder(1, 99, 0, {})->className, "VideoDecoderCapture");
  for (uint32_t unknown : {0u, 1u, 3u, 6u, 13u, 0xFFFFFFFFu}) {
    EXPECT_EQ(StageSelection::videoDecoder(0, unknown, 1, {}), nullptr) << unknown;
  }
}

TEST(StageSelection, ChoosesVideoEncoders) {
  const Choice choices[] = {
      {12, 9, cuda(0x208), "VideoEncoderH26XNVENC12Host", "H.265: NVENC12"},
      {12, 9, cuda(0x202), "VideoEncoderH265MainConceptHost", "H.265: default"},
      {12, 8, quickSync(16), "VideoEncoderH265QuickSyncHost", "H.265: QuickSync"},
      {12, 11, {.x265Available = 2}, "VideoEncoderH265X265Host", "H.265: X265"},
      {12, 15, {.advantechVegaAvailable = 1}, "VideoEncoderH26XAdvantechVegaHost", "H.265: AdvantechVega"},
      {12, 16, vaapi(8), "VideoEncoderH265VAAPIHost", "H.265: VAAPI"},
      {12, 18, u30(1), "VideoEncoderH265U30Host", "H.265: U30"},
      {9, 6, {}, "VideoEncoderH263IPP", "H263: default"},
      {8, 12, vaapi(16), "VideoEncoderVP9VAAPIHost", "VPX[8]: VAAPI"},
      {8, 12, vaapi(4), "VideoEncoderVPX", "VPX[8]: default"},
      {7, 1, quickSync(8), "VideoEncoderH264QuickSyncHost", "H.264: QuickSync"},
      {7, 6, cuda(0x202), "VideoEncoderH26XNVENC12Host", "H.264: NVENC12"},
      {7, 6, cuda(2), "VideoEncoderH264", "H.264: default"},
      {7, 6, cuda(0x200), "VideoEncoderH264", "H.264: default"},
      {7, 10, vaapi(4), "VideoEncoderH264VAAPIHost", "H.264: VAAPI"},
      {7, 7, {.x264Available = 1}, "VideoEncoderH264X264Host", "H.264: X264"},
      {7, 7, {}, "VideoEncoderH264", "H.264: default"},
      {7, 14, {.advantechVegaAvailable = 1}, "VideoEncoderH26XAdvantechVegaHost", "H.264: AdvantechVega"},
      {7, 17, u30(1), "VideoEncoderH265U30Host", "H.264: U30"},
      {7, 17, u30(2), "VideoEncoderH264", "H.264: default"},
  };
  for (const Choice& choice : choices) {
    const VideoEncoderRow* row =
        StageSelection::videoEncoder(choice.codec, choice.implementation, choice.machine);
    ASSERT_NE(row, nullptr) << choice.logText;
    EXPECT_EQ(row->className, choice.className);
    EXPECT_EQ(row->logTextOf(8), choice.logText);
  }
  for (uint32_t unknown : {0u, 2u, 10u, 11u, 13u}) {
    EXPECT_EQ(StageSelection::videoEncoder(unknown, 1, {}), nullptr) << unknown;
  }
}

TEST(StageSelection, LooksForPlugInsWhereTheirKindLies) {
  EXPECT_EQ(StageSelection::videoDecoder(0, 7, 1, quickSync(1))->path, PluginPath::kQuickSync);
  EXPECT_EQ(StageSelection::videoEncoder(12, 8, quickSync(16))->path, PluginPath::kQuickSync);
  EXPECT_EQ(StageSelection::videoEncoder(7, 10, vaapi(4))->path, PluginPath::kVaapi);
  EXPECT_EQ(StageSelection::videoEncoder(7, 6, cuda(0x202))->path, PluginPath::kNative);
}

TEST(StageSelection, ChoosesAudioStages) {
  EXPECT_STREQ(StageSelection::audioDecoder(1, 0, 0)->logText, "Capture: default");
  EXPECT_STREQ(StageSelection::audioDecoder(0, 2, 3)->logText, "MP3: default");
  EXPECT_STREQ(StageSelection::audioDecoder(0, 2, 1)->logText, "MPEG1 Part 1/2: default");
  EXPECT_STREQ(StageSelection::audioDecoder(0, 11, 3)->logText, "SPEEX: default");
  EXPECT_EQ(StageSelection::audioDecoder(0, 1, 0), nullptr);
  EXPECT_STREQ(StageSelection::audioEncoder(12)->className, "AudioEncoderOpus");
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
