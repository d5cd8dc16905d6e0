#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "common/GuardedBytes.h"
#include "qvs/video_scaler.h"

namespace qvs::validator {

constexpr uint32_t fourcc(const char (&name)[5]) {
  return VIDEO_SCALER_FOURCC(name[0], name[1], name[2], name[3]);
}

/// The code's letters, for messages.
std::string nameOf(uint32_t fourcc);

/// What a byte of a picture holds. A plane of a 4:2:0 picture is named by its component too.
enum class Component { kY, kU, kV, kA };

/// A picture between two pages that nobody may touch, so that a plug-in which leaves its bytes ends there.
/// Bytes that belong to no sample hold a mark.
class TestPicture {
 public:
  /// `slack` more bytes from row to row than the width needs. `atEnd`: the picture ends at the upper page,
  /// else it begins at the lower one.
  TestPicture(uint32_t fourcc, uint32_t width, uint32_t height, uint32_t slack, bool atEnd);
  TestPicture(const TestPicture&) = delete;
  TestPicture& operator=(const TestPicture&) = delete;

  VideoFrameIntrinsicScalerFrame record;  ///< what the plug-in is given

  /// Sets every sample; the position is in samples of the component.
  void fill(const std::function<uint8_t(Component, uint32_t x, uint32_t y)>& value);
  uint8_t& sample(Component component, uint32_t x, uint32_t y);
  uint32_t widthOf(Component component) const;
  uint32_t heightOf(Component component) const;
  const std::vector<Component>& components() const { return present; }

  std::vector<uint8_t> contents() const { return {bytes, bytes + size}; }

  /// Empty, or what was written outside the samples.
  std::string strayWrites() const;

 private:
  size_t offsetOf(Component component, uint32_t x, uint32_t y) const;

  std::vector<Component> present;
  std::unique_ptr<GuardedBytes> memory;
  uint8_t* bytes;  // in memory
  size_t size;
  std::vector<bool> owned;  // per byte: belongs to a sample
};

/// Noise that is the same on every run.
uint8_t noise(Component component, uint32_t x, uint32_t y, uint32_t seed);

/// Empty when both pictures have equal samples, else the first difference.
std::string difference(TestPicture& got, TestPicture& wanted);

}  // namespace qvs::validator
