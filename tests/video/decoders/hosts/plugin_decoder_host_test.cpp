// The driver of decoder plug-ins against a plug-in of the test's own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "contract/DecodeFlags.h"
#include "contract/StageIds.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "log/LogCollector.h"
#include "platform/SharedLibrary.h"
#include "support/AllocationCounter.h"
#include "video/decoders/hosts/VideoDecoderPluginHost.h"

namespace qvs::test {
namespace {

constexpr PluginDecoderRow kRow{"TestDecoder", "TestDecoder::decode", kVideoCodecH264,
                                "/test-plugin-decoder.so", "/test-plugin-decoder-bare.so"};
constexpr uint32_t kFail = 0xFFFFFFFFu;

class PluginDecoder : public testing::Test {
 protected:
  PluginDecoder() {
    host.setLogger(&log);
    host.setNativePath(folder.data());
    host.setFourcc(kFourCCYV12);
  }

  std::vector<std::string> lines() {
    std::vector<LogStatement> statements;
    log.getLogStatements(statements);
    std::vector<std::string> texts;
    for (const LogStatement& statement : statements)
      texts.push_back(std::to_string(statement.level) + ' ' + statement.str);
    return texts;
  }

  void open(uint8_t width, uint8_t height) {
    ASSERT_EQ(host.createDone(), 0u);
    uint8_t record[] = {0, width, height};
    EXPECT_EQ(host.decodeCodecConfig(record, 1, 2), 0u);
    lines();
  }

