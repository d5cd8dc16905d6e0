// An SDI card as a device, proven on the fake driver alone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <map>

#include "capture/CaptureDirectory.h"
#include "capture/CardRun.h"
#include "contract/FrameTypes.h"

namespace qvs::test {
namespace {

using ::testing::HasSubstr;

TEST(DeckLinkDevice, FindsTheCardItsInputsAndItsModes) {
  CardRun run("mode=Hp25");
  ASSERT_NE(run.device, nullptr);
  EXPECT_EQ(run.device->getImplementation(), 1u);
  EXPECT_EQ(run.device->getModelName(), "Fake SDI");
  EXPECT_EQ(run.device->getDisplayName(), "Fake SDI (1)");
  EXPECT_EQ(run.device->getHardwareId(), 0x1000u);
  EXPECT_EQ(run.device->getInputFormatDetection(), 1);
  EXPECT_EQ(run.device->getVideoInputs(), 6u);
  EXPECT_EQ(run.device->getAudioMaxChannelCount(), 16u);
  const auto inputs = run.device->getVideoInputsAvailable();
  EXPECT_EQ(inputs.inputCount, 2u);
  EXPECT_EQ(inputs.input[1], 2u);
  ASSERT_EQ(run.device->renditionCount(), 18u);
  ICaptureDeviceRendition& ntsc = *run.device->getRendition(0);
  EXPECT_EQ(ntsc.getVideoFrameRateEnum(), 30000u);
  EXPECT_EQ(ntsc.getVideoFrameRateDen(), 1001u);
  EXPECT_EQ(ntsc.getVideoColorSpace(), 1u);
  EXPECT_EQ(ntsc.getVideoTopFieldFirst(), 0);
  EXPECT_EQ(ntsc.getVideoProgressive(), 0);
  EXPECT_THAT(run.device->getInfoJSON(), HasSubstr("\"blackMagicInfo\":{\"fieldDominance\":1819244402,"
                                                   "\"displayModeSupported\":1,\"hardwareFlags\":2}}"));
  EXPECT_THAT(run.log(), HasSubstr("libDeckLinkAPI.so with CreateDeckLinkIteratorInstance_0004"));
}

TEST(DeckLinkDevice, BringsEveryLayoutInItsColors) {
  struct Case {
    const char *mode, *code, *layout;
    uint32_t pixelFormat;
  };
  for (const Case& one :
       {Case{"1080p25", "Hp25", "", 0}, Case{"1080p25", "Hp25", "", 1}, Case{"720p50", "hp50", "r210", 0},
        Case{"720p50", "hp50", "BGRA", 0}, Case{"720p50", "hp50", "\x01", 0},
        Case{"720p50", "hp50", "R12B", 0}, Case{"PAL", "pal ", "r210", 0}, Case{"NTSC", "ntsc", "", 0},
        Case{"1080i50", "Hi50", "", 0}}) {
    SCOPED_TRACE(std::string(one.mode) + " " + one.layout);
    const std::string layout = one.layout[0] == 1 ? "ARGB" : one.layout;
    CardRun run(std::string("pace=fast;frames=3;mode=") + one.code +
                (layout.empty() ? "" : ";format=" + layout));
    ASSERT_EQ(run.start(one.mode, {.pixelFormat = one.pixelFormat}), 0u);
    const auto frames = run.pictures(3);
    ASSERT_EQ(frames.size(), 3u);
    for (int i = 0; i < 3; ++i) {
      VideoFrameBuffer& picture = *frames[static_cast<size_t>(i)]->getVideoFrameBuffer();
      EXPECT_EQ(numberOf(picture), i);
      const Yuv left = colorAt(picture, 200, 200), right = colorAt(picture, picture.getWidth() - 100, 200);
      for (const auto& [got, wanted] : {std::pair{left.y, 126},
                                        {left.u, 100},
                                        {left.v, 175},
                                        {right.y, 75},
                                        {right.u, 160},
                                        {right.v, 105}}) {
        EXPECT_NEAR(got, wanted, 2);
      }
    }
  }
}

TEST(DeckLinkDevice, PicturesThatAreWantedSmallerTurnedOrCutAreSo) {
  CardRun run("pace=fast;frames=1;mode=hp50");
  run.device->setCaptureTargetVideo(
      {.width = 640, .height = 360, .sizeFlags = kCaptureSizeDown, .frameRotation = std::acos(0.0)});
  ASSERT_EQ(run.start("720p50"), 0u);
  const auto frames = run.pictures(1);
  ASSERT_EQ(frames.size(), 1u);
  VideoFrameBuffer& picture = *frames[0]->getVideoFrameBuffer();
  EXPECT_EQ(picture.getWidth(), 360u);
  EXPECT_EQ(picture.getHeight(), 640u);
  // A quarter clockwise: what was left is above.
  EXPECT_NEAR(colorAt(picture, 180, 100).u, 100, 2);
  EXPECT_NEAR(colorAt(picture, 180, 540).u, 160, 2);
}

int16_t toneOf(uint64_t sample, uint64_t step, int amplitude) {
  return static_cast<int16_t>(
      std::sin(2 * 3.14159265358979 * static_cast<double>(sample * step % 480) / 480) * amplitude);
}

TEST(DeckLinkDevice, SoundStaysOnItsPictureAndChannelsAreMapped) {
  CardRun run("pace=fast;frames=40;mode=pal ");
  run.device->setAudioChannelMap({.left = 3, .right = 20});
  ASSERT_EQ(run.start("PAL"), 0u);
  const auto blocks = run.blocks(40);
  const auto pictures = run.pictures(40);
  ASSERT_EQ(pictures.size(), 40u);
  ASSERT_EQ(blocks.size(), 40u);
  EXPECT_NEAR(static_cast<double>(blocks[0]->getAudioSampleBuffer()->getTimecode() / 48),
              static_cast<double>(pictures[0]->getVideoFrameBuffer()->getTimecode()), 41);
  for (size_t i = 0; i < 40; ++i) {
    SCOPED_TRACE(i);
    VideoFrameBuffer& picture = *pictures[i]->getVideoFrameBuffer();
    const AudioSampleBuffer& block = *blocks[i]->getAudioSampleBuffer();
    EXPECT_EQ(picture.getTimecode(), pictures[0]->getVideoFrameBuffer()->getTimecode() + i * 40);
    EXPECT_EQ(block.getTimecode(), blocks[0]->getAudioSampleBuffer()->getTimecode() + i * 1920);
    const auto* samples = reinterpret_cast<const int16_t*>(block.getBuffer());
    const bool beep = numberOf(picture) % 25 == 0;
    EXPECT_NEAR(samples[2 * 37], toneOf(i * 1920 + 37, beep ? 10 : 6, beep ? 24000 : 8000), 1);
    EXPECT_NEAR(samples[2 * 37 + 1], toneOf(i * 1920 + 37, beep ? 10 : 3, beep ? 24000 : 8000), 1);
  }
  run.setRunning(false);
  EXPECT_EQ(run.device->getCaptureSessionInfo().running, 0);
}

TEST(DeckLinkDevice, PicturesGoOnWithoutASignalAndTheFirstGoodOneIsKey) {
  CardRun run("pace=fast;frames=40;mode=pal ;events=lost@10,back@20,mute@25,unmute@32");
  run.device->setCaptureTargetVideo({.keyFrameInterval = 4000});
  ASSERT_EQ(run.start("PAL"), 0u);
  const auto pictures = run.pictures(40);
  ASSERT_EQ(pictures.size(), 40u);
  for (size_t i = 1; i < 40; ++i) {
    SCOPED_TRACE(i);
    VideoFrameBuffer& picture = *pictures[i]->getVideoFrameBuffer();
    const bool lost = i >= 10 && i < 20;
    // On the card's grid; further on only where this machine is so slow that the wall clock has left the card behind.
    const uint64_t step = picture.getTimecode() - pictures[i - 1]->getVideoFrameBuffer()->getTimecode();
    EXPECT_TRUE(step == 40 || (i >= 10 && i <= 20 && step > 500 && step % 40 == 0 && step < 20000)) << step;
    EXPECT_EQ(picture.getFlags() & 1, lost ? 1u : 0u);
    const Yuv color = colorAt(picture, 200, 200);
    EXPECT_NEAR(color.y, lost ? 8 : 126, 8);
    EXPECT_NEAR(color.u, lost ? 128 : 100, 2);
    if (i == 20) {
      EXPECT_EQ(picture.getFrameType(), kFrameTypeKey);
    }
  }
  // Silence takes the place of sound that doesn't come: no sample of the time is missing.
  uint64_t covered = 0;
  for (const auto& block : run.blocks(35)) covered += block->getAudioSampleBuffer()->getSampleCount();
  EXPECT_GE(covered, 39u * 1920);
  const std::string log = run.log();
  EXPECT_THAT(log, HasSubstr("The signal is lost: input:1"));
  EXPECT_THAT(log, HasSubstr("The signal is back: input:1"));
  EXPECT_THAT(log, HasSubstr("The card sends no sound"));
  EXPECT_THAT(log, HasSubstr("The card's sound is back"));
}

TEST(DeckLinkDevice, ACaptureDirectoryTakesThePlaceOfALostSignal) {
  CaptureDirectory slate;
  slate.writeMovie(0, 6);
  CardRun run("frames=120;mode=pal ;events=lost@5,pause:1500@10,back@14", slate.device(0));
  ASSERT_EQ(run.start("PAL"), 0u);
  uint64_t last = 0;
  int slates = 0, cardsAfter = 0;
  within20s([&] {
    for (const auto& frame : run.pictures(1)) {
      VideoFrameBuffer& picture = *frame->getVideoFrameBuffer();
      EXPECT_GT(picture.getTimecode(), last);
      last = picture.getTimecode();
      if (picture.getWidth() == 64) ++slates;
      if (slates > 0 && picture.getWidth() == 720) ++cardsAfter;
    }
    return cardsAfter >= 5;
  });
  EXPECT_GT(slates, 3);
  EXPECT_GE(cardsAfter, 5);
  EXPECT_EQ(run.device->getCaptureSessionInfo().videoFrameWidth, 720u);
  EXPECT_THAT(run.log(), HasSubstr("Shutdown capture file source"));
}

TEST(DeckLinkDevice, FollowsChangesOfFormatAndColorSpace) {
  // Told PAL, the card sees 720p50 at once; then PAL, then RGB.
  CardRun run("pace=fast;frames=40;mode=hp50;events=mode:pal @10,rgb@20");
  ASSERT_EQ(run.start("PAL", {.autoDetectInputSource = 1}), 0u);
  // What waits when the format changes is let go of.
  std::vector<CardRun::FramePtr> pictures;
  EXPECT_TRUE(within20s([&] {
    for (auto& frame : run.pictures(1)) pictures.push_back(std::move(frame));
    return numberOf(*pictures.back()->getVideoFrameBuffer()) == 39;
  }));
  EXPECT_GE(pictures.size(), 25u);
  uint64_t last = 0;
  for (const auto& frame : pictures) {
    VideoFrameBuffer& picture = *frame->getVideoFrameBuffer();
    const int number = numberOf(picture);
    SCOPED_TRACE(number);
    EXPECT_GT(picture.getTimecode(), last);
    last = picture.getTimecode();
    EXPECT_EQ(picture.getWidth(), number < 10 ? 1280u : 720u);
    EXPECT_NEAR(colorAt(picture, number < 10 ? 200 : 60, 200).v, 175, 2);  // beside the bar
  }
  within20s([&] { return run.device->getCaptureSessionInfo().videoFrameCountTotal >= pictures.size(); });
  const CaptureSessionInfoData info = run.device->getCaptureSessionInfo();
  EXPECT_EQ(run.device->getRendition(info.renditionIndex)->getName(), "PAL");
  EXPECT_LE(info.videoFrameCountModeSwitch, 20u);
  EXPECT_EQ(run.device->currPixelFormat, bmdFormat10BitRGB);
}

TEST(DeckLinkDevice, AFasterFormatIsNoLossOfPictures) {
  // Pictures of the slow one still wait when it ends.
  CardRun run("pace=fast;frames=40;mode=pal ;events=burst:5@8,mode:hp50@12");
  ASSERT_EQ(run.start("PAL", {.autoDetectInputSource = 1}), 0u);
  EXPECT_TRUE(within20s([&] {
    const auto pictures = run.pictures(1);
    return !pictures.empty() && numberOf(*pictures.back()->getVideoFrameBuffer()) == 39;
  }));
  EXPECT_LT(run.device->getCaptureSessionInfo().videoDroppedFrames, 40u);
}

TEST(DeckLinkDevice, LooksForASignalOnTheNextInput) {
  CardRun run("pace=fast;frames=95;mode=pal ;events=lost@0");
  TranscoderCaptureDeviceCaptureInputVideoData inputs;
  inputs.input = {1, 2};
  inputs.inputCount = 2;
  inputs.inputSelected = 0;
  run.device->setVideoInputsActive(inputs);
  ASSERT_EQ(run.start("PAL"), 0u);
  EXPECT_TRUE(within20s([&] { return run.device->getVideoInputsActive().inputSelected == 1; }));
  EXPECT_TRUE(within20s([&] { return run.device->getCaptureSessionInfo().videoInput == 2; }));
  run.pictures(95);
  EXPECT_EQ(run.device->getVideoInputsActive().inputSelected, 1);  // the count began anew
}

TEST(DeckLinkDevice, PacketsAndTimecodesTravelWithTheirPicture) {
  for (const auto& [name, code] : {std::pair{"1080p25", "Hp25"}, {"PAL", "pal "}, {"NTSC", "ntsc"}}) {
    SCOPED_TRACE(name);
    CardRun run(std::string("pace=fast;frames=8;captions=HELLO;events=splice@3,bad@4;mode=") + code);
    run.device->addAncillaryDataFilter({.filterType = 2, .did = 97, .sid = -1});
    run.device->addAncillaryDataFilter({.filterType = 2, .did = 65, .sid = 7});
    ASSERT_EQ(run.start(name), 0u);
    const auto pictures = run.pictures(8);
    ASSERT_EQ(pictures.size(), 8u);
    for (size_t i = 0; i < 8; ++i) {
      VideoFrameBuffer& picture = *pictures[i]->getVideoFrameBuffer();
      std::vector<VideoFrameAncillaryData> packets;
      picture.getAncillaryDataObjs(packets);
      ASSERT_EQ(packets.size(), i == 3 ? 2u : 1u);
      EXPECT_EQ(packets[0].did, 97);
      EXPECT_EQ(packets[0].buffer[0] & 255, 0x96);
      EXPECT_EQ(packets[0].dc, packets[0].buffer[2] & 255);
      if (i == 3) {
        EXPECT_EQ(packets[1].sid, 7);
      }
      VideoFrameBufferTimecodeInfo times[12];
      uint32_t count = 12;
      picture.getTimecodeInfo(times, &count);
      ASSERT_EQ(count, code[0] == 'H' ? 2u : 1u);
      EXPECT_EQ(times[0].frames, i);
      EXPECT_EQ(times[0].bcd, i);
      EXPECT_EQ(times[0].userBits, 0xAB000000u | i);
    }
    within20s([&] { return run.device->getCaptureSessionInfo().videoFrameCountTotal == 8; });
    const CaptureSessionInfoData info = run.device->getCaptureSessionInfo();
    EXPECT_EQ(info.videoVANCPacketsTotal, 9u);
    EXPECT_EQ(info.videoVANCCEA708PacketsTotal, 8u);
    EXPECT_THAT(run.log(), HasSubstr("packets with a wrong checksum: 1"));
  }
}

TEST(DeckLinkDevice, APictureThatTheCardLostIsCounted) {
  CardRun run("pace=fast;frames=10;mode=pal ;events=skip:3@5");
  ASSERT_EQ(run.start("PAL"), 0u);
  run.pictures(10);
  EXPECT_TRUE(within20s([&] { return run.device->getCaptureSessionInfo().videoDroppedFrames == 3; }));
}

TEST(DeckLinkDevice, ACardThatWasUnpluggedGoesOnWhenItIsBack) {
  CardRun run("mode=hp60;events=unplug@5,plug@40");
  ASSERT_EQ(run.start("720p60"), 0u);
  EXPECT_TRUE(within20s([&] {
    const auto frames = run.pictures(1);
    return !frames.empty() && run.log().find("The card is there again") != std::string::npos;
  }));
  run.pictures(5);
  EXPECT_THAT(run.log(), HasSubstr("The card was unplugged"));
  EXPECT_EQ(run.device->getRunning(), 1);
  EXPECT_GT(run.pictures(3).size(), 0u);
}

TEST(DeckLinkDevice, RefusalsAreNumbersOfTheTable) {
  EXPECT_EQ(CardRun("EnableVideoInput@1+=status:0x80000009").start("PAL"), 13u);
  CardRun run("frames=1");
  run.device->setCaptureParamsAudio({.enable = 0});
  EXPECT_EQ(run.start("PAL", {.enable = 0}), 16u);
  EXPECT_EQ(run.setRunning(false), 3u);
  EXPECT_EQ(run.start("PAL"), 0u);
  EXPECT_EQ(run.setRunning(true), 2u);
  run.device->setActive(0);
  EXPECT_EQ(run.setRunning(false), 8u);
  run.device->setActive(1);
}

TEST(DeckLinkDevice, EveryCallMayFailOnceAndNothingIsLeftOpen) {
  const std::map<std::string, uint32_t> statuses = {
      {"CreateIterator", 4},    {"NextDevice", 5},         {"QueryInput", 10},   {"SetCallback", 12},
      {"EnableVideoInput", 13}, {"EnableAudioInput", 14},  {"StartStreams", 15}, {"QueryNotification", 18},
      {"QueryAttributes", 19},  {"QueryConfiguration", 20}};
  FakeDriver& driver = FakeDriver::get();
  const auto life = [&](uint64_t failing, uint64_t* calls) {
    // Inspected without faults: those that come later are counted from the start.
    CardRun run("pace=fast");
    if (run.device == nullptr) return;
    const int64_t before = driver.live();
    driver.script(
        ("pace=fast;frames=4;mode=pal ;captions=HI;any@" + std::to_string(failing) + "=status:0x80000008")
            .c_str());
    run.device->addAncillaryDataFilter({.filterType = 1});
    uint32_t session = 0;
    run.device->startSessionParameterValues(&session);
    int64_t value = 0;
    run.device->getParameterValueLong(session, 130058, &value);
    run.device->saveParameterValues(session);
    const bool early = *driver.faulty() != 0;
    run.device->endSessionParameterValues(session);
    const uint32_t status = run.start("PAL");
    const std::string faulty = driver.faulty();
    const auto expected = statuses.find(faulty);
    if (!early && expected != statuses.end() && driver.calls() < 40) {
      EXPECT_EQ(status, expected->second) << faulty;
    }
    if (status == 0) {
      const uint64_t sent = driver.sent();
      within20s([&] { return driver.sent() >= sent; });
      run.pictures(failing > 40 ? 3 : 1);
      EXPECT_EQ(run.setRunning(false), 0u) << faulty;
    }
    EXPECT_EQ(driver.live(), before) << failing << ": " << faulty;
    *calls = driver.calls();
  };
  uint64_t calls = 1000;
  for (uint64_t failing = 1; failing <= calls; failing += failing < 60 ? 1 : 17) life(failing, &calls);
  EXPECT_LT(calls, 1000u);
  // And while cards are looked for.
  for (uint64_t failing = 1; failing < 100; failing += failing < 12 ? 1 : 9) {
    const int64_t before = driver.live();
    CardRun run("any@" + std::to_string(failing) + "=status:0x80000008");
    EXPECT_EQ(driver.live(), before) << failing;
  }
}

TEST(DeckLinkDevice, StopsUnderLoadWhileOthersComeAndGo) {
  CardRun run("pace=fast;mode=pal ;captions=HELLO;events=lost@20,back@30,mode:ntsc@50,mode:pal @80");
  run.device->addAncillaryDataFilter({.filterType = 1});
  std::atomic<bool> stop{false};
  std::thread sinks([&] {
    while (!stop) {
      const uint32_t id = run.device->addFrameSink(kCaptureVideo, 3, nullptr);
      CaptureFrameSink* const sink = run.device->getFrameSink(id);
      if (CaptureFrame* const frame = sink->getCaptureFrame()) sink->releaseCaptureFrame(frame);
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      run.device->removeFrameSink(id);
    }
  });
  std::thread settings([&] {
    while (!stop) {
      uint32_t session = 0;
      if (run.device->startSessionParameterValues(&session) != 0) continue;
      run.device->setParameterValueDouble(session, 130070, -3);
      run.device->setResetTimecodeSyncToWallClock();
      uint8_t* bytes = nullptr;
      uint32_t width = 0, height = 0, stride = 0;
      uint64_t timecode = 0;
      if (run.device->getFrameBGRA(&bytes, &width, &height, &stride, &timecode) == kSuccess) std::free(bytes);
      run.device->endSessionParameterValues(session);
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  });
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(run.start("PAL", {.autoDetectInputSource = 1}), 0u);
    std::this_thread::sleep_for(std::chrono::milliseconds(i % 2 == 0 ? 60 : 1));
    EXPECT_EQ(run.setRunning(false), 0u);
    run.video->clearCaptureFrames();
    run.audio->clearCaptureFrames();
  }
  stop = true;
  sinks.join();
  settings.join();
  EXPECT_EQ(run.device->captureEnterCount, 0);
}

TEST(DeckLinkDevice, SettingsGoToTheCardByTheirKeys) {
  CardRun run("frames=1");
  CaptureDeviceBlackMagic& device = *run.device;
  EXPECT_EQ(device.setParameterValueLong(7, 130058, 2), kFailure);
  uint32_t session = 0, other = 0;
  ASSERT_EQ(device.startSessionParameterValues(&session), 0u);
  ASSERT_EQ(device.startSessionParameterValues(&other), 0u);
  EXPECT_EQ(session, 1u);
  EXPECT_EQ(other, 2u);
  int longs = 0, doubles = 0;
  for (uint32_t key = 130000; key <= 130118; ++key) {
    SCOPED_TRACE(key);
    uint32_t length = 7;
    int64_t number = 0;
    double real = 0;
    const bool own = key == 130070 || key > 130113;
    const bool settable = (key >= 130047 && key < 130113) || own;
    const uint32_t type = device.getParameterValueType(session, key, &length);
    EXPECT_EQ(length, 0u);
    if (type == 1) {
      ++longs;
      EXPECT_EQ(device.setParameterValueLong(session, key, 1), 0u);
      const uint32_t got = device.getParameterValueLong(other, key, &number);
      if (settable) {
        EXPECT_TRUE(got == 0 && number == 1);
      }
    }
    if (type == 3) {
      ++doubles;
      EXPECT_EQ(device.setParameterValueDouble(session, key, 2.5), 0u);
      EXPECT_EQ(device.getParameterValueDouble(other, key, &real), 0u);
      EXPECT_EQ(real, settable ? 2.5 : 1.5);
    }
  }
  EXPECT_EQ(longs, 73);
  EXPECT_EQ(doubles, 32);
  EXPECT_EQ(device.setParameterValueString(session, 130079, "studio"), 0u);
  std::string label;
  device.getParameterValueString(session, 130079, &label);
  EXPECT_EQ(label, "studio");
  double volume = 0;
  device.setParameterValueDouble(session, 130070, -40);
  device.getParameterValueDouble(session, 130070, &volume);
  EXPECT_EQ(volume, -12);
  EXPECT_EQ(device.endSessionParameterValues(session), 0u);
  EXPECT_EQ(device.endSessionParameterValues(session), kFailure);
}

}  // namespace
}  // namespace qvs::test
