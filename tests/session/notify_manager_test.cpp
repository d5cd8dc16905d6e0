#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "session/notify/TranscoderSessionNotifyManager.h"

namespace qvs {
namespace {

using testing::ElementsAre;

TranscoderSessionNotifyManager& manager() {
  return *TranscoderSessionNotifyManager::getInstance();
}

/// Writes down what it hears.
class Recorder : public ITranscoderSessionNotifySession, public ITranscoderSessionNotifyVideoFrameDecode {
 public:
  explicit Recorder(std::string name, std::vector<std::string>* calls)
      : name(std::move(name)), calls(calls) {}

  uint32_t lockSession() override { return note("lock"); }
  uint32_t unlockSession() override { return note("unlock"); }
  uint32_t onCreateInstance(int64_t id, MediaStreamContext*) override {
    return note("create" + std::to_string(id));
  }
  uint32_t onDestroyInstance(int64_t id) override { return note("destroy" + std::to_string(id)); }
  uint32_t lockVideo() override { return note("lock"); }
  uint32_t unlockVideo() override { return note("unlock"); }
  uint32_t onVideoDecodeBeforeOverlay(int64_t id, IVideoDecoder*, VideoFrameBuffer*) override {
    if (during) during();
    return note("before" + std::to_string(id));
  }
  uint32_t onVideoDecodeAfterOverlay(int64_t id, IVideoDecoder*, VideoFrameBuffer*) override {
    return note("after" + std::to_string(id));
  }

  std::function<void()> during;

 private:
  uint32_t note(const std::string& what) {
    calls->push_back(name + " " + what);
    return 1;  // results are not looked at
  }

  std::string name;
  std::vector<std::string>* calls;
};

class NotifyManagerTest : public testing::Test {
 protected:
  void TearDown() override {
    for (int64_t id = 1; id <= 9; ++id) manager().notifySessionListenersDestroy(id);
  }

  void frame(int64_t id) { manager().notifyVideoFrameDecodeListenersBeforeOverlay(id, nullptr, nullptr); }

  std::vector<std::string> calls;
  Recorder a{"a", &calls};
  Recorder b{"b", &calls};
};

TEST_F(NotifyManagerTest, CallsInOrderInsideEachListenersLock) {
  manager().addVideoFrameDecodeListener(1, &b);
  manager().addVideoFrameDecodeListener(1, &a);
  frame(1);
  manager().notifyVideoFrameDecodeListenersAfterOverlay(1, nullptr, nullptr);
  EXPECT_THAT(calls, ElementsAre("b lock", "b before1", "b unlock", "a lock", "a before1", "a unlock",  //
                                 "b lock", "b after1", "b unlock", "a lock", "a after1", "a unlock"));
}

TEST_F(NotifyManagerTest, KeepsSessionsApart) {
  manager().addVideoFrameDecodeListener(1, &a);
  manager().addVideoFrameDecodeListener(2, &a);
  frame(2);
  frame(3);
  EXPECT_THAT(calls, ElementsAre("a lock", "a before2", "a unlock"));
}

TEST_F(NotifyManagerTest, RemovesBothEntriesOfAListenerAddedTwice) {
  manager().addVideoFrameDecodeListener(1, &a);
  manager().addVideoFrameDecodeListener(1, &b);
  manager().addVideoFrameDecodeListener(1, &a);
  EXPECT_EQ(manager().removeVideoFrameDecodeListener(1, &a), 0u);
  frame(1);
  EXPECT_THAT(calls, ElementsAre("b lock", "b before1", "b unlock"));
}

TEST_F(NotifyManagerTest, LetsListenersChangeTheListDuringTheirCall) {
  a.during = [&] {
    manager().removeVideoFrameDecodeListener(1, &a);
    manager().removeVideoFrameDecodeListener(1, &b);
    manager().addVideoFrameDecodeListener(1, &b);
  };
  manager().addVideoFrameDecodeListener(1, &a);
  manager().addVideoFrameDecodeListener(1, &b);
  frame(1);  // the frame in work still reaches all
  EXPECT_THAT(calls, ElementsAre("a lock", "a before1", "a unlock", "b lock", "b before1", "b unlock"));
  calls.clear();
  frame(1);
  EXPECT_THAT(calls, ElementsAre("b lock", "b before1", "b unlock"));
}

TEST_F(NotifyManagerTest, CopesWithMoreListenersThanFitItsStack) {
  for (int i = 0; i < 30; ++i) manager().addVideoFrameDecodeListener(1, &a);
  frame(1);
  EXPECT_EQ(calls.size(), 90u);
}

TEST_F(NotifyManagerTest, GivesAListenersLockBackWhenItThrows) {
  a.during = [] { throw std::runtime_error("broken"); };
  manager().addVideoFrameDecodeListener(1, &a);
  testing::internal::CaptureStdout();
  EXPECT_EQ(manager().notifyVideoFrameDecodeListenersBeforeOverlay(1, nullptr, nullptr), 0xFFFFFFFFu);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "TranscoderSessionNotifyManager::notify: broken\n");
  EXPECT_THAT(calls, ElementsAre("a lock", "a unlock"));
}

TEST_F(NotifyManagerTest, ForgetsASessionAtItsEnd) {
  const size_t before = manager().getSessionHolderCount();
  manager().addSessionListener(&a);
  manager().addVideoFrameDecodeListener(1, &b);
  manager().notifySessionListenersCreate(1, nullptr);
  EXPECT_EQ(manager().removeVideoFrameDecodeListener(7, &b), 0u);  // unknown ids get an empty holder
  EXPECT_EQ(manager().getSessionHolderCount(), before + 2);
  manager().notifySessionListenersDestroy(1);
  manager().notifySessionListenersDestroy(7);
  manager().removeSessionListener(&a);
  manager().notifySessionListenersCreate(2, nullptr);
  frame(1);
  EXPECT_THAT(calls, ElementsAre("a lock", "a create1", "a unlock", "a lock", "a destroy1", "a unlock",
                                 "a lock", "a destroy7", "a unlock"));
}

/// Counts frames of two sessions; safe to call from their threads at once.
class Counter : public ITranscoderSessionNotifyVideoFrameEncode {
 public:
  uint32_t lockVideo() override { return 0; }
  uint32_t unlockVideo() override { return 0; }
  uint32_t onVideoEncodeBeforeOverlay(int64_t, IVideoEncoder*, VideoFrameBuffer*,
                                      VideoFrameBuffer*) override {
    return ++frames;
  }
  uint32_t onVideoEncodeAfterOverlay(int64_t, IVideoEncoder*, VideoFrameBuffer*, VideoFrameBuffer*) override {
    return 0;
  }
  std::atomic<uint32_t> frames{0};
};

TEST_F(NotifyManagerTest, ServesSessionsOnSeveralThreads) {
  constexpr uint32_t kFrames = 2000;
  Counter counter;
  const auto run = [&](int64_t id) {
    manager().addVideoFrameEncodeListener(id, &counter);
    for (uint32_t i = 0; i < kFrames; ++i) {
      manager().notifyVideoFrameEncodeListenersBeforeOverlay(id, nullptr, nullptr, nullptr);
    }
    manager().notifySessionListenersDestroy(id);
  };
  std::thread first(run, 8);
  run(9);
  first.join();
  EXPECT_EQ(counter.frames, 2 * kFrames);
}

}  // namespace
}  // namespace qvs
