#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "frames/geometry/ChromaOrder.h"
#include "frames/geometry/ColorspaceInfo.h"
#include "frames/geometry/FormatTable.h"
#include "frames/geometry/FourCC.h"
#include "frames/geometry/Frame.h"
#include "frames/geometry/HostLayout.h"
#include "frames/geometry/UccFormat.h"

namespace qvs {
namespace {

TEST(FormatTable, NamesEachFormatOnceAndUnderOneCode) {
  std::set<uint32_t> codes;
  std::set<std::string> names;
  for (size_t i = 0; i < FormatTable::size(); ++i) {
    const FormatRow& row = FormatTable::begin()[i];
    EXPECT_TRUE(codes.insert(row.info.fourcc).second) << row.info.name;
    EXPECT_TRUE(names.insert(row.info.name).second) << row.info.name;
    EXPECT_EQ(FormatTable::find(row.info.fourcc), &row) << row.info.name;
  }
  EXPECT_EQ(codes.size(), 147u);
  EXPECT_STREQ(FormatTable::find(kFourCCBGRA)->info.alternative_name, "ARGB32");
  EXPECT_STREQ(FormatTable::find(fourcc("W216"))->info.name, "W216");
  EXPECT_EQ(get_chroma_format(fourcc("zzzz")), -1);
  EXPECT_EQ(get_pixels_per_macropixel(fourcc("zzzz")), 0u);
}

TEST(ColorspaceInfo, RefusesSizesThatBreakTheSubsampling) {
  const struct {
    uint32_t width, height, fourcc, refused;
  } rows[] = {{1280, 721, kFourCCYV12, 1},    {1280, 721, fourcc("YUY2"), 0}, {1281, 720, fourcc("YUY2"), 1},
              {1282, 720, kFourCCv210, 0},    {1281, 720, kFourCCv210, 1},    {8, 6, fourcc("YUV9"), 1},
              {0, 2, kFourCCBGRA, 1},         {2, 0, kFourCCBGRA, 1},         {1, 1, kFourCCBGRA, 0},
              {1280, 721, fourcc("410P"), 1}, {16, 16, fourcc("none"), 1}};
  for (const auto& row : rows) {
    EXPECT_EQ(check_frame_colorspace_param(row.width, row.height, row.fourcc), row.refused)
        << row.width << "x" << row.height;
  }
}

/// Planes follow each other without overlap and fill the frame; no reading beyond it by offsets of the last
/// pixel.
TEST(ColorspaceInfo, LaysPlanesOneAfterTheOther) {
  for (size_t i = 0; i < FormatTable::size(); ++i) {
    const FormatRow& row = FormatTable::begin()[i];
    SCOPED_TRACE(row.info.name);
    mc_frame_colorspace_info_t info;
    ASSERT_EQ(get_frame_colorspace_info(&info, 96, 32, row.info.fourcc), 0u);
    uint64_t end = 0;
    for (uint32_t plane = 0; plane < info.planes; ++plane) {
      EXPECT_GE(static_cast<uint64_t>(info.plane_offset[plane]), end);
      end = static_cast<uint64_t>(info.plane_offset[plane]) +
            static_cast<uint64_t>(info.stride[plane]) * info.plane_height[plane];
    }
    EXPECT_EQ(end, info.frame_size);
    const uint32_t lastX = 96 - (row.info.fourcc == kFourCCv210 ? 48 : row.info.pixels_per_macropixel);
    int32_t offsets[4];
    ASSERT_EQ(get_plane_offsets_in_bytes(offsets, lastX, 28, row.info.fourcc, info.stride), 0u);
    for (uint32_t plane = 0; plane < info.planes; ++plane) {
      EXPECT_LT(offsets[plane], info.stride[plane] * static_cast<int32_t>(info.plane_height[plane]));
    }
  }
}

TEST(ColorspaceInfo, TakesRequestedStridesAndMeasuresNegativeOnes) {
  mc_frame_colorspace_info_t info;
  const int32_t wide[4] = {2048, 0, 0, 0};
  ASSERT_EQ(get_frame_colorspace_info(&info, 1280, 720, kFourCCYV12, wide), 0u);
  EXPECT_EQ(info.stride[1], 1024);
  EXPECT_EQ(info.plane_offset[2], 2048 * 720 + 1024 * 360);
  EXPECT_EQ(info.frame_size, 2048u * 720 * 3 / 2);
  const int32_t bottomUp[4] = {-5120, 0, 0, 0};
  ASSERT_EQ(get_frame_colorspace_info(&info, 1280, 720, kFourCCBGRA, bottomUp), 0u);
  EXPECT_EQ(info.frame_size, 5120u * 720);
  ASSERT_EQ(get_frame_colorspace_info(&info, 1920, 1080, kFourCCv210), 0u);
  EXPECT_EQ(info.stride[0], 5120);
}

TEST(ColorspaceInfo, LeavesTheResultAloneWhenThePictureIsTooBig) {
  mc_frame_colorspace_info_t info;
  std::memset(&info, 0x5A, sizeof info);
  const mc_frame_colorspace_info_t before = info;
  EXPECT_EQ(get_frame_colorspace_info(&info, 0x40000000, 2, kFourCCBGRA), 1u);
  EXPECT_EQ(get_frame_colorspace_info(&info, 65536, 65536, kFourCCYV12), 1u);
  EXPECT_EQ(get_frame_colorspace_info(&info, 0xFFFFFFFE, 0xFFFFFFFE, kFourCCYV12), 1u);
  EXPECT_EQ(std::memcmp(&info, &before, sizeof info), 0);
}

TEST(ColorspaceInfo, CropsInPlace) {
  mc_frame_colorspace_info_t info;
  get_frame_colorspace_info(&info, 1280, 720, kFourCCNV12);
  ASSERT_EQ(crop_frame_colorspace_info(&info, 0, 2, 0, 0), 0u);
  EXPECT_EQ(info.plane_offset[0], 2 * 1280);
  EXPECT_EQ(info.plane_offset[1], 1280 * 720 + 1280);
  EXPECT_EQ(info.height, 718u);
  EXPECT_EQ(info.plane_height[1], 359u);
  EXPECT_EQ(info.frame_size, 1280u * 720 * 3 / 2);

  get_frame_colorspace_info(&info, 1920, 1080, kFourCCv210);
  EXPECT_EQ(crop_frame_colorspace_info(&info, 16, 0, 0, 0), 1u);
  ASSERT_EQ(crop_frame_colorspace_info(&info, 48, 0, 0, 0), 0u);
  EXPECT_EQ(info.plane_offset[0], 128);

  get_frame_colorspace_info(&info, 640, 480, kFourCCYV12);
  const mc_frame_colorspace_info_t before = info;
  EXPECT_EQ(crop_frame_colorspace_info(&info, 1, 0, 1, 0), 1u);
  EXPECT_EQ(crop_frame_colorspace_info(&info, 320, 0, 320, 0), 1u);
  EXPECT_EQ(crop_frame_colorspace_info(&info, 0xFFFFFFFE, 0, 4, 0), 1u) << "the sum has more than 32 bits";
  EXPECT_EQ(std::memcmp(&info, &before, sizeof info), 0);
}

TEST(UccFormat, KnowsTheConvertersNames) {
  uint32_t format = 7;
  EXPECT_EQ(fourCCtoUCCFormat(kFourCCNV12, &format), 0u);
  EXPECT_EQ(format, 7u);
  for (uint32_t code : {kFourCCYV12, kFourCCI420, kFourCCIYUV}) {
    EXPECT_EQ(fourCCtoUCCFormat(code, &format), 1u);
    EXPECT_EQ(format, 28u);
  }
  ucc_frame_t frame{};
  EXPECT_EQ(initUCCFrame(&frame, 104, 16, 16, nullptr), 0u);
  EXPECT_EQ(initUCCFrame(&frame, 39, 16, 16, nullptr), 0u);
}

TEST(UccFormat, TightLayoutMatchesTheColorspaceInfo) {
  std::vector<uint8_t> memory(1);
  for (const char* name : {"YV12", "YV16", "BGRA", "BGR3", "YUY2", "P010", "P210", "VUYA", "Y210", "Y41P"}) {
    SCOPED_TRACE(name);
    char letters[5] = {};
    std::memcpy(letters, name, 4);
    const uint32_t code = fourcc(letters);
    mc_frame_colorspace_info_t info;
    uint32_t format = 0;
    ucc_frame_t frame{};
    ASSERT_EQ(get_frame_colorspace_info(&info, 64, 32, code), 0u);
    ASSERT_EQ(fourCCtoUCCFormat(code, &format), 1u);
    ASSERT_EQ(initUCCFrame(&frame, format, 64, 32, memory.data()), 1u);
    for (uint32_t plane = 0; plane < info.planes; ++plane) {
      EXPECT_EQ(frame.stride[plane], info.stride[plane]);
      EXPECT_EQ(frame.plane[plane] - memory.data(), info.plane_offset[plane]);
    }
  }
}

TEST(UccFormat, NamesPlanesByTheLabel) {
  uint8_t y, first, second;
  frame_tt frame{};
  frame.width = frame.height = 2;
  frame.plane[0] = &y;
  frame.plane[1] = &first;
  frame.plane[2] = &second;
  for (uint32_t code : {kFourCCYV12, kFourCCYV16, kFourCCI420, kFourCCIYUV}) {
    frame.four_cc = code;
    ucc_frame_t view;
    ASSERT_EQ(uccViewOfFrame(&view, frame), 1u);
    const bool vFirst = code == kFourCCYV12 || code == kFourCCYV16;
    EXPECT_EQ(view.plane[1], vFirst ? &second : &first);
    EXPECT_EQ(view.plane[2], vFirst ? &first : &second);
    EXPECT_EQ(view.colorimetry.signal_range, static_cast<uint32_t>(PIC_SIGNAL_RANGE_FULL));
  }
}

TEST(HostLayout, PlanesLieInsideTheStorageWithoutOverlap) {
  for (uint32_t code :
       {kFourCCYV12, kFourCCI420, kFourCCIYUV, kFourCCYV16, kFourCCI422, kFourCCNV12, kFourCCNV21,
        kFourCCBGRA, kFourCCBGR3, kFourCCBGR4, kFourCCv210, fourcc("YUY2"), fourcc("none")}) {
    for (uint32_t width : {1u, 2u, 3u, 47u, 176u, 1281u}) {
      for (uint32_t height : {1u, 2u, 3u, 17u, 144u}) {
        SCOPED_TRACE(testing::Message() << code << " " << width << "x" << height);
        const HostLayout layout = hostLayout(width, height, code);
        std::vector<uint8_t> memory(layout.storageSize);
        frame_tt frame{};
        layOutPlanes(&frame, width, height, code, layout, memory.data());
        const bool pairs = code == kFourCCNV12 || code == kFourCCNV21;
        const uint64_t halfRows = code == kFourCCYV16 || code == kFourCCI422 ? height : (height + 1) / 2;
        const uint8_t* end = memory.data();
        for (int plane = 0; plane < 3 && frame.plane[plane] != nullptr; ++plane) {
          const uint64_t rows = plane == 0 ? height : halfRows;
          const int64_t rowBytes = plane == 0 ? std::abs(frame.stride[0]) : (width + 1) / 2 * (pairs ? 2 : 1);
          const uint8_t* first = frame.plane[plane];
          const uint8_t* last = first + frame.stride[plane] * static_cast<int64_t>(rows - 1);
          EXPECT_GE(std::min(first, last), end);
          end = std::max(first, last) + rowBytes;
        }
        EXPECT_LE(end, memory.data() + memory.size());
      }
    }
  }
}

TEST(HostLayout, SizesAreTheFormatsOwn) {
  EXPECT_EQ(hostLayout(1280, 720, kFourCCYV12).size, 1280u * 720 * 12 / 8);
  EXPECT_EQ(hostLayout(1280, 720, kFourCCYV16).size, 0u);
  EXPECT_EQ(hostLayout(1280, 720, kFourCCv210).stride, 3456);
  EXPECT_EQ(hostLayout(1280, 720, kFourCCBGR3).stride, -3 * 1280);
  EXPECT_EQ(hostLayout(1280, 720, kFourCCBGR3).startOffset, 719 * 3 * 1280);
}

TEST(Frame, PointsIntoItsOwnStore) {
  mc_frame_colorspace_info_t info;
  get_frame_colorspace_info(&info, 64, 32, kFourCCI420);
  Frame frame(info);
  EXPECT_EQ(frame.buffer.size(), info.frame_size);
  EXPECT_EQ(frame.frame.plane[0], frame.buffer.data());
  EXPECT_EQ(frame.frame.plane[1], frame.buffer.data() + 64 * 32);
}

}  // namespace
}  // namespace qvs
