// Sample blocks between Java objects and native buffers.
#include "session/jni/AudioBlocks.h"

#include "session/jni/JavaArrays.h"
#include "session/jni/NativeEntry.h"
#include "session/jni/records/AudioRecords.h"

namespace qvs {
namespace {

constexpr uint64_t kBytesPerSample = 2;
constexpr Failure kMissingField = {.reason = "The audio frame's object lacks a field"};
constexpr Failure kNoSamples = {.reason = "There is no such audio buffer, or it is empty"};

}  // namespace

jlong readAudioBlock(JNIEnv* env, TranscoderSession& session, const char* label, jobject nativeAudioFrameObj,
                     AudioSampleBuffer* block) {
  const LocalRef<jclass> cls = classOf(env, nativeAudioFrameObj);
  const RecordFields fields(env, cls.get(), kAudioFrame);
  if (!fields.complete()) return failEntry(session, label, kMissingField);
  if (block == nullptr || block->getBuffer() == nullptr) return failEntry(session, label, kNoSamples);
  const JavaAudioFrame frame{block->getTimecode(), block->getSampleRate(), block->getChannels(),
                             block->getSampleCount()};
  const uint64_t len = kBytesPerSample * frame.channels * frame.sampleCount;
  if (len == 0 || frame.sampleRate == 0 || len > block->getLen()) {
    return failEntry(session, label, kNoSamples);
  }
  const LocalRef<jbyteArray> bytes = newByteArray(env, {block->getBuffer(), static_cast<size_t>(len)});
  if (!bytes) return failEntry(session, label, kBytesOutside);
  fields.write(nativeAudioFrameObj, frame);
  env->SetObjectField(nativeAudioFrameObj, fields.id(kAudioFrame.index("buffer")), bytes.get());
  return 0;
}

jlong writeAudioBlock(JNIEnv* env, TranscoderSession& session, const char* label, jobject nativeAudioFrameObj,
                      AudioSampleBuffer* block) {
  const LocalRef<jclass> cls = classOf(env, nativeAudioFrameObj);
  const RecordFields fields(env, cls.get(), kAudioFrame);
  if (!fields.complete()) return failEntry(session, label, kMissingField);
  if (block == nullptr || block->getBuffer() == nullptr) return failEntry(session, label, kNoSamples);
  JavaAudioFrame frame;
  fields.read(nativeAudioFrameObj, frame);
  const uint32_t len = block->getLen();
  // Two factors of 32 bits fit into 64; the third is kept out of the product.
  const uint64_t samples = uint64_t{frame.channels} * frame.sampleCount;
  if (frame.sampleRate != block->getSampleRate() || len % kBytesPerSample != 0 ||
      samples != len / kBytesPerSample) {
    return failEntry(session, label, {.reason = "The samples' rate or count is not the buffer's"});
  }
  const LocalRef<jobject> field =
      objectField(env, nativeAudioFrameObj, fields.id(kAudioFrame.index("buffer")));
  const auto bytes = static_cast<jbyteArray>(field.get());
  if (!arrayRange(env, bytes, 0, len)) return failEntry(session, label, kBytesOutside);
  if (len > 0)
    env->GetByteArrayRegion(bytes, 0, static_cast<jsize>(len), reinterpret_cast<jbyte*>(block->getBuffer()));
  return 0;
}

}  // namespace qvs
