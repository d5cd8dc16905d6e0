#pragma once

#include <memory>
#include <utility>

#include "frames/VideoFrameBufferSet.h"

namespace qvs {

/// Owns one pool, which keeps its address while the list of pools grows.
class VideoFrameBufferSetWrapper {
 public:
  VideoFrameBufferSetWrapper() : set(std::make_unique<VideoFrameBufferSet>()) {}
  explicit VideoFrameBufferSetWrapper(std::unique_ptr<VideoFrameBufferSet> set) : set(std::move(set)) {}

  VideoFrameBufferSet* get() const { return set.get(); }

 private:
  std::unique_ptr<VideoFrameBufferSet> set;
};

}  // namespace qvs
