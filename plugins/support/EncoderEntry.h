#pragma once

#include "EncoderSession.h"
#include "Guard.h"

namespace qvs::plugins {

// What the entry points of an encoder plug-in are made of.

/// The session of a handle, with what the contract asks of it whatever the codec.
struct Held {
  std::unique_ptr<EncoderSession> encoder;
  bool open = false;
  bool ended = false;  ///< drained: takes no picture until opened anew
};

inline int32_t refuse(EncoderSession& encoder, int32_t status, const char* why) {
  encoder.problem = why;
  return status;
}

/// Runs `body(held)` where there is a session. No exception crosses the boundary.
template <typename Body>
int32_t with(void* session, Body body) {
  auto* held = static_cast<Held*>(session);
  if (held == nullptr) return QVS_PLUGIN_CREATE_ENCODER;
  held->encoder->problem.clear();
  return guarded(held->encoder->problem, [&] { return body(*held); });
}

/// Gives a picture to an open encoder; what is ready is then in its output.
int32_t addPicture(Held& held, const Picture& picture);

}  // namespace qvs::plugins
