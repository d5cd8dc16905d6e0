// The accelerator card, proven on a fake: whose memory ends the process where a picture is released twice or by another
// than its owner.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>

#include "fakes/u30/Card.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "hardware/CardLadder.h"
#include "hardware/XilinxU30List.h"
#include "hardware/XilinxU30Utils.h"
#include "support/TestPicture.h"

namespace qvs {
namespace {

using test::CardLadder;
using test::CardRung;
using test::CardStream;
using test::Fate;
using testing::ElementsAre;

constexpr uint32_t kWidth = 128, kHeight = 96, kFrames = 8;
const std::vector<CardRung> kFourRungs = {{128, 96}, {64, 48}, {96, 64, 18, 12}, {64, 48}};

/// Points the fakes at so many cards, with a list of this form.
class Cards {
 public:
  explicit Cards(const char* count, const char* form = "") {
    setenv("QVS_FAKE_XRMADM", QVS_FAKE_U30_DIR "/xrmadm", 1);
    setenv("QVS_FAKE_CARDS", count, 1);
    setenv("QVS_FAKE_LIST", form, 1);
    fake_card_script("");
  }
  ~Cards() { unsetenv("QVS_FAKE_XRMADM"); }
};

class U30Card : public testing::Test {
 protected:
  void SetUp() override { fake_card_script(""); }
  void TearDown() override { EXPECT_EQ(fake_card_live(), 0); }

