// Requests and responses of still pictures, out of Java and into it.
#include "session/jni/ThumbnailObjects.h"

#include <algorithm>
#include <cstring>

#include "session/jni/JavaArrays.h"
#include "session/jni/Lookup.h"
#include "session/jni/records/OfflineRecords.h"

namespace qvs {
namespace {

constexpr const char* kPacketArray = "[Lcom/zarvo/qvs/transcoder/thumbnailer/ThumbnailerRequestPacket;";
constexpr jint kOtherReferences = 16;

void readCrop(JNIEnv* env, jobject request, jclass cls, int32_t (&crop)[4]) {
  const LocalRef<jobject> array = objectField(env, request, findField(env, cls, "crop", "[I"));
  uint32_t sides[4] = {};
  readIntArray(env, static_cast<jintArray>(array.get()), sides);
  std::transform(std::begin(sides), std::end(sides), crop,
                 [](uint32_t side) { return static_cast<int32_t>(side); });
}

/// The whole capacity of a direct buffer; nothing of any other.
void lend(JNIEnv* env, jobject buffer, ThumbnailerRequestPacketData& packet) {
  void* address = buffer != nullptr ? env->GetDirectBufferAddress(buffer) : nullptr;
  const jlong capacity = address != nullptr ? env->GetDirectBufferCapacity(buffer) : 0;
  if (capacity <= 0) return;
  packet.packetData = static_cast<uint8_t*>(address);
  packet.packetDataLen = static_cast<uint32_t>(capacity);  // buffers hold at most 2^31 - 1
}

LocalRef<jobject> allocateDirect(JNIEnv* env, uint32_t bytes) {
  const LocalRef<jclass> cls = findClass(env, "java/nio/ByteBuffer");
  const jmethodID allocate = findStaticMethod(env, cls.get(), "allocateDirect", "(I)Ljava/nio/ByteBuffer;");
  if (allocate == nullptr) return {};
  LocalRef<jobject> buffer(env, env->CallStaticObjectMethod(cls.get(), allocate, static_cast<jint>(bytes)));
  if (clearFailure(env)) return {};
  return buffer;
}

}  // namespace

bool JavaThumbnailPackets::readPackets(JNIEnv* env, jobjectArray array, std::string& complaint) {
  const LocalRef<jclass> cls = findClass(env, kThumbnailPacket.className);
  const RecordFields fields(env, cls.get(), kThumbnailPacket);
  if (!cls) {
    complaint = ": ThumbnailerRequestPacket not found";
  } else if (!fields.complete()) {
    complaint = ": ThumbnailerRequestPacket fields not found";
  }
  if (!complaint.empty()) return false;
  const jsize count = env->GetArrayLength(array);
  packets.resize(static_cast<size_t>(count));
  buffers.reserve(packets.size());
  if (env->EnsureLocalCapacity(count + kOtherReferences) != JNI_OK) clearFailure(env);
  for (jsize i = 0; i < count; ++i) {
    const LocalRef<jobject> packet(env, env->GetObjectArrayElement(array, i));
    if (!packet) continue;
    ThumbnailerRequestPacketData& record = packets[static_cast<size_t>(i)];
    fields.read(packet.get(), record);
    buffers.push_back(objectField(env, packet.get(), fields.id(kThumbnailPacket.index("packetData"))));
    lend(env, buffers.back().get(), record);
  }
  data.packets = packets.data();
  data.packetsLen = static_cast<uint32_t>(count);
  if (count == 0) complaint = ": No packets to decode";
  return count != 0;
}

bool JavaThumbnailPackets::read(JNIEnv* env, jobject request, std::string& complaint) {
  const LocalRef<jclass> cls = classOf(env, request);
  const RecordFields fields(env, cls.get(), kThumbnailRequest);
  if (!fields.complete()) {
    complaint = std::string(": Request field not found: ") + fields.missing();
    return false;
  }
  fields.read(request, data);
  readCrop(env, request, cls.get(), data.crop);
  const LocalRef<jobject> array =
      objectField(env, request, findField(env, cls.get(), "packets", kPacketArray));
  return array && readPackets(env, static_cast<jobjectArray>(array.get()), complaint);
}

bool writeThumbnail(JNIEnv* env, jobject response, int32_t format, const ThumbnailerResponseData& picture,
                    std::string& complaint) {
  const LocalRef<jclass> cls = classOf(env, response);
  const RecordFields fields(env, cls.get(), kThumbnailResponse);
  if (!fields.complete()) {
    complaint = std::string(": Response ") + fields.missing() + " field is missing";
    return false;
  }
  const LocalRef<jobject> buffer = allocateDirect(env, picture.pictureDataLen);
  void* bytes = buffer ? env->GetDirectBufferAddress(buffer.get()) : nullptr;
  if (bytes == nullptr) {
    complaint = ": No memory for the response's pictureData";
    return false;
  }
  std::memcpy(bytes, picture.pictureData, picture.pictureDataLen);
  fields.write(response, {format, picture.width, picture.height});
  env->SetObjectField(response, fields.id(kThumbnailResponse.index("pictureData")), buffer.get());
  return true;
}

}  // namespace qvs
