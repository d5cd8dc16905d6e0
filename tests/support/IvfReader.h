#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qvs::test {

struct CodedPacket {
  std::vector<uint8_t> bytes;
  uint64_t timecode = 0;  ///< as the file has it
};

/// A coded stream: what an IVF file holds, or what `makeStream` makes.
struct CodedStream {
  uint32_t codecVersion = 8;  ///< 8 or 9
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<CodedPacket> packets;
};

/// Reads an IVF file. Empty where it can't be read; a truncated last packet is kept as far as it goes.
CodedStream readIvf(const std::string& path);

}  // namespace qvs::test
