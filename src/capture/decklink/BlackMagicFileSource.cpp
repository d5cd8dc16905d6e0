// Plays a capture directory in the place of a card without a signal.
#include "capture/decklink/BlackMagicFileSource.h"

#include <array>
#include <cstdio>
#include <utility>

#include "capture/CaptureUtils.h"
#include "contract/FrameTypes.h"
#include "log/LogGlobalLogger.h"
#include "platform/SystemTimeUtil.h"

namespace qvs {

namespace {
constexpr uint32_t kColorSpace = 1;
using Anchor = BlackMagicClock::Anchor;
}  // namespace

bool BlackMagicFileSource::loadFileSource() {
  auto loaded = std::make_unique<CaptureFileSource>(device.getLogger());
  if (loaded->load(device.getFileSourceDirectory().c_str()) != kSuccess || !loaded->hasVideo()) return false;
  captureFileSource = std::move(loaded);
  return true;
}

void BlackMagicFileSource::startFileSource(const BlackMagicClock& before) {
  clock = before;
  pictures = 0;
  soundAnchored = false;
  ICaptureFileConsumer& consumer = *this;  // a private base
  worker = std::make_unique<CaptureDeviceFileWorkerThread>(*captureFileSource, consumer, device.getLogger());
  captureFileSourceThread = std::make_unique<CrossplatformThread>(worker.get());
  if (captureFileSourceThread->start() == kSuccess) return;
  loggerOrGlobal(device.getLogger())->error("BlackMagicFileSource.startFileSource[{context}]: No thread");
  stopFileSource();
}

void BlackMagicFileSource::stopFileSource(BlackMagicClock* after) {
  if (worker) {
    worker->setStop(true);
    captureFileSourceThread->stop();
    captureFileSourceThread.reset();
    worker.reset();
    std::puts("BlackMagicNotificationCallback::threadWork[stop]");
    if (after != nullptr && clock.hasDelivered()) after->setLastVideo(clock.getLastVideo());
  }
  captureFileSource.reset();
}

CaptureFrame* BlackMagicFileSource::pictureToFill() {
  return device.createPicture(captureFileSource->videoFrameWidth, captureFileSource->videoFrameHeight);
}

CaptureFrame* BlackMagicFileSource::soundToFill(uint32_t sampleCount) {
  return device.createCaptureFrameAudio(sampleCount, captureFileSource->audioChannels,
                                        captureFileSource->audioSampleRate);
}

void BlackMagicFileSource::deliverPicture(CaptureFrame* frame, uint64_t) {
  const BlackMagicClock::Rate rate{captureFileSource->videoFrameRateEnum,
                                   captureFileSource->videoFrameRateDenom};
  const uint64_t now = SystemTimeUtil::getInstance()->getSystemTimeMilliseconds();
  const int64_t index = clock.videoIndex(pictures, rate, now, pictures == 0 ? Anchor::kYes : Anchor::kNo);
  const uint64_t milliseconds = rate.millisecondsOf(index);
  ++pictures;
  const CaptureSessionInfoData info = device.getCaptureSessionInfo();
  const uint32_t divisor = device.getVideoFrameRateDivisor();
  if (divisor > 1 && index % divisor != 0) return CaptureUtils::deleteCaptureFrame(frame);
  const uint32_t distance = info.videoKeyFrameIntervalAdjusted;
  VideoFrameBuffer& picture = *frame->getVideoFrameBuffer();
  if (distance != 0) picture.setFrameType(index % distance == 0 ? kFrameTypeKey : kFrameTypePredicted);
  const bool key = picture.getFrameType() == kFrameTypeKey;
  picture.setTimecode(milliseconds);
  picture.setFrameIndex(static_cast<uint64_t>(index));
  picture.setLocations(VideoFrameBuffer::systemMem);
  picture.setColorSpace(kColorSpace);
  picture.setFlags(kFrameFlagNoSignal);
  picture.getAudioLevelData() = levels;
  frame->setCaptureVideoInput(info.videoInput);
  frame->setCaptureAudioInput(info.audioInput);
  frame->setCaptureFrameWidth(captureFileSource->videoFrameWidth);
  frame->setCaptureFrameHeight(captureFileSource->videoFrameHeight);
  frame->setCaptureTransformFrameWidth(captureFileSource->videoFrameWidth);
  frame->setCaptureTransformFrameHeight(captureFileSource->videoFrameHeight);
  frame->setCaptureFrameRateEnum(rate.rateEnum);
  frame->setCaptureFrameRateDen(rate.rateDen);
  frame->setCaptureFrameRateDivisor(divisor);
  device.changeSessionInfo([&](CaptureSessionInfoData& now) { writeInfo(now, milliseconds, index, key); });
  clock.setLastVideo(milliseconds);
  if (device.addCaptureFrameToFrameSinks(frame) == 0) CaptureUtils::deleteCaptureFrame(frame);
}

void BlackMagicFileSource::writeInfo(CaptureSessionInfoData& info, uint64_t milliseconds, int64_t index,
                                     bool key) {
  ++info.videoFrameCountTotal;
  info.videoLastTimecode = milliseconds;
  info.videoLastFrameIndex = static_cast<uint64_t>(index);
  info.videoLastFrameWidth = captureFileSource->videoFrameWidth;
  info.videoLastFrameHeight = captureFileSource->videoFrameHeight;
  info.videoLastFrameRate = info.videoFrameRate;
  if (key) {
    info.videoLastGOPDuration = info.videoLastKeyTimecode != 0 ? milliseconds - info.videoLastKeyTimecode : 0;
    info.videoLastKeyTimecode = milliseconds;
  }
}

void BlackMagicFileSource::deliverSound(CaptureFrame* frame, uint64_t timecode, uint32_t sampleCount) {
  const uint32_t rate = captureFileSource->audioSampleRate, channels = captureFileSource->audioChannels;
  const uint64_t now = SystemTimeUtil::getInstance()->getSystemTimeMilliseconds();
  const Anchor anchor = std::exchange(soundAnchored, true) ? Anchor::kNo : Anchor::kYes;
  const auto sample =
      static_cast<uint64_t>(clock.audioSample(static_cast<int64_t>(timecode), rate, now, anchor));
  AudioSampleBuffer& sound = *frame->getAudioSampleBuffer();
  sound.setTimecode(sample);
  std::array<AudioLevelSingleChannelData, CaptureSessionInfoData::kChannelsMax> all;
  levels = {.timecode = sample * 1000 / rate};
  CaptureDeviceBase::calculateAudioLevels(sound.getBuffer(), sampleCount, channels, 2, rate, &levels);
  CaptureDeviceBase::calculateAudioLevelsAll(sound.getBuffer(), sampleCount, levels.timecode, channels, 2,
                                             rate, all.data());
  device.setAudioLastLevelData(levels);
  device.setAudioLastAllLevelData(all.data(), channels);
  device.changeSessionInfo([&](CaptureSessionInfoData& info) {
    ++info.audioFrameCountTotal;
    info.audioLastTimecode = sample;
    info.audioLastLevelData = levels;
    info.audioLastAllLevelData = all;
    info.audioLastAllLevelDataCount = channels;
  });
  if (device.addCaptureFrameToFrameSinks(frame) == 0) CaptureUtils::deleteCaptureFrame(frame);
}

}  // namespace qvs
