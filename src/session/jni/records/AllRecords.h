#pragma once

#include "session/jni/records/AudioRecords.h"
#include "session/jni/records/CaptureRecords.h"
#include "session/jni/records/CommonRecords.h"
#include "session/jni/records/OfflineRecords.h"
#include "session/jni/records/VideoRecords.h"

// Every record table, for tests that hold them against the Java classes.

namespace qvs {

/// Calls `visit(name, table)` for every table; the name is that of the Java class, or of what stands for it.
template <typename Visit>
void forEachRecord(Visit visit) {
  visit("TranscoderNativeLong", kLongHolder);
  visit("TranscoderNativeString", kStringHolder);
  visit("TranscoderNativeStreamContext", kStreamContext);
  visit("TranscoderLogStatement", kLogStatement);
  visit("TranscoderNativeParameterValue", kParameterValue);
  visit("TranscoderNativeVideoDecodeFrameInfo", kFrameInfo);
  visit("TranscoderNativeVideoDecodeTimecodeInfo", kTimecodeInfo);
  visit("TranscoderNativeVideoDecodeAncillaryData", kAncillaryData);
  visit("TranscoderNativeVideoFrame", kVideoFrame);
  visit("TranscoderNativeVideoFrame", kOverlayFrame);
  visit("TranscoderNativeAudioFrame", kAudioFrame);
  visit("TranscoderNativeAudioResamplerParameters", kResamplerParameters);
  visit("TranscoderNativeVideoDecoderCaptureInfo", kCaptureInfo);
  visit("TranscoderCaptureDeviceSessionInfo", kCaptureSessionInfo);
  visit("TranscoderCaptureDeviceStateInfo", kCaptureStateInfo);
  visit("TranscoderCaptureDeviceAncillaryDataFilter", kCaptureAncillaryDataFilter);
  visit("TranscoderCaptureDeviceVideoCaptureTarget", kCaptureVideoTarget);
  visit("TranscoderCaptureDeviceVideoCaptureParams", kCaptureVideoParams);
  visit("TranscoderCaptureDeviceAudioCaptureParams", kCaptureAudioParams);
  visit("TranscoderCaptureDeviceVideoCaptureInput", kCaptureVideoInput);
  visit("TranscoderCaptureDeviceAudioChannelMap", kCaptureAudioChannelMap);
  visit("TranscoderCaptureDeviceOverlayInfo", kCaptureOverlayInfo);
  visit("TranscoderCaptureDeviceAudioLevelData", kCaptureAudioLevel);
  visit("TranscoderCaptureDeviceAudioLevelParams", kCaptureLevelParams);
  visit("TranscoderCaptureDeviceAudioLevelDataList", kCaptureLevelList);
  visit("TranscoderCaptureDeviceAudioLevelDataAllChannel", kCaptureChannelLevel);
  visit("TranscoderCaptureDeviceRenditionInfo", kCaptureRendition);
  visit("TranscoderCaptureDeviceInfo", kCaptureDevice);
  visit("TranscoderNativeIntArray", kIntArrayHolder);
  visit("TranscoderPacket", kVideoPacket);
  visit("TranscoderPacket", kAudioPacket);
  visit("TranscoderPacket", kVODPacket);
  visit("TranscoderNativeVODTranscoderSettings", kVODSettings);
  visit("ThumbnailerRequest", kThumbnailRequest);
  visit("ThumbnailerRequestPacket", kThumbnailPacket);
  visit("ThumbnailerResponse", kThumbnailResponse);
}

}  // namespace qvs
