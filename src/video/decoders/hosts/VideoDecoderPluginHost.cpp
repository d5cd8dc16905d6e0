// The one driver of decoder plug-ins: loads the library, forwards each call, gives it frames that fit.
#include "video/decoders/hosts/VideoDecoderPluginHost.h"

#include <fmt/format.h>

#include <bit>

#include "contract/ParameterType.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "log/LogGlobalLogger.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr const char* kPrefix = "zarvoVideoDecoder_";

PluginStatusWords wordsOf(const PluginDecoderRow& row) {
  return {row.className, "QuickSync: ", nullptr};
}

}  // namespace

VideoDecoderPluginHost::VideoDecoderPluginHost(const PluginDecoderRow& hostRow) : row(hostRow) {
  codec = row.codec;
}

VideoDecoderPluginHost::~VideoDecoderPluginHost() = default;

bool VideoDecoderPluginHost::isAvailable(const PluginDecoderRow& row, const std::string& path,
                                         uint32_t hardwareAccess, ILogger* logger, uint32_t* major,
                                         uint32_t* minor) {
  return guarded(
      row.label,
      [&] {
        const auto status = PluginSession<pluginVideoDecoder>::askVersion(
            row.libraryIn(path, hardwareAccess), videoDecoderResolve, kPrefix, major, minor);
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
    const std::string path = row.libraryIn(nativePath, hardwareAccess);
    const std::string head = std::string(row.className) + ".createDone[{context}]: Loading shared library";
    if (!plugin.load(path, videoDecoderResolve, kPrefix)) {
      getLogger()->warn(kLogContextVideoDecoder, 0, head + " FAILED: " + path);
      return kFailure;
    }
    getLogger()->info(kLogContextVideoDecoder, 0, head + ": " + path);
    logStatus({plugin.create(this, nativePluginAllocator()), {}});
    plugin.call(&pluginVideoDecoder::func_setFourcc, fourcc);
    return kSuccess;
  });
}

/// A call whose number is a status, told in the log when it is new and each time such calls have doubled: a stream
/// that goes wrong does so with every unit.
template <typename Entry, typename... Arguments>
uint32_t VideoDecoderPluginHost::status(Entry entry, Arguments... arguments) {
  return guarded(row.label, [&] {
    const PluginAnswer answer = plugin.ask(entry, arguments...);
    if (answer.status != 0 && std::has_single_bit(++failures)) logStatus(answer);
    return static_cast<uint32_t>(answer.status);
  });
}

/// A call whose number is an answer.
template <typename Entry, typename... Arguments>
auto VideoDecoderPluginHost::ask(Entry entry, Arguments... arguments) {
  return guarded(
      row.label, [&] { return plugin.call(entry, arguments...); },
      decltype(plugin.call(entry, arguments...)){});
}

uint32_t VideoDecoderPluginHost::setGPUID(int32_t gpuid) {
  return status(&pluginVideoDecoder::func_setGPUID, gpuid);
}

uint32_t VideoDecoderPluginHost::initialize() {
  return status(&pluginVideoDecoder::func_initialize);
}

uint32_t VideoDecoderPluginHost::close() {
  return status(&pluginVideoDecoder::func_close);
}

uint32_t VideoDecoderPluginHost::decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return status(&pluginVideoDecoder::func_decodeCodecConfig, buffer, offset, len);
}

uint32_t VideoDecoderPluginHost::addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                          uint32_t frameType) {
  return status(&pluginVideoDecoder::func_addFrame, buffer, offset, len, timecode, frameType);
}

uint32_t VideoDecoderPluginHost::decode(uint32_t* flags) {
  return decode(flags, endOfStream != 0 && isFrameDone() != 0 ? 1 : 0);
}

uint32_t VideoDecoderPluginHost::decode(uint32_t* flags, uint8_t flush) {
  if (!plugin.offers(&pluginVideoDecoder::func_getDecodedFrame)) return kSuccess;
  return status(&pluginVideoDecoder::func_decode2, flags, flush);
}

uint8_t VideoDecoderPluginHost::isFrameDone() {
  return ask(&pluginVideoDecoder::func_isFrameDone);
}

