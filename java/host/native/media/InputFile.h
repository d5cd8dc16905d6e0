#pragma once

#include "media/AvHandles.h"
#include "media/DisplayMatrix.h"
#include "media/InputWatch.h"
#include "media/LiveInput.h"
#include "media/MediaStatus.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qvs::host {

/// What a stream carries; the numbers are those of MediaKind on the Java side.
enum class StreamKind { kVideo = 0, kAudio = 1 };

/// What is opened, and how.
struct InputRequest {
  std::string address;
  bool live =
      false;  ///< not a regular file; its bytes are read once and in order, times count from its start
  std::string demuxer{};   ///< "" where it is to be found out
  std::string options{};   ///< of libavformat, a line each
  bool anyFormat = false;  ///< also what FormatLists lacks
  int64_t patienceMs = 0;  ///< how long nothing may come of a URL; 0 for whatever is no URL
};

/// Reads the packets of the best video stream and of one audio stream of a container file, in file order. Of several
/// audio streams it is the first that belongs to the pictures, unless another is selected.
class InputFile {
 public:
  InputFile() = default;
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  /// One line of text on failure: unreadable, no known container, or neither picture nor sound in it.
  MediaStatus open(const InputRequest& request);
  /// A local file of any format.
  MediaStatus open(const std::string& path) { return open(InputRequest{.address = path, .anyFormat = true}); }
  /// Any thread, from the start on: live input ends here, also where `open` or `next` wait for it.
  void stop();
  /// True for a URL of which nothing tells an end.
  bool isEndless() const { return endless_; }
  /// Times that libavformat lost a connection and made it anew.
  int64_t reconnects() const { return watch_.reconnects(); }

  bool has(StreamKind kind) const { return selected(kind).index >= 0; }
  /// All audio streams of the file, in its order.
  size_t audioTracks() const { return audioTracks_.size(); }
  const AVStream& audioTrack(size_t track) const { return *format_->streams[audioTracks_[track]]; }
  /// As the container names it, mostly in three letters; "" when it does not.
  std::string language(size_t track) const;
  /// -1 when there is none.
  int selectedAudio() const;
  /// Takes another audio stream; before the first packet.
  void selectAudio(size_t track);

  /// Leaves the packets of a stream out from now on.
  void ignore(StreamKind kind);

  /// Whether `seek` finds its way: not in what is read once, nor in streams without times or index.
  bool isSearchable() const;
  /// The next packet of pictures is one at or before that time, as far as the file's index knows, else the first. In
  /// units of the stream's time base.
  MediaStatus seek(int64_t pts);

  /// Sets `atEnd` when the file is used up; otherwise `packet()` is the next one of a selected stream.
  MediaStatus next(bool* atEnd);

  /// Once `next` found the end: what the file promised and does not hold, as one line; "" where nothing lacks
  /// or nothing was promised.
  std::string shortfall() const;

  const AVPacket& packet() const { return *packet_; }
  StreamKind kind() const { return kind_; }
  /// Presentation time of the current packet in units of its stream's time base; never missing.
  int64_t pts() const { return selected(kind_).pts; }
  /// Where that time comes from.
  enum class TimeKind { kShown = 0, kDecoded = 1, kGuessed = 2 };
  TimeKind timeKind() const { return timeKind_; }
  /// A codec configuration that holds from the current packet on; null where nothing changed.
  const uint8_t* newConfig(size_t* size) const;
  /// Samples of the current packet that were never meant to be heard.
  struct Padding {
    uint32_t start = 0;
    uint32_t end = 0;
  };
  Padding padding() const;

  /// The following need `has(kind)`.
  const AVStream& stream(StreamKind kind) const { return *format_->streams[selected(kind).index]; }
  const char* codecName(StreamKind kind) const;
  /// Milliseconds, -1 when unknown.
  int64_t durationMs(const AVStream& of) const;
  /// "" when the container does not tell.
  const char* pixelFormatName() const;
  AVRational frameRate() const;
  /// Width against height of one pixel, 0/1 when unknown.
  AVRational pixelAspect() const;
  /// Bits a second of the pictures, 0 when unknown.
  int64_t bitRate() const;
  bool fullRange() const;
  /// False for RGB and for grey.
  bool hasChroma() const;
  DisplayMatrix displayMatrix() const;

 private:
  struct Selected {
    int index = -1;
    int64_t pts = 0;
    int64_t nextPts = 0;
    int64_t origin = 0;       ///< taken off every time
    int64_t end = INT64_MIN;  ///< where what was read ends
    bool cut = false;         ///< the last packet lacks bytes
  };

  Selected& selected(StreamKind kind) { return selected_[static_cast<size_t>(kind)]; }
  const Selected& selected(StreamKind kind) const { return selected_[static_cast<size_t>(kind)]; }
  MediaStatus openContainer(const InputRequest& request);
  MediaStatus failed(int code, const char* what) const;
  MediaStatus select();
  int firstAudioOf(int video) const;
  void take(StreamKind kind, int index);
  void countFromStart(StreamKind kind);
  void noteEnd(Selected& of);
  int64_t promisedMs(StreamKind kind) const;
  bool isReadWhole() const;
  bool ofSelected(int streamIndex);
  int64_t stepOf(const AVPacket& packet) const;

  LiveInput live_;
  InputWatch watch_;
  AVFormatContext* format_ = nullptr;
  AvPacketPtr packet_;
  std::array<Selected, 2> selected_;
  std::vector<unsigned> audioTracks_;
  bool countsFromStart_ = false;
  bool endless_ = false;
  StreamKind kind_ = StreamKind::kVideo;
  TimeKind timeKind_ = TimeKind::kShown;
};

}  // namespace qvs::host
