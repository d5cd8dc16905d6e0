#pragma once

#include <cstdint>
#include <string>

namespace qvs {

class ILogger;

/// What a capture directory holds: `info.properties` and the media files that it names.
class CaptureFileSource {
 public:
  /// Bytes of a line and of a path.
  static constexpr size_t kLineMax = 2048;
  static constexpr size_t kPathMax = 512;

  explicit CaptureFileSource(ILogger* logger) : logger(logger) {}

  /// 0; 1 where there is no `info.properties` or nothing to play, for which lines say why. Call it once.
  uint32_t load(const char* directory);
  /// Whether a directory has an `info.properties` that opens.
  static bool isDirectory(const char* directory);

  bool hasVideo() const { return videoFrameCount != 0; }
  bool hasAudio() const { return audioFrameCount != 0; }
  /// Pictures after which the files start again; blocks of sound where there are no pictures.
  uint64_t getLoopLength() const;

  /// `count` periods of a picture in units of which a second has `perSecond`, exact for years.
  uint64_t periods(uint64_t count, uint64_t perSecond) const;

  // As read; counts are 0 where a file is missing or refused.
  std::string filePathVideo;
  std::string filePathAudio;
  uint32_t audioSampleRate = 48000;  ///< Hz
  uint32_t audioChannels = 2;
  uint32_t audioBytesPerSample = 2;
  uint32_t videoFrameWidth = 640;
  uint32_t videoFrameHeight = 360;
  uint32_t videoFrameRateEnum = 30;
  uint32_t videoFrameRateDenom = 1;
  uint64_t videoFrameSizeBytes = 0;
  uint64_t videoFileOffset = 0;
  uint64_t videoFrameCount = 0;
  uint64_t audioFrameSizeBytes = 0;  ///< a sample of all channels
  uint64_t audioFileOffset = 0;
  uint64_t audioFrameCount = 0;

 private:
  void readLine(std::string line, const std::string& directory);
  void readNumber(const std::string& key, const std::string& value);
  void readPath(const std::string& key, const std::string& value, const std::string& directory);
  void checkValues();
  void measureVideo();
  void measureAudio();
  /// How many periods of a picture the sound lasts.
  uint64_t periodsOfSound() const;
  void warn(const std::string& text) const;

  ILogger* logger;  ///< borrowed; without one lines go to standard output
};

}  // namespace qvs
