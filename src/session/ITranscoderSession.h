#pragma once

namespace qvs {

/// Root of all sessions.
class ITranscoderSession {
 public:
  virtual ~ITranscoderSession() = default;
};

}  // namespace qvs
