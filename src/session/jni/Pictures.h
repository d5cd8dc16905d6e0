#pragma once

#include <jni.h>

#include <cstdint>
#include <functional>
#include <memory>

#include "frames/VideoOverlayFrame.h"
#include "session/TranscoderSession.h"

namespace qvs {

/// A heap overlay made of a Java picture; null for a null object or one that lacks a field. Only "dstAlign"
/// may be missing. Its bytes are a copy that it owns.
std::unique_ptr<VideoOverlayFrame> convertToVideoOverlayFrame(JNIEnv* env, TranscoderSession& session,
                                                              const char* label, jobject nativeVideoFrame);

/// A session's reader of one picture: bytes, their count, width, height, timecode. Gives the session's
/// status.
using GetFrameBGRA = std::function<uint32_t(uint8_t**, uint32_t*, uint32_t*, uint32_t*, uint64_t*)>;

/// Reads a picture as BGRA into a Java object, in the size that the object asks for; failures go to the log of
/// `session`, or of the process. 0 with an unchanged
/// object when there is no picture.
jlong readPicture(JNIEnv* env, TranscoderSession* session, const char* label, jobject nativeVideoFrame,
                  const GetFrameBGRA& getFrameBGRA);

}  // namespace qvs
