#include <gtest/gtest.h>

#include <array>

#include "Pictures.h"

namespace qvs::test {
namespace {

/// Every pair of formats in every fit keeps red red: a swap of U and V anywhere shows.
TEST(Transfer, KeepsColorsBetweenAllFormats) {
  const uint32_t codes[] = {kFourCCYV12, kFourCCI420, kFourCCYV16, kFourCCNV12};
  for (uint32_t from : codes) {
    for (uint32_t to : codes) {
      for (uint32_t mode : {kFitLetterbox, kFitStretch, kFitCropToFill}) {
        for (uint32_t targetWidth : {160u, 96u}) {
          SCOPED_TRACE(nameOf(from) + " to " + nameOf(to) + " mode " + std::to_string(mode));
          OneFramePool source(160, 90, from);
          OneFramePool target(targetWidth, 90, to);
          target.frame().setFitMode(mode);
          paint(source.frame(), kRed);
          ASSERT_EQ(target.frame().transferFrame(source.frame(), false), kSuccess);
          const uint32_t bars = mode == kFitLetterbox && targetWidth == 96 ? 18 : 0;
          EXPECT_TRUE(isColor(target.frame(), kRed, 0, bars, targetWidth, 90 - bars));
          EXPECT_TRUE(isColor(target.frame(), kBlack, 0, 0, targetWidth, bars));
          EXPECT_TRUE(isColor(target.frame(), kBlack, 0, 90 - bars, targetWidth, 90));
          EXPECT_EQ(target.frame().getLocations(), 1u);
        }
      }
    }
  }
}

TEST(Transfer, ScalesBetweenPackedAndPlanar) {
  OneFramePool source(64, 48, kFourCCYV12);
  OneFramePool packed(32, 24, kFourCCBGRA);
  OneFramePool again(64, 48, kFourCCI420);
  paint(source.frame(), kBlue);
  ASSERT_EQ(packed.frame().transferFrame(source.frame(), false), kSuccess);
  EXPECT_GE(packed.frame().getPlane(0)[0], 250) << "blue comes first";
  EXPECT_LE(packed.frame().getPlane(0)[2], 5);
  ASSERT_EQ(again.frame().transferFrame(packed.frame(), false), kSuccess);
  EXPECT_TRUE(isColor(again.frame(), kBlue));
}

TEST(Transfer, ReadsTheLastColumnAndRowOfOddSources) {
  for (uint32_t code : {kFourCCYV12, kFourCCI420}) {
    OneFramePool source(175, 143, code);
    paint(source.frame(), kGreen);
    for (uint32_t plane : {1u, 2u}) {  // as decoders leave it: no last row of chroma
      std::memset(source.frame().getPlane(plane) + 71 * source.frame().getStride(plane), 0, 88);
    }
    for (uint32_t mode : {kFitLetterbox, kFitStretch}) {
      OneFramePool target(320, 240, kFourCCYV12);
      target.frame().setFitMode(mode);
      ASSERT_EQ(target.frame().transferFrame(source.frame(), false), kSuccess);
      const uint32_t bars = mode == kFitLetterbox ? 14 : 0;  // 292 wide between them
      EXPECT_TRUE(isColor(target.frame(), kGreen, bars, 0, 320 - bars, 240));
    }
    OneFramePool same(175, 143, code);
    ASSERT_EQ(same.frame().transferFrame(source.frame(), false), kSuccess);
    EXPECT_TRUE(isColor(same.frame(), kGreen));
  }
}

TEST(Transfer, WritesTheLastColumnAndRowOfOddTargets) {
  OneFramePool source(176, 144, kFourCCYV12);
  paint(source.frame(), kGreen);
  for (uint32_t code : {kFourCCYV12, kFourCCI420, kFourCCYV16, kFourCCNV12}) {
    for (uint32_t width : {1u, 2u, 63u, 176u}) {
      for (uint32_t height : {2u, 47u, 143u}) {
        SCOPED_TRACE(nameOf(code) + " " + std::to_string(width) + "x" + std::to_string(height));
        OneFramePool target(width, height, code);
        ASSERT_EQ(target.frame().transferFrame(source.frame(), false), kSuccess);
        if (width == 1) continue;  // no chroma column of its own to scale from
        EXPECT_TRUE(isColor(target.frame(), kGreen));
      }
    }
  }
}

TEST(Transfer, LetterboxRefusesOddTargets) {
  OneFramePool source(64, 48, kFourCCYV12);
  OneFramePool target(63, 47, kFourCCYV12);
  target.frame().setFitMode(kFitLetterbox);
  EXPECT_EQ(target.frame().transferFrame(source.frame(), false), 1u);
}

TEST(Transfer, BarsAreRepaintedWhenTheyMayHaveChanged) {
  OneFramePool source(64, 32, kFourCCYV12);
  OneFramePool target(64, 64, kFourCCYV12);
  VideoFrameBuffer& frame = target.frame();
  frame.setFitMode(kFitLetterbox);
  paint(source.frame(), kRed);
  const auto barsAfter = [&](bool force) {
    paint(frame, kGreen);
    EXPECT_EQ(frame.transferFrame(source.frame(), force), kSuccess);
    EXPECT_TRUE(isColor(frame, kRed, 0, 16, 64, 48));
    return Samples(frame).at(3, 3).y == kBlack.y;
  };
  EXPECT_TRUE(barsAfter(false)) << "first picture";
  EXPECT_FALSE(barsAfter(false)) << "the same again relies on what is there";
  EXPECT_TRUE(barsAfter(true));
  EXPECT_FALSE(barsAfter(false));

  frame.setFitMode(kFitStretch);
  frame.transferFrame(source.frame(), false);
  frame.setFitMode(kFitLetterbox);
  EXPECT_TRUE(barsAfter(false)) << "a stretched picture lay over the bars";

  VideoOverlayFrames overlays;
  VideoOverlayFrame* overlay = makeOverlay(16, 8, kOpaqueBlue);
  overlay->setDestinationLocation(0, 0, 16, 8, 17);
  overlays.putFrame(0, overlay);
  ASSERT_EQ(frame.applyOverlay(overlays), kSuccess);
  EXPECT_TRUE(barsAfter(false)) << "an overlay was drawn on the bars";

  source.frame().setDisplayWidth(128);
  source.frame().setDisplayHeight(32);
  paint(frame, kGreen);
  frame.transferFrame(source.frame(), false);
  EXPECT_TRUE(isColor(frame, kBlack, 0, 0, 64, 24)) << "another display size";
  EXPECT_TRUE(isColor(frame, kRed, 0, 24, 64, 40));
}

TEST(Transfer, CarriesTypeAndTimesOnly) {
  OneFramePool source(64, 32, kFourCCYV12);
  OneFramePool target(64, 64, kFourCCYV12);
  VideoFrameBufferTimecodeInfo info{};
  info.hours = 7;
  source.frame().setTimecodeInfo(&info, 1);
  source.frame().setTimecode(99);
  source.frame().setFrameType(2);
  source.frame().setFlags(5);
  source.frame().addAncillaryDataObj({});
  target.frame().transferFrame(source.frame(), false);
  EXPECT_EQ(target.frame().getTimecode(), 99u);
  EXPECT_EQ(target.frame().getFrameType(), 2u);
  EXPECT_EQ(target.frame().getTimecodeInfoCount(), 1u);
  EXPECT_EQ(target.frame().getFlags(), 0u);
  std::vector<VideoFrameAncillaryData> packets;
  target.frame().getAncillaryDataObjs(packets);
  EXPECT_TRUE(packets.empty());

  source.set.setScaleImplementation(kScaleU30);
  source.frame().setTimecode(100);
  EXPECT_EQ(target.frame().transferFrame(source.frame(), false), kSuccess);
  EXPECT_EQ(target.frame().getTimecode(), 99u) << "a card's pictures don't pass here";
}

TEST(Transfer, FramesWithoutStorageAreLeftAlone) {
  for (uint32_t mode : {kFitStretch, kFitCropToFill}) {
    VideoFrameBuffer empty;
    OneFramePool full(64, 32, kFourCCYV12);
    full.frame().setFitMode(mode);
    empty.setFitMode(mode);
    EXPECT_EQ(full.frame().transferFrame(empty, false), kSuccess);
    EXPECT_EQ(empty.transferFrame(full.frame(), false), kSuccess);
  }
  VideoFrameBuffer empty;
  OneFramePool full(64, 32, kFourCCYV12);
  full.frame().setFitMode(kFitLetterbox);
  EXPECT_EQ(full.frame().transferFrame(empty, true), 1u);
}

TEST(Transfer, DevicePathWithoutADeviceOnlyClaims) {
  OneFramePool source(64, 32, kFourCCYV12);
  OneFramePool target(64, 32, kFourCCYV12);
  source.set.setScaleImplementation(kScaleCUDA);
  paint(source.frame(), kRed);
  paint(target.frame(), kGreen);
  EXPECT_EQ(target.frame().transferFrame(source.frame(), false), kSuccess);
  EXPECT_EQ(target.frame().getLocations(), 2u);
  EXPECT_TRUE(isColor(target.frame(), kGreen));
}

/// Left half red, right half blue.
struct TwoColors : OneFramePool {
  explicit TwoColors(uint64_t flags) : OneFramePool(128, 64, kFourCCYV12, flags) {
    paint(frame(), kRed, 0, 0, 64);
    paint(frame(), kBlue, 64);
  }
};

TEST(Placement, RectanglesCountOnlyWithTheFlag) {
  const uint32_t leftHalf[4] = {0, 0, 64, 64};
  const uint32_t middle[4] = {16, 16, 32, 32};
  for (uint64_t flags : {uint64_t{0}, kScaleFlagPlaceOnCpu}) {
    TwoColors source(flags);
    OneFramePool target(64, 64, kFourCCNV12);
    paint(target.frame(), kGreen);
    target.frame().setSrcRect(leftHalf);
    target.frame().setDstRect(middle);
    ASSERT_EQ(target.frame().transferFrame(source.frame(), false), kSuccess);
    if (flags != 0) {
      EXPECT_TRUE(isColor(target.frame(), kRed, 16, 16, 48, 48));
      EXPECT_TRUE(isColor(target.frame(), kBlack, 0, 0, 64, 16));
      EXPECT_TRUE(isColor(target.frame(), kBlack, 0, 48, 64, 64));
      EXPECT_TRUE(isColor(target.frame(), kBlack, 0, 16, 16, 48));
      EXPECT_TRUE(isColor(target.frame(), kBlack, 48, 16, 64, 48));
    } else {
      EXPECT_TRUE(isColor(target.frame(), kRed, 0, 0, 24, 64));
      EXPECT_TRUE(isColor(target.frame(), kBlue, 40, 0, 64, 64));
    }
    target.frame().setSrcRect(nullptr);
    EXPECT_FALSE(target.frame().isSrcRect());
  }
}

TEST(Placement, CropGoesBeforePictureAndIntoLetterboxes) {
  TwoColors source(kScaleFlagPlaceOnCpu);
  OneFramePool target(128, 128, kFourCCYV12);
  const uint32_t crop[4] = {64, 0, 0, 0};
  target.frame().setCrop(crop);
  target.frame().setFitMode(kFitLetterbox);
  ASSERT_EQ(target.frame().transferFrame(source.frame(), false), kSuccess);
  EXPECT_TRUE(isColor(target.frame(), kBlue, 0, 32, 128, 96));
  EXPECT_TRUE(isColor(target.frame(), kBlack, 0, 0, 128, 32));
  const uint32_t padding[4] = {32, 0, 0, 64};
  target.frame().setFitMode(kFitStretch);
  target.frame().setPadding(padding);
  ASSERT_EQ(target.frame().transferFrame(source.frame(), false), kSuccess);
  EXPECT_TRUE(isColor(target.frame(), kBlue, 32, 0, 128, 64));
  EXPECT_TRUE(isColor(target.frame(), kBlack, 0, 0, 32, 128));
  EXPECT_TRUE(isColor(target.frame(), kBlack, 32, 64, 128, 128));
}

TEST(Placement, CropToFillShowsTheMiddle) {
  TwoColors source(kScaleFlagPlaceOnCpu);
  paint(source.frame(), kGreen, 0, 0, 32);
  paint(source.frame(), kGreen, 96);
  OneFramePool target(64, 64, kFourCCYV12);
  target.frame().setFitMode(kFitCropToFill);
  ASSERT_EQ(target.frame().transferFrame(source.frame(), false), kSuccess);
  EXPECT_TRUE(isColor(target.frame(), kRed, 0, 0, 30, 64));
  EXPECT_TRUE(isColor(target.frame(), kBlue, 34, 0, 64, 64));
}

/// Four colors, and where they are after a turn.
struct Quarters {
  std::array<std::array<Yuv, 2>, 2> at{{{kRed, kBlue}, {kGreen, kBlack}}};

