#pragma once

#include <jni.h>

#include <span>
#include <vector>

#include "frames/VideoFrameEncoded.h"
#include "offline/vod/IVODTranscoder.h"
#include "platform/FreeDeleter.h"

namespace qvs {

/// What a batch is asked by, out of Java, with the header that it points to.
struct JavaVODSettings {
  VODTranscoderVideoSettings values{};
  MallocBytes header;

  /// False where Java's object lacks a field, or memory failed.
  bool read(JNIEnv* env, jobject settings);
};

/// The frames of a batch in Annex B; the blocks go with this.
class VODBatch {
 public:
  /// Takes the packets of FLV's form; a configuration goes into the settings by its number. False where the packets'
  /// class can't be used.
  bool read(JNIEnv* env, jobjectArray packets, VODTranscoderVideoSettings& settings);

  const std::vector<VideoFrameEncoded>& getFrames() const { return frames; }
  /// Packets that could not be used: bytes outside of their array, or no memory.
  uint32_t getRefused() const { return refused; }

 private:
  MallocBytes makeBlock(JNIEnv* env, jbyteArray bytes, int64_t offset, int64_t len, uint32_t frameType,
                        const VODTranscoderVideoSettings& settings, uint32_t& size);

  std::vector<VideoFrameEncoded> frames;
  std::vector<MallocBytes> blocks;
  uint32_t refused = 0;
};

/// Appends a packet for each frame with a Java array, the array itself; gives the references back. False where the list
/// took less.
bool addVODPackets(JNIEnv* env, jobject list, std::span<VideoFrameEncoded> frames);

/// Fills a packet with the encoder's configuration. False where that isn't possible.
bool writeVODConfig(JNIEnv* env, jobject packet, const VideoFrameEncoded& frame);

}  // namespace qvs
