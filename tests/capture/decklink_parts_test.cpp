// Parts of the SDI device that need no card.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "capture/CaptureDeviceTransferVideoFrameBase.h"
#include "capture/decklink/BlackMagicClock.h"
#include "capture/decklink/VancScanner.h"
#include "capture/decklink/VideoInputFrameArrivedRunner.h"
#include "capture/HandMadeFrame.h"

namespace qvs::test {
namespace {

using Anchor = BlackMagicClock::Anchor;

class NoWork : public IVideoInputFrameArrivedWork {
 public:
  void VideoInputFrameArrivedDoWork(const BlackMagicVideoInputFrameArrivedFrame&) override {}
};

TEST(VideoInputFrameArrivedRunner, ASixthArrivalIsDroppedAndNotHeld) {
  NoWork work;
  VideoInputFrameArrivedRunner runner(work);
  std::vector<HandMadeFrame*> frames;
  for (int i = 0; i < 6; ++i) {
    frames.push_back(new HandMadeFrame);
    EXPECT_EQ(runner.push(frames.back(), nullptr, 0), i < 5);
  }
  for (int i = 0; i < 6; ++i) EXPECT_EQ(frames[static_cast<size_t>(i)]->AddRef(), i < 5 ? 3u : 2u);
  runner.flushVideoInputFrameArrived();
  for (HandMadeFrame* frame : frames) {
    EXPECT_EQ(frame->Release(), 1u);
    frame->Release();
  }
}

TEST(VancScanner, APacketBehindABadOneIsFoundAndNoneBeyondTheLine) {
  const std::vector<uint16_t> good = {0, 1023, 1023, 0x161, 0x101, 0x101, 0x2AA, 0x20D};
  std::vector<uint16_t> line(5, 64);
  const auto append = [&](std::vector<uint16_t> packet) {
    line.insert(line.end(), packet.begin(), packet.end());
  };
  std::vector<uint16_t> bad = good;
  bad.back() ^= 1;
  append(bad);
  append(good);
  append({0, 1023, 1023, 0x180, 0x101, 0x1FF, 1, 2});  // says that it is longer than the line
  VancScanner scanner(line);
  VancPacket packet{};
  ASSERT_TRUE(scanner.next(&packet));
  EXPECT_EQ(packet.did, 97);
  EXPECT_EQ(packet.sdid, 1);
  EXPECT_EQ(packet.dbn, 0);
  EXPECT_THAT(std::vector<uint16_t>(packet.words.begin(), packet.words.end()), ::testing::ElementsAre(0x2AA));
  EXPECT_FALSE(scanner.next(&packet));
  EXPECT_EQ(scanner.badChecksums(), 1u);

  uint32_t lines = 0;
  const VancLines pal = VancLines::of(bmdModePAL);
  for (uint32_t at = pal.start; at <= pal.stop; at = pal.after(at)) ++lines;
  EXPECT_EQ(lines, 32u);
  EXPECT_EQ(VancLines::of({9, -1, -1, 10}, bmdModePAL).stop, 10u);
}

TEST(BlackMagicClock, SetsPictureAndSoundOnceOntoTheWallClockAndNeverBack) {
  BlackMagicClock clock;
  const BlackMagicClock::Rate rate{25, 1};
  const uint64_t wall = 1700000000000;
  const int64_t first = clock.videoIndex(100, rate, wall, Anchor::kYes);
  EXPECT_EQ(rate.millisecondsOf(first), wall);
  EXPECT_EQ(clock.audioSample(5000, 48000, wall, Anchor::kYes), static_cast<int64_t>(wall * 48));
  clock.setLastVideo(wall);
  // From then on the card counts, whatever the wall clock says.
  EXPECT_EQ(clock.videoIndex(103, rate, wall + 999, Anchor::kNo), first + 3);
  EXPECT_EQ(clock.videoIndex(103, rate, wall + 300, Anchor::kIfAstray), first + 3);
  EXPECT_EQ(rate.millisecondsOf(clock.videoIndex(103, rate, wall + 4000, Anchor::kIfAstray)), wall + 4000);
  // Nor does a card's counter that went back.
  clock.setLastVideo(wall + 4000);
  EXPECT_EQ(rate.millisecondsOf(clock.videoIndex(50, rate, wall + 5000, Anchor::kNo)), wall + 5000);
  // A wall clock that went back moves sound and picture on together.
  EXPECT_EQ(rate.millisecondsOf(clock.videoIndex(104, rate, wall - 1000, Anchor::kYes)), wall + 4040);
  EXPECT_EQ(clock.audioSample(0, 48000, wall - 1000, Anchor::kYes), static_cast<int64_t>((wall + 4040) * 48));
}

TEST(CaptureDeviceTransferVideoFrameBase, LeavesTheFirstFieldAndNoCombOfTheSecond) {
  constexpr uint32_t kWidth = 32, kHeight = 32, kStride = kWidth * 4;
  CaptureDeviceTransferVideoFrameBase transfer;
  std::vector<uint8_t> woven(kStride * kHeight), whole(kStride * kHeight);
  for (int picture = 0; picture < 3; ++picture) {
    for (uint32_t y = 0; y < kHeight; ++y) {
      std::fill_n(woven.begin() + y * kStride, kStride,
                  static_cast<uint8_t>(y % 2 == 0 ? 100 : 180 + 30 * picture));
    }
    ASSERT_EQ(transfer.deinterlaceFrameMC(woven.data(), whole.data(), kWidth, kHeight, kStride), 0u);
  }
  for (uint32_t y = 4; y < kHeight - 4; ++y) EXPECT_NEAR(whole[y * kStride + 41], 100, 8) << y;
  EXPECT_NE(transfer.deinterlaceFrameMC(nullptr, whole.data(), kWidth, kHeight, kStride), 0u);
}

}  // namespace
}  // namespace qvs::test