bool VideoDecoderPluginHost::fits(const VideoFrameBuffer& target) {
  uint32_t width = 0, height = 0, displayWidth = 0, displayHeight = 0;
  ask(&pluginVideoDecoder::func_getDecodedFrameSize, &width, &height, &displayWidth, &displayHeight);
  if (width == 0) width = getFrameWidth();
  if (height == 0) height = getFrameHeight();
  const uint32_t format = target.getFourCC();
  const bool planar = format == kFourCCYV12 || format == kFourCCI420 || format == kFourCCIYUV ||
                      format == kFourCCNV12 || format == kFourCCNV21;
  const bool sized = width != 0 && target.getWidth() == width && target.getHeight() == height;
  if (target.getBuffer() != nullptr && planar && format == fourcc && sized) return true;
  if (std::has_single_bit(++refusals)) {
    getLogger()->error(
        kLogContextVideoDecoder, 0,
        fmt::format("{}.getDecodedFrame[{{context}}]: A frame of {}x{} in 0x{:x} can't take the "
                    "plug-in's picture of {}x{} in 0x{:x}",
                    row.className, target.getWidth(), target.getHeight(), format, width, height, fourcc));
  }
  return false;
}

uint32_t VideoDecoderPluginHost::getDecodedFrame(VideoFrameBuffer& target) {
  return guarded(row.label, [&]() -> uint32_t {
    if (!plugin.offers(&pluginVideoDecoder::func_getDecodedFrame)) return kSuccess;
    if (!fits(target)) return kFailure;
    uint32_t width = 0, height = 0, frameType = 0;
    uint64_t flags = 0, timecode = 0;
    const uint32_t result =
        status(&pluginVideoDecoder::func_getDecodedFrame, static_cast<void*>(target.getBuffer()),
               static_cast<uint32_t>(target.getStride()), &width, &height, &frameType, &flags, &timecode);
    if (result != kSuccess) return result;
    target.setFrameType(frameType);
    target.setTimecode(timecode);
    target.setDisplayWidth(static_cast<int32_t>(width));
    target.setDisplayHeight(static_cast<int32_t>(height));
    target.setLocations(VideoFrameBuffer::systemMem);
    target.setFlags(flags);
    return kSuccess;
  });
}

uint32_t VideoDecoderPluginHost::getDecodedFrameSize(uint32_t* width, uint32_t* height, uint32_t* shownWidth,
                                                     uint32_t* shownHeight) {
  return status(&pluginVideoDecoder::func_getDecodedFrameSize, width, height, shownWidth, shownHeight);
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
  guarded(row.label, [&] { plugin.call(&pluginVideoDecoder::func_setDeinterlace, value); });
}

uint32_t VideoDecoderPluginHost::applyParameters() {
  return status(&pluginVideoDecoder::func_applyParameters);
}

uint32_t VideoDecoderPluginHost::setParameterValue(uint32_t key, int64_t value) {
  if (key != kKeyEndOfStream) return status(&pluginVideoDecoder::func_setParameterValueLong, key, value);
  endOfStream = value != 0 ? 1 : 0;
  return kSuccess;
}

uint32_t VideoDecoderPluginHost::setParameterValue(uint32_t key, int64_t* values, uint32_t count) {
  return status(&pluginVideoDecoder::func_setParameterValuesLong, key, values, count);
}

uint32_t VideoDecoderPluginHost::setParameterValue(uint32_t key, double value) {
  return status(&pluginVideoDecoder::func_setParameterValueDouble, key, value);
}

uint32_t VideoDecoderPluginHost::getParameterValueType(uint32_t key, uint32_t* arrayLength) {
  clear(arrayLength);
  if (key == kKeyEndOfStream) return kParameterLong;
  return static_cast<uint32_t>(ask(&pluginVideoDecoder::func_getParameterValueType, key, arrayLength));
}

uint32_t VideoDecoderPluginHost::getParameterValue(uint32_t key, int64_t* value) {
  clear(value);
  if (value != nullptr && key == kKeyEndOfStream) *value = endOfStream;
  if (key == kKeyEndOfStream) return kSuccess;
  return static_cast<uint32_t>(ask(&pluginVideoDecoder::func_getParameterValueLong, key, value));
}

uint32_t VideoDecoderPluginHost::getParameterValue(uint32_t key, int64_t* values, uint32_t* count) {
  if (!plugin.offers(&pluginVideoDecoder::func_getParameterValuesLong)) return clear(count);
  return static_cast<uint32_t>(ask(&pluginVideoDecoder::func_getParameterValuesLong, key, values, count));
}

uint32_t VideoDecoderPluginHost::getParameterValue(uint32_t key, double* value) {
  clear(value);
  return static_cast<uint32_t>(ask(&pluginVideoDecoder::func_getParameterValueDouble, key, value));
}

}  // namespace qvs
