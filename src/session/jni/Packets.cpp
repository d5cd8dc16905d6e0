// Coded frames as Java packets.
#include "session/jni/Packets.h"

#include "session/jni/JavaArrays.h"
#include "session/jni/records/AudioRecords.h"
#include "session/jni/records/VideoRecords.h"

namespace qvs {
namespace {

/// The Java array that holds the bytes already; null for most units.
jbyteArray javaBytesOf(const VideoFrameEncoded& unit) {
  return static_cast<jbyteArray>(unit.getJBuffer());
}
jbyteArray javaBytesOf(const AudioFrameEncoded&) {
  return nullptr;
}

JavaPacket packetOf(const VideoFrameEncoded& frame) {
  return {frame.getLen(), kPacketTypeVideo, frame.getTimecode(), frame.getTimecodeOffset(),
          frame.getFrameType()};
}

JavaAudioPacket packetOf(const AudioFrameEncoded& frame) {
  return {frame.getLen(),        kPacketTypeAudio,   frame.getTimecode(), 0,
          frame.getSampleRate(), frame.getChannels()};
}

template <const auto& kTable, typename Unit>
PacketsAdded addPacketsOf(JNIEnv* env, jobject javaList, std::span<const Unit> units) {
  if (units.empty()) return PacketsAdded::kAll;
  const JavaList list(env, javaList);
  const LocalRef<jclass> cls = findClass(env, kTable.className);
  const jmethodID init = findMethod(env, cls.get(), "<init>", "()V");
  const RecordFields fields(env, cls.get(), kTable);
  if (!list || init == nullptr || !fields.complete()) return PacketsAdded::kNone;

  for (const Unit& unit : units) {
    const jbyteArray javaBytes = javaBytesOf(unit);
    const bool hasBytes = unit.getBuffer() != nullptr || javaBytes != nullptr;
    if (!hasBytes || unit.getLen() == 0) continue;  // nothing that a host could send on
    // References go with each turn: an encoder may hand over more packets than the frame of a native call
    // holds.
    const LocalRef<jobject> packet(env, env->NewObject(cls.get(), init));
    if (!packet) {
      clearFailure(env);
      return PacketsAdded::kSome;
    }
    LocalRef<jbyteArray> copy;
    if (javaBytes == nullptr) {
      copy = newByteArray(env, {unit.getBuffer(), unit.getLen()});
      if (!copy) return PacketsAdded::kSome;
    }
    fields.write(packet.get(), packetOf(unit));
    env->SetObjectField(packet.get(), fields.id(kTable.index("buffer")), copy ? copy.get() : javaBytes);
    if (!list.add(packet.get())) return PacketsAdded::kSome;
  }
  return PacketsAdded::kAll;
}

}  // namespace

PacketsAdded addPackets(JNIEnv* env, jobject list, std::span<const VideoFrameEncoded> units) {
  return addPacketsOf<kVideoPacket>(env, list, units);
}

PacketsAdded addPackets(JNIEnv* env, jobject list, std::span<const AudioFrameEncoded> units) {
  return addPacketsOf<kAudioPacket>(env, list, units);
}

}  // namespace qvs
