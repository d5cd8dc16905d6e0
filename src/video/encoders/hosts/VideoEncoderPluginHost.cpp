// The one driver of encoder plug-ins: loads the library, forwards each call, takes over the coded frames.
#include "video/encoders/hosts/VideoEncoderPluginHost.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <chrono>
#include <string_view>
#include <utility>

#include "contract/ParameterType.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "log/LogGlobalLogger.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr int64_t kDeadlineMax = 24 * 60 * 60 * 1000;
constexpr uint32_t kDrainRoundsMax = 256;  ///< of up to 20 frames each

}  // namespace

VideoEncoderPluginHost::VideoEncoderPluginHost(const PluginEncoderRow& hostRow)
    : row(hostRow), hardwareAccess(row.hardwareAccess), work(std::make_shared<PluginEncoderWork>()) {
  codec = row.codec;
}

VideoEncoderPluginHost::~VideoEncoderPluginHost() {
  guarded(row.label, [&] { closePlugin(); });
}

// Lines.

PluginLogPlace VideoEncoderPluginHost::place() const {
  return {getLogger(), kLogContextVideoEncoder, static_cast<int>(sessionIndex)};
}

std::string VideoEncoderPluginHost::head(const char* operation) const {
  return fmt::format("{}.{}[{{context}}]: ", row.className, operation);
}

bool VideoEncoderPluginHost::worthTelling(uint32_t& times) {
  return std::has_single_bit(++times);
}

void VideoEncoderPluginHost::logStatus(const PluginAnswer& answer, int32_t level) const {
  logPluginStatus(place(), {row.className, row.statusPrefix, row.unknownStatus, row.numberedStatus}, answer,
                  level);
}

// The library.

bool VideoEncoderPluginHost::isAvailable(const PluginEncoderRow& row, const std::string& path,
                                         uint32_t hardwareAccess, ILogger* logger, uint32_t* major,
                                         uint32_t* minor) {
  return guarded(
      row.label,
      [&] {
        const auto status = Plugin::askVersion(row.libraryIn(path, hardwareAccess), videoEncoderResolve,
                                               row.prefix, major, minor);
        if (!status) return false;
        logPluginStatus({loggerOrGlobal(logger), kLogContextVideoEncoder, 0},
                        {row.className, row.statusPrefix, row.unknownStatus, row.numberedStatus},
                        {*status, {}}, kPluginLevelDebug);
        return *status == 0;
      },
      false);
}

void VideoEncoderPluginHost::setNativePath(char* path) {
  if (path != nullptr) nativePath = path;
}

uint32_t VideoEncoderPluginHost::createDone() {
  return guarded(row.label, [&]() -> uint32_t {
    closePlugin();
    givenUp = false;
    untold = 0;
    if (!loadPlugin()) return kFailure;
    if (row.openingDeadline != 0) {
      thread = std::make_unique<PluginThread>(work);
      thread->setDeadline(std::chrono::milliseconds(row.openingDeadline));
    }
    const uint32_t created = createSession();
    if (row.tellsCodec) {
      setting("createDone", &pluginVideoEncoder::func_setCodecAndVersion, codec, codecVersion);
      setting("createDone", &pluginVideoEncoder::func_createDone);
    }
    if (row.tellsPath) {
      const auto answer = drive("createDone", [path = nativePath](Plugin& plugin) {
        return plugin.ask(&pluginVideoEncoder::func_setPluginPath, path.c_str());
      });
      if (answer) logStatus(*answer, kPluginLevelWarn);
    }
    updateThread();
    return givenUp ? kFailure : created;
  });
}

uint32_t VideoEncoderPluginHost::createSession() {
  const auto status =
      drive("createDone", [this](Plugin& plugin) { return plugin.create(this, nativePluginAllocator()); });
  return status ? result("create", {*status, {}}) : kFailure;
}

uint32_t VideoEncoderPluginHost::result(const char* function, const PluginAnswer& answer) const {
  if (answer.status != 0 && row.strict) {
    const char* operation = std::string_view(function) == "create" ? "createDone" : function;
    getLogger()->warn(kLogContextVideoEncoder, place().index,
                      head(operation) + fmt::format("func_{} FAILED: {}", function, answer.status));
  }
  logStatus(answer, kPluginLevelWarn);
  return row.strict ? static_cast<uint32_t>(answer.status) : kSuccess;
}

