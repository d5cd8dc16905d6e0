// Pictures into surfaces: the driver's image formats, mapping, and the one pass over the samples.
#include "PictureUpload.h"

#include <libyuv.h>

#include <algorithm>

namespace qvs::vaapi {
namespace {

constexpr int32_t kStatus = QVS_PLUGIN_CREATE_SURFACES;

void convert(const plugins::Picture& picture, const VAImage& image, uint32_t width, uint32_t height,
             uint8_t* memory) {
  const auto stride = static_cast<int>(picture.stride), chroma = static_cast<int>(picture.chromaStride);
  libyuv::I420ToNV12(picture.y, stride, picture.u, chroma, picture.v, chroma, memory + image.offsets[0],
                     static_cast<int>(image.pitches[0]), memory + image.offsets[1],
                     static_cast<int>(image.pitches[1]), static_cast<int>(width), static_cast<int>(height));
}

}  // namespace

Outcome PictureUpload::begin(VADisplay onDisplay, VASurfaceID surface, uint32_t pictureWidth,
                             uint32_t pictureHeight, size_t slots) {
  end();
  display = onDisplay;
  width = pictureWidth;
  height = pictureHeight;
  if (canDerive(surface)) return {};
  VAImageFormat format{};
  Outcome result = findFormat(format);
  while (!result.failed() && images.size() < slots) {
    VAImage image{};
    result =
        outcomeOf(vaCreateImage(display, &format, static_cast<int>(width), static_cast<int>(height), &image),
                  kStatus, "vaCreateImage");
    if (!result.failed()) images.push_back(image);
  }
  return result;
}

bool PictureUpload::canDerive(VASurfaceID surface) {
  VAImage image{};
  if (vaDeriveImage(display, surface, &image) != VA_STATUS_SUCCESS) return false;
  const bool fits = image.format.fourcc == VA_FOURCC_NV12;
  vaDestroyImage(display, image.image_id);
  return fits;
}

Outcome PictureUpload::findFormat(VAImageFormat& format) {
  std::vector<VAImageFormat> formats(static_cast<size_t>(std::max(vaMaxNumImageFormats(display), 0)));
  int count = 0;
  Outcome result = outcomeOf(vaQueryImageFormats(display, formats.data(), &count), QVS_PLUGIN_NO_COLOR_FORMAT,
                             "vaQueryImageFormats");
  if (result.failed()) return result;
  formats.resize(static_cast<size_t>(count));
  const auto found = std::ranges::find(formats, uint32_t{VA_FOURCC_NV12}, &VAImageFormat::fourcc);
  if (found == formats.end()) return {QVS_PLUGIN_NO_COLOR_FORMAT, "the driver has no images in NV12"};
  format = *found;
  return {};
}

Outcome PictureUpload::put(const plugins::Picture& picture, VASurfaceID surface, size_t slot) {
  if (!images.empty()) {
    const VAImage& image = images[slot];
    Outcome result = fill(picture, image);
    if (result.failed()) return result;
    return outcomeOf(vaPutImage(display, surface, image.image_id, 0, 0, width, height, 0, 0, width, height),
                     kStatus, "vaPutImage");
  }
  // Derived anew for each picture: a driver may hold a surface back from the encoder while an image of it exists.
  VAImage image{};
  Outcome result = outcomeOf(vaDeriveImage(display, surface, &image), kStatus, "vaDeriveImage");
  if (result.failed()) return result;
  result = fill(picture, image);
  keepFirst(result, outcomeOf(vaDestroyImage(display, image.image_id), kStatus, "vaDestroyImage"));
  return result;
}

Outcome PictureUpload::fill(const plugins::Picture& picture, const VAImage& image) {
  void* memory = nullptr;
  Outcome result = outcomeOf(vaMapBuffer(display, image.buf, &memory), kStatus, "vaMapBuffer");
  if (result.failed()) return result;
  convert(picture, image, width, height, static_cast<uint8_t*>(memory));
  return outcomeOf(vaUnmapBuffer(display, image.buf), kStatus, "vaUnmapBuffer");
}

void PictureUpload::end() {
  for (const VAImage& image : images) vaDestroyImage(display, image.image_id);
  images.clear();
}

}  // namespace qvs::vaapi
