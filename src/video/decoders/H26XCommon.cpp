// Display sizes from aspect ratios, and how they are told in the log.
#include "video/decoders/H26XCommon.h"

#include <fmt/format.h>

#include <cstring>

namespace qvs {

namespace {

constexpr uint8_t kStartCode[] = {0, 0, 0, 1};

}  // namespace

void displaySizeOfPictureAspect(const mc_seq_params_ex_t& info, uint32_t* width, uint32_t* height) {
  if (info.aspect_ratio_height > 0) {
    *height = static_cast<uint32_t>(info.vertical_size);
    *width = static_cast<uint32_t>(int64_t{info.aspect_ratio_width} * info.vertical_size /
                                   info.aspect_ratio_height);
    return;
  }
  *width = static_cast<uint32_t>(info.vertical_size);
  *height = static_cast<uint32_t>(info.horizontal_size);
}

std::string describePictureAspect(const mc_seq_params_ex_t& info) {
  return fmt::format("aspect:{}x{}", info.aspect_ratio_width, info.aspect_ratio_height);
}

std::unique_ptr<uint8_t[]> withStartCode(const uint8_t* set, uint32_t len) {
  auto bytes = std::make_unique<uint8_t[]>(sizeof kStartCode + len);
  std::memcpy(bytes.get(), kStartCode, sizeof kStartCode);
  if (len != 0) std::memcpy(bytes.get() + sizeof kStartCode, set, len);
  return bytes;
}

}  // namespace qvs
