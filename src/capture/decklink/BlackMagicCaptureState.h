#pragma once

#include <atomic>
#include <map>

#include "capture/CaptureDeviceBase.h"
#include "capture/decklink/BlackMagicDevicePtrs.h"
#include "capture/decklink/BlackMagicVideoCaptureFormat.h"

namespace qvs {

/// What a card's device shares with the threads that bring its frames.
class BlackMagicCaptureState : public CaptureDeviceBase {
 public:
  static constexpr double kVolumeLevelMax = 12.0;  ///< dB
  /// Values of `deinterlaceMode`: any other deinterlaces.
  static constexpr uint32_t kDeinterlaceNever = 2;

  // Of the base, for those threads.
  using CaptureDeviceBase::changeSessionInfo;
  using CaptureDeviceBase::readLocked;
  using CaptureDeviceBase::writeLocked;
  int32_t getAncillaryDataFilter() const { return ancillaryDataFilter; }
  std::array<int32_t, 4> getAncillaryDataLines() const {
    return {ancillaryDataLineNumberStart, ancillaryDataLineNumberMid1, ancillaryDataLineNumberMid2,
            ancillaryDataLineNumberStop};
  }
  /// A picture of the device's pool in "YV12".
  CaptureFrame* createPicture(uint32_t width, uint32_t height);

  double getVolumeLevel() const { return volumeLevel; }
  uint32_t getAudioCaptureChannelCount() const { return audioCaptureChannelCount; }
  uint32_t getEmptyFrameSwitchVideoInputCount() const { return emptyFrameSwitchVideoInputCount; }

  /// The format that an input had when it was last seen; false where it wasn't.
  bool findVideoFormat(uint32_t input, BlackMagicVideoCaptureFormat* format);
  void keepVideoFormat(uint32_t input, const BlackMagicVideoCaptureFormat& format);
  void clearVideoFormats();

  /// Directory of what is shown where there is no signal.
  std::string getFileSourceDirectory() { return readLocked(fileSourceDirectory); }
  void setFileSourceDirectory(const std::string& value) { writeLocked(fileSourceDirectory, value); }

  // What the card was last told; the card's thread changes it, and a start.
  std::atomic<BMDDisplayMode> currDisplayMode{0};
  std::atomic<BMDPixelFormat> currPixelFormat{0};
  std::atomic<BMDVideoInputFlags> currFlags{0};
  /// Grows with each change of mode or input: counters of frames from before are out of date.
  std::atomic<uint64_t> modeSerial{0};
  std::atomic<int32_t> captureEnterCount{0};  ///< threads in the frame path, for who looks on

 protected:
  std::atomic<double> volumeLevel{0};  ///< dB
  std::atomic<uint32_t> audioCaptureChannelCount{0};
  std::atomic<uint32_t> emptyFrameSwitchVideoInputCount{90};

 private:
  std::map<uint32_t, BlackMagicVideoCaptureFormat> videoFormatMap;  ///< by input; under the device's lock
  std::string fileSourceDirectory = "/disk1/usr/local/ZarvoLumecastVirtualCapture/capture";
};

}  // namespace qvs
