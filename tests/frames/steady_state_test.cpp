// Nothing on a picture's way may allocate once the first pictures of a size have passed.

#include <gtest/gtest.h>

#include "Pictures.h"
#include "support/AllocationCounter.h"
#include "video/scaling/device/VideoFrameIntrinsicScalerSingleton.h"

namespace qvs::test {
namespace {

struct Ladder {
  explicit Ladder(uint32_t fitMode) {
    decoded.initialize(2);
    for (const auto& frame : decoded) frame->allocBuffer(176, 144, kFourCCYV12);
    for (VideoFrameBufferSet& rung : rungs) {
      rung.initialize(2);
      for (const auto& frame : rung) frame->setFitMode(fitMode);
      addOverlay(rung);
    }
    for (const auto& frame : rungs[0]) frame->allocBuffer(176, 144, kFourCCYV12);
    for (const auto& frame : rungs[1]) frame->allocBuffer(128, 72, kFourCCI420);
    for (const auto& frame : rungs[2]) frame->allocBuffer(64, 64, kFourCCNV12);
    addOverlay(decoded);
    decoded.setScaleFlags(kScaleFlagFractionalFrames | kScaleFlagPluginOverlays | kScaleFlagPlaceOnCpu);
  }

  static void addOverlay(VideoFrameBufferSet& set) {
    VideoOverlayFrame* overlay = makeOverlay(40, 20, 0x80FF0000);
    overlay->setDestinationLocation(4, 4, 30, 16, kAlignRight);
    set.getOverlayFrames().putFrame(0, overlay);
    VideoOverlayFrame* unscaled = makeOverlay(16, 8, 0x80FF0000);
    unscaled->setDestinationLocation(0, 0, 16, 8, kAlignLeft);
    set.getOverlayFrames().putFrame(1, unscaled);
  }

  /// The server's reference holds it from here on.
  static VideoFrameBuffer& take(VideoFrameBufferSet& set) {
    const auto token = set.getVideoFrameBufferAllocator()->allocate();
    (*token)->createJavaBufferAllocation();
    return **token;
  }

  void picture() {
    VideoFrameBuffer& source = take(decoded);
    source.allocBuffer(176, 144, kFourCCYV12);
    source.transferLocationFromDecode();
    decoded.applyOverlays(source, decoded.getOverlayFrames());
    source.updateFractionalFrames(64, 64);
    for (VideoFrameBufferSet& rung : rungs) {
      VideoFrameBuffer& target = take(rung);
      rung.setScaleFlags(source.getScaleFlags());
      rung.transferFrame(source, target, rung.getOverlayFrames());
      rung.applyOverlays(target, rung.getOverlayFrames());
      target.releaseJavaBufferAllocation();
    }
    source.releaseJavaBufferAllocation();
  }

  VideoFrameBufferSet decoded;
  VideoFrameBufferSet rungs[3];
};

TEST(SteadyState, PicturesAllocateNothing) {
  auto* scaler = VideoFrameIntrinsicScalerSingleton::getInstance();
  scaler->setNativePath(0, QVS_PLUGIN_DIR);
  scaler->initialize();
  ASSERT_TRUE(scaler->isAvailable());
  for (uint32_t mode : {kFitLetterbox, kFitStretch, kFitCropToFill}) {
    Ladder ladder(mode);
    for (int i = 0; i < 4; ++i) ladder.picture();
    const uint64_t before = allocationsSoFar();
    for (int i = 0; i < 20; ++i) ladder.picture();
    EXPECT_EQ(allocationsSoFar() - before, 0u) << "fit mode " << mode;
  }
}

TEST(SteadyState, TheCounterCounts) {
  const uint64_t before = allocationsSoFar();
  std::free(std::malloc(100));
  delete new VideoFrameBuffer();
  EXPECT_GE(allocationsSoFar() - before, 2u);
}

}  // namespace
}  // namespace qvs::test
