// Video encoders: sets of target pictures.
//
// Overlays and rectangles always answer 0: the host learns of a bad one by its picture. For handle 0 the size
// of a set and the reading of pictures answer 0 too, all others -1.

#include "session/jni/Holders.h"
#include "session/jni/JavaArrays.h"
#include "session/jni/NativeEntry.h"
#include "session/jni/Pictures.h"

namespace qvs {
namespace {

using SetRectangle = uint32_t (TranscoderSession::*)(uint32_t, const uint32_t*);

/// Hands four numbers to the session, null for a null or empty array; what a short array lacks is 0.
jlong setRectangle(JNIEnv* env, const char* label, jlong classPtr, jlong setIndex, jlongArray rect,
                   SetRectangle operation) {
  withSession(label, classPtr, [&](TranscoderSession& session) {
    std::array<uint32_t, 4> values{};
    const IndexList given(env, rect, values.size());
    std::copy(given.get().begin(), given.get().end(), values.begin());
    (session.*operation)(static_cast<uint32_t>(setIndex), given.get().empty() ? nullptr : values.data());
    return 0;
  });
  return 0;
}

}  // namespace
}  // namespace qvs

using namespace qvs;

QVS_NATIVE(videoEncoderBufferSetsCreate)(JNIEnv*, jobject, jlong classPtr, jlong setCount) {
  return callSession(QVS_LABEL(videoEncoderBufferSetsCreate), classPtr,
                     &TranscoderSession::videoEncoderBufferSetsCreate, setCount);
}

QVS_NATIVE(videoEncoderBufferSetAlloc)(JNIEnv* env, jobject, jlong classPtr, jobject indexBuffer) {
  return withSession(QVS_LABEL(videoEncoderBufferSetAlloc), classPtr,
                     [&](TranscoderSession& session) -> jlong {
                       if (!readHolder(env, indexBuffer)) {
                         return failEntry(session, QVS_LABEL(videoEncoderBufferSetAlloc), kNoHolder);
                       }
                       uint32_t index = 0;
                       const uint32_t result = session.videoEncoderBufferSetAlloc(&index);
                       if (result == kSuccess) writeHolder(env, indexBuffer, int64_t{index});
                       return result;
                     });
}

QVS_NATIVE(videoEncoderBufferAdd)
(JNIEnv*, jobject, jlong classPtr, jlong width, jlong height, jlong fitMode, jlong fourcc, jlong scaleMode,
 jlong indexBuffer) {
  if (classPtr == 0) return 0;
  return callSession(QVS_LABEL(videoEncoderBufferAdd), classPtr, &TranscoderSession::videoEncoderBufferAdd,
                     width, height, fitMode, fourcc, scaleMode, indexBuffer);
}

QVS_NATIVE(videoEncoderBufferAllocate)(JNIEnv*, jobject, jlong classPtr, jlong encoderBufferSetIndex) {
  return withSession(
      QVS_LABEL(videoEncoderBufferAllocate), classPtr, [&](TranscoderSession& session) -> jlong {
        uint32_t index = 0;
        const uint32_t result =
            session.videoEncoderBufferAllocate(static_cast<uint32_t>(encoderBufferSetIndex), &index);
        return result == kFailure ? kEntryFailure : jlong{index};  // any other status comes with an index
      });
}

QVS_NATIVE(videoEncoderBufferAcquire)
(JNIEnv*, jobject, jlong classPtr, jlong encoderBufferSetIndex, jlong encoderBufferIndex) {
  return callSession(QVS_LABEL(videoEncoderBufferAcquire), classPtr,
                     &TranscoderSession::videoEncoderBufferAcquire, encoderBufferSetIndex,
                     encoderBufferIndex);
}

QVS_NATIVE(videoEncoderBufferRelease)
(JNIEnv*, jobject, jlong classPtr, jlong encoderBufferSetIndex, jlong encoderBufferIndex) {
  return callSession(QVS_LABEL(videoEncoderBufferRelease), classPtr,
                     &TranscoderSession::videoEncoderBufferRelease, encoderBufferSetIndex,
                     encoderBufferIndex);
}

QVS_NATIVE(videoEncoderBufferGetVideoFrame)
(JNIEnv* env, jobject, jlong classPtr, jlong encoderBufferSetIndex, jlong encoderBufferIndex,
 jobject nativeVideoFrame) {
  const auto read = [&](TranscoderSession& session) {
    return readPicture(
        env, &session, QVS_LABEL(videoEncoderBufferGetVideoFrame), nativeVideoFrame,
        [&](uint8_t** buffer, uint32_t* len, uint32_t* width, uint32_t* height, uint64_t* timecode) {
          return session.videoEncoderGetFrameBGRA(static_cast<uint32_t>(encoderBufferSetIndex),
                                                  static_cast<uint32_t>(encoderBufferIndex), buffer, len,
                                                  width, height, timecode);
        });
  };
  return withSession(QVS_LABEL(videoEncoderBufferGetVideoFrame), classPtr, read, 0);
}

QVS_NATIVE(videoEncoderBufferSetOverlayVideoFrame)
(JNIEnv* env, jobject, jlong classPtr, jlong encoderBufferSetIndex, jlong overlayIndex,
 jobject nativeVideoFrame) {
  withSession(QVS_LABEL(videoEncoderBufferSetOverlayVideoFrame), classPtr, [&](TranscoderSession& session) {
    return session.videoEncoderBufferSetOverlayVideoFrame(
        static_cast<uint32_t>(encoderBufferSetIndex), static_cast<uint32_t>(overlayIndex),
        convertToVideoOverlayFrame(env, session, QVS_LABEL(videoEncoderBufferSetOverlayVideoFrame),
                                   nativeVideoFrame)
            .release());
  });
  return 0;
}

QVS_NATIVE(videoEncoderBufferSetCrop)
(JNIEnv* env, jobject, jlong classPtr, jlong encoderBufferSetIndex, jlongArray rect) {
  return setRectangle(env, QVS_LABEL(videoEncoderBufferSetCrop), classPtr, encoderBufferSetIndex, rect,
                      &TranscoderSession::videoEncoderSetCrop);
}

QVS_NATIVE(videoEncoderBufferSetSourceRect)
(JNIEnv* env, jobject, jlong classPtr, jlong encoderBufferSetIndex, jlongArray rect) {
  return setRectangle(env, QVS_LABEL(videoEncoderBufferSetSourceRect), classPtr, encoderBufferSetIndex, rect,
                      &TranscoderSession::videoEncoderSetSrcRect);
}

QVS_NATIVE(videoEncoderBufferSetPadding)
(JNIEnv* env, jobject, jlong classPtr, jlong encoderBufferSetIndex, jlongArray rect) {
  return setRectangle(env, QVS_LABEL(videoEncoderBufferSetPadding), classPtr, encoderBufferSetIndex, rect,
                      &TranscoderSession::videoEncoderSetPadding);
}

QVS_NATIVE(videoEncoderBufferSetDestinationRect)
(JNIEnv* env, jobject, jlong classPtr, jlong encoderBufferSetIndex, jlongArray rect) {
  return setRectangle(env, QVS_LABEL(videoEncoderBufferSetDestinationRect), classPtr, encoderBufferSetIndex,
                      rect, &TranscoderSession::videoEncoderSetDstRect);
}
