// The QuickSync encoders over a media runtime without a card: what they do with it is proven, the card itself isn't.
#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <random>

#include "plugins/quicksync/FakeRuntime.h"
#include "plugins/software-encoders/SessionSoak.h"
#include "video/encoders/H264Playback.h"

using namespace qvs::test;
using testing::HasSubstr;

namespace {

constexpr uint32_t kAsyncDepth = 50000, kRateControl = 50001, kBPictures = 50009, kBusyTimeout = 50021,
                   kSyncTimeout = 50022;

int64_t millisecondsOf(const std::function<void()>& body) {
  const auto begin = std::chrono::steady_clock::now();
  body();
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin)
      .count();
}

class QuickSyncEncoder : public testing::TestWithParam<const char*> {
 protected:
  uint32_t codec() const { return std::string(GetParam()) == "h264" ? 7 : 12; }
  std::string library() const { return quickSyncLibrary("encoder", GetParam()); }
  std::vector<uint32_t> keysOf(const QuickSyncEncoding& run) const {
    std::vector<uint32_t> keys;
    for (uint32_t i = 0; i < run.units.size(); ++i) {
      if (run.units[i].frameType == QVS_FRAME_KEY) keys.push_back(i);
    }
    return keys;
  }
  /// Whether a unit begins with its parameter sets.
  bool hasHeaders(const EncodedUnit& unit) const {
    const int type = codec() == 7 ? unit.bytes[4] & 31 : unit.bytes[4] >> 1 & 63;
    return type == (codec() == 7 ? 7 : 32);
  }
  /// The worst PSNR of a plane against the test picture.
  double worst(const QuickSyncEncoding& run, const std::vector<H264Picture>& pictures) const {
    double least = pictures.empty() ? 0 : 99;
    for (uint32_t time = 0; time < pictures.size(); ++time) {
      for (const char plane : {'Y', 'U', 'V'}) {
        const uint32_t step = plane == 'Y' ? 1 : 2, wide = pictures[time].width / step;
        const auto& shown = pictures[time].planes[plane == 'Y' ? 0 : plane == 'U' ? 1 : 2];
        std::vector<uint8_t> painted;
        for (uint32_t i = 0; i < shown.size(); ++i) {
          const TestPixel pixel = testPixel(i % wide * step, i / wide * step, run.picture.getWidth(),
                                            run.picture.getHeight(), time);
          painted.push_back(plane == 'Y' ? pixel.y : plane == 'U' ? pixel.u : pixel.v);
        }
        least = std::min(least, psnr(shown, painted));
      }
    }
    return least;
  }
  FakeRuntime runtime;
};

TEST_P(QuickSyncEncoder, LeavesNothingBehindInManySessions) {
  if (codec() != 7) GTEST_SKIP() << "libx265, behind the fake, loses memory with each encoder";
  const auto session = [&] {
    QuickSyncEncoding run(library(), 160, 90);
    ASSERT_EQ(run.open(), 0) << run.problem();
    ASSERT_EQ(run.run(3), 0) << run.problem();
  };
  soakSessions(session, [&] { return runtime.live(); });
}

TEST_P(QuickSyncEncoder, CodesThePicturesItIsGiven) {
  struct Size {
    uint32_t width, height;
  };
  for (const Size size : {Size{160, 90}, Size{161, 91}}) {
    // A runtime that gives its parameter sets once only is mended.
    runtime.script(size.width == 160 ? "headers=once" : "");
    QuickSyncEncoding run(library(), size.width, size.height);
    ASSERT_EQ(run.open(), 0) << run.problem();
    constexpr uint64_t kFirst = 1700000000123;
    ASSERT_EQ(run.run(20, kFirst, 8), 0) << run.problem();
    ASSERT_EQ(run.units.size(), 20u);
    EXPECT_EQ(keysOf(run), (std::vector<uint32_t>{0, 8, 16}));
    for (uint32_t i = 0; i < 20; ++i) {
      EXPECT_EQ(run.units[i].timecode, kFirst + i * 40);
      EXPECT_EQ(run.units[i].offset, 0);
      EXPECT_EQ(hasHeaders(run.units[i]), i % 8 == 0);
    }
    const auto pictures = play(run.units, codec());
    ASSERT_EQ(pictures.size(), 20u);
    EXPECT_EQ(pictures[0].width, size.width & ~1u);
    EXPECT_EQ(pictures[0].height, size.height & ~1u);
    EXPECT_GT(worst(run, pictures), 34);
    // What was drained only begins anew.
    EXPECT_NE(run.add(20, kFirst + 800), 0);
    EXPECT_EQ(run.open(), 0);
    EXPECT_EQ(run.add(20, 0), 0);
  }
  EXPECT_EQ(runtime.live(), 0);
}

