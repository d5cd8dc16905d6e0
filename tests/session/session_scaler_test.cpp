#include <gtest/gtest.h>

#include "session/notify/TranscoderSessionNotifyManager.h"
#include "session/TranscoderSession.h"
#include "video/scaling/VideoScalerBase.h"

namespace qvs {
namespace {

constexpr uint32_t kFail = 0xFFFFFFFFu;

/// A scaler that notes what it is given.
class FakeScaler : public VideoScalerBase {
 public:
  uint32_t create() override { return 0; }
  uint32_t setSource(uint32_t width, uint32_t, double) override { return width; }
  uint32_t addScaling(uint32_t, uint32_t, double, uint32_t scaleIndex, bool) override { return scaleIndex; }
  uint32_t initialize() override { return 0; }
  uint32_t setGPUID(int32_t) override { return 0; }
  uint32_t scaleFrame(VideoFrameBuffer* source, std::vector<VideoScalerTarget>* targets,
                      uint32_t* count) override {
    asked.push_back(*count);
    if (pipelining) *count = 0;
    if (targets == nullptr) {
      forgotten.push_back(source->getBufferIndex());
      return 5;
    }
    counts.push_back(targets->size());
    for (const VideoScalerTarget& target : *targets) frames.push_back(target.frame);
    return 6;
  }

  bool pipelining = false;  ///< nothing is ready yet
  std::vector<uint32_t> asked;
  std::vector<uint32_t> forgotten;
  std::vector<size_t> counts;
  std::vector<VideoFrameBuffer*> frames;
};

/// A session of nine encoders whose scaler makes all renditions in one pass.
class ScalerSession : public TranscoderSession {
 public:
  ScalerSession() {
    auto made = std::make_unique<FakeScaler>();
    scaler = made.get();
    videoScaler = std::move(made);
    videoDecoderBuffersCreate(2);
    videoEncoderBufferSetsCreate(1);
    for (int32_t encoder = 0; encoder < 9; ++encoder) {
      int32_t index = -1;
      uint32_t set = 0;
      videoEncoderAdd(8, 8, 8, kFourCCYV12, 0, &index);
      videoEncoderBufferSetAlloc(&set);
    }
  }
  FakeScaler* scaler;
};

TEST(SessionScaler, GivesAllTargetsAtOnce) {
  ScalerSession session;
  const std::vector<uint32_t> targets(3, 0);
  uint32_t status = 9;
  EXPECT_EQ(session.videoScalerScaleFrame(1, targets, 3, &status), 0u);
  EXPECT_EQ(status, 3u);
  ASSERT_EQ(session.scaler->frames.size(), 3u);
  for (uint32_t set = 0; set < 3; ++set) {
    EXPECT_EQ(session.scaler->frames[set], session.getVideoEncoderBuffer(set, 0));
  }
  session.scaler->pipelining = true;
  EXPECT_EQ(session.videoScalerScaleFrame(1, targets, 3, &status), 0u);
  EXPECT_EQ(status, 1u) << "the renditions hold no picture yet";
  EXPECT_EQ(session.videoScalerScaleFrame(1, {}, 0, &status), 0u);
  EXPECT_EQ(status, 1u);
  EXPECT_EQ(session.scaler->counts.back(), 0u);
  EXPECT_EQ(session.videoScalerFreeFrame(1), 5u);
  EXPECT_EQ(session.scaler->asked, (std::vector<uint32_t>{3, 3, 0, 0}));
}

TEST(SessionScaler, RefusesWhatItCanNotServe) {
  ScalerSession session;
  uint32_t status = 9;
  EXPECT_EQ(session.videoScalerScaleFrame(1, {}, 9, &status), kFail);
  EXPECT_EQ(status, 0u);
  EXPECT_EQ(session.videoScalerScaleFrame(2, {}, 1, &status), kFail);
  EXPECT_EQ(session.videoScalerScaleFrame(1, std::vector<uint32_t>(10, 0), 8, &status), kFail);
  EXPECT_EQ(session.videoScalerScaleFrame(1, std::vector<uint32_t>{0, 1}, 2, &status), kFail);  // no entry 1
  int32_t index = 0;
  session.videoEncoderAdd(99, 0, 8, kFourCCYV12, 0, &index);  // empties slot 0
  EXPECT_EQ(session.videoScalerScaleFrame(1, std::vector<uint32_t>{0}, 1, &status), kFail);
  EXPECT_TRUE(session.scaler->counts.empty());
}

TEST(SessionScaler, ForgetsFramesOneByOneAndAllAtAReset) {
  ScalerSession session;
  EXPECT_EQ(session.videoScalerFreeFrame(1), 5u);
  EXPECT_EQ(session.videoScalerFreeFrame(2), 0u);
  EXPECT_EQ(session.scaler->forgotten, std::vector<uint32_t>{1});
  EXPECT_EQ(session.videoScalerSetSource(77, 0, 0), 77u);
  EXPECT_EQ(session.videoScalerAddScaling(0, 0, 0, 4, false), 4u);
  EXPECT_EQ(session.resetPipeline(), 0u);
  EXPECT_EQ(session.getVideoScaler(), nullptr);
  EXPECT_EQ(session.getVideoEncoderCount(), 0u);
  EXPECT_EQ(session.getVideoEncoderBufferSetCount(), 0u);
  uint32_t index = 9;
  EXPECT_EQ(session.videoDecoderBufferAllocate(&index), 0u);  // the decoder's pool stays
}

}  // namespace
}  // namespace qvs
