#pragma once

#include <atomic>
#include <mutex>

#include "session/notify/TranscoderSessionNotifyManager.h"

namespace qvs::test {

/// Counts video events of any number of sessions in any number of threads.
class CountingListener : public ITranscoderSessionNotifyVideoFrameDecode,
                         public ITranscoderSessionNotifyVideoFrameEncode {
 public:
  uint32_t lockVideo() override {
    mutex.lock();
    return 0;
  }
  uint32_t unlockVideo() override {
    mutex.unlock();
    return 0;
  }
  uint32_t onVideoDecodeBeforeOverlay(int64_t sessionId, IVideoDecoder*, VideoFrameBuffer*) override {
    return onEvent(sessionId);
  }
  uint32_t onVideoDecodeAfterOverlay(int64_t sessionId, IVideoDecoder*, VideoFrameBuffer*) override {
    return onEvent(sessionId);
  }
  uint32_t onVideoEncodeBeforeOverlay(int64_t sessionId, IVideoEncoder*, VideoFrameBuffer*,
                                      VideoFrameBuffer*) override {
    return onEvent(sessionId);
  }
  uint32_t onVideoEncodeAfterOverlay(int64_t sessionId, IVideoEncoder*, VideoFrameBuffer*,
                                     VideoFrameBuffer*) override {
    return onEvent(sessionId);
  }

  uint32_t count() const { return events; }

 protected:
  virtual uint32_t onEvent(int64_t) {
    ++events;
    return 0;
  }

  std::atomic<uint32_t> events{0};

 private:
  std::recursive_mutex mutex;
};

}  // namespace qvs::test
