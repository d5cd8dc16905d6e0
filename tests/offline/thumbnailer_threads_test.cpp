// Many still pictures at once.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "offline/StillStream.h"

namespace qvs::test {
namespace {

constexpr int kThreads = 16;
constexpr int kRounds = 4;
constexpr uint32_t kCodecs[] = {7, 12, 11, 10};

TEST(ThumbnailerThreads, MakeTheSamePicturesAsOne) {
  std::vector<StillStream> streams;
  for (const uint32_t codec : kCodecs) {
    streams.push_back(makeStillStream({.codec = codec, .matrix = codec == 10 ? 2 : 1, .frames = 3}));
  }
  const auto pictureOf = [&](size_t which) {
    ThumbnailerRequestData request = requestOf(kCodecs[which], streams[which]);
    request.fitMode = 1;
    request.width = request.height = 48;
    const Still still = make(request);
    return std::vector<uint8_t>(still.data.pictureData, still.data.pictureData + still.data.pictureDataLen);
  };
  std::vector<std::vector<uint8_t>> expected;
  for (size_t i = 0; i < streams.size(); ++i) expected.push_back(pictureOf(i));
  for (const auto& picture : expected) ASSERT_EQ(picture.size(), 48u * 48 * 4);

  std::atomic<int> wrong = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      for (int round = 0; round < kRounds; ++round) {
        const auto which = static_cast<size_t>(thread + round) % streams.size();
        if (pictureOf(which) != expected[which]) ++wrong;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace qvs::test
