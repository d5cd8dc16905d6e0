#pragma once

#include <mc_dec_video.h>

#include <cstdint>
#include <string>

namespace qvs {

/// Display size of codecs whose aspect is that of the whole picture. Without an aspect the sides come out
/// exchanged.
void displaySizeOfPictureAspect(const mc_seq_params_ex_t& info, uint32_t* width, uint32_t* height);

/// "aspect:WxH"
std::string describePictureAspect(const mc_seq_params_ex_t& info);

}  // namespace qvs
