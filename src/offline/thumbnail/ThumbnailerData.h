#pragma once

#include <cstdint>

namespace qvs {

/// One coded packet of a request.
struct ThumbnailerRequestPacketData {
  uint8_t* packetData = nullptr;  ///< borrowed; null: an empty packet
  uint32_t packetDataLen = 0;     ///< bytes
  uint64_t timecode = 0;          ///< milliseconds
  uint64_t timecodeOffset = 0;    ///< presentation less decode time, milliseconds; may have wrapped below 0
  int32_t frameType = 0;
};

/// A run of packets in decode order, which begins at a key picture, and the still picture wanted of it. Settings of
/// the decoder that are negative are left alone.
struct ThumbnailerRequestData {
  /// Extension, a bit of `implementation`: the picture of the last packet instead of the last picture of the run. They
  /// differ where pictures are reordered.
  static constexpr int32_t kPictureOfLastPacket = 0x100;

  int32_t codec = 0;
  int32_t codecVersion = 0;
  int32_t implementation = 0;  ///< only kPictureOfLastPacket is looked at
  int32_t width = 0;           ///< pixels
  int32_t height = 0;          ///< pixels
  int32_t fitMode = 0;         ///< ThumbnailFit
  int32_t crop[4] = {};        ///< left, right, top, bottom, pixels
  int32_t format = 0;          ///< carried through
  int32_t deinterlace = 0;
  int32_t gpuid = 0;  ///< not used
  int32_t cpuNum = -1;
  int32_t smpMode = -1;
  int32_t output8Bit = -1;
  int32_t mvPrecision = -1;
  int32_t dpbSize = -1;
  int32_t ec = -1;
  int32_t loopFilter = -1;
  int32_t accMode = -1;
  ThumbnailerRequestPacketData* packets = nullptr;  ///< borrowed
  uint32_t packetsLen = 0;
};

/// The picture, B, G, R, A in rows without padding.
struct ThumbnailerResponseData {
  int32_t width = 0;
  int32_t height = 0;
  uint8_t* pictureData = nullptr;  ///< calloc'ed; whoever asked frees it
  uint32_t pictureDataLen = 0;     ///< bytes
};

}  // namespace qvs
