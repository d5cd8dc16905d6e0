// Video decoder: life, settings and pool.
//
// For handle 0 the entries that read pictures, set overlays or move parameters answer 0, all others -1.

#include "session/jni/NativeEntry.h"
#include "session/jni/Parameters.h"
#include "session/jni/Pictures.h"
#include "session/jni/records/CaptureRecords.h"
#include "session/jni/StreamContext.h"
#include "session/SessionParameters.h"

using namespace qvs;

QVS_NATIVE(videoDecoderCreate)
(JNIEnv* env, jobject, jlong classPtr, jlong decoderType, jlong codec, jlong codecVersion, jlong bitDepth,
 jlong implementation, jlong fourcc, jobject nativeMediaStreamContext) {
  return withSession(QVS_LABEL(videoDecoderCreate), classPtr, [&](TranscoderSession& session) {
    const uint32_t result =
        session.videoDecoderCreate(static_cast<uint32_t>(decoderType), static_cast<uint32_t>(codec),
                                   static_cast<uint32_t>(codecVersion), static_cast<uint32_t>(bitDepth),
                                   static_cast<uint32_t>(implementation), static_cast<uint32_t>(fourcc));
    if (IVideoDecoder* decoder = session.getVideoDecoder()) {
      setMediaStreamContext(env, nativeMediaStreamContext, decoder->getMediaStreamContext());
    }
    return result;
  });
}

QVS_NATIVE(videoDecoderBuffersCreate)(JNIEnv*, jobject, jlong classPtr, jlong count) {
  return callSession(QVS_LABEL(videoDecoderBuffersCreate), classPtr,
                     &TranscoderSession::videoDecoderBuffersCreate, count);
}

QVS_NATIVE(videoDecoderBufferAllocate)(JNIEnv*, jobject, jlong classPtr) {
  return withSession(
      QVS_LABEL(videoDecoderBufferAllocate), classPtr, [](TranscoderSession& session) -> jlong {
        uint32_t index = 0;
        return session.videoDecoderBufferAllocate(&index) == kSuccess ? jlong{index} : kEntryFailure;
      });
}

QVS_NATIVE(videoDecoderBufferAcquire)(JNIEnv*, jobject, jlong classPtr, jlong decoderBufferIndex) {
  return callSession(QVS_LABEL(videoDecoderBufferAcquire), classPtr,
                     &TranscoderSession::videoDecoderBufferAcquire, decoderBufferIndex);
}

QVS_NATIVE(videoDecoderBufferRelease)(JNIEnv*, jobject, jlong classPtr, jlong decoderBufferIndex) {
  return callSession(QVS_LABEL(videoDecoderBufferRelease), classPtr,
                     &TranscoderSession::videoDecoderBufferRelease, decoderBufferIndex);
}

QVS_NATIVE(videoDecoderBufferGetVideoFrame)
(JNIEnv* env, jobject, jlong classPtr, jlong decoderBufferSetIndex, jobject nativeVideoFrame) {
  const auto read = [&](TranscoderSession& session) {
    return readPicture(
        env, &session, QVS_LABEL(videoDecoderBufferGetVideoFrame), nativeVideoFrame,
        [&](uint8_t** buffer, uint32_t* len, uint32_t* width, uint32_t* height, uint64_t* timecode) {
          return session.videoDecoderGetFrameBGRA(static_cast<uint32_t>(decoderBufferSetIndex), buffer, len,
                                                  width, height, timecode);
        });
  };
  return withSession(QVS_LABEL(videoDecoderBufferGetVideoFrame), classPtr, read, 0);
}

QVS_NATIVE(videoDecoderBufferSetOverlayVideoFrame)
(JNIEnv* env, jobject, jlong classPtr, jlong overlayIndex, jobject nativeVideoFrame) {
  withSession(QVS_LABEL(videoDecoderBufferSetOverlayVideoFrame), classPtr, [&](TranscoderSession& session) {
    return session.videoDecoderBufferSetOverlayVideoFrame(
        static_cast<uint32_t>(overlayIndex),
        convertToVideoOverlayFrame(env, session, QVS_LABEL(videoDecoderBufferSetOverlayVideoFrame),
                                   nativeVideoFrame)
            .release());
  });
  return 0;
}

