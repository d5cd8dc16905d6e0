// What the library calls of the driver of Blackmagic's SDI cards (libDeckLinkAPI.so, interfaces of version 12),
// written from what is publicly known of its use: the order of operations, identifiers and codes. Nothing here is the
// vendor's text, and a card hasn't been tried.
//
// Objects are reached through tables of the platform's C++ ABI, so order is everything: nothing may be inserted,
// removed or sorted. An interface whose destructor is virtual has its two slots where the destructor stands.
// Every pointer that an operation gives out is a reference that the caller releases; what a callback is given belongs
// to its caller unless AddRef is called. Texts that are given out are freed with `free`.
#pragma once

#include <cstdint>

using HRESULT = int32_t;
using ULONG = unsigned long;
using BMDTimeValue = int64_t;
using BMDTimeScale = int64_t;

// Codes of four characters, or flags.
using BMDDisplayMode = uint32_t;
using BMDPixelFormat = uint32_t;
using BMDFieldDominance = uint32_t;
using BMDDisplayModeFlags = uint32_t;
using BMDVideoInputFlags = uint32_t;
using BMDVideoInputFormatChangedEvents = uint32_t;
using BMDDetectedVideoInputFormatFlags = uint32_t;
using BMDFrameFlags = uint32_t;
using BMDTimecodeFormat = uint32_t;
using BMDTimecodeFlags = uint32_t;
using BMDTimecodeBCD = uint32_t;
using BMDTimecodeUserBits = uint32_t;
using BMDVideoConnection = uint32_t;
using BMDVideoInputConversionMode = uint32_t;
using BMDSupportedVideoModeFlags = uint32_t;
using BMDAudioSampleRate = uint32_t;
using BMDAudioSampleType = uint32_t;
using BMDDeckLinkAttributeID = uint32_t;
using BMDDeckLinkConfigurationID = uint32_t;
using BMDNotifications = uint32_t;

/// An interface's identifier, its bytes in the order in which they are written.
struct REFIID {
  uint8_t byte[16];
  bool operator==(const REFIID&) const = default;
};
static_assert(sizeof(REFIID) == 16);

constexpr uint8_t deckLinkHexDigit(char c) {
  return static_cast<uint8_t>(c <= '9' ? c - '0' : c - 'A' + 10);
}

constexpr REFIID deckLinkIdentifier(const char (&text)[37]) {
  REFIID id{};
  for (int at = 0, digits = 0; at < 36; ++at) {
    if (text[at] == '-') continue;
    id.byte[digits / 2] = static_cast<uint8_t>(id.byte[digits / 2] << 4 | deckLinkHexDigit(text[at]));
    ++digits;
  }
  return id;
}

/// A code whose first character is in the highest byte.
constexpr uint32_t deckLinkCode(const char (&text)[5]) {
  uint32_t code = 0;
  for (int i = 0; i < 4; ++i) code = code << 8 | static_cast<uint8_t>(text[i]);
  return code;
}

constexpr HRESULT deckLinkFailure(uint32_t number) {
  return static_cast<HRESULT>(0x80000000u | number);
}
inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT E_UNEXPECTED = deckLinkFailure(0xFFFF);
inline constexpr HRESULT E_NOTIMPL = deckLinkFailure(1);
inline constexpr HRESULT E_NOINTERFACE = deckLinkFailure(4);
inline constexpr HRESULT E_POINTER = deckLinkFailure(5);
inline constexpr HRESULT E_FAIL = deckLinkFailure(8);
inline constexpr HRESULT E_ACCESSDENIED = deckLinkFailure(9);

