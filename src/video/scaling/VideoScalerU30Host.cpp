// The scaler of the accelerator card: its plug-in, and the way of pictures and their times through its pipeline.
#include "video/scaling/VideoScalerU30Host.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstdio>

#include "frames/geometry/FourCC.h"
#include "frames/U30FrameProviders.h"
#include "frames/VideoFrameBuffer.h"
#include "log/LogGlobalLogger.h"
#include "platform/Guard.h"
#include "plugin/PluginStatusLine.h"
#include "video/scaling/device/VideoFrameNV12Utils.h"

namespace qvs {

namespace {

constexpr const char* kClass = "VideoScalerU30Host";
constexpr const char* kPrefix = "u30s_zarvoVideoScaler_";
constexpr const char* kLibrary = "/libqvs-vscaler-xilinxu30.so";
constexpr uint32_t kKeyFormat = 1003;
constexpr uint32_t kKeyBitDepth = 1004;
constexpr std::chrono::microseconds kSlow{16000};

mc_frame_t viewOf(const PluginVideoBuffer& picture) {
  mc_frame_t view{};
  view.width = picture.width;
  view.height = picture.height;
  view.four_cc = kFourCCNV12;
  for (size_t i = 0; i < 2; ++i) {
    view.plane[i] = static_cast<uint8_t*>(picture.plane[i]);
    view.stride[i] = static_cast<int32_t>(picture.stride[i]);
  }
  return view;
}

/// The order in which the plug-in gets the targets.
bool plugin_sort(const PluginVideoBuffer& a, const PluginVideoBuffer& b) {
  return uint64_t{a.width} * a.height > uint64_t{b.height} * b.width;
}

}  // namespace

VideoScalerU30Host::~VideoScalerU30Host() {
  close();
}

// The plug-in.

void VideoScalerU30Host::getPluginPath(const char* path, char* out, uint32_t size) {
  if (out == nullptr || size == 0) return;
  const std::string whole = std::string(path != nullptr ? path : "") + kLibrary;
  const bool fits = whole.size() < size;
  if (fits) std::copy_n(whole.c_str(), whole.size() + 1, out);
  if (!fits) *out = '\0';
}

bool VideoScalerU30Host::isAvailable(const std::string& path, ILogger* log, uint32_t* major,
                                     uint32_t* minor) {
  return guarded(
      "VideoScalerU30Host::isAvailable",
      [&] {
        const auto answer = PluginSession<PluginVideoScaler>::askVersion(
            path + kLibrary, videoScalerResolveCard, kPrefix, major, minor);
        if (!answer) return false;
        VideoScalerU30Host asked;
        asked.setLogger(log);
        asked.logStatus({*answer, {}}, 1);
        return *answer == 0;
      },
      false);
}

void VideoScalerU30Host::logStatus(const PluginAnswer& answer, int32_t) const {
  if (answer.status == 0) return;
  const char* known = pluginStatusText(answer.status);
  const std::string head = std::string(kClass) + "[{context}]: U30: ";
  getLogger()->info(kLogContextVideoScaler, 0,
                    head + (known != nullptr ? known : std::to_string(answer.status)));
  if (!answer.words.empty()) getLogger()->info(kLogContextVideoScaler, 0, head + answer.words);
}

void VideoScalerU30Host::logError(const char* operation, const std::string& text) const {
  getLogger()->error(kLogContextVideoScaler, 0,
                     fmt::format("{}.{}[{{context}}]: {}", kClass, operation, text));
}

template <typename Entry, typename... Arguments>
uint32_t VideoScalerU30Host::status(const char* label, Entry entry, Arguments... arguments) {
  return guarded(label, [&] {
    const PluginAnswer answer = plugin.ask(entry, arguments...);
    logStatus(answer, 2);
    return static_cast<uint32_t>(answer.status);
  });
}

void VideoScalerU30Host::setNativePath(char* path) {
  if (path != nullptr) nativePath = path;
}

uint32_t VideoScalerU30Host::create() {
  return guarded("VideoScalerU30Host::create", [&]() -> uint32_t {
    const std::string path = nativePath + kLibrary;
    const bool loaded = plugin.load(path, videoScalerResolveCard, kPrefix, SharedLibrary::kLazyGlobal);
    const std::string head = std::string(kClass) + ".create[{context}]: Loading shared library";
    if (!loaded) {
      getLogger()->warn(kLogContextVideoScaler, 0, head + " FAILED: " + path);
      return kFailure;
    }
    getLogger()->info(kLogContextVideoScaler, 0, head + ": " + path);
    const PluginAnswer answer{plugin.create(this, nativePluginAllocator()), {}};
    logStatus(answer, 2);
    return static_cast<uint32_t>(answer.status);
  });
}

uint32_t VideoScalerU30Host::close() {
  return guarded("VideoScalerU30Host::close", [&]() -> uint32_t {
    freeSource();
    plugin.close();
    videoProperties.clear();
    return kSuccess;
  });
}

uint32_t VideoScalerU30Host::setGPUID(int32_t gpuid) {
  return status("VideoScalerU30Host::setGPUID", &PluginVideoScaler::func_setGPUID, gpuid);
}

void VideoScalerU30Host::freeSource() {
  if (decodeWidth != 0) plugin.call(&PluginVideoScaler::func_freeFrame, &srcFrame_alloc);
  srcFrame_alloc = {};
  decodeWidth = decodeHeight = 0;
}

uint32_t VideoScalerU30Host::setSource(uint32_t width, uint32_t height, double rate) {
  return guarded("VideoScalerU30Host::setSource", [&]() -> uint32_t {
    freeSource();
    decodeRate = rate;
    PluginAnswer answer = plugin.ask(&PluginVideoScaler::func_setSource, width, height, rate);
    if (answer.status == 0) {
      answer = plugin.ask(&PluginVideoScaler::func_allocFrame, width, height, kFourCCNV12, &srcFrame_alloc);
    }
    logStatus(answer, 2);
    if (answer.status != 0) return static_cast<uint32_t>(answer.status);
    srcFrame = srcFrame_alloc;
    decodeWidth = width;
    decodeHeight = height;
    return kSuccess;
  });
}

uint32_t VideoScalerU30Host::addScaling(uint32_t width, uint32_t height, double rate, uint32_t scaleIndex,
                                        bool stableFramerate) {
  return status("VideoScalerU30Host::addScaling", &PluginVideoScaler::func_addScaling, width, height, rate,
                scaleIndex, static_cast<uint8_t>(stableFramerate));
}

uint32_t VideoScalerU30Host::initialize() {
  setParameterValue(kKeyFormat, int64_t{fourcc == kFourCCYV12 ? kFourCCNV12 : fourcc});
  setParameterValue(kKeyBitDepth, int64_t{bitDepth});
  return status("VideoScalerU30Host::initialize", &PluginVideoScaler::func_initialize);
}

// Pictures.

uint32_t VideoScalerU30Host::scaleFrame(VideoFrameBuffer* source, std::vector<VideoScalerTarget>* targets,
                                        uint32_t* count) {
  return guarded("VideoScalerU30Host::scaleFrame", [&]() -> uint32_t {
    if (*count == 0 || targets == nullptr) {
      if (source != nullptr) source->releaseCardPicture();
      return kFailure;
    }
    *count = 0;
    if (targets->empty() || targets->size() > kTargetsMax) return kFailure;
    if (source == nullptr) return flush(*targets, count);
    const bool onCard = source->getFourCC() == kFourCCHN12;
    lastStatus = kFailure;
    if (!takeSource(*source)) return kFailure;
    VideoProperties properties;
    properties.frameType = source->getFrameType();
    properties.timecode = source->getTimecode();
    properties.timecodeInfoCount = static_cast<uint32_t>(properties.timecodeInfo.size());
    source->getTimecodeInfo(properties.timecodeInfo.data(), &properties.timecodeInfoCount);
    videoProperties.push(properties);
    describeTargets(*targets, !onCard);
    uint32_t ready = targetCount;
    const uint32_t result = scale(onCard, &ready);
    lastStatus = result;
    if (result != kSuccess) videoProperties.popBack();
    takeOldest(*targets, ready, count);
    // Nothing is ready yet, or a failure that has been told: no reason to give up the stream.
    return ready != 0 ? result : kSuccess;
  });
}

uint32_t VideoScalerU30Host::flush(const std::vector<VideoScalerTarget>& targets, uint32_t* count) {
  if (videoProperties.empty() || !plugin.offers(&PluginVideoScaler::func_scale)) return kSuccess;
  srcFrame = {};
  describeTargets(targets, false);
  uint32_t ready = targetCount;
  const uint32_t result = scale(false, &ready);
  lastStatus = result;
  takeOldest(targets, ready, count);
  return result;
}

void VideoScalerU30Host::takeOldest(const std::vector<VideoScalerTarget>& targets, uint32_t ready,
                                    uint32_t* count) {
  // A plug-in that gives more than it was given has nothing to say of these.
  if (ready == 0 || videoProperties.empty()) return;
  const VideoProperties oldest = videoProperties.front();
  videoProperties.pop();
  *count = ready;
  deliver(targets, oldest);
}

// From here on the plug-in owns a handle: the frame has it no more.
bool VideoScalerU30Host::takeSource(VideoFrameBuffer& source) {
  const bool onCard = source.getFourCC() == kFourCCHN12;
  const bool onHost = source.getFourCC() == kFourCCYV12 && source.getPlane(2) != nullptr;
  const bool there = onCard ? U30FrameProviders::hasHandle(source) : onHost;
  const bool offered = plugin.offers(&PluginVideoScaler::func_scale);
  const bool resized = source.getWidth() != decodeWidth || source.getHeight() != decodeHeight;
  if (!there || !offered ||
      (resized && setSource(source.getWidth(), source.getHeight(), decodeRate) != kSuccess)) {
    if (std::has_single_bit(++refusals)) {
      logError("scaleFrame", !offered ? "There is no plug-in to scale"
                             : !there ? "The source has no picture"
                                      : "The source's size is refused");
    }
    return false;
  }
  srcFrame = srcFrame_alloc;
  srcFrame.frameType = source.getFrameType();
  srcFrame.timecode = source.getTimecode();
  srcFrame.four_cc = onCard ? kFourCCHN12 : kFourCCNV12;
  if (onCard) {
    srcFrame.opaque_ = U30FrameProviders::takeHandle(source);
    return true;
  }
  const mc_frame_t view = viewOf(srcFrame);
  return VideoFrameNV12Utils::copyYV12toNV12(&source.getFrame(), &view) == kSuccess;
}

void VideoScalerU30Host::describeTargets(const std::vector<VideoScalerTarget>& targets, bool fromHost) {
  targetCount = static_cast<uint32_t>(targets.size());
  for (uint32_t i = 0; i < targetCount; ++i) {
    PluginVideoBuffer& picture = pictures[i];
    picture = {};
    picture.width = targets[i].frame->getWidth();
    picture.height = targets[i].frame->getHeight();
    picture.four_cc = kFourCCNV12;
    picture.index = i;
    if (fromHost) std::copy_n(srcFrame.plane, 2, picture.plane);
  }
  std::stable_sort(pictures.begin(), pictures.begin() + targetCount, plugin_sort);
  for (uint32_t i = 0; i < targetCount; ++i) order[i] = pictures[i].index;
}

// A plug-in that fails has handed out nothing, whatever its count says.
uint32_t VideoScalerU30Host::scale(bool onCard, uint32_t* count) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point begin = Clock::now();
  const PluginAnswer answer = plugin.ask(&PluginVideoScaler::func_scale, &srcFrame, pictures.data(), count);
  if (answer.status != 0) {
    tellFailure(*count);
    *count = 0;
  }
  const auto spent = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin);
  if (onCard && spent > kSlow) {
    std::fprintf(stderr, "VideoScalerU30Host::scaleFrame() processing = %lld usec\n",
                 static_cast<long long>(spent.count()));
  }
  logStatus(answer, 2);
  return static_cast<uint32_t>(answer.status);
}

