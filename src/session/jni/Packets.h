#pragma once

#include <jni.h>

#include <span>

#include "frames/AudioFrameEncoded.h"
#include "frames/VideoFrameEncoded.h"

namespace qvs {

/// Content types of packets.
inline constexpr uint32_t kPacketTypeAudio = 8;
inline constexpr uint32_t kPacketTypeVideo = 9;

enum class PacketsAdded {
  kAll,
  kNone,  ///< a list or class that can't be used: the list is as it was
  kSome,  ///< memory failed, or the list refused by an exception, which stays pending
};

/// Appends one packet per unit to a Java list, with a copy of the bytes, or with the Java array itself that an
/// encoder wrote to.
PacketsAdded addPackets(JNIEnv* env, jobject list, std::span<const VideoFrameEncoded> units);
PacketsAdded addPackets(JNIEnv* env, jobject list, std::span<const AudioFrameEncoded> units);

}  // namespace qvs