inline constexpr BMDDisplayMode bmdModeNTSC = deckLinkCode("ntsc");
inline constexpr BMDDisplayMode bmdModeNTSC2398 = deckLinkCode("nt23");
inline constexpr BMDDisplayMode bmdModePAL = deckLinkCode("pal ");
inline constexpr BMDDisplayMode bmdModeNTSCp = deckLinkCode("ntsp");
inline constexpr BMDDisplayMode bmdModeHD1080p2398 = deckLinkCode("23ps");
inline constexpr BMDDisplayMode bmdModeHD1080p24 = deckLinkCode("24ps");
inline constexpr BMDDisplayMode bmdModeHD1080p25 = deckLinkCode("Hp25");
inline constexpr BMDDisplayMode bmdModeHD1080p2997 = deckLinkCode("Hp29");
inline constexpr BMDDisplayMode bmdModeHD1080p30 = deckLinkCode("Hp30");
inline constexpr BMDDisplayMode bmdModeHD1080p50 = deckLinkCode("Hp50");
inline constexpr BMDDisplayMode bmdModeHD1080p5994 = deckLinkCode("Hp59");
inline constexpr BMDDisplayMode bmdModeHD1080p6000 = deckLinkCode("Hp60");
inline constexpr BMDDisplayMode bmdModeHD1080i50 = deckLinkCode("Hi50");
inline constexpr BMDDisplayMode bmdModeHD1080i5994 = deckLinkCode("Hi59");
inline constexpr BMDDisplayMode bmdModeHD1080i6000 = deckLinkCode("Hi60");
inline constexpr BMDDisplayMode bmdModeHD720p50 = deckLinkCode("hp50");
inline constexpr BMDDisplayMode bmdModeHD720p5994 = deckLinkCode("hp59");
inline constexpr BMDDisplayMode bmdModeHD720p60 = deckLinkCode("hp60");

inline constexpr BMDFieldDominance bmdLowerFieldFirst = deckLinkCode("lowr");
inline constexpr BMDFieldDominance bmdUpperFieldFirst = deckLinkCode("uppr");
inline constexpr BMDFieldDominance bmdProgressiveFrame = deckLinkCode("prog");
inline constexpr BMDFieldDominance bmdProgressiveSegmentedFrame = deckLinkCode("psf ");

inline constexpr BMDPixelFormat bmdFormat8BitYUV = deckLinkCode("2vuy");
inline constexpr BMDPixelFormat bmdFormat10BitYUV = deckLinkCode("v210");
inline constexpr BMDPixelFormat bmdFormat8BitARGB = 32;
inline constexpr BMDPixelFormat bmdFormat8BitBGRA = deckLinkCode("BGRA");
inline constexpr BMDPixelFormat bmdFormat10BitRGB = deckLinkCode("r210");
inline constexpr BMDPixelFormat bmdFormat12BitRGB = deckLinkCode("R12B");

inline constexpr BMDDisplayModeFlags bmdDisplayModeColorspaceRec601 = 1u << 1;
inline constexpr BMDDisplayModeFlags bmdDisplayModeColorspaceRec709 = 1u << 2;

inline constexpr BMDVideoInputFlags bmdVideoInputEnableFormatDetection = 1u << 0;
inline constexpr BMDVideoInputFormatChangedEvents bmdVideoInputColorspaceChanged = 1u << 2;
inline constexpr BMDDetectedVideoInputFormatFlags bmdDetectedVideoInputYCbCr422 = 1u << 0;
inline constexpr BMDDetectedVideoInputFormatFlags bmdDetectedVideoInputRGB444 = 1u << 1;
inline constexpr BMDFrameFlags bmdFrameFlagFlipVertical = 1u << 0;
inline constexpr BMDFrameFlags bmdFrameHasNoInputSource = 1u << 31;

inline constexpr BMDTimecodeFormat bmdTimecodeRP188VITC1 = deckLinkCode("rpv1");
inline constexpr BMDTimecodeFormat bmdTimecodeRP188VITC2 = deckLinkCode("rp12");
inline constexpr BMDTimecodeFormat bmdTimecodeRP188LTC = deckLinkCode("rplt");
inline constexpr BMDTimecodeFormat bmdTimecodeRP188Any = deckLinkCode("rp18");
inline constexpr BMDTimecodeFormat bmdTimecodeVITC = deckLinkCode("vitc");
inline constexpr BMDTimecodeFormat bmdTimecodeVITCField2 = deckLinkCode("vit2");
inline constexpr BMDTimecodeFormat bmdTimecodeSerial = deckLinkCode("seri");

