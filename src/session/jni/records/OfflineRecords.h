#pragma once

#include <qvs/vod_transcoder.h>

#include <cstdint>

#include "offline/thumbnail/ThumbnailerData.h"
#include "session/jni/records/CommonRecords.h"

// Java records of thumbnails and off-line work, one table each.

namespace qvs {

inline constexpr const char* kJavaByteBuffer = "Ljava/nio/ByteBuffer;";

/// What a still picture is asked by. "crop" and "packets" are read by their owner: they may be missing.
inline constexpr JavaRecord<ThumbnailerRequestData, 17> kThumbnailRequest{
    nullptr,
    {{{"codec", "I", &ThumbnailerRequestData::codec},
      {"codecVersion", "I", &ThumbnailerRequestData::codecVersion},
      {"implementation", "I", &ThumbnailerRequestData::implementation},
      {"width", "I", &ThumbnailerRequestData::width},
      {"height", "I", &ThumbnailerRequestData::height},
      {"fitMode", "I", &ThumbnailerRequestData::fitMode},
      {"format", "I", &ThumbnailerRequestData::format},
      {"deinterlace", "I", &ThumbnailerRequestData::deinterlace},
      {"gpuid", "I", &ThumbnailerRequestData::gpuid},
      {"cpuNum", "I", &ThumbnailerRequestData::cpuNum},
      {"smpMode", "I", &ThumbnailerRequestData::smpMode},
      {"output8Bit", "I", &ThumbnailerRequestData::output8Bit},
      {"mvPrecision", "I", &ThumbnailerRequestData::mvPrecision},
      {"dpbSize", "I", &ThumbnailerRequestData::dpbSize},
      {"ec", "I", &ThumbnailerRequestData::ec},
      {"loopFilter", "I", &ThumbnailerRequestData::loopFilter},
      {"accMode", "I", &ThumbnailerRequestData::accMode}}}};

inline constexpr JavaRecord<ThumbnailerRequestPacketData, 4> kThumbnailPacket{
    "com/zarvo/qvs/transcoder/thumbnailer/ThumbnailerRequestPacket",
    {{{"packetData", kJavaByteBuffer},
      {"timecode", "J", &ThumbnailerRequestPacketData::timecode},
      {"timecodeOffset", "J", &ThumbnailerRequestPacketData::timecodeOffset},
      {"frameType", "I", &ThumbnailerRequestPacketData::frameType}}}};

struct JavaThumbnailResponse {
  int32_t format = 0;
  int32_t width = 0;
  int32_t height = 0;
};
inline constexpr JavaRecord<JavaThumbnailResponse, 4> kThumbnailResponse{
    nullptr,
    {{{"format", "I", &JavaThumbnailResponse::format},
      {"width", "I", &JavaThumbnailResponse::width},
      {"height", "I", &JavaThumbnailResponse::height},
      {"pictureData", kJavaByteBuffer}}}};

/// A packet of a stored stream on its way in. "buffer" is moved by its owner.
struct JavaVODPacket {
  int64_t len = 0;
  int32_t offset = 0;
  uint32_t type = 0;
  uint64_t timecode = 0;
  int64_t timecodeOffset = 0;
  uint32_t frameType = 0;
  uint8_t vodIsCodecConfig = 0;
  int32_t vodPacketsIndex = 0;
  uint8_t vodIsEncode = 0;
};
inline constexpr JavaRecord<JavaVODPacket, 10> kVODPacket{
    kPacketClass,
    {{{"buffer", "[B"},
      {"offset", "I", &JavaVODPacket::offset},
      {"len", "J", &JavaVODPacket::len},
      {"type", "I", &JavaVODPacket::type},
      {"timecode", "J", &JavaVODPacket::timecode},
      {"timecodeOffset", "I", &JavaVODPacket::timecodeOffset},
      {"frameType", "I", &JavaVODPacket::frameType},
      {"vodIsCodecConfig", "Z", &JavaVODPacket::vodIsCodecConfig},
      {"vodPacketsIndex", "I", &JavaVODPacket::vodPacketsIndex},
      {"vodIsEncode", "Z", &JavaVODPacket::vodIsEncode}}}};

inline constexpr JavaRecord<VODTranscoderVideoSettings, 10> kVODSettings{
    nullptr,
    {{{"videoCodec", "I", &VODTranscoderVideoSettings::videoCodec},
      {"videoImplementation", "I", &VODTranscoderVideoSettings::videoImplementation},
      {"videoGPUID", "I", &VODTranscoderVideoSettings::videoGPUID},
      {"videoProfile", "I", &VODTranscoderVideoSettings::videoProfile},
      {"videoFitMode", "I", &VODTranscoderVideoSettings::videoFitMode},
      {"videoWidth", "I", &VODTranscoderVideoSettings::videoWidth},
      {"videoHeight", "I", &VODTranscoderVideoSettings::videoHeight},
      {"videoBitrate", "I", &VODTranscoderVideoSettings::videoBitrate},
      {"videoHeader", "[B"},
      {"videoFrameRate", "D", &VODTranscoderVideoSettings::videoFrameRate}}}};

}  // namespace qvs
