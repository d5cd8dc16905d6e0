// The H.264 encoder alone, on the first pictures of a clip that ffmpeg reads.
//
//   qvs-bench-h264 --encode BITRATE CLIP OUT.264   codes the clip with the defaults
//   qvs-bench-h264 --levels BITRATE CLIP...        CPU time of each speed level against the default one

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "video/encoders/VideoEncoderH264.h"

namespace qvs::bench {
namespace {

constexpr uint32_t kMostFrames = 200;
constexpr int kLevelRounds = 3;

struct Clip {
  uint32_t width = 0, height = 0;
  std::vector<std::vector<uint8_t>> frames;  ///< planes Y, U, V without padding
};

std::string outputOf(const std::string& command) {
  std::string text;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return text;
  char part[65536];
  size_t count = 0;
  while ((count = fread(part, 1, sizeof part, pipe)) > 0) text.append(part, count);
  pclose(pipe);
  return text;
}

Clip read(const std::string& path) {
  Clip clip;
  const std::string size = outputOf(
      "ffprobe -v error -select_streams v:0 -show_entries stream=width,height -of csv=p=0 '" + path + "'");
  if (sscanf(size.c_str(), "%u,%u", &clip.width, &clip.height) != 2) return clip;
  const std::string raw =
      outputOf("ffmpeg -v error -i '" + path + "' -map 0:v:0 -pix_fmt yuv420p -frames:v " +
               std::to_string(kMostFrames) + " -f rawvideo -");
  const size_t bytes = static_cast<size_t>(clip.width) * clip.height * 3 / 2;
  for (size_t at = 0; at + bytes <= raw.size(); at += bytes) {
    clip.frames.emplace_back(raw.begin() + static_cast<std::ptrdiff_t>(at),
                             raw.begin() + static_cast<std::ptrdiff_t>(at + bytes));
  }
  return clip;
}

struct Coded {
  std::vector<std::vector<uint8_t>> units;  ///< length-prefixed
  double seconds = 0;                       ///< CPU, of the encoder alone
};

double cpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

Coded encode(const Clip& clip, uint32_t bitrate, int64_t level = -1) {
  VideoEncoderH264 encoder;
  encoder.setDefaults(0, 0);
  encoder.setParameterValue(VideoEncoderH264::kKeyPerformance, level);
  encoder.setFrameSize(clip.width, clip.height);
  encoder.setFrameRate(25);
  encoder.setBitrate(bitrate);
  encoder.applyParameters();
  encoder.initialize();
  VideoFrameBuffer frame;
  frame.allocBuffer(clip.width, clip.height, kFourCCI420);
  Coded coded;
  std::vector<VideoFrameEncoded> out;
  for (size_t number = 0; number < clip.frames.size(); ++number) {
    std::copy(clip.frames[number].begin(), clip.frames[number].end(), frame.getPlane(0));
    const double start = cpuSeconds();
    encoder.addFrame(frame, 0, number * 40);
    encoder.getEncodedFrames(out);
    coded.seconds += cpuSeconds() - start;
  }
  for (const VideoFrameEncoded& unit : out) {
    coded.units.emplace_back(unit.getBuffer(), unit.getBuffer() + unit.getLen());
    std::free(unit.getBuffer());
  }
  return coded;
}

void compareLevels(const std::string& path, uint32_t bitrate) {
  const Clip clip = read(path);
  std::printf("%s:", path.substr(path.rfind('/') + 1).c_str());
  for (int64_t level = 0; level <= 15; level += level < 12 ? 2 : 1) {
    std::vector<double> ratios;
    for (int round = 0; round < kLevelRounds; ++round) {
      const double plain = encode(clip, bitrate).seconds;
      ratios.push_back(encode(clip, bitrate, level).seconds / plain);
    }
    std::nth_element(ratios.begin(), ratios.begin() + kLevelRounds / 2, ratios.end());
    std::printf(" %lld: %.2f", static_cast<long long>(level), ratios[kLevelRounds / 2]);
    std::fflush(stdout);
  }
  std::printf("\n");
}

/// Writes start codes where the lengths are.
int writeStream(const std::string& path, uint32_t bitrate, const std::string& output) {
  const Clip clip = read(path);
  if (clip.frames.empty()) {
    std::fprintf(stderr, "%s: no pictures\n", path.c_str());
    return 1;
  }
  std::ofstream file(output, std::ios::binary);
  for (auto& unit : encode(clip, bitrate).units) {
    for (size_t at = 0; at + 4 <= unit.size();) {
      const size_t length =
          size_t{unit[at]} << 24 | size_t{unit[at + 1]} << 16 | size_t{unit[at + 2]} << 8 | unit[at + 3];
      constexpr uint8_t kStartCode[] = {0, 0, 0, 1};
      std::copy(std::begin(kStartCode), std::end(kStartCode), unit.begin() + static_cast<std::ptrdiff_t>(at));
      at += 4 + length;
    }
    file.write(reinterpret_cast<const char*>(unit.data()), static_cast<std::streamsize>(unit.size()));
  }
  return file.flush() ? 0 : 1;
}

}  // namespace
}  // namespace qvs::bench

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  const auto bitrate = static_cast<uint32_t>(argc > 2 ? std::atoi(argv[2]) : 0);
  if (mode == "--encode" && argc == 5) return qvs::bench::writeStream(argv[3], bitrate, argv[4]);
  if (mode != "--levels" || argc < 4) {
    std::fprintf(stderr, "usage: qvs-bench-h264 --encode BITRATE CLIP OUT.264 | --levels BITRATE CLIP...\n");
    return 2;
  }
  for (int i = 3; i < argc; ++i) qvs::bench::compareLevels(argv[i], bitrate);
  return 0;
}
