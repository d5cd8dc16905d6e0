// Audio decoder.
//
// Coded bytes are copied once, with the room in front that the decoder wants for a header of its own, and
// freed when the call returns: no audio decoder keeps its input. The parameter entries answer 0 for handle 0.

#include "audio/AudioResampler.h"
#include "session/FailureReasons.h"
#include "session/jni/AudioBlocks.h"
#include "session/jni/Holders.h"
#include "session/jni/JavaArrays.h"
#include "session/jni/NativeEntry.h"
#include "session/jni/Parameters.h"
#include "session/jni/Resamplers.h"
#include "session/jni/StreamContext.h"

using namespace qvs;

QVS_NATIVE(audioDecoderCreate)
(JNIEnv* env, jobject, jlong classPtr, jlong decoderType, jlong codec, jlong implementation,
 jobject nativeMediaStreamContext) {
  return withSession(QVS_LABEL(audioDecoderCreate), classPtr, [&](TranscoderSession& session) {
    const uint32_t result =
        session.audioDecoderCreate(static_cast<uint32_t>(decoderType), static_cast<uint32_t>(codec),
                                   static_cast<uint32_t>(implementation));
    if (IAudioDecoder* decoder = session.getAudioDecoder()) {
      setMediaStreamContext(env, nativeMediaStreamContext, decoder->getMediaStreamContext());
    }
    return result;
  });
}

QVS_NATIVE(audioDecoderApplyParameters)(JNIEnv*, jobject, jlong classPtr) {
  return withSession(QVS_LABEL(audioDecoderApplyParameters), classPtr,
                     [](TranscoderSession& session) -> jlong {
                       IAudioDecoder* decoder = session.getAudioDecoder();
                       if (decoder == nullptr)
                         return failEntry(session, QVS_LABEL(audioDecoderApplyParameters), kNoAudioDecoder);
                       return decoder->applyParameters();
                     });
}

QVS_NATIVE(audioDecoderSetCaptureDevice)(JNIEnv*, jobject, jlong classPtr, jlong deviceId) {
  return callSession(QVS_LABEL(audioDecoderSetCaptureDevice), classPtr,
                     &TranscoderSession::audioDecoderSetCaptureDevice, deviceId);
}

QVS_NATIVE(audioDecoderSetParameterValues)(JNIEnv* env, jobject, jlong classPtr, jobjectArray parametersArr) {
  const auto set = [&](TranscoderSession& session) {
    return setParameters(env, session, QVS_LABEL(audioDecoderSetParameterValues), parametersArr,
                         session.getAudioDecoder(), kNoAudioDecoder);
  };
  return withSession(QVS_LABEL(audioDecoderSetParameterValues), classPtr, set, 0);
}

QVS_NATIVE(audioDecoderGetParameterValues)(JNIEnv* env, jobject, jlong classPtr, jobjectArray parametersArr) {
  const auto get = [&](TranscoderSession& session) {
    return getParameters(env, session, QVS_LABEL(audioDecoderGetParameterValues), parametersArr,
                         session.getAudioDecoder(), kNoAudioDecoder);
  };
  return withSession(QVS_LABEL(audioDecoderGetParameterValues), classPtr, get, 0);
}

QVS_NATIVE(audioDecoderInitialize)(JNIEnv*, jobject, jlong classPtr) {
  return callSession(QVS_LABEL(audioDecoderInitialize), classPtr, &TranscoderSession::audioDecoderInitialize);
}

QVS_NATIVE(audioDecoderIsFirstFrameDecoded)(JNIEnv*, jobject, jlong classPtr) {
  return callSession(QVS_LABEL(audioDecoderIsFirstFrameDecoded), classPtr,
                     &TranscoderSession::audioDecoderIsFirstFrameDecoded);
}

QVS_NATIVE(audioDecoderResetDecodedFrameState)(JNIEnv*, jobject, jlong classPtr) {
  return callSession(QVS_LABEL(audioDecoderResetDecodedFrameState), classPtr,
                     &TranscoderSession::audioDecoderResetDecodedFrameState);
}

QVS_NATIVE(audioDecoderBuffersCreate)(JNIEnv*, jobject, jlong classPtr, jlong count) {
  return callSession(QVS_LABEL(audioDecoderBuffersCreate), classPtr,
                     &TranscoderSession::audioDecoderBuffersCreate, count);
}

QVS_NATIVE(audioDecoderBuffersAllocate)
(JNIEnv*, jobject, jlong classPtr, jlong sampleCount, jlong channels, jlong sampleRate) {
  return callSession(QVS_LABEL(audioDecoderBuffersAllocate), classPtr,
                     &TranscoderSession::audioDecoderBuffersAllocate, sampleCount, channels, sampleRate);
}

QVS_NATIVE(audioDecoderGetSampleRate)(JNIEnv* env, jobject, jlong classPtr, jobject sampleRateObj) {
  return withSession(QVS_LABEL(audioDecoderGetSampleRate), classPtr, [&](TranscoderSession& session) {
    uint32_t sampleRate = 0;
    const uint32_t result = session.audioDecoderGetSampleRate(&sampleRate);
    if (result == kSuccess) writeHolder(env, sampleRateObj, int64_t{sampleRate});
    return result;
  });
}

QVS_NATIVE(audioDecoderGetChannels)(JNIEnv* env, jobject, jlong classPtr, jobject channelsObj) {
  return withSession(QVS_LABEL(audioDecoderGetChannels), classPtr, [&](TranscoderSession& session) {
    uint32_t channels = 0;
    const uint32_t result = session.audioDecoderGetChannels(&channels);
    if (result == kSuccess) writeHolder(env, channelsObj, int64_t{channels});
    return result;
  });
}

