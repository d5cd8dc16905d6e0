#pragma once

#include <cstddef>
#include <cstdint>

#include "cuda.h"

namespace qvs {

/// Half of a side in pixels, rounded up: the last column and row of an odd size have color too.
constexpr size_t chromaSide(size_t side) {
  return (side + 1) / 2;
}

/// Where the planes of a picture on a device lie: Y, U, V behind one another, chroma rows half as far apart as luma
/// rows. All that addresses a device picture takes its planes from here.
struct PlanarLayout {
  size_t stride = 0;  ///< bytes from luma row to luma row, even
  size_t height = 0;  ///< luma rows

  constexpr size_t chromaStride() const { return stride / 2; }
  constexpr size_t offsetU() const { return stride * height; }
  constexpr size_t offsetV() const { return offsetU() + chromaStride() * chromaSide(height); }
  constexpr size_t size() const { return offsetV() + chromaStride() * chromaSide(height); }

  /// Rows of the luma stride that the whole takes.
  constexpr size_t rows() const { return height + chromaSide(height); }
};

/// The same with its memory.
struct DevicePlanes {
  uint8_t* y;  ///< device pointers
  uint8_t* u;
  uint8_t* v;
  PlanarLayout layout;

  DevicePlanes(void* memory, PlanarLayout layout)
      : y(static_cast<uint8_t*>(memory)), u(y + layout.offsetU()), v(y + layout.offsetV()), layout(layout) {}
};

inline CUdeviceptr devicePointer(const void* memory) {
  return reinterpret_cast<CUdeviceptr>(memory);
}

}  // namespace qvs
