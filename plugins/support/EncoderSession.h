#pragma once

#include <qvs/video_encoder.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "CodedFrames.h"

namespace qvs::plugins {

/// A picture with its planes found: that of addFrame2, "YV12" in one block, or one in a card's memory.
struct Picture {
  const uint8_t* y;
  const uint8_t* u;
  const uint8_t* v;
  uint32_t stride;        ///< bytes of a row of luma
  uint32_t chromaStride;  ///< bytes
  uint32_t width;
  uint32_t height;
  bool key;           ///< a key frame is asked for
  uint64_t timecode;  ///< milliseconds
  bool onDevice;      ///< the planes are addresses on the card, which the host may not read
};

/// What every encoder plug-in is told, whatever stands behind it.
struct CommonSettings {
  uint32_t codec = 0;  ///< the transcoder's number, 0 where the plug-in has but one
  uint32_t codecVersion = 0;
  int32_t gpu = -1;  ///< -1: any
  uint32_t width = 0;
  uint32_t height = 0;
  double frameRate = 0;
  uint32_t bitRate = 0;
  bool keyFrameFollow = false;  ///< key frames only where asked for
};

/// One encoder of a plug-in. The entry points check what can be checked without the codec, call these, and turn
/// exceptions into a status; results are statuses of "qvs/plugin.h".
class EncoderSession {
 public:
  virtual ~EncoderSession() = default;

  /// Opens the encoder with the settings as they are. Called again it begins anew.
  virtual int32_t open() = 0;

  /// Takes a picture of the size it was opened with; what is ready goes into `output`.
  virtual int32_t encode(const Picture& picture) = 0;

  /// No picture follows: what is held back goes into `output`. A picture after that is refused.
  virtual int32_t drain() { return QVS_PLUGIN_OK; }

  /// While running; `common.bitRate` is set by the caller once this has succeeded.
  virtual int32_t changeBitRate(uint32_t bitsPerSecond) = 0;

  /// The context and stream in which pictures of a card come; before `open`.
  virtual int32_t setCudaContext(const PluginVideoCUDAContext& /*context*/) { return QVS_PLUGIN_OK; }

  virtual int32_t keyType(uint32_t key) const = 0;
  virtual int32_t setKey(uint32_t key, int64_t value) = 0;
  virtual int32_t setKey(uint32_t key, double value) = 0;
  virtual int32_t getKey(uint32_t key, int64_t* value) const = 0;
  virtual int32_t getKey(uint32_t key, double* value) const = 0;

  CommonSettings common;
  CodedFrames output;

  /// In words, what the last status other than 0 was about: the call that failed and what it said.
  std::string problem;

 protected:
  int32_t fail(int32_t status, std::string why) {
    problem = std::move(why);
    return status;
  }
};

/// What a plug-in library is: the one object that its own sources define, which the shared entry points read.
struct EncoderPlugin {
  /// Whether it works on this machine: a status. `text` is the back end's version in words.
  int32_t (*version)(std::string& text, uint32_t& major, uint32_t& minor);
  std::string (*describe)();  ///< JSON, see KeyTable::describe
  std::unique_ptr<EncoderSession> (*make)();
};
extern const EncoderPlugin kEncoderPlugin;

/// The planes of a picture in one block: V behind luma, U behind V, odd sizes rounded up.
Picture pictureAt(const void* plane, uint32_t stride, uint32_t width, uint32_t height);

/// The planes of a picture on a card: U behind luma, V behind U, odd sizes rounded up.
Picture devicePictureAt(const PluginVideoFrameBufferCUDA& picture);

}  // namespace qvs::plugins
