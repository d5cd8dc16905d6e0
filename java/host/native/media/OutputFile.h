#pragma once

#include "media/AvHandles.h"
#include "media/DisplayMatrix.h"
#include "media/MediaStatus.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qvs::host {

/// What a container needs to know of one stream that it is to hold.
struct OutputStream {
  std::string codecName;         ///< as libavcodec names it: "vp8", "opus", ...
  AVRational timeBase{1, 1000};  ///< unit of the times given to `write`
  std::vector<uint8_t> config;   ///< the codec's configuration as containers keep it; may be empty
  int width = 0;                 ///< pixels; above 0 for a picture, 0 for sound
  int height = 0;
  AVRational frameRate{0, 1};    ///< pictures a second, 0 when unknown
  AVRational pixelAspect{0, 1};  ///< width against height of one pixel, 0 when unknown
  AVColorPrimaries primaries = AVCOL_PRI_UNSPECIFIED;
  AVColorTransferCharacteristic transfer = AVCOL_TRC_UNSPECIFIED;
  AVColorSpace matrix = AVCOL_SPC_UNSPECIFIED;
  AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
  DisplayMatrix display = kDisplayAsCoded;  ///< lost where the container has no place for it
  int sampleRate = 0;                       ///< sound: samples a second
  int channels = 0;
  int frameSamples = 0;  ///< samples of a packet where all have as many, else 0
  int delaySamples = 0;  ///< samples at the start that the codec's delay made: players drop them
};

/// One packet on its way out. The bytes stay the caller's.
struct OutputPacket {
  size_t stream = 0;
  const uint8_t* bytes = nullptr;
  size_t length = 0;
  int64_t pts = 0;       ///< in the stream's own unit, as all of the following
  int64_t dts = 0;       ///< must grow from packet to packet of a stream
  int64_t duration = 0;  ///< 0 when unknown
  int64_t discard = 0;   ///< sound: length at the packet's end that is not to be heard
  bool key = true;
};

/// Writes streams into a new container file. Without `finish` the file is incomplete.
class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// Creates the file. `format`: a muxer name of libavformat. `segmented`: packets go out in the order in which they
  /// come, for `cut`.
  MediaStatus create(const std::string& path, const std::string& format, bool segmented = false);
  /// All streams come before `begin`; their numbers count from 0.
  MediaStatus addStream(const OutputStream& stream);
  /// A setting of the muxer itself, by its name; comes before `begin`, which refuses unknown ones.
  void setOption(const std::string& name, const std::string& value);
  /// `keepTimes`: no packet's time lies before 0 but by a codec's delay, so the container is not to move any.
  MediaStatus begin(bool keepTimes);
  /// Packets of one stream come in their order; those of several are interleaved here, but in segments.
  MediaStatus write(const OutputPacket& packet);
  /// MPEG transport streams and MP4 in fragments: ends the file, which is whole then, and goes on in another one. That
  /// of a transport stream can be read on its own, that of MP4 behind the first, which holds all that comes before
  /// pictures and sound where it is cut ahead of them.
  MediaStatus cut(const std::string& nextPath);
  /// Writes what the container keeps for its end and closes the file.
  MediaStatus finish();

 private:
  bool isMp4() const;
  int64_t shiftOf(const OutputStream& stream) const;
  MediaStatus fill(const OutputPacket& packet);
  MediaStatus closeIo();
  MediaStatus openNext(const std::string& path);
  void closeFile();

  AVFormatContext* format_ = nullptr;
  AVDictionary* options_ = nullptr;
  AvPacketPtr packet_;
  struct Track {
    AVRational timeBase;
    int64_t shift = 0;  ///< in timeBase, added to every time
  };

  std::vector<Track> tracks_;
  bool headerWritten_ = false;
  bool interleaves_ = true;
};

}  // namespace qvs::host
