#pragma once

#include <memory>

#include "platform/IConcurrentLock.h"

namespace qvs {

/// One process-wide lock around the opening and closing of NVENC sessions. Never destroyed.
class VideoEncoderH26XNVENCLock {
 public:
  static VideoEncoderH26XNVENCLock* getInstance();

  void lock() { concurrentLock->lock(); }
  void unlock() { concurrentLock->unlock(); }

 private:
  VideoEncoderH26XNVENCLock();

  std::unique_ptr<IConcurrentLock> concurrentLock;
};

}  // namespace qvs
