// Off-line transcoders: which one, what a plug-in is given and believed; FLV frames as Annex B.
#include <gmock/gmock.h>

#include <list>
#include <map>

#include "contract/HardwareInfo.h"
#include "offline/vod/FlvFrame.h"
#include "offline/vod/VODTranscoderPluginHost.h"
#include "session/JNIAllocator.h"
#include "session/TranscoderSession.h"

namespace qvs::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// Arrays of a machine that isn't there.
class ArraysInMemory : public JNIAllocator {
 public:
  ArraysInMemory() : JNIAllocator(nullptr) {}
  void* byteArrayNew(uint32_t size) override { return &arrays.emplace_back(size); }
  uint8_t* byteArrayLock(void* array) override {
    ++locked;
    return static_cast<std::vector<uint8_t>*>(array)->data();
  }
  void byteArrayUnlock(void*, uint8_t*) override { --locked; }

  std::list<std::vector<uint8_t>> arrays;
  int locked = 0;
};

class HostUnderTest : public VODTranscoderVideoNVENCHost {
 public:
  explicit HostUnderTest(const char* path) {
    setJNIAllocator(&allocator);
    setLogger(&log);
    setNativePath(path);
    created = createDone();
  }

  std::string lastLine() {
    std::vector<LogStatement> lines;
    log.getLogStatements(lines);
    return lines.empty() ? "" : lines.back().str;
  }

  ArraysInMemory allocator;
  LogCollector log;
  uint32_t created;
};

std::vector<VideoFrameEncoded> batch(std::vector<std::vector<uint8_t>>& bytes) {
  std::vector<VideoFrameEncoded> frames;
  for (auto& one : bytes) {
    frames.emplace_back(one.data(), static_cast<uint32_t>(one.size()), 40 * frames.size(), 3, 2, false);
    frames.back().setVODPacketsIndex(static_cast<int32_t>(100 + frames.size()));
  }
  return frames;
}

TEST(VODTranscoder, BringsABatchToThePluginAndBack) {
  HostUnderTest host(QVS_TEST_PLUGIN_DIR);
  ASSERT_EQ(host.created, 0u);
  std::vector<std::vector<uint8_t>> bytes(10, {1, 2, 3});
  std::vector<VideoFrameEncoded> out;
  VODTranscoderVideoSettings settings{};
  settings.videoWidth = 120;  // the room for ten frames
  EXPECT_EQ(host.transcode(settings, batch(bytes), out), 0u);
  ASSERT_EQ(out.size(), 11u);
  EXPECT_EQ(out[9].getVODPacketsIndex(), 110);
  EXPECT_EQ(out[9].getTimecode(), 360u);
  EXPECT_EQ(out[9].getTimecodeOffset(), 3);
  EXPECT_THAT(*static_cast<std::vector<uint8_t>*>(out[9].getJBuffer()), ElementsAre(1, 2, 3));
  EXPECT_EQ(host.allocator.locked, 0);

  uint8_t header[] = {9, 8};
  settings.videoHeader = header;
  settings.videoHeaderLen = 2;
  VideoFrameEncoded config;
  EXPECT_EQ(host.getCodecConfig(settings, config), 0u);
  EXPECT_EQ(config.getTimecode(), 77u);
  EXPECT_THAT(*static_cast<std::vector<uint8_t>*>(config.getJBuffer()), ElementsAre(9, 8));
}

TEST(VODTranscoder, BelievesNoFrameThatWouldCostMemory) {
  HostUnderTest host(QVS_TEST_PLUGIN_DIR);
  std::vector<std::vector<uint8_t>> bytes(3, {1, 2, 3});
  const auto run = [&](uint32_t wrong) {
    std::vector<VideoFrameEncoded> out;
    VODTranscoderVideoSettings settings{};
    settings.videoProfile = wrong;
    const uint32_t status = host.transcode(settings, batch(bytes), out);
    size_t withArray = 0;
    for (const VideoFrameEncoded& frame : out) withArray += frame.isJavaBuffer() ? 1 : 0;
    return std::pair<uint32_t, size_t>(status, withArray);
  };
  EXPECT_EQ(run(1), (std::pair<uint32_t, size_t>(9, 0)));
  EXPECT_EQ(run(2), (std::pair<uint32_t, size_t>(0, 3)));
  EXPECT_THAT(host.lastLine(), HasSubstr("4294967295 frames in room for 106"));
  for (const uint32_t wrong : {3u, 4u, 5u}) {
    EXPECT_EQ(run(wrong), (std::pair<uint32_t, size_t>(0, 0))) << wrong;
    EXPECT_THAT(host.lastLine(), HasSubstr("3 frames aren't in their arrays")) << wrong;
  }
}

