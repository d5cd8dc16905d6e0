#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "capture/decklink/BlackMagicCaptureState.h"
#include "capture/decklink/BlackMagicClock.h"
#include "capture/decklink/BlackMagicFileSource.h"
#include "capture/decklink/BlackMagicPictureConverter.h"
#include "capture/decklink/BlackMagicSideData.h"
#include "capture/decklink/BlackMagicSound.h"
#include "capture/decklink/DeckLinkObject.h"
#include "capture/decklink/VideoInputFrameArrivedRunner.h"

namespace qvs {

/// What a running card calls. Its thread only queues what arrives; the arrival thread makes frames of it for the
/// device's sinks. The driver may hold a reference beyond `close`, after which nothing happens any more.
class BlackMagicNotificationCallback final : public DeckLinkObject<IDeckLinkInputCallback>,
                                             private IVideoInputFrameArrivedWork {
 public:
  /// `device` must live until `close`.
  BlackMagicNotificationCallback(BlackMagicCaptureState& device, BlackMagicDevicePtrs devicePtrs);
  ~BlackMagicNotificationCallback() override { close(); }

  /// Before the card's streams start: what sound was enabled, none where `channels` is 0.
  void setAudioCapture(uint32_t channels, uint32_t bytesPerSample, uint32_t sampleRate) {
    sound.setCapture(channels, bytesPerSample, sampleRate);
  }
  uint32_t start() { return runner.start(); }
  /// Waits for calls of the card that are under way; later ones do nothing. Ahead of stopping the card's streams, which
  /// a change of format would start again.
  void refuseCalls();
  /// Ends the threads as well, and lets go of the card.
  void close();

  HRESULT VideoInputFormatChanged(BMDVideoInputFormatChangedEvents events, IDeckLinkDisplayMode* newMode,
                                  BMDDetectedVideoInputFormatFlags detected) override;
  HRESULT VideoInputFrameArrived(IDeckLinkVideoInputFrame* frame, IDeckLinkAudioInputPacket* packet) override;

  /// What the arrival thread does; open to tests.
  void VideoInputFrameArrivedDoWork(const BlackMagicVideoInputFrameArrivedFrame& arrived) override;

 private:
  class InsideCall;
  static constexpr uint64_t kNone = ~uint64_t{0};
  /// All that is known of one arrival while it is worked on.
  struct Arrival {
    explicit Arrival(const BlackMagicVideoInputFrameArrivedFrame& given) : given(given) {}

    const BlackMagicVideoInputFrameArrivedFrame& given;
    CaptureSessionInfoData info;  ///< as it was when the work began; what changes goes in as well
    CaptureDeviceCaptureTargetVideoData target;
    CaptureDeviceAudioChannelMap map;
    uint64_t serial = 0;
    bool hasSignal = true;
    bool resetSync = false;
    bool useFileSource = false;
    bool startFileSource = false;
    bool firstGood = false;  ///< the first picture with a signal after some without
    int64_t videoFrameIndex = 0;
    uint64_t videoMilliseconds = 0;
    bool videoTimed = false;
    int64_t audioSample = 0;
    bool audioTimed = false;
    bool audioDelivered = false;
    bool videoDelivered = false;
    bool key = false;
    uint64_t dropped = 0;
    uint32_t frameWidth = 0, frameHeight = 0;
    AudioLevelData levels;
    bool hasLevels = false;
    BlackMagicSideData::Counts vanc;
  };

  void followSignal(Arrival& arrival);
  void tellSignal(const Arrival& arrival);
  void leaveFileSource(Arrival& arrival);
  void lookForFileSource(Arrival& arrival);
  void switchInput(Arrival& arrival);
  void restoreCaptureSessionInfo(Arrival& arrival);
  void adjustVideoFrameRateDivisor(Arrival& arrival);
  void stamp(Arrival& arrival);
  void bringSound(Arrival& arrival);
  void bringPicture(Arrival& arrival);
  void prepareConverter(const Arrival& arrival, IDeckLinkVideoInputFrame& frame);
  void tellVideoFormat(const Arrival& arrival, const CaptureUtilsFrameTranslationInfo& translation) const;
  void readSideData(Arrival& arrival, IDeckLinkVideoInputFrame& frame);
  bool fillPicture(const Arrival& arrival, IDeckLinkVideoInputFrame& frame, CaptureFrame& picture);
  void describePicture(Arrival& arrival, CaptureFrame& frame);
  void countDropped(Arrival& arrival);
  void writeBack(const Arrival& arrival);
  void resetModeSwitch(CaptureSessionInfoData& info);
  HRESULT restartStreams(BMDDisplayMode mode, BMDPixelFormat format);
  void tellFailedCall(const char* call, HRESULT result) const;
  ILogger* log() const;

  BlackMagicCaptureState& device;
  BlackMagicDevicePtrs devicePtrs;

  std::mutex insideLock;  ///< guards what follows
  std::condition_variable left;
  uint32_t inside = 0;  ///< calls of the card's
  bool closing = false;

  // The arrival thread's.
  BlackMagicClock clock;
  uint64_t videoAnchored = kNone, audioAnchored = kNone;  ///< modeSerial for which the clock was set
  std::pair<uint32_t, uint32_t> videoRateCounted;         ///< of the last index
  BlackMagicSound sound;
  BlackMagicSideData sideData;
  BlackMagicPictureConverter converter;
  BlackMagicPictureConverter::Picture preparedPicture;
  BlackMagicFileSource captureFileSource;
  bool captureFileSourceCheck = true;
  bool reportPixelFormatNotSupported = true;
  bool hadSignal = true;
  uint32_t emptyFrameCount = 0;
  uint32_t failedPictures = 0;

  // Forgotten by the card's thread at a change of format.
  std::atomic<uint64_t> videoLastKeyFrameTimecode{kNone};
  std::atomic<uint64_t> videoLastFrameIndex{kNone};

  VideoInputFrameArrivedRunner runner;  ///< last: its thread uses all the rest
};

}  // namespace qvs
