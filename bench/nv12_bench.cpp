// YV12 to NV12 and back at 1080p against memcpy of the same bytes, over a pool of pictures as a session
// cycles through. One JSON line a figure: the median of the ratios of alternating pairs, in CPU time of the
// process, and the milliseconds it comes from.
//
//   cmake --build build/release --target nv12-bench && build/release/bench/nv12-bench
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <vector>

#include "video/scaling/device/VideoFrameNV12Utils.h"

namespace {

constexpr uint32_t kWidth = 1920, kHeight = 1080;
constexpr size_t kLuma = size_t{kWidth} * kHeight;
constexpr size_t kBytes = kLuma * 3 / 2;
constexpr int kPictures = 4;  // of each kind
constexpr int kRounds = 4;    // passes over the pool in one timing
constexpr int kPairs = 61;

double processMilliseconds() {
  timespec time;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

struct Picture {
  Picture(uint32_t fourcc, int planes) : bytes(kBytes, 100) {
    frame.four_cc = fourcc;
    frame.width = kWidth;
    frame.height = kHeight;
    frame.plane[0] = bytes.data();
    frame.plane[1] = bytes.data() + kLuma;
    frame.stride[0] = kWidth;
    frame.stride[1] = planes == 2 ? kWidth : kWidth / 2;
    if (planes == 3) {
      frame.plane[2] = bytes.data() + kLuma * 5 / 4;
      frame.stride[2] = kWidth / 2;
    }
  }

  std::vector<uint8_t> bytes;
  mc_frame_t frame{};
};

using Conversion = std::function<void(Picture& planar, Picture& pairs)>;

struct Pool {
  std::vector<Picture> planar, pairs;

  // Milliseconds of the process for one picture.
  double time(const Conversion& convert) {
    const double start = processMilliseconds();
    for (int round = 0; round < kRounds; ++round) {
      for (int i = 0; i < kPictures; ++i) convert(planar[i], pairs[i]);
    }
    return (processMilliseconds() - start) / (kRounds * kPictures);
  }
};

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

void report(const char* name, Pool& pool, const Conversion& convert, const Conversion& copy) {
  pool.time(convert);
  pool.time(copy);
  std::vector<double> ratios, times;
  for (int pair = 0; pair < kPairs; ++pair) {
    const bool copyFirst = pair % 2 != 0;
    const double before = copyFirst ? pool.time(copy) : 0;
    times.push_back(pool.time(convert));
    ratios.push_back(times.back() / (copyFirst ? before : pool.time(copy)));
  }
  printf("{\"name\":\"%s.vs_memcpy\",\"ratio\":%.3f,\"ms\":%.4f}\n", name, median(ratios), median(times));
}

}  // namespace

int main() {
  Pool pool;
  for (int i = 0; i < kPictures; ++i) {
    pool.planar.emplace_back(0x32315659, 3);
    pool.pairs.emplace_back(0x3231564E, 2);
  }
  report(
      "yv12_to_nv12", pool,
      [](Picture& planar, Picture& pairs) {
        qvs::VideoFrameNV12Utils::copyYV12toNV12(&planar.frame, &pairs.frame);
      },
      [](Picture& planar, Picture& pairs) { memcpy(pairs.bytes.data(), planar.bytes.data(), kBytes); });
  report(
      "nv12_to_yv12", pool,
      [](Picture& planar, Picture& pairs) {
        qvs::VideoFrameNV12Utils::copyNV12toYV12(&pairs.frame, &planar.frame);
      },
      [](Picture& planar, Picture& pairs) { memcpy(planar.bytes.data(), pairs.bytes.data(), kBytes); });
}
