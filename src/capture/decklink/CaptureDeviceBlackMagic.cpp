// Opens, starts and stops a card.
#include "capture/decklink/CaptureDeviceBlackMagic.h"

#include <fmt/format.h>

#include <algorithm>

#include "capture/decklink/BlackMagicInputs.h"
#include "capture/decklink/DeckLinkLibrary.h"
#include "log/LogGlobalLogger.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr uint32_t kAudioChannelsMax = 32;
constexpr uint32_t kVideoTimescale = 1000;
constexpr uint32_t kPixelFormat8Bit = 1;

}  // namespace

CaptureDeviceBlackMagic::~CaptureDeviceBlackMagic() {
  BlackMagicDiscovery::getInstance().remove(this);
  const std::lock_guard guard(stateLock);
  if (running != 0) shutdown();
  for (size_t left = parameterSessions.size(); left > 0; --left) releaseDevicePtrs();
}

uint32_t CaptureDeviceBlackMagic::failed(const char* call, int64_t result, uint32_t status) const {
  loggerOrGlobal(logger)->error(
      fmt::format("CaptureDeviceBlackMagic.startup[{{context}}]: {} failed: {}: {:#010x}, status {}",
                  displayName, call, static_cast<uint32_t>(result), status));
  return status;
}

void CaptureDeviceBlackMagic::warnFailed(const char* call, HRESULT result) const {
  if (result == S_OK) return;
  loggerOrGlobal(logger)->warn(
      fmt::format("CaptureDeviceBlackMagic.setActiveState[{{context}}]: {}: {} failed: {:#010x}", displayName,
                  call, static_cast<uint32_t>(result)));
}

uint32_t CaptureDeviceBlackMagic::selectedInput(IDeckLinkConfiguration& configuration,
                                                BMDDeckLinkConfigurationID id) const {
  int64_t connection = 0;
  const HRESULT result = configuration.GetInt(id, &connection);
  warnFailed("Asking for the selected input", result);
  return result == S_OK ? BMDVideoConnectionToCaptureInput(connection) : 0;
}

uint32_t CaptureDeviceBlackMagic::findDevice(IDeckLinkIterator& iterator,
                                             DeckLinkPtr<IDeckLink>* found) const {
  for (uint32_t index = 0;; ++index) {
    const HRESULT result = iterator.Next(found->put());
    if (result < 0) return kCardIteratorFailed;
    if (result != S_OK) return kCardNotFound;
    if (!*found) return kCardNoPointer;
    // Places change when a card is unplugged; its own number doesn't.
    int64_t id = 0;
    const auto attributes = found->as<IDeckLinkProfileAttributes>();
    const bool known =
        hardwareId != 0 && attributes && attributes->GetInt(BMDDeckLinkPersistentID, &id) == S_OK;
    if (known ? static_cast<uint64_t>(id) == hardwareId : index == iterIndex) return kCardDone;
  }
}

uint32_t CaptureDeviceBlackMagic::openDevicePtrs() {
  const DeckLinkLibrary& library = DeckLinkLibrary::getInstance();
  const DeckLinkPtr<IDeckLinkIterator> iterator = library.GetDeckLinkIterator();
  if (!iterator) return kCardNoIterator;
  BlackMagicDevicePtrs opened;
  const uint32_t status = findDevice(*iterator.get(), &opened.deckLink);
  if (status != kCardDone) return status;
  opened.deckLinkInput = opened.deckLink.as<IDeckLinkInput>();
  if (!opened.deckLinkInput) return kCardNoInput;
  opened.deckLinkNotification = opened.deckLink.as<IDeckLinkNotification>();
  if (!opened.deckLinkNotification) return kCardNoNotification;
  opened.deckLinkAttributes = opened.deckLink.as<IDeckLinkProfileAttributes>();
  if (!opened.deckLinkAttributes) return kCardNoAttributes;
  opened.deckLinkConfiguration = opened.deckLink.as<IDeckLinkConfiguration>();
  if (!opened.deckLinkConfiguration) return kCardNoConfiguration;
  opened.deckLinkFrameConverter = library.CreateVideoConversionInstance();
  devicePtrs = std::move(opened);
  return kCardDone;
}

uint32_t CaptureDeviceBlackMagic::acquireDevicePtrs(BlackMagicDevicePtrs* ptrs) {
  const std::lock_guard guard(ptrsLock);
  if (devicePtrCount == 0) {
    const uint32_t status = openDevicePtrs();
    if (status != kCardDone) return status;
  }
  ++devicePtrCount;
  *ptrs = devicePtrs;
  return kCardDone;
}

