// Video decoder: what is called per frame.
//
// Coded bytes are copied, never pinned: a decoder may hold on to them while the collector moves the array.

#include <limits>

#include "session/jni/DecodeReport.h"
#include "session/jni/Holders.h"
#include "session/jni/JavaArrays.h"
#include "session/jni/NativeEntry.h"

using namespace qvs;

QVS_NATIVE(videoDecoderDecodeCodecConfig)
(JNIEnv* env, jobject, jlong classPtr, jbyteArray buffer, jlong offset, jlong len) {
  return withSession(
      QVS_LABEL(videoDecoderDecodeCodecConfig), classPtr, [&](TranscoderSession& session) -> jlong {
        const MallocBytes block = copyBytes(env, buffer, offset, len);
        if (!block) return failEntry(session, QVS_LABEL(videoDecoderDecodeCodecConfig), kBytesOutside);
        return session.videoDecoderDecodeCodecConfig(block.get(), 0, static_cast<uint32_t>(len));
      });
}

QVS_NATIVE(videoDecoderAddFrame)
(JNIEnv* env, jobject, jlong classPtr, jbyteArray buffer, jlong offset, jlong len, jlong timecode,
 jlong frameType) {
  return withSession(QVS_LABEL(videoDecoderAddFrame), classPtr, [&](TranscoderSession& session) -> jlong {
    MallocBytes block = copyBytes(env, buffer, offset, len);
    if (!block) return failEntry(session, QVS_LABEL(videoDecoderAddFrame), kBytesOutside);
    return session.videoDecoderAddFrame({std::move(block), 0, static_cast<uint32_t>(len)},
                                        static_cast<uint64_t>(timecode), static_cast<uint32_t>(frameType));
  });
}

QVS_NATIVE(videoDecoderDecode)
(JNIEnv* env, jobject, jlong classPtr, jlong decoderBufferIndex, jobject decodeStatusObj, jobject timecodeObj,
 jobject frameInfoObj) {
  return withSession(QVS_LABEL(videoDecoderDecode), classPtr, [&](TranscoderSession& session) {
    uint32_t status = 0;
    uint64_t timecode = std::numeric_limits<uint64_t>::max();  // what Java sees as -1: no picture
    TranscoderVideoDecoderFrameInfo info;
    std::vector<VideoFrameAncillaryData> ancillaryData;
    const uint32_t result = session.videoDecoderDecode(static_cast<uint32_t>(decoderBufferIndex), &status,
                                                       &timecode, ancillaryData, info);
    // The objects are filled whatever the result is; with an exception of the host's pending nothing more may
    // be.
    if (reportDecode(env, frameInfoObj, info, ancillaryData)) {
      writeHolder(env, decodeStatusObj, int64_t{status});
      writeHolder(env, timecodeObj, static_cast<int64_t>(timecode));
    }
    return result;
  });
}

QVS_NATIVE(videoDecoderGetFrame)
(JNIEnv* env, jobject, jlong classPtr, jlong decoderBufferIndex, jobject timecodeObj) {
  return withSession(QVS_LABEL(videoDecoderGetFrame), classPtr, [&](TranscoderSession& session) {
    uint64_t timecode = 0;
    const uint32_t result =
        session.videoDecoderGetFrame(static_cast<uint32_t>(decoderBufferIndex), &timecode);
    writeHolder(env, timecodeObj, static_cast<int64_t>(timecode));
    return result;
  });
}

QVS_NATIVE(videoDecoderTransferFrameSingle)
(JNIEnv*, jobject, jlong classPtr, jlong decoderFrameIndex, jlong encoderFrameIndex, jlong encoderIndex) {
  return callSession(QVS_LABEL(videoDecoderTransferFrameSingle), classPtr,
                     &TranscoderSession::videoDecoderTransferFrame, decoderFrameIndex, encoderFrameIndex,
                     encoderIndex);
}

QVS_NATIVE(videoDecoderTransferFrameStart)
(JNIEnv* env, jobject, jlong classPtr, jlong decoderBufferIndex, jlongArray encoderBufferIndexes) {
  return withSession(QVS_LABEL(videoDecoderTransferFrameStart), classPtr, [&](TranscoderSession& session) {
    // One more than there are sets is enough for the session to refuse a list that is too long.
    const IndexList indexes(env, encoderBufferIndexes, session.getVideoEncoderBufferSetCount() + 1);
    return session.videoDecoderTransferFrameStart(static_cast<uint32_t>(decoderBufferIndex), indexes.get());
  });
}
