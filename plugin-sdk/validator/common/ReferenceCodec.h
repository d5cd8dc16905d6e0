#pragma once

#include <string>
#include <vector>

#include "common/CodedFrame.h"
#include "common/Pattern.h"

namespace qvs::validator {

/// Coded pictures as a decoder plug-in gets them.
struct Clip {
  uint32_t codec = 0;
  std::vector<uint8_t> config;     ///< the container's record; may be empty
  std::vector<CodedFrame> frames;  ///< H.264 and H.265 with lengths in front of their units
};

/// What libavcodec makes of coded pictures, in the order of their presentation. `error` is not empty where it refused
/// some of them.
std::vector<PlainPicture> decodeForReference(const Clip& clip, std::string& error);

/// A clip of the pattern, coded by libavcodec with B pictures where the codec has them.
Clip makeClip(uint32_t codec, uint32_t width, uint32_t height, uint32_t pictures, std::string& error);

/// The first pictures of a file: a container or an elementary stream.
Clip readClip(const std::string& file, std::string& error);

}  // namespace qvs::validator
