#pragma once

#include <string>

#include "common/Family.h"
#include "qvs/video_encoder.h"

namespace qvs::validator {

/// An opened encoder plug-in and the codec that it is checked with.
struct EncoderUnderTest {
  pluginVideoEncoder table;
  uint32_t codec;  ///< CodecNumber
  Options options;
};

using EncoderRules = std::vector<Rule<EncoderUnderTest>>;

EncoderRules encoderSessionRules();
EncoderRules encoderStreamRules();

}  // namespace qvs::validator
