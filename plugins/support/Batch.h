#pragma once

#include <unordered_map>

#include "BatchRoad.h"

namespace qvs::plugins {

/// One batch of stored pictures from end to end. Key pictures stay where the input has them; each coded picture carries
/// the index of the packet that it came from.
class Batch {
 public:
  Batch(const VODTranscoderVideoSettings& wanted, const FrameAllocator& allocator);

  /// `count` is the room in `out` and then the pictures there. What fails as a whole gives none.
  int32_t transcode(std::span<const VideoFrameEncodedData> in, VideoFrameEncodedData* out, uint32_t& count);

  /// The parameter sets of the encoder, in the form of a picture's units; both sides of its size must be given.
  int32_t configure(VideoFrameEncodedData& frame);

 private:
  struct Source {
    int32_t index;
    bool key;
  };

  int32_t check() const;
  int32_t run(std::span<const VideoFrameEncodedData> in);
  int32_t take(uint64_t timecode);
  int32_t openEncoder(const StreamInfo& stream);
  int32_t handOut(VideoFrameEncodedData* out, uint32_t& count);

  const VODTranscoderVideoSettings& settings;
  FrameAllocator allocator;
  std::unique_ptr<BatchRoad> road;
  std::unordered_map<uint64_t, Source> sources;  ///< by time of presentation
  bool encoding = false;
};

}  // namespace qvs::plugins
