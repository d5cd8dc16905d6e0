// Video scaler.
//
// Only a scaler that makes all renditions in one pass has a source, scalings and frames of its own; for the
// others the session refuses those calls, which the host passes over.

#include "session/jni/Holders.h"
#include "session/jni/JavaArrays.h"
#include "session/jni/NativeEntry.h"

using namespace qvs;

QVS_NATIVE(videoScalerCreate)(JNIEnv*, jobject, jlong classPtr, jlong fourcc, jlong bitDepth) {
  return callSession(QVS_LABEL(videoScalerCreate), classPtr, &TranscoderSession::videoScalerCreate, fourcc,
                     bitDepth);
}

QVS_NATIVE(videoScalerSetImplementation)
(JNIEnv*, jobject, jlong classPtr, jlong implementation, jlong gpuid) {
  return callSession(QVS_LABEL(videoScalerSetImplementation), classPtr,
                     &TranscoderSession::videoScalerSetImplementation2, implementation, gpuid);
}

QVS_NATIVE(videoScalerSetFlags)(JNIEnv*, jobject, jlong classPtr, jlong flags) {
  return withSession(QVS_LABEL(videoScalerSetFlags), classPtr, [&](TranscoderSession& session) -> jlong {
    session.setVideoScalerFlags(static_cast<uint64_t>(flags));
    return 0;
  });
}

QVS_NATIVE(videoScalerSetSource)
(JNIEnv*, jobject, jlong classPtr, jlong width, jlong height, jdouble frameRate) {
  return callSession(QVS_LABEL(videoScalerSetSource), classPtr, &TranscoderSession::videoScalerSetSource,
                     width, height, frameRate);
}

QVS_NATIVE(videoScalerAddScaling)
(JNIEnv*, jobject, jlong classPtr, jlong width, jlong height, jdouble frameRate, jlong scaleIndex,
 jboolean stableFramerate) {
  return callSession(QVS_LABEL(videoScalerAddScaling), classPtr, &TranscoderSession::videoScalerAddScaling,
                     width, height, frameRate, scaleIndex, stableFramerate);
}

QVS_NATIVE(videoScalerInitialize)(JNIEnv*, jobject, jlong classPtr) {
  return callSession(QVS_LABEL(videoScalerInitialize), classPtr, &TranscoderSession::videoScalerInitialize);
}

QVS_NATIVE(videoScalerScaleFrame)
(JNIEnv* env, jobject, jlong classPtr, jlong decodeIndex, jlongArray encoderBufferIndexes, jlong encoderCount,
 jobject scalerStatus) {
  return withSession(QVS_LABEL(videoScalerScaleFrame), classPtr, [&](TranscoderSession& session) {
    uint32_t status = 0;
    const IndexList indexes(env, encoderBufferIndexes, session.getVideoEncoderBufferSetCount() + 1);
    const uint32_t result = session.videoScalerScaleFrame(static_cast<uint32_t>(decodeIndex), indexes.get(),
                                                          static_cast<uint32_t>(encoderCount), &status);
    writeHolder(env, scalerStatus, int64_t{status});
    return result;
  });
}

QVS_NATIVE(videoScalerFreeFrame)(JNIEnv*, jobject, jlong classPtr, jlong decodeFrameIndex) {
  return callSession(QVS_LABEL(videoScalerFreeFrame), classPtr, &TranscoderSession::videoScalerFreeFrame,
                     decodeFrameIndex);
}
