#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "audio/FrameFormat.h"
#include "av/AvLibrary.h"

namespace qvs::mc {

/// One decoder of libavcodec: a coded frame in, a block of interleaved signed 16-bit samples out. One thread,
/// no delay.
class AudioCodec {
 public:
  enum class Result { kBlock, kSilent, kError };

  /// Null where libavcodec or its decoder isn't there.
  static std::unique_ptr<AudioCodec> open(const char* codecName);

  ~AudioCodec();
  AudioCodec(const AudioCodec&) = delete;
  AudioCodec& operator=(const AudioCodec&) = delete;

  /// Where the next coded frame belongs.
  std::span<uint8_t> input() { return {memory.data(), kMaxFrameBytes}; }

  /// Decodes the first `size` bytes of the input, which are gone afterwards.
  Result decode(size_t size);

  /// Of the last block.
  uint32_t sampleRate() const { return rate; }
  uint32_t channels() const { return static_cast<uint32_t>(block->ch_layout.nb_channels); }
  uint32_t samples() const { return static_cast<uint32_t>(block->nb_samples); }
  uint32_t blockBytes() const { return samples() * channels() * static_cast<uint32_t>(sizeof(int16_t)); }

  /// Forgets all that the frames so far told of the stream. Where that fails, every frame is an error.
  void restart();

  void writeBlock(uint8_t* target) const;

 private:
  explicit AudioCodec(const AvLibrary& library) : av(library) {}
  bool start(const char* codecName);
  bool openContext();
  void dropRest();

  const AvLibrary& av;
  const AVCodec* decoder = nullptr;
  AVCodecContext* context = nullptr;
  AVPacket* packet = nullptr;
  AVFrame* block = nullptr;
  AVFrame* rest = nullptr;
  uint32_t rate = 0;  ///< Hz
  std::array<uint8_t, kMaxFrameBytes + AV_INPUT_BUFFER_PADDING_SIZE> memory{};
};

}  // namespace qvs::mc
