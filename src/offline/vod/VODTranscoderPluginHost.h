#pragma once

#include <array>
#include <string>
#include <unordered_map>

#include "offline/vod/VODTranscoderVideoBase.h"
#include "plugin/PluginSession.h"

namespace qvs {

/// What tells one host of an off-line plug-in from another.
struct VODTranscoderRow {
  const char* className;    ///< of log lines
  const char* label;        ///< of `transcode`, under which exceptions are printed
  const char* library;      ///< file name in the directory of plug-ins, with the slash in front
  const char* libraryX11;   ///< taken with hardware access kHardwareAccessX11
  const char* statusWords;  ///< what a failure's line says
};

extern const VODTranscoderRow kVODTranscoderQuickSync;
extern const VODTranscoderRow kVODTranscoderNVENC;

/// The one driver of off-line plug-ins. What a plug-in hands out is checked where believing it would cost memory:
/// arrays that it was not given, bytes beyond an array's end, more frames than there is room for.
class VODTranscoderPluginHost : public VODTranscoderVideoBase {
 public:
  explicit VODTranscoderPluginHost(const VODTranscoderRow& hostRow) : row(hostRow) {}

  void setHardwareAccess(uint32_t value) { hardwareAccess = value; }
  void setNativePath(const char* path) override;
  uint32_t createDone() override;
  uint32_t transcode(VODTranscoderVideoSettings& settings, const std::vector<VideoFrameEncoded>& inFrames,
                     std::vector<VideoFrameEncoded>& outFrames) override;
  uint32_t getCodecConfig(VODTranscoderVideoSettings& settings, VideoFrameEncoded& frame) override;

 private:
  static constexpr uint32_t kAccessDrm = 2;
  static constexpr uint32_t kAccessX11 = 4;
  static constexpr size_t kPathSize = 512;

  static void* byteArrayNew(void* host, uint32_t size);
  static void byteArrayFree(void* host, void* array);
  static uint8_t* byteArrayLock(void* host, void* array);
  static void byteArrayUnlock(void* host, void* array, uint8_t* bytes);

  void logStatus(int32_t status) const;
  void warn(const std::string& text) const;
  bool isSound(const VideoFrameEncodedData& frame) const;

  const VODTranscoderRow& row;
  std::array<char, kPathSize> nativePath{};
  uint32_t hardwareAccess = kAccessDrm;
  std::unordered_map<void*, uint32_t> arrays;  ///< handed out to the plug-in, with their bytes
  PluginSession<pluginVODTranscoder> plugin;
};

class VODTranscoderVideoQuickSyncHost : public VODTranscoderPluginHost {
 public:
  VODTranscoderVideoQuickSyncHost() : VODTranscoderPluginHost(kVODTranscoderQuickSync) {}
};

class VODTranscoderVideoNVENCHost : public VODTranscoderPluginHost {
 public:
  VODTranscoderVideoNVENCHost() : VODTranscoderPluginHost(kVODTranscoderNVENC) {}
};

}  // namespace qvs
