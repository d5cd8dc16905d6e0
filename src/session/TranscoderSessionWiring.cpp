// Making a session's stages and pools and tying them to each other.
#include <fmt/format.h>

#include <cstring>

#include "contract/HardwareInfo.h"
#include "platform/Guard.h"
#include "session/FailureReasons.h"
#include "session/StageSelection.h"
#include "session/TranscoderSession.h"
#include "video/scaling/VideoScalerU30Host.h"

namespace qvs {

namespace {

/// The word for a scaler implementation in log lines.
struct ScalerName {
  uint32_t implementation;
  const char* name;
};

constexpr ScalerName kScalerNames[] = {
    {kScaleCPU, "default"}, {kScaleCUDA, "CUDA"},     {kScaleQuickSync, "QUICKSYNC"},
    {kScaleVAAPI, "VAAPI"}, {kScaleOpenCL, "OPENCL"}, {kScaleU30, "XILINX"},
};

std::string scalerName(uint32_t implementation) {
  for (const ScalerName& row : kScalerNames) {
    if (row.implementation == implementation) return row.name;
  }
  return fmt::format("UNKNOWN:{}", implementation);
}

/// Where log lines of one kind of stage go and how they name it.
struct StageLog {
  LogContext context;
  const char* label;    ///< "TranscoderSession::videoDecoderCreate"
  const char* name;     ///< "Video decoder"
  const char* created;  ///< "video decoder"

