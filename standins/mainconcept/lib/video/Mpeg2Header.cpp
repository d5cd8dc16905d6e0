// Reading MPEG-2 sequence headers, and finding where a picture begins.
#include "video/Mpeg2Header.h"

#include <iterator>

#include "video/StartCodes.h"

namespace qvs::mc {

namespace {

constexpr uint8_t kPicture = 0x00;
constexpr uint8_t kSequence = 0xB3;
constexpr uint8_t kExtension = 0xB5;
constexpr uint32_t kSequenceExtension = 1;
constexpr uint32_t kPictureExtension = 8;
constexpr size_t kHeaderMin = 12;  ///< with the start code: what `field` reads
constexpr int32_t kSquarePixels = 1;

constexpr int32_t kRates[][2] = {{0, 0},  {24000, 1001}, {24, 1},       {25, 1}, {30000, 1001},
                                 {30, 1}, {50, 1},       {60000, 1001}, {60, 1}};

/// A field of the 64 bits that start at `bytes`; `first` counts from the high bit.
int32_t field(const uint8_t* bytes, uint32_t first, uint32_t count) {
  uint64_t word = 0;
  for (int i = 0; i < 8; ++i) word = word << 8 | bytes[i];
  return static_cast<int32_t>(word << first >> (64 - count));
}

SequenceInfo readSequence(const uint8_t* bytes) {
  SequenceInfo info;
  info.width = field(bytes, 0, 12);
  info.height = field(bytes, 12, 12);
  const int32_t aspect = field(bytes, 24, 4);
  const auto rate = static_cast<size_t>(field(bytes, 28, 4));
  // Hosts take the code for the aspect of the whole picture, which square pixels don't tell.
  info.aspectCode = aspect == kSquarePixels ? 0 : aspect;
  if (rate < std::size(kRates)) {
    info.rateNumerator = kRates[rate][0];
    info.rateDenominator = kRates[rate][1];
  }
  return info;
}

void readExtension(const uint8_t* bytes, SequenceInfo& info) {
  if (field(bytes, 0, 4) != static_cast<int32_t>(kSequenceExtension)) return;
  // The high bits of both sides, and a factor on the rate.
  info.width |= field(bytes, 15, 2) << 12;
  info.height |= field(bytes, 17, 2) << 12;
  info.rateNumerator *= field(bytes, 41, 2) + 1;
  info.rateDenominator *= field(bytes, 43, 5) + 1;
}

}  // namespace

std::optional<SequenceInfo> readMpeg2Header(const uint8_t* bytes, size_t size) {
  std::optional<SequenceInfo> info;
  for (size_t at = findStartCode(bytes, size, 0); at + 4 <= size; at = findStartCode(bytes, size, at + 3)) {
    const uint8_t code = bytes[at + 3];
    if (code == kPicture) break;
    if (size - at < kHeaderMin) continue;
    if (code == kSequence) info = readSequence(bytes + at + 4);
    if (code == kExtension && info) readExtension(bytes + at + 4, *info);
  }
  if (info && (info->width == 0 || info->height == 0)) return std::nullopt;
  return info;
}

std::optional<Mpeg2Picture> findMpeg2Picture(const uint8_t* bytes, size_t size, size_t from) {
  size_t at = findStartCode(bytes, size, from);
  while (at + kHeaderMin <= size && bytes[at + 3] != kPicture) at = findStartCode(bytes, size, at + 3);
  if (at + kHeaderMin > size) return std::nullopt;
  Mpeg2Picture picture;
  picture.temporalReference = static_cast<uint32_t>(field(bytes + at + 4, 0, 10));
  picture.codingType = static_cast<uint32_t>(field(bytes + at + 4, 10, 3));
  // MPEG-1 has no extension, and no fields.
  picture.end = findStartCode(bytes, size, at + 3);
  if (picture.end + kHeaderMin > size || bytes[picture.end + 3] != kExtension) return picture;
  const uint8_t* extension = bytes + picture.end + 4;
  if (field(extension, 0, 4) != static_cast<int32_t>(kPictureExtension)) return picture;
  picture.structure = static_cast<uint32_t>(field(extension, 22, 2));
  return picture;
}

}  // namespace qvs::mc
