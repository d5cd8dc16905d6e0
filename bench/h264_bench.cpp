// The H.264 encoder against libx264 called directly as its command line would at "--preset veryfast --tune
// zerolatency" with the same rate, buffer and number of threads: luma PSNR at equal size, and CPU time.
//
//   qvs-bench-h264 BITRATE CLIP...            reads clips through ffmpeg
//   qvs-bench-h264 --levels BITRATE CLIP...   CPU time of each speed level against the default one
//
// The direct encoder's rate is adjusted until its output has the size of ours within 0.2 %.

#include <cstdint>

#include <x264.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "frames/geometry/FourCC.h"
#include "frames/VideoFrameBuffer.h"
#include "H264Playback.h"
#include "video/encoders/VideoEncoderH264.h"

namespace qvs::bench {
namespace {

using test::H264Unit;

constexpr uint32_t kMostFrames = 200;
constexpr int kTimeRounds = 5;
constexpr int kLevelRounds = 3;
constexpr double kSizeTolerance = 0.002;

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
  std::vector<H264Unit> units;
  double seconds = 0;  ///< CPU, of the encoder alone

  size_t size() const {
    size_t sum = 0;
    for (const H264Unit& unit : units) sum += unit.bytes.size();
    return sum;
  }
};

double cpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

Coded encodeOurs(const Clip& clip, uint32_t bitrate, int64_t level = -1) {
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
    coded.units.push_back({{unit.getBuffer(), unit.getBuffer() + unit.getLen()}, unit.getTimecode(), 0, 0});
    std::free(unit.getBuffer());
  }
  return coded;
}

x264_t* openDirect(const Clip& clip, double bitrate) {
  x264_param_t parameters;
  x264_param_default_preset(&parameters, "veryfast", "zerolatency");
  parameters.i_threads = 1;
  parameters.i_width = static_cast<int>(clip.width);
  parameters.i_height = static_cast<int>(clip.height);
  parameters.i_fps_num = 25;
  parameters.i_fps_den = 1;
  parameters.i_keyint_max = X264_KEYINT_MAX_INFINITE;
  parameters.i_scenecut_threshold = 0;
  parameters.rc.i_rc_method = X264_RC_ABR;
  parameters.rc.i_bitrate = static_cast<int>(bitrate / 1000);
  parameters.rc.i_vbv_max_bitrate = parameters.rc.i_bitrate * 110 / 100;
  parameters.rc.i_vbv_buffer_size = parameters.rc.i_vbv_max_bitrate * 2;
  parameters.b_repeat_headers = 1;
  parameters.b_annexb = 0;
  parameters.i_log_level = X264_LOG_NONE;
  x264_param_apply_profile(&parameters, "high");
  return x264_encoder_open(&parameters);
}

Coded encodeDirect(const Clip& clip, double bitrate) {
  x264_t* encoder = openDirect(clip, bitrate);
  Coded coded;
  for (size_t number = 0; number < clip.frames.size(); ++number) {
    x264_picture_t picture, reconstructed;
    x264_picture_init(&picture);
    auto* bytes = const_cast<uint8_t*>(clip.frames[number].data());
    const auto wide = static_cast<int>(clip.width);
    const size_t luma = static_cast<size_t>(clip.width) * clip.height;
    picture.img = {X264_CSP_I420, 3, {wide, wide / 2, wide / 2}, {bytes, bytes + luma, bytes + luma * 5 / 4}};
    picture.i_pts = static_cast<int64_t>(number);
    x264_nal_t* units = nullptr;
    int count = 0;
    const double start = cpuSeconds();
    const int size = x264_encoder_encode(encoder, &units, &count, &picture, &reconstructed);
    coded.seconds += cpuSeconds() - start;
    if (size > 0) {
      coded.units.push_back({{units[0].p_payload, units[0].p_payload + size}, number * 40, 0, 0});
    }
  }
  x264_encoder_close(encoder);
  return coded;
}

