#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "frames/VideoFrameBuffer.h"

namespace qvs::bench {

/// What both roads of a codec are given.
struct PluginJob {
  uint32_t width = 0, height = 0;
  std::vector<std::vector<uint8_t>> pictures;  ///< planes Y, V, U without padding
  std::string folder;                          ///< of the plug-ins
};

/// A whole encode by one road.
struct EncoderRun {
  double cpuSeconds = 0;   ///< of the encode alone, all threads
  double allocations = 0;  ///< a picture, in the second half
  uint64_t frames = 0;
  uint64_t bytes = 0;
  uint64_t sum = 0;  ///< over the coded bytes
};

constexpr uint32_t kPluginBitRate = 2'500'000;
constexpr uint32_t kPluginFrameRate = 30;
constexpr uint32_t kPluginKeyFrames = 60;  ///< pictures from one that is asked for to the next

/// The plug-in with its host, and the library called directly with the same settings, on one thread.
struct PluginRoads {
  const char* figure;
  EncoderRun (*plugin)(const PluginJob& job);
  EncoderRun (*direct)(const PluginJob& job);
};
extern const PluginRoads kX264Roads;
extern const PluginRoads kX265Roads;

/// A frame through the host and the VA-API plug-in; nothing but bringing a picture into the frame, which all runs do; that and
/// a memcpy of the frame.
EncoderRun throughVaapi(const PluginJob& job);
EncoderRun loadOnly(const PluginJob& job);
EncoderRun loadAndCopy(const PluginJob& job);

/// Counts processor time and allocations over the pictures of a run.
class RunMeter {
 public:
  explicit RunMeter(const PluginJob& job);

  /// Before each picture.
  void begin(size_t picture);
  void add(const uint8_t* bytes, size_t size);
  EncoderRun finish();

 private:
  const size_t half;
  double start = 0;
  uint64_t allocationsAtHalf = 0;
  EncoderRun run;
  size_t pictures = 0;
};

}  // namespace qvs::bench
