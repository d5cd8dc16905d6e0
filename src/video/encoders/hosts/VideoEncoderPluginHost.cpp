// The one driver of encoder plug-ins: loads the library, forwards each call, takes over the coded frames.
#include "video/encoders/hosts/VideoEncoderPluginHost.h"

#include <array>

#include "frames/VideoFrameBuffer.h"
#include "log/ILogger.h"
#include "log/LogGlobalLogger.h"
#include "platform/Guard.h"
#include "plugin/PluginStatus.h"

namespace qvs {

namespace {

constexpr const char* kPrefix = "zarvoVideoEncoder_";
constexpr int32_t kLevelDebug = 1;
constexpr int32_t kLevelWarn = 2;
constexpr int32_t kLevelError = 3;

}  // namespace

VideoEncoderPluginHost::VideoEncoderPluginHost(const PluginEncoderRow& hostRow) : row(hostRow) {
  codec = row.codec;
}

void VideoEncoderPluginHost::logStatus(const PluginEncoderRow& row, ILogger* logger, int contextIndex,
                                       int32_t status, int32_t level) {
  if (status <= 0) return;
  const char* text = pluginStatusText(status);
  const std::string line =
      std::string(row.className) + "[{context}]: " +
      (text != nullptr ? std::string(row.statusPrefix) + text : std::string(row.unknownStatus));
  if (level == kLevelDebug) {
    logger->debug(kLogContextVideoEncoder, contextIndex, line);
  } else if (level == kLevelError) {
    logger->error(kLogContextVideoEncoder, contextIndex, line);
  } else {
    logger->warn(kLogContextVideoEncoder, contextIndex, line);
  }
}

void VideoEncoderPluginHost::logStatus(int32_t status, int32_t level) const {
  logStatus(row, getLogger(), static_cast<int>(sessionIndex), status, level);
}

bool VideoEncoderPluginHost::isAvailable(const PluginEncoderRow& row, const std::string& path,
                                         ILogger* logger, uint32_t* major, uint32_t* minor) {
  return guarded(
      row.label,
      [&] {
        PluginSession<pluginVideoEncoder> plugin;
        if (!plugin.load(path + row.library, videoEncoderResolve, kPrefix)) return false;
        if (plugin.entryPoints().func_getVersion == nullptr) return false;
        const int32_t status = plugin.entryPoints().func_getVersion(nullptr, 0, major, minor);
        logStatus(row, loggerOrGlobal(logger), 0, status, kLevelDebug);
        return status == 0;
      },
      false);
}

void VideoEncoderPluginHost::setNativePath(char* path) {
  if (path != nullptr) nativePath = path;
}

uint32_t VideoEncoderPluginHost::createDone() {
  return guarded(row.label, [&]() -> uint32_t {
    const std::string path = nativePath + row.library;
    const std::string head = std::string(row.className) + ".createDone[{context}]: Loading shared library";
    if (!plugin.load(path, videoEncoderResolve, kPrefix)) {
      getLogger()->warn(kLogContextVideoEncoder, static_cast<int>(sessionIndex), head + " FAILED: " + path);
      return kFailure;
    }
    getLogger()->info(kLogContextVideoEncoder, static_cast<int>(sessionIndex), head + ": " + path);
    logStatus(plugin.create(this, nativePluginAllocator()), kLevelWarn);
    if (row.tellsCodec) {
      logStatus(plugin.call(&pluginVideoEncoder::func_setCodecAndVersion, codec, codecVersion), kLevelWarn);
      logStatus(plugin.call(&pluginVideoEncoder::func_createDone), kLevelWarn);
    }
    return kSuccess;
  });
}

// A setting that a plug-in refuses is told in the log alone.
template <typename Entry, typename... Arguments>
uint32_t VideoEncoderPluginHost::setting(Entry entry, Arguments... arguments) {
  return guarded(row.label, [&]() -> uint32_t {
    logStatus(plugin.call(entry, arguments...), kLevelWarn);
    return kSuccess;
  });
}

template <typename Entry, typename... Arguments>
uint32_t VideoEncoderPluginHost::parameter(Entry entry, Arguments... arguments) {
  return guarded(row.label, [&] { return static_cast<uint32_t>(plugin.call(entry, arguments...)); });
}

uint32_t VideoEncoderPluginHost::setGPUID(int32_t gpuid) {
  return guarded(row.label, [&]() -> uint32_t {
    plugin.call(&pluginVideoEncoder::func_setGPUID, gpuid);
    return kSuccess;
  });
}

uint32_t VideoEncoderPluginHost::setDefaults(int32_t videoType, int32_t pal) {
  return setting(&pluginVideoEncoder::func_setDefaults, videoType, pal);
}

uint32_t VideoEncoderPluginHost::setFrameSize(uint32_t width, uint32_t height) {
  return setting(&pluginVideoEncoder::func_setFrameSize, width, height);
}

uint32_t VideoEncoderPluginHost::setFrameRate(double frameRate) {
  return setting(&pluginVideoEncoder::func_setFrameRate, frameRate);
}

uint32_t VideoEncoderPluginHost::setBitrate(uint32_t bitrate) {
  return setting(&pluginVideoEncoder::func_setBitrate, bitrate);
}

uint32_t VideoEncoderPluginHost::updateBitrate(uint32_t bitrate) {
  return setting(&pluginVideoEncoder::func_updateBitrate, bitrate);
}

uint32_t VideoEncoderPluginHost::setKeyFrameFollow(uint8_t keyFrameFollow) {
  return setting(&pluginVideoEncoder::func_setKeyFrameFollow, uint32_t{keyFrameFollow});
}

uint32_t VideoEncoderPluginHost::checkSettings() {
  return setting(&pluginVideoEncoder::func_checkSettings);
}

uint32_t VideoEncoderPluginHost::initialize() {
  return setting(&pluginVideoEncoder::func_initialize);
}

uint32_t VideoEncoderPluginHost::addFrame(VideoFrameBuffer& frame, uint32_t frameType, uint64_t timecode) {
  return guarded(row.label, [&]() -> uint32_t {
    frame.transferToSystemMemory();
    if (!plugin.offers(&pluginVideoEncoder::func_addFrame2)) return kSuccess;
    constexpr size_t kMax = QVS_VIDEO_ENCODER_FRAMES_MAX;
    std::array<void*, kMax> buffers{};
    std::array<uint32_t, kMax> sizes{};
    std::array<uint32_t, kMax> frameTypes{};
    std::array<uint64_t, kMax> timecodes{};
    std::array<uint64_t, kMax> timecodeOffsets{};
    uint32_t count = kMax;
    const frame_tt& picture = frame.getFrame();
    const int32_t status =
        plugin.call(&pluginVideoEncoder::func_addFrame2, static_cast<void*>(picture.plane[0]),
                    static_cast<uint32_t>(picture.stride[0]), picture.width, picture.height,
                    frameType != 0 ? frameType : frame.getFrameType(), timecode, buffers.data(), sizes.data(),
                    frameTypes.data(), timecodes.data(), timecodeOffsets.data(), &count);
    if (status != 0) return static_cast<uint32_t>(status);
    // A plug-in that claims more than there is room for has written past it, or lies.
    if (count > kMax) {
      getLogger()->error(kLogContextVideoEncoder, static_cast<int>(sessionIndex),
                         std::string(row.className) + ".addFrame[{context}]: the plug-in claims " +
                             std::to_string(count) + " frames, taken: " + std::to_string(kMax));
      count = kMax;
    }
    takeFrames(buffers.data(), sizes.data(), frameTypes.data(), timecodes.data(), timecodeOffsets.data(),
               count);
    return kSuccess;
  });
}

void VideoEncoderPluginHost::takeFrames(void* const* buffers, const uint32_t* sizes,
                                        const uint32_t* frameTypes, const uint64_t* timecodes,
                                        const uint64_t* timecodeOffsets, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    if (buffers[i] == nullptr) {
      getLogger()->error(
          kLogContextVideoEncoder, static_cast<int>(sessionIndex),
          std::string(row.className) + ".addFrame[{context}]: the plug-in gave a frame without bytes");
      continue;
    }
    frames.list().emplace_back(static_cast<uint8_t*>(buffers[i]), sizes[i], timecodes[i],
                               static_cast<int64_t>(timecodeOffsets[i]), frameTypes[i], true);
    ++frameCount;
  }
}

