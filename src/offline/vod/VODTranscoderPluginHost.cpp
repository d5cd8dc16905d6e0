// The one driver of off-line plug-ins: loads the library, hands a batch over, takes what came of it.
#include "offline/vod/VODTranscoderPluginHost.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "log/ILogger.h"
#include "platform/FreeDeleter.h"
#include "platform/Guard.h"
#include "session/JNIAllocator.h"

namespace qvs {
namespace {

constexpr const char* kPrefix = "zarvoVODTranscoder_";
constexpr size_t kElementSize = 64;
static_assert(sizeof(VideoFrameEncodedData) == kElementSize);
/// Frames that an encoder may have held from before, and two for each that goes in.
constexpr uint32_t kFramesHeld = 50;

using FrameArray = std::unique_ptr<VideoFrameEncodedData[], FreeDeleter>;

FrameArray frameArray(size_t count) {
  return FrameArray(
      static_cast<VideoFrameEncodedData*>(std::calloc(std::max<size_t>(count, 1), kElementSize)));
}

VODTranscoderPluginHost& of(void* host) {
  return *static_cast<VODTranscoderPluginHost*>(host);
}

}  // namespace

constexpr VODTranscoderRow kVODTranscoderQuickSync{
    "VODTranscoderVideoQuickSyncHost", "VODTranscoderVideoQuickSyncHost::transcode",
    "/libqvs-vodtranscoder-quicksync-drm.so", "/libqvs-vodtranscoder-quicksync-x11.so",
    "QuickSync on Linux: Unknown error."};
constexpr VODTranscoderRow kVODTranscoderNVENC{
    "VODTranscoderVideoNVENCHost", "VODTranscoderVideoNVENCHost::transcode", "/libqvs-vodtranscoder-nvenc.so",
    "/libqvs-vodtranscoder-nvenc.so", "NVENC on Linux: Unknown error."};

void* VODTranscoderPluginHost::byteArrayNew(void* host, uint32_t size) {
  auto& self = of(host);
  void* array = self.jniAllocator != nullptr ? self.jniAllocator->byteArrayNew(size) : nullptr;
  if (array != nullptr) self.arrays[array] = size;
  return array;
}

void VODTranscoderPluginHost::byteArrayFree(void* host, void* array) {
  auto& self = of(host);
  if (self.arrays.erase(array) != 0) self.jniAllocator->byteArrayFree(array);
}

uint8_t* VODTranscoderPluginHost::byteArrayLock(void* host, void* array) {
  auto& self = of(host);
  return self.arrays.contains(array) ? self.jniAllocator->byteArrayLock(array) : nullptr;
}

void VODTranscoderPluginHost::byteArrayUnlock(void* host, void* array, uint8_t* bytes) {
  auto& self = of(host);
  if (bytes != nullptr && self.arrays.contains(array)) self.jniAllocator->byteArrayUnlock(array, bytes);
}

void VODTranscoderPluginHost::setNativePath(const char* path) {
  if (path != nullptr) std::strncpy(nativePath.data(), path, kPathSize - 1);
}

void VODTranscoderPluginHost::warn(const std::string& text) const {
  if (logger != nullptr) logger->warn(kLogContextOffline, 0, std::string(row.className) + text);
}

void VODTranscoderPluginHost::logStatus(int32_t status) const {
  if (status > 0) warn(std::string("[{context}]: ") + row.statusWords);
}

uint32_t VODTranscoderPluginHost::createDone() {
  const std::string path =
      std::string(nativePath.data()) + (hardwareAccess == kAccessX11 ? row.libraryX11 : row.library);
  if (!plugin.load(path, vodTranscoderResolve, kPrefix)) {
    warn(".createDone[{context}]: Loading shared library FAILED: " + path);
    return kFailure;
  }
  const int32_t status = plugin.create(this, {byteArrayNew, byteArrayFree, byteArrayLock, byteArrayUnlock});
  logStatus(status);
  return static_cast<uint32_t>(status);
}

bool VODTranscoderPluginHost::isSound(const VideoFrameEncodedData& frame) const {
  if (frame.jbuffer == nullptr) return true;
  const auto array = arrays.find(frame.jbuffer);
  return array != arrays.end() && frame.len <= array->second;
}

uint32_t VODTranscoderPluginHost::transcode(VODTranscoderVideoSettings& settings,
                                            const std::vector<VideoFrameEncoded>& inFrames,
                                            std::vector<VideoFrameEncoded>& outFrames) {
  return guarded(row.label, [&]() -> uint32_t {
    if (!plugin.offers(&pluginVODTranscoder::func_transcode)) return kSuccess;
    const auto count = static_cast<uint32_t>(inFrames.size());
    const uint32_t room = (count + kFramesHeld) * 2;
    const FrameArray in = frameArray(count);
    const FrameArray out = frameArray(room);
    if (in == nullptr || out == nullptr) return kFailure;
    for (uint32_t i = 0; i < count; ++i) inFrames[i].getFrameData(in[i]);
    uint32_t produced = room;
    const int32_t status =
        plugin.call(&pluginVODTranscoder::func_transcode, &settings, in.get(), count, out.get(), &produced);
    if (produced > room)
      warn(fmt::format(".transcode[{{context}}]: {} frames in room for {}", produced, room));
    uint32_t unsound = 0;
    for (uint32_t i = 0; i < std::min(produced, room); ++i) {
      if (!isSound(out[i])) {
        ++unsound;
        continue;
      }
      outFrames.emplace_back().setFrameData(out[i]);
    }
    if (unsound != 0) warn(fmt::format(".transcode[{{context}}]: {} frames aren't in their arrays", unsound));
    return static_cast<uint32_t>(status);
  });
}

uint32_t VODTranscoderPluginHost::getCodecConfig(VODTranscoderVideoSettings& settings,
                                                 VideoFrameEncoded& frame) {
  if (!plugin.offers(&pluginVODTranscoder::func_getCodecConfig)) return kSuccess;
  VideoFrameEncodedData record{};
  const int32_t status = plugin.call(&pluginVODTranscoder::func_getCodecConfig, &settings, &record);
  if (status == 0 && isSound(record)) frame.setFrameData(record);
  return static_cast<uint32_t>(status);
}

}  // namespace qvs