inline constexpr BMDVideoConnection bmdVideoConnectionUnspecified = 0;
inline constexpr BMDVideoConnection bmdVideoConnectionSDI = 1u << 0;

inline constexpr BMDNotifications bmdStatusChanged = deckLinkCode("stat");

// Attributes and settings that are named in the library; those that a host reaches by key are in its table.
inline constexpr BMDDeckLinkAttributeID BMDDeckLinkSupportsInputFormatDetection = deckLinkCode("infd");
inline constexpr BMDDeckLinkAttributeID BMDDeckLinkMaximumAudioChannels = deckLinkCode("mach");
inline constexpr BMDDeckLinkAttributeID BMDDeckLinkVideoInputConnections = deckLinkCode("vicn");
inline constexpr BMDDeckLinkAttributeID BMDDeckLinkAudioInputConnections = deckLinkCode("aicn");
inline constexpr BMDDeckLinkAttributeID BMDDeckLinkPersistentID = deckLinkCode("peid");
inline constexpr BMDDeckLinkConfigurationID bmdDeckLinkConfigVideoInputConnection = deckLinkCode("vicn");
inline constexpr BMDDeckLinkConfigurationID bmdDeckLinkConfigAudioInputConnection = deckLinkCode("aicn");

class IDeckLinkMemoryAllocator;
class IDeckLinkScreenPreviewCallback;

class IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("00000000-0000-0000-C000-000000000046");
  virtual HRESULT QueryInterface(REFIID iid, void** object) = 0;
  virtual ULONG AddRef() = 0;
  virtual ULONG Release() = 0;

 protected:
  ~IUnknown() = default;
};

class IDeckLink : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("C418FBDD-0587-48ED-8FE5-640F0A14AF91");
  virtual HRESULT GetModelName(const char** modelName) = 0;
  virtual HRESULT GetDisplayName(const char** displayName) = 0;

 protected:
  virtual ~IDeckLink() = default;
};

class IDeckLinkIterator : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("50FB36CD-3063-4B73-BDBB-958087F2D8BA");
  virtual HRESULT Next(IDeckLink** deckLink) = 0;

 protected:
  ~IDeckLinkIterator() = default;
};

class IDeckLinkDisplayMode : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("3EB2C1AB-0A3D-4523-A3AD-F40D7FB14E78");
  virtual HRESULT GetName(const char** name) = 0;
  virtual BMDDisplayMode GetDisplayMode() = 0;
  virtual long GetWidth() = 0;
  virtual long GetHeight() = 0;
  virtual HRESULT GetFrameRate(BMDTimeValue* frameDuration, BMDTimeScale* timeScale) = 0;
  virtual BMDFieldDominance GetFieldDominance() = 0;
  virtual BMDDisplayModeFlags GetFlags() = 0;

 protected:
  virtual ~IDeckLinkDisplayMode() = default;
};

class IDeckLinkDisplayModeIterator : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("9C88499F-F601-4021-B80B-032E4EB41C35");
  virtual HRESULT Next(IDeckLinkDisplayMode** displayMode) = 0;

 protected:
  virtual ~IDeckLinkDisplayModeIterator() = default;
};

class IDeckLinkTimecode : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("BC6CFBD3-8317-4325-AC1C-1216391E9340");
  virtual BMDTimecodeBCD GetBCD() = 0;
  virtual HRESULT GetComponents(uint8_t* hours, uint8_t* minutes, uint8_t* seconds, uint8_t* frames) = 0;
  virtual HRESULT GetString(const char** timecode) = 0;
  virtual BMDTimecodeFlags GetFlags() = 0;
  virtual HRESULT GetTimecodeUserBits(BMDTimecodeUserBits* userBits) = 0;

 protected:
  virtual ~IDeckLinkTimecode() = default;
};

class IDeckLinkVideoFrameAncillary : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("732E723C-D1A4-4E29-9E8E-4A88797A0004");
  virtual HRESULT GetBufferForVerticalBlankingLine(uint32_t lineNumber, void** buffer) = 0;
  virtual BMDPixelFormat GetPixelFormat() = 0;
  virtual BMDDisplayMode GetDisplayMode() = 0;

 protected:
  virtual ~IDeckLinkVideoFrameAncillary() = default;
};

