#pragma once

#include <cstdint>
#include <vector>

#include "nvcuvid.h"

struct AVCodecContext;

namespace qvs::fakes {

/// A codec of the emulated video parser.
struct CuvidCodec {
  cudaVideoCodec number;
  int avId;
  const char* decoder;
};

/// Null for one that isn't emulated.
const CuvidCodec* findCuvidCodec(cudaVideoCodec number);

/// What stands in one access unit.
struct CuvidUnit {
  std::vector<uint8_t> parameters;  ///< sequence headers or parameter sets, with their start codes
  std::vector<unsigned> slices;     ///< where their start codes are
  bool hasSequence = false;
  bool random = false;        ///< IDR, or an HEVC picture of random access
  bool skipsLeading = false;  ///< HEVC: pictures before it in time lack references, if nothing came before it
  bool leading = false;       ///< HEVC: one of those
  bool endsSequence = false;
  bool isReference = false;
  bool closedGroup = false;  ///< MPEG-2
};

CuvidUnit scanUnit(const CuvidCodec& codec, const uint8_t* bytes, size_t size);

/// What the parser's caller is told of a sequence, with how many pictures may wait for earlier ones.
struct CuvidSequence {
  CUVIDEOFORMAT format{};
  int reorder = 0;
};

/// What libavcodec's parser says of a unit: size in whole blocks, AVPixelFormat.
struct CuvidCoded {
  int width;
  int height;
  int format;
};

/// Of the first unit of a sequence. False where it can't be read.
bool readSequence(const CuvidCodec& codec, const std::vector<uint8_t>& unit, const CuvidCoded& coded,
                  CuvidSequence& out);

}  // namespace qvs::fakes
