#pragma once

#include <cstdint>
#include <string>

#include "frames/VideoFrameAncillaryData.h"
#include "frames/VideoFrameBuffer.h"
#include "log/LogStatement.h"
#include "session/jni/JavaRecord.h"
#include "session/MediaStreamContext.h"
#include "session/TranscoderVideoDecoderFrameInfo.h"
#include "video/decoders/TranscoderVideoDecoderCaptureInfo.h"

// The Java records that cross the boundary, one table each.

namespace qvs {

inline constexpr const char* kJavaString = "Ljava/lang/String;";
inline constexpr const char* kJavaList = "Ljava/util/List;";

/// A number in or out.
struct JavaLongHolder {
  int64_t value = 0;
};
inline constexpr JavaRecord<JavaLongHolder, 1> kLongHolder{nullptr,
                                                           {{{"value", "J", &JavaLongHolder::value}}}};

/// A text out.
struct JavaStringHolder {
  std::string value;
};
inline constexpr JavaRecord<JavaStringHolder, 1> kStringHolder{
    nullptr, {{{"value", kJavaString, &JavaStringHolder::value}}}};

inline constexpr JavaRecord<MediaStreamContext, 8> kStreamContext{
    nullptr,
    {{{"vhost", kJavaString, &MediaStreamContext::vhost},
      {"appName", kJavaString, &MediaStreamContext::appName},
      {"appInstanceName", kJavaString, &MediaStreamContext::appInstanceName},
      {"streamNameBase", kJavaString, &MediaStreamContext::streamNameBase},
      {"streamName", kJavaString, &MediaStreamContext::streamName},
      {"renditionName", kJavaString, &MediaStreamContext::renditionName},
      {"sessionExtraDataStr", kJavaString, &MediaStreamContext::sessionExtraDataStr},
      {"renditionExtraDataStr", kJavaString, &MediaStreamContext::renditionExtraDataStr}}}};

inline constexpr JavaRecord<LogStatement, 4> kLogStatement{
    "com/zarvo/qvs/transcoder/model/TranscoderLogStatement",
    {{{"level", "I", &LogStatement::level},
      {"contextType", "I", &LogStatement::contextType},
      {"contextIndex", "I", &LogStatement::contextIndex},
      {"statement", kJavaString, &LogStatement::str}}}};

struct JavaParameterValue {
  uint32_t dataType = 0;
  uint32_t settingIndex = 0;
  int64_t lValue = 0;
  double dValue = 0;
};
inline constexpr JavaRecord<JavaParameterValue, 6> kParameterValue{
    "com/zarvo/qvs/transcoder/model/TranscoderNativeParameterValue",
    {{{"dataType", "I", &JavaParameterValue::dataType},
      {"settingIndex", "I", &JavaParameterValue::settingIndex},
      {"lValue", "J", &JavaParameterValue::lValue},
      {"larValue", "[J"},
      {"dValue", "D", &JavaParameterValue::dValue},
      {"darValue", "[D"}}}};

/// The record of a decode step without its lists.
inline constexpr JavaRecord<TranscoderVideoDecoderFrameInfo, 6> kFrameInfo{
    nullptr,
    {{{"frameWidth", "J", &TranscoderVideoDecoderFrameInfo::frameWidth},
      {"frameHeight", "J", &TranscoderVideoDecoderFrameInfo::frameHeight},
      {"displayWidth", "J", &TranscoderVideoDecoderFrameInfo::displayWidth},
      {"displayHeight", "J", &TranscoderVideoDecoderFrameInfo::displayHeight},
      {"frameCount", "J", &TranscoderVideoDecoderFrameInfo::frameCount},
      {"frameRate", "D", &TranscoderVideoDecoderFrameInfo::frameRate}}}};

inline constexpr JavaRecord<VideoFrameBufferTimecodeInfo, 8> kTimecodeInfo{
    "com/zarvo/qvs/transcoder/model/TranscoderNativeVideoDecodeTimecodeInfo",
    {{{"tcType", "J", &VideoFrameBufferTimecodeInfo::tcType},
      {"bcd", "J", &VideoFrameBufferTimecodeInfo::bcd},
      {"userBits", "J", &VideoFrameBufferTimecodeInfo::userBits},
      {"flags", "J", &VideoFrameBufferTimecodeInfo::flags},
      {"hours", "J", &VideoFrameBufferTimecodeInfo::hours},
      {"minutes", "J", &VideoFrameBufferTimecodeInfo::minutes},
      {"seconds", "J", &VideoFrameBufferTimecodeInfo::seconds},
      {"frames", "J", &VideoFrameBufferTimecodeInfo::frames}}}};

inline constexpr JavaRecord<VideoFrameAncillaryData, 6> kAncillaryData{
    "com/zarvo/qvs/transcoder/model/TranscoderNativeVideoDecodeAncillaryData",
    {{{"did", "I", &VideoFrameAncillaryData::did},
      {"sid", "I", &VideoFrameAncillaryData::sid},
      {"dbn", "I", &VideoFrameAncillaryData::dbn},
      {"dc", "I", &VideoFrameAncillaryData::dc},
      {"checksum", "I", &VideoFrameAncillaryData::checksum},
      {"buffer", "[I"}}}};

/// A picture that is read back. Width and height come in as the size wanted.
struct JavaVideoFrame {
  uint32_t fourcc = 0;
  uint32_t stride = 0;            ///< bytes
  uint32_t frameStartOffset = 0;  ///< bytes
  uint32_t width = 0;
  uint32_t height = 0;
  uint64_t timecode = 0;  ///< milliseconds
};
inline constexpr JavaRecord<JavaVideoFrame, 7> kVideoFrame{
    nullptr,
    {{{"fourcc", "J", &JavaVideoFrame::fourcc},
      {"bytes", "[B"},
      {"stride", "J", &JavaVideoFrame::stride},
      {"frameStartOffset", "J", &JavaVideoFrame::frameStartOffset},
      {"width", "I", &JavaVideoFrame::width},
      {"height", "I", &JavaVideoFrame::height},
      {"timecode", "J", &JavaVideoFrame::timecode}}}};

/// A picture that is drawn over others.
struct JavaOverlayFrame {
  uint32_t fourcc = 0;
  uint32_t stride = 0;            ///< bytes
  uint32_t frameStartOffset = 0;  ///< bytes
  uint32_t width = 0;
  uint32_t height = 0;
  int32_t dstX = 0;
  int32_t dstY = 0;
  uint32_t dstWidth = 0;
  uint32_t dstHeight = 0;
  uint32_t dstAlign = 0;
};
inline constexpr JavaRecord<JavaOverlayFrame, 11> kOverlayFrame{
    nullptr,
    {{{"fourcc", "J", &JavaOverlayFrame::fourcc},
      {"bytes", "[B"},
      {"stride", "J", &JavaOverlayFrame::stride},
      {"frameStartOffset", "J", &JavaOverlayFrame::frameStartOffset},
      {"width", "I", &JavaOverlayFrame::width},
      {"height", "I", &JavaOverlayFrame::height},
      {"dstX", "I", &JavaOverlayFrame::dstX},
      {"dstY", "I", &JavaOverlayFrame::dstY},
      {"dstWidth", "I", &JavaOverlayFrame::dstWidth},
      {"dstHeight", "I", &JavaOverlayFrame::dstHeight},
      {"dstAlign", "I", &JavaOverlayFrame::dstAlign}}}};

struct JavaAudioFrame {
  uint64_t timecode = 0;  ///< samples
  uint32_t sampleRate = 0;
  uint32_t channels = 0;
  uint32_t sampleCount = 0;
};
inline constexpr JavaRecord<JavaAudioFrame, 5> kAudioFrame{
    nullptr,
    {{{"timecode", "J", &JavaAudioFrame::timecode},
      {"sampleRate", "J", &JavaAudioFrame::sampleRate},
      {"channels", "J", &JavaAudioFrame::channels},
      {"sampleCount", "J", &JavaAudioFrame::sampleCount},
      {"buffer", "[B"}}}};

struct JavaResamplerParameters {
  uint32_t sampleRate = 0;
  uint32_t channels = 0;
  uint64_t channelMaskSrc = 0;
  uint64_t channelMaskDst = 0;
};
inline constexpr JavaRecord<JavaResamplerParameters, 4> kResamplerParameters{
    nullptr,
    {{{"sampleRate", "J", &JavaResamplerParameters::sampleRate},
      {"channels", "J", &JavaResamplerParameters::channels},
      {"channelMaskSrc", "J", &JavaResamplerParameters::channelMaskSrc},
      {"channelMaskDst", "J", &JavaResamplerParameters::channelMaskDst}}}};

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

/// A coded video packet out of an encoder.
struct JavaPacket {
  uint32_t len = 0;
  uint32_t type = 0;
  uint64_t timecode = 0;  ///< video: milliseconds; audio: samples
  int64_t timecodeOffset = 0;
  uint32_t frameType = 0;
};
inline constexpr const char* kPacketClass = "com/zarvo/qvs/transcoder/model/TranscoderPacket";
inline constexpr JavaRecord<JavaPacket, 6> kVideoPacket{
    kPacketClass,
    {{{"buffer", "[B"},
      {"len", "J", &JavaPacket::len},
      {"type", "I", &JavaPacket::type},
      {"timecode", "J", &JavaPacket::timecode},
      {"timecodeOffset", "I", &JavaPacket::timecodeOffset},
      {"frameType", "I", &JavaPacket::frameType}}}};

struct JavaAudioPacket {
  uint32_t len = 0;
  uint32_t type = 0;
  uint64_t timecode = 0;  ///< samples
  uint32_t frameType = 0;
  uint32_t sampleRate = 0;
  uint32_t channels = 0;
};
inline constexpr JavaRecord<JavaAudioPacket, 7> kAudioPacket{
    kPacketClass,
    {{{"buffer", "[B"},
      {"len", "J", &JavaAudioPacket::len},
      {"type", "I", &JavaAudioPacket::type},
      {"timecode", "J", &JavaAudioPacket::timecode},
      {"frameType", "I", &JavaAudioPacket::frameType},
      {"sampleRate", "I", &JavaAudioPacket::sampleRate},
      {"channels", "I", &JavaAudioPacket::channels}}}};

/// What a still picture is asked by; the settings of its decoder have no reader yet.
struct JavaThumbnailRequest {
  int32_t codec = 0;
};
inline constexpr JavaRecord<JavaThumbnailRequest, 17> kThumbnailRequest{
    nullptr,
    {{{"codec", "I", &JavaThumbnailRequest::codec},
      {"codecVersion", "I"},
      {"implementation", "I"},
      {"width", "I"},
      {"height", "I"},
      {"fitMode", "I"},
      {"format", "I"},
      {"deinterlace", "I"},
      {"gpuid", "I"},
      {"cpuNum", "I"},
      {"smpMode", "I"},
      {"output8Bit", "I"},
      {"mvPrecision", "I"},
      {"dpbSize", "I"},
      {"ec", "I"},
      {"loopFilter", "I"},
      {"accMode", "I"}}}};

struct JavaThumbnailPacket {};
inline constexpr JavaRecord<JavaThumbnailPacket, 4> kThumbnailPacket{
    "com/zarvo/qvs/transcoder/thumbnailer/ThumbnailerRequestPacket",
    {{{"packetData", "Ljava/nio/ByteBuffer;"},
      {"timecode", "J"},
      {"timecodeOffset", "J"},
      {"frameType", "I"}}}};

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
  visit("TranscoderPacket", kVideoPacket);
  visit("TranscoderPacket", kAudioPacket);
  visit("ThumbnailerRequest", kThumbnailRequest);
  visit("ThumbnailerRequestPacket", kThumbnailPacket);
}

}  // namespace qvs