  explicit Quarters(uint64_t flags) {
    if (flags & kScaleFlagMirror) at = {{{at[0][1], at[0][0]}, {at[1][1], at[1][0]}}};
    const int turns = (flags & kScaleFlagTurn90 ? 1 : 0) + (flags & kScaleFlagTurn180 ? 2 : 0);
    for (int i = 0; i < turns; ++i) at = {{{at[1][0], at[0][0]}, {at[1][1], at[0][1]}}};
  }
  /// Whether they fill a rectangle of the frame; a few pixels beside the edges between them are mixed.
  void expectIn(const VideoFrameBuffer& frame, uint32_t left, uint32_t top, uint32_t width,
                uint32_t height) const {
    constexpr uint32_t kMixed = 4;
    for (const uint32_t row : {0u, 1u}) {
      for (const uint32_t column : {0u, 1u}) {
        const uint32_t x = left + column * (width / 2 + kMixed), y = top + row * (height / 2 + kMixed);
        EXPECT_TRUE(isColor(frame, at[row][column], x, y, x + width / 2 - kMixed, y + height / 2 - kMixed));
      }
    }
  }
};

TEST(Turn, SizesFitsAndRectanglesCountInTheShownPicture) {
  for (uint64_t turn = 0; turn < 8; ++turn) {
    const uint64_t flags = turn * kScaleFlagTurn90;
    for (const uint32_t code : {kFourCCYV12, kFourCCI420, kFourCCNV12}) {
      SCOPED_TRACE(nameOf(code) + " " + std::to_string(turn));
      const bool onSide = (flags & kScaleFlagTurn90) != 0;
      OneFramePool source(96, 64, code, flags | kScaleFlagPlaceOnCpu);
      const Yuv(&quarters)[2][2] = {{kRed, kBlue}, {kGreen, kBlack}};
      for (const uint32_t row : {0u, 1u}) {
        for (const uint32_t column : {0u, 1u})
          paint(source.frame(), quarters[row][column], column * 48, row * 32, column * 48 + 48,
                row * 32 + 32);
      }
      const Quarters shown(flags);
      const uint32_t width = onSide ? 64 : 96, height = onSide ? 96 : 64;

      OneFramePool whole(width, height, kFourCCYV12);
      ASSERT_EQ(whole.frame().transferFrame(source.frame(), false), kSuccess);
      shown.expectIn(whole.frame(), 0, 0, width, height);

      OneFramePool square(120, 120, kFourCCYV12);
      paint(square.frame(), kGreen);
      square.frame().setFitMode(kFitLetterbox);
      ASSERT_EQ(square.frame().transferFrame(source.frame(), false), kSuccess);
      shown.expectIn(square.frame(), onSide ? 20 : 0, onSide ? 0 : 20, onSide ? 80 : 120, onSide ? 120 : 80);
      EXPECT_TRUE(isColor(square.frame(), kBlack, 0, 0, onSide ? 20 : 120, onSide ? 120 : 20));

      source.frame().setDisplayWidth(96);  // as coded: a picture twice as high as before
      source.frame().setDisplayHeight(128);
      ASSERT_EQ(square.frame().transferFrame(source.frame(), false), kSuccess);
      shown.expectIn(square.frame(), onSide ? 0 : 15 + 1, onSide ? 15 + 1 : 0, onSide ? 120 : 88,
                     onSide ? 88 : 120);

      const uint32_t topRight[4] = {width / 2, 0, width / 2, height / 2};
      whole.frame().setSrcRect(topRight);
      ASSERT_EQ(whole.frame().transferFrame(source.frame(), false), kSuccess);
      EXPECT_TRUE(isColor(whole.frame(), shown.at[0][1]));
    }
  }
}

TEST(Placement, EmptyRectanglesFailAndTouchNothing) {
  const uint32_t rows[][4] = {
      {0, 0, 0, 0}, {128, 0, 8, 8}, {0, 0, 1, 1}, {0xFFFFFFFF, 0xFFFFFFFF, 8, 8}, {5, 5, 2, 2}};
  for (const auto& rect : rows) {
    for (bool isSource : {true, false}) {
      TwoColors source(kScaleFlagPlaceOnCpu);
      OneFramePool target(128, 64, kFourCCYV12);
      paint(target.frame(), kGreen);
      isSource ? target.frame().setSrcRect(rect) : target.frame().setDstRect(rect);
      EXPECT_EQ(target.frame().transferFrame(source.frame(), false), kFailure) << rect[0] << " " << isSource;
      EXPECT_TRUE(isColor(target.frame(), kGreen));
    }
  }
  const uint32_t crop[4] = {100, 100, 0, 0};
  TwoColors source(kScaleFlagPlaceOnCpu);
  OneFramePool target(128, 64, kFourCCYV12);
  target.frame().setCrop(crop);
  EXPECT_EQ(target.frame().transferFrame(source.frame(), false), kFailure);
}

/// All fits and rectangles, hostile ones among them, from `source` into `target`.
void transferEveryWay(VideoFrameBuffer& source, VideoFrameBuffer& target) {
  const uint32_t values[] = {0, 3, 24, 48, 95, 0x7FFFFFFF, 0xFFFFFFFF};
  for (uint32_t x : values) {
    for (uint32_t width : values) {
      const uint32_t rect[4] = {x, width, width, x};
      for (uint32_t mode : {kFitLetterbox, kFitStretch, kFitCropToFill}) {
        target.setFitMode(mode);
        target.setSrcRect(rect);
        target.setDstRect(rect);
        target.transferFrame(source, true);
        target.setCrop(rect);
        target.setPadding(rect);
        target.transferFrame(source, true);
        target.setCrop(nullptr);
        target.setPadding(nullptr);
      }
    }
  }
}

class PlacementInFormat : public testing::TestWithParam<uint32_t> {};
INSTANTIATE_TEST_SUITE_P(All, PlacementInFormat, testing::ValuesIn(kAllFormats));

TEST_P(PlacementInFormat, StaysInsideOfTheStorage) {
  for (const bool isTarget : {true, false}) {
    for (const uint32_t rows : {96u, 47u}) {
      const uint32_t columns = rows == 96 ? 96 : 95;
      const uint64_t turn = (rows == 47 ? kScaleFlagTurn90 : 0) | (isTarget ? 0 : kScaleFlagMirror);
      OneFramePool source(96, 96, kFourCCYV12, kScaleFlagPlaceOnCpu | turn);
      OneFramePool target(96, 32, kFourCCYV12);
      source.frame().setDisplayWidth(48);  // bars at the sides
      source.frame().setDisplayHeight(96);
      const Guard guard((isTarget ? target : source).frame(), columns, rows, GetParam());
      transferEveryWay(source.frame(), target.frame());
      EXPECT_TRUE(guard.isWhole()) << nameOf(GetParam()) << " " << rows << " " << isTarget;
    }
  }
}

/// Storage by the format's rule holds no row of such a picture, but rows of a narrow part of it.
TEST(Placement, FormatsWithoutAStorageRuleAreRefusedWhole) {
  for (const char* name : {"AYUV", "VUYA", "Y210", "Y216", "R555", "R565", "Y41P"}) {
    OneFramePool source(64, 64, kFourCCYV12, kScaleFlagPlaceOnCpu);
    OneFramePool target(64, 64, kFourCCYV12);
    const Guard guard(target.frame(), 64, 64, fourcc({name[0], name[1], name[2], name[3], 0}));
    const uint32_t narrow[4] = {48, 0, 8, 64};
    target.frame().setDstRect(narrow);
    EXPECT_EQ(target.frame().transferFrame(source.frame(), false), 1u) << name;
    EXPECT_TRUE(guard.isWhole() && guard.isStorageUntouched()) << name;
  }
}

}  // namespace
}  // namespace qvs::test
