// Video encoders: life, settings and packets.
//
// Numbers of encoders that name none fail in the session. The parameter entries answer 0 then, and for handle
// 0.

#include "session/jni/Delivery.h"
#include "session/jni/Holders.h"
#include "session/jni/NativeEntry.h"
#include "session/jni/Parameters.h"
#include "session/jni/StreamContext.h"
#include "session/SessionParameters.h"

using namespace qvs;

QVS_NATIVE(videoEncoderAdd)
(JNIEnv* env, jobject, jlong classPtr, jlong codec, jlong codecVersion, jlong bitDepth, jlong fourcc,
 jlong implementation, jobject nativeMediaStreamContext, jobject indexEncoder) {
  return withSession(QVS_LABEL(videoEncoderAdd), classPtr, [&](TranscoderSession& session) -> jlong {
    // Without a number to write back the host could never name the encoder: none is made.
    const std::optional<int64_t> wanted = readHolder(env, indexEncoder);
    if (!wanted) return failEntry(session, QVS_LABEL(videoEncoderAdd), kNoHolder);
    auto index = static_cast<int32_t>(*wanted);
    const uint32_t result = session.videoEncoderAdd(
        static_cast<uint32_t>(codec), static_cast<uint32_t>(codecVersion), static_cast<uint32_t>(bitDepth),
        static_cast<uint32_t>(fourcc), static_cast<uint32_t>(implementation), &index);
    if (IVideoEncoder* encoder = session.getVideoEncoder(static_cast<uint32_t>(index))) {
      setMediaStreamContext(env, nativeMediaStreamContext, encoder->getMediaStreamContext());
    }
    writeHolder(env, indexEncoder, int64_t{index});
    return result;
  });
}

QVS_NATIVE(videoEncoderSetDefaults)
(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jlong video_type, jlong PAL) {
  return callSession(QVS_LABEL(videoEncoderSetDefaults), classPtr,
                     &TranscoderSession::videoEncoderSetDefaults, indexEncoder, video_type, PAL);
}

QVS_NATIVE(videoEncoderUpdateBitrate)(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jlong bitrate) {
  return callSession(QVS_LABEL(videoEncoderUpdateBitrate), classPtr,
                     &TranscoderSession::videoEncoderUpdateBitrate, indexEncoder, bitrate);
}

QVS_NATIVE(videoEncoderSetBitrate)(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jlong bitrate) {
  return callSession(QVS_LABEL(videoEncoderSetBitrate), classPtr, &TranscoderSession::videoEncoderSetBitrate,
                     indexEncoder, bitrate);
}

QVS_NATIVE(videoEncoderSetFrameIndex)
(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jlong frameIndex) {
  return callSession(QVS_LABEL(videoEncoderSetFrameIndex), classPtr,
                     &TranscoderSession::videoEncoderSetFrameIndex, indexEncoder, frameIndex);
}

QVS_NATIVE(videoEncoderSetKeyFrameFollow)
(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jlong keyFrameFollow) {
  return callSession(QVS_LABEL(videoEncoderSetKeyFrameFollow), classPtr,
                     &TranscoderSession::videoEncoderSetKeyFrameFollow, indexEncoder, keyFrameFollow);
}

QVS_NATIVE(videoEncoderSetGPUID)(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jlong gpuid) {
  return callSession(QVS_LABEL(videoEncoderSetGPUID), classPtr, &TranscoderSession::videoEncoderSetGPUID,
                     indexEncoder, gpuid);
}

QVS_NATIVE(videoEncoderSetFrameSize)
(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jlong width, jlong height) {
  return callSession(QVS_LABEL(videoEncoderSetFrameSize), classPtr,
                     &TranscoderSession::videoEncoderSetFrameSize, indexEncoder, width, height);
}

QVS_NATIVE(videoEncoderSetFrameRate)
(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jdouble frameRate) {
  return callSession(QVS_LABEL(videoEncoderSetFrameRate), classPtr,
                     &TranscoderSession::videoEncoderSetFrameRate, indexEncoder, frameRate);
}

QVS_NATIVE(videoEncoderApplyParameters)(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder) {
  return callSession(QVS_LABEL(videoEncoderApplyParameters), classPtr,
                     &TranscoderSession::videoEncoderApplyParameters, indexEncoder);
}

QVS_NATIVE(videoEncoderSetParameterValues)
(JNIEnv* env, jobject, jlong classPtr, jlong indexEncoder, jobjectArray parametersArr) {
  const auto set = [&](TranscoderSession& session) {
    VideoEncoderParameters encoder(session, static_cast<uint32_t>(indexEncoder));
    return setParameters(env, session, QVS_LABEL(videoEncoderSetParameterValues), parametersArr, &encoder,
                         {});
  };
  return withSession(QVS_LABEL(videoEncoderSetParameterValues), classPtr, set, 0);
}

QVS_NATIVE(videoEncoderGetParameterValues)
(JNIEnv* env, jobject, jlong classPtr, jlong indexEncoder, jobjectArray parametersArr) {
  const auto get = [&](TranscoderSession& session) {
    VideoEncoderParameters encoder(session, static_cast<uint32_t>(indexEncoder));
    return getParameters(env, session, QVS_LABEL(videoEncoderGetParameterValues), parametersArr, &encoder,
                         {});
  };
  return withSession(QVS_LABEL(videoEncoderGetParameterValues), classPtr, get, 0);
}

QVS_NATIVE(videoEncoderInitialize)(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder) {
  return callSession(QVS_LABEL(videoEncoderInitialize), classPtr, &TranscoderSession::videoEncoderInitialize,
                     indexEncoder);
}

QVS_NATIVE(videoEncoderPreprocessFrame)(JNIEnv*, jobject, jlong, jlong, jlong, jlong) {
  return 0;
}

// The next two pass their numbers on in the order in which they come, though the session wants the picture's
// number before the set's: what the host places as setIndex selects the picture, what it places as
// indexBuffer the set.

QVS_NATIVE(videoEncoderAddFrame)
(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jlong setIndex, jlong indexBuffer, jlong frameType,
 jlong timecode) {
  return callSession(QVS_LABEL(videoEncoderAddFrame), classPtr, &TranscoderSession::videoEncoderAddFrame,
                     indexEncoder, setIndex, indexBuffer, frameType, timecode);
}

QVS_NATIVE(videoEncoderSkipFrame)
(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jlong setIndex, jlong indexBuffer, jlong frameType,
 jlong timecode) {
  return callSession(QVS_LABEL(videoEncoderSkipFrame), classPtr, &TranscoderSession::videoEncoderSkipFrame,
                     indexEncoder, setIndex, indexBuffer, frameType, timecode);
}

QVS_NATIVE(videoEncoderGetEncodedFrames)
(JNIEnv* env, jobject, jlong classPtr, jlong indexEncoder, jobject encodedFrames) {
  return withSession(
      QVS_LABEL(videoEncoderGetEncodedFrames), classPtr, [&](TranscoderSession& session) -> jlong {
        EncodedVideoUnits units;
        const uint32_t result =
            session.videoEncoderGetEncodedFrames(static_cast<uint32_t>(indexEncoder), units);
        if (result != kSuccess) return result;
        return deliver(env, session, QVS_LABEL(videoEncoderGetEncodedFrames), encodedFrames, units, result);
      });
}
