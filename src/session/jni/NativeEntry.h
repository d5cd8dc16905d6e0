#pragma once

#include <jni.h>

#include <utility>

#include "platform/Guard.h"
#include "session/TranscoderSession.h"

// What every entry point is made of. All ignore the class that they are called on.

/// Head of an entry of TranscoderSessionNative; the argument list follows.
#define QVS_NATIVE(name) \
  extern "C" JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_transcoder_model_TranscoderSessionNative_##name

/// The label under which an entry reports an exception.
#define QVS_LABEL(name) "TranscoderSessionNative::" #name

namespace qvs {

/// Result of an entry that itself failed. A failure of the session arrives as its unsigned number.
inline constexpr jlong kEntryFailure = -1;

inline TranscoderSession* sessionOf(jlong classPtr) {
  return reinterpret_cast<TranscoderSession*>(classPtr);
}
inline jlong handleOf(TranscoderSession* session) {
  return reinterpret_cast<jlong>(session);
}

/// Runs `call` on the session, or answers `absent` for handle 0.
template <typename Call>
jlong withSession(const char* label, jlong classPtr, Call&& call, jlong absent = kEntryFailure) {
  if (classPtr == 0) return absent;
  return guarded(
      label, [&] { return static_cast<jlong>(call(*sessionOf(classPtr))); }, kEntryFailure);
}

/// Calls the operation with each number cut to the type that the operation wants.
template <typename... Parameters, typename... Arguments>
jlong forward(const char* label, jlong classPtr, uint32_t (TranscoderSession::*operation)(Parameters...),
              Arguments... arguments) {
  return withSession(label, classPtr, [&](TranscoderSession& session) {
    return (session.*operation)(static_cast<Parameters>(arguments)...);
  });
}

}  // namespace qvs