TEST_P(QuickSyncEncoder, KeepsAsManyPicturesUnderWayAsAsked) {
  runtime.script("latency=1000");
  QuickSyncEncoding run(library(), 160, 96);
  run.set(kAsyncDepth, 4);
  ASSERT_EQ(run.open(), 0) << run.problem();
  for (uint32_t i = 0; i < 3; ++i) ASSERT_EQ(run.add(i, i * 40), 0);
  EXPECT_EQ(run.units.size(), 0u);
  ASSERT_EQ(run.add(3, 120), 0);
  EXPECT_GE(run.units.size(), 1u);
  runtime.script("");
  for (uint32_t i = 4; i < 12; ++i) ASSERT_EQ(run.add(i, i * 40), 0);
  ASSERT_EQ(run.drain(), 0);
  ASSERT_EQ(run.units.size(), 12u);
  EXPECT_GT(worst(run, play(run.units, codec())), 34);
}

TEST_P(QuickSyncEncoder, OrdersTheTimesOfBPictures) {
  for (const uint64_t first : {uint64_t{0}, uint64_t{5000}}) {
    QuickSyncEncoding run(library(), 160, 96);
    run.set(kBPictures, 2);
    run.set(kAsyncDepth, 3);
    ASSERT_EQ(run.open(), 0) << run.problem();
    ASSERT_EQ(run.run(20, first, 9), 0) << run.problem();
    ASSERT_EQ(run.units.size(), 20u);
    std::vector<int64_t> shown;
    size_t between = 0;
    for (size_t i = 0; i < 20; ++i) {
      shown.push_back(run.units[i].presentation());
      EXPECT_GE(run.units[i].offset, 0) << i;
      if (i > 0) {
        EXPECT_GT(run.units[i].timecode, run.units[i - 1].timecode) << i;
      }
      if (run.units[i].frameType == QVS_FRAME_BIDIRECTIONAL) ++between;
    }
    EXPECT_GT(between, 5u);
    EXPECT_FALSE(std::is_sorted(shown.begin(), shown.end()));
    std::sort(shown.begin(), shown.end());
    for (uint32_t i = 0; i < 20; ++i) EXPECT_EQ(shown[i], static_cast<int64_t>(first + i * 40));
    EXPECT_GT(worst(run, play(run.units, codec())), 34);
  }
}

TEST_P(QuickSyncEncoder, FollowsANewBitRate) {
  // The second runtime changes its rate only with a new sequence; the third has pictures to give first.
  for (const int way : {0, 1, 2}) {
    runtime.script(way == 1 ? "MFXVideoENCODE_Reset@1=status:-14" : "");
    QuickSyncEncoding run(library(), 160, 96, 1500000);
    run.set(kRateControl, 0);
    std::minstd_rand random;
    if (way == 2) run.set(kBPictures, 1);
    ASSERT_EQ(run.open(), 0) << run.problem();
    for (uint32_t i = 0; i < 60; ++i) {
      if (i == 30) {
        ASSERT_EQ(run.rate(100000), 0) << run.problem();
      }
      paintTestPicture(run.picture, i);
      for (uint32_t at = 0; at < 160 * 96; ++at) run.picture.getPlane(0)[at] ^= random() >> 10 & 63;
      ASSERT_EQ(run.encode(i * 40), 0) << run.problem();
    }
    ASSERT_EQ(run.drain(), 0);
    ASSERT_EQ(run.units.size(), 60u);
    size_t bytes[2] = {0, 0};  // behind the key frames of both
    for (uint32_t i = 0; i < 60; ++i) bytes[i / 30] += i % 30 < 10 ? 0 : run.units[i].bytes.size();
    EXPECT_GT(bytes[0], 2 * bytes[1]) << way;
    EXPECT_EQ(keysOf(run), way == 0 ? std::vector<uint32_t>{0} : (std::vector<uint32_t>{0, 30}));
    EXPECT_EQ(play(run.units, codec()).size(), 60u);
  }
}

