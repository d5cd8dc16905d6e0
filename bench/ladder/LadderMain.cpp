// The ladder through whole sessions, with no Java VM around them.
//
//   qvs-bench-ladder INPUT [--ladder NAME] [--frames N] [--out DIR] [--ladders N] [--parallel]
//   qvs-bench-probe  INPUT [--ladder NAME] [--frames N] [--parallel] --latency [--paced] | --allocations

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <thread>
#include <vector>

#include "ladder/Options.h"
#include "ladder/PacketSource.h"
#include "ladder/SessionLadder.h"
#include "support/AllocationCounter.h"
#include "support/CodecProbe.h"

namespace qvs::bench {
namespace {

using test::allocationsApart;
using test::allocationsSoFar;
using test::codecNanoseconds;

constexpr uint64_t kWarmUpFrames = kKeyFrameInterval + 10;  ///< so that one requested key frame lies inside

unsigned long long printable(uint64_t value) {
  return value;
}

double median(std::vector<double>& values) {
  if (values.empty()) return 0.0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

uint64_t frameCount(const Options& options, const PacketSource& input) {
  return options.frames ? options.frames : input.frameCount();
}

void runLadder(const Options& options, const std::string& folder) {
  const auto input = PacketSource::open(options.input);
  SessionLadder ladder(*options.ladder, input->codec(), input->config(), options.parallelRungs, folder);
  const uint64_t frames = frameCount(options, *input);
  if (options.parallelRungs) ladder.decodeAhead();
  for (uint64_t number = 0; number < frames; ++number) ladder.transcode(input->next(), number);
  ladder.finish();
}

void measureLatency(const Options& options) {
  const auto input = PacketSource::open(options.input);
  const uint64_t frames = frameCount(options, *input);
  SessionLadder ladder(*options.ladder, input->codec(), input->config(), options.parallelRungs, {});
  std::vector<double> wholeMs, aboveMs;
  wholeMs.reserve(frames);
  aboveMs.reserve(frames);
  const auto begin = std::chrono::steady_clock::now();
  for (uint64_t number = 0; number < frames; ++number) {
    const auto packet = input->next();
    if (options.paced)
      std::this_thread::sleep_until(begin + number * std::chrono::microseconds(1000000 / kFrameRate));
    const auto codecBefore = codecNanoseconds();
    const auto start = std::chrono::steady_clock::now();
    ladder.transcode(packet, number);
    const std::chrono::duration<double, std::milli> whole = std::chrono::steady_clock::now() - start;
    wholeMs.push_back(whole.count());
    aboveMs.push_back(whole.count() - static_cast<double>(codecNanoseconds() - codecBefore) / 1e6);
  }
  std::printf("{\"frames\": %llu, \"latency_p50_ms\": %.4f", printable(frames), median(wholeMs));
  // With encoders side by side their times overlap, so there is nothing to subtract.
  if (!options.parallelRungs) std::printf(", \"above_codecs_p50_ms\": %.4f", median(aboveMs));
  std::printf("}\n");
}

int countAllocations(const Options& options) {
  const auto input = PacketSource::open(options.input);
  const uint64_t frames = frameCount(options, *input);
  if (frames <= kWarmUpFrames) {
    std::fprintf(stderr, "counting allocations takes more than %llu frames\n", printable(kWarmUpFrames));
    return 2;
  }
  SessionLadder ladder(*options.ladder, input->codec(), input->config(), options.parallelRungs, {});
  uint64_t number = 0;
  for (; number < kWarmUpFrames; ++number) ladder.transcode(input->next(), number);
  const uint64_t codecBefore = allocationsApart(), otherBefore = allocationsSoFar();
  const auto packetsBefore = ladder.packetCount();
  for (; number < frames; ++number) ladder.transcode(input->next(), number);
  const uint64_t codec = allocationsApart() - codecBefore, other = allocationsSoFar() - otherBefore;
  const auto counted = static_cast<double>(frames - kWarmUpFrames);
  const auto packets = static_cast<double>(ladder.packetCount() - packetsBefore);
  std::printf(
      "{\"frames\": %llu, \"packets_per_frame\": %.4f, \"codec_per_frame\": %.4f, "
      "\"beyond_packets_per_frame\": %.4f}\n",
      printable(frames - kWarmUpFrames), packets / counted, static_cast<double>(codec) / counted,
      (static_cast<double>(other) - packets) / counted);
  return 0;
}

int run(const Options& options) {
  if (options.allocations) return countAllocations(options);
  if (options.latency) {
    measureLatency(options);
    return 0;
  }
  std::vector<std::thread> others;
  for (uint32_t i = 1; i < options.ladders; ++i) others.emplace_back([&] { runLadder(options, {}); });
  runLadder(options, options.outputFolder);
  for (auto& thread : others) thread.join();
  return 0;
}

}  // namespace
}  // namespace qvs::bench

int main(int argc, char** argv) {
  try {
    return qvs::bench::run(qvs::bench::parseOptions(argc, argv));
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s: %s\n", argv[0], failure.what());
    return 1;
  }
}
