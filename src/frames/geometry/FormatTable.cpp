// The table of pixel formats: plane shape, depth, packing, by fourCC.
#include "frames/geometry/FormatTable.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "frames/geometry/FourCC.h"

namespace qvs {
namespace {

enum : uint32_t { kYUV = 1, kRGB = 2, kXYZ = 3 };
enum : int32_t { kLuma = 0, k420 = 1, k422 = 2, k444 = 3, k211 = 4, k410 = 5, k411 = 6, kYuv9 = 7 };

using enum PlaneFamily;

constexpr FormatRow row(std::string_view name, uint32_t code, uint32_t type, uint32_t depth, int32_t chroma,
                        uint32_t alpha, uint32_t bits, uint32_t macropixel, PlaneFamily family,
                        std::string_view alternative = {}) {
  FormatRow made{{code, type, depth, chroma, alpha, bits, macropixel, {}, {}},
                 family,
                 static_cast<uint8_t>(depth > 8 ? 2 : 1)};
  std::copy(name.begin(), name.end(), made.info.name);
  std::copy(alternative.begin(), alternative.end(), made.info.alternative_name);
  return made;
}

/// A format whose name is its code.
constexpr FormatRow row(const char (&name)[5], uint32_t type, uint32_t depth, int32_t chroma, uint32_t alpha,
                        uint32_t bits, uint32_t macropixel, PlaneFamily family,
                        std::string_view alternative = {}) {
  return row(name, fourcc(name), type, depth, chroma, alpha, bits, macropixel, family, alternative);
}

/// Codes of families that differ by depth only: three letters and the depth in the high byte.
constexpr uint32_t depthCode(const char (&letters)[4], uint32_t depth) {
  return fourcc({letters[0], letters[1], letters[2], static_cast<char>(depth), '\0'});
}

constexpr FormatRow kFormatsToP216[] = {
    row("AYUV", kYUV, 8, k444, 1, 32, 1, kPacked),
    row("VUYA", kYUV, 8, k444, 1, 32, 1, kPacked),
    row("YUY2", kYUV, 8, k422, 0, 16, 2, kPacked),
    row("YUYV", kYUV, 8, k422, 0, 16, 2, kPacked),
    row("UYVY", kYUV, 8, k422, 0, 16, 2, kPacked),
    row("YVYU", kYUV, 8, k422, 0, 16, 2, kPacked),
    row("VYUY", kYUV, 8, k422, 0, 16, 2, kPacked),
    row("Y41P", kYUV, 8, k411, 0, 12, 8, kPacked),
    row("Y411", kYUV, 8, k411, 0, 12, 4, kPacked),
    row("Y211", kYUV, 8, k211, 0, 8, 4, kPacked),
    row("CLJR", kYUV, 8, k411, 0, 8, 4, kPacked),
    row("YVU9", kYUV, 8, kYuv9, 0, 9, 4, kPlanar410),
    row("YUV9", kYUV, 8, kYuv9, 0, 9, 4, kPlanar410),
    row("YV12", kYUV, 8, k420, 0, 12, 2, kPlanar420),
    row("IYUV", kYUV, 8, k420, 0, 12, 2, kPlanar420),
    row("I420", kYUV, 8, k420, 0, 12, 2, kPlanar420),
    row("YV16", kYUV, 8, k422, 0, 16, 2, kPlanar422),
    row("I422", kYUV, 8, k422, 0, 16, 2, kPlanar422),
    row("YV24", kYUV, 8, k444, 0, 24, 1, kPlanar444),
    row("NV24", kYUV, 8, k444, 0, 24, 1, kTwoPlane444),
    row("I444", kYUV, 8, k444, 0, 24, 1, kPlanar444),
    row("BGRA32F", depthCode("BGF", 32), kRGB, 32, k444, 1, 128, 1, kPacked),
    row("VUYA32F", depthCode("VUF", 32), kYUV, 32, k444, 1, 128, 1, kPacked),
    row("NV12", kYUV, 8, k420, 0, 12, 2, kTwoPlane420),
    row("NV21", kYUV, 8, k420, 0, 12, 2, kTwoPlane420),
    row("IMC1", kYUV, 8, k420, 0, 12, 2, kImc),
    row("IMC2", kYUV, 8, k420, 0, 12, 2, kImc),
    row("IMC3", kYUV, 8, k420, 0, 12, 2, kImc),
    row("IMC4", kYUV, 8, k420, 0, 12, 2, kImc),
    row("v210", kYUV, 10, k422, 0, 20, 6, kPacked),
    row("v212", kYUV, 12, k422, 0, 24, 2, kPacked),
    row("v216", kYUV, 16, k422, 0, 32, 2, kPacked),
    row("Y210", kYUV, 10, k422, 0, 32, 2, kPacked),
    row("Y212", kYUV, 12, k422, 0, 32, 2, kPacked),
    row("Y216", kYUV, 16, k422, 0, 32, 2, kPacked),
    row("Y410", kYUV, 10, k444, 1, 32, 1, kPacked),
    row("Y416", kYUV, 16, k444, 1, 64, 1, kPacked),
    row("410Y", kYUV, 10, k444, 0, 32, 1, kPacked),
    row("412Y", kYUV, 12, k444, 0, 48, 1, kPacked),
    row("010P", kYUV, 10, k420, 0, 24, 2, kTwoPlane420),
    row("P010", kYUV, 10, k420, 0, 24, 2, kTwoPlane420),
    row("P016", kYUV, 16, k420, 0, 24, 2, kTwoPlane420),
    row("210P", kYUV, 10, k422, 0, 32, 2, kTwoPlane422),
    row("P210", kYUV, 10, k422, 0, 32, 2, kTwoPlane422),
    row("P216", kYUV, 16, k422, 0, 32, 2, kTwoPlane422),
};

constexpr FormatRow kFormatsFrom410P[] = {
    row("410P", kYUV, 8, k410, 0, 10, 4, kPlanar410),
    row("411P", kYUV, 8, k411, 0, 12, 4, kPlanar411),
    row("211P", kYUV, 8, k211, 0, 8, 4, kPlanar211),
    row("PLYUVA8", depthCode("PYA", 8), kYUV, 8, k444, 1, 32, 1, kPlanarAlpha),
    row("PLYUVA10", depthCode("PYA", 10), kYUV, 10, k444, 1, 64, 1, kPlanarAlpha),
    row("PLYUVA16", depthCode("PYA", 16), kYUV, 16, k444, 1, 64, 1, kPlanarAlpha),
    row("PLAYUV16", depthCode("PAY", 16), kYUV, 16, k444, 1, 64, 1, kPlanarAlpha),
    row("ARGB", kRGB, 8, k444, 1, 32, 1, kPacked),
    row("BGRA", kRGB, 8, k444, 1, 32, 1, kPacked, "ARGB32"),
    row("RGBA", kRGB, 8, k444, 1, 32, 1, kPacked),
    row("BGR4", kRGB, 8, k444, 0, 32, 1, kPacked, "RGB32"),
    row("BGR3", kRGB, 8, k444, 0, 24, 1, kPacked, "RGB24"),
    row("R565", kRGB, 5, k444, 0, 16, 1, kPacked),
    row("R555", kRGB, 5, k444, 0, 16, 1, kPacked),
    row("RGB3", kRGB, 8, k444, 0, 24, 1, kPacked),
    row("410R", kRGB, 10, k444, 0, 32, 1, kPacked),
    row("412R", kRGB, 12, k444, 0, 48, 1, kPacked),
    row("b64a", kRGB, 16, k444, 1, 64, 1, kPacked),
    row("A64L", kRGB, 16, k444, 1, 64, 1, kPacked),
    row("R24P", kRGB, 8, k444, 0, 24, 1, kPlanar444),
    row("R27P", kRGB, 9, k444, 0, 48, 1, kPlanar444),
    row("R30P", kRGB, 10, k444, 0, 48, 1, kPlanar444),
    row("R33P", kRGB, 11, k444, 0, 48, 1, kPlanar444),
    row("R36P", kRGB, 12, k444, 0, 48, 1, kPlanar444),
    row("R39P", kRGB, 13, k444, 0, 48, 1, kPlanar444),
    row("R42P", kRGB, 14, k444, 0, 48, 1, kPlanar444),
    row("R45P", kRGB, 15, k444, 0, 48, 1, kPlanar444),
    row("R48P", kRGB, 16, k444, 0, 48, 1, kPlanar444),
    row("AR10", kRGB, 10, k444, 1, 32, 1, kPacked),
    row("AB10", kRGB, 10, k444, 1, 32, 1, kPacked),
    row("DPX10", depthCode("DPX", 10), kRGB, 10, k444, 0, 32, 1, kPacked),
    row("PLRGBA8", depthCode("PRA", 8), kRGB, 8, k444, 1, 32, 1, kPlanarAlpha),
    row("PLRGBA10", depthCode("PRA", 10), kRGB, 10, k444, 1, 64, 1, kPlanarAlpha),
    row("PLRGBA16", depthCode("PRA", 16), kRGB, 16, k444, 1, 64, 1, kPlanarAlpha),
    row("XYZ8", depthCode("XYZ", 8), kXYZ, 8, k444, 0, 24, 1, kPacked),
    row("XYZ12", kFourCCXYZ12, kXYZ, 12, k444, 0, 48, 1, kPacked),
};

/// Formats of which there is one for each depth: a letter in front, then the depth as digits.
struct DepthSeries {
  char name[4];  ///< letters before the two digits
  int32_t chroma;
  uint32_t bits;
  uint32_t macropixel;
  PlaneFamily family;
};
constexpr DepthSeries kContainerSeries[] = {
    {"W0", k420, 24, 2, kPlanar420}, {"W2", k422, 32, 2, kPlanar422}, {"W4", k444, 48, 1, kPlanar444},
    {"X0", k420, 24, 2, kPlanar420}, {"X2", k422, 32, 2, kPlanar422}, {"X4", k444, 48, 1, kPlanar444},
};
constexpr uint32_t kDepthFirst = 9;
constexpr uint32_t kDepthLast = 16;
constexpr size_t kDepths = kDepthLast - kDepthFirst + 1;

constexpr char tens(uint32_t depth) {
  return static_cast<char>('0' + depth / 10);
}
constexpr char units(uint32_t depth) {
  return static_cast<char>('0' + depth % 10);
}

constexpr size_t kFormats = std::size(kFormatsToP216) + std::size(kContainerSeries) * kDepths + 1 + kDepths +
                            std::size(kFormatsFrom410P) + kDepths + 1;
static_assert(kFormats == 147);

constexpr std::array<FormatRow, kFormats> makeTable() {
  std::array<FormatRow, kFormats> table{};
  auto next = std::copy(std::begin(kFormatsToP216), std::end(kFormatsToP216), table.begin());
  for (const DepthSeries& series : kContainerSeries) {
    for (uint32_t depth = kDepthFirst; depth <= kDepthLast; ++depth) {
      const char name[5] = {series.name[0], series.name[1], tens(depth), units(depth), '\0'};
      *next++ = row(name, kYUV, depth, series.chroma, 0, series.bits, series.macropixel, series.family);
    }
  }
  *next++ = row("GRAY", kYUV, 8, kLuma, 0, 8, 1, kPacked);
  for (uint32_t depth = kDepthFirst; depth <= kDepthLast; ++depth) {
    const char code[5] = {'Y', tens(depth), units(depth), ' ', '\0'};
    *next++ = row({code, 3}, fourcc(code), kYUV, depth, kLuma, 0, 16, 1, kPacked);
  }
  next = std::copy(std::begin(kFormatsFrom410P), std::end(kFormatsFrom410P), next);
  for (uint32_t depth = 8; depth <= kDepthLast; ++depth) {
    const char name[] = {'P', 'L', 'X', 'Y', 'Z', depth < 10 ? units(depth) : tens(depth), units(depth)};
    *next++ = row({name, depth < 10 ? 6u : 7u}, depthCode("PXZ", depth), kXYZ, depth, k444, 0,
                  depth > 8 ? 48 : 24, 1, kPlanar444);
  }
  return table;
}

constexpr std::array<FormatRow, kFormats> kTable = makeTable();

}  // namespace

const FormatRow* FormatTable::begin() {
  return kTable.data();
}
size_t FormatTable::size() {
  return kTable.size();
}

const FormatRow* FormatTable::find(uint32_t code) {
  const auto found = std::find_if(kTable.begin(), kTable.end(), [code](const FormatRow& candidate) {
    return candidate.info.fourcc == code;
  });
  return found != kTable.end() ? &*found : nullptr;
}

uint64_t packedRowBytes(const FormatRow& format, uint32_t width) {
  if (format.info.fourcc == kFourCCv210) return (uint64_t{width} + 47) / 48 * 128;
  return uint64_t{width} * format.info.bits_per_pixel / 8;
}

}  // namespace qvs