class IDeckLinkVideoFrame : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("3F716FE0-F023-4111-BE5D-EF4414C05B17");
  virtual long GetWidth() = 0;
  virtual long GetHeight() = 0;
  virtual long GetRowBytes() = 0;
  virtual BMDPixelFormat GetPixelFormat() = 0;
  virtual BMDFrameFlags GetFlags() = 0;
  virtual HRESULT GetBytes(void** buffer) = 0;
  virtual HRESULT GetTimecode(BMDTimecodeFormat format, IDeckLinkTimecode** timecode) = 0;
  virtual HRESULT GetAncillaryData(IDeckLinkVideoFrameAncillary** ancillary) = 0;

 protected:
  virtual ~IDeckLinkVideoFrame() = default;
};

class IDeckLinkVideoInputFrame : public IDeckLinkVideoFrame {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("05CFE374-537C-4094-9A57-680525118F44");
  virtual HRESULT GetStreamTime(BMDTimeValue* frameTime, BMDTimeValue* frameDuration,
                                BMDTimeScale timeScale) = 0;
  virtual HRESULT GetHardwareReferenceTimestamp(BMDTimeScale timeScale, BMDTimeValue* frameTime,
                                                BMDTimeValue* frameDuration) = 0;

 protected:
  virtual ~IDeckLinkVideoInputFrame() = default;
};

class IDeckLinkAudioInputPacket : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("E43D5870-2894-11DE-8C30-0800200C9A66");
  virtual long GetSampleFrameCount() = 0;
  virtual HRESULT GetBytes(void** buffer) = 0;
  virtual HRESULT GetPacketTime(BMDTimeValue* packetTime, BMDTimeScale timeScale) = 0;

 protected:
  virtual ~IDeckLinkAudioInputPacket() = default;
};

class IDeckLinkInputCallback : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("C6FCE4C9-C4E4-4047-82FB-5D238232A902");
  virtual HRESULT VideoInputFormatChanged(BMDVideoInputFormatChangedEvents events,
                                          IDeckLinkDisplayMode* newMode,
                                          BMDDetectedVideoInputFormatFlags detected) = 0;
  /// Sound and picture of one moment; either may be null.
  virtual HRESULT VideoInputFrameArrived(IDeckLinkVideoInputFrame* frame,
                                         IDeckLinkAudioInputPacket* packet) = 0;

 protected:
  virtual ~IDeckLinkInputCallback() = default;
};

class IDeckLinkInput : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("C21CDB6E-F414-46E4-A636-80A566E0ED37");
  virtual HRESULT DoesSupportVideoMode(BMDVideoConnection connection, BMDDisplayMode mode,
                                       BMDPixelFormat format, BMDVideoInputConversionMode conversion,
                                       BMDSupportedVideoModeFlags flags, BMDDisplayMode* actual,
                                       bool* supported) = 0;
  virtual HRESULT GetDisplayMode(BMDDisplayMode mode, IDeckLinkDisplayMode** result) = 0;
  virtual HRESULT GetDisplayModeIterator(IDeckLinkDisplayModeIterator** iterator) = 0;
  virtual HRESULT SetScreenPreviewCallback(IDeckLinkScreenPreviewCallback* callback) = 0;
  virtual HRESULT EnableVideoInput(BMDDisplayMode mode, BMDPixelFormat format, BMDVideoInputFlags flags) = 0;
  virtual HRESULT DisableVideoInput() = 0;
  virtual HRESULT GetAvailableVideoFrameCount(uint32_t* count) = 0;
  virtual HRESULT SetVideoInputFrameMemoryAllocator(IDeckLinkMemoryAllocator* allocator) = 0;
  virtual HRESULT EnableAudioInput(BMDAudioSampleRate rate, BMDAudioSampleType type, uint32_t channels) = 0;
  virtual HRESULT DisableAudioInput() = 0;
  virtual HRESULT GetAvailableAudioSampleFrameCount(uint32_t* count) = 0;
  virtual HRESULT StartStreams() = 0;
  virtual HRESULT StopStreams() = 0;
  virtual HRESULT PauseStreams() = 0;
  virtual HRESULT FlushStreams() = 0;
  virtual HRESULT SetCallback(IDeckLinkInputCallback* callback) = 0;
  virtual HRESULT GetHardwareReferenceClock(BMDTimeScale timeScale, BMDTimeValue* hardwareTime,
                                            BMDTimeValue* timeInFrame, BMDTimeValue* ticksPerFrame) = 0;

 protected:
  virtual ~IDeckLinkInput() = default;
};

