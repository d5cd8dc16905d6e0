#pragma once

#include <cstdint>

#include "session/jni/records/CommonRecords.h"

// Java records of thumbnails and off-line work, one table each.

namespace qvs {

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

}  // namespace qvs
