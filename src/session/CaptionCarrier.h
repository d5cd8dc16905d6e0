#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <vector>

#include "frames/EncodedUnits.h"
#include "frames/VideoFrameBuffer.h"
#include "session/CaptionFormat.h"

namespace qvs {

/// Key of every video encoder that is the session's, not the encoder's: other than 0, captions that come with the
/// decoded pictures go into the coded ones.
inline constexpr uint32_t kKeyCarryCaptions = 900100;

/// Takes captions past the scaling and an encoder: out of each decoded picture, into the next one that is encoded.
/// Pictures that a rendition leaves out so lose none. It stays where the encoder in its slot is replaced.
class CaptionCarrier {
 public:
  bool isActive() const { return active; }
  void setActive(bool value);

  /// What came with a decoded picture.
  void take(const VideoFrameBuffer& decoded);
  /// The picture of this time goes to the encoder, perhaps again.
  void ride(uint64_t timecode);
  /// Coded pictures come out: those from `first` on get what is theirs. False where one could not take it.
  bool deliver(uint32_t codec, std::vector<VideoFrameEncoded>& units, size_t first);

 private:
  using Triplets = std::vector<CaptionFormat::Triplet>;

  Triplets next();

  bool active = false;
  std::vector<VideoFrameAncillaryData> packets;  ///< kept between pictures
  std::deque<CaptionFormat::Triplet> waiting;
  std::map<uint64_t, Triplets> riding;  ///< by the picture's time
};

}  // namespace qvs
