// Sums of pictures and samples.

#include "support/Md5.h"

extern "C" {
#include <libavutil/md5.h>
#include <libavutil/mem.h>
}

#include <cstdio>

namespace qvs::test {

RunningMd5::RunningMd5() : state(av_md5_alloc(), av_free) {
  av_md5_init(state.get());
}

void RunningMd5::add(const std::vector<uint8_t>& bytes) {
  av_md5_update(state.get(), bytes.data(), bytes.size());
}

std::string RunningMd5::text() {
  uint8_t sum[16];
  av_md5_final(state.get(), sum);
  std::string text;
  for (const uint8_t byte : sum) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", byte);
    text += digits;
  }
  return text;
}

std::string md5(const std::vector<uint8_t>& bytes) {
  RunningMd5 sum;
  sum.add(bytes);
  return sum.text();
}

}  // namespace qvs::test
