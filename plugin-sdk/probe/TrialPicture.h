#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qvs::probe {

/// A moving "YV12" picture in one block, as encoders get them.
class TrialPicture {
 public:
  TrialPicture(uint32_t width, uint32_t height);

  /// Paints the picture of that number.
  void paint(uint32_t number);

  uint8_t* data() { return bytes.data(); }
  uint32_t width;
  uint32_t height;
  uint32_t stride;  ///< bytes

 private:
  std::vector<uint8_t> bytes;
};

}  // namespace qvs::probe