  const CardStream stream = test::makeCardStream(kWidth, kHeight, kFrames);
};

TEST(U30Inventory, ReadsTheListOfAnyNumberOfCards) {
  const auto infoOf = [](const char* count, const char* form = "") {
    const Cards cards(count, form);
    HardwareInfoU30 info;
    XilinxU30Utils::getU30Info(&info);
    return info;
  };
  for (const char* count : {"1", "2", "16"}) {
    const HardwareInfoU30 info = infoOf(count);
    EXPECT_EQ(info.isXilinxU30Available, 1);
    EXPECT_EQ(info.deviceCount, std::atoi(count));
    EXPECT_EQ(info.xclbinName, "transcode.xclbin");
  }
  EXPECT_EQ(infoOf("0").isXilinxU30Available, 0);
  EXPECT_EQ(infoOf("16", "cut").isXilinxU30Available, 0) << "the plug-ins stand at the end";
  EXPECT_EQ(infoOf("1", "garbage").pluginsLoaded, 0);
  const HardwareInfoU30 huge = infoOf("2", "huge");  // fifty megabytes, of which four are read
  EXPECT_EQ(huge.deviceCount, 2);
  EXPECT_EQ(huge.isXilinxU30Available, 1);
  HardwareInfoU30 none;
  XilinxU30Utils::getU30Info(&none);
  EXPECT_EQ(none.isXilinxU30Available, 0);
}

TEST(U30Inventory, TakesTheCardsWhoseEncoderTakesTheFirmware) {
  class Inspector : public HardwareInspector {
  } inspector;
  const Cards cards("2");
  inspector.setNativePath(HardwareInspector::kNativePath, QVS_FAKE_U30_DIR);
  inspector.inspect();
  EXPECT_EQ(inspector.getInfoXilinxU30().availableFlags, kU30Usable);
  EXPECT_EQ(inspector.getInfoXilinxU30().firmVersionMaj, 3u);
  fake_card_script("u30e_setParameterValueLong@2=status:22");
  inspector.inspect();
  EXPECT_EQ(inspector.getInfoXilinxU30().availableFlags, 0u);
}

TEST(U30Resources, ReserveWhatFitsAndGiveItBack) {
  const Cards cards("1");
  const uint32_t id = XilinxU30Utils::createContext();
  ASSERT_NE(id, kFailure);
  // Half of what a card does: two fit.
  const auto job = [&] { return XilinxU30Utils::execPluginFunc("xrmU30EncPlugin", "1920 1080 120", id); };
  EXPECT_EQ(job(), 250000);
  EXPECT_EQ(XilinxU30Utils::checkCuPoolAvailableNum(id), 2);
  const uint64_t first = XilinxU30Utils::cuPoolReserve(id);
  EXPECT_EQ(job(), 250000);
  EXPECT_EQ(XilinxU30Utils::checkCuPoolAvailableNum(id), 1);
  const uint64_t second = XilinxU30Utils::cuPoolReserve(id);
  job();
  EXPECT_EQ(XilinxU30Utils::checkCuPoolAvailableNum(id), 0);
  EXPECT_EQ(XilinxU30Utils::cuPoolReserve(id), 0u);
  EXPECT_NE(first, 0u);
  EXPECT_TRUE(XilinxU30Utils::cuPoolRelinquish(first, id));
  EXPECT_TRUE(XilinxU30Utils::cuPoolRelinquish(second, id));
  EXPECT_FALSE(XilinxU30Utils::cuPoolRelinquish(second, id));
  fake_card_script("xrmDestroyContext@1=status:7");
  EXPECT_EQ(XilinxU30Utils::destroyContext(id), 7);
  EXPECT_EQ(XilinxU30Utils::destroyContext(id), 0);
  EXPECT_EQ(XilinxU30Utils::destroyContext(id), -1);
}

TEST(U30Resources, RefuseWhatTheManagerCouldNotTake) {
  const Cards cards("1");
  const uint32_t id = XilinxU30Utils::createContext();
  EXPECT_EQ(XilinxU30Utils::execPluginFunc("echo", "5 6", id), 5)
      << "an unknown plug-in gives its first field";
  EXPECT_EQ(XilinxU30Utils::execPluginFunc("echo", std::string(16383, ' ').c_str(), id), -1) << "no fields";
  EXPECT_EQ(XilinxU30Utils::execPluginFunc("echo", std::string(16384, '1').c_str(), id), -1);
  EXPECT_GT(XilinxU30Utils::execPluginFunc("unterminated", "", id), 0);
  EXPECT_EQ(XilinxU30Utils::execPluginFunc(nullptr, "1", id), -1);
  EXPECT_EQ(XilinxU30Utils::execPluginFunc("echo", nullptr, id), -1);
  EXPECT_EQ(XilinxU30Utils::execPluginFunc("echo", "1", id + 1), -1);
  EXPECT_EQ(XilinxU30Utils::cuPoolReserve(id + 1), ~uint64_t{0});
  EXPECT_EQ(XilinxU30Utils::destroyContext(id), 0);
  fake_card_script("xrmCreateContext@1=status:1");
  EXPECT_EQ(XilinxU30Utils::createContext(), kFailure);
}

TEST(U30Resources, ServeEightThreads) {
  const Cards cards("1");
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < 50; ++round) {
        const uint32_t id = XilinxU30Utils::createContext();
        XilinxU30Utils::execPluginFunc("xrmU30DecPlugin", "320 240 30", id);
        EXPECT_GE(XilinxU30Utils::checkCuPoolAvailableNum(id), 0);
        const uint64_t pool = XilinxU30Utils::cuPoolReserve(id);
        EXPECT_EQ(XilinxU30Utils::cuPoolRelinquish(pool, id), pool != 0);
        EXPECT_EQ(XilinxU30Utils::destroyContext(id), 0);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(U30Card, GivesTheSamePicturesOnTheCardAndThroughTheHost) {
  fake_card_script("pipeline=2");
  CardLadder onCard(kFourCCHN12, kFourRungs), throughHost(kFourCCYV12, kFourRungs);
  std::vector<uint64_t> times;
  uint32_t shown = 0;
  throughHost.look = [&](const VideoFrameBuffer&, const std::vector<uint32_t>& targets) {
    const VideoFrameBuffer& full = *throughHost.getVideoEncoderBuffer(0, targets[0]);
    for (const char plane : {'Y', 'U', 'V'}) EXPECT_GT(test::psnrOfPlane(full, plane, shown), 32.0) << plane;
    // Of the smaller ones ours, from the same picture.
    VideoFrameBuffer scaled, source;
    source.allocBuffer(kWidth, kHeight, kFourCCYV12);
    std::copy_n(full.getBuffer(), full.getFrameSize(), source.getBuffer());
    for (uint32_t rung : {1u, 3u}) {
      const VideoFrameBuffer& small = *throughHost.getVideoEncoderBuffer(rung, targets[rung]);
      scaled.allocBuffer(small.getWidth(), small.getHeight(), kFourCCYV12);
      scaled.transferFrame(source, false);
      EXPECT_EQ(std::memcmp(small.getBuffer(), scaled.getBuffer(), scaled.getFrameSize()), 0) << rung;
      VideoFrameBufferTimecodeInfo record{};
      uint32_t count = 1;
      small.getTimecodeInfo(&record, &count);
      EXPECT_EQ(record.frames, 40 * shown) << "records stay with their picture";
    }
    times.push_back(full.getTimecode());
    ++shown;
  };
  for (CardLadder* ladder : {&onCard, &throughHost}) {
    ASSERT_TRUE(ladder->start(stream, kWidth, kHeight));
    for (uint32_t i = 0; i < kFrames; ++i) EXPECT_TRUE(ladder->feed(stream.packets[i], 40 * i));
    for (int rest = 0; rest < 3; ++rest) EXPECT_TRUE(ladder->finish());
  }
  EXPECT_THAT(times, ElementsAre(0, 40, 80, 120, 160, 200, 240, 280));
  for (size_t rung = 0; rung < kFourRungs.size(); ++rung) {
    EXPECT_EQ(onCard.units(rung).size(), kFrames);
    EXPECT_TRUE(onCard.units(rung) == throughHost.units(rung)) << rung;
  }
}

TEST_F(U30Card, KeepsTimesWithTheirPicturesPastOneThatFails) {
  fake_card_script("pipeline=2;u30s_scale@4=status:22");
  CardLadder ladder(kFourCCYV12, {{kWidth, kHeight}});
  std::vector<uint64_t> times;
  ladder.look = [&](const VideoFrameBuffer&, const std::vector<uint32_t>& targets) {
    const VideoFrameBuffer& frame = *ladder.getVideoEncoderBuffer(0, targets[0]);
    times.push_back(frame.getTimecode());
    EXPECT_GT(test::psnrOfPlane(frame, 'Y', static_cast<uint32_t>(frame.getTimecode() / 40)), 32.0);
  };
  ASSERT_TRUE(ladder.start(stream, kWidth, kHeight));
  for (uint32_t i = 0; i < kFrames; ++i) ladder.feed(stream.packets[i], 40 * i);
  for (int rest = 0; rest < 3; ++rest) ladder.finish();
  EXPECT_THAT(times, ElementsAre(0, 40, 80, 160, 200, 240, 280));
}

TEST_F(U30Card, GetsEveryPictureBackWhateverBecomesOfIt) {
  const CardStream small = test::makeCardStream(64, 64, 4);
  std::mt19937 random(1);
  CardLadder ladder(kFourCCHN12, {{64, 48}, {32, 32}});
  ladder.fateOf = [&](uint32_t) { return static_cast<Fate>(random() % 3); };
  ASSERT_TRUE(ladder.start(stream, kWidth, kHeight));
  for (uint32_t round = 0; round < 400; ++round) {
    const bool other = round / 20 % 2 == 1;
    const CardStream& now = other ? small : stream;
    const uint32_t index = round % 4;
    if (index == 0 && round % 20 == 0) {
      std::vector<uint8_t> headers = now.headers;  // the source changes its size
      ladder.videoDecoderDecodeCodecConfig(headers.data(), 0, static_cast<uint32_t>(headers.size()));
    }
    if (round % 37 == 36) {
      EXPECT_TRUE(ladder.replace(round % 2, 17));
    }
    ladder.dropsDecoded = random() % 5 == 0;
    EXPECT_TRUE(ladder.feed(now.packets[index], 40 * round)) << round;
  }
  EXPECT_LE(fake_card_live(), 1) << "what the scaler holds back";
  ladder.resetPipeline();
  EXPECT_EQ(fake_card_live(), 0);
}

// A picture that stays in a frame of the host's would fill the card.
TEST_F(U30Card, NeedsNoMorePicturesThanAreOnTheirWay) {
  fake_card_script("handles=4;stall=5");
  CardLadder ladder(kFourCCHN12, {{64, 48}});
  ASSERT_TRUE(ladder.start(stream, kWidth, kHeight));
  for (uint32_t i = 0; i < kFrames; ++i) EXPECT_TRUE(ladder.feed(stream.packets[i], 40 * i));
  fake_card_script("handles=1;stall=5");
  EXPECT_FALSE(ladder.feed(stream.packets[0], 999)) << "a full card is a status";
}

TEST_F(U30Card, SurvivesTheFailureOfEachCall) {
  const auto run = [&](uint32_t fourcc) {
    CardLadder ladder(fourcc, {{64, 48}});
    ladder.start(stream, kWidth, kHeight);
    for (uint32_t i = 0; i < 3; ++i) ladder.feed(stream.packets[i], 40 * i);
    ladder.videoScalerFreeFrame(0);
    ladder.finish();
  };
  for (uint32_t fourcc : {kFourCCHN12, kFourCCYV12}) {
    fake_card_script("");
    run(fourcc);
    const uint64_t calls = fake_card_calls();
    ASSERT_GT(calls, 20u);
    for (uint64_t n = 1; n <= calls; n += fourcc == kFourCCHN12 ? 1 : 3) {
      for (const char* more : {"", "+"}) {
        if (*more != '\0' && n % 4 != 1) continue;
        fake_card_script(("any@" + std::to_string(n) + more + "=status:22").c_str());
        run(fourcc);
        ASSERT_EQ(fake_card_live(), 0) << "call " << n << more;
      }
    }
  }
}

TEST_F(U30Card, TellsWhatItsHostsRefuse) {
  CardLadder ladder(kFourCCHN12, {{64, 48}});
  fake_card_script("u30e_initialize@1=status:22");
  EXPECT_FALSE(ladder.start(stream, kWidth, kHeight)) << "a set-up step that fails is the call's result";
  std::vector<LogStatement> lines;
  ladder.getLogCollector().getLogStatements(lines);
  std::string log;
  for (const LogStatement& line : lines) log += line.str + "\n";
  EXPECT_THAT(
      log, testing::HasSubstr("VideoEncoderH265U30Host.initialize[{context}]: func_initialize FAILED: 22"));
  EXPECT_THAT(log, testing::HasSubstr("VideoEncoderH265U30Host[{context}]: status code: 22"));
  VideoFrameBuffer frame;
  frame.setAllocProvider(ladder.getVideoEncoder(0)->getAllocProvider(),
                         ladder.getVideoEncoder(0)->getFreeProvider());
  EXPECT_EQ(frame.allocBuffer(64, 48, kFourCCHN12), 0u);
  EXPECT_EQ(frame.getBuffer(), nullptr);
  EXPECT_EQ(ladder.getVideoEncoder(0)->addFrame(frame, 0, 0), kFailure) << "no picture in it";
  EXPECT_EQ(frame.allocBuffer(64, 48, kFourCCNV12), 0u);
  EXPECT_NE(frame.getBuffer(), nullptr) << "ordinary memory for any other format";
  EXPECT_EQ(ladder.getVideoEncoder(0)->addFrame(frame, 0, 0), kFailure);
}

}  // namespace
}  // namespace qvs
