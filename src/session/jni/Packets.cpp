// Coded frames as Java packets.
#include "session/jni/Packets.h"

#include <cstdlib>

#include "session/jni/JavaArrays.h"
#include "session/jni/records/AudioRecords.h"
#include "session/jni/records/VideoRecords.h"

namespace qvs {
namespace {

bool mustBeFreed(VideoFrameEncoded& frame) {
  return frame.isAllocated();
}
bool mustBeFreed(AudioFrameEncoded&) {
  return true;
}

JavaPacket packetOf(VideoFrameEncoded& frame) {
  return {frame.getLen(), kPacketTypeVideo, frame.getTimecode(), frame.getTimecodeOffset(),
          frame.getFrameType()};
}

JavaAudioPacket packetOf(AudioFrameEncoded& frame) {
  return {frame.getLen(),        kPacketTypeAudio,   frame.getTimecode(), 0,
          frame.getSampleRate(), frame.getChannels()};
}

template <const auto& kTable, typename Frame>
PacketsAdded addPacketsOf(JNIEnv* env, jobject javaList, std::vector<Frame>& frames) {
  if (frames.empty()) return PacketsAdded::kAll;
  const JavaList list(env, javaList);
  const LocalRef<jclass> cls = findClass(env, kTable.className);
  const jmethodID init = findMethod(env, cls.get(), "<init>", "()V");
  const RecordFields fields(env, cls.get(), kTable);
  if (!list || init == nullptr || !fields.complete()) return PacketsAdded::kNone;

  for (Frame& frame : frames) {
    if (frame.getBuffer() == nullptr || frame.getLen() == 0) continue;  // nothing that a host could send on
    // References go with each turn: an encoder may hand over more packets than the frame of a native call
    // holds.
    const LocalRef<jobject> packet(env, env->NewObject(cls.get(), init));
    if (!packet) {
      clearFailure(env);
      return PacketsAdded::kSome;
    }
    const LocalRef<jbyteArray> bytes = newByteArray(env, {frame.getBuffer(), frame.getLen()});
    if (!bytes) return PacketsAdded::kSome;
    fields.write(packet.get(), packetOf(frame));
    env->SetObjectField(packet.get(), fields.id(kTable.index("buffer")), bytes.get());
    if (!list.add(packet.get())) return PacketsAdded::kSome;
  }
  return PacketsAdded::kAll;
}

}  // namespace

template <typename Frame>
OwnedFrames<Frame>::~OwnedFrames() {
  for (Frame& frame : frames) {
    if (mustBeFreed(frame)) std::free(frame.getBuffer());
  }
}

template class OwnedFrames<VideoFrameEncoded>;
template class OwnedFrames<AudioFrameEncoded>;

PacketsAdded addPackets(JNIEnv* env, jobject list, std::vector<VideoFrameEncoded>& frames) {
  return addPacketsOf<kVideoPacket>(env, list, frames);
}

PacketsAdded addPackets(JNIEnv* env, jobject list, std::vector<AudioFrameEncoded>& frames) {
  return addPacketsOf<kAudioPacket>(env, list, frames);
}

}  // namespace qvs
