// Off-line work: batches of stored packets through hardware that decodes and encodes by itself.
#include <cstdlib>

#include "session/jni/NativeEntry.h"
#include "session/jni/VODObjects.h"
#include "session/JNIAllocator.h"

namespace qvs {
namespace {

constexpr Failure kNoSettings{.reason = "The settings can't be read", .context = kLogContextOffline};
constexpr Failure kNoBatch{.reason = "There are no packets", .context = kLogContextOffline};
constexpr Failure kNoEncoderRun{.reason = "There is no work behind this call", .context = kLogContextOffline};
constexpr Failure kNoPackets{.reason = "The packets can't be read or written", .context = kLogContextOffline};

Failure refusedPackets(uint32_t count) {
  return {.reason = "Packets whose bytes aren't in their array were left out",
          .context = kLogContextOffline,
          .number = count};
}

/// Blocks that a plug-in gave for good.
void freeBlocks(const std::vector<VideoFrameEncoded>& frames) {
  for (const VideoFrameEncoded& frame : frames) {
    if (frame.isAllocated() && !frame.isJavaBuffer()) std::free(frame.getBuffer());
  }
}

jlong transcodeBatch(JNIEnv* env, TranscoderSession& session, const char* label, JavaVODSettings& settings,
                     const VODBatch& batch, jobject list) {
  JNIAllocator allocator(env);
  std::vector<VideoFrameEncoded> out;
  const uint32_t result =
      session.vodTranscoderTranscodeFrames(&allocator, settings.values, batch.getFrames(), out);
  const bool added = result != kSuccess || out.empty() || addVODPackets(env, list, out);
  freeBlocks(out);
  if (!added) return failEntry(session, label, kNoPackets);
  return static_cast<int32_t>(result);
}

}  // namespace
}  // namespace qvs

using namespace qvs;

QVS_NATIVE(vodTranscoderTranscodeFrames)
(JNIEnv* env, jobject, jlong classPtr, jobject settings, jobjectArray decodedFrames, jobject encodedFrames) {
  constexpr const char* kLabel = "TranscoderSessionNative::vodTranscodeFrames";
  return withSession(kLabel, classPtr, [&](TranscoderSession& session) -> jlong {
    if (decodedFrames == nullptr || env->GetArrayLength(decodedFrames) < 1) {
      return failEntry(session, kLabel, kNoBatch);
    }
    JavaVODSettings wanted;
    if (!wanted.read(env, settings)) return failEntry(session, kLabel, kNoSettings);
    VODBatch batch;
    if (!batch.read(env, decodedFrames, wanted.values)) return failEntry(session, kLabel, kNoPackets);
    if (batch.getRefused() != 0) session.fail(kLabel, refusedPackets(batch.getRefused()));
    return transcodeBatch(env, session, kLabel, wanted, batch, encodedFrames);
  });
}

QVS_NATIVE(vodTranscoderGetCodecConfig)
(JNIEnv* env, jobject, jlong classPtr, jobject settings, jobject codecConfigFrame) {
  constexpr const char* kLabel = "TranscoderSessionNative::vodTranscoderGetCodecConfig";
  return withSession(kLabel, classPtr, [&](TranscoderSession& session) -> jlong {
    JavaVODSettings wanted;
    if (!wanted.read(env, settings)) return failEntry(session, kLabel, kNoSettings);
    JNIAllocator allocator(env);
    VideoFrameEncoded frame;
    const uint32_t result = session.vodTranscoderGetCodecConfig(&allocator, wanted.values, frame);
    if (result != kSuccess) return static_cast<int32_t>(result);
    const bool written = writeVODConfig(env, codecConfigFrame, frame);
    return written ? 0 : failEntry(session, kLabel, kNoPackets);
  });
}

QVS_NATIVE(vodEncoderRun)(JNIEnv*, jobject, jlong classPtr) {
  const auto refuse = [](TranscoderSession& session) -> jlong {
    return failEntry(session, QVS_LABEL(vodEncoderRun), kNoEncoderRun);
  };
  return withSession(QVS_LABEL(vodEncoderRun), classPtr, refuse);
}
