// Skips tags in coded audio, and finds the frames behind a tag whose length is a lie.
#include "audio/TagSkipper.h"

#include <algorithm>

namespace qvs::mc {

void TagSkipper::begin(size_t size) {
  left = size;
  seen = 0;
  chain = 0;
}

bool TagSkipper::skip(std::span<const uint8_t>& input) {
  while (left > 0 && !input.empty()) {
    std::copy(window.begin() + 1, window.begin() + kWindowBytes, window.begin());
    window[kWindowBytes - 1] = input.front();
    input = input.subspan(1);
    --left;
    if (++seen >= kWindowBytes) examine();
    if (chain == kFramesTelling) left = 0;
  }
  return left == 0;
}

std::span<const uint8_t> TagSkipper::begun() const {
  return std::span(window).first(chain == kFramesTelling ? kWindowBytes : 0);
}

// A picture in a tag holds many bytes that could begin a frame, but hardly three that fit each other.
void TagSkipper::examine() {
  const size_t at = seen - kWindowBytes;
  if (chain > 0 && at < nextAt) return;
  mc_aud_frame_hdr_t header{};
  size_t length = 0;
  if (format.readHeader(window.data(), header, length) != HeaderVerdict::kFrame) {
    chain = 0;
    return;
  }
  const bool fits = header.sample_rate == last.sample_rate && header.channels == last.channels &&
                    header.version == last.version && header.layer == last.layer;
  chain = chain > 0 && fits ? chain + 1 : 1;
  last = header;
  nextAt = at + length;
}

}  // namespace qvs::mc
