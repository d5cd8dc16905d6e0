// Where the planes of a picture lie.
#include "EncoderSession.h"

namespace qvs::plugins {

Picture pictureAt(const void* plane, uint32_t stride, uint32_t width, uint32_t height) {
  Picture picture{};
  picture.y = static_cast<const uint8_t*>(plane);
  picture.stride = stride;
  picture.chromaStride = (stride + 1) / 2;
  picture.width = width;
  picture.height = height;
  picture.v = picture.y + uint64_t{stride} * height;
  picture.u = picture.v + uint64_t{picture.chromaStride} * ((height + 1) / 2);
  return picture;
}

Picture devicePictureAt(const PluginVideoFrameBufferCUDA& device) {
  Picture picture{};
  picture.y = static_cast<const uint8_t*>(device.buffer);
  picture.stride = static_cast<uint32_t>(device.stride);
  picture.chromaStride = picture.stride / 2;
  picture.width = device.width;
  picture.height = device.height;
  picture.u = picture.y + device.stride * device.height;
  picture.v = picture.u + size_t{picture.chromaStride} * ((device.height + 1) / 2);
  picture.onDevice = true;
  return picture;
}

}  // namespace qvs::plugins
