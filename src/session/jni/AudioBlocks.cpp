// Sample blocks between Java objects and native buffers.
#include "session/jni/AudioBlocks.h"

#include "session/jni/JavaArrays.h"
#include "session/jni/NativeEntry.h"
#include "session/jni/records/AudioRecords.h"

namespace qvs {
namespace {

constexpr uint64_t kBytesPerSample = 2;

}  // namespace

jlong readAudioBlock(JNIEnv* env, jobject nativeAudioFrameObj, AudioSampleBuffer* block) {
  const LocalRef<jclass> cls = classOf(env, nativeAudioFrameObj);
  const RecordFields fields(env, cls.get(), kAudioFrame);
  if (block == nullptr || block->getBuffer() == nullptr || !fields.complete()) return kEntryFailure;
  const JavaAudioFrame frame{block->getTimecode(), block->getSampleRate(), block->getChannels(),
                             block->getSampleCount()};
  const uint64_t len = kBytesPerSample * frame.channels * frame.sampleCount;
  if (len == 0 || frame.sampleRate == 0 || len > block->getLen()) return kEntryFailure;
  const LocalRef<jbyteArray> bytes = newByteArray(env, {block->getBuffer(), static_cast<size_t>(len)});
  if (!bytes) return kEntryFailure;
  fields.write(nativeAudioFrameObj, frame);
  env->SetObjectField(nativeAudioFrameObj, fields.id(kAudioFrame.index("buffer")), bytes.get());
  return 0;
}

jlong writeAudioBlock(JNIEnv* env, jobject nativeAudioFrameObj, AudioSampleBuffer* block) {
  const LocalRef<jclass> cls = classOf(env, nativeAudioFrameObj);
  const RecordFields fields(env, cls.get(), kAudioFrame);
  if (block == nullptr || block->getBuffer() == nullptr || !fields.complete()) return kEntryFailure;
  JavaAudioFrame frame;
  fields.read(nativeAudioFrameObj, frame);
  const uint32_t len = block->getLen();
  // Two factors of 32 bits fit into 64; the third is kept out of the product.
  const uint64_t samples = uint64_t{frame.channels} * frame.sampleCount;
  if (frame.sampleRate != block->getSampleRate() || len % kBytesPerSample != 0 ||
      samples != len / kBytesPerSample) {
    return kEntryFailure;
  }
  const LocalRef<jobject> field =
      objectField(env, nativeAudioFrameObj, fields.id(kAudioFrame.index("buffer")));
  const auto bytes = static_cast<jbyteArray>(field.get());
  if (!arrayRange(env, bytes, 0, len)) return kEntryFailure;
  if (len > 0)
    env->GetByteArrayRegion(bytes, 0, static_cast<jsize>(len), reinterpret_cast<jbyte*>(block->getBuffer()));
  return 0;
}

}  // namespace qvs
