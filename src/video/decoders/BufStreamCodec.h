#pragma once

#include <mc_bufstream.h>
#include <mc_callbacks.h>

#include <cstdint>

namespace qvs {

/// Option bit that every decoder is given.
inline constexpr uint32_t kOptionAlways = 16;

/// Texts of a class's operations under the guard.
struct BufStreamLabels {
  const char* initialize;
  const char* decodeCodecConfig;
  const char* addFrame;
  const char* decode;
  const char* getDecodedFrame;
  const char* updateDecodeInfo;  ///< of log lines
};

#define QVS_BUFSTREAM_LABELS(name)                                                       \
  {                                                                                      \
    name "::initialize", name "::decodeCodecConfig", name "::addFrame", name "::decode", \
        name "::getDecodedFrame", name ".updateDecodeInfo[{context}]: "                  \
  }

/// What travels through a back end with a coded unit and comes back with its picture.
enum class UnitRecord {
  kTimestamp,  ///< zarvo_dec_timestamp_s
  kUserData,   ///< zarvo_dec_userdata_s
};

/// How double-rate fetches are told apart; kNone where a codec has none.
enum class SecondFetch { kNone, kByDecodeCount, kByTimecode };

/// What tells one decoder of the driver from another.
struct BufStreamCodec {
  BufStreamLabels labels;
  uint32_t codec;
  UnitRecord record;        ///< what rides with a unit
  uint32_t infoFlags;       ///< bits of the parse state that bring new stream information
  bool infoAlwaysReported;  ///< DecodeFlagInfoUpdated is set even where the information can't be read
  SecondFetch secondFetch;  ///< how the second fetch of a picture is known
  bool unitPerBlock;        ///< each block is a whole unit
  bool plainDoubleRate;     ///< at double rate the back end isn't asked to deinterlace
  bool asksDeinterlace;     ///< the back end deinterlaces where it is wanted
  uint32_t missingInfo;     ///< result of `updateDecodeInfo` when the back end has none
};

struct zarvo_dec_timestamp_s {
  uint64_t timecode[2] = {};  ///< presentation time in milliseconds; 0
  uint32_t frameType = 0;
};

struct zarvo_dec_userdata_s {
  uint32_t frameType = 0;
  uint64_t timecode = 0;  ///< milliseconds
};

}  // namespace qvs
