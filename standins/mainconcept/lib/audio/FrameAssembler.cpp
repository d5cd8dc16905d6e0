// Finding whole coded frames in bytes that come in pieces, past tags and damage.
#include "audio/FrameAssembler.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace qvs::mc {

FrameAssembler::Progress FrameAssembler::take(std::span<const uint8_t>& input) {
  dropCutFrame(input);
  while (skipTag(input) && gather(frameBytes != 0 ? frameBytes : format.headerBytes, input)) {
    if (frameBytes == 0) {
      if (examineHeader(input)) continue;
      clear();
      input = {};
      return Progress::kRefused;
    }
    if (format.holdsAudio(frame(), frameHeader)) {
      junk = 0;
      return Progress::kFrame;
    }
    clear();
  }
  return Progress::kNeedsBytes;
}

// A packet that was cut, or whose header was damaged, leaves a frame without its end: waiting for it would
// spoil the next packet's frame too. So the frame is given up where the new bytes make sense without it.
void FrameAssembler::dropCutFrame(std::span<const uint8_t> input) {
  if (frameBytes == 0 || input.size() < format.headerBytes) return;
  mc_aud_frame_hdr_t header{};
  size_t length = 0;
  if (format.readHeader(input.data(), header, length) != HeaderVerdict::kFrame) return;
  const size_t missing = frameBytes - held;
  if (endsWell(input, length) && !endsWell(input, missing)) clear();
}

/// Whether a frame that ends at `end` ends where the input does, or where another frame begins.
bool FrameAssembler::endsWell(std::span<const uint8_t> input, size_t end) const {
  if (end >= input.size()) return end == input.size();
  return input.size() - end < format.headerBytes || isBegin(input.data() + end);
}

bool FrameAssembler::skipTag(std::span<const uint8_t>& input) {
  if (tag.isDone()) return true;
  if (!tag.skip(input)) return false;
  const std::span<const uint8_t> begun = tag.begun();
  std::copy(begun.begin(), begun.end(), bytes.begin());
  held = begun.size();
  if (held > 0) ++falseTagCount;
  return true;
}

bool FrameAssembler::gather(size_t count, std::span<const uint8_t>& input) {
  const size_t taken = std::min(count - held, input.size());
  if (taken > 0) std::memcpy(bytes.data() + held, input.data(), taken);
  held += taken;
  input = input.subspan(taken);
  return held == count;
}

/// What the bytes at hand begin: a tag, a frame, or junk of which one byte is passed over. False: a frame
/// that isn't served.
bool FrameAssembler::examineHeader(std::span<const uint8_t> input) {
  if (const size_t size = format.tagBytes(bytes.data()); size > 0) {
    tag.begin(size - held);
    held = 0;
    return true;
  }
  const HeaderVerdict verdict = format.readHeader(bytes.data(), frameHeader, frameBytes);
  if (verdict == HeaderVerdict::kRefused && junk == 0) return false;
  if (verdict == HeaderVerdict::kFrame && (junk == 0 || isConfirmed(input))) return true;
  frameBytes = 0;
  ++junk;
  std::memmove(bytes.data(), bytes.data() + 1, --held);
  return true;
}

// Amid junk a header may be chance: another one must follow the frame, as far as bytes are at hand.
bool FrameAssembler::isConfirmed(std::span<const uint8_t> input) const {
  const size_t missing = frameBytes - held;
  return missing > input.size() || endsWell(input, missing);
}

bool FrameAssembler::isBegin(const uint8_t* at) const {
  mc_aud_frame_hdr_t header{};
  size_t length = 0;
  return format.readHeader(at, header, length) == HeaderVerdict::kFrame || format.tagBytes(at) > 0;
}

bool FrameAssembler::findHeader(std::span<const uint8_t> input, mc_aud_frame_hdr_t& found) const {
  constexpr size_t kLongestHeader = 16;
  constexpr size_t kShortestHeader = 4;
  for (size_t at = 0; at + kShortestHeader <= input.size(); ++at) {
    std::array<uint8_t, kLongestHeader> window{};
    std::memcpy(window.data(), input.data() + at, std::min(window.size(), input.size() - at));
    if (const size_t size = format.tagBytes(window.data()); size > 0) {
      std::span<const uint8_t> rest = input.subspan(at);
      TagSkipper skipper(format);
      skipper.begin(size);
      if (!skipper.skip(rest)) return false;
      at = input.size() - rest.size() - skipper.begun().size() - 1;
      continue;
    }
    size_t length = 0;
    const HeaderVerdict verdict = format.readHeader(window.data(), found, length);
    if (verdict == HeaderVerdict::kFrame) return true;
    if (verdict == HeaderVerdict::kRefused) return false;
  }
  return false;
}

}  // namespace qvs::mc
