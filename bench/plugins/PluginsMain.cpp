// Encoders' plug-ins and their host against the libraries called directly, or against a copy of the picture.
//
//   qvs-bench-plugins software|vaapi FOLDER-OF-PLUGINS PICTURES.yuv WIDTH HEIGHT ROUNDS
//
// "vaapi" is for a driver whose encoder is switched off: what is left is the road to it.
// One line of JSON a figure. Both roads must give the same bytes, else it ends with 1.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "plugins/EncoderRuns.h"

namespace qvs::bench {
namespace {

/// Planes Y, U, V as ffmpeg writes them come out as Y, V, U.
void readPictures(const std::string& path, PluginJob& job) {
  const size_t luma = size_t{job.width} * job.height, chroma = luma / 4;
  std::ifstream file(path, std::ios::binary);
  std::vector<char> raw(luma + 2 * chroma);
  while (file.read(raw.data(), static_cast<std::streamsize>(raw.size()))) {
    std::vector<uint8_t> picture(raw.begin(), raw.begin() + static_cast<std::ptrdiff_t>(luma));
    const auto u = raw.begin() + static_cast<std::ptrdiff_t>(luma),
               v = u + static_cast<std::ptrdiff_t>(chroma);
    picture.insert(picture.end(), v, raw.end());
    picture.insert(picture.end(), u, v);
    job.pictures.push_back(std::move(picture));
  }
}

bool measure(const PluginRoads& roads, const PluginJob& job, int rounds) {
  std::string samples;
  double allocations = 0;
  roads.direct(job);  // the first run in a process makes the libraries' common tables
  for (int round = 0; round < rounds; ++round) {
    const EncoderRun plugin = roads.plugin(job), direct = roads.direct(job);
    if (plugin.sum != direct.sum || plugin.bytes != direct.bytes || plugin.frames != direct.frames) {
      std::fprintf(
          stderr, "%s: %llu bytes in %llu frames, directly %llu in %llu: not the same stream\n", roads.figure,
          static_cast<unsigned long long>(plugin.bytes), static_cast<unsigned long long>(plugin.frames),
          static_cast<unsigned long long>(direct.bytes), static_cast<unsigned long long>(direct.frames));
      return false;
    }
    samples += (round != 0 ? "," : "") + std::to_string(plugin.cpuSeconds / direct.cpuSeconds);
    // The bytes of a coded frame are the one that is meant.
    allocations = plugin.allocations - direct.allocations - 1;
  }
  std::printf("{\"name\":\"%s\",\"ratio\":0,\"samples\":[%s]}\n", roads.figure, samples.c_str());
  std::printf("{\"name\":\"%s_allocations\",\"value\":%.3f}\n", roads.figure, allocations);
  std::fflush(stdout);
  return true;
}

bool measureRoadToCard(const PluginJob& job, int rounds) {
  std::string samples;
  double microseconds = 0;
  for (int round = 0; round < rounds; ++round) {
    const EncoderRun load = loadOnly(job), copy = loadAndCopy(job), card = throughVaapi(job);
    if (card.frames != job.pictures.size()) {
      std::fprintf(stderr, "%llu frames of %zu pictures came out\n",
                   static_cast<unsigned long long>(card.frames), job.pictures.size());
      return false;
    }
    const double road = card.cpuSeconds - load.cpuSeconds;
    samples += (round != 0 ? "," : "") + std::to_string(road / (copy.cpuSeconds - load.cpuSeconds));
    microseconds = road * 1e6 / static_cast<double>(job.pictures.size());
  }
  std::printf("{\"name\":\"plugins.vaapi_vs_memcpy\",\"ratio\":0,\"samples\":[%s]}\n", samples.c_str());
  std::printf("{\"name\":\"plugins.vaapi_overhead_us\",\"value\":%.1f}\n", microseconds);
  return true;
}

}  // namespace
}  // namespace qvs::bench

int main(int argc, char** argv) {
  using namespace qvs::bench;
  if (argc != 7) {
    std::fprintf(
        stderr,
        "usage: qvs-bench-plugins software|vaapi FOLDER-OF-PLUGINS PICTURES.yuv WIDTH HEIGHT ROUNDS\n");
    return 2;
  }
  PluginJob job;
  job.folder = argv[2];
  job.width = static_cast<uint32_t>(std::atoi(argv[4]));
  job.height = static_cast<uint32_t>(std::atoi(argv[5]));
  readPictures(argv[3], job);
  if (job.pictures.size() < 2) {
    std::fprintf(stderr, "%s: no pictures\n", argv[3]);
    return 1;
  }
  const int rounds = std::atoi(argv[6]);
  if (std::string(argv[1]) == "vaapi") return measureRoadToCard(job, rounds) ? 0 : 1;
  return measure(kX264Roads, job, rounds) && measure(kX265Roads, job, rounds) ? 0 : 1;
}
