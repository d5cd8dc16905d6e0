// The process's scaler plug-in: found, probed, and called.
#include "video/scaling/device/VideoFrameIntrinsicScalerSingleton.h"

#include <cstring>

#include "log/LogGlobalLogger.h"
#include "platform/Status.h"

namespace qvs {

VideoFrameIntrinsicScalerSingleton* VideoFrameIntrinsicScalerSingleton::getInstance() {
  static auto* const instance = new VideoFrameIntrinsicScalerSingleton;
  return instance;
}

void VideoFrameIntrinsicScalerSingleton::setNativePath(uint32_t index, const char* path) {
  if (index != 0 || path == nullptr || strlen(path) >= sizeof nativePath) return;
  strcpy(nativePath, path);
}

uint32_t VideoFrameIntrinsicScalerSingleton::initialize() {
  if (available || nativePath[0] == '\0') return kSuccess;
  const std::string refusal = load();
  available = refusal.empty();
  if (!available) {
    lib_handle.close();
    plugin = {};
    LogGlobalLogger::getLogger()->info(
        "VideoFrameIntrinsicScalerSingleton.initialize[{context}]: Intrinsic scaler is not available: " +
        refusal);
  }
  return kSuccess;
}

// Why the plug-in can't be used; empty when it can.
std::string VideoFrameIntrinsicScalerSingleton::load() {
  if (!lib_handle.open(std::string(nativePath) + "/libqvs-videoframe-intrinsic-scaler.so")) {
    return lib_handle.lastError();
  }
  const auto find = [](void* library, const char* name) {
    return static_cast<SharedLibrary*>(library)->symbol<void*>(name);
  };
  if (!videoScalerResolve(&plugin, find, &lib_handle)) return "zarvoVideoScaler_isAvailable is missing";
  const uint32_t answer = plugin.func_isAvailable();
  if ((answer & VIDEO_SCALER_AVAILABLE_MASK) == VIDEO_SCALER_AVAILABLE_MASK) return {};
  return "the plug-in answers " + std::to_string(answer);
}

uint32_t VideoFrameIntrinsicScalerSingleton::create(void** session) {
  if (session == nullptr) return kFailure;
  *session = nullptr;
  return plugin.func_create != nullptr ? plugin.func_create(session) : kFailure;
}

uint32_t VideoFrameIntrinsicScalerSingleton::destroy(void* session) {
  return plugin.func_destroy != nullptr ? plugin.func_destroy(session) : kFailure;
}

uint32_t VideoFrameIntrinsicScalerSingleton::scaleByHalf(void* session,
                                                         const VideoFrameIntrinsicScalerFrame* source,
                                                         VideoFrameIntrinsicScalerFrame* target) {
  return plugin.func_scaleByHalf != nullptr ? plugin.func_scaleByHalf(session, source, target) : kFailure;
}

uint32_t VideoFrameIntrinsicScalerSingleton::overlayFrame(void* session, uint32_t mode, uint32_t x,
                                                          uint32_t y,
                                                          const VideoFrameIntrinsicScalerFrame* overlay,
                                                          VideoFrameIntrinsicScalerFrame* target) {
  return plugin.func_overlayFrame != nullptr ? plugin.func_overlayFrame(session, mode, x, y, overlay, target)
                                             : kFailure;
}

}  // namespace qvs
