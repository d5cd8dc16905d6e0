#pragma once

#include <memory>
#include <span>
#include <vector>

#include "DriverChoice.h"
#include "KeyedSession.h"
#include "PictureUpload.h"
#include "PictureWait.h"
#include "RateParameters.h"
#include "VaDisplay.h"

namespace qvs::vaapi {

/// An encoder on a card. Surfaces and buffers are taken when it opens; pictures go round through them. Once a call has
/// failed the session takes no more pictures: what the card still holds of it is unknown. Opening again begins anew,
/// with a new display.
class VaapiSession : public plugins::KeyedSession<VaapiSettings> {
 public:
  VaapiSession();
  ~VaapiSession() override { close(); }

  /// Whether a card of this machine encodes the codec: opens the first that does. `text` is its driver's name.
  static int32_t version(std::string& text, uint32_t& major, uint32_t& minor);
  static std::string describe();

  int32_t open() override;
  int32_t encode(const plugins::Picture& picture) override;
  int32_t drain() override;
  int32_t changeBitRate(uint32_t bitsPerSecond) override;

 private:
  /// What a picture holds on its way through the card.
  struct Slot {
    VASurfaceID surface;
    VABufferID coded = VA_INVALID_ID;
    plugins::FrameInfo info;
  };

  Outcome checkSettings() const;
  StreamShape shapeFor(const DriverChoice& choice) const;
  Outcome openCard(DriverChoice& choice);
  Outcome createContext(const DriverChoice& choice);
  Outcome createSurfaces(uint32_t width, uint32_t height, std::span<VASurfaceID> surfaces);
  Outcome createSlots();
  void close();

  Outcome submit(const plugins::Picture& picture);
  Outcome createParameters();
  Outcome run(VASurfaceID surface);
  void destroyParameters();
  Outcome collect();
  Outcome read(const VACodedBufferSegment* segment, const plugins::FrameInfo& info);
  bool hand(const plugins::FrameInfo& info, std::span<const uint8_t> coded);
  int32_t finish(Outcome outcome);

  std::unique_ptr<VaCodec> codec;
  uint32_t width = 0;  ///< of what is coded
  uint32_t height = 0;

  VaDisplay display;
  VAConfigID config = VA_INVALID_ID;
  VAContextID context = VA_INVALID_ID;
  std::vector<VASurfaceID> inputs;         ///< one a slot
  std::vector<VASurfaceID> reconstructed;  ///< in turn
  std::vector<Slot> slots;
  PictureUpload upload;
  PictureWait wait;
  RateParameters rate;
  Outcome broken;  ///< the failure that ended it

  uint64_t submitted = 0;
  uint64_t collected = 0;
  uint32_t sinceKey = 0;
  uint32_t keyNumber = 0;
  uint32_t keyInterval = 0;  ///< 0: key frames only where asked for
  bool rateChanged = false;
  ParameterList parameters;
  std::vector<VABufferID> buffers;  ///< of the picture at hand
  std::vector<uint8_t> joined;      ///< a coded picture that comes in pieces
};

}  // namespace qvs::vaapi
