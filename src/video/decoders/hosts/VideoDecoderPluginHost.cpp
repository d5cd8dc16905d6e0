// The one driver of decoder plug-ins: loads the library, forwards each call, gives it frames that fit.
#include "video/decoders/hosts/VideoDecoderPluginHost.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <iterator>

#include "contract/ParameterType.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "log/LogGlobalLogger.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr int64_t kDeadlineMax = 24 * 60 * 60 * 1000;

PluginStatusWords wordsOf(const PluginDecoderRow& row) {
  return {row.className, "QuickSync: ", nullptr};
}

}  // namespace

VideoDecoderPluginHost::VideoDecoderPluginHost(const PluginDecoderRow& hostRow)
    : row(hostRow), work(std::make_shared<Work>()) {
  codec = row.codec;
}

VideoDecoderPluginHost::~VideoDecoderPluginHost() {
  guarded(row.label, [&] { closePlugin(); });
}

bool VideoDecoderPluginHost::isAvailable(const PluginDecoderRow& row, const std::string& path,
                                         uint32_t hardwareAccess, ILogger* logger, uint32_t* major,
                                         uint32_t* minor) {
  return guarded(
      row.label,
      [&] {
        const auto status = PluginSession<pluginVideoDecoder>::askVersion(
            row.libraryIn(path, hardwareAccess), videoDecoderResolve, row.prefix, major, minor);
        if (!status) return false;
        logPluginStatus({loggerOrGlobal(logger), kLogContextVideoDecoder, 0}, wordsOf(row), {*status, {}},
                        kPluginLevelDebug);
        return *status == 0;
      },
      false);
}

void VideoDecoderPluginHost::logStatus(const PluginAnswer& answer) const {
  logPluginStatus({getLogger(), kLogContextVideoDecoder, 0}, wordsOf(row), answer, kPluginLevelWarn);
}

void VideoDecoderPluginHost::setNativePath(char* path) {
  if (path != nullptr) nativePath = path;
}

uint32_t VideoDecoderPluginHost::createDone() {
  return guarded(row.label, [&]() -> uint32_t {
    closePlugin();
    givenUp = false;
    const std::string path = row.libraryIn(nativePath, hardwareAccess);
    const std::string head = std::string(row.className) + ".createDone[{context}]: Loading shared library";
    if (!work->plugin.load(path, videoDecoderResolve, row.prefix,
                           row.global ? SharedLibrary::kLazyGlobal : 0)) {
      const std::string reason = row.tellsReason ? " with error: " + work->plugin.lastError() : "";
      getLogger()->warn(kLogContextVideoDecoder, 0, head + " FAILED: " + path + reason);
      return kFailure;
    }
    getLogger()->info(kLogContextVideoDecoder, 0, head + ": " + path);
    return createSession() ? kSuccess : kFailure;
  });
}

bool VideoDecoderPluginHost::createSession() {
  if (row.openingDeadline != 0) {
    thread = std::make_unique<PluginThread>(work);
    thread->setDeadline(std::chrono::milliseconds(row.openingDeadline));
  }
  const auto created = drive(
      "createDone", [host = this](Work& it) { return it.plugin.create(host, nativePluginAllocator()); });
  if (created) logStatus({*created, {}});
  if (row.tellsFourcc) {
    drive("createDone", [format = fourcc](Work& it) {
      it.plugin.call(&pluginVideoDecoder::func_setFourcc, format);
      return true;
    });
  }
  updateThread();
  return !givenUp;
}

void VideoDecoderPluginHost::closePlugin() {
  drive("destroy", [](Work& it) {
    it.plugin.close();
    return true;
  });
  thread.reset();
}

void VideoDecoderPluginHost::updateThread() {
  const bool wanted = callDeadline != 0 && !givenUp;
  if (!wanted) thread.reset();
  if (wanted && !thread) thread = std::make_unique<PluginThread>(work);
  if (thread) thread->setDeadline(std::chrono::milliseconds(callDeadline));
}

