#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "ladder/LadderSpec.h"
#include "ladder/PacketSink.h"
#include "ladder/PacketSource.h"

/// The codec library of a floor program, called directly with the settings of a session. Each program links
/// one of FloorCodecVpx.cpp and FloorCodecAvc.cpp, so that neither pays for loading the other's library.
namespace qvs::bench {

/// Planes Y, U, V at 4:2:0, the codec's own memory or a scale's.
struct FloorPicture {
  uint32_t width = 0, height = 0;
  uint8_t* planes[3] = {};
  int strides[3] = {};
};

class FloorDecoder {
 public:
  using Taker = std::function<void(const FloorPicture&)>;

  static std::unique_ptr<FloorDecoder> make(PacketSource& source);
  virtual ~FloorDecoder() = default;
  virtual void decode(std::span<uint8_t> packet, const Taker& take) = 0;
};

class FloorEncoder {
 public:
  static std::unique_ptr<FloorEncoder> make(const Rung& rung);
  virtual ~FloorEncoder() = default;
  virtual void encode(const FloorPicture& picture, uint64_t frameNumber, PacketSink& sink) = 0;
};

/// Ends the program with the name of what went wrong.
void checkFloor(bool ok, const char* what);

}  // namespace qvs::bench
