#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include "platform/FreeDeleter.h"

namespace qvs {

/// A malloc'ed piece of coded input on its way into a decoder, and the part of it that counts. Moves, never
/// copies: whoever holds it frees the bytes.
class CodedBlock {
 public:
  CodedBlock() = default;
  CodedBlock(MallocBytes memory, uint32_t offset, uint32_t len)
      : memory(std::move(memory)), offset(offset), len(len) {}

  /// A copy of exactly these bytes, so that a read past their end is one past the block's. Without memory, not
  /// with an empty span, a null block.
  static CodedBlock copyOf(std::span<const uint8_t> bytes) {
    MallocBytes copy(static_cast<uint8_t*>(std::malloc(std::max<size_t>(bytes.size(), 1))));
    if (!copy) return {};
    std::copy(bytes.begin(), bytes.end(), copy.get());
    return {std::move(copy), 0, static_cast<uint32_t>(bytes.size())};
  }

  uint8_t* getMemory() const { return memory.get(); }  ///< where the block begins; null without one
  uint32_t getOffset() const { return offset; }        ///< of the part that counts
  uint32_t getLen() const { return len; }
  explicit operator bool() const { return memory != nullptr; }

 private:
  MallocBytes memory;
  uint32_t offset = 0;
  uint32_t len = 0;
};

}  // namespace qvs