TEST(VODTranscoder, WithoutItsLibraryGivesNothingAndALine) {
  HostUnderTest host("/nowhere");
  EXPECT_EQ(host.created, 0xFFFFFFFFu);
  EXPECT_EQ(host.lastLine(),
            "VODTranscoderVideoNVENCHost.createDone[{context}]: Loading shared library FAILED: "
            "/nowhere/libqvs-vodtranscoder-nvenc.so");
  std::vector<std::vector<uint8_t>> bytes(1, {1});
  std::vector<VideoFrameEncoded> out;
  VODTranscoderVideoSettings settings{};
  EXPECT_EQ(host.transcode(settings, batch(bytes), out), 0u);
  EXPECT_TRUE(out.empty());
}

class SessionWithHardware : public TranscoderSession {
 public:
  const char* choose(uint32_t implementation, uint32_t quickSync, uint32_t cuda) {
    availability.quickSyncAvailable = quickSync;
    availability.cudaAvailable = cuda;
    VODTranscoderVideoSettings settings{};
    settings.videoImplementation = implementation;
    const auto made = createVODTranscoder(settings);
    if (dynamic_cast<VODTranscoderVideoQuickSyncHost*>(made.get()) != nullptr) return "QuickSync";
    return dynamic_cast<VODTranscoderVideoNVENCHost*>(made.get()) != nullptr ? "NVENC" : "none";
  }
};

TEST(VODTranscoder, ServesByWhateverHardwareThereIs) {
  SessionWithHardware session;
  EXPECT_STREQ(session.choose(1, 1, 66), "QuickSync");
  EXPECT_STREQ(session.choose(6, 1, 66), "NVENC");
  EXPECT_STREQ(session.choose(6, 1, 2), "QuickSync");
  EXPECT_STREQ(session.choose(6, 0, 64), "none");
  EXPECT_STREQ(session.choose(1, 0, 66), "NVENC");
  EXPECT_STREQ(session.choose(0, 1, 66), "QuickSync");
  EXPECT_STREQ(session.choose(1, 0, 0), "none");
}

TEST(FlvFrame, BecomesAnnexB) {
  const uint8_t header[] = {0, 0, 0, 1, 0x67};
  std::vector<uint8_t> key(annexBHeadLength(1, sizeof header));
  writeAnnexBHead(1, header, key.data());
  EXPECT_THAT(key, ElementsAre(0, 0, 0, 1, 9, 0x10, 0, 0, 0, 1, 0x67));
  for (const auto& [type, picture] : std::map<uint32_t, uint8_t>{{0, 0x30}, {2, 0x30}, {3, 0x50}}) {
    std::vector<uint8_t> head(annexBHeadLength(type, sizeof header));
    writeAnnexBHead(type, header, head.data());
    EXPECT_THAT(head, ElementsAre(0, 0, 0, 1, 9, picture)) << type;
  }
  std::vector<uint8_t> units{0, 0, 0, 2, 7, 7, 0, 0, 0, 0, 0, 0, 0, 1, 8, 0, 0, 1};
  lengthsToStartCodes(units);
  EXPECT_THAT(units, ElementsAre(0, 0, 0, 1, 7, 7, 0, 0, 0, 1, 0, 0, 0, 1, 8, 0, 0, 1));
  std::vector<uint8_t> past{0xFF, 0xFF, 0xFF, 0xFF, 7, 7, 0, 0, 0, 9};
  lengthsToStartCodes(past);
  EXPECT_THAT(past, ElementsAre(0, 0, 0, 1, 7, 7, 0, 0, 0, 9));
}

}  // namespace
}  // namespace qvs::test
