#pragma once

#include <cstdint>
#include <vector>

#include "support/MediaStream.h"

namespace qvs::test {

inline constexpr uint32_t kFieldStreamWidth = 64;
inline constexpr uint32_t kFieldStreamHeight = 64;

/// One field as a picture of its own, in the form of the codec's access units: fields behind each other are
/// one unit.
struct CodedField {
  MediaBytes bytes{};
  uint32_t pair = 0;  ///< number of the frame that it is half of
  bool bottom = false;
  bool key = false;  ///< of a frame that starts anew
};

struct FieldStreamSetup {
  uint32_t codec = 7;  ///< 7 H.264, 11 MPEG-2
  uint32_t pairs = 18;
  uint32_t keyInterval = 6;
  bool bottomFirst = false;
  bool groupHeaders =
      true;  ///< MPEG-2: a group of pictures starts at each key frame, else at the first alone
};

/// A stream of field pictures. No encoder of libavcodec's makes them, so the bits are written here: key
/// frames of intra macroblocks; in the others each field copies the field of the same parity before it, but
/// for its first macroblock of each row, which is intra too. Each macroblock is flat, so that the coding is
/// exact.
struct FieldStream {
  MediaBytes config;
  std::vector<CodedField> fields;    ///< in decoding order
  std::vector<MediaBytes> pictures;  ///< what must come out: planes Y, U, V
};

FieldStream makeFieldStream(const FieldStreamSetup& setup);

}  // namespace qvs::test
