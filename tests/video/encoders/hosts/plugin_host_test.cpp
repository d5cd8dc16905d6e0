// The driver of encoder plug-ins against a plug-in of the test's own.
#include "video/encoders/hosts/VideoEncoderPluginHost.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

#include "contract/StageIds.h"
#include "frames/EncodedUnits.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "frames/VideoFrameBufferAllocator.h"
#include "log/LogCollector.h"
#include "plugin/QuickSyncHostUtils.h"
#include "support/AllocationCounter.h"

namespace qvs::test {
namespace {

constexpr PluginEncoderRow kRow{"TestHost",          "TestHost::addFrame", kVideoCodecH264,
                                "/" QVS_TEST_PLUGIN, "Shared: ",           "X264: Unknown error."};
constexpr uint32_t kKeyFault = 1, kKeyLive = 2, kKeyLetGo = 3, kKeyHangCreate = 4;
enum Fault : int64_t {
  kNone,
  kDelay,
  kCount,
  kNull,
  kStatus,
  kSize,
  kRepeat,
  kHangAdd,
  kHangInitialize,
  kHangDestroy,
  kEndless
};
constexpr uint32_t kFail = 0xFFFFFFFFu;
constexpr int64_t kDeadline = 60;  // milliseconds

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

  void set(uint32_t key, int64_t value) { EXPECT_EQ(host.setParameterValue(key, value), 0u) << key; }

  size_t take(uint32_t result = 0) {
    EncodedVideoUnits units;
    EXPECT_EQ(host.getEncodedFrames(units.list()), result);
    return units.size();
  }

  /// Lets a hung call return, and waits until its session is gone; `others` sessions stay.
  void letGo(int64_t others) {
    VideoEncoderPluginHost other(kRow);
    other.setNativePath(folder.data());
    other.createDone();
    other.setParameterValue(kKeyLetGo, int64_t{1});
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    int64_t live = 0;
    do {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      other.getParameterValue(kKeyLive, &live);
    } while (live > others + 1 && std::chrono::steady_clock::now() < end);
    EXPECT_EQ(live, others + 1) << "and the other's own";
  }

