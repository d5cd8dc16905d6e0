// The table of formats.
#include "ucc/PixelFormat.h"

#include "ucc/RowCodecs.h"

namespace qvs::ucc {
namespace {

// The plane's group is `GroupSamples` samples in `GroupBytes` bytes.
template <class Codec>
constexpr PlaneCodec whole(uint8_t groupSamples, uint8_t groupBytes, bool wholeGroups = false) {
  return {Codec::unpack, Codec::pack, false, groupSamples, groupBytes, wholeGroups};
}

// One chroma sample, or a pair of them, in `groupBytes`.
template <class Codec>
constexpr PlaneCodec chroma(uint8_t groupBytes) {
  return {Codec::unpack, Codec::pack, true, 1, groupBytes, false};
}

constexpr PlaneCodec kNone{};

constexpr PlaneCodec kY8 = whole<PlainRow<uint8_t, 0>>(1, 1);
constexpr PlaneCodec kU8 = chroma<PlainRow<uint8_t, 1>>(1);
constexpr PlaneCodec kV8 = chroma<PlainRow<uint8_t, 2>>(1);
constexpr PlaneCodec kUv8 = chroma<PairRow<uint8_t, 1, 2>>(2);
constexpr PlaneCodec kVu8 = chroma<PairRow<uint8_t, 2, 1>>(2);
constexpr PlaneCodec kY10 = whole<PlainRow<uint16_t, 0, 6>>(1, 2);
constexpr PlaneCodec kUv10 = chroma<PairRow<uint16_t, 1, 2, 6>>(4);
constexpr PlaneCodec kY16 = whole<PlainRow<uint16_t, 0>>(1, 2);
constexpr PlaneCodec kUv16 = chroma<PairRow<uint16_t, 1, 2>>(4);

constexpr WorkingForm kYuv420{Family::kYuv, 8, 1, 1};
constexpr WorkingForm kYuv422{Family::kYuv, 8, 1, 0};
constexpr WorkingForm kYuv444{Family::kYuv, 8, 0, 0};
constexpr WorkingForm kYuv411{Family::kYuv, 8, 2, 0};
constexpr WorkingForm kRgb{Family::kRgb, 8, 0, 0};
constexpr WorkingForm kRgb10{Family::kRgb, 10, 0, 0};

constexpr WorkingForm yuv(uint8_t depth, uint8_t shiftX, uint8_t shiftY) {
  return {Family::kYuv, depth, shiftX, shiftY};
}

constexpr PixelFormat kFormats[] = {
    {UCC_FORMAT_I420, kYuv420, false, 3, {kY8, kU8, kV8}},
    {UCC_FORMAT_I422, kYuv422, false, 3, {kY8, kU8, kV8}},
    {UCC_FORMAT_NV12, kYuv420, false, 2, {kY8, kUv8, kNone}},
    {UCC_FORMAT_NV21, kYuv420, false, 2, {kY8, kVu8, kNone}},
    {UCC_FORMAT_BGRA, kRgb, true, 1, {whole<PixelRow<4, 2, 1, 0, 3>>(1, 4)}},
    {UCC_FORMAT_ARGB, kRgb, true, 1, {whole<PixelRow<4, 1, 2, 3, 0>>(1, 4)}},
    {UCC_FORMAT_BGR4, kRgb, false, 1, {whole<PixelRow<4, 2, 1, 0>>(1, 4)}},
    {UCC_FORMAT_BGR3, kRgb, false, 1, {whole<PixelRow<3, 2, 1, 0>>(1, 3)}},
    {UCC_FORMAT_R555, kRgb, false, 1, {whole<Rgb16Row<5>>(1, 2)}},
    {UCC_FORMAT_R565, kRgb, false, 1, {whole<Rgb16Row<6>>(1, 2)}},
    {UCC_FORMAT_R210, kRgb10, false, 1, {whole<R210Row>(1, 4)}},
    {UCC_FORMAT_AYUV, kYuv444, true, 1, {whole<PixelRow<4, 1, 2, 3, 0>>(1, 4)}},
    {UCC_FORMAT_VUYA, kYuv444, true, 1, {whole<PixelRow<4, 2, 1, 0, 3>>(1, 4)}},
    {UCC_FORMAT_YUY2, kYuv422, false, 1, {whole<Packed422Row<uint8_t, 0, 1, 2, 3>>(2, 4)}},
    {UCC_FORMAT_UYVY, kYuv422, false, 1, {whole<Packed422Row<uint8_t, 1, 0, 3, 2>>(2, 4)}},
    {UCC_FORMAT_Y210, yuv(10, 1, 0), false, 1, {whole<Packed422Row<uint16_t, 0, 1, 2, 3, 6>>(2, 8)}},
    {UCC_FORMAT_Y216, yuv(16, 1, 0), false, 1, {whole<Packed422Row<uint16_t, 0, 1, 2, 3>>(2, 8)}},
    {UCC_FORMAT_V210, yuv(10, 1, 0), false, 1, {whole<V210Row>(6, 16, true)}},
    {UCC_FORMAT_Y41P, kYuv411, false, 1, {whole<Y41pRow>(8, 12)}},
    {UCC_FORMAT_P010, yuv(10, 1, 1), false, 2, {kY10, kUv10, kNone}},
    {UCC_FORMAT_P016, yuv(16, 1, 1), false, 2, {kY16, kUv16, kNone}},
    {UCC_FORMAT_P210, yuv(10, 1, 0), false, 2, {kY10, kUv10, kNone}},
    {UCC_FORMAT_P216, yuv(16, 1, 0), false, 2, {kY16, kUv16, kNone}},
};

// The label decides where V lies; after that the formats are one.
constexpr FourCcRow kFourCcs[] = {
    {"YV12", UCC_FORMAT_I420, true},  {"I420", UCC_FORMAT_I420, false}, {"IYUV", UCC_FORMAT_I420, false},
    {"YV16", UCC_FORMAT_I422, true},  {"I422", UCC_FORMAT_I422, false}, {"NV12", UCC_FORMAT_NV12, false},
    {"NV21", UCC_FORMAT_NV21, false}, {"BGRA", UCC_FORMAT_BGRA, false}, {"ARGB", UCC_FORMAT_ARGB, false},
    {"BGR4", UCC_FORMAT_BGR4, false}, {"BGR3", UCC_FORMAT_BGR3, false}, {"R555", UCC_FORMAT_R555, false},
    {"R565", UCC_FORMAT_R565, false}, {"AYUV", UCC_FORMAT_AYUV, false}, {"VUYA", UCC_FORMAT_VUYA, false},
    {"YUY2", UCC_FORMAT_YUY2, false}, {"UYVY", UCC_FORMAT_UYVY, false}, {"Y210", UCC_FORMAT_Y210, false},
    {"Y216", UCC_FORMAT_Y216, false}, {"v210", UCC_FORMAT_V210, false}, {"Y41P", UCC_FORMAT_Y41P, false},
    {"P010", UCC_FORMAT_P010, false}, {"P016", UCC_FORMAT_P016, false}, {"P210", UCC_FORMAT_P210, false},
    {"P216", UCC_FORMAT_P216, false},
};

}  // namespace

uint32_t PixelFormat::rowBytes(int planeIndex, uint32_t width) const {
  const PlaneCodec& codec = plane[planeIndex];
  const uint32_t samples = samplesInRow(planeIndex, width);
  if (codec.wholeGroups) return (samples + codec.groupSamples - 1) / codec.groupSamples * codec.groupBytes;
  return samples * codec.groupBytes / codec.groupSamples;
}

const PixelFormat* findPixelFormat(uint32_t id) {
  for (const PixelFormat& format : kFormats) {
    if (format.id == id) return &format;
  }
  return nullptr;
}

const FourCcRow* findFourCc(uint32_t fourcc) {
  for (const FourCcRow& row : kFourCcs) {
    if (std::memcmp(row.name, &fourcc, sizeof fourcc) == 0) return &row;
  }
  return nullptr;
}

}  // namespace qvs::ucc
