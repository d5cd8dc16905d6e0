#pragma once

#include <jni.h>

#include <string>
#include <vector>

#include "offline/thumbnail/ThumbnailerData.h"
#include "session/jni/LocalRef.h"

namespace qvs {

/// A request out of Java, with its packets where they lie.
class JavaThumbnailPackets {
 public:
  /// Reads all of the request. False where it can't be served; `complaint` then says why, if anything is to be said.
  bool read(JNIEnv* env, jobject request, std::string& complaint);

  const ThumbnailerRequestData& get() const { return data; }

 private:
  bool readPackets(JNIEnv* env, jobjectArray array, std::string& complaint);

  ThumbnailerRequestData data;
  std::vector<ThumbnailerRequestPacketData> packets;
  /// The host could drop a buffer from its packet while it is read.
  std::vector<LocalRef<jobject>> buffers;
};

/// Puts a picture into the response. False where that isn't possible, with the reason in `complaint`.
bool writeThumbnail(JNIEnv* env, jobject response, int32_t format, const ThumbnailerResponseData& picture,
                    std::string& complaint);

}  // namespace qvs
