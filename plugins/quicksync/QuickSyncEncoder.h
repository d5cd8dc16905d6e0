#pragma once

#include <vpl/mfx.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "KeyedSession.h"
#include "MfxSession.h"
#include "NV12Surfaces.h"
#include "PictureTimes.h"
#include "QuickSyncSettings.h"

namespace qvs::plugins {

/// H.264 and H.265 through the vendor's media runtime. Pictures are copied once, into surfaces in system memory that
/// the runtime takes to the device.
class QuickSyncEncoder : public KeyedSession<QuickSyncEncoderSettings> {
 public:
  explicit QuickSyncEncoder(const QuickSyncCodec& row);
  ~QuickSyncEncoder() override { close(); }

  int32_t open() override;
  int32_t encode(const Picture& picture) override;
  int32_t drain() override;
  int32_t changeBitRate(uint32_t bitsPerSecond) override;

  /// A surface to be filled, for `encodeSurface` and nothing else.
  int32_t takeSurface(mfxFrameSurface1*& surface);
  int32_t encodeSurface(mfxFrameSurface1& surface, bool key, uint64_t timecode);

 private:
  /// A coded picture on its way; the runtime writes `bits` until `sync` is reached.
  struct Task {
    mfxBitstream bits{};
    mfxSyncPoint sync = nullptr;
    std::vector<uint8_t> memory;
  };

  void close();
  int32_t start();
  int32_t allocate();
  int32_t readHeaders();
  /// A failure after which nothing more is tried until the encoder is opened anew.
  int32_t fault(std::string why);
  /// Gives a picture, or null for no more, to the runtime. `ready` tells whether a coded picture is under way.
  int32_t submit(mfxFrameSurface1* surface, mfxEncodeCtrl* control, bool& ready);
  bool grow(Task& task);
  /// Waits for the oldest coded picture and puts it out. `done` false: not within the time.
  int32_t collectOldest(int64_t milliseconds, bool& done);
  /// Puts out what is ready, waiting as long as more than `allowed` are under way.
  int32_t collect(size_t allowed);
  int32_t flushAll();
  int32_t put(const Task& task);
  std::span<const uint8_t> withHeaders(std::span<const uint8_t> bytes);
  bool hasHeaders(std::span<const uint8_t> bytes) const;
  int32_t reset(bool newSequence);

  const QuickSyncCodec& codec;
  MfxSession session;
  NV12Surfaces surfaces;
  QuickSyncParameters parameters;
  mfxEncodeCtrl keyControl{};  ///< asks for a key frame; the runtime may read it until the picture is done
  PictureTimes times;
  mfxU64 ticks = 1;   ///< of 90 kHz a picture: the runtime is given numbers of pictures as times
  int64_t given = 0;  ///< pictures
  int64_t coded = 0;
  std::vector<Task> tasks;  ///< a ring
  size_t oldest = 0;
  size_t underWay = 0;
  std::vector<uint8_t> headers;  ///< parameter sets behind start codes, as the runtime tells them
  std::vector<uint8_t> joined;   ///< a key frame behind them
  bool running = false;
  std::string lost;  ///< why the device is of no more use; empty while it is
};

}  // namespace qvs::plugins
