#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "ucc/PixelFormat.h"

namespace qvs::ucc {

struct FreeDeleter {
  void operator()(void* block) const { std::free(block); }
};
using AlignedBlock = std::unique_ptr<uint8_t, FreeDeleter>;

/// Zimg's 64-byte mode wants addresses and strides that are multiples of this.
constexpr size_t kPlaneAlignment = 64;

/// Null when memory fails or for 0 bytes.
AlignedBlock allocateAligned(size_t bytes);

struct PlaneView {
  uint8_t* data = nullptr;
  ptrdiff_t stride = 0;  ///< bytes
  uint32_t width = 0;    ///< samples
  uint32_t height = 0;   ///< rows

  uint8_t* row(uint32_t y) const { return data + static_cast<ptrdiff_t>(y) * stride; }
};

/// Scratch planes of plain samples, one a component. Sizes round up to whole chroma samples; `fillEdges`
/// gives the samples beyond the picture the value of its last column and row.
class PlanarPicture {
 public:
  /// Keeps the old storage when nothing changed. False when memory fails.
  bool allocate(const WorkingForm& form, bool alpha, uint32_t width, uint32_t height, uint32_t padTo);

  const WorkingForm& form() const { return shape.form; }
  bool hasAlpha() const { return planes[3].data != nullptr; }
  uint32_t width() const { return shape.width; }
  uint32_t height() const { return shape.height; }
  uint32_t paddedWidth() const { return planes[0].width; }
  uint32_t paddedHeight() const { return planes[0].height; }
  const PlaneView& plane(int component) const { return planes[component]; }
  /// Row `y` of the luma grid and the chroma rows beside it, or row `y` of every plane on its own grid.
  Rows rows(uint32_t y, bool chromaGrid) const;

  /// The frame has this picture's size. Fills the edges too.
  void unpackFrom(const PixelFormat& format, const ucc_frame_t& frame);
  /// Alpha comes from `alpha` when its data isn't null, else it is opaque.
  void packInto(const PixelFormat& format, const ucc_frame_t& frame, const PlaneView& alpha) const;
  /// Chroma of a picture too small for any becomes neutral.
  void fillEdges();

 private:
  /// As asked for; the planes are rounded up.
  struct Shape {
    WorkingForm form;
    bool alpha;
    uint32_t width;
    uint32_t height;
    uint32_t padTo;

    bool operator==(const Shape&) const = default;
  };

  Shape shape{};
  PlaneView planes[4];
  AlignedBlock block;
};

}  // namespace qvs::ucc
