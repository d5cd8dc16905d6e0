#include <gtest/gtest.h>
#include <vpx/vpx_image.h>

#include <cstdio>
#include <fstream>
#include <vector>

#include "frames/VideoFrameUtils.h"
#include "Pictures.h"

namespace qvs::test {
namespace {

TEST(VideoFrameBuffer, KeepsStorageOfTheSameSize) {
  VideoFrameBuffer frame;
  ASSERT_EQ(frame.allocBuffer(64, 32, kFourCCYV12), kSuccess);
  paint(frame, kRed);
  const uint8_t* before = frame.getBuffer();
  EXPECT_EQ(frame.allocBuffer(64, 32, kFourCCBGRA), kSuccess);
  EXPECT_EQ(frame.getBuffer(), before);
  EXPECT_EQ(frame.getFourCC(), kFourCCYV12);
  EXPECT_TRUE(isColor(frame, kRed));
  EXPECT_EQ(frame.allocBuffer(32, 64), kSuccess);
  EXPECT_EQ(frame.getFourCC(), kFourCCYV12);
  EXPECT_EQ(frame.getHeight(), 64u);
}

TEST(VideoFrameBuffer, HasALimitInPixels) {
  VideoFrameBuffer frame;
  EXPECT_EQ(frame.allocBuffer(8192, 4321, kFourCCYV12), kSuccess);
  EXPECT_EQ(frame.getBuffer(), nullptr);
  EXPECT_EQ(frame.allocBuffer(0xFFFFFFFF, 0xFFFFFFFF, kFourCCYV12), kSuccess);
  EXPECT_EQ(frame.getBuffer(), nullptr);
  EXPECT_EQ(frame.allocBuffer(8192, 4320, kFourCCYV12, 0), kSuccess);
  ASSERT_NE(frame.getBuffer(), nullptr);
  EXPECT_EQ(frame.allocBuffer(8192, 4321, kFourCCYV12), kSuccess);
  EXPECT_EQ(frame.getHeight(), 4320u) << "the old storage stays";
}

TEST(VideoFrameBuffer, BottomUpFormatsBeginAtTheirLastRow) {
  VideoFrameBuffer frame;
  ASSERT_EQ(frame.allocBuffer(16, 8, kFourCCBGR3), kSuccess);
  EXPECT_EQ(frame.getStride(0), -48);
  EXPECT_EQ(frame.getPlane(0), frame.getBuffer() + 7 * 48);
  EXPECT_EQ(frame.blackFill(), kSuccess);
}

TEST(VideoFrameBuffer, VpxViewNamesItsPlanesByTheLabel) {
  for (uint32_t code : {kFourCCYV12, kFourCCI420, kFourCCIYUV}) {
    VideoFrameBuffer frame;
    ASSERT_EQ(frame.allocBuffer(17, 9, code), kSuccess);
    paint(frame, kRed);
    const vpx_image_t& image = *frame.getVPXFrame();
    EXPECT_EQ(image.fmt, VPX_IMG_FMT_I420);
    EXPECT_EQ(image.d_w, 17u);
    // The encoder reads (17 + 1) / 2 samples of (9 + 1) / 2 rows.
    for (int row = 0; row < 5; ++row) {
      for (int x = 0; x < 9; ++x) {
        ASSERT_EQ(image.planes[VPX_PLANE_U][row * image.stride[VPX_PLANE_U] + x], kRed.u);
        ASSERT_EQ(image.planes[VPX_PLANE_V][row * image.stride[VPX_PLANE_V] + x], kRed.v);
      }
    }
  }
}

TEST(VideoFrameBuffer, BlackFillStaysInsideEveryFormatsStorage) {
  for (uint32_t code : kAllFormats) {
    for (uint32_t size : {1u, 2u, 7u, 48u, 175u}) {
      SCOPED_TRACE(nameOf(code) + " " + std::to_string(size));
      VideoFrameBuffer frame;
      const Guard guard(frame, size, size, code);
      frame.blackFill();
      EXPECT_TRUE(guard.isWhole());
      if (code == kFourCCYV12 || code == kFourCCNV12 || code == kFourCCYV16) {
        EXPECT_TRUE(isColor(frame, kBlack));
      }
    }
  }
  VideoFrameBuffer packed;
  packed.allocBuffer(16, 8, kFourCCBGRA, 0);
  ASSERT_EQ(packed.blackFill(), kSuccess);
  for (uint32_t i = 0; i < 16 * 8; ++i) {
    const uint8_t* pixel = packed.getPlane(0) + i * 4;
    ASSERT_EQ(pixel[0] | pixel[1] | pixel[2], 0);
  }
  VideoFrameBuffer empty;
  EXPECT_EQ(empty.blackFill(), kSuccess);
}

TEST(VideoFrameBuffer, ProvidersReplaceTheAllocation) {
  uint32_t freed = 0;
  {
    VideoFrameBuffer frame;
    EXPECT_EQ(frame.setAllocProvider(nullptr, nullptr), kFailure);
    bool serve = true;
    const FrameAllocProvider alloc = std::make_shared<FrameAllocProvider::element_type>(
        [&](VideoFrameBuffer& target, unsigned width, unsigned height, unsigned code, unsigned char clear,
            unsigned& result) {
          result = 77;
          if (!serve) return false;
          target.setStorage(makeFrameMemory(hostLayout(width, height, code).storageSize, clear != 0), width,
                            height, code);
          target.getFrame().done = [](void*) {};
          return true;
        });
    const FrameFreeProvider release =
        std::make_shared<FrameFreeProvider::element_type>([&](VideoFrameBuffer&) { return ++freed != 0; });
    ASSERT_EQ(frame.setAllocProvider(alloc, release), kSuccess);
    EXPECT_EQ(frame.allocBuffer(64, 32, kFourCCI420), 77u);
    EXPECT_EQ(frame.getWidth(), 64u);
    serve = false;
    EXPECT_EQ(frame.allocBuffer(32, 32, kFourCCI420), kSuccess);
    EXPECT_EQ(frame.getWidth(), 32u);
  }
  EXPECT_EQ(freed, 1u);
}

TEST(VideoFrameBuffer, ClaimsLocationsWithoutADevicePicture) {
  VideoFrameBufferSet set;
  set.setScaleImplementation(kScaleCUDA);
  set.initialize(1);
  VideoFrameBuffer& frame = *set.getVideoFrameBuffer(0);
  frame.allocBuffer(16, 16, kFourCCYV12);
  EXPECT_EQ(frame.initialize(), kFailure) << "a failed start leaves no context";
  frame.setLocations(VideoFrameBuffer::systemMem);
  EXPECT_EQ(frame.transferLocationFromDecode(), kSuccess);
  EXPECT_EQ(frame.getLocations(), 3u);
  set.setScaleImplementation(kScaleU30);
  frame.setLocations(0);
  frame.transferLocationFromDecode();
  EXPECT_EQ(frame.getLocations(), 0u);
}

/// A device picture that notes what is asked of it.
struct FakeDevicePicture : DevicePicture {
  explicit FakeDevicePicture(std::string& calls) : calls(calls) {}
  uint32_t allocate(PixelSize value) override {
    size = value;
    calls += 'a';
    return kSuccess;
  }
  bool hasStorage() const override { return size.width != 0; }
  PixelSize getSize() const override { return size; }
  uint32_t upload(const HostPicture& host) override {
    calls += host.size == 16 * 16 * 3 / 2 ? 'u' : '?';
    return kSuccess;
  }
  uint32_t download(const HostPicture& host) override {
    calls += host.stride == 16 ? 'd' : '?';
    return kSuccess;
  }
  void fillBlack() override { calls += 'b'; }
  uint32_t place(const DevicePicture& source, const Placement& placement, Completion) override {
    calls += &source != this && placement.target.width == 16 ? 'p' : '?';
    return kSuccess;
  }
  uint32_t drawOverlay(VideoOverlayFrame&, const OverlayPlacement&) override {
    calls += 'o';
    return kSuccess;
  }
  uint32_t finish() const override { return kSuccess; }
  PluginVideoFrameBufferCUDA pluginRecord() const override { return {nullptr, 0, size.width, 0, 0, 0}; }

