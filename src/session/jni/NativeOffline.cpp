// Off-line work: still pictures and batches of stored packets.
//
// No decoder for still pictures and no off-line transcoder is built in yet. A request for a picture is
// checked, told in the session's log and ends with 0 and an empty response; a batch ends with -1 and an
// untouched list.

#include <string>

#include "session/jni/NativeEntry.h"
#include "session/jni/records/OfflineRecords.h"

namespace qvs {
namespace {

constexpr const char* kPacketArray = "[Lcom/zarvo/qvs/transcoder/thumbnailer/ThumbnailerRequestPacket;";

/// Packets of a request, -1 where it or their class lacks something; `complaint` then says what, if anything
/// is to be said.
jsize packetCount(JNIEnv* env, jobject request, jclass requestCls, std::string& complaint) {
  const LocalRef<jobject> packets =
      objectField(env, request, findField(env, requestCls, "packets", kPacketArray));
  if (!packets) return -1;
  const LocalRef<jclass> packetCls = findClass(env, kThumbnailPacket.className);
  if (!packetCls) {
    complaint = ": ThumbnailerRequestPacket not found";
  } else if (!RecordFields(env, packetCls.get(), kThumbnailPacket).complete()) {
    complaint = ": ThumbnailerRequestPacket fields not found";
  }
  return complaint.empty() ? env->GetArrayLength(static_cast<jarray>(packets.get())) : -1;
}

/// What keeps a request from being served; empty where there is nothing to say.
std::string complaintAbout(JNIEnv* env, jobject request, jobject response) {
  const LocalRef<jclass> requestCls = classOf(env, request);
  if (!requestCls) return ": Request class not found";
  if (response == nullptr) return ": Response class not found";
  const RecordFields fields(env, requestCls.get(), kThumbnailRequest);
  if (!fields.complete()) return std::string(": Request field not found: ") + fields.missing();
  JavaThumbnailRequest values;
  fields.read(request, values);

  std::string complaint;
  const jsize packets = packetCount(env, request, requestCls.get(), complaint);
  if (packets < 0) return complaint;
  if (packets == 0) return ": No packets to decode";
  return ": Unsupported codec: " + std::to_string(values.codec);
}

jlong refuseBatch(const char* label, jlong classPtr) {
  return withSession(label, classPtr, [&](TranscoderSession& session) -> jlong {
    session.fail(label, {.reason = "Off-line transcoding is not built in", .context = kLogContextOffline});
    return kEntryFailure;
  });
}

}  // namespace
}  // namespace qvs

using namespace qvs;

QVS_NATIVE(thumbnailerGetVideoFrame)
(JNIEnv* env, jobject, jlong classPtr, jobject request, jobject response) {
  const auto answer = [&](TranscoderSession& session) -> jlong {
    const std::string complaint = complaintAbout(env, request, response);
    if (!complaint.empty()) session.getLogger()->info(QVS_LABEL(thumbnailerGetVideoFrame) + complaint);
    return 0;
  };
  return withSession(QVS_LABEL(thumbnailerGetVideoFrame), classPtr, answer, 0);
}

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
