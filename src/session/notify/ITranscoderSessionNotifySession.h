#pragma once

#include <cstdint>

#include "platform/Export.h"

namespace qvs {

class MediaStreamContext;

/// Hears of sessions that come and go; `sessionId` is the session's handle.
/// Results are not evaluated. The lock pair is the listener's own guard of its state, called around each
/// event.
class QVS_EXPORT ITranscoderSessionNotifySession {
 public:
  virtual ~ITranscoderSessionNotifySession() = default;
  virtual uint32_t lockSession() = 0;
  virtual uint32_t unlockSession() = 0;

  virtual uint32_t onCreateInstance(int64_t sessionId, MediaStreamContext* context) = 0;

  /// The session is gone: the id must not be used as a handle any more.
  virtual uint32_t onDestroyInstance(int64_t sessionId) = 0;
};

}  // namespace qvs
