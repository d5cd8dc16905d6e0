#pragma once

#include <jni.h>

#include <vector>

#include "frames/AudioFrameEncoded.h"
#include "frames/VideoFrameEncoded.h"

namespace qvs {

/// Content types of packets.
inline constexpr uint32_t kPacketTypeAudio = 8;
inline constexpr uint32_t kPacketTypeVideo = 9;

/// Coded units on their way to Java; their bytes are freed with it.
template <typename Frame>
class OwnedFrames {
 public:
  OwnedFrames() = default;
  ~OwnedFrames();
  OwnedFrames(const OwnedFrames&) = delete;
  OwnedFrames& operator=(const OwnedFrames&) = delete;

  std::vector<Frame> frames;
};

enum class PacketsAdded {
  kAll,
  kNone,  ///< a list or class that can't be used: the list is as it was
  kSome,  ///< memory failed, or the list refused by an exception, which stays pending
};

/// Appends one packet per unit to a Java list, each with a copy of the bytes.
PacketsAdded addPackets(JNIEnv* env, jobject list, std::vector<VideoFrameEncoded>& frames);
PacketsAdded addPackets(JNIEnv* env, jobject list, std::vector<AudioFrameEncoded>& frames);

}  // namespace qvs
