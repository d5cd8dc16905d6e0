#include <gtest/gtest.h>

#include "frames/geometry/FitPlacement.h"
#include "frames/geometry/FourCC.h"
#include "frames/geometry/OverlayPlacement.h"

namespace qvs {
namespace {

PlacementRequest fit(uint32_t mode) {
  return {mode, nullptr, nullptr, nullptr, nullptr};
}

TEST(FitPlacement, LetterboxKeepsTheAspect) {
  const Placement flat = placeFrame({1920, 1080}, {0, 0}, {640, 480}, fit(kFitLetterbox));
  EXPECT_TRUE(flat.barsTopAndBottom);
  EXPECT_EQ(flat.target, (PixelRect{0, 60, 640, 360}));
  const Placement tall = placeFrame({640, 480}, {640, 0}, {1280, 720}, fit(kFitLetterbox));
  EXPECT_FALSE(tall.barsTopAndBottom);
  EXPECT_EQ(tall.target, (PixelRect{160, 0, 960, 720}));
  const Placement anamorphic = placeFrame({720, 576}, {1024, 576}, {1280, 720}, fit(kFitLetterbox));
  EXPECT_EQ(anamorphic.target, (PixelRect{0, 0, 1280, 720}));
  EXPECT_EQ(anamorphic.source, (PixelRect{0, 0, 720, 576}));
}

TEST(FitPlacement, CropToFillCutsTheSource) {
  const Placement wide = placeFrame({1920, 1080}, {1920, 1080}, {640, 480}, fit(kFitCropToFill));
  EXPECT_TRUE(wide.hasSource);
  EXPECT_FALSE(wide.hasTarget);
  EXPECT_EQ(wide.source, (PixelRect{240, 0, 1440, 1080}));
  const Placement tall = placeFrame({640, 480}, {640, 480}, {1280, 720}, fit(kFitCropToFill));
  EXPECT_EQ(tall.source, (PixelRect{0, 60, 640, 360}));
  const uint32_t crop[4] = {80, 80, 0, 0};
  PlacementRequest cropped = fit(kFitCropToFill);
  cropped.crop = crop;
  EXPECT_EQ(placeFrame({640, 480}, {640, 480}, {1280, 720}, cropped).source, (PixelRect{80, 60, 480, 360}));
}

TEST(FitPlacement, StretchTakesRectanglesAndInsetsGoFirst) {
  EXPECT_FALSE(placeFrame({640, 480}, {0, 0}, {320, 240}, fit(77)).hasSource);
  const uint32_t inset[4] = {10, 20, 30, 40};
  const uint32_t rect[4] = {1, 2, 3, 4};
  PlacementRequest request{kFitStretch, inset, rect, nullptr, rect};
  const Placement placement = placeFrame({640, 480}, {0, 0}, {320, 240}, request);
  EXPECT_EQ(placement.source, (PixelRect{10, 30, 610, 410}));
  EXPECT_EQ(placement.target, (PixelRect{1, 2, 3, 4}));
  EXPECT_TRUE(placement.clearsTarget);
  request.padding = inset;
  EXPECT_EQ(placeFrame({640, 480}, {0, 0}, {320, 240}, request).target, (PixelRect{10, 30, 290, 170}));
}

TEST(FitPlacement, PicturesWithoutAreaAreNotDividedBy) {
  for (uint32_t mode : {kFitLetterbox, kFitStretch, kFitCropToFill}) {
    EXPECT_TRUE(placeFrame({0, 0}, {0, 0}, {640, 480}, fit(mode)).source.isEmpty());
    EXPECT_TRUE(placeFrame({640, 480}, {0, 0}, {0, 480}, fit(mode)).target.isEmpty());
  }
  const Placement line = placeFrame({16383, 1}, {0, 0}, {640, 480}, fit(kFitLetterbox));
  EXPECT_TRUE(line.target.isEmpty());
}

TEST(FitPlacement, ClipsToPictureAndStep) {
  const PixelSize even{2, 2};
  EXPECT_EQ(clipRect({-5, 3, 20, 20}, {100, 100}, even), (PixelRect{0, 4, 14, 18}));
  EXPECT_EQ(clipRect({90, 90, 50, 50}, {95, 95}, even), (PixelRect{90, 90, 5, 5}));
  EXPECT_TRUE(clipRect({200, 0, 10, 10}, {100, 100}, even).isEmpty());
  EXPECT_TRUE(clipRect({0, 0, -10, 10}, {100, 100}, even).isEmpty());
  EXPECT_TRUE(clipRect({5, 5, 1, 1}, {100, 100}, even).isEmpty());
  const PixelRect huge{0xFFFFFFFF, 0, 0xFFFFFFFF, 0xFFFFFFFF};
  EXPECT_TRUE(clipRect(huge, {100, 100}, even).isEmpty());
  EXPECT_EQ(clipRect({3, 3, 90, 90}, {96, 96}, placementStep(kFourCCBGRA)), (PixelRect{3, 3, 90, 90}));
  EXPECT_EQ(clipRect({3, 3, 93, 90}, {96, 96}, placementStep(kFourCCv210)), (PixelRect{48, 3, 48, 90}));
}

TEST(OverlayPlacement, AnchorsAndClamps) {
  const PixelSize picture{1280, 720};
  OverlayPlacement right = placeOverlay(picture, {10, 20, {200, 100}, kAlignRight | kAlignBottom});
  EXPECT_EQ(right.x, 1090);
  EXPECT_EQ(right.insetX, 1070);
  EXPECT_EQ(right.insetY, 720 - 100 - 20);
  EXPECT_EQ(right.clamped, (PixelRect{1080, 620, 200, 100}));
  OverlayPlacement centred = placeOverlay(picture, {-7, 3, {200, 100}, kAlignCenter | kAlignMiddle});
  EXPECT_EQ(centred.insetX, 540 - 7);
  EXPECT_EQ(centred.insetY, 310 + 3);
  OverlayPlacement outside = placeOverlay(picture, {-20, 0, {200, 100}, 0});
  EXPECT_EQ(outside.insetX, -20);
  EXPECT_EQ(outside.clamped.x, 0);
  EXPECT_TRUE(outside.fits);
}

TEST(OverlayPlacement, LargerThanThePictureDoesNotFit) {
  EXPECT_FALSE(placeOverlay({1280, 720}, {0, 0, {1281, 10}, 0}).fits);
  EXPECT_FALSE(placeOverlay({1280, 720}, {0, 0, {10, 721}, kAlignBottom}).fits);
  EXPECT_TRUE(placeOverlay({1280, 720}, {0, 0, {1280, 720}, kAlignRight}).fits);
  EXPECT_FALSE(placeOverlay({1280, 720}, {INT32_MIN, INT32_MAX, {UINT32_MAX, UINT32_MAX}, kAlignRight}).fits);
}

}  // namespace
}  // namespace qvs
