// Copies of a picture in other shapes: previews, files, single components.
#include "frames/FrameCopies.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <limits>

#include "frames/FrameMemory.h"
#include "frames/geometry/UccFormat.h"
#include "platform/Status.h"

namespace qvs {
namespace {

constexpr uint32_t kRefused = 1;
constexpr uint32_t kBytesPerPixelBGRA = 4;

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

/// Fills a zero in a size from the other one, by the picture's aspect.
void completeSize(const frame_tt& picture, uint32_t* width, uint32_t* height) {
  if (*width == 0 && *height == 0) {
    *width = picture.width;
    *height = picture.height;
  } else if (*height == 0 && picture.width != 0) {
    *height = static_cast<uint32_t>(uint64_t{picture.height} * *width / picture.width);
  } else if (*width == 0 && picture.height != 0) {
    *width = static_cast<uint32_t>(uint64_t{picture.width} * *height / picture.height);
  }
}

}  // namespace

uint32_t copyToBGRA(const frame_tt& picture, void* converter, uint8_t** out, uint32_t* size, uint32_t* width,
                    uint32_t* height) {
  completeSize(picture, width, height);
  const uint64_t bytes = uint64_t{*width} * *height * kBytesPerPixelBGRA;
  if (bytes > std::numeric_limits<uint32_t>::max()) return kFailure;
  if (size != nullptr) *size = static_cast<uint32_t>(bytes);
  if (out == nullptr) return kSuccess;

  FrameMemory made;
  if (*out == nullptr) made = makeFrameMemory(bytes, true);
  uint8_t* target = *out != nullptr ? *out : made.get();
  ucc_frame_t from;
  ucc_frame_t to{};
  if (target == nullptr || converter == nullptr || uccViewOfFrame(&from, picture) == 0 ||
      initUCCFrame(&to, UCC_FORMAT_BGRA, *width, *height, target) == 0) {
    return kRefused;
  }
  setUCCColorimetry(&to);
  const ucc_config_t config{};
  if (UCC_Transform(converter, &to, &from, &config) != 0) return kRefused;
  if (made) *out = made.release();
  return kSuccess;
}

uint32_t appendPlanesToFile(const frame_tt& picture, const uint8_t* end, const char* path) {
  std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path, "ab"));
  if (!file) return kFailure;
  std::puts("START");
  for (uint32_t i = 0; i < 4; ++i) {
    if (picture.plane[i] == nullptr || picture.stride[i] <= 0) continue;
    const bool isLast = i == 3 || picture.plane[i + 1] == nullptr;
    const uint8_t* planeEnd = isLast ? end : picture.plane[i + 1];
    const auto bytes = static_cast<size_t>(std::max<ptrdiff_t>(planeEnd - picture.plane[i], 0));
    std::printf("PLANE: %zu\n", bytes);
    if (std::fwrite(picture.plane[i], 1, bytes, file.get()) != bytes) return kFailure;
  }
  // A full disk may show only here.
  return std::fclose(file.release()) == 0 ? kSuccess : kFailure;
}

std::unique_ptr<uint8_t[]> extractComponent(const uint8_t* data, int32_t width, int32_t height,
                                            int32_t component) {
  if (data == nullptr || width <= 0 || height <= 0 || component < 0 || component > 3) return nullptr;
  const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
  auto extracted = std::make_unique<uint8_t[]>(pixels);
  for (size_t i = 0; i < pixels; ++i) extracted[i] = data[i * 4 + static_cast<size_t>(component)];
  return extracted;
}

}  // namespace qvs
