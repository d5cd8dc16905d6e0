#pragma once

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

}  // namespace qvs
