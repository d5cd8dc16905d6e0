// Java pictures as overlays, frames as Java pictures.
#include "session/jni/Pictures.h"

#include <limits>

#include "frames/geometry/FourCC.h"
#include "session/jni/JavaArrays.h"
#include "session/jni/NativeEntry.h"
#include "session/jni/records/VideoRecords.h"

namespace qvs {

namespace {

constexpr Failure kMissingField = {.reason = "The picture's object lacks a field"};
constexpr Failure kNoMemory = {.reason = "No memory for the picture's bytes"};

}  // namespace

std::unique_ptr<VideoOverlayFrame> convertToVideoOverlayFrame(JNIEnv* env, TranscoderSession& session,
                                                              const char* label, jobject nativeVideoFrame) {
  if (nativeVideoFrame == nullptr) return nullptr;
  const LocalRef<jclass> cls = classOf(env, nativeVideoFrame);
  const RecordFields fields(env, cls.get(), kOverlayFrame);
  if (!fields.completeTo(kOverlayFrame.index("dstAlign"))) {
    session.fail(label, kMissingField);
    return nullptr;
  }
  JavaOverlayFrame overlay;
  fields.read(nativeVideoFrame, overlay);

  const LocalRef<jobject> bytesField =
      objectField(env, nativeVideoFrame, fields.id(kOverlayFrame.index("bytes")));
  const auto bytes = static_cast<jbyteArray>(bytesField.get());
  const jsize len = bytes != nullptr ? env->GetArrayLength(bytes) : 0;
  MallocBytes block = len > 0 ? copyBytes(env, bytes, 0, len) : nullptr;
  if (len > 0 && !block) {
    session.fail(label, kNoMemory);
    return nullptr;
  }

  auto frame = std::make_unique<VideoOverlayFrame>(overlay.fourcc, nullptr, 0, 0, 0, 0, 0);
  frame->setFrame(overlay.fourcc, block.release(), static_cast<uint32_t>(len), overlay.stride,
                  overlay.frameStartOffset, overlay.width, overlay.height);
  frame->setDestinationLocation(overlay.dstX, overlay.dstY, overlay.dstWidth, overlay.dstHeight,
                                overlay.dstAlign);
  return frame;
}

jlong readPicture(JNIEnv* env, TranscoderSession* session, const char* label, jobject nativeVideoFrame,
                  const GetFrameBGRA& getFrameBGRA) {
  const LocalRef<jclass> cls = classOf(env, nativeVideoFrame);
  const RecordFields fields(env, cls.get(), kVideoFrame);
  if (!fields.complete()) return failEntry(session, label, kMissingField);
  JavaVideoFrame picture;
  fields.read(nativeVideoFrame, picture);

  uint32_t len = 0;
  uint32_t status = getFrameBGRA(nullptr, &len, &picture.width, &picture.height, &picture.timecode);
  if (len == 0 || picture.width == 0 || picture.height == 0) return 0;
  // The length that the session tells has 32 bits: a size that doesn't fit must not reach the pixels.
  const uint64_t bytesNeeded = uint64_t{picture.width} * picture.height * 4;
  if (status != kSuccess) return kEntryFailure;
  if (bytesNeeded != len || len > std::numeric_limits<jsize>::max()) {
    return failEntry(session, label,
                     {.reason = "No array holds a picture of this width", .number = picture.width});
  }

  const LocalRef<jbyteArray> array(env, env->NewByteArray(static_cast<jsize>(len)));
  if (!array) {
    clearFailure(env);
    return failEntry(session, label, kNoMemory);
  }
  {
    const PinnedBytes bytes(env, array.get());
    uint8_t* target = bytes.get();
    if (target == nullptr) return failEntry(session, label, kNoMemory);
    status = getFrameBGRA(&target, &len, &picture.width, &picture.height, &picture.timecode);
  }
  if (status != kSuccess) return static_cast<jlong>(status);
  picture.fourcc = fourcc("BGRA");
  picture.stride = picture.width * 4;
  picture.frameStartOffset = 0;
  fields.write(nativeVideoFrame, picture);
  env->SetObjectField(nativeVideoFrame, fields.id(kVideoFrame.index("bytes")), array.get());
  return 0;
}

}  // namespace qvs
