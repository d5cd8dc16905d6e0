// Batches of stored packets, out of Java and into it.
#include "session/jni/VODObjects.h"

#include <cstdlib>
#include <limits>
#include <utility>

#include "offline/vod/FlvFrame.h"
#include "session/jni/JavaArrays.h"
#include "session/jni/Lookup.h"
#include "session/jni/Packets.h"
#include "session/jni/records/OfflineRecords.h"

namespace qvs {
namespace {

JavaVODPacket packetOf(const VideoFrameEncoded& frame, bool isConfig, int32_t packetsIndex) {
  JavaVODPacket packet;
  packet.len = frame.getLen();
  packet.type = kPacketTypeVideo;
  packet.timecode = frame.getTimecode();
  packet.timecodeOffset = frame.getTimecodeOffset();
  packet.frameType = frame.getFrameType();
  packet.vodIsCodecConfig = isConfig ? 1 : 0;
  packet.vodPacketsIndex = packetsIndex;
  packet.vodIsEncode = 1;
  return packet;
}

}  // namespace

bool JavaVODSettings::read(JNIEnv* env, jobject settings) {
  const LocalRef<jclass> cls = classOf(env, settings);
  const RecordFields fields(env, cls.get(), kVODSettings);
  if (!fields.complete()) return false;
  fields.read(settings, values);
  values.vodPacketsIndexCodecConfig = -1;
  const LocalRef<jobject> array = objectField(env, settings, fields.id(kVODSettings.index("videoHeader")));
  if (!array) return true;
  const auto bytes = static_cast<jbyteArray>(array.get());
  const jsize len = env->GetArrayLength(bytes);
  header = copyBytes(env, bytes, 0, len);
  values.videoHeader = header.get();
  values.videoHeaderLen = header ? static_cast<uint32_t>(len) : 0;
  return header != nullptr;
}

MallocBytes VODBatch::makeBlock(JNIEnv* env, jbyteArray bytes, int64_t offset, int64_t len,
                                uint32_t frameType, const VODTranscoderVideoSettings& settings,
                                uint32_t& size) {
  const auto range = arrayRange(env, bytes, offset, len);
  if (!range || len < kFlvVideoHeader) return nullptr;
  const uint32_t head = annexBHeadLength(frameType, settings.videoHeaderLen);
  const auto body = static_cast<uint32_t>(len) - kFlvVideoHeader;
  const uint64_t whole = uint64_t{head} + body;
  if (whole > std::numeric_limits<uint32_t>::max()) return nullptr;
  MallocBytes block(static_cast<uint8_t*>(std::malloc(whole)));
  if (block == nullptr) return nullptr;
  writeAnnexBHead(frameType, {settings.videoHeader, settings.videoHeaderLen}, block.get());
  uint8_t* units = block.get() + head;
  env->GetByteArrayRegion(bytes, range->offset + static_cast<jsize>(kFlvVideoHeader),
                          static_cast<jsize>(body), reinterpret_cast<jbyte*>(units));
  lengthsToStartCodes({units, body});
  size = static_cast<uint32_t>(whole);
  return block;
}

bool VODBatch::read(JNIEnv* env, jobjectArray packets, VODTranscoderVideoSettings& settings) {
  const LocalRef<jclass> cls = findClass(env, kVODPacket.className);
  const RecordFields fields(env, cls.get(), kVODPacket);
  if (!fields.complete()) return false;
  const jsize count = env->GetArrayLength(packets);
  for (jsize i = 0; i < count; ++i) {
    const LocalRef<jobject> packet(env, env->GetObjectArrayElement(packets, i));
    if (!packet) continue;
    JavaVODPacket values;
    fields.read(packet.get(), values);
    if (values.vodIsCodecConfig != 0) {
      if (settings.vodPacketsIndexCodecConfig < 0)
        settings.vodPacketsIndexCodecConfig = values.vodPacketsIndex;
      continue;
    }
    const LocalRef<jobject> array = objectField(env, packet.get(), fields.id(kVODPacket.index("buffer")));
    const auto bytes = static_cast<jbyteArray>(array.get());
    if (bytes == nullptr || env->GetArrayLength(bytes) == 0) continue;
    uint32_t size = 0;
    MallocBytes block = makeBlock(env, bytes, values.offset, values.len, values.frameType, settings, size);
    if (block == nullptr) {
      ++refused;
      continue;
    }
    VideoFrameEncoded& frame = frames.emplace_back(block.get(), size, values.timecode, values.timecodeOffset,
                                                   values.frameType, false);
    frame.setVODPacketsIndex(values.vodPacketsIndex);
    blocks.push_back(std::move(block));
  }
  return true;
}

bool addVODPackets(JNIEnv* env, jobject javaList, std::span<VideoFrameEncoded> frames) {
  const JavaList list(env, javaList);
  const LocalRef<jclass> cls = findClass(env, kVODPacket.className);
  const jmethodID init = findMethod(env, cls.get(), "<init>", "()V");
  const RecordFields fields(env, cls.get(), kVODPacket);
  if (!list || init == nullptr || !fields.complete()) return false;
  for (VideoFrameEncoded& frame : frames) {
    const LocalRef<jbyteArray> array(env, static_cast<jbyteArray>(frame.getJBuffer()));
    frame.setJBuffer(nullptr);
    if (!array || frame.getLen() == 0) continue;
    const LocalRef<jobject> packet(env, env->NewObject(cls.get(), init));
    if (!packet) {
      clearFailure(env);
      return false;
    }
    fields.write(packet.get(), packetOf(frame, frame.isCodecConfig(), frame.getVODPacketsIndex()));
    env->SetObjectField(packet.get(), fields.id(kVODPacket.index("buffer")), array.get());
    if (!list.add(packet.get())) return false;
  }
  return true;
}

bool writeVODConfig(JNIEnv* env, jobject packet, const VideoFrameEncoded& frame) {
  const LocalRef<jclass> cls = classOf(env, packet);
  const RecordFields fields(env, cls.get(), kVODPacket);
  if (!fields.complete()) return false;
  fields.write(packet, packetOf(frame, true, -1));
  env->SetObjectField(packet, fields.id(kVODPacket.index("buffer")),
                      static_cast<jbyteArray>(frame.getJBuffer()));
  return true;
}

}  // namespace qvs
