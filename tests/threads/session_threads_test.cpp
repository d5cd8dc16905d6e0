#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <thread>

#include "audio/AudioResampler.h"
#include "CountingListener.h"
#include "frames/AudioFrameEncoded.h"
#include "frames/geometry/FourCC.h"
#include "frames/VideoOverlayFrame.h"
#include "support/CodedAudio.h"
#include "support/SessionDriver.h"
#include "support/TestPicture.h"

namespace qvs::test {
namespace {

constexpr uint32_t kFrames = 12;
constexpr uint32_t kEventsPerFrame = 4;  ///< decode and one rung, before and after overlays

TranscoderSessionNotifyManager& manager() {
  return *TranscoderSessionNotifyManager::getInstance();
}

std::vector<Packet> stream() {
  return makePackets(8, 64, 48, kFrames);
}

void listen(int64_t id, CountingListener& listener) {
  manager().addVideoFrameDecodeListener(id, &listener);
  manager().addVideoFrameEncodeListener(id, &listener);
}

void stopListening(int64_t id, CountingListener& listener) {
  manager().removeVideoFrameDecodeListener(id, &listener);
  manager().removeVideoFrameEncodeListener(id, &listener);
}

/// Takes itself and a companion off and puts them back during its own call.
class RestlessListener : public CountingListener {
 public:
  CountingListener companion;

 protected:
  uint32_t onEvent(int64_t sessionId) override {
    ++events;
    stopListening(sessionId, *this);
    listen(sessionId, companion);
    listen(sessionId, *this);
    stopListening(sessionId, companion);
    return 0;
  }
};

void feedAll(SessionDriver& driver, const std::vector<Packet>& packets) {
  for (size_t i = 0; i < packets.size(); ++i) {
    driver.feed(packets[i], 40 * i, i == 0 ? 1 : 2);
  }
}

/// One session's whole life on its own thread, with listeners that all sessions share.
void live(const std::vector<Packet>& packets, std::vector<CountingListener*> listeners, bool asynchronous,
          uint64_t* sum) {
  UnitSum units;
  auto driver = std::make_unique<SessionDriver>(
      SessionSetup{.rungs = {{.asynchronous = asynchronous}},
                   .sink = [&](uint32_t, const VideoFrameEncoded& unit) { units.add(unit); }});
  const int64_t id = driver->session().getSessionId();
  manager().notifySessionListenersCreate(id, driver->session().getMediaStreamContext());
  for (auto* listener : listeners) listen(id, *listener);
  feedAll(*driver, packets);
  if (sum) *sum = units.value();
  for (auto* listener : listeners) stopListening(id, *listener);
  driver.reset();
  manager().notifySessionListenersDestroy(id);
}

TEST(SessionThreads, SharedListenersThatChangeTheirListDuringTheirCall) {
  const auto packets = stream();
  RestlessListener restless;
  CountingListener calm;
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&, i] { live(packets, {&restless, &calm}, i == 2, nullptr); });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(calm.count(), 3 * kFrames * kEventsPerFrame);
  EXPECT_GE(restless.count(), 3 * kFrames * kEventsPerFrame);
  EXPECT_EQ(manager().getSessionHolderCount(), 0u);
}

TEST(SessionThreads, ListenersComeAndGoFromOtherThreads) {
  const auto packets = stream();
  SessionDriver driver({.rungs = {{}}});
  const int64_t id = driver.session().getSessionId();
  std::atomic<bool> done{false};
  CountingListener visitor;
  std::thread other([&] {
    while (!done) {
      listen(id, visitor);
      stopListening(id, visitor);
    }
  });
  feedAll(driver, packets);
  done = true;
  other.join();
  manager().notifySessionListenersDestroy(id);
}

TEST(SessionThreads, AsynchronousEncodersGiveTheSamePackets) {
  const auto packets = stream();
  uint64_t inTurn = 0;
  live(packets, {}, false, &inTurn);
  std::array<uint64_t, 3> sums{};
  std::vector<std::thread> threads;
  for (auto& sum : sums) threads.emplace_back([&] { live(packets, {}, true, &sum); });
  for (auto& thread : threads) thread.join();
  for (const auto sum : sums) EXPECT_EQ(sum, inTurn);
}

/// The session goes while its encoders still have frames in work and nobody has asked for packets.
TEST(SessionThreads, EndsCleanlyWithFramesInWork) {
  const auto packets = makePackets(8, 320, 240, 1);
  for (int round = 0; round < 10; ++round) {
    SessionDriver driver({.rungs = {{.width = 320, .height = 240, .asynchronous = true},
                                    {.width = 160, .height = 120, .asynchronous = true}}});
    auto& session = driver.session();
    ASSERT_TRUE(driver.decode(packets[0], 0, 1));
    const uint32_t source = driver.decodedFrameIndex();
    for (uint32_t rung = 0; rung < 2; ++rung) {
      uint32_t target = 0;
      ASSERT_EQ(session.videoEncoderBufferAllocate(rung, &target), 0u);
      ASSERT_EQ(session.videoDecoderTransferFrame(source, target, rung), 0u);
      ASSERT_EQ(session.videoEncoderAddFrame(rung, target, rung, 1, 0), 0u);
      ASSERT_EQ(session.videoEncoderBufferRelease(rung, target), 0u);
    }
    if (round % 2) {
      EXPECT_EQ(session.resetPipeline(), 0u);
    }
  }
}

