// FLV's units walked and given start codes. Input: the units as they come; the first byte is the frame type.

#include <cstdlib>
#include <vector>

#include "FuzzInput.h"
#include "offline/vod/FlvFrame.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qvs::fuzz::FuzzInput input(data, size);
  const uint32_t frameType = input.take<uint8_t>() % 5;
  const auto header = input.bytes(input.below(64));
  const auto body = input.bytes(input.size());
  const uint32_t head = qvs::annexBHeadLength(frameType, static_cast<uint32_t>(header.size()));
  // A block of just that size: a step past its end is seen.
  std::vector<uint8_t> block(head + body.size());
  qvs::writeAnnexBHead(frameType, header, block.data());
  std::copy(body.begin(), body.end(), block.begin() + head);
  qvs::lengthsToStartCodes({block.data() + head, body.size()});
  return 0;
}