double lumaPsnr(const Clip& clip, const Coded& coded) {
  const std::vector<test::H264Picture> pictures = test::play(coded.units);
  if (pictures.size() != clip.frames.size()) return 0;
  std::vector<uint8_t> got, wanted;
  for (size_t number = 0; number < pictures.size(); ++number) {
    const std::vector<uint8_t>& luma = pictures[number].planes[0];
    const auto& frame = clip.frames[number];
    got.insert(got.end(), luma.begin(), luma.end());
    wanted.insert(wanted.end(), frame.begin(), frame.begin() + static_cast<std::ptrdiff_t>(luma.size()));
  }
  return test::psnr(got, wanted);
}

Coded encodeDirectAtSize(const Clip& clip, double bitrate, double size) {
  Coded coded;
  for (int round = 0; round < 8; ++round) {
    coded = encodeDirect(clip, bitrate);
    const double ratio = size / static_cast<double>(coded.size());
    if (std::abs(ratio - 1) < kSizeTolerance) break;
    bitrate *= ratio;
  }
  return coded;
}

void compareLevels(const std::string& path, uint32_t bitrate) {
  const Clip clip = read(path);
  std::printf("%s:", path.substr(path.rfind('/') + 1).c_str());
  for (int64_t level = 0; level <= 15; level += level < 12 ? 2 : 1) {
    std::vector<double> ratios;
    for (int round = 0; round < kLevelRounds; ++round) {
      const double plain = encodeOurs(clip, bitrate).seconds;
      ratios.push_back(encodeOurs(clip, bitrate, level).seconds / plain);
    }
    std::nth_element(ratios.begin(), ratios.begin() + kLevelRounds / 2, ratios.end());
    std::printf(" %lld: %.2f", static_cast<long long>(level), ratios[kLevelRounds / 2]);
    std::fflush(stdout);
  }
  std::printf("\n");
}

void compare(const std::string& path, uint32_t bitrate) {
  const Clip clip = read(path);
  if (clip.frames.empty()) {
    std::fprintf(stderr, "%s: no pictures\n", path.c_str());
    return;
  }
  const Coded ours = encodeOurs(clip, bitrate);
  const Coded direct = encodeDirectAtSize(clip, bitrate, static_cast<double>(ours.size()));
  std::vector<double> ratios;
  for (int round = 0; round < kTimeRounds; ++round) {
    const double own = encodeOurs(clip, bitrate).seconds;
    ratios.push_back(own / encodeDirect(clip, bitrate).seconds);
  }
  std::nth_element(ratios.begin(), ratios.begin() + kTimeRounds / 2, ratios.end());
  const double ourPsnr = lumaPsnr(clip, ours), directPsnr = lumaPsnr(clip, direct);
  const double seconds = static_cast<double>(clip.frames.size()) / 25;
  std::printf(
      "%s: %ux%u, %zu frames, %.0f kbit/s (direct %.0f): PSNR %.3f against %.3f: %+.3f dB, CPU %.3f\n",
      path.substr(path.rfind('/') + 1).c_str(), clip.width, clip.height, clip.frames.size(),
      static_cast<double>(ours.size()) * 8 / seconds / 1000,
      static_cast<double>(direct.size()) * 8 / seconds / 1000, ourPsnr, directPsnr, ourPsnr - directPsnr,
      ratios[kTimeRounds / 2]);
}

}  // namespace
}  // namespace qvs::bench

int main(int argc, char** argv) {
  const bool levels = argc > 1 && std::string(argv[1]) == "--levels";
  const int first = levels ? 2 : 1;
  if (argc < first + 2) {
    std::fprintf(stderr, "usage: qvs-bench-h264 [--levels] BITRATE CLIP...\n");
    return 2;
  }
  const auto bitrate = static_cast<uint32_t>(std::atoi(argv[first]));
  for (int i = first + 1; i < argc; ++i) {
    (levels ? qvs::bench::compareLevels : qvs::bench::compare)(argv[i], bitrate);
  }
  return 0;
}
