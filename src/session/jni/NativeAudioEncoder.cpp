// Audio encoders.
//
// The block on its way through an encoder is the encoder's own, so that the number of a decoded block in some
// of these calls has no effect; it is part of their form. The parameter entries answer 0 for handle 0.

#include "audio/AudioResampler.h"
#include "log/ILogger.h"
#include "session/FailureReasons.h"
#include "session/jni/AudioBlocks.h"
#include "session/jni/Delivery.h"
#include "session/jni/Holders.h"
#include "session/jni/NativeEntry.h"
#include "session/jni/Parameters.h"
#include "session/jni/Resamplers.h"
#include "session/jni/StreamContext.h"

using namespace qvs;

QVS_NATIVE(audioEncoderAdd)
(JNIEnv* env, jobject, jlong classPtr, jlong codec, jlong implementation, jobject nativeMediaStreamContext,
 jobject indexEncoder) {
  return withSession(QVS_LABEL(audioEncoderAdd), classPtr, [&](TranscoderSession& session) -> jlong {
    if (!readHolder(env, indexEncoder)) return failEntry(session, QVS_LABEL(audioEncoderAdd), kNoHolder);
    int32_t index = -1;
    const uint32_t result =
        session.audioEncoderAdd(static_cast<uint32_t>(codec), static_cast<uint32_t>(implementation), &index);
    if (IAudioEncoder* encoder = session.getAudioEncoder(static_cast<uint32_t>(index))) {
      setMediaStreamContext(env, nativeMediaStreamContext, encoder->getMediaStreamContext());
    }
    writeHolder(env, indexEncoder, int64_t{index});
    return result;
  });
}

QVS_NATIVE(audioEncoderSetSampleRate)
(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jlong sampleRate) {
  return callSession(QVS_LABEL(audioEncoderSetSampleRate), classPtr,
                     &TranscoderSession::audioEncoderSetSampleRate, indexEncoder, sampleRate);
}

QVS_NATIVE(audioEncoderSetChannels)(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jlong channels) {
  return callSession(QVS_LABEL(audioEncoderSetChannels), classPtr,
                     &TranscoderSession::audioEncoderSetChannels, indexEncoder, channels);
}

QVS_NATIVE(audioEncoderSetQuality)(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jdouble quality) {
  return callSession(QVS_LABEL(audioEncoderSetQuality), classPtr, &TranscoderSession::audioEncoderSetQuality,
                     indexEncoder, quality);
}

QVS_NATIVE(audioEncoderSetBitrate)(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jlong bitrate) {
  return callSession(QVS_LABEL(audioEncoderSetBitrate), classPtr, &TranscoderSession::audioEncoderSetBitrate,
                     indexEncoder, bitrate);
}

QVS_NATIVE(audioEncoderApplyParameters)(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder) {
  return withSession(QVS_LABEL(audioEncoderApplyParameters), classPtr,
                     [&](TranscoderSession& session) -> jlong {
                       IAudioEncoder* encoder = session.getAudioEncoder(static_cast<uint32_t>(indexEncoder));
                       if (encoder == nullptr)
                         return failEntry(session, QVS_LABEL(audioEncoderApplyParameters),
                                          noAudioEncoder(static_cast<uint32_t>(indexEncoder)));
                       return encoder->applyParameters();
                     });
}

QVS_NATIVE(audioEncoderSetParameterValues)
(JNIEnv* env, jobject, jlong classPtr, jlong indexEncoder, jobjectArray parametersArr) {
  const auto set = [&](TranscoderSession& session) {
    return setParameters(env, session, QVS_LABEL(audioEncoderSetParameterValues), parametersArr,
                         session.getAudioEncoder(static_cast<uint32_t>(indexEncoder)),
                         noAudioEncoder(static_cast<uint32_t>(indexEncoder)));
  };
  return withSession(QVS_LABEL(audioEncoderSetParameterValues), classPtr, set, 0);
}

QVS_NATIVE(audioEncoderGetParameterValues)
(JNIEnv* env, jobject, jlong classPtr, jlong indexEncoder, jobjectArray parametersArr) {
  const auto get = [&](TranscoderSession& session) {
    return getParameters(env, session, QVS_LABEL(audioEncoderGetParameterValues), parametersArr,
                         session.getAudioEncoder(static_cast<uint32_t>(indexEncoder)),
                         noAudioEncoder(static_cast<uint32_t>(indexEncoder)));
  };
  return withSession(QVS_LABEL(audioEncoderGetParameterValues), classPtr, get, 0);
}

QVS_NATIVE(audioEncoderInitialize)(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder) {
  return callSession(QVS_LABEL(audioEncoderInitialize), classPtr, &TranscoderSession::audioEncoderInitialize,
                     indexEncoder);
}

