#pragma once

#include "media/AvHandles.h"
#include "media/MediaStatus.h"

#include <cstdint>
#include <string>

namespace qvs::host {

/// Bytes of a pipe, a FIFO or a device: they come when they come, and only once.
class LiveInput {
 public:
  LiveInput();
  ~LiveInput();
  LiveInput(const LiveInput&) = delete;
  LiveInput& operator=(const LiveInput&) = delete;

  /// "-" is standard input. A FIFO that nobody writes to yet is waited for by the first read.
  MediaStatus open(const std::string& path);
  /// What libavformat reads from; null before `open`. Stays this object's.
  AVIOContext* context() const { return context_; }
  /// Any thread: from now on reading finds the end, a read that waits included.
  void stop();

 private:
  static int read(void* self, uint8_t* bytes, int size);
  bool waitForBytes();

  int input_ = -1;
  int stopEvent_ = -1;
  /// A FIFO goes on with its next writer; one stream ends with its own.
  bool ended_ = false;
  AVIOContext* context_ = nullptr;
};

}  // namespace qvs::host
