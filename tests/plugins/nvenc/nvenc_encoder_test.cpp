// The NVENC plug-in as it ships, over the emulated card. Proven on that emulation only.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "cuda.h"
#include "fakes/nvidia/EmulatedGpu.h"
#include "plugins/software-encoders/PluginEncoder.h"
#include "video/encoders/H264Playback.h"

namespace qvs::test {
namespace {

using fakes::EmulatedGpu;
using fakes::EmulatedGpuCounts;
using testing::HasSubstr;

constexpr const char* kLibrary = "libqvs-vencoder-h26x-nvenc12.so";
constexpr uint32_t kH264 = 7, kH265 = 12;
constexpr uint32_t kRateControl = 120004, kBFrames = 120010, kLookAhead = 120012, kBReference = 120031,
                   kDepth = 120032;

EmulatedGpu& gpu() {
  static EmulatedGpu one;
  return one;
}

/// An encoder that is told its codec; its pictures may lie on the card.
struct NvencEncoder : PluginEncoder {
  NvencEncoder(uint32_t codec, uint32_t width, uint32_t height, uint32_t bitRate = 2'000'000)
      : PluginEncoder(kLibrary, width, height, bitRate) {
    plugin.call(&Table::func_setCodecAndVersion, codec, 0u);
  }

  /// What addFrame3 gives for a record.
  int32_t addRecord(PluginVideoFrameBuffer& record) {
    VideoFrameEncodedData coded[QVS_VIDEO_ENCODER_FRAMES_MAX];
    PluginVideoEncoderOutput output{coded, 0, QVS_VIDEO_ENCODER_FRAMES_MAX};
    const int32_t status = plugin.call(&Table::func_addFrame3, &record, &output);
    for (uint32_t i = 0; i < output.frameCount; ++i) {
      units.push_back({{coded[i].buffer, coded[i].buffer + coded[i].len},
                       coded[i].timecode,
                       coded[i].timecodeOffset,
                       coded[i].frameType});
      std::free(coded[i].buffer);
    }
    return status;
  }
};

/// A picture of the card in a context of the test's own, planar with rows wider than the picture.
class CardPicture {
 public:
  CardPicture(uint32_t pictureWidth, uint32_t pictureHeight) : width(pictureWidth), height(pictureHeight) {
    cuInit(0);
    cuCtxCreate(&context, 0, 0);
    cuMemAllocPitch(&memory, &pitch, width, height + (height + 1) / 2, 16);
    cuStreamCreate(&stream, 0);
    cuCtxPopCurrent(nullptr);
  }
  ~CardPicture() {
    cuCtxPushCurrent(context);
    cuStreamDestroy(stream);
    cuMemFree(memory);
    cuCtxDestroy(context);
  }

  PluginVideoCUDAContext record() const { return {context, stream, 0}; }

  PluginVideoFrameBuffer upload(const VideoFrameBuffer& from, uint64_t timecode, uint32_t frameType) {
    cuCtxPushCurrent(context);
    CUdeviceptr to = memory;
    for (const uint32_t plane : {0u, 2u, 1u}) {  // "YV12" has U in plane 2
      const uint32_t shift = plane == 0 ? 0 : 1;
      CUDA_MEMCPY2D copy{};
      copy.srcMemoryType = CU_MEMORYTYPE_HOST;
      copy.srcHost = from.getPlane(plane);
      copy.srcPitch = static_cast<size_t>(from.getStride(plane));
      copy.dstMemoryType = CU_MEMORYTYPE_DEVICE;
      copy.dstDevice = to;
      copy.dstPitch = pitch >> shift;
      copy.WidthInBytes = (width + shift) >> shift;
      copy.Height = (height + shift) >> shift;
      EXPECT_EQ(cuMemcpy2D(&copy), CUDA_SUCCESS);
      to += copy.dstPitch * copy.Height;
    }
    cuCtxPopCurrent(nullptr);
    PluginVideoFrameBuffer record{};
    record.width = width;
    record.height = height;
    record.timecode = timecode;
    record.frameType = frameType;
    record.locations = QVS_LOCATION_CUDA;
    record.frameCUDA = {reinterpret_cast<void*>(memory), 0, width, height, pitch, kFourCCNV12};
    return record;
  }