  std::string& calls;
  PixelSize size;
};

/// The frame's half of a device's work; no real device takes part.
TEST(VideoFrameBuffer, AsksItsDevicePictureForWhatIsMissing) {
  VideoFrameBufferSet set;
  set.setScaleImplementation(kScaleCUDA);
  set.initialize(2);
  std::string calls, others;
  VideoFrameBuffer& frame = *set.getVideoFrameBuffer(0);
  VideoFrameBuffer& source = *set.getVideoFrameBuffer(1);
  frame.setDevicePicture(std::make_unique<FakeDevicePicture>(calls));
  source.setDevicePicture(std::make_unique<FakeDevicePicture>(others));
  frame.allocBuffer(16, 16, kFourCCYV12);
  source.allocBuffer(32, 32, kFourCCYV12);
  EXPECT_EQ(frame.allocateCUDAFrameIfNeeded(), kSuccess);
  EXPECT_EQ(calls, "a") << "once for its size";

  calls.clear();
  frame.transferToLocation(VideoFrameBuffer::CUDA);
  EXPECT_EQ(calls, "") << "the host has nothing to give";
  frame.setLocations(VideoFrameBuffer::systemMem);
  frame.transferLocationFromDecode();
  frame.transferToLocation(VideoFrameBuffer::CUDA);
  EXPECT_EQ(calls, "u");
  frame.setLocations(VideoFrameBuffer::CUDA);
  frame.transferToSystemMemory();
  frame.transferToSystemMemory();
  EXPECT_EQ(calls, "ud");
  EXPECT_EQ(frame.getLocations(), 3u);

  calls.clear();
  const uint32_t padding[4] = {0, 0, 0, 4};
  frame.setPadding(padding);
  EXPECT_EQ(frame.transferFrame(source, false), kSuccess);
  EXPECT_EQ(calls, "bp") << "black around the placed picture";
  EXPECT_EQ(frame.getLocations(), VideoFrameBuffer::CUDA);
  for (const uint32_t width : {8u, 80u}) {
    VideoOverlayFrame* overlay = makeOverlay(8, 8, kOpaqueRed);
    overlay->setDestinationLocation(0, 0, width, 8, 17);
    set.getOverlayFrames().putFrame(width, overlay);
  }
  EXPECT_EQ(set.applyOverlays(frame, set.getOverlayFrames()), kSuccess);
  EXPECT_EQ(calls, "bpo") << "the larger one doesn't fit";
  EXPECT_EQ(others, "a");
  PluginVideoFrameBuffer record;
  frame.getPluginBufferInfo(&record, 1, 2);
  EXPECT_EQ(record.frameCUDA.width, 16u);
  EXPECT_EQ(record.frameCUDA.four_cc, kFourCCNV12);
}

TEST(VideoFrameBuffer, PreviewsTakeTheAspectAndTheColor) {
  VideoFrameBuffer frame;
  frame.allocBuffer(1280, 720, kFourCCYV12);
  frame.setTimecode(42);
  paint(frame, kRed);
  uint8_t* buffer = nullptr;
  uint32_t size = 0, width = 320, height = 0;
  uint64_t timecode = 0;
  ASSERT_EQ(frame.getFrameBGRA(nullptr, &size, &width, &height, &timecode), kSuccess);
  EXPECT_EQ(size, 230400u);
  EXPECT_EQ(height, 180u);
  EXPECT_EQ(timecode, 42u);
  ASSERT_EQ(frame.getFrameBGRA(&buffer, nullptr, &width, &height, nullptr), kSuccess);
  for (uint32_t i = 0; i < width * height; ++i) {
    ASSERT_LE(buffer[i * 4], 4) << "blue";
    ASSERT_LE(buffer[i * 4 + 1], 4) << "green";
    ASSERT_GE(buffer[i * 4 + 2], 251) << "red";
  }
  std::free(buffer);
}

TEST(VideoFrameBuffer, PreviewsOfNothingFailWithoutMemory) {
  VideoFrameBuffer empty;
  uint8_t* buffer = nullptr;
  uint32_t size = 1, width = 0, height = 0;
  EXPECT_EQ(empty.getFrameBGRA(nullptr, &size, &width, &height, nullptr), kSuccess);
  EXPECT_EQ(size, 0u);
  width = 16;
  EXPECT_NE(empty.getFrameBGRA(&buffer, &size, &width, &height, nullptr), kSuccess);
  EXPECT_EQ(buffer, nullptr);
  VideoFrameBuffer frame;
  frame.allocBuffer(16, 16, kFourCCYV12);
  width = height = 0xFFFFFFFF;
  EXPECT_EQ(frame.getFrameBGRA(&buffer, &size, &width, &height, nullptr), kFailure);
  EXPECT_EQ(buffer, nullptr);
}

TEST(VideoFrameBuffer, CopiesToNV12AndBackKeepTheColor) {
  for (uint32_t code : {kFourCCYV12, kFourCCI420}) {
    VideoFrameBuffer planar, pairs, again;
    planar.allocBuffer(66, 34, code);
    pairs.allocBuffer(66, 34, kFourCCNV12);
    again.allocBuffer(66, 34, code);
    paint(planar, kRed);
    ASSERT_EQ(planar.copyYV12toNV12(pairs), kSuccess);
    EXPECT_TRUE(isColor(pairs, kRed));
    ASSERT_EQ(pairs.copyNV12toYV12(again), kSuccess);
    EXPECT_TRUE(isColor(again, kRed));
  }
}

TEST(VideoFrameBuffer, CarriesTimecodesAndPackets) {
  VideoFrameBuffer frame;
  std::vector<VideoFrameBufferTimecodeInfo> items(13);
  for (uint32_t i = 0; i < items.size(); ++i) items[i].frames = i;
  frame.setTimecodeInfo(items.data(), 13);
  uint32_t count = 0;
  frame.getTimecodeInfo(nullptr, &count);
  EXPECT_EQ(count, 12u);
  count = 5;
  items.assign(13, {});
  frame.getTimecodeInfo(items.data(), &count);
  EXPECT_EQ(count, 5u);
  EXPECT_EQ(items[4].frames, 4u);
  EXPECT_EQ(items[5].frames, 0u);

  VideoFrameAncillaryData packet;
  packet.did = 0x61;
  packet.bufferLen = VideoFrameAncillaryData::kWordsMax;
  for (uint32_t i = 0; i < packet.bufferLen; ++i) packet.buffer[i] = static_cast<int32_t>(i);
  VideoFrameBuffer other;
  other.addAncillaryDataObj(packet);
  packet.did = 0x62;
  frame.addAncillaryDataObj(packet);
  frame.copyAncillaryData(other);
  std::vector<VideoFrameAncillaryData> list(1);
  frame.getAncillaryDataObjs(list);
  ASSERT_EQ(list.size(), 3u);
  EXPECT_EQ(list[1].did, 0x62);
  EXPECT_EQ(list[2].did, 0x61);
  EXPECT_EQ(list[2].buffer[1919], 1919);
  frame.recycle();
  list.clear();
  frame.getAncillaryDataObjs(list);
  EXPECT_TRUE(list.empty());
}

TEST(VideoFrameBuffer, FilesHoldWholePlanesAndNoMore) {
  VideoFrameBuffer frame;
  frame.allocBuffer(64, 32, kFourCCYV12);
  const std::string path = testing::TempDir() + "qvs_frame.yuv";
  std::remove(path.c_str());
  ASSERT_EQ(frame.writeFrameToFile(path.c_str()), kSuccess);
  std::ifstream file(path, std::ios::ate | std::ios::binary);
  EXPECT_EQ(file.tellg(), 64 * 32 * 3 / 2);
  EXPECT_EQ(frame.writeFrameToFile("/nowhere/at/all"), kFailure);
  std::remove(path.c_str());
}

TEST(VideoFrameBuffer, ExtractsOneComponent) {
  const uint8_t pixels[] = {1, 2, 3, 4, 5, 6, 7, 8};
  const auto plane = VideoFrameBuffer::ExtractPlaneFromYUVA(pixels, 2, 1, 2);
  ASSERT_TRUE(plane);
  EXPECT_EQ(plane[0], 3);
  EXPECT_EQ(plane[1], 7);
  EXPECT_FALSE(VideoFrameBuffer::ExtractPlaneFromYUVA(pixels, 2, 1, 4));
  EXPECT_FALSE(VideoFrameBuffer::ExtractPlaneFromYUVA(pixels, 0, 1, 0));
  EXPECT_FALSE(VideoFrameBuffer::ExtractPlaneFromYUVA(nullptr, 2, 1, 0));
}

TEST(VideoFrameBuffer, ExistsWithoutTheScalerPlugin) {
  OneFramePool pool(1280, 720, kFourCCYV12, kScaleFlagFractionalFrames);
  pool.frame().updateFractionalFrames(320, 180);
  frame_tt level;
  EXPECT_FALSE(pool.frame().getFractionalFrame(0, &level));
  EXPECT_FALSE(pool.frame().getFractionalFrame(4, &level));
}

TEST(VideoFrameUtils, ConvertsOnceAndRefusesUnknownFormats) {
  std::vector<uint8_t> yuv(16 * 16 * 3 / 2), bgra(16 * 16 * 4), vuya(16 * 16 * 4);
  std::fill(yuv.begin(), yuv.begin() + 256, kRed.y);
  std::fill(yuv.begin() + 256, yuv.begin() + 320, kRed.v);  // "YV12": V first
  std::fill(yuv.begin() + 320, yuv.end(), kRed.u);
  ASSERT_EQ(VideoFrameUtils::uccConvertFOURCCToBGRA(yuv.data(), bgra.data(), 16, 16, kFourCCYV12), 0u);
  EXPECT_GE(bgra[2], 251);
  EXPECT_LE(bgra[0], 4);
  ASSERT_EQ(VideoFrameUtils::uccConvertBGRAToVUYA(bgra.data(), vuya.data(), 16, 16), 0u);
  EXPECT_NEAR(vuya[0], kRed.v, 4);
  EXPECT_NEAR(vuya[1], kRed.u, 4);
  EXPECT_NEAR(vuya[2], kRed.y, 4);
  EXPECT_EQ(vuya[3], 255);
  EXPECT_EQ(VideoFrameUtils::uccConvertFOURCCToBGRA(yuv.data(), bgra.data(), 16, 16, fourcc("none")), 1u);
}

}  // namespace
}  // namespace qvs::test