QVS_NATIVE(audioDecoderAddAudioResampler)
(JNIEnv* env, jobject, jlong classPtr, jobject resamplerParametersObj) {
  return withSession(QVS_LABEL(audioDecoderAddAudioResampler), classPtr, [&](TranscoderSession& session) {
    IAudioDecoder* decoder = session.getAudioDecoder();
    if (decoder == nullptr)
      return failEntry(session, QVS_LABEL(audioDecoderAddAudioResampler), kNoAudioDecoder);
    auto resampler = makeResampler(env, "audioDecoderAddAudioResampler", resamplerParametersObj);
    if (!resampler) return failEntry(session, QVS_LABEL(audioDecoderAddAudioResampler), kNoResampler);
    decoder->setAudioResampler(resampler.release());
    return jlong{kSuccess};
  });
}

QVS_NATIVE(audioDecoderDecodeCodecConfig)
(JNIEnv* env, jobject, jlong classPtr, jbyteArray buffer, jlong offset, jlong len) {
  return withSession(
      QVS_LABEL(audioDecoderDecodeCodecConfig), classPtr, [&](TranscoderSession& session) -> jlong {
        const MallocBytes block = copyBytes(env, buffer, offset, len);
        if (!block) return failEntry(session, QVS_LABEL(audioDecoderDecodeCodecConfig), kBytesOutside);
        return session.audioDecoderDecodeCodecConfig(block.get(), 0, static_cast<uint32_t>(len));
      });
}

QVS_NATIVE(audioDecoderDecodeFirstFrame)
(JNIEnv* env, jobject, jlong classPtr, jbyteArray buffer, jlong offset, jlong len) {
  return withSession(
      QVS_LABEL(audioDecoderDecodeFirstFrame), classPtr, [&](TranscoderSession& session) -> jlong {
        // The room counts as part of the frame: the decoder writes its header there.
        const uint32_t room = session.getAudioDecodeFrameHeaderSize();
        const MallocBytes block = copyBytes(env, buffer, offset, len, room);
        if (!block) return failEntry(session, QVS_LABEL(audioDecoderDecodeFirstFrame), kBytesOutside);
        return session.audioDecoderDecodeFirstFrame(block.get(), 0, room + static_cast<uint32_t>(len));
      });
}

QVS_NATIVE(audioDecoderDecodeFrame)
(JNIEnv* env, jobject, jlong classPtr, jbyteArray buffer, jlong offset, jlong len, jlong timecode,
 jlong indexBuffer) {
  return withSession(QVS_LABEL(audioDecoderDecodeFrame), classPtr, [&](TranscoderSession& session) -> jlong {
    const uint32_t room = session.getAudioDecodeFrameHeaderSize();
    const MallocBytes block = copyBytes(env, buffer, offset, len, room);
    if (!block) return failEntry(session, QVS_LABEL(audioDecoderDecodeFrame), kBytesOutside);
    return session.audioDecoderDecodeFrame(block.get(), 0, room + static_cast<uint32_t>(len),
                                           static_cast<uint64_t>(timecode),
                                           static_cast<uint32_t>(indexBuffer));
  });
}

QVS_NATIVE(audioDecoderResampleFrame)(JNIEnv*, jobject, jlong classPtr, jlong timecode, jlong indexBuffer) {
  return callSession(QVS_LABEL(audioDecoderResampleFrame), classPtr,
                     &TranscoderSession::audioDecoderResampleFrame, timecode, indexBuffer);
}

QVS_NATIVE(audioDecoderGetAudioFrame)
(JNIEnv* env, jobject, jlong classPtr, jlong indexBuffer, jobject nativeAudioFrameObj) {
  return withSession(QVS_LABEL(audioDecoderGetAudioFrame), classPtr, [&](TranscoderSession& session) {
    return readAudioBlock(
        env, session, QVS_LABEL(audioDecoderGetAudioFrame), nativeAudioFrameObj,
        session.getAudioDecoderBuffers().getAudioSampleBuffer(static_cast<uint32_t>(indexBuffer)));
  });
}

QVS_NATIVE(audioDecoderUpdateAudioFrame)
(JNIEnv* env, jobject, jlong classPtr, jlong indexBuffer, jobject nativeAudioFrameObj) {
  return withSession(QVS_LABEL(audioDecoderUpdateAudioFrame), classPtr, [&](TranscoderSession& session) {
    return writeAudioBlock(
        env, session, QVS_LABEL(audioDecoderUpdateAudioFrame), nativeAudioFrameObj,
        session.getAudioDecoderBuffers().getAudioSampleBuffer(static_cast<uint32_t>(indexBuffer)));
  });
}

QVS_NATIVE(audioDecoderCaptureFrame)
(JNIEnv* env, jobject, jlong classPtr, jlong indexBuffer, jobject decodeStatusObj, jobject timecodeObj) {
  return withSession(QVS_LABEL(audioDecoderCaptureFrame), classPtr, [&](TranscoderSession& session) {
    uint32_t status = 0;
    int64_t timecode = 0;
    const uint32_t result =
        session.audioDecoderCaptureFrame(static_cast<uint32_t>(indexBuffer), &status, &timecode);
    writeHolder(env, decodeStatusObj, int64_t{status});
    writeHolder(env, timecodeObj, timecode);
    return result;
  });
}
