// What a card's own thread does: queues arrivals, follows changes of format.
#include "capture/decklink/BlackMagicNotificationCallback.h"

#include <fmt/format.h>

#include <cstdio>
#include <utility>

#include "capture/decklink/BlackMagicInputs.h"
#include "log/LogGlobalLogger.h"
#include "platform/Guard.h"
#include "platform/SystemTimeUtil.h"

namespace qvs {

/// Counts a call of the card's; false where the callback is being closed.
class BlackMagicNotificationCallback::InsideCall {
 public:
  explicit InsideCall(BlackMagicNotificationCallback& callback) : callback(callback) {
    const std::lock_guard guard(callback.insideLock);
    entered = !callback.closing;
    if (entered) ++callback.inside;
  }
  ~InsideCall() {
    if (!entered) return;
    const std::lock_guard guard(callback.insideLock);
    if (--callback.inside == 0) callback.left.notify_all();
  }
  InsideCall(const InsideCall&) = delete;
  InsideCall& operator=(const InsideCall&) = delete;
  explicit operator bool() const { return entered; }

 private:
  BlackMagicNotificationCallback& callback;
  bool entered = false;
};

BlackMagicNotificationCallback::BlackMagicNotificationCallback(BlackMagicCaptureState& device,
                                                               BlackMagicDevicePtrs ptrs)
    : device(device),
      devicePtrs(std::move(ptrs)),
      sound(device),
      sideData(device),
      captureFileSource(device),
      runner(*this) {}

void BlackMagicNotificationCallback::refuseCalls() {
  std::unique_lock guard(insideLock);
  closing = true;
  left.wait(guard, [&] { return inside == 0; });
}

void BlackMagicNotificationCallback::close() {
  refuseCalls();
  runner.stop();
  captureFileSource.stopFileSource();
  devicePtrs = {};
}

ILogger* BlackMagicNotificationCallback::log() const {
  return loggerOrGlobal(device.getLogger());
}

void BlackMagicNotificationCallback::tellFailedCall(const char* call, HRESULT result) const {
  if (result == S_OK) return;
  log()->error(
      fmt::format("CaptureDeviceBlackMagic.VideoInputFormatChanged[{{context}}]: {} failed: {:#010x}", call,
                  static_cast<uint32_t>(result)));
}

HRESULT BlackMagicNotificationCallback::VideoInputFrameArrived(IDeckLinkVideoInputFrame* frame,
                                                               IDeckLinkAudioInputPacket* packet) {
  const InsideCall call(*this);
  if (!call) return S_OK;
  const uint64_t now = SystemTimeUtil::getInstance()->getSystemTimeMilliseconds();
  if (!runner.push(frame, packet, now)) {
    std::puts("BlackMagicNotificationCallback::VideoInputFrameArrived: capture-drop: queue full");
  }
  return S_OK;
}

void BlackMagicNotificationCallback::resetModeSwitch(CaptureSessionInfoData& info) {
  info.videoFrameCountModeSwitch = 0;
  info.audioFrameCountModeSwitch = 0;
  info.videoVANCPacketsModeSwitch = 0;
  info.videoVANCCEA708PacketsModeSwitch = 0;
  info.videoLine21CEA708PacketsModeSwitch = 0;
  videoLastKeyFrameTimecode = kNone;
  videoLastFrameIndex = kNone;
}

HRESULT BlackMagicNotificationCallback::VideoInputFormatChanged(BMDVideoInputFormatChangedEvents events,
                                                                IDeckLinkDisplayMode* newMode,
                                                                BMDDetectedVideoInputFormatFlags detected) {
  const InsideCall call(*this);
  if (!call || newMode == nullptr) return S_OK;
  return guarded(
      "BlackMagicNotificationCallback::VideoInputFormatChanged",
      [&] {
        BlackMagicVideoCaptureFormat format = BlackMagicVideoCaptureFormat::of(*newMode);
        const BMDDisplayMode mode = newMode->GetDisplayMode();
        ICaptureDeviceRendition* const rendition = device.getRenditionById(mode);
        if (rendition != nullptr) format.renditionIndex = static_cast<int32_t>(rendition->getIndex());
        uint32_t input = 0;
        device.changeSessionInfo([&](CaptureSessionInfoData& info) {
          resetModeSwitch(info);
          ++device.modeSerial;
          format.writeTo(info);
          input = info.videoInput;
        });
        device.keepVideoFormat(input, format);
        BMDPixelFormat pixels = device.currPixelFormat;
        if ((events & bmdVideoInputColorspaceChanged) != 0) {
          if ((detected & bmdDetectedVideoInputYCbCr422) != 0) pixels = bmdFormat10BitYUV;
          if ((detected & bmdDetectedVideoInputRGB444) != 0) pixels = bmdFormat10BitRGB;
        }
        log()->info(
            fmt::format("CaptureDeviceBlackMagic.VideoInputFormatChanged[{{context}}]: input:{} size:{}x{} "
                        "rate:{}/{} progressive:{}",
                        input, format.videoFrameWidth, format.videoFrameHeight, format.videoFrameRateEnum,
                        format.videoFrameRateDen, format.videoProgressive));
        return restartStreams(mode, pixels);
      },
      E_UNEXPECTED);
}

HRESULT BlackMagicNotificationCallback::restartStreams(BMDDisplayMode mode, BMDPixelFormat format) {
  IDeckLinkInput& input = *devicePtrs.deckLinkInput.get();
  tellFailedCall("PauseStreams", input.PauseStreams());
  runner.flushVideoInputFrameArrived();
  const HRESULT enabled = input.EnableVideoInput(mode, format, device.currFlags);
  tellFailedCall("EnableVideoInput", enabled);
  if (enabled == S_OK) {
    device.currDisplayMode = mode;
    device.currPixelFormat = format;
  }
  tellFailedCall("FlushStreams", input.FlushStreams());
  tellFailedCall("StartStreams", input.StartStreams());
  return S_OK;
}

}  // namespace qvs
