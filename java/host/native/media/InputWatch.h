#pragma once

#include "media/AvHandles.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace qvs::host {

/// Ends what libavformat waits for: when it is told to, or when a server has been silent for too long. Counts how often
/// it connects anew, which it tells in its log only.
class InputWatch {
 public:
  /// From now on `format` asks it; before it is opened.
  void guard(AVFormatContext* format, int64_t patienceMs);
  /// A call that may wait begins: patience is counted from here, and so much later for what it does beside.
  void begin(int64_t workUs = 0);
  /// Any thread.
  void stop() { stopped_ = true; }

  bool isStopped() const { return stopped_; }
  /// True where it guards, and was told to stop.
  bool isEnded() const { return stopped_ && patienceUs_ > 0; }
  /// True once a call was ended because nothing came.
  bool isOutOfPatience() const { return outOfPatience_; }
  std::string patienceText() const;
  int64_t reconnects() const;

 private:
  static int isOver(void* self);

  std::atomic<bool> stopped_ = false;
  std::atomic<bool> outOfPatience_ = false;
  std::atomic<int64_t> deadlineUs_ = INT64_MAX;
  int64_t patienceUs_ = 0;
  int64_t reconnectsBefore_ = 0;
};

}  // namespace qvs::host
