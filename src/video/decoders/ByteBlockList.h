#pragma once

#include <cstddef>
#include <vector>

#include "video/decoders/ByteBlock.h"

namespace qvs {

/// A queue of blocks that keeps its memory from unit to unit.
class ByteBlockList {
 public:
  bool empty() const { return first == blocks.size(); }
  size_t size() const { return blocks.size() - first; }
  ByteBlock& front() { return blocks[first]; }
  ByteBlock& operator[](size_t index) { return blocks[first + index]; }

  void push(const ByteBlock& block) { blocks.push_back(block); }

  void pop() {
    ++first;
    if (empty()) clear();
  }

  void clear() {
    blocks.clear();
    first = 0;
  }

 private:
  std::vector<ByteBlock> blocks;
  size_t first = 0;
};

}  // namespace qvs
