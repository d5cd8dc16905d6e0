// Filling the Java object that tells what a decode step gave.
#include "session/jni/DecodeReport.h"

#include <algorithm>
#include <cstdio>
#include <span>
#include <string>

#include "session/jni/records/VideoRecords.h"

namespace qvs {
namespace {

void addDetails(JNIEnv*, jobject, jfieldID, const VideoFrameBufferTimecodeInfo&) {}

void addDetails(JNIEnv* env, jobject item, jfieldID bufferField, const VideoFrameAncillaryData& data) {
  const auto len = static_cast<jsize>(std::min<size_t>(data.bufferLen, std::size(data.buffer)));
  if (len == 0) return;
  const LocalRef<jintArray> words(env, env->NewIntArray(len));
  if (!words) {
    clearFailure(env);
    return;
  }
  env->SetIntArrayRegion(words.get(), 0, len, reinterpret_cast<const jint*>(&data.buffer[0]));
  env->SetObjectField(item, bufferField, words.get());
}

/// Adds one Java record per item to the list in a field of the frame info object.
template <typename Record, size_t N>
class RecordList {
 public:
  RecordList(JNIEnv* env, jobject owner, const char* fieldName, const JavaRecord<Record, N>& table)
      : env(env), owner(owner), fieldName(fieldName), table(table) {}

  /// False when the list refused.
  bool add(std::span<const Record> items) const {
    const LocalRef<jclass> ownerCls = classOf(env, owner);
    const jfieldID field = findField(env, ownerCls.get(), fieldName, kJavaList);
    if (field == nullptr) return missing(fieldName, "Fld");
    const LocalRef<jobject> listObj = objectField(env, owner, field);
    if (!listObj) return missing(fieldName, "Obj");
    const JavaList list(env, listObj.get());
    if (!list) return missing("listAddMethod");
    const LocalRef<jclass> cls = findClass(env, table.className);
    if (!cls) return missing("transcoderNativeVideoDecodeFrameInfoCls");
    const jmethodID init = findMethod(env, cls.get(), "<init>", "()V");
    if (init == nullptr) return missing("transcoderNativeVideoDecodeFrameInfoInitMethod");
    const RecordFields fields(env, cls.get(), table);
    if (!fields.complete()) return missing("fields");
    for (const Record& item : items) {
      const LocalRef<jobject> object(env, env->NewObject(cls.get(), init));
      if (!object) return !clearFailure(env);
      fields.write(object.get(), item);
      addDetails(env, object.get(), fields.id(N - 1), item);
      if (!list.add(object.get())) return false;
    }
    return true;
  }

 private:
  bool missing(const char* what, const char* part = "") const {
    std::printf("TranscoderSessionNative::videoDecoderDecode[%s:%s%s]: \n", fieldName, what, part);
    return true;
  }

  JNIEnv* env;
  jobject owner;
  const char* fieldName;
  const JavaRecord<Record, N>& table;
};

}  // namespace

bool reportDecode(JNIEnv* env, jobject frameInfoObj, const TranscoderVideoDecoderFrameInfo& info,
                  const std::vector<VideoFrameAncillaryData>& ancillaryData) {
  if (frameInfoObj == nullptr) return true;
  const LocalRef<jclass> cls = classOf(env, frameInfoObj);
  const RecordFields fields(env, cls.get(), kFrameInfo);
  if (fields.complete()) fields.write(frameInfoObj, info);

  const size_t count = std::min<size_t>(info.timecodeInfoCount, info.timecodeInfo.size());
  if (count > 0 &&
      !RecordList(env, frameInfoObj, "timcodeInfo", kTimecodeInfo).add({info.timecodeInfo.data(), count})) {
    return false;
  }
  return ancillaryData.empty() ||
         RecordList(env, frameInfoObj, "ancillaryData", kAncillaryData).add(ancillaryData);
}

}  // namespace qvs
