#pragma once

#include "offline/vod/IVODTranscoder.h"
#include "platform/Status.h"

namespace qvs {

/// What off-line transcoders share. Does nothing by itself.
class VODTranscoderVideoBase : public IVODTranscoder {
 public:
  uint32_t transcode(VODTranscoderVideoSettings&, const std::vector<VideoFrameEncoded>&,
                     std::vector<VideoFrameEncoded>&) override {
    return kSuccess;
  }
  uint32_t getCodecConfig(VODTranscoderVideoSettings&, VideoFrameEncoded&) override { return kSuccess; }
  void setJNIAllocator(JNIAllocator* allocator) override { jniAllocator = allocator; }
  void setLogger(ILogger* value) override { logger = value; }
  uint32_t createDone() override { return kSuccess; }

 protected:
  ILogger* getLogger() const { return logger; }

  JNIAllocator* jniAllocator = nullptr;
  ILogger* logger = nullptr;
};

}  // namespace qvs
