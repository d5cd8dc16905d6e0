#pragma once

#include "capture/CaptureDeviceRecords.h"
#include "session/jni/records/CommonRecords.h"
#include "video/decoders/TranscoderVideoDecoderCaptureInfo.h"

// Java records of capture, one table each.

namespace qvs {

inline constexpr JavaRecord<TranscoderVideoDecoderCaptureInfo, 8> kCaptureInfo{
    nullptr,
    {{{"droppedFrames", "J", &TranscoderVideoDecoderCaptureInfo::droppedFrames},
      {"frameCountTotal", "J", &TranscoderVideoDecoderCaptureInfo::frameCountTotal},
      {"frameSyncCount", "J", &TranscoderVideoDecoderCaptureInfo::frameSyncCount},
      {"frameWidth", "I", &TranscoderVideoDecoderCaptureInfo::frameWidth},
      {"frameHeight", "I", &TranscoderVideoDecoderCaptureInfo::frameHeight},
      {"lastTimecode", "J", &TranscoderVideoDecoderCaptureInfo::lastTimecode},
      {"lastFrameIndex", "J", &TranscoderVideoDecoderCaptureInfo::lastFrameIndex},
      {"lastKeyTimecode", "J", &TranscoderVideoDecoderCaptureInfo::lastKeyTimecode}}}};

inline constexpr JavaRecord<CaptureSessionInfoData, 45> kCaptureSessionInfo{
    nullptr,
    {{{"running", "I", &CaptureSessionInfoData::running},
      {"renditionIndex", "I", &CaptureSessionInfoData::renditionIndex},
      {"videoEnable", "I", &CaptureSessionInfoData::videoEnable},
      {"videoInput", "I", &CaptureSessionInfoData::videoInput},
      {"videoFrameCountTotal", "J", &CaptureSessionInfoData::videoFrameCountTotal},
      {"videoFrameCountModeSwitch", "J", &CaptureSessionInfoData::videoFrameCountModeSwitch},
      {"videoLastTimecode", "J", &CaptureSessionInfoData::videoLastTimecode},
      {"videoLastFrameIndex", "J", &CaptureSessionInfoData::videoLastFrameIndex},
      {"videoLastKeyTimecode", "J", &CaptureSessionInfoData::videoLastKeyTimecode},
      {"videoLastGOPDuration", "J", &CaptureSessionInfoData::videoLastGOPDuration},
      {"videoLastFrameWidth", "I", &CaptureSessionInfoData::videoLastFrameWidth},
      {"videoLastFrameHeight", "I", &CaptureSessionInfoData::videoLastFrameHeight},
      {"videoLastFrameRate", "D", &CaptureSessionInfoData::videoLastFrameRate},
      {"videoLastFrameRotation", "D", &CaptureSessionInfoData::videoLastFrameRotation},
      {"videoLastFrameXOffset", "I", &CaptureSessionInfoData::videoLastFrameXOffset},
      {"videoLastFrameYOffset", "I", &CaptureSessionInfoData::videoLastFrameYOffset},
      {"videoLastFrameFlags", "J", &CaptureSessionInfoData::videoLastFrameFlags},
      {"videoDroppedFrames", "J", &CaptureSessionInfoData::videoDroppedFrames},
      {"videoTimescale", "J", &CaptureSessionInfoData::videoTimescale},
      {"videoColorSpace", "I", &CaptureSessionInfoData::videoColorSpace},
      {"videoFrameWidth", "I", &CaptureSessionInfoData::videoFrameWidth},
      {"videoFrameHeight", "I", &CaptureSessionInfoData::videoFrameHeight},
      {"videoProgressive", "Z", &CaptureSessionInfoData::videoProgressive},
      {"videoTopFieldFirst", "Z", &CaptureSessionInfoData::videoTopFieldFirst},
      {"video3D", "Z", &CaptureSessionInfoData::video3D},
      {"videoFrameRateDivisor", "I", &CaptureSessionInfoData::videoFrameRateDivisor},
      {"videoFrameRateEnum", "I", &CaptureSessionInfoData::videoFrameRateEnum},
      {"videoFrameRateDen", "I", &CaptureSessionInfoData::videoFrameRateDen},
      {"videoKeyFrameIntervalAdjusted", "I", &CaptureSessionInfoData::videoKeyFrameIntervalAdjusted},
      {"videoFrameRate", "D", &CaptureSessionInfoData::videoFrameRate},
      {"videoVANCPacketsTotal", "J", &CaptureSessionInfoData::videoVANCPacketsTotal},
      {"videoVANCPacketsModeSwitch", "J", &CaptureSessionInfoData::videoVANCPacketsModeSwitch},
      {"videoVANCCEA708PacketsTotal", "J", &CaptureSessionInfoData::videoVANCCEA708PacketsTotal},
      {"videoVANCCEA708PacketsModeSwitch", "J", &CaptureSessionInfoData::videoVANCCEA708PacketsModeSwitch},
      {"videoLine21CEA708PacketsTotal", "J", &CaptureSessionInfoData::videoLine21CEA708PacketsTotal},
      {"videoLine21CEA708PacketsModeSwitch", "J",
       &CaptureSessionInfoData::videoLine21CEA708PacketsModeSwitch},
      {"audioEnable", "I", &CaptureSessionInfoData::audioEnable},
      {"audioInput", "I", &CaptureSessionInfoData::audioInput},
      {"audioFrameCountTotal", "J", &CaptureSessionInfoData::audioFrameCountTotal},
      {"audioFrameCountModeSwitch", "J", &CaptureSessionInfoData::audioFrameCountModeSwitch},
      {"audioLastTimecode", "J", &CaptureSessionInfoData::audioLastTimecode},
      {"audioTimescale", "J", &CaptureSessionInfoData::audioTimescale},
      {"audioSampleRate", "I", &CaptureSessionInfoData::audioSampleRate},
      {"audioChannels", "I", &CaptureSessionInfoData::audioChannels},
      {"audioBytesPerSample", "I", &CaptureSessionInfoData::audioBytesPerSample}}}};

inline constexpr JavaRecord<CaptureDeviceStateInfoData, 2> kCaptureStateInfo{
    nullptr,
    {{{"state", "J", &CaptureDeviceStateInfoData::state},
      {"status", "I", &CaptureDeviceStateInfoData::status}}}};

inline constexpr JavaRecord<CaptureDeviceAncillaryDataFilter, 3> kCaptureAncillaryDataFilter{
    nullptr,
    {{{"filterType", "I", &CaptureDeviceAncillaryDataFilter::filterType},
      {"did", "I", &CaptureDeviceAncillaryDataFilter::did},
      {"sid", "I", &CaptureDeviceAncillaryDataFilter::sid}}}};

inline constexpr JavaRecord<CaptureDeviceCaptureTargetVideoData, 13> kCaptureVideoTarget{
    nullptr,
    {{{"width", "I", &CaptureDeviceCaptureTargetVideoData::width},
      {"height", "I", &CaptureDeviceCaptureTargetVideoData::height},
      {"crop", "[J"},
      {"sizeFlags", "J", &CaptureDeviceCaptureTargetVideoData::sizeFlags},
      {"keyFrameInterval", "I", &CaptureDeviceCaptureTargetVideoData::keyFrameInterval},
      {"frameRateTargetEnum", "I", &CaptureDeviceCaptureTargetVideoData::frameRateTargetEnum},
      {"frameRateTargetDen", "I", &CaptureDeviceCaptureTargetVideoData::frameRateTargetDen},
      {"frameRateFlags", "J", &CaptureDeviceCaptureTargetVideoData::frameRateFlags},
      {"frameRateDivisor", "I", &CaptureDeviceCaptureTargetVideoData::frameRateDivisor},
      {"frameRotation", "D", &CaptureDeviceCaptureTargetVideoData::frameRotation},
      {"frameCropAspectRatioWidth", "I", &CaptureDeviceCaptureTargetVideoData::frameCropAspectRatioWidth},
      {"frameCropAspectRatioHeight", "I", &CaptureDeviceCaptureTargetVideoData::frameCropAspectRatioHeight},
      {"frameAspectRatioMethod", "I", &CaptureDeviceCaptureTargetVideoData::frameAspectRatioMethod}}}};

inline constexpr JavaRecord<CaptureDeviceCaptureParamsVideoData, 6> kCaptureVideoParams{
    nullptr,
    {{{"enable", "Z", &CaptureDeviceCaptureParamsVideoData::enable},
      {"autoDetectInputSource", "I", &CaptureDeviceCaptureParamsVideoData::autoDetectInputSource},
      {"frameRateDivisor", "I", &CaptureDeviceCaptureParamsVideoData::frameRateDivisor},
      {"renditionIndex", "I", &CaptureDeviceCaptureParamsVideoData::renditionIndex},
      {"pixelFormat", "I", &CaptureDeviceCaptureParamsVideoData::pixelFormat},
      {"flags", "I", &CaptureDeviceCaptureParamsVideoData::flags}}}};

inline constexpr JavaRecord<CaptureDeviceCaptureParamsAudioData, 4> kCaptureAudioParams{
    nullptr,
    {{{"enable", "Z", &CaptureDeviceCaptureParamsAudioData::enable},
      {"sampleRate", "I", &CaptureDeviceCaptureParamsAudioData::sampleRate},
      {"channels", "I", &CaptureDeviceCaptureParamsAudioData::channels},
      {"bytesPerSample", "I", &CaptureDeviceCaptureParamsAudioData::bytesPerSample}}}};

inline constexpr JavaRecord<TranscoderCaptureDeviceCaptureInputVideoData, 3> kCaptureVideoInput{
    nullptr,
    {{{"input", "[I"},
      {"inputCount", "I", &TranscoderCaptureDeviceCaptureInputVideoData::inputCount},
      {"inputSelected", "I", &TranscoderCaptureDeviceCaptureInputVideoData::inputSelected}}}};

inline constexpr JavaRecord<CaptureDeviceAudioChannelMap, 2> kCaptureAudioChannelMap{
    nullptr,
    {{{"left", "I", &CaptureDeviceAudioChannelMap::left},
      {"right", "I", &CaptureDeviceAudioChannelMap::right}}}};

inline constexpr JavaRecord<CaptureDeviceOverlayInfo, 5> kCaptureOverlayInfo{
    nullptr,
    {{{"showing", "Z", &CaptureDeviceOverlayInfo::showing},
      {"url", kJavaString, &CaptureDeviceOverlayInfo::url},
      {"broadcastId", kJavaString, &CaptureDeviceOverlayInfo::broadcastId},
      {"serviceId", kJavaString, &CaptureDeviceOverlayInfo::serviceId},
      {"serviceExtraData", kJavaString, &CaptureDeviceOverlayInfo::serviceExtraData}}}};

inline constexpr JavaRecord<AudioLevelData, 5> kCaptureAudioLevel{
    nullptr,
    {{{"timecode", "J", &AudioLevelData::timecode},
      {"averageLeft", "I", &AudioLevelData::averageLeft},
      {"averageRight", "I", &AudioLevelData::averageRight},
      {"peakLeft", "I", &AudioLevelData::peakLeft},
      {"peakRight", "I", &AudioLevelData::peakRight}}}};

struct JavaCaptureLevelParams {
  uint32_t audioLevelSamplesPerData = 0;
  uint32_t audioLevelTotalDataPoints = 0;
};
inline constexpr JavaRecord<JavaCaptureLevelParams, 2> kCaptureLevelParams{
    nullptr,
    {{{"audioLevelSamplesPerData", "I", &JavaCaptureLevelParams::audioLevelSamplesPerData},
      {"audioLevelTotalDataPoints", "I", &JavaCaptureLevelParams::audioLevelTotalDataPoints}}}};

struct JavaCaptureLevelList {
  uint64_t sampleId = 0;
};
inline constexpr JavaRecord<JavaCaptureLevelList, 4> kCaptureLevelList{
    nullptr,
    {{{"timecodes", "[J"},
      {"average", "[I"},
      {"peak", "[I"},
      {"sampleId", "J", &JavaCaptureLevelList::sampleId}}}};

inline constexpr JavaRecord<AudioLevelSingleChannelData, 3> kCaptureChannelLevel{
    "com/zarvo/qvs/transcoder/capture/TranscoderCaptureDeviceAudioLevelDataAllChannel",
    {{{"timecode", "J", &AudioLevelSingleChannelData::timecode},
      {"average", "I", &AudioLevelSingleChannelData::average},
      {"peak", "I", &AudioLevelSingleChannelData::peak}}}};

struct JavaCaptureRendition {
  uint32_t index = 0;
  uint32_t id = 0;
  std::string name;
  uint64_t flags = 0;
  uint32_t videoFrameWidth = 0;
  uint32_t videoFrameHeight = 0;
  double videoFrameRate = 0;
  uint32_t videoFrameRateEnum = 0;
  uint32_t videoFrameRateDen = 0;
  uint32_t videoColorSpace = 0;
  uint8_t videoProgressive = 0;
  uint8_t videoTopFieldFirst = 0;
  uint8_t video3D = 0;
};
inline constexpr JavaRecord<JavaCaptureRendition, 13> kCaptureRendition{
    "com/zarvo/qvs/transcoder/capture/TranscoderCaptureDeviceRenditionInfo",
    {{{"index", "I", &JavaCaptureRendition::index},
      {"id", "I", &JavaCaptureRendition::id},
      {"name", kJavaString, &JavaCaptureRendition::name},
      {"flags", "J", &JavaCaptureRendition::flags},
      {"videoFrameWidth", "I", &JavaCaptureRendition::videoFrameWidth},
      {"videoFrameHeight", "I", &JavaCaptureRendition::videoFrameHeight},
      {"videoFrameRate", "D", &JavaCaptureRendition::videoFrameRate},
      {"videoFrameRateEnum", "I", &JavaCaptureRendition::videoFrameRateEnum},
      {"videoFrameRateDen", "I", &JavaCaptureRendition::videoFrameRateDen},
      {"videoColorSpace", "I", &JavaCaptureRendition::videoColorSpace},
      {"videoProgressive", "Z", &JavaCaptureRendition::videoProgressive},
      {"videoTopFieldFirst", "Z", &JavaCaptureRendition::videoTopFieldFirst},
      {"video3D", "Z", &JavaCaptureRendition::video3D}}}};

/// Without the list of renditions.
struct JavaCaptureDevice {
  uint32_t id = 0;
  uint32_t implementation = 0;
  uint64_t hardwareId = 0;
  std::string modelName;
  std::string displayName;
  uint8_t inputFormatDetection = 0;
  uint64_t flags = 0;
  uint8_t active = 0;
  uint8_t running = 0;
  uint64_t videoInputs = 0;
  uint64_t audioInputs = 0;
};
inline constexpr JavaRecord<JavaCaptureDevice, 12> kCaptureDevice{
    nullptr,
    {{{"id", "I", &JavaCaptureDevice::id},
      {"implementation", "I", &JavaCaptureDevice::implementation},
      {"hardwareId", "J", &JavaCaptureDevice::hardwareId},
      {"modelName", kJavaString, &JavaCaptureDevice::modelName},
      {"displayName", kJavaString, &JavaCaptureDevice::displayName},
      {"inputFormatDetection", "Z", &JavaCaptureDevice::inputFormatDetection},
      {"flags", "J", &JavaCaptureDevice::flags},
      {"active", "Z", &JavaCaptureDevice::active},
      {"running", "Z", &JavaCaptureDevice::running},
      {"videoInputs", "J", &JavaCaptureDevice::videoInputs},
      {"audioInputs", "J", &JavaCaptureDevice::audioInputs},
      {"renditions", kJavaList}}}};

struct JavaIntArray {};
inline constexpr JavaRecord<JavaIntArray, 1> kIntArrayHolder{nullptr, {{{"value", "[I"}}}};

}  // namespace qvs