void VideoScalerU30Host::tellFailure(uint32_t count) const {
  if (count != 0) {
    std::fprintf(stderr, "VideoScalerU30Host::scaleFrame return with error and scaleCount = %u\n", count);
  }
  std::fputs("VideoScalerU30Host::scaleFrame return with error flushing scaling input\n", stderr);
}

void VideoScalerU30Host::deliver(const std::vector<VideoScalerTarget>& targets,
                                 const VideoProperties& properties) {
  for (uint32_t i = 0; i < targetCount; ++i) {
    const PluginVideoBuffer& picture = pictures[i];
    VideoFrameBuffer& target = *targets[order[i]].frame;
    if (!deliver(target, picture) && std::has_single_bit(++refusals)) {
      logError("scaleFrame",
               fmt::format("A frame of {}x{} in 0x{:x} can't take the plug-in's picture of {}x{} in 0x{:x}",
                           target.getWidth(), target.getHeight(), target.getFourCC(), picture.width,
                           picture.height, picture.four_cc));
    }
    target.setFrameType(properties.frameType);
    target.setTimecode(properties.timecode);
    target.setTimecodeInfo(properties.timecodeInfo.data(), properties.timecodeInfoCount);
  }
}

bool VideoScalerU30Host::deliver(VideoFrameBuffer& target, const PluginVideoBuffer& picture) const {
  const bool onCard = target.getFourCC() == kFourCCHN12;
  if (picture.four_cc == kFourCCHN12) {
    if (!onCard) {
      U30FrameProviders::release(picture.opaque_);
      return false;
    }
    if (U30FrameProviders::hasHandle(target)) {
      std::fputs("VideoScalerU30Host::addScaling Zero Copy Buffer left in pipeline\n", stderr);
    }
    U30FrameProviders::setHandle(target, picture.opaque_);
    return picture.opaque_ != nullptr;
  }
  const bool sized = picture.width == target.getWidth() && picture.height == target.getHeight();
  if (picture.four_cc != kFourCCNV12 || onCard || !sized || target.getBuffer() == nullptr) return false;
  const mc_frame_t view = viewOf(picture);
  if (VideoFrameNV12Utils::copyNV12toYV12(&view, &target.getFrame()) != kSuccess) return false;
  target.setFourCC(kFourCCYV12);
  target.setLocations(VideoFrameBuffer::systemMem);
  return true;
}