// What the call that hangs may still touch stays as it is: the work goes with its thread, and the frame that it may
// write to gets other storage, since its pool may use it again.
void VideoDecoderPluginHost::giveUp(const char* operation) {
  getLogger()->error(
      kLogContextVideoDecoder, 0,
      fmt::format("{}.{}[{{context}}]: The plug-in did not return within {} ms: it is left to its "
                  "thread, and this decoder is given up",
                  row.className, operation, thread->getDeadline().count()));
  if (target != nullptr && !guarded(
                               row.label, [&] { return target->abandonStorage(); }, false)) {
    // For ever: no memory to let it go.
    new std::shared_ptr<VideoFrameBufferAllocation>(target->getBufferAllocation());
  }
  thread.reset();
  work = std::make_shared<Work>();
  givenUp = true;
}

uint32_t VideoDecoderPluginHost::setGPUID(int32_t gpuid) {
  return forward("setGPUID", &pluginVideoDecoder::func_setGPUID, gpuid);
}

uint32_t VideoDecoderPluginHost::initialize() {
  return forward("initialize", &pluginVideoDecoder::func_initialize);
}

uint32_t VideoDecoderPluginHost::close() {
  return forward("close", &pluginVideoDecoder::func_close);
}

uint32_t VideoDecoderPluginHost::decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return guarded(row.label, [&] {
    if (!thread || buffer == nullptr)
      return forward("decodeCodecConfig", &pluginVideoDecoder::func_decodeCodecConfig, buffer, offset, len);
    work->record.assign(buffer + offset, buffer + offset + len);
    return status("decodeCodecConfig", [](Work& it) {
      return it.plugin.ask(&pluginVideoDecoder::func_decodeCodecConfig, it.record.data(), 0u,
                           static_cast<uint32_t>(it.record.size()));
    });
  });
}

uint32_t VideoDecoderPluginHost::addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                          uint32_t frameType) {
  return guarded(row.label, [&] {
    if (!thread || buffer == nullptr)
      return forward("addFrame", &pluginVideoDecoder::func_addFrame, buffer, offset, len, timecode,
                     frameType);
    // A call that hangs may read them longer than the session keeps them.
    work->unit.assign(buffer + offset, buffer + offset + len);
    return status("addFrame", [timecode, frameType](Work& it) {
      return it.plugin.ask(&pluginVideoDecoder::func_addFrame, it.unit.data(), 0u,
                           static_cast<uint32_t>(it.unit.size()), timecode, frameType);
    });
  });
}

uint32_t VideoDecoderPluginHost::decode(uint32_t* flags) {
  return decode(flags, endOfStream != 0 && isFrameDone() != 0 ? 1 : 0);
}

uint32_t VideoDecoderPluginHost::decode(uint32_t* flags, uint8_t flush) {
  if (!givenUp && !work->plugin.offers(&pluginVideoDecoder::func_getDecodedFrame)) return kSuccess;
  return step(flags, flush);
}

uint32_t VideoDecoderPluginHost::step(uint32_t* flags, uint8_t flush) {
  work->flags = *flags;
  const uint32_t result = status("decode", [flush](Work& it) {
    return it.plugin.ask(&pluginVideoDecoder::func_decode2, &it.flags, flush);
  });
  if (!givenUp) *flags = work->flags;
  return result;
}

uint8_t VideoDecoderPluginHost::isFrameDone() {
  return ask(&pluginVideoDecoder::func_isFrameDone);
}

bool VideoDecoderPluginHost::fits(const VideoFrameBuffer& frame) {
  uint32_t width = 0, height = 0;
  getDecodedFrameSize(&width, &height, nullptr, nullptr);
  if (width == 0) width = getFrameWidth();
  if (height == 0) height = getFrameHeight();
  const uint32_t format = frame.getFourCC();
  const bool planar = format == kFourCCYV12 || format == kFourCCI420 || format == kFourCCIYUV ||
                      format == kFourCCNV12 || format == kFourCCNV21;
  const bool sized = width != 0 && frame.getWidth() == width && frame.getHeight() == height;
  if (frame.getBuffer() != nullptr && planar && format == fourcc && sized) return true;
  if (std::has_single_bit(++refusals)) {
    getLogger()->error(
        kLogContextVideoDecoder, 0,
        fmt::format("{}.getDecodedFrame[{{context}}]: A frame of {}x{} in 0x{:x} can't take the "
                    "plug-in's picture of {}x{} in 0x{:x}",
                    row.className, frame.getWidth(), frame.getHeight(), format, width, height, fourcc));
  }
  return false;
}

