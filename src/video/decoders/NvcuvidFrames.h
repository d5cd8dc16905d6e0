#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>

#include "nvcuvid.h"
#include "platform/IConcurrentLock.h"
#include "video/scaling/device/cuda/CudaMemory.h"
#include "video/scaling/device/cuda/PlanarLayout.h"

namespace qvs {

/// Device memory of a decoded picture that waits to be used again.
struct VideoDecoderGenericNVCUVIDDevicePtrHolder {
  DeviceMemory buffer;
  size_t size = 0;  ///< bytes
};

/// Sizes of a sequence, in pixels.
struct NvcuvidSizes {
  uint32_t displayWidth = 0, displayHeight = 0;
  uint32_t frameWidth = 0, frameHeight = 0;
  uint32_t codedWidth = 0, codedHeight = 0;
  bool operator==(const NvcuvidSizes&) const = default;
};

/// A finished picture on the device: planes in the order Y, U, V, an entry a field pass.
struct VideoDecoderGenericNVCUVIDFrameInfo {
  static constexpr size_t kPasses = 8;

  CUVIDPARSERDISPINFO frameParams{};
  NvcuvidSizes sizes;  ///< as they stood when the picture was displayed
  std::array<VideoDecoderGenericNVCUVIDDevicePtrHolder, kPasses> tmpFrame;
  std::array<uint32_t, kPasses> decodedFramePitch{};

  /// One for a progressive picture, else one for each field shown.
  size_t passes() const;
  PlanarLayout layout(size_t pass) const { return {decodedFramePitch[pass], sizes.frameHeight}; }
};

/// Decoded pictures on their way from the parser's callbacks to whoever fetches them, and the device memory that they
/// lie in, of which ten pieces at most are kept for reuse. Any thread.
class NvcuvidFrames {
 public:
  static constexpr size_t kKept = 10;

  NvcuvidFrames();
  ~NvcuvidFrames();
  NvcuvidFrames(const NvcuvidFrames&) = delete;
  NvcuvidFrames& operator=(const NvcuvidFrames&) = delete;

  void push(VideoDecoderGenericNVCUVIDFrameInfo frame);
  bool pop(VideoDecoderGenericNVCUVIDFrameInfo& frame);
  bool isEmpty() const;
  /// The sizes of the next picture; false where none waits.
  bool nextSizes(NvcuvidSizes& sizes) const;

  /// Memory of exactly this size that was used before; empty where there is none. Kept memory of other sizes is freed.
  DeviceMemory getRecycledFrame(size_t size);
  void recyleFrame(VideoDecoderGenericNVCUVIDDevicePtrHolder memory);
  /// All passes of a picture.
  void recycle(VideoDecoderGenericNVCUVIDFrameInfo& frame);

  /// Drops all pictures and frees all memory.
  void clear();

 private:
  std::unique_ptr<IConcurrentLock> lock;  ///< guards both lists
  std::list<VideoDecoderGenericNVCUVIDFrameInfo> decodedFrames;
  std::list<VideoDecoderGenericNVCUVIDDevicePtrHolder> recycledFrames;
};

}  // namespace qvs
