#pragma once

#include "session/jni/NativeEntry.h"
#include "session/jni/Packets.h"

namespace qvs {

/// Appends the units to a Java list: `result`, or -1 when it ended early. Packets that Java didn't get are
/// told.
template <typename Units>
jlong deliver(JNIEnv* env, TranscoderSession& session, const char* label, jobject list, const Units& units,
              uint32_t result) {
  switch (addPackets(env, list, units)) {
    case PacketsAdded::kAll:
      return result;
    case PacketsAdded::kNone:
      session.fail(label, {.reason = "The list or class of the packets can't be used: packets are lost"});
      return result;
    default:
      return failEntry(session, label, {.reason = "The list refused a packet, or there is no memory"});
  }
}

}  // namespace qvs