QVS_NATIVE(audioEncoderGetHeaders)
(JNIEnv* env, jobject, jlong classPtr, jlong indexEncoder, jobject encodedFrames) {
  return withSession(QVS_LABEL(audioEncoderGetHeaders), classPtr, [&](TranscoderSession& session) -> jlong {
    std::vector<AudioFrameEncoded> headers;  // the bytes stay the encoder's
    const uint32_t result = session.audioEncoderGetHeaders(static_cast<uint32_t>(indexEncoder), headers);
    return deliver(env, session, QVS_LABEL(audioEncoderGetHeaders), encodedFrames, headers, result);
  });
}

QVS_NATIVE(audioEncoderAddSampleBuffer)
(JNIEnv* env, jobject, jlong classPtr, jlong indexEncoder, jlong indexBuffer, jobject encodedFrames) {
  return withSession(
      QVS_LABEL(audioEncoderAddSampleBuffer), classPtr, [&](TranscoderSession& session) -> jlong {
        EncodedAudioUnits units;
        const uint32_t result = session.audioEncoderAddSampleBuffer(
            static_cast<uint32_t>(indexEncoder), static_cast<uint32_t>(indexBuffer), units);
        return deliver(env, session, QVS_LABEL(audioEncoderAddSampleBuffer), encodedFrames, units, result);
      });
}

QVS_NATIVE(audioEncoderAddAudioResampler)
(JNIEnv* env, jobject, jlong classPtr, jlong indexEncoder, jobject resamplerParametersObj) {
  return withSession(QVS_LABEL(audioEncoderAddAudioResampler), classPtr, [&](TranscoderSession& session) {
    IAudioEncoder* encoder = session.getAudioEncoder(static_cast<uint32_t>(indexEncoder));
    if (encoder == nullptr)
      return failEntry(session, QVS_LABEL(audioEncoderAddAudioResampler),
                       noAudioEncoder(static_cast<uint32_t>(indexEncoder)));
    auto resampler = makeResampler(env, "audioEncoderAddAudioResampler", resamplerParametersObj);
    if (!resampler) return failEntry(session, QVS_LABEL(audioEncoderAddAudioResampler), kNoResampler);
    resampler->setLogContext(kLogContextAudioEncoder);
    resampler->setSessionIndex(encoder->getSessionIndex());
    encoder->setAudioResampler(resampler.release());
    return jlong{kSuccess};
  });
}

QVS_NATIVE(audioEncoderEncodeBufferStart)
(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jlong indexBuffer) {
  return callSession(QVS_LABEL(audioEncoderEncodeBufferStart), classPtr,
                     &TranscoderSession::audioEncoderEncodeBufferStart, indexEncoder, indexBuffer);
}

QVS_NATIVE(audioEncoderEncodeBufferDone)
(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jlong indexBuffer) {
  return callSession(QVS_LABEL(audioEncoderEncodeBufferDone), classPtr,
                     &TranscoderSession::audioEncoderEncodeBufferDone, indexEncoder, indexBuffer);
}

QVS_NATIVE(audioEncoderGetAudioFrame)
(JNIEnv* env, jobject, jlong classPtr, jlong indexEncoder, jlong, jobject nativeAudioFrameObj) {
  return withSession(QVS_LABEL(audioEncoderGetAudioFrame), classPtr, [&](TranscoderSession& session) {
    return readAudioBlock(env, session, QVS_LABEL(audioEncoderGetAudioFrame), nativeAudioFrameObj,
                          session.getAudioEncoderEncodeBuffer(static_cast<uint32_t>(indexEncoder)));
  });
}

QVS_NATIVE(audioEncoderUpdateAudioFrame)
(JNIEnv* env, jobject, jlong classPtr, jlong indexEncoder, jlong, jobject nativeAudioFrameObj) {
  return withSession(QVS_LABEL(audioEncoderUpdateAudioFrame), classPtr, [&](TranscoderSession& session) {
    return writeAudioBlock(env, session, QVS_LABEL(audioEncoderUpdateAudioFrame), nativeAudioFrameObj,
                           session.getAudioEncoderEncodeBuffer(static_cast<uint32_t>(indexEncoder)));
  });
}

QVS_NATIVE(audioEncoderResampleFrame)
(JNIEnv*, jobject, jlong classPtr, jlong indexEncoder, jlong indexBuffer) {
  return callSession(QVS_LABEL(audioEncoderResampleFrame), classPtr,
                     &TranscoderSession::audioEncoderResampleFrame, indexEncoder, indexBuffer);
}
