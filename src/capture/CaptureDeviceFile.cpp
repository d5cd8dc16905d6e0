// Finds capture directories and plays one as a device.
#include "capture/CaptureDeviceFile.h"

#include <fmt/format.h>

#include "capture/CaptureDeviceRenditionFile.h"
#include "capture/CaptureUtils.h"
#include "capture/ICaptureDeviceRegistry.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBufferSet.h"
#include "log/LogGlobalLogger.h"

namespace qvs {

namespace {

constexpr uint32_t kDevicesMax = 100;
constexpr uint32_t kPathNative = 0;
constexpr uint32_t kPathCapture = 3;
constexpr uint32_t kColorSpace = 1;
constexpr double kRateWithoutDenominator = 30.0;

constexpr uint32_t kAlreadyRuns = 2;
constexpr uint32_t kAlreadyStands = 3;
constexpr uint32_t kIsInactive = 8;

std::unique_ptr<CaptureDeviceRenditionFile> renditionOf(const CaptureFileSource& source) {
  auto rendition = std::make_unique<CaptureDeviceRenditionFile>();
  rendition->setName("audioonly");
  if (!source.hasVideo()) return rendition;
  const double rate = source.videoFrameRateDenom != 0
                          ? static_cast<double>(source.videoFrameRateEnum) / source.videoFrameRateDenom
                          : kRateWithoutDenominator;
  rendition->setVideoColorSpace(kColorSpace);
  rendition->setVideoFrameWidth(source.videoFrameWidth);
  rendition->setVideoFrameHeight(source.videoFrameHeight);
  rendition->setVideoFrameRate(rate);
  rendition->setVideoFrameRateDen(source.videoFrameRateDenom);
  rendition->setVideoFrameRateEnum(source.videoFrameRateEnum);
  rendition->setVideoProgressive(1);
  rendition->setName(fmt::format("{}p{:.2f}", source.videoFrameHeight, rate));
  return rendition;
}

}  // namespace

CaptureDeviceFile::CaptureDeviceFile(uint32_t iterIndex, CaptureFileSource loaded, ILogger* log)
    : iterIndex(iterIndex), source(std::move(loaded)), worker(source, *this, log), workerThread(&worker) {
  logger = log;
  displayName = modelName = fmt::format("file::capture{}", iterIndex);
  inputFormatDetection = 1;
  hardwareId = iterIndex;
  implementation = kCaptureImplementationFile;
  audioMaxChannelCount = source.audioChannels;
  CaptureDeviceFile::addRendition(renditionOf(source));
}

CaptureDeviceFile::~CaptureDeviceFile() {
  const std::lock_guard guard(stateLock);
  if (running != 0) shutdown();
}

void CaptureDeviceFile::inspectHardware(ICaptureDeviceRegistry& registry) {
  const std::string set = registry.getPath(kPathCapture);
  const std::string root = set.empty() ? registry.getPath(kPathNative) : set;
  for (uint32_t n = 0; n < kDevicesMax; ++n) {
    const std::string directory = fmt::format("{}/capture/capture{}", root, n);
    if (!CaptureFileSource::isDirectory(directory.c_str())) return;
    CaptureFileSource source(registry.getLogger());
    if (source.load(directory.c_str()) != kSuccess) continue;  // told; the others stand
    auto device = std::make_unique<CaptureDeviceFile>(n, std::move(source), registry.getLogger());
    loggerOrGlobal(registry.getLogger())->info(device->describe());
    registry.addDevice(std::move(device));
  }
}

std::string CaptureDeviceFile::describe() const {
  std::string text =
      "CaptureDeviceFile.inspectHardware[{context}]: Adding file capture device: " + displayName;
  if (source.hasVideo()) {
    text += fmt::format(" video:{{file:{} [{}], size:{}x{}, rate:{}/{}}}", source.filePathVideo,
                        source.videoFrameCount, source.videoFrameWidth, source.videoFrameHeight,
                        source.videoFrameRateEnum, source.videoFrameRateDenom);
  }
  if (source.hasAudio()) {
    text += fmt::format(" audio:{{file:{} [{}], sampleRate:{}, channels:{}, bytesPerSample:{}}}",
                        source.filePathAudio, source.audioFrameCount, source.audioSampleRate,
                        source.audioChannels, source.audioBytesPerSample);
  }
  return text;
}

uint32_t CaptureDeviceFile::setActiveState(CaptureDeviceStateInfoData* info) {
  const std::lock_guard guard(stateLock);
  const bool run = (info->state & 1) != 0;
  info->status = kSuccess;
  if (active == 0) {
    info->status = kIsInactive;
  } else if (run == (running != 0)) {
    info->status = run ? kAlreadyRuns : kAlreadyStands;
  } else if (run) {
    startup();
    if (running == 0) return kFailure;
  } else {
    shutdown();
  }
  return kSuccess;
}

void CaptureDeviceFile::startup() {
  changeSessionInfo([&](CaptureSessionInfoData& info) {
    info = {};
    info.running = 1;
    if (source.hasVideo()) {
      info.videoEnable = 1;
      info.videoTimescale = 1000;
      info.videoFrameWidth = source.videoFrameWidth;
      info.videoFrameHeight = source.videoFrameHeight;
      info.videoFrameRateEnum = source.videoFrameRateEnum;
      info.videoFrameRateDen = source.videoFrameRateDenom;
      info.videoFrameRate = renditions.front()->getVideoFrameRate();
      info.videoColorSpace = kColorSpace;
      info.videoProgressive = 1;
      info.videoFrameRateDivisor = 1;
    }
    if (source.hasAudio()) {
      info.audioEnable = 1;
      info.audioTimescale = source.audioSampleRate;
      info.audioSampleRate = source.audioSampleRate;
      info.audioChannels = source.audioChannels;
      info.audioBytesPerSample = source.audioBytesPerSample;
    }
  });
  clearPreview();
  worker.setStop(false);
  if (workerThread.start() == kSuccess) {
    running = 1;
    return;
  }
  loggerOrGlobal(logger)->error("CaptureDeviceFile.startup[{context}]: No thread for " + displayName);
  resetCaptureSessionInfo();
}

void CaptureDeviceFile::shutdown() {
  worker.setStop(true);
  workerThread.stop();
  running = 0;
  clearPreview();
  clearAudioLastAllLevelData();
  resetCaptureSessionInfo();
}

CaptureFrame* CaptureDeviceFile::pictureToFill() {
  if (!bufferSet) bufferSet = std::make_unique<VideoFrameBufferSet>();
  return createCaptureFrameVideo(source.videoFrameWidth, source.videoFrameHeight, kFourCCYV12,
                                 bufferSet.get());
}

CaptureFrame* CaptureDeviceFile::soundToFill(uint32_t sampleCount) {
  return createCaptureFrameAudio(sampleCount, source.audioChannels, source.audioSampleRate);
}

void CaptureDeviceFile::deliverPicture(CaptureFrame* frame, uint64_t timecode) {
  VideoFrameBuffer& picture = *frame->getVideoFrameBuffer();
  picture.setTimecode(timecode);
  picture.setLocations(VideoFrameBuffer::systemMem);
  picture.setColorSpace(kColorSpace);
  frame->setCaptureFrameWidth(source.videoFrameWidth);
  frame->setCaptureFrameHeight(source.videoFrameHeight);
  frame->setCaptureFrameRateEnum(source.videoFrameRateEnum);
  frame->setCaptureFrameRateDen(source.videoFrameRateDenom);
  changeSessionInfo([&](CaptureSessionInfoData& info) {
    ++info.videoFrameCountTotal;
    ++info.videoFrameCountModeSwitch;
    info.videoLastTimecode = timecode;
    info.videoLastFrameIndex = nextVideoFrameIndex + 1;
    info.videoLastFrameWidth = source.videoFrameWidth;
    info.videoLastFrameHeight = source.videoFrameHeight;
    info.videoLastFrameRate = info.videoFrameRate;
  });
  // A frame that a sink has may be gone at once.
  if (addCaptureFrameToFrameSinks(frame) == 0) CaptureUtils::deleteCaptureFrame(frame);
}

void CaptureDeviceFile::deliverSound(CaptureFrame* frame, uint64_t timecode, uint32_t sampleCount) {
  AudioSampleBuffer& sound = *frame->getAudioSampleBuffer();
  sound.setTimecode(timecode);
  AudioLevelData levels{.timecode = timecode};
  std::array<AudioLevelSingleChannelData, CaptureSessionInfoData::kChannelsMax> all;
  calculateAudioLevels(sound.getBuffer(), sampleCount, source.audioChannels, source.audioBytesPerSample,
                       source.audioSampleRate, &levels);
  calculateAudioLevelsAll(sound.getBuffer(), sampleCount, timecode, source.audioChannels,
                          source.audioBytesPerSample, source.audioSampleRate, all.data());
  setAudioLastLevelData(levels);
  setAudioLastAllLevelData(all.data(), source.audioChannels);
  changeSessionInfo([&](CaptureSessionInfoData& info) {
    ++info.audioFrameCountTotal;
    ++info.audioFrameCountModeSwitch;
    info.audioLastTimecode = timecode;
    info.audioLastLevelData = levels;
    info.audioLastAllLevelData = all;
    info.audioLastAllLevelDataCount = source.audioChannels;
  });
  if (addCaptureFrameToFrameSinks(frame) == 0) CaptureUtils::deleteCaptureFrame(frame);
}

}  // namespace qvs
