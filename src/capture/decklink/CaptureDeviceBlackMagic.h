#pragma once

#include <mutex>

#include "capture/decklink/BlackMagicCaptureState.h"
#include "capture/decklink/BlackMagicDiscovery.h"
#include "capture/decklink/BlackMagicNotificationCallback.h"
#include "capture/decklink/BlackMagicNotificationStatusCallback.h"
#include "capture/decklink/BlackMagicStatus.h"

namespace qvs {

class ICaptureDeviceRegistry;

/// One input of an SDI card.
class CaptureDeviceBlackMagic final : public BlackMagicCaptureState, private IBlackMagicPluggable {
 public:
  /// `iterIndex`: its place among the driver's devices.
  explicit CaptureDeviceBlackMagic(uint32_t iterIndex) : iterIndex(iterIndex) {
    implementation = kCaptureImplementationBlackMagic;
  }
  ~CaptureDeviceBlackMagic() override;

  /// Adds a device for each card that can capture.
  static void inspectHardware(ICaptureDeviceRegistry& registry);

  /// `status` is a BlackMagicStatus; 0 where the device does what was asked.
  uint32_t setActiveState(CaptureDeviceStateInfoData* info) override;

  // A parameter session has the card's settings; kFailure for one that isn't there. Keys: docs/capture.md.
  uint32_t startSessionParameterValues(uint32_t* sessionId) override;
  uint32_t endSessionParameterValues(uint32_t sessionId) override;
  uint32_t saveParameterValues(uint32_t sessionId) override;
  uint32_t setParameterValueLong(uint32_t sessionId, uint32_t key, int64_t value) override;
  uint32_t setParameterValueDouble(uint32_t sessionId, uint32_t key, double value) override;
  uint32_t setParameterValueString(uint32_t sessionId, uint32_t key, const std::string& value) override;
  uint32_t getParameterValueType(uint32_t sessionId, uint32_t key, uint32_t* length) override;
  uint32_t getParameterValueLong(uint32_t sessionId, uint32_t key, int64_t* value) override;
  uint32_t getParameterValueDouble(uint32_t sessionId, uint32_t key, double* value) override;
  uint32_t getParameterValueString(uint32_t sessionId, uint32_t key, std::string* value) override;

 private:
  struct BlackMagicParameterSession {
    BlackMagicDevicePtrs ptrs;
  };

  uint64_t getPersistentId() override { return hardwareId; }
  /// A device that runs goes on when its card is there again.
  void setPlugged(bool value) override;

  void describe(IDeckLinkProfileAttributes& attributes);
  void addModes(IDeckLinkInput& input);

  uint32_t acquireDevicePtrs(BlackMagicDevicePtrs* ptrs);
  void releaseDevicePtrs();
  uint32_t openDevicePtrs();
  uint32_t findDevice(IDeckLinkIterator& iterator, DeckLinkPtr<IDeckLink>* found) const;

  uint32_t startup();
  uint32_t startCapture(const BlackMagicDevicePtrs& ptrs, BlackMagicNotificationCallback& callback);
  uint32_t enableVideo(const BlackMagicDevicePtrs& ptrs, CaptureSessionInfoData& info);
  uint32_t enableAudio(const BlackMagicDevicePtrs& ptrs, BlackMagicNotificationCallback& callback,
                       CaptureSessionInfoData& info);
  void stopCapture(const BlackMagicDevicePtrs& ptrs);
  void shutdown();
  uint32_t failed(const char* call, int64_t result, uint32_t status) const;
  void warnFailed(const char* call, HRESULT result) const;
  /// The number of the input that a setting selects; 0 where the card doesn't tell.
  uint32_t selectedInput(IDeckLinkConfiguration& configuration, BMDDeckLinkConfigurationID id) const;

  /// False where there is no such session.
  bool findSession(uint32_t sessionId, BlackMagicDevicePtrs* ptrs);
  uint32_t written(uint32_t key, HRESULT result) const;
  bool setOwn(uint32_t key, double value);
  bool getOwn(uint32_t key, double* value);

  const uint32_t iterIndex;
  std::atomic<bool> plugged{true};

  std::mutex stateLock;  ///< held while the device starts or stops; never taken by a thread that captures
  BlackMagicDevicePtrs devicePtrsRunning;
  DeckLinkPtr<BlackMagicNotificationCallback> notificationCallback;
  DeckLinkPtr<BlackMagicNotificationStatusCallback> notificationStatusCallback;
  bool enabledAudio = false;
  bool enabledVideo = false;

  std::mutex ptrsLock;  ///< guards all that follows
  int32_t devicePtrCount = 0;
  BlackMagicDevicePtrs devicePtrs;
  std::map<uint32_t, BlackMagicParameterSession> parameterSessions;
  uint32_t nextParameterSessionId = 0;
};

}  // namespace qvs
