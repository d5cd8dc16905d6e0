// Reads `info.properties` and measures the files that it names.
#include "capture/CaptureFileSource.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>

#include "capture/CaptureMediaFile.h"
#include "frames/geometry/HostLayout.h"
#include "log/ILogger.h"
#include "platform/Status.h"

namespace qvs {

namespace {

constexpr uint32_t kNothingToPlay = 1;
constexpr uint32_t kBytesPerSample = 2;  ///< of all sound in the system

/// The numbers of `info.properties`, with the largest that makes sense of each.
struct NumberRow {
  const char* key;
  uint32_t CaptureFileSource::*field;
  uint32_t largest;
};
constexpr NumberRow kNumbers[] = {
    {"audio.sampleRate", &CaptureFileSource::audioSampleRate, 768000},
    {"audio.channels", &CaptureFileSource::audioChannels, 32},
    {"audio.bytesPerSample", &CaptureFileSource::audioBytesPerSample, 8},
    {"video.frameWidth", &CaptureFileSource::videoFrameWidth, 16384},
    {"video.frameHeight", &CaptureFileSource::videoFrameHeight, 16384},
    {"video.frameRateEnum", &CaptureFileSource::videoFrameRateEnum, 1000000},
    {"video.frameRateDenom", &CaptureFileSource::videoFrameRateDenom, 1000000},
};

/// Pictures a second: a block of sound shouldn't last longer than ten seconds, and the thread wakes 200 times.
constexpr uint64_t kRateMax = 120;
constexpr uint64_t kPeriodMax = 10;

std::string trimmed(const std::string& text) {
  constexpr const char* kBlank = " \t\r\n\v\f";
  const size_t first = text.find_first_not_of(kBlank);
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

bool leavesDirectory(const std::string& path) {
  for (size_t at = 0; at <= path.size();) {
    const size_t end = std::min(path.find('/', at), path.size());
    if (path.compare(at, end - at, "..") == 0) return true;
    at = end + 1;
  }
  return false;
}

std::string propertiesOf(const std::string& directory) {
  return directory + "/info.properties";
}

/// The part of a value that a log line shows.
std::string shown(const std::string& value) {
  return value.substr(0, 64);
}

}  // namespace

void CaptureFileSource::warn(const std::string& text) const {
  if (logger != nullptr) {
    logger->warn("CaptureFileSource.load[{context}]: " + text);
  } else {
    std::printf("WARN: %s\n", text.c_str());
  }
}

bool CaptureFileSource::isDirectory(const char* directory) {
  return std::ifstream(propertiesOf(directory)).is_open();
}

uint32_t CaptureFileSource::load(const char* directory) {
  std::ifstream properties(propertiesOf(directory), std::ios::binary);
  if (!properties.is_open()) return kNothingToPlay;
  for (std::string line; std::getline(properties, line);) readLine(std::move(line), directory);
  checkValues();
  measureVideo();
  measureAudio();
  if (hasVideo() && hasAudio()) {
    // Together in one loop; a period less, so that sound never runs out within it.
    const uint64_t covered = periodsOfSound();
    videoFrameCount = std::min(videoFrameCount, covered > 1 ? covered - 1 : 1);
  }
  if (hasVideo() || hasAudio()) return kSuccess;
  warn(fmt::format("Nothing to play in {}", directory));
  return kNothingToPlay;
}

void CaptureFileSource::readLine(std::string line, const std::string& directory) {
  if (line.size() > kLineMax) {
    return warn(fmt::format("Line of {} bytes in info.properties: {}", line.size(), shown(line)));
  }
  line = trimmed(line);
  if (line.empty() || line[0] == '#') return;
  const size_t colon = line.find(':');
  if (colon == 0) return;
  if (colon == std::string::npos) {
    return warn(fmt::format("Line without a colon in info.properties: {}", shown(line)));
  }
  const std::string key = trimmed(line.substr(0, colon));
  const std::string value = trimmed(line.substr(colon + 1));
  if (key == "audio.file.path" || key == "video.file.path") return readPath(key, value, directory);
  readNumber(key, value);
}

void CaptureFileSource::readNumber(const std::string& key, const std::string& value) {
  const auto row =
      std::find_if(std::begin(kNumbers), std::end(kNumbers), [&](const auto& one) { return key == one.key; });
  if (row == std::end(kNumbers)) return;  // keys of other readers
  uint32_t number = 0;
  const char* const end = value.data() + value.size();
  const auto [stop, error] = std::from_chars(value.data(), end, number);
  if (error != std::errc{} || stop != end || number == 0 || number > row->largest) {
    return warn(fmt::format("Bad value {}: {}", key, shown(value)));
  }
  this->*row->field = number;
}

void CaptureFileSource::readPath(const std::string& key, const std::string& value,
                                 const std::string& directory) {
  const std::string path = directory + "/" + value;
  if (value.empty() || leavesDirectory(value) || path.size() >= kPathMax ||
      path.find('\0') != std::string::npos) {
    return warn(fmt::format("Bad value {}: {}", key, shown(value)));
  }
  (key[0] == 'a' ? filePathAudio : filePathVideo) = path;
}

void CaptureFileSource::checkValues() {
  const uint64_t rate = videoFrameRateEnum, denom = videoFrameRateDenom;
  if (rate > kRateMax * denom || rate * kPeriodMax < denom) {
    warn(fmt::format("Bad value video.frameRateEnum: {}/{}", rate, denom));
    videoFrameRateEnum = 30;
    videoFrameRateDenom = 1;
  }
  const bool odd = ((videoFrameWidth | videoFrameHeight) & 1) != 0;
  if (!filePathVideo.empty() && (odd || uint64_t{videoFrameWidth} * videoFrameHeight >= kFramePixelsLimit)) {
    warn(fmt::format("Bad value video.frameWidth: {}x{}", videoFrameWidth, videoFrameHeight));
    filePathVideo.clear();
  }
  if (!filePathAudio.empty() && audioBytesPerSample != kBytesPerSample) {
    warn(fmt::format("Bad value audio.bytesPerSample: {}", audioBytesPerSample));
    filePathAudio.clear();
  }
}

void CaptureFileSource::measureVideo() {
  videoFrameSizeBytes = uint64_t{videoFrameWidth} * videoFrameHeight * 12 / 8;
  if (filePathVideo.empty()) return;
  const CaptureMediaFile file(filePathVideo);
  if (!file.isOpen()) {
    warn("File not found [video.file.path]: " + filePathVideo);
    return filePathVideo.clear();
  }
  videoFrameCount = file.getSize() / videoFrameSizeBytes;
}

void CaptureFileSource::measureAudio() {
  audioFrameSizeBytes = uint64_t{audioBytesPerSample} * audioChannels;
  if (filePathAudio.empty()) return;
  const CaptureMediaFile file(filePathAudio);
  if (!file.isOpen()) {
    warn("File not found[audio.file.path]: " + filePathAudio);
    return filePathAudio.clear();
  }
  const CaptureMediaFile::Sound sound = file.findSound();
  audioFileOffset = sound.offset;
  audioFrameCount = sound.size / audioFrameSizeBytes;
}

uint64_t CaptureFileSource::periods(uint64_t count, uint64_t perSecond) const {
  const uint64_t perTurn =
      videoFrameRateDenom * perSecond;  // of as many periods as the rate's numerator says
  return count / videoFrameRateEnum * perTurn + count % videoFrameRateEnum * perTurn / videoFrameRateEnum;
}

uint64_t CaptureFileSource::periodsOfSound() const {
  const uint64_t perTurn = uint64_t{audioSampleRate} * videoFrameRateDenom;
  return audioFrameCount / perTurn * videoFrameRateEnum +
         audioFrameCount % perTurn * videoFrameRateEnum / perTurn;
}

uint64_t CaptureFileSource::getLoopLength() const {
  return hasVideo() ? videoFrameCount : std::max<uint64_t>(1, periodsOfSound());
}

}  // namespace qvs