  std::string folder = QVS_TEST_PLUGIN_DIR;
  LogCollector log;
  VideoDecoderPluginHost host{kRow};
  uint8_t unit[4] = {9, 81, 82, 83};
};

TEST_F(PluginDecoder, WritesItsPictureIntoATargetOfOddSize) {
  open(35, 17);
  EXPECT_EQ(host.getFrameRate(), 12.5);
  EXPECT_EQ(host.addFrame(unit, 1, 3, 1764000000000, 1), 0u);
  EXPECT_EQ(host.isFrameDone(), 0);
  uint32_t flags = 0;
  EXPECT_EQ(host.decode(&flags), 0u);
  EXPECT_EQ(flags, DecodeFlagInputDone | DecodeFlagFrameAvailable);
  uint32_t size[4] = {};
  EXPECT_EQ(host.getDecodedFrameSize(&size[0], &size[1], &size[2], &size[3]), 0u);
  EXPECT_THAT(size, testing::ElementsAre(35, 17, 35, 16));
  VideoFrameBuffer target;
  target.allocBuffer(35, 17, kFourCCYV12, 1);
  EXPECT_EQ(host.getDecodedFrame(target), 0u);
  EXPECT_EQ(target.getPlane(0)[35 * 17 - 1], 81);
  EXPECT_EQ(target.getPlane(1)[18 * 9 - 1], 82) << "V comes first";
  EXPECT_EQ(target.getPlane(2)[18 * 9 - 1], 83);
  EXPECT_EQ(target.getTimecode(), 1764000000000u);
  EXPECT_EQ(target.getFrameType(), 2u);
  EXPECT_EQ(target.getFlags(), 2u);
  EXPECT_EQ(target.getDisplayHeight(), 16);
  EXPECT_TRUE(target.isLocationSystemMemory());
}

TEST_F(PluginDecoder, RefusesATargetThatThePictureDoesNotFit) {
  open(64, 48);
  host.addFrame(unit, 1, 3, 0, 1);
  for (const auto& [width, height, fourcc] : {std::tuple(64u, 46u, kFourCCYV12),
                                              {62u, 48u, kFourCCYV12},
                                              {64u, 48u, kFourCCI420},
                                              {64u, 48u, kFourCCBGRA}}) {
    VideoFrameBuffer target;
    target.allocBuffer(width, height, fourcc, 1);
    EXPECT_EQ(host.getDecodedFrame(target), kFail) << width << 'x' << height;
    EXPECT_EQ(target.getPlane(0)[0], 0);
  }
  VideoFrameBuffer empty;
  EXPECT_EQ(host.getDecodedFrame(empty), kFail);
  EXPECT_EQ(
      lines()[0],
      "4 TestDecoder.getDecodedFrame[{context}]: A frame of 64x46 in 0x32315659 can't take the plug-in's "
      "picture of 64x48 in 0x32315659");
}

TEST_F(PluginDecoder, TellsStatusesInWords) {
  ASSERT_EQ(host.createDone(), 0u);
  lines();
  EXPECT_EQ(host.decodeCodecConfig(unit, 0, 1), 27u);
  EXPECT_EQ(host.addFrame(unit, 0, 1, 0, 1), static_cast<uint32_t>(-10));
  EXPECT_THAT(lines(), testing::ElementsAre(
                           "3 TestDecoder[{context}]: QuickSync: Decoder header parse error",
                           "3 TestDecoder[{context}]: two bytes are wanted",
                           "3 TestDecoder[{context}]: QuickSync: Unknown error: -10 [MFX_ERR_MORE_DATA]",
                           "3 TestDecoder[{context}]: two bytes are wanted"));
}

TEST_F(PluginDecoder, EndsAStreamByKey) {
  open(64, 48);
  uint32_t flags = 0;
  host.decode(&flags);
  EXPECT_EQ(flags & DecodeFlagFlushed, 0u);
  host.setParameterValue(VideoDecoderPluginHost::kKeyEndOfStream, int64_t{1});
  host.addFrame(unit, 1, 3, 0, 1);
  host.decode(&flags);
  EXPECT_EQ(flags & DecodeFlagFlushed, 0u) << "input is left";
  host.decode(&flags);
  EXPECT_EQ(flags & DecodeFlagFlushed, DecodeFlagFlushed);
}

TEST_F(PluginDecoder, DoesNothingWithoutALibraryOrAnEntryPoint) {
  uint32_t flags = 77, major = 0, minor = 0;
  EXPECT_TRUE(VideoDecoderPluginHost::isAvailable(kRow, folder, 2, &log, &major, &minor));
  EXPECT_EQ(std::pair(major, minor), std::pair(2u, 9u));
  host.setHardwareAccess(kHardwareAccessX11);
  open(64, 48);
  EXPECT_EQ(host.decode(&flags), 0u) << "it lacks decode2";
  EXPECT_EQ(host.decode(&flags, 1), 0u);
  EXPECT_EQ(flags, 77u);
  EXPECT_EQ(host.initialize(), 0u);
  folder += "/none";
  host.setNativePath(folder.data());
  EXPECT_EQ(host.createDone(), kFail);
  EXPECT_EQ(lines(),
            std::vector<std::string>{"3 TestDecoder.createDone[{context}]: Loading shared library FAILED: " +
                                     folder + kRow.libraryX11});
  VideoFrameBuffer target;
  EXPECT_EQ(host.getDecodedFrame(target), 0u);
  EXPECT_EQ(host.addFrame(unit, 0, 3, 0, 1), 0u);
  EXPECT_EQ(host.getFrameWidth(), 0u);
}

TEST_F(PluginDecoder, GivesUpAPluginThatHangsAndGoesOnWithoutIt) {
  SharedLibrary plugin;
  ASSERT_TRUE(plugin.open(folder + kRow.library, SharedLibrary::kLazy))
      << "it stays while a call hangs in it";
  const auto hangAt = plugin.symbol<void (*)(int)>("hangAt");
  const auto destroyed = plugin.symbol<int (*)()>("sessionsDestroyed");
  PluginDecoderRow row = kRow;
  row.openingDeadline = 500;
  const char* const operations[] = {"", "createDone", "addFrame", "decode", "getDecodedFrame"};
  for (int call = 1; call <= 4; ++call) {
    VideoFrameBuffer target;
    target.allocBuffer(64, 48, kFourCCYV12, 1);
    const uint8_t* const before = target.getPlane(0);
    const uint32_t abandoned = PluginThread::abandonedCalls();
    const int gone = destroyed();
    uint32_t flags = 0;
    {
      VideoDecoderPluginHost hung(row);
      hung.setLogger(&log);
      hung.setNativePath(folder.data());
      hung.setFourcc(kFourCCYV12);
      if (call == 1) hangAt(call);
      EXPECT_EQ(hung.createDone(), call == 1 ? kFail : 0u);
      uint8_t record[] = {64, 48};
      hung.decodeCodecConfig(record, 0, 2);
      if (call > 2) hung.addFrame(unit, 1, 3, 0, 1);
      hangAt(call);
      // Last, so that a busy machine can't make an honest call too slow.
      hung.setParameterValue(VideoDecoderPluginHost::kKeyCallDeadline, int64_t{500});
      if (call == 2) hung.addFrame(unit, 1, 3, 0, 1);
      if (call == 3) hung.decode(&flags);
      EXPECT_EQ(hung.getDecodedFrame(target), kFail) << operations[call];
      EXPECT_EQ(hung.decode(&flags), kFail) << operations[call];
      EXPECT_EQ(PluginThread::abandonedCalls(), abandoned + 1) << operations[call];
      EXPECT_EQ(target.getPlane(0) != before, call == 4) << "what it may write to is no pool's any more";
      EXPECT_THAT(lines(), testing::Contains(testing::HasSubstr(std::string(operations[call]) +
                                                                "[{context}]: The plug-in did not return")));
    }
    hangAt(0);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (destroyed() == gone && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    EXPECT_EQ(destroyed(), gone + 1) << "its session ends when the call comes back";
  }
}

TEST_F(PluginDecoder, DecodesTheSameOnAThreadAndAllocatesNothing) {
  open(64, 48);
  host.setParameterValue(VideoDecoderPluginHost::kKeyCallDeadline, int64_t{20000});
  VideoFrameBuffer target;
  target.allocBuffer(64, 48, kFourCCYV12, 1);
  [[maybe_unused]] uint64_t before = 0;
  for (uint64_t i = 0; i < 20; ++i) {
#ifdef QVS_COUNTS_ALLOCATIONS
    if (i == 10) before = allocationsSoFar();
#endif
    unit[1] = static_cast<uint8_t>(i);
    EXPECT_EQ(host.addFrame(unit, 1, 3, i * 40, 1), 0u);
    uint32_t flags = 0;
    EXPECT_EQ(host.decode(&flags), 0u);
    EXPECT_EQ(flags, DecodeFlagInputDone | DecodeFlagFrameAvailable);
    EXPECT_EQ(host.getDecodedFrame(target), 0u);
    EXPECT_EQ(target.getPlane(0)[64 * 48 - 1], i);
    EXPECT_EQ(target.getTimecode(), i * 40);
  }
#ifdef QVS_COUNTS_ALLOCATIONS
  EXPECT_EQ(allocationsSoFar(), before);
#endif
}

}  // namespace
}  // namespace qvs::test
