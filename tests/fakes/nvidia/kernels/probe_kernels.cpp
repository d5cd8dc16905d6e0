// Kernels for the emulation's own tests.
#include <cstdint>

#include "video/scaling/device/cuda/kernels/CudaKernel.h"

QVS_CONSTANT(int, probeFactor, 2);

/// Each byte of `from` times the first factor plus the second; without `from` the byte's place.
QVS_KERNEL(probeScale, const uint8_t* from, uint8_t* to, int pitch, int width, int height) {
  const int x = QVS_X();
  const int y = QVS_Y();
  if (x >= width || y >= height) return;
  const int value = from != nullptr ? from[y * pitch + x] : x + y;
  to[y * pitch + x] = static_cast<uint8_t>(value * probeFactor[0] + probeFactor[1]);
}
