// Reading H.264 parameter sets: size, aspect, timing, reordering.
#include "video/AvcHeader.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "video/BitReader.h"
#include "video/StartCodes.h"

namespace qvs::mc {

namespace {

constexpr uint32_t kNalSps = 7;
constexpr uint32_t kNalPps = 8;
constexpr uint32_t kBaselineProfile = 66;
constexpr uint32_t kExtendedSar = 255;
constexpr uint32_t kMacroblocksMax = 1024;  ///< to a side: 16384 pixels

// By aspect_ratio_idc.
constexpr uint8_t kSampleAspects[][2] = {{0, 0},   {1, 1},    {12, 11}, {10, 11}, {16, 11}, {40, 33},
                                         {24, 11}, {20, 11},  {32, 11}, {80, 33}, {18, 11}, {15, 11},
                                         {64, 33}, {160, 99}, {4, 3},   {3, 2},   {2, 1}};

// Profiles whose sets carry chroma format, bit depths and scaling lists.
constexpr uint32_t kHighProfiles[] = {100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134, 135};

/// The unit's bytes without those that only prevent start codes.
std::vector<uint8_t> payloadOf(const uint8_t* bytes, size_t size) {
  std::vector<uint8_t> payload;
  payload.reserve(size);
  uint32_t zeros = 0;
  for (size_t i = 0; i < size; ++i) {
    if (zeros >= 2 && bytes[i] == 3) {
      zeros = 0;
      continue;
    }
    zeros = bytes[i] == 0 ? zeros + 1 : 0;
    payload.push_back(bytes[i]);
  }
  return payload;
}

// The list's values decide how many are coded.
void skipScalingList(BitReader& reader, uint32_t count) {
  int32_t last = 8, next = 8;
  for (uint32_t i = 0; i < count; ++i) {
    if (next != 0) next = (last + reader.signedGolomb() % 256 + 256) % 256;
    if (next != 0) last = next;
  }
}

/// Gives chroma_format_idc.
uint32_t readHighProfilePart(BitReader& reader) {
  const uint32_t chromaFormat = reader.unsignedGolomb();
  if (chromaFormat == 3) reader.bit();
  reader.unsignedGolomb();  // bit depth of luma
  reader.unsignedGolomb();  // and of chroma
  reader.bit();             // lossless bypass
  if (reader.bit() != 0) {
    const uint32_t lists = chromaFormat == 3 ? 12 : 8;
    for (uint32_t list = 0; list < lists; ++list) {
      if (reader.bit() != 0) skipScalingList(reader, list < 6 ? 16 : 64);
    }
  }
  return chromaFormat;
}

/// Gives pic_order_cnt_type.
uint32_t readPictureOrder(BitReader& reader) {
  const uint32_t type = reader.unsignedGolomb();
  if (type == 0) reader.unsignedGolomb();
  if (type != 1) return type;
  reader.bit();
  reader.signedGolomb();
  reader.signedGolomb();
  const uint32_t cycle = std::min(reader.unsignedGolomb(), 255u);
  for (uint32_t i = 0; i < cycle; ++i) reader.signedGolomb();
  return type;
}

void readAspect(BitReader& reader, SequenceInfo& info) {
  const uint32_t code = reader.bits(8);
  if (code == kExtendedSar) {
    info.pixelAspectWidth = static_cast<int32_t>(reader.bits(16));
    info.pixelAspectHeight = static_cast<int32_t>(reader.bits(16));
  } else if (code < std::size(kSampleAspects)) {
    info.pixelAspectWidth = kSampleAspects[code][0];
    info.pixelAspectHeight = kSampleAspects[code][1];
  }
}

void readTiming(BitReader& reader, SequenceInfo& info) {
  const uint32_t unitsInTick = reader.bits(32);
  const uint32_t timeScale = reader.bits(32);
  reader.bit();
  // A tick is one field.
  if (unitsInTick == 0 || unitsInTick > 0x3FFFFFFF || timeScale > 0x7FFFFFFF || reader.isPastEnd()) return;
  info.rateNumerator = static_cast<int32_t>(timeScale);
  info.rateDenominator = static_cast<int32_t>(unitsInTick * 2);
}

void readUsability(BitReader& reader, SequenceInfo& info) {
  if (reader.bit() != 0) readAspect(reader, info);
  // Overscan, video signal, chroma siting: nothing of them is used.
  if (reader.bit() != 0) reader.bit();
  if (reader.bit() != 0) {
    reader.bits(4);
    if (reader.bit() != 0) reader.bits(24);
  }
  if (reader.bit() != 0) {
    reader.unsignedGolomb();
    reader.unsignedGolomb();
  }
  if (reader.bit() != 0) readTiming(reader, info);
}

bool skipRateModel(BitReader& reader) {
  if (reader.bit() == 0) return false;
  const uint32_t count = std::min(reader.unsignedGolomb(), 31u) + 1;
  reader.bits(8);
  for (uint32_t i = 0; i < count; ++i) {
    reader.unsignedGolomb();
    reader.unsignedGolomb();
    reader.bit();
  }
  reader.bits(20);
  return true;
}

/// Whether the set tells how far pictures are reordered.
bool tellsReordering(BitReader& reader) {
  // Models of the NAL and of the VCL stream.
  const bool first = skipRateModel(reader);
  const bool second = skipRateModel(reader);
  if (first || second) reader.bit();
  reader.bit();
  return reader.bit() != 0 && !reader.isPastEnd();
}

std::optional<SequenceInfo> readSps(const std::vector<uint8_t>& payload) {
  BitReader reader(payload);
  reader.bits(8);
  const uint32_t profile = reader.bits(8);
  reader.bits(16);
  reader.unsignedGolomb();
  const bool high =
      std::find(std::begin(kHighProfiles), std::end(kHighProfiles), profile) != std::end(kHighProfiles);
  const uint32_t chromaFormat = high ? readHighProfilePart(reader) : 1;
  reader.unsignedGolomb();  // frame number bits
  const uint32_t orderType = readPictureOrder(reader);
  const uint32_t references = std::min(reader.unsignedGolomb(), 16u);
  reader.bit();
  const uint32_t columns = reader.unsignedGolomb();
  const uint32_t rows = reader.unsignedGolomb();
  const uint32_t framesOnly = reader.bit();
  if (framesOnly == 0) reader.bit();
  reader.bit();
  if (reader.isPastEnd() || chromaFormat > 3 || columns >= kMacroblocksMax || rows >= kMacroblocksMax)
    return std::nullopt;
  uint32_t crop[4] = {};
  if (reader.bit() != 0) {
    for (uint32_t& side : crop) side = std::min(reader.unsignedGolomb(), 16384u);
  }
  // Cropping counts chroma samples, and pairs of rows where there are fields.
  const uint32_t cropX = chromaFormat == 1 || chromaFormat == 2 ? 2 : 1;
  const uint32_t cropY = (chromaFormat == 1 ? 2 : 1) * (2 - framesOnly);
  SequenceInfo info;
  info.width = static_cast<int32_t>((columns + 1) * 16) - static_cast<int32_t>((crop[0] + crop[1]) * cropX);
  info.height = static_cast<int32_t>((rows + 1) * 16 * (2 - framesOnly)) -
                static_cast<int32_t>((crop[2] + crop[3]) * cropY);
  if (info.width <= 0 || info.height <= 0) return std::nullopt;
  const bool usability = reader.bit() != 0;
  if (usability) readUsability(reader, info);
  const bool told = usability && tellsReordering(reader);
  // Pictures that wait for later ones are references, and the later ones refer to a picture before them too.
  if (!told && profile != kBaselineProfile && orderType != 2 && references != 0)
    info.reorder = static_cast<int32_t>(references - 1);
  return info;
}

}  // namespace

std::optional<SequenceInfo> readAvcHeader(const uint8_t* bytes, size_t size) {
  std::optional<SequenceInfo> info;
  bool pictureSet = false;
  for (size_t at = findStartCode(bytes, size, 0); at < size;) {
    const size_t next = findStartCode(bytes, size, at + 3);
    const size_t begin = at + 3;
    if (begin < next) {
      const uint32_t type = bytes[begin] & 31;
      if (type == kNalSps) info = readSps(payloadOf(bytes + begin, next - begin));
      if (type == kNalPps) pictureSet = next - begin > 1;
    }
    at = next;
  }
  return pictureSet ? info : std::nullopt;
}

}  // namespace qvs::mc
