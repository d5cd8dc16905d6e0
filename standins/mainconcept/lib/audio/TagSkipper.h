#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "audio/FrameFormat.h"

namespace qvs::mc {

/// Skips a tag whose length may be damaged: where frames follow each other inside it, it was none, and the
/// stream goes on there.
class TagSkipper {
 public:
  explicit TagSkipper(const FrameFormat& frameFormat) : format(frameFormat) {}

  /// `size` bytes are still to come.
  void begin(size_t size);

  bool isDone() const { return left == 0; }

  /// Takes from the front of `input`. True once nothing is left to skip.
  bool skip(std::span<const uint8_t>& input);

  /// After `skip` was true: the bytes, already taken, with which a frame begins; empty behind a whole tag.
  std::span<const uint8_t> begun() const;

 private:
  static constexpr size_t kWindowBytes = 4;  ///< that tell a frame and its length
  static constexpr uint32_t kFramesTelling = 3;

  void examine();

  const FrameFormat& format;
  size_t left = 0;
  size_t seen = 0;                   ///< bytes of the tag
  size_t nextAt = 0;                 ///< where the frame behind the last one found begins
  uint32_t chain = 0;                ///< frames found behind each other
  mc_aud_frame_hdr_t last{};         ///< of the chain
  std::array<uint8_t, 16> window{};  ///< the last bytes; room for all that `readHeader` looks at
};

}  // namespace qvs::mc