uint32_t VideoDecoderPluginHost::getDecodedFrame(VideoFrameBuffer& frame) {
  return guarded(row.label, [&]() -> uint32_t {
    if (givenUp) return kFailure;
    if (!work->plugin.offers(&pluginVideoDecoder::func_getDecodedFrame)) return kSuccess;
    if (!fits(frame)) return kFailure;
    work->sizes = {};
    work->frameType = 0;
    work->frameFlags = work->timecode = 0;
    target = &frame;
    const uint32_t result = status(
        "getDecodedFrame",
        [buffer = frame.getBuffer(), stride = static_cast<uint32_t>(frame.getStride())](Work& it) {
          return it.plugin.ask(&pluginVideoDecoder::func_getDecodedFrame, static_cast<void*>(buffer), stride,
                               &it.sizes[0], &it.sizes[1], &it.frameType, &it.frameFlags, &it.timecode);
        });
    target = nullptr;
    if (result != kSuccess) return result;
    frame.setFrameType(work->frameType);
    frame.setTimecode(work->timecode);
    frame.setDisplayWidth(static_cast<int32_t>(work->sizes[0]));
    frame.setDisplayHeight(static_cast<int32_t>(work->sizes[1]));
    frame.setLocations(VideoFrameBuffer::systemMem);
    frame.setFlags(work->frameFlags);
    return kSuccess;
  });
}

uint32_t VideoDecoderPluginHost::getDecodedFrameSize(uint32_t* width, uint32_t* height, uint32_t* shownWidth,
                                                     uint32_t* shownHeight) {
  uint32_t* const out[] = {width, height, shownWidth, shownHeight};
  for (size_t i = 0; i < std::size(out); ++i) work->sizes[i] = out[i] != nullptr ? *out[i] : 0;
  const uint32_t result = status("getDecodedFrameSize", [](Work& it) {
    return it.plugin.ask(&pluginVideoDecoder::func_getDecodedFrameSize, &it.sizes[0], &it.sizes[1],
                         &it.sizes[2], &it.sizes[3]);
  });
  for (size_t i = 0; i < std::size(out) && !givenUp; ++i) {
    if (out[i] != nullptr) *out[i] = work->sizes[i];
  }
  return result;
}

uint32_t VideoDecoderPluginHost::getFrameWidth() {
  return ask(&pluginVideoDecoder::func_getFrameWidth);
}

uint32_t VideoDecoderPluginHost::getFrameHeight() {
  return ask(&pluginVideoDecoder::func_getFrameHeight);
}

uint32_t VideoDecoderPluginHost::getDisplayWidth() {
  return ask(&pluginVideoDecoder::func_getDisplayWidth);
}

uint32_t VideoDecoderPluginHost::getDisplayHeight() {
  return ask(&pluginVideoDecoder::func_getDisplayHeight);
}

double VideoDecoderPluginHost::getFrameRate() {
  return ask(&pluginVideoDecoder::func_getFrameRate);
}

uint32_t VideoDecoderPluginHost::getDecodedFrameType() {
  return ask(&pluginVideoDecoder::func_getDecodedFrameType);
}

uint64_t VideoDecoderPluginHost::getDecodedFrameTimecode() {
  return ask(&pluginVideoDecoder::func_getDecodedFrameTimecode);
}

uint64_t VideoDecoderPluginHost::getDecodedFrameFlags() {
  return ask(&pluginVideoDecoder::func_getDecodedFrameFlags);
}

uint8_t VideoDecoderPluginHost::getDeinterlace() {
  return ask(&pluginVideoDecoder::func_getDeinterlace);
}

