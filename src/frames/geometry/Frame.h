#pragma once

#include <cstdint>
#include <vector>

#include "mc_frame.h"
#include "mc_ucc.h"

namespace qvs {

/// A converter picture with its own memory.
class Frame {
 public:
  Frame() = default;
  explicit Frame(const mc_frame_colorspace_info_t& info) { fill(info); }
  // The converter record points into the store.
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;

  /// Makes the store as big as `info` says and points the record into it.
  void fill(const mc_frame_colorspace_info_t& info);

  ucc_frame_t frame{};
  std::vector<uint8_t> buffer;
};

}  // namespace qvs
