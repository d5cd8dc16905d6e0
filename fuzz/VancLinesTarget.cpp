// Bytes as a line of the vertical blanking in packed 10 bits. Each packet that is found must lie within the line, and
// its checksum must be right.

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "capture/CaptureAncillaryDataUtils.h"
#include "capture/decklink/VancScanner.h"
#include "FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  qvs::fuzz::FuzzInput input(data, size);
  const bool all = (input.take<uint8_t>() & 1) != 0;
  const auto bytes = input.bytes(input.size());
  std::vector<uint8_t> line(bytes.begin(), bytes.end());
  line.resize((line.size() + 15) / 16 * 16);
  uint32_t count = static_cast<uint32_t>(line.size() / 16 * (all ? 12 : 6));
  std::vector<uint16_t> words(count);
  qvs::CaptureAncillaryDataUtils::getAncillaryData(line.data(), count, all ? 1 : 0, words.data(), &count);
  qvs::VancScanner scanner(words);
  size_t packets = 0;
  for (qvs::VancPacket packet{}; scanner.next(&packet); ++packets) {
    const uint16_t* const first = packet.words.data();
    if (first < words.data() + 6 || first + packet.words.size() >= words.data() + words.size()) std::abort();
    uint32_t sum = first[-3] + first[-2] + first[-1];
    for (const uint16_t word : packet.words) sum += word;
    if ((sum & 511) != (packet.checksum & 511u)) std::abort();
  }
  if (packets > words.size() / 7) std::abort();
  return 0;
}