 private:
  uint32_t width, height;
  CUcontext context = nullptr;
  CUstream stream = nullptr;
  CUdeviceptr memory = 0;
  size_t pitch = 0;
};

/// Lowest PSNR of any plane against the test pictures of these numbers, in the order of presentation.
double worstPlane(const std::vector<H264Picture>& pictures, const VideoFrameBuffer& size) {
  double worst = 99;
  for (uint32_t number = 0; number < pictures.size(); ++number) {
    const H264Picture& picture = pictures[number];
    for (uint32_t plane = 0; plane < 3; ++plane) {
      const uint32_t step = plane == 0 ? 1 : 2, width = picture.width / step;
      std::vector<uint8_t> wanted;
      for (uint32_t i = 0; i < picture.planes[plane].size(); ++i) {
        const TestPixel pixel =
            testPixel(i % width * step, i / width * step, size.getWidth(), size.getHeight(), number);
        wanted.push_back(plane == 0 ? pixel.y : plane == 1 ? pixel.u : pixel.v);
      }
      worst = std::min(worst, psnr(picture.planes[plane], wanted));
    }
  }
  return worst;
}

class Nvenc : public testing::TestWithParam<uint32_t> {
 protected:
  Nvenc() {
    gpu().faults("");
    before = gpu().counts();
  }
  ~Nvenc() override {
    gpu().faults("");
    const EmulatedGpuCounts after = gpu().counts();
    EXPECT_EQ(after.encoders, 0);
    EXPECT_EQ(after.contexts, before.contexts);
    EXPECT_EQ(after.bytes, before.bytes);
  }
  const uint32_t codec = GetParam();
  EmulatedGpuCounts before;
};
INSTANTIATE_TEST_SUITE_P(Each, Nvenc, testing::Values(kH264, kH265));

TEST_P(Nvenc, GivesRightPicturesFromHostAndCard) {
  for (const auto& [width, height] : {std::pair(176u, 144u), {251u, 133u}}) {
    SCOPED_TRACE(width);
    CardPicture onCard(width, height);
    NvencEncoder host(codec, width, height), device(codec, width, height);
    PluginVideoCUDAContext context = onCard.record();
    ASSERT_EQ(device.plugin.call(&pluginVideoEncoder::func_setCUDAContext, &context), 0);
    ASSERT_EQ(host.open(), 0) << host.problem();
    ASSERT_EQ(device.open(), 0) << device.problem();
    for (uint32_t number = 0; number < 5; ++number) {
      const bool key = number % 3 == 0;
      ASSERT_EQ(host.add(number, 1000 + number * 40, number == 3), 0) << host.problem();
      ASSERT_EQ(host.units.size(), number + 1) << "each comes out at once";
      EXPECT_EQ(host.units.back().timecode, 1000 + number * 40);
      EXPECT_EQ(host.units.back().frameType, key ? QVS_FRAME_KEY : QVS_FRAME_PREDICTED);
      PluginVideoFrameBuffer record =
          onCard.upload(host.picture, 1000 + number * 40, number == 3 ? QVS_FRAME_KEY : QVS_FRAME_PREDICTED);
      const uint64_t downloaded = gpu().counts().bytesDeviceToHost;
      ASSERT_EQ(device.addRecord(record), 0) << device.problem();
      EXPECT_EQ(gpu().counts().bytesDeviceToHost, downloaded) << "its pixels stay on the card";
    }
    const std::vector<H264Picture> pictures = play(host.units, codec);
    ASSERT_EQ(pictures.size(), 5u);
    EXPECT_EQ(std::pair(pictures[0].width, pictures[0].height), std::pair(width & ~1u, height & ~1u));
    EXPECT_GT(worstPlane(pictures, host.picture), 30);
    const std::vector<H264Picture> others = play(device.units, codec);
    ASSERT_EQ(others.size(), 5u);
    for (size_t i = 0; i < 5; ++i) EXPECT_EQ(others[i].planes, pictures[i].planes) << i;
    const std::vector<EncodedUnit> tail(host.units.begin() + 3, host.units.end());
    EXPECT_EQ(play(tail, codec).size(), 2u) << "a decoder can begin at the second key frame";
  }
}

TEST_P(Nvenc, TellsTimesOfPicturesHeldBack) {
  struct Case {
    int64_t bFrames, bReference, lookAhead, depth;
  };
  for (const Case& one : {Case{0, 0, 0, 3}, {2, 0, 0, 1}, {3, 1, 0, 1}, {1, 0, 8, 2}}) {
    SCOPED_TRACE(testing::Message() << one.bFrames << ' ' << one.lookAhead);
    NvencEncoder encoder(codec, 176, 144);
    encoder.set(kBFrames, one.bFrames);
    encoder.set(kBReference, one.bReference);
    encoder.set(kLookAhead, one.lookAhead);
    encoder.set(kDepth, one.depth);
    ASSERT_EQ(encoder.open(), 0) << encoder.problem();
    constexpr uint32_t kPictures = 24;
    for (uint32_t number = 0; number < kPictures; ++number) {
      ASSERT_EQ(encoder.add(number, 4000 + number * 40), 0) << encoder.problem();
    }
    EXPECT_LT(encoder.units.size(), kPictures);
    ASSERT_EQ(encoder.drain(), 0) << encoder.problem();
    ASSERT_EQ(encoder.units.size(), kPictures);
    std::vector<uint64_t> shown;
    for (size_t i = 0; i < kPictures; ++i) {
      const EncodedUnit& unit = encoder.units[i];
      EXPECT_TRUE(i == 0 || unit.timecode > encoder.units[i - 1].timecode) << i;
      EXPECT_GE(unit.offset, 0) << i;
      shown.push_back(unit.timecode + static_cast<uint64_t>(unit.offset));
    }
    std::sort(shown.begin(), shown.end());
    for (uint32_t i = 0; i < kPictures; ++i) EXPECT_EQ(shown[i], 4000 + i * 40);
    EXPECT_GT(worstPlane(play(encoder.units, codec), encoder.picture), 28);
    EXPECT_NE(encoder.add(0, 9000), 0) << "ended";
  }
}

TEST_P(Nvenc, FollowsAChangeOfBitRateOrRefusesIt) {
  NvencEncoder encoder(codec, 320, 240, 600'000);
  ASSERT_EQ(encoder.open(), 0) << encoder.problem();
  const auto bytesOf = [&](uint32_t from) {
    size_t bytes = 0;
    for (uint32_t number = from; number < from + 40; ++number) {
      EXPECT_EQ(encoder.add(number * 7, number * 40), 0);
      if (number >= from + 15) bytes += encoder.units.back().bytes.size();
    }
    return bytes;
  };
  const size_t first = bytesOf(0);
  EXPECT_EQ(encoder.plugin.call(&pluginVideoEncoder::func_updateBitrate, 150'000u), 0) << encoder.problem();
  EXPECT_LT(bytesOf(40), first / 4 * 3);
  encoder.set(kRateControl, 2);
  ASSERT_EQ(encoder.open(), 0);
  EXPECT_EQ(encoder.plugin.call(&pluginVideoEncoder::func_updateBitrate, 150'000u), QVS_PLUGIN_NO_VBR);
}

TEST_P(Nvenc, NamesTheLimitOfSessionsAndWhatTheCardLacks) {
  gpu().faults("sessions=3");
  auto open = [&] {
    auto made = std::make_unique<NvencEncoder>(codec, 176, 144);
    EXPECT_EQ(made->open(), 0) << made->problem();
    return made;
  };
  auto first = open(), second = open(), third = open();
  NvencEncoder fourth(codec, 176, 144);
  EXPECT_EQ(fourth.open(), QVS_PLUGIN_SESSION_LIMIT);
  EXPECT_EQ(fourth.problem(), "session limit of the driver reached: 3 in use");
  EXPECT_EQ(gpu().counts().encoders, 3);
  second.reset();
  EXPECT_EQ(fourth.open(), 0) << "one was given back";
  first.reset();
  third.reset();
  NvencEncoder small(codec, 64, 48);
  EXPECT_EQ(small.open(), QVS_PLUGIN_INIT_ENCODER);
  EXPECT_THAT(small.problem(), HasSubstr("this is 64x48"));
}

TEST_P(Nvenc, ClosesCleanWhicheverCallFails) {
  uint32_t failed = 0;
  for (int call = 1;; ++call) {
    ASSERT_LT(call, 1000);
    gpu().faults(("any@" + std::to_string(call) + "=status:2").c_str());
    int32_t status = 0;
    std::string words;
    {
      NvencEncoder encoder(codec, 176, 144);
      encoder.set(kDepth, 2);
      const auto step = [&](int32_t answer) {
        if (status == 0 && answer != 0) words = encoder.problem();
        if (status == 0) status = answer;
      };
      step(encoder.open());
      for (uint32_t number = 0; number < 3 && status == 0; ++number) step(encoder.add(number, number * 40));
      if (status == 0) step(encoder.drain());
      if (status == 0) {
        EXPECT_EQ(encoder.units.size(), 3u);
      }
    }
    const std::string faulty = gpu().faulty();
    SCOPED_TRACE(testing::Message() << call << ' ' << faulty << ": " << words);
    ASSERT_EQ(gpu().counts().encoders, 0);
    ASSERT_EQ(gpu().counts().bytes, before.bytes);
    if (faulty.empty()) break;
    if (status != 0) {
      ++failed;
      EXPECT_THAT(words, HasSubstr(faulty.substr(0, faulty.find("_v2")).substr(1)));
    }
  }
  EXPECT_GT(failed, 20u);
}

}  // namespace
}  // namespace qvs::test
