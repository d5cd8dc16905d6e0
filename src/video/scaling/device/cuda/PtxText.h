#pragma once

#include <string>

// The texts of the modules of kernels, made by the build: pieces that an empty one ends.
extern const char* const conversion_ptx[];
extern const char* const image_ptx[];

namespace qvs {

inline std::string joinPtx(const char* const* pieces) {
  std::string text;
  for (; **pieces != '\0'; ++pieces) text += *pieces;
  return text;
}

}  // namespace qvs