void CaptureDeviceBlackMagic::releaseDevicePtrs() {
  const std::lock_guard guard(ptrsLock);
  if (devicePtrCount > 0 && --devicePtrCount == 0) devicePtrs = {};
}

uint32_t CaptureDeviceBlackMagic::setActiveState(CaptureDeviceStateInfoData* info) {
  const std::lock_guard guard(stateLock);
  const bool run = (info->state & 1) != 0;
  info->status = kCardDone;
  if (active == 0) {
    info->status = kCardInactive;
  } else if (run == (running != 0)) {
    info->status = run ? kCardAlreadyRuns : kCardAlreadyStands;
  } else if (run) {
    info->status = guarded(
        "CaptureDeviceBlackMagic::startup", [&] { return startup(); }, uint32_t{kCardNoPointer});
  } else {
    shutdown();
  }
  return kSuccess;
}

uint32_t CaptureDeviceBlackMagic::startup() {
  BlackMagicDevicePtrs ptrs;
  const uint32_t opened = acquireDevicePtrs(&ptrs);
  if (opened != kCardDone) return failed("The driver", 0, opened);
  auto callback =
      DeckLinkPtr<BlackMagicNotificationCallback>::adopt(new BlackMagicNotificationCallback(*this, ptrs));
  const uint32_t status = startCapture(ptrs, *callback.get());
  if (status != kCardDone) {
    stopCapture(ptrs);
    callback->close();
    ptrs = {};
    releaseDevicePtrs();
    resetCaptureSessionInfo();
    return status;
  }
  devicePtrsRunning = std::move(ptrs);
  notificationCallback = std::move(callback);
  running = 1;
  return kCardDone;
}

uint32_t CaptureDeviceBlackMagic::startCapture(const BlackMagicDevicePtrs& ptrs,
                                               BlackMagicNotificationCallback& callback) {
  IDeckLinkInput& input = *ptrs.deckLinkInput.get();
  HRESULT result = input.SetCallback(&callback);
  if (result != S_OK) return failed("SetCallback", result, kCardNoCallback);
  CaptureSessionInfoData info;
  info.running = 1;
  info.renditionIndex = ~0u;
  clearVideoFormats();
  ++modeSerial;
  uint32_t status = enableVideo(ptrs, info);
  if (status == kCardDone) status = enableAudio(ptrs, callback, info);
  if (status != kCardDone) return status;
  if (!enabledVideo && !enabledAudio)
    return failed("Neither video nor audio is wanted", 0, kCardNothingEnabled);
  clearPreview();
  setCaptureSessionInfo(info);
  notificationStatusCallback =
      DeckLinkPtr<BlackMagicNotificationStatusCallback>::adopt(new BlackMagicNotificationStatusCallback);
  warnFailed("Subscribe",
             ptrs.deckLinkNotification->Subscribe(bmdStatusChanged, notificationStatusCallback.get()));
  // Ahead of the streams, so that nothing which arrives has to wait for it.
  if (callback.start() != kSuccess) return failed("The arrival thread", 0, kCardNoStreams);
  result = input.StartStreams();
  return result == S_OK ? uint32_t{kCardDone} : failed("StartStreams", result, kCardNoStreams);
}

uint32_t CaptureDeviceBlackMagic::enableVideo(const BlackMagicDevicePtrs& ptrs,
                                              CaptureSessionInfoData& info) {
  const CaptureDeviceCaptureParamsVideoData params = getCaptureParamsVideo();
  if (params.enable == 0) return kCardDone;
  BMDDisplayMode mode = bmdModeNTSC;
  ICaptureDeviceRendition* const rendition =
      params.renditionIndex >= 0 ? getRendition(static_cast<uint32_t>(params.renditionIndex)) : nullptr;
  const BMDPixelFormat format = params.pixelFormat == kPixelFormat8Bit ? bmdFormat8BitYUV : bmdFormat10BitYUV;
  info.videoEnable = 1;
  info.videoTimescale = kVideoTimescale;
  info.videoFrameRateDivisor = std::max(params.frameRateDivisor, 1u);
  info.videoInput = selectedInput(*ptrs.deckLinkConfiguration.get(), bmdDeckLinkConfigVideoInputConnection);
  if (rendition != nullptr) {
    mode = rendition->getId();
    BlackMagicVideoCaptureFormat shown;
    shown.renditionIndex = params.renditionIndex;
    shown.videoColorSpace = rendition->getVideoColorSpace();
    shown.videoFrameWidth = rendition->getVideoFrameWidth();
    shown.videoFrameHeight = rendition->getVideoFrameHeight();
    shown.videoFrameRateEnum = rendition->getVideoFrameRateEnum();
    shown.videoFrameRateDen = rendition->getVideoFrameRateDen();
    shown.videoFrameRate = rendition->getVideoFrameRate();
    shown.videoProgressive = rendition->getVideoProgressive();
    shown.videoTopFieldFirst = rendition->getVideoTopFieldFirst();
    shown.video3D = rendition->getVideo3D();
    shown.writeTo(info);
    keepVideoFormat(info.videoInput, shown);
  }
  BMDVideoInputFlags inputFlags = params.flags;
  if (params.autoDetectInputSource != 0) inputFlags |= bmdVideoInputEnableFormatDetection;
  const HRESULT result = ptrs.deckLinkInput->EnableVideoInput(mode, format, inputFlags);
  if (result != S_OK) return failed("EnableVideoInput", result, kCardNoVideo);
  enabledVideo = true;
  currDisplayMode = mode;
  currPixelFormat = format;
  currFlags = inputFlags;
  setVideoFrameRateDivisor(info.videoFrameRateDivisor);
  return kCardDone;
}

