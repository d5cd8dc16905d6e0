#pragma once

#include <atomic>

#include "capture/decklink/DeckLinkPtr.h"
#include "platform/CrossplatformThread.h"
#include "platform/RingQueue.h"

namespace qvs {

/// What a card gave, with a reference of ours to each; either may be empty.
struct BlackMagicVideoInputFrameArrivedFrame {
  DeckLinkPtr<IDeckLinkVideoInputFrame> videoFrame;
  DeckLinkPtr<IDeckLinkAudioInputPacket> audioPacket;
  uint64_t currTime = 0;  ///< wall clock at its arrival, ms
};

/// Who turns what a card gave into frames, on the arrival thread.
class IVideoInputFrameArrivedWork {
 public:
  virtual ~IVideoInputFrameArrivedWork() = default;
  virtual void VideoInputFrameArrivedDoWork(const BlackMagicVideoInputFrameArrivedFrame& arrived) = 0;
};

/// The bounded queue between a card's thread and the arrival thread, and that thread.
class VideoInputFrameArrivedRunner final : private ICrossplatformThreadRunnable {
 public:
  static constexpr size_t kFramesMax = 5;

  explicit VideoInputFrameArrivedRunner(IVideoInputFrameArrivedWork& work) : work(work), thread(this) {}
  ~VideoInputFrameArrivedRunner() override { stop(); }

  uint32_t start() { return thread.start(); }
  /// Ends the thread and releases what waits.
  void stop();
  /// From the card's thread: false, and nothing kept, where the queue is full.
  bool push(IDeckLinkVideoInputFrame* frame, IDeckLinkAudioInputPacket* packet, uint64_t currTime);
  void flushVideoInputFrameArrived();

 private:
  void threadWork() override;
  bool take(BlackMagicVideoInputFrameArrivedFrame* arrived);

  IVideoInputFrameArrivedWork& work;
  CrossplatformThread thread;  ///< its lock guards the queue
  std::atomic<bool> videoInputFrameArrivedThreadStop{false};
  RingQueue<BlackMagicVideoInputFrameArrivedFrame> videoInputFrameArrivedFrames;
};

}  // namespace qvs
