#pragma once

#include <mc_dec_video.h>

#include <cstdint>
#include <memory>
#include <string>

namespace qvs {

/// Display size of codecs whose aspect is that of the whole picture. Without an aspect the sides come out
/// exchanged.
void displaySizeOfPictureAspect(const mc_seq_params_ex_t& info, uint32_t* width, uint32_t* height);

/// "aspect:WxH"
std::string describePictureAspect(const mc_seq_params_ex_t& info);

/// 16 bits, high byte first, as lengths stand in configuration records.
inline uint32_t readWord(const uint8_t* bytes) {
  return uint32_t{bytes[0]} << 8 | bytes[1];
}

/// A parameter set of `len` bytes behind a start code.
std::unique_ptr<uint8_t[]> withStartCode(const uint8_t* set, uint32_t len);

}  // namespace qvs
