// What a captured picture costs before a session has it, without a card: v210 into planes against a copy of its bytes,
// the levels of its sound, the search of its blanking lines. One JSON line a figure.
//
//   qvs-bench-card [--pairs N]

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <random>
#include <span>
#include <string_view>
#include <vector>

#include "capture/CaptureAncillaryDataUtils.h"
#include "capture/CaptureDeviceBase.h"
#include "capture/decklink/VancScanner.h"
#include "mc_ucc.h"

namespace qvs::bench {
namespace {

constexpr uint32_t kWidth = 1920, kHeight = 1080, kRowBytes = 5120;
constexpr int kPictures = 40;  ///< of a run; more than the caches hold
constexpr uint32_t kLines = 40;

double cpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// CPU seconds of `work`, a time.
double timeOf(const std::function<void()>& work, int times) {
  const double start = cpuSeconds();
  for (int i = 0; i < times; ++i) work();
  return (cpuSeconds() - start) / times;
}

void tell(const char* name, const char* kind, const std::vector<double>& samples) {
  std::vector<double> sorted = samples;
  std::sort(sorted.begin(), sorted.end());
  std::printf("{\"name\": \"%s\", \"%s\": %.4f, \"samples\": [", name, kind, sorted[sorted.size() / 2]);
  for (size_t i = 0; i < samples.size(); ++i) std::printf("%s%.4f", i == 0 ? "" : ", ", samples[i]);
  std::printf("]}\n");
}

std::vector<uint8_t> randomBytes(size_t count) {
  std::mt19937 random(7);
  std::vector<uint8_t> bytes(count);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
  return bytes;
}

void measureV210(int pairs) {
  std::vector<std::vector<uint8_t>> pictures(4, randomBytes(size_t{kRowBytes} * kHeight));
  std::vector<uint8_t> copy(pictures[0].size()), planes(size_t{kWidth} * kHeight * 3 / 2);
  ucc_frame_t source{}, target{};
  source.pixel_format = UCC_FORMAT_V210;
  target.pixel_format = UCC_FORMAT_I420;
  source.width = target.width = kWidth;
  source.height = target.height = kHeight;
  source.stride[0] = kRowBytes;
  target.stride[0] = kWidth;
  target.stride[1] = target.stride[2] = kWidth / 2;
  target.plane[0] = planes.data();
  target.plane[2] = planes.data() + size_t{kWidth} * kHeight;  // "YV12"
  target.plane[1] = target.plane[2] + size_t{kWidth} * kHeight / 4;
  const ucc_config_t config{};
  const std::unique_ptr<void, void (*)(void*)> converter(UCC_Create(0), UCC_Destroy);
  size_t turn = 0;
  const auto convert = [&] {
    source.plane[0] = pictures[turn++ % pictures.size()].data();
    if (UCC_Transform(converter.get(), &target, &source, &config) != 0) std::abort();
  };
  const auto copyBytes = [&] {
    std::memcpy(copy.data(), pictures[turn++ % pictures.size()].data(), copy.size());
  };
  convert();
  copyBytes();
  std::vector<double> ratios;
  for (int i = 0; i < pairs; ++i) ratios.push_back(timeOf(convert, kPictures) / timeOf(copyBytes, kPictures));
  tell("capture.v210_vs_memcpy", "ratio", ratios);
}

void measureLevels(int pairs) {
  constexpr uint32_t kSamples = 1920, kChannels = 16;  // a 25th of a second
  const std::vector<uint8_t> sound = randomBytes(size_t{kSamples} * kChannels * 2);
  AudioLevelSingleChannelData levels[kChannels];
  std::vector<double> percents;
  for (int i = 0; i < pairs; ++i) {
    const double seconds = timeOf(
        [&] {
          CaptureDeviceBase::calculateAudioLevelsAll(sound.data(), kSamples, 0, kChannels, 2, 48000, levels);
        },
        200);
    percents.push_back(seconds / 0.04 * 100);
  }
  tell("capture.levels_percent", "percent", percents);
}

void measureVanc(int pairs) {
  // Empty but for every fifth word, which looks like the start of a packet.
  std::vector<uint8_t> line(kRowBytes);
  for (size_t at = 0; at + 4 <= line.size(); at += 4) {
    const uint32_t word = at % 20 == 0 ? 0 : 0x200u << 20 | 0x40u << 10 | 0x200u;
    std::memcpy(line.data() + at, &word, 4);
  }
  std::vector<uint16_t> words(kWidth);
  uint32_t packets = 0;
  const auto scan = [&] {
    for (uint32_t i = 0; i < kLines; ++i) {
      uint32_t count = 0;
      CaptureAncillaryDataUtils::getAncillaryData(line.data(), kWidth, 0, words.data(), &count);
      VancScanner scanner(std::span<const uint16_t>(words.data(), count));
      for (VancPacket packet{}; scanner.next(&packet);) ++packets;
    }
  };
  std::vector<double> percents;
  for (int i = 0; i < pairs; ++i) percents.push_back(timeOf(scan, 50) / 0.02 * 100);
  tell("capture.vanc_percent", "percent", percents);
}

}  // namespace
}  // namespace qvs::bench

int main(int argc, char** argv) {
  int pairs = 7;
  if (argc == 3 && std::string_view(argv[1]) == "--pairs") pairs = std::max(1, std::atoi(argv[2]));
  qvs::bench::measureV210(pairs);
  qvs::bench::measureLevels(pairs);
  qvs::bench::measureVanc(pairs);
  return 0;
}
