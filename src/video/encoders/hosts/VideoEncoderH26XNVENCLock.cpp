// The process's lock around opening and closing NVENC sessions.
#include "video/encoders/hosts/VideoEncoderH26XNVENCLock.h"

#include "platform/ConcurrentLockFactory.h"

namespace qvs {

VideoEncoderH26XNVENCLock::VideoEncoderH26XNVENCLock()
    : concurrentLock(ConcurrentLockFactory::newConcurrentLock()) {}

VideoEncoderH26XNVENCLock* VideoEncoderH26XNVENCLock::getInstance() {
  static VideoEncoderH26XNVENCLock* const pInstance = new VideoEncoderH26XNVENCLock;
  return pInstance;
}

}  // namespace qvs
