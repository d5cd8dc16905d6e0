#pragma once

#include <cstdint>

// The card's interfaces as its driver has them, read apart from the product's own declaration so that a slip in one
// shows: what counts is the order of operations in each table and the identifiers.

namespace qvs::fakes::card {

using Status = int32_t;

struct Identifier {
  uint8_t bytes[16];
};

struct Unknown {
  virtual Status QueryInterface(Identifier, void**) = 0;
  virtual unsigned long AddRef() = 0;
  virtual unsigned long Release() = 0;

 protected:
  ~Unknown() = default;
};

struct Device : Unknown {
  static constexpr const char* kId = "C418FBDD-0587-48ED-8FE5-640F0A14AF91";
  virtual Status GetModelName(const char**) = 0;
  virtual Status GetDisplayName(const char**) = 0;
  virtual ~Device() = default;
};

struct Iterator : Unknown {
  static constexpr const char* kId = "50FB36CD-3063-4B73-BDBB-958087F2D8BA";
  virtual Status Next(Device**) = 0;

 protected:
  ~Iterator() = default;
};

struct DisplayMode : Unknown {
  static constexpr const char* kId = "3EB2C1AB-0A3D-4523-A3AD-F40D7FB14E78";
  virtual Status GetName(const char**) = 0;
  virtual uint32_t GetDisplayMode() = 0;
  virtual long GetWidth() = 0;
  virtual long GetHeight() = 0;
  virtual Status GetFrameRate(int64_t*, int64_t*) = 0;
  virtual uint32_t GetFieldDominance() = 0;
  virtual uint32_t GetFlags() = 0;
  virtual ~DisplayMode() = default;
};

struct DisplayModeIterator : Unknown {
  static constexpr const char* kId = "9C88499F-F601-4021-B80B-032E4EB41C35";
  virtual Status Next(DisplayMode**) = 0;
  virtual ~DisplayModeIterator() = default;
};

struct Timecode : Unknown {
  static constexpr const char* kId = "BC6CFBD3-8317-4325-AC1C-1216391E9340";
  virtual uint32_t GetBCD() = 0;
  virtual Status GetComponents(uint8_t*, uint8_t*, uint8_t*, uint8_t*) = 0;
  virtual Status GetString(const char**) = 0;
  virtual uint32_t GetFlags() = 0;
  virtual Status GetTimecodeUserBits(uint32_t*) = 0;
  virtual ~Timecode() = default;
};

struct VideoFrameAncillary : Unknown {
  static constexpr const char* kId = "732E723C-D1A4-4E29-9E8E-4A88797A0004";
  virtual Status GetBufferForVerticalBlankingLine(uint32_t, void**) = 0;
  virtual uint32_t GetPixelFormat() = 0;
  virtual uint32_t GetDisplayMode() = 0;
  virtual ~VideoFrameAncillary() = default;
};

struct VideoFrame : Unknown {
  static constexpr const char* kId = "3F716FE0-F023-4111-BE5D-EF4414C05B17";
  virtual long GetWidth() = 0;
  virtual long GetHeight() = 0;
  virtual long GetRowBytes() = 0;
  virtual uint32_t GetPixelFormat() = 0;
  virtual uint32_t GetFlags() = 0;
  virtual Status GetBytes(void**) = 0;
  virtual Status GetTimecode(uint32_t, Timecode**) = 0;
  virtual Status GetAncillaryData(VideoFrameAncillary**) = 0;
  virtual ~VideoFrame() = default;
};

struct VideoInputFrame : VideoFrame {
  static constexpr const char* kId = "05CFE374-537C-4094-9A57-680525118F44";
  virtual Status GetStreamTime(int64_t*, int64_t*, int64_t) = 0;
  virtual Status GetHardwareReferenceTimestamp(int64_t, int64_t*, int64_t*) = 0;
  virtual ~VideoInputFrame() = default;
};

struct AudioInputPacket : Unknown {
  static constexpr const char* kId = "E43D5870-2894-11DE-8C30-0800200C9A66";
  virtual long GetSampleFrameCount() = 0;
  virtual Status GetBytes(void**) = 0;
  virtual Status GetPacketTime(int64_t*, int64_t) = 0;
  virtual ~AudioInputPacket() = default;
};

struct InputCallback : Unknown {
  static constexpr const char* kId = "C6FCE4C9-C4E4-4047-82FB-5D238232A902";
  virtual Status VideoInputFormatChanged(uint32_t, DisplayMode*, uint32_t) = 0;
  virtual Status VideoInputFrameArrived(VideoInputFrame*, AudioInputPacket*) = 0;
  virtual ~InputCallback() = default;
};

struct Input : Unknown {
  static constexpr const char* kId = "C21CDB6E-F414-46E4-A636-80A566E0ED37";
  virtual Status DoesSupportVideoMode(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t*, bool*) = 0;
  virtual Status GetDisplayMode(uint32_t, DisplayMode**) = 0;
  virtual Status GetDisplayModeIterator(DisplayModeIterator**) = 0;
  virtual Status SetScreenPreviewCallback(void*) = 0;
  virtual Status EnableVideoInput(uint32_t, uint32_t, uint32_t) = 0;
  virtual Status DisableVideoInput() = 0;
  virtual Status GetAvailableVideoFrameCount(uint32_t*) = 0;
  virtual Status SetVideoInputFrameMemoryAllocator(void*) = 0;
  virtual Status EnableAudioInput(uint32_t, uint32_t, uint32_t) = 0;
  virtual Status DisableAudioInput() = 0;
  virtual Status GetAvailableAudioSampleFrameCount(uint32_t*) = 0;
  virtual Status StartStreams() = 0;
  virtual Status StopStreams() = 0;
  virtual Status PauseStreams() = 0;
  virtual Status FlushStreams() = 0;
  virtual Status SetCallback(InputCallback*) = 0;
  virtual Status GetHardwareReferenceClock(int64_t, int64_t*, int64_t*, int64_t*) = 0;
  virtual ~Input() = default;
};

struct VideoConversion : Unknown {
  static constexpr const char* kId = "3BBCB8A2-DA2C-42D9-B5D8-88083644E99A";
  virtual Status ConvertFrame(VideoFrame*, VideoFrame*) = 0;
  virtual ~VideoConversion() = default;
};

struct ProfileAttributes : Unknown {
  static constexpr const char* kId = "17D4BF8E-4911-473A-80A0-731CF6FF345B";
  virtual Status GetFlag(uint32_t, bool*) = 0;
  virtual Status GetInt(uint32_t, int64_t*) = 0;
  virtual Status GetFloat(uint32_t, double*) = 0;
  virtual Status GetString(uint32_t, const char**) = 0;
  virtual ~ProfileAttributes() = default;
};

struct Configuration : Unknown {
  static constexpr const char* kId = "912F634B-2D4E-40A4-8AAB-8D80B73F1289";
  virtual Status SetFlag(uint32_t, bool) = 0;
  virtual Status GetFlag(uint32_t, bool*) = 0;
  virtual Status SetInt(uint32_t, int64_t) = 0;
  virtual Status GetInt(uint32_t, int64_t*) = 0;
  virtual Status SetFloat(uint32_t, double) = 0;
  virtual Status GetFloat(uint32_t, double*) = 0;
  virtual Status SetString(uint32_t, const char*) = 0;
  virtual Status GetString(uint32_t, const char**) = 0;
  virtual Status WriteConfigurationToPreferences() = 0;
  virtual ~Configuration() = default;
};

struct NotificationCallback : Unknown {
  static constexpr const char* kId = "B002A1EC-070D-4288-8289-BD5D36E5FF0D";
  virtual Status Notify(uint32_t, uint64_t, uint64_t) = 0;

 protected:
  ~NotificationCallback() = default;
};

struct Notification : Unknown {
  static constexpr const char* kId = "B85DF4C8-BDF5-47C1-8064-28162EBDD4EB";
  virtual Status Subscribe(uint32_t, NotificationCallback*) = 0;
  virtual Status Unsubscribe(uint32_t, NotificationCallback*) = 0;
  virtual ~Notification() = default;
};

struct DeviceNotificationCallback : Unknown {
  static constexpr const char* kId = "4997053B-0ADF-4CC8-AC70-7A50C4BE728F";
  virtual Status DeckLinkDeviceArrived(Device*) = 0;
  virtual Status DeckLinkDeviceRemoved(Device*) = 0;
  virtual ~DeviceNotificationCallback() = default;
};

struct Discovery : Unknown {
  static constexpr const char* kId = "CDBF631C-BC76-45FA-B44D-C55059BC6101";
  virtual Status InstallDeviceNotifications(DeviceNotificationCallback*) = 0;
  virtual Status UninstallDeviceNotifications() = 0;
  virtual ~Discovery() = default;
};

}  // namespace qvs::fakes::card
