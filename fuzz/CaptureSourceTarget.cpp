// Bytes as a capture directory: what precedes the first zero is `info.properties`, the rest the media file "m". Whatever
// a directory says, what is measured must lie within its files, and the loop must have a length.

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "capture/CaptureFileSource.h"
#include "log/LogCollector.h"

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

/// One folder for the whole run.
const std::string& folder() {
  static const std::string path = [] {
    char name[] = "/tmp/qvs-fuzz-capture-XXXXXX";
    check(mkdtemp(name) != nullptr);
    std::atexit([] { std::filesystem::remove_all(folder()); });
    return std::string(name);
  }();
  return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string all(reinterpret_cast<const char*>(data), size);
  const size_t end = std::min(all.find('\0'), size);
  std::ofstream(folder() + "/info.properties", std::ios::binary) << all.substr(0, end);
  std::ofstream(folder() + "/m", std::ios::binary) << all.substr(std::min(end + 1, size));
  const uint64_t length = size - std::min(end + 1, size);

  qvs::LogCollector log;
  qvs::CaptureFileSource source(&log);
  if (source.load(folder().c_str()) != 0) return 0;
  check(source.hasVideo() || source.hasAudio());
  check(source.videoFrameCount * source.videoFrameSizeBytes <= length);
  if (source.hasAudio()) {
    check(source.audioFileOffset + source.audioFrameCount * source.audioFrameSizeBytes <= length);
  }
  check(source.getLoopLength() != 0);
  const uint64_t samples = source.periods(1, source.audioSampleRate);
  check(samples * source.audioFrameSizeBytes < 1u << 30);
  // A day later the clock still agrees with itself.
  const uint64_t day = uint64_t{source.videoFrameRateEnum} * 86400;
  check(source.periods(day, 1000) == uint64_t{source.videoFrameRateDenom} * 86400 * 1000);
  return 0;
}
