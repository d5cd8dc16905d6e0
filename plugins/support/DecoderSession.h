#pragma once

#include <qvs/video_decoder.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>

namespace qvs::plugins {

/// What a decoder plug-in knows of its stream; all 0 before the first header.
struct StreamInfo {
  uint32_t frameWidth = 0;  ///< of the pictures handed out, even
  uint32_t frameHeight = 0;
  uint32_t displayWidth = 0;  ///< to show, after the aspect ratio of its pixels
  uint32_t displayHeight = 0;
  double frameRate = 0;

  bool operator==(const StreamInfo&) const = default;
};

/// What a picture carries beside its pixels.
struct PictureInfo {
  static constexpr uint64_t kInterlaced = 2;
  static constexpr uint64_t kBottomFieldFirst = 4;  ///< with kInterlaced

  uint32_t frameType = QVS_FRAME_UNKNOWN;
  uint64_t flags = 0;
  uint64_t timecode = 0;  ///< milliseconds
};

/// The memory of getDecodedFrame, with its planes found.
struct PictureTarget {
  uint8_t* y;
  uint8_t* u;
  uint8_t* v;
  uint32_t stride;        ///< bytes of a row of luma
  uint32_t chromaStride;  ///< bytes
};

/// One decoder of a plug-in. The entry points check what can be checked without the codec, call these, and turn
/// exceptions into a status; results are statuses of "qvs/plugin.h".
class DecoderSession {
 public:
  virtual ~DecoderSession() = default;

  /// Opens the back end. Called again it begins anew.
  virtual int32_t open() = 0;
  virtual void close() = 0;

  /// The container's configuration record.
  virtual int32_t configure(std::span<const uint8_t> record) = 0;

  /// One coded unit, borrowed for the call.
  virtual int32_t add(std::span<const uint8_t> unit, uint64_t timecode) = 0;

  /// A step. Sets QVS_DECODE_ bits, `stream` and, with a picture, `picture`.
  virtual int32_t decode(uint32_t& flags, bool flush) = 0;

  /// Whether all input has been used up.
  virtual bool isDone() const = 0;

  /// Whether a picture is ready, until the next step.
  virtual bool hasPicture() const = 0;
  virtual int32_t copyPicture(const PictureTarget& target) = 0;

  /// Where the picture lies: planes, strides and fourcc.
  virtual void showPicture(PluginVideoBuffer& view) = 0;

  virtual int32_t keyType(uint32_t key) const = 0;
  virtual int32_t setKey(uint32_t key, int64_t value) = 0;
  virtual int32_t setKey(uint32_t key, double value) = 0;
  virtual int32_t getKey(uint32_t key, int64_t* value) const = 0;
  virtual int32_t getKey(uint32_t key, double* value) const = 0;

  int32_t gpu = -1;         ///< -1: any
  uint8_t deinterlace = 1;  ///< as asked; a picture that is left interlaced carries its flag
  StreamInfo stream;
  PictureInfo picture;

  /// In words, what the last status other than 0 was about: the call that failed and what it said.
  std::string problem;

 protected:
  int32_t fail(int32_t status, std::string why) {
    problem = std::move(why);
    return status;
  }
};

/// What a plug-in library is: the one object that its own sources define, which the shared entry points read.
struct DecoderPlugin {
  /// Whether it works on this machine: a status. `text` is the back end's version in words.
  int32_t (*version)(std::string& text, uint32_t& major, uint32_t& minor);
  std::string (*describe)();  ///< JSON, see KeyTable::describe
  std::unique_ptr<DecoderSession> (*make)();
};
extern const DecoderPlugin kDecoderPlugin;

}  // namespace qvs::plugins
