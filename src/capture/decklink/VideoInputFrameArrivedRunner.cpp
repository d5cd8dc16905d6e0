// The queue of a card's arrivals and its thread.
#include "capture/decklink/VideoInputFrameArrivedRunner.h"

#include <mutex>

#include "platform/Guard.h"

namespace qvs {

namespace {
constexpr uint32_t kWaitMs = 5;
}

void VideoInputFrameArrivedRunner::stop() {
  videoInputFrameArrivedThreadStop = true;
  thread.notify();
  thread.stop();
  flushVideoInputFrameArrived();
}

bool VideoInputFrameArrivedRunner::push(IDeckLinkVideoInputFrame* frame, IDeckLinkAudioInputPacket* packet,
                                        uint64_t currTime) {
  const std::lock_guard guard(thread);
  if (videoInputFrameArrivedFrames.size() >= kFramesMax) return false;
  videoInputFrameArrivedFrames.push({DeckLinkPtr<IDeckLinkVideoInputFrame>::share(frame),
                                     DeckLinkPtr<IDeckLinkAudioInputPacket>::share(packet), currTime});
  thread.notify();
  return true;
}

void VideoInputFrameArrivedRunner::flushVideoInputFrameArrived() {
  const std::lock_guard guard(thread);
  videoInputFrameArrivedFrames.clear();
}

bool VideoInputFrameArrivedRunner::take(BlackMagicVideoInputFrameArrivedFrame* arrived) {
  const std::lock_guard guard(thread);
  if (videoInputFrameArrivedFrames.empty()) thread.wait(kWaitMs);
  if (videoInputFrameArrivedFrames.empty()) return false;
  *arrived = std::move(videoInputFrameArrivedFrames.front());
  videoInputFrameArrivedFrames.pop();
  return true;
}

void VideoInputFrameArrivedRunner::threadWork() {
  while (!videoInputFrameArrivedThreadStop) {
    BlackMagicVideoInputFrameArrivedFrame arrived;
    if (!take(&arrived) || (!arrived.videoFrame && !arrived.audioPacket)) continue;
    // What memory fails for is lost; the thread goes on.
    guarded("VideoInputFrameArrivedRunner::threadWork", [&] { work.VideoInputFrameArrivedDoWork(arrived); });
  }
}

}  // namespace qvs
