// One stream of sound through the resampler, and the same blocks through libswresample called directly with
// the same settings, in turn; one JSON line a figure.
//
//   qvs-bench-resample [--seconds N] [--pairs N]

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "audio/AudioResampler.h"
#include "frames/AudioSampleBuffer.h"
#include "support/SweptSine.h"

namespace qvs::bench {
namespace {

constexpr uint32_t kFrom = 44100;  // Hz
constexpr uint32_t kTo = 48000;    // Hz
constexpr uint32_t kBlock = 1024;  // samples per channel
constexpr uint32_t kChannels = 2;

double cpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

using Samples = std::vector<int16_t>;

/// Blocks of a decoder, in turn; the last one that is not whole is left out.
size_t blocksOf(const Samples& audio) {
  return audio.size() / (kBlock * kChannels);
}

class ResamplerRun {
 public:
  ResamplerRun() {
    resampler.setTargetSampleRate(kTo);
    resampler.setTargetChannels(kChannels);
    in.allocBuffer(kBlock, kChannels, kFrom);
  }

  /// Appends the result to `kept`, where there is one.
  void run(const Samples& audio, Samples* kept) {
    for (size_t block = 0; block < blocksOf(audio); ++block, timecode += kBlock) {
      std::memcpy(in.getBuffer(), &audio[block * kBlock * kChannels], in.getLen());
      in.setTimecode(timecode);
      resampler.resample(in, out);
      const auto* made = reinterpret_cast<const int16_t*>(out.getBuffer());
      if (kept != nullptr) kept->insert(kept->end(), made, made + size_t{out.getSampleCount()} * kChannels);
    }
  }

 private:
  AudioResampler resampler;
  AudioSampleBuffer in;
  AudioSampleBuffer out;
  uint64_t timecode = 0;
};

class DirectRun {
 public:
  DirectRun() {
    AVChannelLayout layout = AV_CHANNEL_LAYOUT_STEREO;
    swr_alloc_set_opts2(&swr, &layout, AV_SAMPLE_FMT_S16, kTo, &layout, AV_SAMPLE_FMT_S16, kFrom, 0, nullptr);
    av_opt_set_int(swr, "internal_sample_fmt", AV_SAMPLE_FMT_FLTP, 0);
    av_opt_set_int(swr, "filter_size", 64, 0);
    av_opt_set_double(swr, "cutoff", 0.95, 0);
    if (swr_init(swr) < 0) std::exit(1);
  }
  ~DirectRun() { swr_free(&swr); }
  DirectRun(const DirectRun&) = delete;
  DirectRun& operator=(const DirectRun&) = delete;

  void run(const Samples& audio) {
    for (size_t block = 0; block < blocksOf(audio); ++block) {
      const auto* from = reinterpret_cast<const uint8_t*>(&audio[block * kBlock * kChannels]);
      auto* to = reinterpret_cast<uint8_t*>(out.data());
      swr_convert(swr, &to, static_cast<int>(out.size() / kChannels), &from, kBlock);
    }
  }

 private:
  SwrContext* swr = nullptr;
  Samples out = Samples(4 * kBlock * kChannels);
};

void printSamples(const char* name, const std::vector<double>& values) {
  std::vector<double> sorted = values;
  std::sort(sorted.begin(), sorted.end());
  std::printf("{\"name\": \"%s\", \"ratio\": %.4f, \"samples\": [", name, sorted[sorted.size() / 2]);
  for (size_t i = 0; i < values.size(); ++i) std::printf("%s%.4f", i != 0 ? ", " : "", values[i]);
  std::printf("]}\n");
}

void measure(double seconds, int pairs) {
  Samples kept;
  ResamplerRun().run(test::sweptSine(kFrom, 10.0, kChannels), &kept);
  std::printf("{\"name\": \"resample.snr_db\", \"value\": %.2f}\n",
              test::sweptSineSnr(kept, kTo, 10.0, kChannels));

  const Samples audio = test::sweptSine(kFrom, seconds, kChannels);
  ResamplerRun ours;
  DirectRun direct;
  ours.run(audio, nullptr);
  direct.run(audio);
  std::vector<double> realTime, ratio;
  for (int pair = 0; pair < pairs; ++pair) {
    const double start = cpuSeconds();
    ours.run(audio, nullptr);
    const double middle = cpuSeconds();
    direct.run(audio);
    const double end = cpuSeconds();
    realTime.push_back(seconds / (middle - start));
    ratio.push_back((end - middle) / (middle - start));
  }
  printSamples("resample.times_real_time", realTime);
  printSamples("resample.speed_vs_libswresample", ratio);
}

}  // namespace
}  // namespace qvs::bench

int main(int argc, char** argv) {
  double seconds = 600;
  int pairs = 7;
  for (int i = 1; i + 1 < argc; i += 2) {
    if (std::string_view(argv[i]) == "--seconds") seconds = std::atof(argv[i + 1]);
    if (std::string_view(argv[i]) == "--pairs") pairs = std::atoi(argv[i + 1]);
  }
  qvs::bench::measure(std::max(seconds, 1.0), std::max(pairs, 1));
  return 0;
}