bool VideoEncoderPluginHost::loadPlugin() {
  const std::string path = row.libraryIn(nativePath, hardwareAccess);
  const bool loaded =
      work->plugin.load(path, videoEncoderResolve, row.prefix, row.global ? SharedLibrary::kLazyGlobal : 0);
  std::string line = head("createDone") + "Loading shared library" + (loaded ? ": " : " FAILED: ") + path;
  if (!loaded && row.strict) line += " with error: " + work->plugin.lastError();
  if (loaded) {
    getLogger()->info(kLogContextVideoEncoder, place().index, line);
  } else {
    getLogger()->warn(kLogContextVideoEncoder, place().index, line);
  }
  return loaded;
}

void VideoEncoderPluginHost::closePlugin() {
  drive("destroy", [](Plugin& plugin) {
    plugin.close();
    return true;
  });
  thread.reset();
}

// Calls into the plug-in.

// What the call that hangs may still touch stays as it is: the work goes with its thread, and the frame gets other
// storage, since its pool may use it again.
void VideoEncoderPluginHost::giveUp() {
  getLogger()->error(kLogContextVideoEncoder, place().index,
                     head(operationInWork) +
                         fmt::format("The plug-in did not return within {} ms: it is left to its thread, and "
                                     "this encoder is given up",
                                     thread->getDeadline().count()));
  uint8_t* const inWork = work->picture.plane[0];
  if (frameInWork != nullptr && inWork != nullptr && frameInWork->getPlane(0) == inWork &&
      !guarded(
          row.label, [&] { return frameInWork->abandonStorage(); }, false)) {
    new std::shared_ptr<VideoFrameBufferAllocation>(hold);  // for ever: no memory to let it go
  }
  frameInWork = nullptr;
  hold.reset();
  thread.reset();
  work = std::make_shared<PluginEncoderWork>();
  givenUp = true;
  untold = kFailure;
}

void VideoEncoderPluginHost::updateThread() {
  finish();
  const bool wanted = (asynchronous != 0 || callDeadline != 0) && !givenUp;
  if (!wanted) thread.reset();
  if (wanted && !thread) thread = std::make_unique<PluginThread>(work);
  if (thread) thread->setDeadline(std::chrono::milliseconds(callDeadline));
}

// A setting that a plug-in refuses is told in the log alone.
template <typename Entry, typename... Arguments>
uint32_t VideoEncoderPluginHost::setting(const char* operation, Entry entry, Arguments... arguments) {
  return guarded(row.label, [&]() -> uint32_t {
    const auto answer = drive(operation, [=](Plugin& plugin) { return plugin.ask(entry, arguments...); });
    if (!answer) return kFailure;
    logStatus(*answer, kPluginLevelWarn);
    return kSuccess;
  });
}

// A step of the set-up, which strict hosts let decide.
template <typename Entry, typename... Arguments>
uint32_t VideoEncoderPluginHost::step(const char* operation, Entry entry, Arguments... arguments) {
  return guarded(row.label, [&]() -> uint32_t {
    const auto answer = drive(operation, [=](Plugin& plugin) { return plugin.ask(entry, arguments...); });
    return answer ? result(operation, *answer) : kFailure;
  });
}

template <typename Entry, typename... Arguments>
uint32_t VideoEncoderPluginHost::parameter(Entry entry, Arguments... arguments) {
  return guarded(row.label, [&]() -> uint32_t {
    const auto answer =
        drive("setParameterValue", [=](Plugin& plugin) { return plugin.ask(entry, arguments...); });
    if (!answer) return kFailure;
    logStatus(*answer, kPluginLevelWarn);
    return static_cast<uint32_t>(answer->status);
  });
}

