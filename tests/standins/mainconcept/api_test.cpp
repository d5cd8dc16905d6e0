#include <gtest/gtest.h>

#include "TestPicture.h"

namespace qvs::test {
namespace {

TEST(ConverterApi, RefusesBadArgumentsAndLeavesTheTargetAlone) {
  void* instance = UCC_Create(0);
  TestPicture source(testFormat(UCC_FORMAT_I420), 32, 16);
  TestPicture target(testFormat(UCC_FORMAT_BGRA), 32, 16);
  source.randomize(1);
  target.randomize(2);
  const std::vector<uint8_t> before = target.bytes();
  EXPECT_EQ(UCC_Transform(nullptr, &target.frame(), &source.frame(), nullptr), 1u);
  EXPECT_EQ(UCC_Transform(instance, nullptr, &source.frame(), nullptr), 1u);
  EXPECT_EQ(UCC_Transform(instance, &target.frame(), nullptr, nullptr), 1u);

  const auto refused = [&](auto change) {
    for (const bool atSource : {false, true}) {
      ucc_frame_t to = target.frame(), from = source.frame();
      change(atSource ? from : to);
      EXPECT_EQ(UCC_Transform(instance, &to, &from, nullptr), 1u);
    }
  };
  refused([](ucc_frame_t& frame) { frame.pixel_format = 0; });
  refused([](ucc_frame_t& frame) { frame.pixel_format = 105; });
  refused([](ucc_frame_t& frame) { frame.width = 0; });
  refused([](ucc_frame_t& frame) { frame.width = 16385; });
  refused([](ucc_frame_t& frame) { frame.height = 0x80000000u; });
  refused([](ucc_frame_t& frame) { frame.plane[0] = nullptr; });
  refused([](ucc_frame_t& frame) { frame.stride[0] = 31; });
  refused([](ucc_frame_t& frame) { frame.stride[0] = INT32_MIN, frame.height = 0; });
  ucc_frame_t noChroma = source.frame();
  noChroma.plane[2] = nullptr;
  EXPECT_EQ(UCC_Transform(instance, &target.frame(), &noChroma, nullptr), 1u);

  ucc_overlay_config_t overlay{2, &source.frame(), 0, 0, 32, 16, 0};
  ucc_config_t config{};
  config.overlay = &overlay;
  overlay.type = 1;
  EXPECT_EQ(UCC_Transform(instance, &target.frame(), &source.frame(), &config), 1u);
  overlay.type = 2;
  overlay.frame = nullptr;
  EXPECT_EQ(UCC_Transform(instance, &target.frame(), &source.frame(), &config), 1u);
  overlay.frame = &source.frame();
  overlay.width = 0;
  EXPECT_EQ(UCC_Transform(instance, &target.frame(), &source.frame(), &config), 1u);
  config = {};
  config.orientation = 8;
  EXPECT_EQ(UCC_Transform(instance, &target.frame(), &source.frame(), &config), 1u);
  EXPECT_EQ(target.bytes(), before);
  EXPECT_TRUE(target.paddingIntact());

  EXPECT_EQ(UCC_Create(1), nullptr);
  UCC_Destroy(nullptr);
  UCC_Destroy(instance);
}

mc_frame_colorspace_info_t infoOf(const char* fourcc, uint32_t width, uint32_t height) {
  mc_frame_colorspace_info_t info{};
  info.width = width;
  info.height = height;
  std::copy_n(fourcc, 4, reinterpret_cast<char*>(&info.fourcc));
  return info;
}

TEST(ConverterApi, InitFrameBufferNamesPlanesInYuvOrder) {
  uint8_t memory[64];
  for (const auto& [fourcc, swapped] : {std::pair{"YV12", true}, {"I420", false}, {"IYUV", false}}) {
    mc_frame_colorspace_info_t info = infoOf(fourcc, 4, 4);
    info.planes = 3;
    info.stride[0] = 4;
    info.stride[1] = info.stride[2] = 2;
    info.plane_offset[1] = 16;
    info.plane_offset[2] = 20;
    info.frame_size = 24;
    ucc_frame_t frame{};
    frame.colorimetry.matrix_coefficients = 6;
    ASSERT_EQ(UCC_InitFrameBuffer(&frame, memory, &info), 0u);
    EXPECT_EQ(frame.pixel_format, uint32_t{UCC_FORMAT_I420});
    EXPECT_EQ(frame.plane[0], memory);
    EXPECT_EQ(frame.plane[swapped ? 2 : 1], memory + 16) << fourcc;
    EXPECT_EQ(frame.plane[swapped ? 1 : 2], memory + 20) << fourcc;
    EXPECT_EQ(frame.width, 4u);
    EXPECT_EQ(frame.colorimetry.matrix_coefficients, 6u);
  }
}

TEST(ConverterApi, InitFrameBufferKeepsBottomUpRowsInsideTheBlock) {
  uint8_t memory[48];
  mc_frame_colorspace_info_t info = infoOf("BGR3", 4, 4);
  info.planes = 1;
  info.stride[0] = -12;
  info.frame_size = 48;
  ucc_frame_t frame{};
  ASSERT_EQ(UCC_InitFrameBuffer(&frame, memory, &info), 0u);
  EXPECT_EQ(frame.plane[0], memory + 36);
  EXPECT_EQ(frame.stride[0], -12);

  mc_frame_colorspace_info_t unknown = infoOf("XYZ8", 4, 4);
  EXPECT_EQ(UCC_InitFrameBuffer(&frame, memory, &unknown), 1u);
  EXPECT_EQ(UCC_InitFrameBuffer(&frame, nullptr, &info), 1u);
  EXPECT_EQ(UCC_InitFrameBuffer(nullptr, memory, &info), 1u);
  EXPECT_EQ(UCC_InitFrameBuffer(&frame, memory, nullptr), 1u);
}

}  // namespace
}  // namespace qvs::test
