#pragma once

#include <jni.h>

#include <memory>
#include <utility>

#include "log/LogGlobalLogger.h"
#include "platform/Guard.h"
#include "session/SessionRegistry.h"

// What every entry point is made of. All ignore the class that they are called on.

/// Head of an entry of TranscoderSessionNative; the argument list follows.
#define QVS_NATIVE(name) \
  extern "C" JNIEXPORT jlong JNICALL Java_com_zarvo_qvs_transcoder_model_TranscoderSessionNative_##name

/// The label under which an entry reports an exception.
#define QVS_LABEL(name) "TranscoderSessionNative::" #name

namespace qvs {

/// Result of an entry that itself failed. A failure of the session arrives as its unsigned number.
inline constexpr jlong kEntryFailure = -1;

inline constexpr const char* kNoSession = "No session has this handle";

/// -1, and a line in the process's log: for what fails where no session is known.
inline jlong failEntry(const char* label, const Failure& failure) {
  LogGlobalLogger::getInstance()->tell(label, failure);
  return kEntryFailure;
}

/// The same through the log of a session.
inline jlong failEntry(TranscoderSession& session, const char* label, const Failure& failure) {
  session.fail(label, failure);
  return kEntryFailure;
}

/// Through the log of a session, or of the process where there is none.
inline jlong failEntry(TranscoderSession* session, const char* label, const Failure& failure) {
  return session != nullptr ? failEntry(*session, label, failure) : failEntry(label, failure);
}

inline constexpr Failure kBytesOutside = {.reason =
                                              "The array doesn't hold the bytes, or there is no memory"};
inline constexpr Failure kNoHolder = {.reason = "The object for the number lacks its field"};

/// Runs `call` on the session, which lives on until it returns. Handle 0 answers `absent`, one that names no
/// session -1.
template <typename Call>
jlong withSession(const char* label, jlong classPtr, Call&& call, jlong absent = kEntryFailure) {
  if (classPtr == 0 && absent != kEntryFailure) return absent;
  return guarded(
      label,
      [&]() -> jlong {
        const std::shared_ptr<TranscoderSession> session = SessionRegistry::getInstance().find(classPtr);
        if (!session) return failEntry(label, {.reason = kNoSession, .number = classPtr});
        return static_cast<jlong>(call(*session));
      },
      kEntryFailure);
}

/// Calls the operation with each number cut to the type that the operation wants.
template <typename... Parameters, typename... Arguments>
jlong callSession(const char* label, jlong classPtr, uint32_t (TranscoderSession::*operation)(Parameters...),
                  Arguments... arguments) {
  return withSession(label, classPtr, [&](TranscoderSession& session) {
    return (session.*operation)(static_cast<Parameters>(arguments)...);
  });
}

}  // namespace qvs