TEST(SessionThreads, OverlaysAreReplacedWhilePicturesAreDrawn) {
  const auto packets = stream();
  SessionDriver driver({.rungs = {{64, 48}}});
  std::atomic<bool> done{false};
  std::thread server([&] {
    for (uint8_t shade = 0; !done; ++shade) {
      constexpr uint32_t kBytes = 16 * 16 * 4;
      auto* image = static_cast<uint8_t*>(std::malloc(kBytes));
      std::memset(image, shade, kBytes);
      auto* overlay = new VideoOverlayFrame(fourcc("BGRA"), image, kBytes, 64, 0, 16, 16);
      overlay->setDestinationLocation(4, 4, 16, 16, 17);
      driver.session().videoDecoderBufferSetOverlayVideoFrame(shade % 3, overlay);
      driver.session().videoEncoderBufferSetOverlayVideoFrame(0, shade % 3, nullptr);
      std::this_thread::yield();
    }
  });
  feedAll(driver, packets);
  done = true;
  server.join();
}

/// Opus in, Opus at another rate and AAC out, packet after packet; the number of coded frames that came.
uint32_t transcodeAudio(TranscoderSession& session, const AudioFile& audio) {
  std::vector<uint8_t> config = audio.config;
  EXPECT_EQ(session.audioDecoderCreate(0, 12, 0), 0u);
  EXPECT_EQ(session.audioDecoderInitialize(), 0u);
  EXPECT_EQ(session.audioDecoderDecodeCodecConfig(config.data(), 0, static_cast<uint32_t>(config.size())),
            0u);
  EXPECT_EQ(session.audioDecoderDecodeFirstFrame(nullptr, 0, 0), 0u);
  EXPECT_EQ(session.audioDecoderBuffersCreate(1), 0u);
  EXPECT_EQ(session.audioDecoderBuffersAllocate(2048, 2, 48000), 0u);
  for (uint32_t codec : {10u, 12u}) {
    int32_t added = -1;
    EXPECT_EQ(session.audioEncoderAdd(codec, 0, &added), 0u);
    const auto index = static_cast<uint32_t>(added);
    const uint32_t rate = codec == 10 ? 44100 : 24000;
    session.audioEncoderSetSampleRate(index, rate);
    session.audioEncoderSetChannels(index, 2);
    session.audioEncoderSetBitrate(index, 96000);
    auto resampler = std::make_unique<AudioResampler>();
    resampler->setTargetSampleRate(rate);
    resampler->setTargetChannels(2);
    session.getAudioEncoder(index)->setAudioResampler(resampler.release());
    EXPECT_EQ(session.audioEncoderInitialize(index), 0u);
  }
  uint32_t frameCount = 0;
  uint64_t timecode = 1000;
  for (const AudioPacket& coded : audio.packets) {
    std::vector<uint8_t> packet = coded.bytes;
    EXPECT_EQ(
        session.audioDecoderDecodeFrame(packet.data(), 0, static_cast<uint32_t>(packet.size()), timecode, 0),
        0u);
    session.audioDecoderResampleFrame(timecode, 0);
    for (uint32_t index = 0; index < 2; ++index) {
      EncodedAudioUnits frames;
      EXPECT_EQ(session.audioEncoderEncodeBufferStart(index, 0), 0u);
      EXPECT_EQ(session.audioEncoderResampleFrame(index, 0), 0u);
      EXPECT_EQ(session.audioEncoderAddSampleBuffer(index, 0, frames), 0u);
      frameCount += static_cast<uint32_t>(frames.size());
    }
    timecode += 20;
  }
  return frameCount;
}

/// The audio side of a session runs beside its video side; a third thread fetches the log.
TEST(SessionThreads, VideoAudioAndTheLogSideBySide) {
  const auto packets = stream();
  const AudioFile audioFile = makeOpus(2);
  SessionDriver driver({.rungs = {{}}});
  auto& session = driver.session();
  const int64_t id = session.getSessionId();
  std::atomic<bool> done{false};
  std::thread audio([&] {
    // A second of sound: 43 frames of AAC, less those that the encoder holds, and 50 of Opus.
    EXPECT_GT(transcodeAudio(session, audioFile), 85u);
    done = true;
  });
  std::thread log([&] {
    while (!done) {
      std::vector<LogStatement> statements;
      session.getLogCollector().getLogStatements(statements);
      std::this_thread::yield();
    }
  });
  feedAll(driver, packets);
  audio.join();
  log.join();
  manager().notifySessionListenersDestroy(id);
}

}  // namespace
}  // namespace qvs::test