// The plug-in writes to memory of the call's own: one that hangs may write later than the caller's lives.
template <typename Value, typename Entry>
uint32_t VideoEncoderPluginHost::readParameter(Entry entry, uint32_t key, Value* value) {
  return guarded(row.label, [&]() -> uint32_t {
    clear(value);
    const auto read = drive("getParameterValue", [=](Plugin& plugin) {
      Value got{};
      const int32_t status = plugin.call(entry, key, &got);
      return std::pair(static_cast<uint32_t>(status), got);
    });
    if (!read) return kFailure;
    if (value != nullptr) *value = read->second;
    return read->first;
  });
}

// Settings.

uint32_t VideoEncoderPluginHost::setGPUID(int32_t gpuid) {
  return guarded(row.label, [&] {
    const auto done = drive(
        "setGPUID", [=](Plugin& plugin) { return plugin.call(&pluginVideoEncoder::func_setGPUID, gpuid); });
    return done ? kSuccess : kFailure;
  });
}

uint32_t VideoEncoderPluginHost::setDefaults(int32_t videoType, int32_t pal) {
  return step("setDefaults", &pluginVideoEncoder::func_setDefaults, videoType, pal);
}

uint32_t VideoEncoderPluginHost::setFrameSize(uint32_t width, uint32_t height) {
  return setting("setFrameSize", &pluginVideoEncoder::func_setFrameSize, width, height);
}

uint32_t VideoEncoderPluginHost::setFrameRate(double frameRate) {
  return setting("setFrameRate", &pluginVideoEncoder::func_setFrameRate, frameRate);
}

uint32_t VideoEncoderPluginHost::setBitrate(uint32_t bitrate) {
  return setting("setBitrate", &pluginVideoEncoder::func_setBitrate, bitrate);
}

uint32_t VideoEncoderPluginHost::updateBitrate(uint32_t bitrate) {
  return setting("updateBitrate", &pluginVideoEncoder::func_updateBitrate, bitrate);
}

uint32_t VideoEncoderPluginHost::setKeyFrameFollow(uint8_t keyFrameFollow) {
  return setting("setKeyFrameFollow", &pluginVideoEncoder::func_setKeyFrameFollow, uint32_t{keyFrameFollow});
}

uint32_t VideoEncoderPluginHost::checkSettings() {
  return step("checkSettings", &pluginVideoEncoder::func_checkSettings);
}

uint32_t VideoEncoderPluginHost::initialize() {
  lastTimecode.reset();
  flushed = 0;
  return step("initialize", &pluginVideoEncoder::func_initialize);
}

// Pictures in.

uint32_t VideoEncoderPluginHost::addFrame(VideoFrameBuffer& frame, uint32_t type, uint64_t time) {
  return guarded(row.label, [&]() -> uint32_t {
    finish();
    if (const uint32_t failed = std::exchange(untold, 0); failed != 0) return failed;
    if (givenUp) return kFailure;
    if (!takesPictures()) return kSuccess;
    if (!takePicture(frame, type != 0 ? type : frame.getFrameType(), time)) return kFailure;
    if (!thread) {
      work->encode();
      return collect();
    }
    hold = frame.getBufferAllocation();
    frameInWork = &frame;
    operationInWork = "addFrame";
    thread->start([shared = work.get(), label = row.label] { guarded(label, [&] { shared->encode(); }); });
    // A frame that nothing holds is the caller's again when this returns.
    if (asynchronous != 0 && hold) return kSuccess;
    finish();
    return std::exchange(untold, 0);
  });
}

bool VideoEncoderPluginHost::takesPictures() const {
  return work->plugin.offers(&pluginVideoEncoder::func_addFrame2);
}

bool VideoEncoderPluginHost::takePicture(VideoFrameBuffer& frame, uint32_t type, uint64_t time) {
  if (!isEncodable(frame)) return false;
  work->picture = frame.getFrame();
  work->frameType = type;
  work->timecode = time;
  return true;
}

// The plug-in is told nothing of the format and would read past a smaller one, or swap the colors of another.
bool VideoEncoderPluginHost::isEncodable(VideoFrameBuffer& frame) {
  if (frame.transferToSystemMemory() != kSuccess) {
    // The device has told why.
    if (worthTelling(refusals)) {
      getLogger()->error(kLogContextVideoEncoder, place().index,
                         head("addFrame") + "The picture could not be fetched from its device");
    }
    return false;
  }
  if (frame.getPlane(0) != nullptr && frame.getFourCC() == kFourCCYV12) return true;
  refuse(frame, "YV12");
  return false;
}

