// Off-line work: batches of stored packets. No off-line transcoder is built in yet: a batch ends with -1 and an
// untouched list.

#include "session/jni/NativeEntry.h"

namespace qvs {
namespace {

jlong refuseBatch(const char* label, jlong classPtr) {
  return withSession(label, classPtr, [&](TranscoderSession& session) -> jlong {
    session.fail(label, {.reason = "Off-line transcoding is not built in", .context = kLogContextOffline});
    return kEntryFailure;
  });
}

}  // namespace
}  // namespace qvs

using namespace qvs;

QVS_NATIVE(vodTranscoderTranscodeFrames)
(JNIEnv*, jobject, jlong classPtr, jobject, jobjectArray, jobject) {
  return refuseBatch(QVS_LABEL(vodTranscoderTranscodeFrames), classPtr);
}

QVS_NATIVE(vodTranscoderGetCodecConfig)(JNIEnv*, jobject, jlong classPtr, jobject, jobject) {
  return refuseBatch(QVS_LABEL(vodTranscoderGetCodecConfig), classPtr);
}

QVS_NATIVE(vodEncoderRun)(JNIEnv*, jobject, jlong classPtr) {
  return refuseBatch(QVS_LABEL(vodEncoderRun), classPtr);
}
