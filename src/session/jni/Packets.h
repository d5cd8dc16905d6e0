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

/// Appends one packet per unit to a Java list, each with a copy of the bytes. False when it ended early
/// because memory failed or the list refused; a list or class that can't be used leaves the list as it was
/// and is no failure.
bool addPackets(JNIEnv* env, jobject list, std::vector<VideoFrameEncoded>& frames);
bool addPackets(JNIEnv* env, jobject list, std::vector<AudioFrameEncoded>& frames);

}  // namespace qvs
