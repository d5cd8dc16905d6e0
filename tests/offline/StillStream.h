#pragma once

#include <cstdint>
#include <cstdlib>
#include <utility>
#include <vector>

#include "offline/thumbnail/Thumbnailer.h"
#include "support/MediaStream.h"

namespace qvs::test {

struct StillSetup {
  uint32_t codec = 7;
  int width = 128;
  int height = 96;
  int matrix = 2;  ///< code point of ITU-T H.273; 2: not told
  bool fullRange = false;
  int frames = 1;
  int bFrames = 0;
};

/// Packets that carry their headers: eight color bars at `kBars`, each picture after the first darker than the one
/// before by `kStep` of luma, so that a picture tells its number.
struct StillStream {
  static constexpr int kBarCount = 8;
  static constexpr int kStep = 8;
  static constexpr uint8_t kBars[kBarCount][3] = {{191, 191, 191}, {191, 191, 0}, {0, 191, 191},
                                                  {0, 191, 0},     {191, 0, 191}, {191, 0, 0},
                                                  {0, 0, 191},     {16, 16, 16}};

  std::vector<MediaBytes> bytes;
  std::vector<ThumbnailerRequestPacketData> packets;  ///< over `bytes`, in decode order
  std::vector<int> numbers;                           ///< of the pictures, in decode order
};

StillStream makeStillStream(const StillSetup& setup);

/// The stream of a file as such packets; empty without one of the four codecs. `limit`: packets at most.
StillStream readStillStream(MediaStream& file, size_t limit);

/// A picture that frees itself.
struct Still {
  Still() = default;
  Still(Still&& other) noexcept : status(other.status), data(std::exchange(other.data, {})) {}
  ~Still() { std::free(data.pictureData); }

  bool isEmpty() const { return data.pictureDataLen == 0; }
  /// B, G, R, A.
  const uint8_t* at(int x, int y) const {
    return data.pictureData + 4 * (static_cast<ptrdiff_t>(y) * data.width + x);
  }

  uint32_t status = 0;
  ThumbnailerResponseData data;
};

/// A request over the first `count` packets with all settings left alone.
ThumbnailerRequestData requestOf(uint32_t codec, StillStream& stream, size_t count = SIZE_MAX);
Still make(const ThumbnailerRequestData& request);

}  // namespace qvs::test
