#pragma once

#include <memory>
#include <string>
#include <vector>

#include "common/Family.h"
#include "common/ReferenceCodec.h"
#include "qvs/video_decoder.h"

namespace qvs::validator {

/// An opened decoder plug-in, what it is to decode, and what libavcodec makes of that.
struct DecoderUnderTest {
  pluginVideoDecoder table;
  Clip clip;
  std::vector<PlainPicture> wanted;
  Options options;
  std::string noClip;  ///< not empty: why there are no coded pictures
};

using DecoderRules = std::vector<Rule<DecoderUnderTest>>;
DecoderRules decoderRules();

}  // namespace qvs::validator
