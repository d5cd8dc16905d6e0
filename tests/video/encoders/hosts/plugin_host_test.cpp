// The driver of encoder plug-ins against a plug-in of the test's own.
#include "video/encoders/hosts/VideoEncoderPluginHost.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "contract/StageIds.h"
#include "frames/EncodedUnits.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "log/LogCollector.h"

namespace qvs::test {
namespace {

constexpr PluginEncoderRow kRow{"TestHost",          "TestHost::addFrame", kVideoCodecH264,
                                "/" QVS_TEST_PLUGIN, "Shared: ",           "X264: Unknown error."};
constexpr uint32_t kKeyFault = 1, kKeyLive = 2;
enum Fault : int64_t { kNone, kDelay, kCount, kNull, kStatus };

class PluginHost : public testing::Test {
 protected:
  PluginHost() {
    host.setLogger(&log);
    host.setNativePath(folder.data());
    picture.allocBuffer(64, 32, kFourCCYV12, 1);
    picture.getPlane(0)[0] = 77;
    picture.setFrameType(1);
  }

  std::vector<std::string> lines() {
    std::vector<LogStatement> statements;
    log.getLogStatements(statements);
    std::vector<std::string> texts;
    for (const LogStatement& statement : statements)
      texts.push_back(std::to_string(statement.level) + ' ' + statement.str);
    return texts;
  }

  void open() {
    ASSERT_EQ(host.createDone(), 0u);
    EXPECT_EQ(host.setFrameSize(640, 360), 0u);
    EXPECT_EQ(host.setBitrate(900000), 0u);
    EXPECT_EQ(host.initialize(), 0u);
    lines();
  }

  std::string folder = QVS_TEST_PLUGIN_DIR;
  LogCollector log;
  VideoEncoderPluginHost host{kRow};
  VideoFrameBuffer picture;
};

TEST_F(PluginHost, HandsOverThePictureAndTakesTheBytes) {
  uint32_t major = 0, minor = 0;
  EXPECT_TRUE(VideoEncoderPluginHost::isAvailable(kRow, folder, &log, &major, &minor));
  EXPECT_EQ(std::pair(major, minor), std::pair(3u, 7u));
  open();
  EXPECT_EQ(host.addFrame(picture, 0, 1764000000000), 0u);
  EXPECT_EQ(host.getEncodedFrameCount(), 2u);
  EncodedVideoUnits units;
  EXPECT_EQ(host.getEncodedFrames(units.list()), 0u);
  ASSERT_EQ(units.size(), 2u);
  EXPECT_EQ(host.getEncodedFrameCount(), 2u) << "a total, which taking doesn't lower";
  uint32_t told[8];
  ASSERT_EQ(units[1].getLen(), sizeof told);
  std::memcpy(told, units[1].getBuffer(), sizeof told);
  const uint32_t expected[] = {77, 64, 64, 32, 640, 360, 900000, 20};
  EXPECT_EQ(std::memcmp(told, expected, sizeof told), 0);
  EXPECT_EQ(units[1].getTimecode(), 1764000000001u);
  EXPECT_EQ(units[1].getTimecodeOffset(), -3);
  EXPECT_EQ(units[1].getFrameType(), 1u) << "of the frame, where none is asked for";
}

TEST_F(PluginHost, TellsStatusesAndSurvivesLies) {
  ASSERT_EQ(host.createDone(), 0u);
  lines();
  EXPECT_EQ(host.setFrameSize(0, 360), 0u) << "a refused setting shows in the log alone";
  EXPECT_EQ(host.initialize(), 0u);
  EXPECT_EQ(lines(), (std::vector<std::string>{"3 TestHost[{context}]: Shared: Color format is missing.",
                                               "3 TestHost[{context}]: X264: Unknown error."}));
  EXPECT_EQ(host.setParameterValue(9, int64_t{1}), 5u) << "of a parameter the plug-in's own answer";
  const auto framesWith = [&](Fault fault, uint32_t result) {
    host.setParameterValue(kKeyFault, int64_t{fault});
    EXPECT_EQ(host.addFrame(picture, 2, 40), result) << fault;
    EncodedVideoUnits units;
    host.getEncodedFrames(units.list());
    return units.size();
  };
  EXPECT_EQ(framesWith(kDelay, 0), 0u);
  EXPECT_TRUE(lines().empty());
  EXPECT_EQ(framesWith(kCount, 0), 20u);
  EXPECT_EQ(framesWith(kNull, 0), 1u);
  EXPECT_EQ(lines().size(), 2u) << "a line for each lie";
  EXPECT_EQ(framesWith(kStatus, 22), 0u);
  EXPECT_EQ(framesWith(kNone, 0), 2u);
}

TEST_F(PluginHost, WithoutALibraryOrAnEntryPointNothingHappens) {
  EXPECT_EQ(host.setGPUID(1), 0u);
  EXPECT_EQ(host.addFrame(picture, 1, 0), 0u);
  folder += "/none";
  host.setNativePath(folder.data());
  EXPECT_FALSE(VideoEncoderPluginHost::isAvailable(kRow, folder, &log, nullptr, nullptr));
  EXPECT_TRUE(lines().empty());
  EXPECT_EQ(host.createDone(), 0xFFFFFFFFu);
  EXPECT_EQ(lines(),
            (std::vector<std::string>{"3 TestHost.createDone[{context}]: Loading shared library FAILED: " +
                                      folder + kRow.library}));
  EXPECT_EQ(host.initialize(), 0u);
  EXPECT_EQ(host.addFrame(picture, 1, 0), 0u);
  EXPECT_EQ(host.getEncodedFrameCount(), 0u);
  std::string near(511, 'x');
  host.setNativePath(near.data());
  EXPECT_EQ(host.createDone(), 0xFFFFFFFFu);
}

TEST_F(PluginHost, DestroysItsSession) {
  {
    VideoEncoderPluginHost other(kRow);
    other.setNativePath(folder.data());
    ASSERT_EQ(other.createDone(), 0u);
    ASSERT_EQ(other.createDone(), 0u) << "a second loading replaces the first";
    other.addFrame(picture, 1, 0);  // what nobody fetches is freed
    ASSERT_EQ(host.createDone(), 0u);
    int64_t live = 0;
    EXPECT_EQ(host.getParameterValue(kKeyLive, &live), 0u);
    EXPECT_EQ(live, 2);
  }
  int64_t live = 0;
  host.getParameterValue(kKeyLive, &live);
  EXPECT_EQ(live, 1);
}

}  // namespace
}  // namespace qvs::test