void VideoEncoderPluginHost::refuse(const VideoFrameBuffer& frame, const char* wanted) {
  if (!worthTelling(refusals)) return;
  getLogger()->error(kLogContextVideoEncoder, place().index,
                     head("addFrame") + fmt::format("Only pictures in {} are encoded, this is 0x{:x}", wanted,
                                                    frame.getFourCC()));
}

void VideoEncoderPluginHost::finish() {
  if (frameInWork == nullptr) return;
  guarded(row.label, [&] {
    if (!thread->wait()) {
      giveUp();
      return;
    }
    frameInWork = nullptr;
    // The token's end pushes the frame on its pool's free list; doing it here keeps pools on their session's thread.
    hold.reset();
    untold = collect();
  });
}

// Coded frames out.

// Takes over what a call gave; the call's status.
uint32_t VideoEncoderPluginHost::collect() {
  const PluginAnswer& answer = work->answer;
  if (answer.status != 0 && worthTelling(failures)) logStatus(answer, kPluginLevelWarn);
  tellLies();
  std::vector<VideoFrameEncoded>& fresh = work->frames.list();
  tellRepeatedTimes();
  if (row.strict) tellReceived();
  frameCount += static_cast<uint32_t>(fresh.size());
  frames.list().insert(frames.list().end(), fresh.begin(), fresh.end());
  fresh.clear();  // the bytes are in the other list now
  return static_cast<uint32_t>(answer.status);
}

// A plug-in that claims more than there is room for has written past it, or lies.
void VideoEncoderPluginHost::tellLies() {
  constexpr uint32_t kMax = QVS_VIDEO_ENCODER_FRAMES_MAX;
  const auto tell = [&](const char* text) {
    getLogger()->error(kLogContextVideoEncoder, place().index,
                       head("addFrame") + fmt::format(fmt::runtime(text), work->claimed, kMax));
  };
  if (work->claimed > kMax && worthTelling(overclaims)) tell("the plug-in claims {} frames, taken: {}");
  if (work->withoutBytes != 0 && worthTelling(withoutBytes)) tell("the plug-in gave a frame without bytes");
  if (work->tooLong != 0 && worthTelling(tooLong)) {
    tell("the plug-in gave a frame longer than its memory, which is dropped");
  }
}

void VideoEncoderPluginHost::tellRepeatedTimes() {
  for (const VideoFrameEncoded& frame : work->frames) {
    const bool repeated = lastTimecode == frame.getTimecode();
    lastTimecode = frame.getTimecode();
    if (!repeated || !worthTelling(repeats)) continue;
    getLogger()->warn(
        kLogContextVideoEncoder, place().index,
        head("addFrame") + fmt::format("the plug-in gave two frames of one time: {}", frame.getTimecode()));
  }
}

void VideoEncoderPluginHost::tellReceived() {
  for (const VideoFrameEncoded& frame : work->frames) {
    if (!worthTelling(received)) continue;
    getLogger()->debug(kLogContextVideoEncoder, place().index,
                       fmt::format("H26X Xilinx received encoded data = {}, frametype = {}, timecode = {}",
                                   frame.getLen(), frame.getFrameType(), frame.getTimecode()));
  }
}

uint32_t VideoEncoderPluginHost::getEncodedFrameCount() {
  finish();
  return frameCount;
}

uint32_t VideoEncoderPluginHost::getEncodedFrames(std::vector<VideoFrameEncoded>& out) {
  return guarded(row.label, [&]() -> uint32_t {
    finish();
    if (const uint32_t failed = std::exchange(untold, 0); failed != 0) return failed;
    if (givenUp && frames.empty()) return kFailure;
    out.insert(out.end(), frames.begin(), frames.end());
    frames.list().clear();  // the bytes are the caller's now
    return kSuccess;
  });
}

