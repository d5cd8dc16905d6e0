// What the arrival thread does: follows the signal, times what arrived, makes frames of it.
#include <fmt/format.h>

#include <cinttypes>
#include <cstdio>
#include <utility>

#include "capture/CaptureUtils.h"
#include "capture/decklink/BlackMagicInputs.h"
#include "capture/decklink/BlackMagicNotificationCallback.h"
#include "log/ILogger.h"

namespace qvs {

namespace {

constexpr uint32_t kFileColorSpace = 1;

using Anchor = BlackMagicClock::Anchor;

Anchor anchorOf(bool anew, uint64_t countSinceSwitch) {
  return anew ? Anchor::kYes : countSinceSwitch == 0 ? Anchor::kIfAstray : Anchor::kNo;
}

/// A card's counter within thirty years of its start: beyond that sums would overflow.
bool isSane(BMDTimeValue time, BMDTimeScale scale) {
  constexpr int64_t kLongestSeconds = 1000000000;
  return time >= 0 && time / scale <= kLongestSeconds;
}

bool hasNoInput(IDeckLinkVideoInputFrame& frame) {
  return (frame.GetFlags() & bmdFrameHasNoInputSource) != 0;
}

}  // namespace

void BlackMagicNotificationCallback::VideoInputFrameArrivedDoWork(
    const BlackMagicVideoInputFrameArrivedFrame& arrived) {
  ++device.captureEnterCount;
  Arrival arrival(arrived);
  arrival.serial = device.modeSerial;
  arrival.info = device.getCaptureSessionInfo();
  arrival.target = device.getCaptureTargetVideo();
  arrival.map = device.getAudioChannelMap();
  followSignal(arrival);
  if (!arrival.useFileSource) arrival.resetSync |= device.getAndClearResetTimecodeSyncToWallClock() != 0;
  switchInput(arrival);
  adjustVideoFrameRateDivisor(arrival);
  if (!arrival.useFileSource) {
    stamp(arrival);
    bringSound(arrival);
    bringPicture(arrival);
  }
  writeBack(arrival);
  --device.captureEnterCount;
  if (arrival.startFileSource) captureFileSource.startFileSource(clock);
}

void BlackMagicNotificationCallback::followSignal(Arrival& arrival) {
  IDeckLinkVideoInputFrame* const frame = arrival.given.videoFrame.get();
  if (frame == nullptr) {
    arrival.useFileSource = captureFileSource.isRunning();
    return;
  }
  arrival.hasSignal = !hasNoInput(*frame);
  tellSignal(arrival);
  const bool before = std::exchange(hadSignal, arrival.hasSignal);
  arrival.firstGood = arrival.hasSignal && !before;
  if (arrival.hasSignal) {
    emptyFrameCount = 0;
    if (captureFileSource.isRunning()) leaveFileSource(arrival);
    captureFileSourceCheck = true;
  } else {
    ++emptyFrameCount;
    device.changeSessionInfo([&](CaptureSessionInfoData& info) {
      resetModeSwitch(info);
      arrival.info = info;
    });
    lookForFileSource(arrival);
  }
}

void BlackMagicNotificationCallback::tellSignal(const Arrival& arrival) {
  if (arrival.hasSignal == hadSignal) return;
  const char* const what = arrival.hasSignal ? "The signal is back" : "The signal is lost";
  const std::string line =
      fmt::format("CaptureDeviceBlackMagic.VideoInputFrameArrived[{{context}}]: {}: input:{}", what,
                  arrival.info.videoInput);
  arrival.hasSignal ? log()->info(line) : log()->warn(line);
}

void BlackMagicNotificationCallback::leaveFileSource(Arrival& arrival) {
  captureFileSource.stopFileSource(&clock);
  arrival.resetSync = true;
  videoLastFrameIndex = kNone;
  restoreCaptureSessionInfo(arrival);
  log()->info("CaptureDeviceBlackMagic.VideoInputFrameArrived[{context}]:  Shutdown capture file source");
}

void BlackMagicNotificationCallback::lookForFileSource(Arrival& arrival) {
  if (std::exchange(captureFileSourceCheck, false) && captureFileSource.loadFileSource()) {
    const CaptureFileSource& source = captureFileSource.source();
    device.changeSessionInfo([&](CaptureSessionInfoData& info) {
      info.renditionIndex = ~0u;
      info.videoFrameWidth = source.videoFrameWidth;
      info.videoFrameHeight = source.videoFrameHeight;
      info.videoFrameRateEnum = source.videoFrameRateEnum;
      info.videoFrameRateDen = source.videoFrameRateDenom;
      info.videoFrameRate = static_cast<double>(source.videoFrameRateEnum) / source.videoFrameRateDenom;
      info.videoColorSpace = kFileColorSpace;
      info.videoProgressive = 1;
      info.videoTopFieldFirst = 0;
      info.videoFrameRateDivisor = 1;
      arrival.info = info;
    });
    arrival.startFileSource = true;
  }
  arrival.useFileSource = captureFileSource.isLoaded();
}

void BlackMagicNotificationCallback::restoreCaptureSessionInfo(Arrival& arrival) {
  BlackMagicVideoCaptureFormat format;
  if (!device.findVideoFormat(arrival.info.videoInput, &format)) return;
  device.changeSessionInfo([&](CaptureSessionInfoData& info) {
    if (device.modeSerial == arrival.serial) format.writeTo(info);
    arrival.info = info;
  });
}

void BlackMagicNotificationCallback::switchInput(Arrival& arrival) {
  if (emptyFrameCount < device.getEmptyFrameSwitchVideoInputCount()) return;
  TranscoderCaptureDeviceCaptureInputVideoData inputs = device.getVideoInputsActive();
  const uint32_t count = std::min(inputs.inputCount, inputs.kInputsMax);
  if (count <= 1) return;
  emptyFrameCount = 0;
  inputs.inputSelected =
      inputs.inputSelected < 0
          ? 0
          : static_cast<int32_t>((static_cast<uint32_t>(inputs.inputSelected) + 1) % count);
  const uint32_t input = inputs.input[static_cast<size_t>(inputs.inputSelected)];
  device.setVideoInputsActive(inputs);
  const HRESULT result = devicePtrs.deckLinkConfiguration->SetInt(bmdDeckLinkConfigVideoInputConnection,
                                                                  captureInputToBMDVideoConnection(input));
  log()->info(
      fmt::format("CaptureDeviceBlackMagic.VideoInputFrameArrived[{{context}}]: No signal: next input:{}{}",
                  input, result == S_OK ? "" : ", which the card refuses"));
  if (result != S_OK) return;
  device.changeSessionInfo([&](CaptureSessionInfoData& info) {
    resetModeSwitch(info);
    arrival.serial = ++device.modeSerial;
    info.videoInput = input;
    arrival.info = info;
  });
  if (!captureFileSource.isLoaded()) restoreCaptureSessionInfo(arrival);
}

void BlackMagicNotificationCallback::adjustVideoFrameRateDivisor(Arrival& arrival) {
  CaptureUtilsFrameRateInfo rate;
  CaptureUtils::getFrameRateInfo(&rate, arrival.target, arrival.info.videoFrameRateEnum,
                                 arrival.info.videoFrameRateDen);
  // Where the target asks for nothing, what the device was started with holds.
  const bool asked = (arrival.target.frameRateFlags & (kCaptureRateByTarget | kCaptureRateByDivisor)) != 0;
  const uint32_t divisor =
      std::max(asked ? rate.frameRateDivisor : device.getCaptureParamsVideo().frameRateDivisor, 1u);
  device.setVideoFrameRateDivisor(divisor);
  arrival.info.videoFrameRateDivisor = divisor;
  const uint64_t rateEnum = arrival.info.videoFrameRateEnum, rateDen = arrival.info.videoFrameRateDen;
  const uint64_t pictures = rateDen != 0 ? rateEnum * arrival.target.keyFrameInterval / (rateDen * 1000) : 0;
  arrival.info.videoKeyFrameIntervalAdjusted = static_cast<uint32_t>(divisor * (pictures / divisor));
}

void BlackMagicNotificationCallback::stamp(Arrival& arrival) {
  const CaptureSessionInfoData& info = arrival.info;
  const BlackMagicClock::Rate rate{info.videoFrameRateEnum, info.videoFrameRateDen};
  BMDTimeValue time = 0, duration = 0;
  if (arrival.given.videoFrame && rate.known() &&
      arrival.given.videoFrame->GetStreamTime(&time, &duration, rate.rateEnum) == S_OK &&
      isSane(time, rate.rateEnum)) {
    const bool first = std::exchange(videoAnchored, arrival.serial) != arrival.serial;
    const Anchor anchor = anchorOf(arrival.resetSync || first, info.videoFrameCountModeSwitch);
    arrival.videoFrameIndex = clock.videoIndex(time / rate.rateDen, rate, arrival.given.currTime, anchor);
    arrival.videoMilliseconds = rate.millisecondsOf(arrival.videoFrameIndex);
    arrival.videoTimed = true;
  }
  if (arrival.given.audioPacket && info.audioTimescale != 0 &&
      arrival.given.audioPacket->GetPacketTime(&time, static_cast<BMDTimeScale>(info.audioTimescale)) ==
          S_OK &&
      isSane(time, static_cast<BMDTimeScale>(info.audioTimescale))) {
    const bool first = std::exchange(audioAnchored, arrival.serial) != arrival.serial;
    const Anchor anchor = anchorOf(arrival.resetSync || first, info.audioFrameCountModeSwitch);
    arrival.audioSample = clock.audioSample(time, info.audioTimescale, arrival.given.currTime, anchor);
    arrival.audioTimed = true;
  }
}

void BlackMagicNotificationCallback::bringSound(Arrival& arrival) {
  if (arrival.audioTimed) {
    arrival.audioDelivered =
        sound.deliver(*arrival.given.audioPacket.get(), arrival.audioSample, arrival.map);
  } else if (arrival.videoTimed && sound.isEnabled() && !arrival.given.audioPacket) {
    sound.miss(static_cast<int64_t>(arrival.videoMilliseconds * arrival.info.audioTimescale / 1000));
  }
}

void BlackMagicNotificationCallback::writeBack(const Arrival& arrival) {
  if (arrival.audioDelivered && sound.hasAllLevels()) {
    device.setAudioLastAllLevelData(sound.getAllLevels().data(), sound.getChannelCount());
  } else if (!arrival.useFileSource) {
    device.clearAudioLastAllLevelData();
  }
  const bool picture = arrival.given.videoFrame && arrival.hasSignal;
  device.changeSessionInfo([&](CaptureSessionInfoData& info) {
    const bool current = device.modeSerial == arrival.serial;
    if (picture) ++info.videoFrameCountTotal;
    if (picture && current) ++info.videoFrameCountModeSwitch;
    if (arrival.given.audioPacket) ++info.audioFrameCountTotal;
    if (arrival.given.audioPacket && current) ++info.audioFrameCountModeSwitch;
    info.videoVANCPacketsTotal += arrival.vanc.packets;
    info.videoVANCCEA708PacketsTotal += arrival.vanc.captions;
    info.videoDroppedFrames += arrival.hasSignal ? arrival.dropped : 0;
    if (current) {
      info.videoVANCPacketsModeSwitch += arrival.vanc.packets;
      info.videoVANCCEA708PacketsModeSwitch += arrival.vanc.captions;
    }
    info.videoFrameRateDivisor = arrival.info.videoFrameRateDivisor;
    info.videoKeyFrameIntervalAdjusted = arrival.info.videoKeyFrameIntervalAdjusted;
    if (arrival.given.videoFrame) {
      info.videoLastFrameFlags = (info.videoLastFrameFlags & ~uint64_t{1}) | (arrival.hasSignal ? 0 : 1);
    }
    if (arrival.audioDelivered && arrival.hasSignal)
      info.audioLastTimecode = static_cast<uint64_t>(arrival.audioSample);
    if (arrival.audioDelivered) {
      info.audioLastChannelMap = arrival.map;
      info.audioLastAllLevelData = sound.getAllLevels();
      info.audioLastAllLevelDataCount = sound.getChannelCount();
    }
    if (arrival.hasLevels) info.audioLastLevelData = arrival.levels;
    if (!arrival.videoDelivered) return;
    info.videoLastFrameWidth = arrival.frameWidth;
    info.videoLastFrameHeight = arrival.frameHeight;
    info.videoLastFrameRate = info.videoFrameRate;
    info.videoLastFrameRotation = arrival.target.frameRotation;
    if (!arrival.hasSignal) return;
    info.videoLastTimecode = arrival.videoMilliseconds;
    info.videoLastFrameIndex = static_cast<uint64_t>(arrival.videoFrameIndex);
    if (!arrival.key) return;
    const uint64_t lastKey = videoLastKeyFrameTimecode.exchange(arrival.videoMilliseconds);
    info.videoLastGOPDuration = lastKey != kNone ? arrival.videoMilliseconds - lastKey : 0;
    info.videoLastKeyTimecode = arrival.videoMilliseconds;
  });
}

}  // namespace qvs