QVS_NATIVE(videoDecoderSetGPUID)(JNIEnv*, jobject, jlong classPtr, jlong gpuid) {
  return callSession(QVS_LABEL(videoDecoderSetGPUID), classPtr, &TranscoderSession::videoDecoderSetGPUID,
                     gpuid);
}

QVS_NATIVE(videoDecoderSetCaptureDevice)(JNIEnv*, jobject, jlong classPtr, jlong deviceId) {
  return callSession(QVS_LABEL(videoDecoderSetCaptureDevice), classPtr,
                     &TranscoderSession::videoDecoderSetCaptureDevice, deviceId);
}

QVS_NATIVE(videoDecoderGetCaptureInfo)
(JNIEnv* env, jobject, jlong classPtr, jobject videoDecoderCaptureInfo) {
  return withSession(QVS_LABEL(videoDecoderGetCaptureInfo), classPtr, [&](TranscoderSession& session) {
    TranscoderVideoDecoderCaptureInfo info{};
    const uint32_t result = session.videoDecoderGetCaptureInfo(&info);
    const LocalRef<jclass> cls = classOf(env, videoDecoderCaptureInfo);
    const RecordFields fields(env, cls.get(), kCaptureInfo);
    if (!fields.complete()) {
      session.fail(QVS_LABEL(videoDecoderGetCaptureInfo),
                   {.reason = "The object for the figures lacks a field"});
    } else {
      fields.write(videoDecoderCaptureInfo, info);
    }
    return result;
  });
}

QVS_NATIVE(videoDecoderApplyParameters)(JNIEnv*, jobject, jlong classPtr) {
  return callSession(QVS_LABEL(videoDecoderApplyParameters), classPtr,
                     &TranscoderSession::videoDecoderApplyParameters);
}

QVS_NATIVE(videoDecoderSetParameterValues)(JNIEnv* env, jobject, jlong classPtr, jobjectArray parametersArr) {
  const auto set = [&](TranscoderSession& session) {
    VideoDecoderParameters decoder(session);
    return setParameters(env, session, QVS_LABEL(videoDecoderSetParameterValues), parametersArr, &decoder,
                         {});
  };
  return withSession(QVS_LABEL(videoDecoderSetParameterValues), classPtr, set, 0);
}

QVS_NATIVE(videoDecoderGetParameterValues)(JNIEnv* env, jobject, jlong classPtr, jobjectArray parametersArr) {
  const auto get = [&](TranscoderSession& session) {
    VideoDecoderParameters decoder(session);
    return getParameters(env, session, QVS_LABEL(videoDecoderGetParameterValues), parametersArr, &decoder,
                         {});
  };
  return withSession(QVS_LABEL(videoDecoderGetParameterValues), classPtr, get, 0);
}

QVS_NATIVE(videoDecoderInitialize)(JNIEnv*, jobject, jlong classPtr) {
  return callSession(QVS_LABEL(videoDecoderInitialize), classPtr, &TranscoderSession::videoDecoderInitialize);
}

QVS_NATIVE(videoDecoderSetFrameSizeLimits)
(JNIEnv*, jobject, jlong classPtr, jlong decoderFrameSizeWidthMax, jlong decoderFrameSizeHeightMax,
 jlong decoderFrameSizeWidthMin, jlong decoderFrameSizeHeightMin) {
  return callSession(QVS_LABEL(videoDecoderSetFrameSizeLimits), classPtr,
                     &TranscoderSession::videoDecoderSetFrameSizeLimits, decoderFrameSizeWidthMax,
                     decoderFrameSizeHeightMax, decoderFrameSizeWidthMin, decoderFrameSizeHeightMin);
}
