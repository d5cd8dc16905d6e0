#pragma once

#include <qvs/vod_transcoder.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "DecoderSession.h"
#include "EncoderSession.h"

namespace qvs::plugins {

/// A picture's way over a card in off-line work: its decoder, its scaler and its encoder. Pictures stay with the back
/// end on the way; results are statuses of "qvs/plugin.h".
class BatchRoad {
 public:
  /// Called for each decoded picture, which `pass` then sends on; a status other than 0 ends the call it came from.
  using Taker = std::function<int32_t(uint64_t timecode)>;

  virtual ~BatchRoad() = default;

  virtual int32_t openDecoder(int32_t gpu) = 0;

  /// A coded picture of H.264 behind start codes, borrowed, with its time of presentation; an empty one where nothing
  /// follows. `damaged` tells that it was given up and the next may be decoded.
  virtual int32_t decode(std::span<const uint8_t> unit, uint64_t timecode, const Taker& taker,
                         bool& damaged) = 0;

  /// Of the picture at hand.
  virtual StreamInfo stream() const = 0;

  /// Readies the way to the encoder, which is open: its size, and how pictures of another shape are fitted into it.
  virtual int32_t openScaler(uint32_t fitMode) = 0;

  /// Sends the picture at hand through the scaler into the encoder.
  virtual int32_t pass(bool key, uint64_t timecode) = 0;

  virtual EncoderSession& encoder() = 0;
};

/// What an off-line plug-in is: the one object that its own sources define, which the shared entry points read.
struct BatchPlugin {
  /// Whether it works on this machine: a status. `text` is the back end's version in words.
  int32_t (*version)(std::string& text, uint32_t& major, uint32_t& minor);
  std::unique_ptr<BatchRoad> (*make)(bool hevc);
  uint32_t profileKey;  ///< of the encoder
  /// The encoder's value for a profile of H.264 by the standard's number.
  int64_t (*profileOf)(uint32_t number);
};
extern const BatchPlugin kBatchPlugin;

}  // namespace qvs::plugins