TEST_P(QuickSyncEncoder, ClosesCleanWhicheverCallFails) {
  const auto whole = [&](QuickSyncEncoding& run) {
    run.set(kAsyncDepth, 2);
    if (int32_t status = run.open(); status != 0) return status;
    for (uint32_t i = 0; i < 4; ++i) {
      if (const int32_t status = run.add(i, i * 40); status != 0) return status;
    }
    if (int32_t status = run.rate(900000); status != 0) return status;
    if (int32_t status = run.add(4, 160); status != 0) return status;
    return run.drain();
  };
  uint64_t calls = 1;
  for (uint64_t n = 1; n <= calls; ++n) {
    const char* const kAnswers[] = {"-13", "-17", "-21", "-4"};
    runtime.script("any@" + std::to_string(n) + "=status:" + kAnswers[n % 4]);
    {
      QuickSyncEncoding run(library(), 96, 64);
      const int32_t status = whole(run);
      const std::string faulty = runtime.faulty();
      if (!faulty.empty()) {
        EXPECT_NE(status, 0) << faulty;
        // The dispatcher makes its session by calls of its own.
        const bool inDispatcher = n <= 3;
        EXPECT_THAT(run.problem(), HasSubstr(inDispatcher ? "MFXCreateSession" : faulty));
        EXPECT_THAT(run.problem(), HasSubstr("MFX_ERR_"));
        EXPECT_NE(run.add(9, 400), 0) << "a lost encoder goes on";
        runtime.script("");
        EXPECT_EQ(run.open(), 0) << run.problem();
        EXPECT_EQ(run.add(0, 0, true), 0) << run.problem();
        runtime.script("any@" + std::to_string(n) + "=status:-13");
      }
      if (n == 1) {
        runtime.script("");
        QuickSyncEncoding plain(library(), 96, 64);
        EXPECT_EQ(whole(plain), 0) << plain.problem();
        calls = runtime.calls();
        EXPECT_GT(calls, 15u);
      }
    }
    EXPECT_EQ(runtime.live(), 0) << "after call " << n;
  }
}

TEST_P(QuickSyncEncoder, WaitsForACardButNotForEver) {
  struct Case {
    const char* script;
    const char* problem;  ///< empty: nothing fails
  };
  for (const Case& one : {Case{"MFXVideoENCODE_EncodeFrameAsync@3=status:2", ""},
                          Case{"MFXVideoENCODE_EncodeFrameAsync@3=late:60", ""},
                          Case{"MFXVideoENCODE_EncodeFrameAsync@3=status:-5", ""},
                          Case{"MFXVideoCORE_SyncOperation@3=status:1", ""},
                          Case{"MFXVideoENCODE_EncodeFrameAsync@3+=status:2",
                               "MFXVideoENCODE_EncodeFrameAsync: MFX_WRN_DEVICE_BUSY (2) after 120 ms"},
                          Case{"MFXVideoENCODE_EncodeFrameAsync@3=never",
                               "MFXVideoCORE_SyncOperation: MFX_WRN_IN_EXECUTION (1) after 150 ms"}}) {
    runtime.script(one.script);
    QuickSyncEncoding run(library(), 96, 64);
    run.set(kBusyTimeout, 120);
    run.set(kSyncTimeout, 150);
    ASSERT_EQ(run.open(), 0) << run.problem();
    int32_t status = 0;
    const int64_t spent = millisecondsOf([&] { status = run.run(6); });
    EXPECT_EQ(status != 0, *one.problem != 0) << one.script;
    if (status != 0) {
      EXPECT_EQ(run.problem(), one.problem);
    }
    if (status == 0) {
      EXPECT_EQ(play(run.units, codec()).size(), 6u) << one.script;
    }
    EXPECT_LT(spent, 5000) << one.script;
  }
}

TEST_P(QuickSyncEncoder, TellsWhyItCantBeHad) {
  uint32_t numbers[2] = {};
  char text[128] = "";
  const auto version = [&] {
    QuickSyncEncoding run(library(), 96, 64);
    return run.plugin.entryPoints().func_getVersion(reinterpret_cast<uint8_t*>(text), sizeof text, numbers,
                                                    numbers + 1);
  };
  EXPECT_EQ(version(), 0) << text;
  EXPECT_EQ(numbers[0], 2u);
  runtime.script("kind=software");
  EXPECT_EQ(version(), QVS_PLUGIN_SOFTWARE_ONLY);
  runtime.script("sessions=1");
  QuickSyncEncoding first(library(), 96, 64), second(library(), 96, 64);
  EXPECT_EQ(first.open(), 0) << first.problem();
  EXPECT_EQ(second.open(), QVS_PLUGIN_MFX_INIT);
  EXPECT_THAT(second.problem(), HasSubstr("MFXCreateSession: MFX_ERR_"));
  EXPECT_EQ(first.run(3), 0) << "the session that is open is disturbed";
  EXPECT_EQ(first.set(kAsyncDepth, 17), QVS_PLUGIN_INIT_ENCODER);
  EXPECT_EQ(first.problem(), "asyncDepth (50000) is 17, taken are 1 to 16");
  EXPECT_EQ(first.plugin.call(&pluginVideoEncoder::func_setPluginPath, "/opt/modules"), 0);
}

TEST_P(QuickSyncEncoder, OpensAndClosesForLong) {
  for (uint32_t i = 0; i < 60; ++i) {
    QuickSyncEncoding run(library(), 96, 64);
    ASSERT_EQ(run.open(), 0) << run.problem();
    ASSERT_EQ(run.add(0, 0, true), 0);
  }
  EXPECT_EQ(runtime.live(), 0);
}

INSTANTIATE_TEST_SUITE_P(Codecs, QuickSyncEncoder, testing::Values("h264", "h265"),
                         [](const auto& info) { return info.param; });

}  // namespace