void VideoDecoderPluginHost::setDeinterlace(uint8_t value) {
  guarded(row.label, [&] {
    drive("setDeinterlace", [value](Work& it) {
      it.plugin.call(&pluginVideoDecoder::func_setDeinterlace, value);
      return true;
    });
  });
}

uint32_t VideoDecoderPluginHost::applyParameters() {
  return forward("applyParameters", &pluginVideoDecoder::func_applyParameters);
}

uint32_t VideoDecoderPluginHost::setParameterValue(uint32_t key, int64_t value) {
  if (key == kKeyCallDeadline) {
    callDeadline = std::clamp<int64_t>(value, 0, kDeadlineMax);
    return guarded(row.label, [&] {
      updateThread();
      return kSuccess;
    });
  }
  if (key != kKeyEndOfStream)
    return forward("setParameterValue", &pluginVideoDecoder::func_setParameterValueLong, key, value);
  endOfStream = value != 0 ? 1 : 0;
  return kSuccess;
}

uint32_t VideoDecoderPluginHost::setParameterValue(uint32_t key, int64_t* values, uint32_t count) {
  return guarded(row.label, [&] {
    work->values.assign(values, values != nullptr ? values + count : nullptr);
    return status("setParameterValue", [key](Work& it) {
      return it.plugin.ask(&pluginVideoDecoder::func_setParameterValuesLong, key, it.values.data(),
                           static_cast<uint32_t>(it.values.size()));
    });
  });
}

uint32_t VideoDecoderPluginHost::setParameterValue(uint32_t key, double value) {
  return forward("setParameterValue", &pluginVideoDecoder::func_setParameterValueDouble, key, value);
}

uint32_t VideoDecoderPluginHost::getParameterValueType(uint32_t key, uint32_t* arrayLength) {
  if (key != kKeyEndOfStream && key != kKeyCallDeadline) {
    return readParameter(&pluginVideoDecoder::func_getParameterValueType, key, &Work::count, arrayLength);
  }
  clear(arrayLength);
  return kParameterLong;
}

template <typename Value, typename Entry>
uint32_t VideoDecoderPluginHost::readParameter(Entry entry, uint32_t key, Value Work::*got, Value* value) {
  return guarded(row.label, [&] {
    (*work).*got = {};
    const auto answer =
        drive("getParameterValue", [=](Work& it) { return it.plugin.call(entry, key, &(it.*got)); });
    clear(value);
    if (!answer) return kFailure;
    if (value != nullptr) *value = (*work).*got;
    return static_cast<uint32_t>(*answer);
  });
}

uint32_t VideoDecoderPluginHost::getParameterValue(uint32_t key, int64_t* value) {
  clear(value);
  if (key != kKeyEndOfStream && key != kKeyCallDeadline) {
    return readParameter(&pluginVideoDecoder::func_getParameterValueLong, key, &Work::number, value);
  }
  if (value != nullptr) *value = key == kKeyEndOfStream ? endOfStream : callDeadline;
  return kSuccess;
}

uint32_t VideoDecoderPluginHost::getParameterValue(uint32_t key, int64_t* values, uint32_t* count) {
  if (values == nullptr || count == nullptr) return clear(count);
  return guarded(row.label, [&]() -> uint32_t {
    if (!work->plugin.offers(&pluginVideoDecoder::func_getParameterValuesLong)) return clear(count);
    work->values.assign(*count, 0);
    work->count = *count;
    const auto answer = drive("getParameterValue", [key](Work& it) {
      return it.plugin.call(&pluginVideoDecoder::func_getParameterValuesLong, key, it.values.data(),
                            &it.count);
    });
    clear(count);
    if (!answer) return kFailure;
    *count = std::min(work->count, static_cast<uint32_t>(work->values.size()));
    std::copy_n(work->values.begin(), *count, values);
    return static_cast<uint32_t>(*answer);
  });
}

uint32_t VideoDecoderPluginHost::getParameterValue(uint32_t key, double* value) {
  return readParameter(&pluginVideoDecoder::func_getParameterValueDouble, key, &Work::real, value);
}

}  // namespace qvs