  std::string folder = QVS_TEST_PLUGIN_DIR;
  LogCollector log;
  VideoEncoderPluginHost host{kRow};
  VideoFrameBuffer picture;
};

TEST_F(PluginHost, HandsOverThePictureAndTakesTheBytes) {
  uint32_t major = 0, minor = 0;
  EXPECT_TRUE(VideoEncoderPluginHost::isAvailable(kRow, folder, 0, &log, &major, &minor));
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
  EXPECT_EQ(lines().size(), 1u);
  uint64_t time = 0;
  const auto framesWith = [&](Fault fault, uint32_t result) {
    host.setParameterValue(kKeyFault, int64_t{fault});
    EXPECT_EQ(host.addFrame(picture, 2, time += 40), result) << fault;
    EncodedVideoUnits units;
    host.getEncodedFrames(units.list());
    return units.size();
  };
  EXPECT_EQ(framesWith(kDelay, 0), 0u);
  EXPECT_TRUE(lines().empty());
  EXPECT_EQ(framesWith(kCount, 0), 20u);
  EXPECT_EQ(framesWith(kNull, 0), 1u);
  EXPECT_EQ(lines().size(), 2u) << "a line for each lie";
  EXPECT_EQ(framesWith(kSize, 0), 1u) << "a frame past the end of its memory is dropped";
  EXPECT_EQ(framesWith(kRepeat, 0), 2u);
  EXPECT_EQ(lines().size(), 2u);
  EXPECT_EQ(framesWith(kStatus, 22), 0u);
  EXPECT_EQ(lines(), (std::vector<std::string>{"3 TestHost[{context}]: Shared: Init encoder failed.",
                                               "3 TestHost[{context}]: a picture of mud"}));
  EXPECT_EQ(framesWith(kNone, 0), 2u);
  VideoFrameBuffer other;
  EXPECT_EQ(host.addFrame(other, 1, 0), kFail) << "a frame without memory";
  other.allocBuffer(64, 32, kFourCCI420, 1);
  EXPECT_EQ(host.addFrame(other, 1, 0), kFail) << "its planes are in another order";
}

TEST_F(PluginHost, TellsStatusesOfQuickSyncByTheirNames) {
  const auto text = [](int32_t status) {
    std::ostringstream out;
    QuickSyncHostUtils::resultToString(status, out);
    return out.str();
  };
  EXPECT_EQ(text(23), "Allocate buffer failed.");
  EXPECT_EQ(text(24), "Decoder creation failed");
  EXPECT_EQ(text(31), "Unknown error: 31");
  EXPECT_EQ(text(-4), "Unknown error: -4 [MFX_ERR_MEMORY_ALLOC]");
  EXPECT_EQ(text(-21), "Unknown error: -21 [MFX_ERR_GPU_HANG]");
  EXPECT_EQ(text(-10000), "Unknown error: -10000");
}

TEST_F(PluginHost, DrainsWhatIsHeldBack) {
  open();
  set(kKeyFault, kDelay);
  for (int i = 0; i < 12; ++i) host.addFrame(picture, 1, 0);
  EXPECT_EQ(take(), 0u);
  set(VideoEncoderPluginHost::kKeyFlush, 1);
  EXPECT_EQ(take(), 24u) << "in more than one call";
  set(kKeyFault, kEndless);
  EXPECT_EQ(host.setParameterValue(VideoEncoderPluginHost::kKeyFlush, int64_t{1}), kFail);
  EXPECT_EQ(take(), 256u);
}

TEST_F(PluginHost, EncodesBesideItsCaller) {
  open();
  const auto pool = std::make_shared<VideoFrameBufferAllocator>();
  auto frame = std::make_shared<VideoFrameBuffer>();
  frame->allocBuffer(64, 32, kFourCCYV12, 1);
  pool->addFrameBuffer(frame);
  set(VideoEncoderPluginHost::kKeyAsynchronous, 1);
  for (uint64_t i = 0; i < 200; ++i) {
    auto allocation = pool->allocate();
    ASSERT_TRUE(allocation) << i;
    EXPECT_EQ(host.addFrame(**allocation, 1, i * 40), 0u);
    allocation.reset();
    EXPECT_FALSE(pool->allocate()) << "it is the encoder's";
    EXPECT_EQ(take(), 2u);
  }
  EXPECT_EQ(host.addFrame(picture, 1, 8000), 0u) << "outside a pool: done when it returns";
  EXPECT_EQ(take(), 2u);
  set(kKeyFault, kStatus);
  EXPECT_EQ(host.addFrame(*frame, 1, 8040), 0u);
  EXPECT_EQ(take(22), 0u) << "told by the next call";
  EXPECT_EQ(host.addFrame(*frame, 1, 8040), 0u);
  EXPECT_EQ(host.addFrame(*frame, 1, 8080), 22u) << "and this picture was not taken";
  set(kKeyFault, kNone);
  EXPECT_EQ(host.addFrame(*frame, 1, 8080), 0u);
  EXPECT_EQ(host.getEncodedFrameCount(), 404u);
  EXPECT_EQ(take(), 2u);
  set(VideoEncoderPluginHost::kKeyAsynchronous, 0);
  EXPECT_EQ(host.addFrame(picture, 1, 8120), 0u);
  EXPECT_EQ(take(), 2u);
}

#ifdef QVS_COUNTS_ALLOCATIONS
TEST_F(PluginHost, AllocatesNothingForAPicture) {
  open();
  for (const bool threaded : {false, true}) {
    set(VideoEncoderPluginHost::kKeyCallDeadline, threaded ? 10000 : 0);
    uint64_t before = 0;
    std::vector<VideoFrameEncoded> units;
    for (uint64_t i = 0; i < 60; ++i) {
      if (i == 10) before = allocationsSoFar();
      EXPECT_EQ(host.addFrame(picture, 1, i * 40), 0u);
      EXPECT_EQ(host.getEncodedFrames(units), 0u);
      for (const VideoFrameEncoded& unit : units) std::free(unit.getBuffer());
      units.clear();
    }
    EXPECT_EQ(allocationsSoFar() - before, 100u) << "the coded frames themselves";
  }
}
#endif

TEST_F(PluginHost, GivesUpAPluginThatHangs) {
  for (const bool asynchronous : {false, true}) {
    open();
    set(VideoEncoderPluginHost::kKeyAsynchronous, asynchronous);
    const uint32_t abandoned = PluginThread::abandonedCalls();
    EXPECT_EQ(host.addFrame(picture, 1, 0), 0u);
    set(kKeyFault, kHangAdd);
    // Last, so that a busy machine can't make an honest call too slow.
    set(VideoEncoderPluginHost::kKeyCallDeadline, kDeadline);
    lines();
    const uint8_t* before = picture.getPlane(0);
    EXPECT_EQ(host.addFrame(picture, 1, 40), kFail) << "outside a pool it is waited for";
    EXPECT_EQ(PluginThread::abandonedCalls(), abandoned + 1);
    EXPECT_EQ(lines(), (std::vector<std::string>{"4 TestHost.addFrame[{context}]: The plug-in did not return "
                                                 "within 60 ms: it is left to its thread, and this encoder "
                                                 "is given up"}));
    EXPECT_NE(picture.getPlane(0), before) << "what it may read stays as it is";
    EXPECT_EQ(picture.getPlane(0)[0], 77);
    EXPECT_EQ(take(), 2u) << "those of the first picture";
    EXPECT_EQ(take(kFail), 0u);
    EXPECT_EQ(host.updateBitrate(1), kFail);
    EXPECT_EQ(host.addFrame(picture, 1, 80), kFail);
    letGo(0);
    set(VideoEncoderPluginHost::kKeyCallDeadline, 0);
  }
}

TEST_F(PluginHost, GivesUpAPluginThatHangsBesideIt) {
  const auto pool = std::make_shared<VideoFrameBufferAllocator>();
  auto frame = std::make_shared<VideoFrameBuffer>();
  frame->allocBuffer(64, 32, kFourCCYV12, 1);
  pool->addFrameBuffer(frame);
  open();
  set(VideoEncoderPluginHost::kKeyAsynchronous, 1);
  set(kKeyFault, kHangAdd);
  set(VideoEncoderPluginHost::kKeyCallDeadline, kDeadline);
  EXPECT_EQ(host.addFrame(**pool->allocate(), 1, 40), 0u);
  EXPECT_FALSE(pool->allocate());
  EXPECT_EQ(take(kFail), 0u);
  EXPECT_TRUE(pool->allocate()) << "its pool has it back, with other storage";
  letGo(0);
}

TEST_F(PluginHost, GivesUpAPluginThatHangsAtItsStartOrEnd) {
  ASSERT_EQ(host.createDone(), 0u);
  set(kKeyFault, kHangInitialize);
  set(VideoEncoderPluginHost::kKeyCallDeadline, kDeadline);
  EXPECT_EQ(host.initialize(), kFail);
  EXPECT_EQ(host.setFrameSize(1, 1), kFail);
  letGo(0);
  const auto start = std::chrono::steady_clock::now();
  {
    VideoEncoderPluginHost other(kRow);
    other.setLogger(&log);
    other.setNativePath(folder.data());
    ASSERT_EQ(other.createDone(), 0u);
    other.setParameterValue(kKeyFault, int64_t{kHangDestroy});
    other.setParameterValue(VideoEncoderPluginHost::kKeyCallDeadline, kDeadline);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  letGo(0);
  {
    VideoEncoderPluginHost keeper(kRow);  // the library stays
    keeper.setNativePath(folder.data());
    ASSERT_EQ(keeper.createDone(), 0u);
    keeper.setParameterValue(kKeyHangCreate, int64_t{1});
    PluginEncoderRow row = kRow;
    row.openingDeadline = kDeadline;
    VideoEncoderPluginHost hung(row);
    hung.setLogger(&log);
    hung.setNativePath(folder.data());
    EXPECT_EQ(hung.createDone(), kFail);
    EXPECT_EQ(hung.initialize(), kFail);
    keeper.setParameterValue(kKeyHangCreate, int64_t{0});
    letGo(1);
  }
  EXPECT_EQ(host.createDone(), 0u) << "a plug-in loaded anew serves again";
  EXPECT_EQ(host.setFrameSize(64, 32), 0u);
}

TEST_F(PluginHost, WithoutALibraryOrAnEntryPointNothingHappens) {
  EXPECT_EQ(host.setGPUID(1), 0u);
  EXPECT_EQ(host.addFrame(picture, 1, 0), 0u);
  folder += "/none";
  host.setNativePath(folder.data());
  EXPECT_FALSE(VideoEncoderPluginHost::isAvailable(kRow, folder, 0, &log, nullptr, nullptr));
  EXPECT_TRUE(lines().empty());
  EXPECT_EQ(host.createDone(), 0xFFFFFFFFu);
  EXPECT_EQ(lines(),
            (std::vector<std::string>{"3 TestHost.createDone[{context}]: Loading shared library FAILED: " +
                                      folder + kRow.library}));
  EXPECT_EQ(host.initialize(), 0u);
  EXPECT_EQ(host.addFrame(picture, 1, 0), 0u);
  EXPECT_EQ(host.getEncodedFrameCount(), 0u);
  for (const size_t length : {511u, 512u, 5000u}) {
    std::string near(length, 'x');
    host.setNativePath(near.data());
    EXPECT_EQ(host.createDone(), kFail);
  }
  const auto junk = std::filesystem::path(testing::TempDir()) / "no-library";
  std::filesystem::create_directories(junk);
  std::ofstream(junk / QVS_TEST_PLUGIN) << "#!/bin/sh\n";
  folder = junk;
  host.setNativePath(folder.data());
  EXPECT_EQ(host.createDone(), kFail);
  EXPECT_EQ(host.addFrame(picture, 1, 0), 0u);
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
