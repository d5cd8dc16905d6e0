// Bytes as access units with start codes into the rewriting to lengths. The lengths must lead from unit to
// unit inside the bytes, and what isn't a start code must stay.

#include <cstdlib>
#include <vector>

#include "FuzzInput.h"
#include "video/encoders/NalUnits.h"

namespace {

void check(bool ok) {
  if (!ok) std::abort();
}

uint32_t bigEndian(const uint8_t* bytes) {
  return static_cast<uint32_t>(bytes[0]) << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
}

void rewrite(std::vector<uint8_t> bytes, uint32_t (*process)(uint8_t*, uint32_t)) {
  const std::vector<uint8_t> before = bytes;
  const uint32_t type = process(bytes.data(), static_cast<uint32_t>(bytes.size()));
  check(type <= 3);
  size_t changed = 0;
  while (changed < bytes.size() && bytes[changed] == before[changed]) ++changed;
  if (changed == bytes.size()) return;
  // The first start code found lies at the first change or, where its length equals the code, nowhere.
  size_t at = changed;
  while (at > 0 && changed - at < 3 &&
         !(before[at] == 0 && at + 3 < before.size() && before[at + 1] == 0 && before[at + 2] == 0 &&
           before[at + 3] == 1)) {
    --at;
  }
  while (at + 4 <= bytes.size()) {
    const uint64_t next = at + 4 + uint64_t{bigEndian(&bytes[at])};
    check(next <= bytes.size());
    for (size_t i = at + 4; i < next; ++i) check(bytes[i] == before[i]);
    at = static_cast<size_t>(next);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  rewrite({data, data + size}, qvs::NalUnits::processH264Frame);
  rewrite({data, data + size}, qvs::NalUnits::processH265Frame);
  return 0;
}
