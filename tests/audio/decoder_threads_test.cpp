// A decoder is closed while another thread decodes.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "support/AudioDecoderRun.h"
#include "support/CodedAudio.h"

namespace qvs::test {
namespace {

TEST(DecoderThreads, CloseBesideDecode) {
  const AudioFile file = makeOpus(2);
  AudioDecoderRun run(makeAudioDecoder("opus"));
  ASSERT_TRUE(run.open(file));
  std::atomic<bool> done{false};
  std::thread closer([&] {
    while (!done) {
      run.decoder().close();
      std::this_thread::yield();
    }
  });
  size_t packets = 0;
  for (int round = 0; round < 40; ++round) {
    ASSERT_TRUE(run.open(file));
    run.feedAll(file);
    packets += file.packets.size();
  }
  done = true;
  closer.join();
  EXPECT_EQ(run.results, std::vector<uint32_t>(packets, 0)) << "without a decoder a packet gives no sound";
  run.samples.clear();
  ASSERT_TRUE(run.open(file));
  run.feedAll(file);
  EXPECT_EQ(run.samples.size(), 96000u);
}

}  // namespace
}  // namespace qvs::test
