#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "frames/AudioSampleBufferSetItem.h"

namespace qvs {

/// The numbered sound blocks of a session.
class AudioSampleBufferSet {
 public:
  /// Adds `count` blocks to what is there.
  void initialize(uint32_t count);

  /// Adds one block.
  AudioSampleBufferSetItem& add() { return items.emplace_back(); }

  /// Null past the end; borrowed.
  AudioSampleBuffer* getAudioSampleBuffer(uint32_t index) const {
    return index < items.size() ? items[index].getAudioSampleBuffer() : nullptr;
  }
  AudioSampleBufferSetItem* getItem(uint32_t index) { return index < items.size() ? &items[index] : nullptr; }
  size_t size() const { return items.size(); }

 private:
  std::vector<AudioSampleBufferSetItem> items;
};

}  // namespace qvs