class IDeckLinkVideoConversion : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("3BBCB8A2-DA2C-42D9-B5D8-88083644E99A");
  virtual HRESULT ConvertFrame(IDeckLinkVideoFrame* source, IDeckLinkVideoFrame* target) = 0;

 protected:
  virtual ~IDeckLinkVideoConversion() = default;
};

class IDeckLinkProfileAttributes : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("17D4BF8E-4911-473A-80A0-731CF6FF345B");
  virtual HRESULT GetFlag(BMDDeckLinkAttributeID id, bool* value) = 0;
  virtual HRESULT GetInt(BMDDeckLinkAttributeID id, int64_t* value) = 0;
  virtual HRESULT GetFloat(BMDDeckLinkAttributeID id, double* value) = 0;
  virtual HRESULT GetString(BMDDeckLinkAttributeID id, const char** value) = 0;

 protected:
  virtual ~IDeckLinkProfileAttributes() = default;
};

class IDeckLinkConfiguration : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("912F634B-2D4E-40A4-8AAB-8D80B73F1289");
  virtual HRESULT SetFlag(BMDDeckLinkConfigurationID id, bool value) = 0;
  virtual HRESULT GetFlag(BMDDeckLinkConfigurationID id, bool* value) = 0;
  virtual HRESULT SetInt(BMDDeckLinkConfigurationID id, int64_t value) = 0;
  virtual HRESULT GetInt(BMDDeckLinkConfigurationID id, int64_t* value) = 0;
  virtual HRESULT SetFloat(BMDDeckLinkConfigurationID id, double value) = 0;
  virtual HRESULT GetFloat(BMDDeckLinkConfigurationID id, double* value) = 0;
  virtual HRESULT SetString(BMDDeckLinkConfigurationID id, const char* value) = 0;
  virtual HRESULT GetString(BMDDeckLinkConfigurationID id, const char** value) = 0;
  virtual HRESULT WriteConfigurationToPreferences() = 0;

 protected:
  virtual ~IDeckLinkConfiguration() = default;
};

class IDeckLinkNotificationCallback : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("B002A1EC-070D-4288-8289-BD5D36E5FF0D");
  virtual HRESULT Notify(BMDNotifications topic, uint64_t param1, uint64_t param2) = 0;

 protected:
  ~IDeckLinkNotificationCallback() = default;
};

class IDeckLinkNotification : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("B85DF4C8-BDF5-47C1-8064-28162EBDD4EB");
  virtual HRESULT Subscribe(BMDNotifications topic, IDeckLinkNotificationCallback* callback) = 0;
  virtual HRESULT Unsubscribe(BMDNotifications topic, IDeckLinkNotificationCallback* callback) = 0;

 protected:
  virtual ~IDeckLinkNotification() = default;
};

class IDeckLinkDeviceNotificationCallback : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("4997053B-0ADF-4CC8-AC70-7A50C4BE728F");
  virtual HRESULT DeckLinkDeviceArrived(IDeckLink* device) = 0;
  virtual HRESULT DeckLinkDeviceRemoved(IDeckLink* device) = 0;

 protected:
  virtual ~IDeckLinkDeviceNotificationCallback() = default;
};

class IDeckLinkDiscovery : public IUnknown {
 public:
  static constexpr REFIID kIdentifier = deckLinkIdentifier("CDBF631C-BC76-45FA-B44D-C55059BC6101");
  virtual HRESULT InstallDeviceNotifications(IDeckLinkDeviceNotificationCallback* callback) = 0;
  virtual HRESULT UninstallDeviceNotifications() = 0;

 protected:
  virtual ~IDeckLinkDiscovery() = default;
};
