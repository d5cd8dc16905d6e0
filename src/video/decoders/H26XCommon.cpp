// Display sizes from aspect ratios, and how they are told in the log.
#include "video/decoders/H26XCommon.h"

#include <fmt/format.h>

namespace qvs {

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

}  // namespace qvs
