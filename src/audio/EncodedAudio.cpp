// Appending and releasing the malloc'ed blocks behind coded audio frames.
#include "audio/EncodedAudio.h"

#include <algorithm>
#include <cstdlib>

namespace qvs {

bool EncodedAudio::append(std::vector<AudioFrameEncoded>& frames, const Stamp& stamp,
                          std::span<const uint8_t> head, std::span<const uint8_t> body) {
  const size_t size = head.size() + body.size();
  // The place first: a vector that can't grow then leaks nothing.
  frames.emplace_back();
  auto* bytes = static_cast<uint8_t*>(std::malloc(size));
  if (bytes == nullptr) {
    frames.pop_back();
    return false;
  }
  std::copy(body.begin(), body.end(), std::copy(head.begin(), head.end(), bytes));
  frames.back() = {bytes, static_cast<uint32_t>(size), stamp.timecode, stamp.channels, stamp.sampleRate};
  return true;
}

void EncodedAudio::release(std::vector<AudioFrameEncoded>& frames) {
  for (const AudioFrameEncoded& frame : frames) std::free(frame.getBuffer());
  frames.clear();
}

}  // namespace qvs