uint32_t VideoEncoderPluginHost::flush() {
  flushed = 1;
  for (uint32_t round = 0; round < kDrainRoundsMax; ++round) {
    const bool returned = drive("drain", [shared = work.get()](Plugin&) {
                            shared->drain();
                            return true;
                          }).has_value();
    if (!returned) return kFailure;
    if (const uint32_t failed = collect(); failed != 0) return failed;
    if (work->claimed == 0) return kSuccess;
  }
  getLogger()->error(kLogContextVideoEncoder, place().index,
                     head("drain") + fmt::format("no end of frames after {} calls", kDrainRoundsMax));
  return kFailure;
}

// Parameters.

int64_t* VideoEncoderPluginHost::ownKey(uint32_t key) {
  switch (key) {
    case kKeyAsynchronous:
      return &asynchronous;
    case kKeyFlush:
      return &flushed;
    case kKeyCallDeadline:
      return &callDeadline;
    default:
      return nullptr;
  }
}

uint32_t VideoEncoderPluginHost::applyParameters() {
  return parameter(&pluginVideoEncoder::func_applyParameters);
}

uint32_t VideoEncoderPluginHost::setParameterValue(uint32_t key, int64_t value) {
  int64_t* own = ownKey(key);
  if (own == nullptr) return parameter(&pluginVideoEncoder::func_setParameterValueLong, key, value);
  return guarded(row.label, [&] {
    if (key == kKeyFlush) return flush();
    *own = std::clamp<int64_t>(value, 0, kDeadlineMax);
    updateThread();
    return kSuccess;
  });
}

uint32_t VideoEncoderPluginHost::setParameterValue(uint32_t key, int64_t* values, uint32_t count) {
  return guarded(row.label, [&]() -> uint32_t {
    std::vector<int64_t> copy(values, values != nullptr ? values + count : nullptr);
    const auto answer = drive("setParameterValue", [key, copy = std::move(copy)](Plugin& plugin) mutable {
      return plugin.ask(&pluginVideoEncoder::func_setParameterValuesLong, key, copy.data(),
                        static_cast<uint32_t>(copy.size()));
    });
    if (!answer) return kFailure;
    logStatus(*answer, kPluginLevelWarn);
    return static_cast<uint32_t>(answer->status);
  });
}

uint32_t VideoEncoderPluginHost::setParameterValue(uint32_t key, double value) {
  return parameter(&pluginVideoEncoder::func_setParameterValueDouble, key, value);
}

uint32_t VideoEncoderPluginHost::getParameterValueType(uint32_t key, uint32_t* arrayLength) {
  if (ownKey(key) == nullptr) {
    return readParameter(&pluginVideoEncoder::func_getParameterValueType, key, arrayLength);
  }
  clear(arrayLength);
  return kParameterLong;
}

uint32_t VideoEncoderPluginHost::getParameterValue(uint32_t key, int64_t* value) {
  const int64_t* own = ownKey(key);
  if (own == nullptr) return readParameter(&pluginVideoEncoder::func_getParameterValueLong, key, value);
  if (value != nullptr) *value = *own;
  return kSuccess;
}

uint32_t VideoEncoderPluginHost::getParameterValue(uint32_t key, int64_t* values, uint32_t* count) {
  if (values == nullptr || count == nullptr) return clear(count);
  return guarded(row.label, [&]() -> uint32_t {
    if (!work->plugin.offers(&pluginVideoEncoder::func_getParameterValuesLong)) return clear(count);
    const auto read =
        drive("getParameterValue", [key, got = std::vector<int64_t>(*count)](Plugin& plugin) mutable {
          auto there = static_cast<uint32_t>(got.size());
          const int32_t status =
              plugin.call(&pluginVideoEncoder::func_getParameterValuesLong, key, got.data(), &there);
          got.resize(std::min<size_t>(there, got.size()));
          return std::pair(static_cast<uint32_t>(status), std::move(got));
        });
    clear(count);
    if (!read) return kFailure;
    std::copy(read->second.begin(), read->second.end(), values);
    *count = static_cast<uint32_t>(read->second.size());
    return read->first;
  });
}

uint32_t VideoEncoderPluginHost::getParameterValue(uint32_t key, double* value) {
  return readParameter(&pluginVideoEncoder::func_getParameterValueDouble, key, value);
}

}  // namespace qvs