uint32_t CaptureDeviceBlackMagic::enableAudio(const BlackMagicDevicePtrs& ptrs,
                                              BlackMagicNotificationCallback& callback,
                                              CaptureSessionInfoData& info) {
  const CaptureDeviceCaptureParamsAudioData params = getCaptureParamsAudio();
  if (params.enable == 0) return kCardDone;
  uint32_t channels = std::min(audioMaxChannelCount, kAudioChannelsMax);
  if (audioCaptureChannelCount != 0) channels = std::min(channels, audioCaptureChannelCount.load());
  const uint32_t bytes = params.bytesPerSample;
  const HRESULT result = bytes == 2 || bytes == 4
                             ? ptrs.deckLinkInput->EnableAudioInput(params.sampleRate, bytes * 8, channels)
                             : E_NOTIMPL;
  if (result != S_OK || params.sampleRate == 0) return failed("EnableAudioInput", result, kCardNoAudio);
  enabledAudio = true;
  callback.setAudioCapture(channels, bytes, params.sampleRate);
  info.audioEnable = 1;
  info.audioTimescale = params.sampleRate;
  info.audioSampleRate = params.sampleRate;
  info.audioChannels = BlackMagicSound::kChannels;
  info.audioBytesPerSample = 2;
  info.audioInput = selectedInput(*ptrs.deckLinkConfiguration.get(), bmdDeckLinkConfigAudioInputConnection);
  return kCardDone;
}

/// Leaves the card as it was found, whatever had been done of a start.
void CaptureDeviceBlackMagic::stopCapture(const BlackMagicDevicePtrs& ptrs) {
  IDeckLinkInput& input = *ptrs.deckLinkInput.get();
  if (notificationStatusCallback) {
    warnFailed("Unsubscribe",
               ptrs.deckLinkNotification->Unsubscribe(bmdStatusChanged, notificationStatusCallback.get()));
    notificationStatusCallback.reset();
  }
  if (running != 0) warnFailed("StopStreams", input.StopStreams());
  if (std::exchange(enabledVideo, false)) warnFailed("DisableVideoInput", input.DisableVideoInput());
  if (std::exchange(enabledAudio, false)) warnFailed("DisableAudioInput", input.DisableAudioInput());
  running = 0;
  warnFailed("SetCallback", input.SetCallback(nullptr));
}

void CaptureDeviceBlackMagic::shutdown() {
  notificationCallback->refuseCalls();
  stopCapture(devicePtrsRunning);
  devicePtrsRunning = {};
  notificationCallback->close();
  notificationCallback.reset();
  releaseDevicePtrs();
  clearPreview();
  clearAudioLastAllLevelData();
  resetCaptureSessionInfo();
  clearVideoFormats();
}

void CaptureDeviceBlackMagic::setPlugged(bool value) {
  if (plugged.exchange(value) == value) return;
  if (!value) {
    loggerOrGlobal(logger)->error("CaptureDeviceBlackMagic.setPlugged[{context}]: The card was unplugged: " +
                                  displayName);
    return;
  }
  loggerOrGlobal(logger)->info("CaptureDeviceBlackMagic.setPlugged[{context}]: The card is there again: " +
                               displayName);
  const std::lock_guard guard(stateLock);
  if (running == 0) return;
  shutdown();
  if (startup() == kCardDone) return;
  loggerOrGlobal(logger)->error(
      "CaptureDeviceBlackMagic.setPlugged[{context}]: The card doesn't start again: " + displayName);
}

}  // namespace qvs