  const char* operation() const { return label + std::strlen("TranscoderSession::"); }
};

constexpr StageLog kVideoDecoderLog = {kLogContextVideoDecoder, "TranscoderSession::videoDecoderCreate",
                                       "Video decoder", "video decoder"};
constexpr StageLog kVideoEncoderLog = {kLogContextVideoEncoder, "TranscoderSession::videoEncoderAdd",
                                       "Video encoder", "video encoder"};
constexpr StageLog kAudioDecoderLog = {kLogContextAudioDecoder, "TranscoderSession::audioDecoderCreate",
                                       "Audio decoder", "audio decoder"};
constexpr StageLog kAudioEncoderLog = {kLogContextAudioEncoder, "TranscoderSession::audioEncoderAdd",
                                       "Audio encoder", "audio encoder"};

/// A new object of the row's class, ready but for `createDone`. Null, with a line that says so, without a row
/// for the codec or without the class.
template <typename Stage>
std::unique_ptr<Stage> makeStage(TranscoderSession& session, const StageLog& stage, int index,
                                 const StageRow<Stage>* row, uint32_t codec, uint32_t codecVersion) {
  if (row == nullptr) {
    session.fail(stage.label, unknownCodec(stage.context, index, codec));
    return nullptr;
  }
  if (std::unique_ptr<Stage> made = row->create(session.getAvailability())) {
    made->setLogger(session.getLogger());
    return made;
  }
  session.getLogger()->error(stage.context, index,
                             fmt::format("TranscoderSession.{}[{{context}}]: {} is not built in: {}",
                                         stage.operation(), stage.name, row->logTextOf(codecVersion)));
  return nullptr;
}

template <typename Stage>
void logCreated(ILogger& log, const StageLog& stage, int index, const StageRow<Stage>& row,
                uint32_t codecVersion) {
  log.info(stage.context, index,
           fmt::format("TranscoderSession.{}[{{context}}]: Create {}: {}", stage.operation(), stage.created,
                       row.logTextOf(codecVersion)));
}

}  // namespace

uint32_t TranscoderSession::videoDecoderCreate(uint32_t decoderType, uint32_t codec, uint32_t codecVersion,
                                               uint32_t bitDepth, uint32_t implementation, uint32_t fourcc) {
  return guarded("TranscoderSession::videoDecoderCreate", [&]() -> uint32_t {
    videoDecoderFourcc = fourcc;
    const VideoDecoderRow* row =
        StageSelection::videoDecoder(decoderType, codec, implementation, availability);
    std::unique_ptr<IVideoDecoder> created = makeStage(*this, kVideoDecoderLog, 0, row, codec, codecVersion);
    if (!created) return kFailure;
    releaseCardPictures();
    videoDecoder = std::move(created);
    logCreated(logCollector, kVideoDecoderLog, 0, *row, codecVersion);
    videoDecoder->setNativePath(pluginPath(row->path));
    videoDecoder->setCodecAndVersion(codec, codecVersion);
    videoDecoder->setBitDepth(bitDepth);
    videoDecoder->setImplementation(implementation);
    videoDecoder->setFourcc(fourcc);
    videoDecoder->createDone();
    return kSuccess;
  });
}

uint32_t TranscoderSession::videoDecoderBuffersCreate(uint32_t count) {
  constexpr const char* kLabel = "TranscoderSession::videoDecoderBuffersCreate";
  return guarded(kLabel, [&]() -> uint32_t {
    if (count > kPoolFramesMax) return fail(kLabel, poolTooLarge(kLogContextVideoDecoder, count));
    videoDecoderBuffers.setLogger(&logCollector);
    videoDecoderBuffers.setScaleImplementation(videoScalerImplementation);
    videoDecoderBuffers.setScaleCUDADeviceID(videoScalerGPUID);
    videoDecoderBuffers.setScaleFlags(videoScalerFlags);
    videoDecoderBuffers.initialize(count);
    for (const auto& frame : videoDecoderBuffers) {
      frame->setLogger(&logCollector);
      frame->initialize();
    }
    return kSuccess;
  });
}

uint32_t TranscoderSession::videoEncoderAdd(uint32_t codec, uint32_t codecVersion, uint32_t bitDepth,
                                            uint32_t fourcc, uint32_t implementation, int32_t* indexEncoder) {
  return guarded("TranscoderSession::videoEncoderAdd", [&]() -> uint32_t {
    videoEncoderFourcc = fourcc;
    clearVideoEncoderSlot(*indexEncoder);
    const VideoEncoderRow* row = StageSelection::videoEncoder(codec, implementation, availability);
    std::unique_ptr<IVideoEncoder> created =
        makeStage(*this, kVideoEncoderLog, *indexEncoder, row, codec, codecVersion);
    if (!created) return kFailure;
    *indexEncoder = storeVideoEncoder(std::move(created), *indexEncoder);
    IVideoEncoder& encoder = *getVideoEncoder(static_cast<uint32_t>(*indexEncoder));
    encoder.setSessionIndex(static_cast<uint32_t>(*indexEncoder));
    logCreated(logCollector, kVideoEncoderLog, *indexEncoder, *row, codecVersion);
    encoder.setBitDepth(bitDepth);
    encoder.setNativePath(pluginPath(row->path));
    encoder.setCodecAndVersion(codec, codecVersion);
    encoder.setImplementation(implementation);
    encoder.setFourcc(fourcc);
    encoder.createDone();
    return kSuccess;
  });
}

bool TranscoderSession::isVideoEncoderSlot(int32_t indexEncoder) const {
  return indexEncoder >= 0 && static_cast<size_t>(indexEncoder) < videoEncoders.size();
}

void TranscoderSession::clearVideoEncoderSlot(int32_t indexEncoder) {
  if (!isVideoEncoderSlot(indexEncoder)) return;
  // An exception while the old encoder goes has a label of its own.
  guarded("TranscoderSession::videoEncoderRecreate", [&] {
    videoEncoders[static_cast<size_t>(indexEncoder)].videoEncoder.reset();
    logCollector.info(kLogContextVideoEncoder, indexEncoder,
                      "TranscoderSession.videoEncoderAdd[{context}]: Delete current video encoder");
  });
}

int32_t TranscoderSession::storeVideoEncoder(std::unique_ptr<IVideoEncoder> encoder, int32_t indexEncoder) {
  if (isVideoEncoderSlot(indexEncoder)) {
    videoEncoders[static_cast<size_t>(indexEncoder)].videoEncoder = std::move(encoder);
    return indexEncoder;
  }
  videoEncoders.push_back({std::move(encoder)});
  return static_cast<int32_t>(videoEncoders.size() - 1);
}

uint32_t TranscoderSession::videoScalerCreate(uint32_t fourcc, uint32_t bitDepth) {
  return guarded("TranscoderSession::videoScalerCreate", [&]() -> uint32_t {
    if (videoScalerImplementation == kScaleU30) dropVideoScaler();
    videoScalerFourcc = fourcc;
    videoScalerBitDepth = bitDepth;
    return kSuccess;
  });
}

uint32_t TranscoderSession::videoScalerSetImplementation2(uint32_t implementation, int32_t gpuid) {
  return guarded("TranscoderSession::videoScalerSetImplementation2", [&]() -> uint32_t {
    const bool u30 = implementation == kScaleU30 && (availability.u30Available & kU30Usable) != 0;
    dropVideoScaler();
    if (u30) createVideoScaler(gpuid);
    const bool noCuda = implementation == kScaleCUDA && (availability.cudaAvailable & kCudaUsable) == 0;
    const bool served = implementation != kScaleQuickSync && (implementation != kScaleU30 || u30) && !noCuda;
    videoScalerImplementation = served ? implementation : uint32_t{kScaleCPU};
    videoScalerGPUID = gpuid;
    return kSuccess;
  });
}

void TranscoderSession::dropVideoScaler() {
  if (videoScaler) releaseCardPictures();
  videoScaler.reset();
}

void TranscoderSession::createVideoScaler(int32_t gpuid) {
  videoScaler = std::make_unique<VideoScalerU30Host>();
  videoScaler->setNativePath(nativePath.data());
  videoScaler->create();
  videoScaler->setLogger(&logCollector);
  videoScaler->setGPUID(gpuid);
  videoScaler->setFourcc(videoScalerFourcc);
  videoScaler->setBitDepth(videoScalerBitDepth);
  videoScaler->setImplementation(kScaleU30);
}

uint32_t TranscoderSession::videoScalerSetSource(uint32_t width, uint32_t height, double rate) {
  return guarded("TranscoderSession::videoScalerSetSource", [&]() -> uint32_t {
    if (videoScaler) return videoScaler->setSource(width, height, rate);
    logCollector.info(
        kLogContextVideoScaler, 0,
        fmt::format("TranscoderSession.videoScalerSetSource[{{context}}]: video scaler set source : "
                    "width = {}, height = {}, rate = {:g}",
                    width, height, rate));
    return kFailure;
  });
}

uint32_t TranscoderSession::videoScalerAddScaling(uint32_t width, uint32_t height, double rate,
                                                  uint32_t scaleIndex, bool stableFramerate) {
  return guarded("TranscoderSession::videoScalerAddScaling", [&]() -> uint32_t {
    if (videoScaler) return videoScaler->addScaling(width, height, rate, scaleIndex, stableFramerate);
    logCollector.info(
        kLogContextVideoScaler, 0,
        fmt::format("TranscoderSession.videoScalerAddScaling[{{context}}]: video scaler set source : "
                    "width = {}, height = {}, rate = {:g}, scaleIndex = {}, stableFramerate{:d}",
                    width, height, rate, scaleIndex, stableFramerate));
    return kFailure;
  });
}

uint32_t TranscoderSession::videoScalerInitialize() {
  return guarded("TranscoderSession::videoScalerInitialize", [&]() -> uint32_t {
    if (videoScaler && videoScalerImplementation == kScaleU30) videoScaler->initialize();
    const std::string flags = videoScalerFlags != 0 ? fmt::format(", flags:0x{:x}", videoScalerFlags) : "";
    logCollector.info(kLogContextVideoScaler, 0,
                      "TranscoderSession.videoScalerInitialize[{context}]: Initialize video scaler: " +
                          scalerName(videoScalerImplementation) + flags);
    return kSuccess;
  });
}

uint32_t TranscoderSession::videoEncoderBufferSetsCreate(uint32_t bufferCount) {
  videoEncoderBufferCount = bufferCount;
  return kSuccess;
}

uint32_t TranscoderSession::videoEncoderBufferSetAlloc(uint32_t* indexBuffer) {
  constexpr const char* kLabel = "TranscoderSession::videoEncoderBufferSetAlloc";
  return guarded(kLabel, [&]() -> uint32_t {
    if (videoEncoderBufferCount > kPoolFramesMax) {
      return fail(kLabel, poolTooLarge(kLogContextVideoEncoder, videoEncoderBufferCount));
    }
    auto set = std::make_unique<VideoFrameBufferSet>();
    set->setLogger(&logCollector);
    set->setScaleImplementation(videoScalerImplementation);
    set->setScaleCUDADeviceID(videoScalerGPUID);
    set->initialize(videoEncoderBufferCount);
    videoEncoderBufferSets.emplace_back(std::move(set));
    *indexBuffer = getVideoEncoderBufferSetCount() - 1;
    return kSuccess;
  });
}

int32_t TranscoderSession::videoEncoderGetEncoderFrameIndex(uint32_t frameIndex) const {
  for (size_t index = 0; index < videoEncoders.size(); ++index) {
    const auto& encoder = videoEncoders[index].videoEncoder;
    if (encoder && encoder->getFrameIndex() == static_cast<int32_t>(frameIndex))
      return static_cast<int32_t>(index);
  }
  return -1;
}

uint32_t TranscoderSession::videoEncoderBufferAdd(uint32_t width, uint32_t height, uint32_t fitMode, uint32_t,
                                                  uint32_t, uint32_t indexBuffer) {
  constexpr const char* kLabel = "TranscoderSession::videoEncoderBufferAdd";
  // Exceptions are printed with a capital, as hosts know them.
  return guarded("TranscoderSession::VideoEncoderBufferAdd", [&]() -> uint32_t {
    VideoFrameBufferSet* set = getVideoEncoderBufferSet(indexBuffer);
    if (set == nullptr) return fail(kLabel, noBufferSet(indexBuffer));
    const int32_t indexEncoder = videoEncoderGetEncoderFrameIndex(indexBuffer);
    if (indexEncoder < 0) {
      return fail(kLabel, {.reason = "No encoder has this frame index",
                           .context = kLogContextVideoEncoder,
                           .number = indexBuffer});
    }
    IVideoEncoder& encoder = *videoEncoders[static_cast<size_t>(indexEncoder)].videoEncoder;
    const FrameAllocProvider alloc = encoder.getAllocProvider();
    const FrameFreeProvider free = encoder.getFreeProvider();
    uint32_t result = kSuccess;
    finishVideoEncoders();  // a new size frees the storage that an encoder may still read
    for (const auto& frame : *set) {
      frame->setLogger(&logCollector);
      frame->setFitMode(fitMode);
      frame->setAllocProvider(alloc, free);
      if (frame->allocBuffer(width, height, videoEncoderFourcc) != kSuccess) {
        result = fail(kLabel, {.reason = "No storage for frames of this width",
                               .context = kLogContextVideoEncoder,
                               .index = indexEncoder,
                               .number = width});
      }
      frame->initialize();
    }
    return result;
  });
}

uint32_t TranscoderSession::audioDecoderCreate(uint32_t decoderType, uint32_t codec,
                                               uint32_t implementation) {
  return guarded("TranscoderSession::audioDecoderCreate", [&]() -> uint32_t {
    const AudioDecoderRow* row = StageSelection::audioDecoder(decoderType, codec, implementation);
    std::unique_ptr<IAudioDecoder> created = makeStage(*this, kAudioDecoderLog, 0, row, codec, 0);
    if (!created) return kFailure;
    created->setDecodeParameters(audioDecoderFormat);
    audioDecodeFrameHeaderSize = created->getDecodeFrameHeaderSize();
    audioDecoder = std::move(created);
    logCreated(logCollector, kAudioDecoderLog, 0, *row, 0);
    audioDecoder->setNativePath(pluginPath(row->path));
    audioDecoder->createDone();
    return kSuccess;
  });
}

uint32_t TranscoderSession::audioEncoderAdd(uint32_t codec, uint32_t, int32_t* indexEncoder) {
  return guarded("TranscoderSession::audioEncoderAdd", [&]() -> uint32_t {
    const AudioEncoderRow* row = StageSelection::audioEncoder(codec);
    const auto index = static_cast<int32_t>(audioEncoders.size());
    AudioEncoderWrapper wrapper;
    wrapper.audioEncoder = makeStage(*this, kAudioEncoderLog, index, row, codec, 0);
    if (!wrapper.audioEncoder) return kFailure;
    IAudioEncoder& encoder = *wrapper.audioEncoder;
    audioEncoders.push_back(std::move(wrapper));
    *indexEncoder = index;
    encoder.setSessionIndex(static_cast<uint32_t>(index));
    logCreated(logCollector, kAudioEncoderLog, index, *row, 0);
    encoder.setNativePath(pluginPath(row->path));
    encoder.createDone();
    return kSuccess;
  });
}

}  // namespace qvs