uint32_t VideoEncoderPluginHost::getEncodedFrames(std::vector<VideoFrameEncoded>& out) {
  return guarded(row.label, [&]() -> uint32_t {
    out.insert(out.end(), frames.begin(), frames.end());
    frames.list().clear();  // the bytes are the caller's now
    return kSuccess;
  });
}

uint32_t VideoEncoderPluginHost::applyParameters() {
  return parameter(&pluginVideoEncoder::func_applyParameters);
}

uint32_t VideoEncoderPluginHost::setParameterValue(uint32_t key, int64_t value) {
  return parameter(&pluginVideoEncoder::func_setParameterValueLong, key, value);
}

uint32_t VideoEncoderPluginHost::setParameterValue(uint32_t key, int64_t* values, uint32_t count) {
  return parameter(&pluginVideoEncoder::func_setParameterValuesLong, key, values, count);
}

uint32_t VideoEncoderPluginHost::setParameterValue(uint32_t key, double value) {
  return parameter(&pluginVideoEncoder::func_setParameterValueDouble, key, value);
}

uint32_t VideoEncoderPluginHost::getParameterValueType(uint32_t key, uint32_t* arrayLength) {
  return parameter(&pluginVideoEncoder::func_getParameterValueType, key, arrayLength);
}

uint32_t VideoEncoderPluginHost::getParameterValue(uint32_t key, int64_t* value) {
  clear(value);
  return parameter(&pluginVideoEncoder::func_getParameterValueLong, key, value);
}

uint32_t VideoEncoderPluginHost::getParameterValue(uint32_t key, int64_t* values, uint32_t* count) {
  if (!plugin.offers(&pluginVideoEncoder::func_getParameterValuesLong)) return clear(count);
  return parameter(&pluginVideoEncoder::func_getParameterValuesLong, key, values, count);
}

uint32_t VideoEncoderPluginHost::getParameterValue(uint32_t key, double* value) {
  clear(value);
  return parameter(&pluginVideoEncoder::func_getParameterValueDouble, key, value);
}

}  // namespace qvs
