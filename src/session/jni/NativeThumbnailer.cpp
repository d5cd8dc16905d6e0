// Still pictures out of runs of coded packets.
#include <string>

#include "offline/thumbnail/Thumbnailer.h"
#include "platform/FreeDeleter.h"
#include "session/jni/NativeEntry.h"
#include "session/jni/ThumbnailObjects.h"

namespace qvs {
namespace {

/// Serves a request; gives what keeps it from being served, empty where there is nothing to say.
std::string serve(JNIEnv* env, jobject request, jobject response) {
  if (request == nullptr) return ": Request class not found";
  if (response == nullptr) return ": Response class not found";
  std::string complaint;
  JavaThumbnailPackets packets;
  if (!packets.read(env, request, complaint)) return complaint;
  const ThumbnailerCodec* codec = Thumbnailer::codecOf(packets.get().codec);
  if (codec == nullptr) return ": Unsupported codec: " + std::to_string(packets.get().codec);

  ThumbnailerResponseData picture;
  Thumbnailer::videoDecoderGetVideoFrame(*codec, packets.get(), picture);
  const std::unique_ptr<uint8_t, FreeDeleter> pixels(picture.pictureData);
  if (picture.pictureDataLen == 0) return ": Response is empty";
  writeThumbnail(env, response, packets.get().format, picture, complaint);
  return complaint;
}

}  // namespace
}  // namespace qvs

using namespace qvs;

QVS_NATIVE(thumbnailerGetVideoFrame)
(JNIEnv* env, jobject, jlong classPtr, jobject request, jobject response) {
  const auto answer = [&](TranscoderSession& session) -> jlong {
    const std::string complaint = serve(env, request, response);
    if (!complaint.empty()) session.getLogger()->info(QVS_LABEL(thumbnailerGetVideoFrame) + complaint);
    return 0;
  };
  return withSession(QVS_LABEL(thumbnailerGetVideoFrame), classPtr, answer, 0);
}
