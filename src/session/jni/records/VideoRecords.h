#pragma once

#include <cstdint>

#include "frames/VideoFrameAncillaryData.h"
#include "frames/VideoFrameBufferTimecodeInfo.h"
#include "session/jni/records/CommonRecords.h"
#include "session/TranscoderVideoDecoderFrameInfo.h"

// Java records of the video calls, one table each.

namespace qvs {

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

/// A coded video packet out of an encoder.
struct JavaPacket {
  uint32_t len = 0;
  uint32_t type = 0;
  uint64_t timecode = 0;  ///< video: milliseconds; audio: samples
  int64_t timecodeOffset = 0;
  uint32_t frameType = 0;
};
inline constexpr JavaRecord<JavaPacket, 6> kVideoPacket{
    kPacketClass,
    {{{"buffer", "[B"},
      {"len", "J", &JavaPacket::len},
      {"type", "I", &JavaPacket::type},
      {"timecode", "J", &JavaPacket::timecode},
      {"timecodeOffset", "I", &JavaPacket::timecodeOffset},
      {"frameType", "I", &JavaPacket::frameType}}}};

}  // namespace qvs