// Parameters.

uint32_t VideoScalerU30Host::applyParameters() {
  return status("VideoScalerU30Host::applyParameters", &PluginVideoScaler::func_applyParameters);
}

uint32_t VideoScalerU30Host::setParameterValue(uint32_t key, int64_t value) {
  return status("VideoScalerU30Host::setParameterValue", &PluginVideoScaler::func_setParameterValueLong, key,
                value);
}

uint32_t VideoScalerU30Host::setParameterValue(uint32_t key, int64_t* values, uint32_t count) {
  return status("VideoScalerU30Host::setParameterValue", &PluginVideoScaler::func_setParameterValuesLong, key,
                values, count);
}

uint32_t VideoScalerU30Host::setParameterValue(uint32_t key, double value) {
  return status("VideoScalerU30Host::setParameterValue", &PluginVideoScaler::func_setParameterValueDouble,
                key, value);
}

uint32_t VideoScalerU30Host::getParameterValueType(uint32_t key, uint32_t* arrayLength) {
  // The answer is a type, no status.
  return guarded("VideoScalerU30Host::getParameterValueType", [&] {
    return static_cast<uint32_t>(
        plugin.call(&PluginVideoScaler::func_getParameterValueType, key, arrayLength));
  });
}

uint32_t VideoScalerU30Host::getParameterValue(uint32_t key, int64_t* value) {
  return status("VideoScalerU30Host::getParameterValue", &PluginVideoScaler::func_getParameterValueLong, key,
                value);
}

uint32_t VideoScalerU30Host::getParameterValue(uint32_t key, int64_t* values, uint32_t* count) {
  return status("VideoScalerU30Host::getParameterValue", &PluginVideoScaler::func_getParameterValuesLong, key,
                values, count);
}

uint32_t VideoScalerU30Host::getParameterValue(uint32_t key, double* value) {
  return status("VideoScalerU30Host::getParameterValue", &PluginVideoScaler::func_getParameterValueDouble,
                key, value);
}

}  // namespace qvs
