// Caption distribution packets in, SEI messages out.
#include "session/CaptionFormat.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "contract/StageIds.h"

namespace qvs {

namespace {

constexpr int32_t kCaptionDid = 0x61;
constexpr int32_t kDistributionPacketSid = 0x01;
constexpr uint8_t kTimecodeSection = 0x71;
constexpr uint8_t kCaptionSection = 0x72;
constexpr size_t kPacketHeader = 7;
constexpr size_t kTimecodeBytes = 5;
constexpr uint8_t kValid = 4;

constexpr size_t kLengthBytes = 4;
constexpr uint8_t kSeiUserData = 4;
constexpr uint8_t kCaptionPrefix[] = {0xB5, 0x00, 0x31, 'G', 'A', '9', '4', 0x03};
// Header, prefix, counts, triplets and end, each byte of them escaped at worst.
constexpr size_t kSeiMax = 2 * (2 + 2 + sizeof(kCaptionPrefix) + 2 + 3 * CaptionFormat::kTripletsMax + 2);

/// The low eight bits of a packet's words; the others are parity.
class Words {
 public:
  explicit Words(const VideoFrameAncillaryData& packet)
      : words(packet.buffer, std::min(packet.bufferLen, VideoFrameAncillaryData::kWordsMax)) {}
  size_t size() const { return words.size(); }
  uint8_t operator[](size_t index) const { return static_cast<uint8_t>(words[index] & 0xFF); }

 private:
  std::span<const int32_t> words;
};

class SeiWriter {
 public:
  void putHeader(uint8_t byte) { bytes[size++] = byte; }
  void put(uint8_t byte) {
    if (zeros == 2 && byte <= 3) {
      bytes[size++] = 3;
      zeros = 0;
    }
    bytes[size++] = byte;
    zeros = byte == 0 ? zeros + 1 : 0;
  }
  std::span<const uint8_t> get() const { return {bytes, size}; }

 private:
  uint8_t bytes[kSeiMax];
  size_t size = 0;
  int zeros = 0;
};

void writeSei(bool h265, std::span<const CaptionFormat::Triplet> triplets, SeiWriter& out) {
  out.putHeader(h265 ? 39 << 1 : 6);
  if (h265) out.putHeader(1);
  out.put(kSeiUserData);
  out.put(static_cast<uint8_t>(sizeof(kCaptionPrefix) + 3 + 3 * triplets.size()));
  for (const uint8_t byte : kCaptionPrefix) out.put(byte);
  out.put(static_cast<uint8_t>(0xC0 | triplets.size()));
  out.put(0xFF);
  for (const CaptionFormat::Triplet& triplet : triplets) {
    out.put(static_cast<uint8_t>(0xF8 | kValid | triplet.type));
    out.put(triplet.first);
    out.put(triplet.second);
  }
  out.put(0xFF);
  out.put(0x80);
}

/// Where the first slice's length stands; the picture's size where there is no slice.
size_t firstSlice(bool h265, std::span<const uint8_t> picture) {
  size_t at = 0;
  while (picture.size() - at > kLengthBytes) {
    const uint8_t header = picture[at + kLengthBytes];
    const bool slice = h265 ? (header >> 1 & 0x3F) < 32 : (header & 0x1F) >= 1 && (header & 0x1F) <= 5;
    if (slice) return at;
    const size_t length = size_t{picture[at]} << 24 | size_t{picture[at + 1]} << 16 |
                          size_t{picture[at + 2]} << 8 | picture[at + 3];
    if (length > picture.size() - at - kLengthBytes) break;
    at += kLengthBytes + length;
  }
  return picture.size();
}

}  // namespace

void CaptionFormat::read(const VideoFrameAncillaryData& packet, std::vector<Triplet>& triplets) {
  if ((packet.did & 0xFF) != kCaptionDid || (packet.sid & 0xFF) != kDistributionPacketSid) return;
  const Words words(packet);
  if (words.size() < kPacketHeader || words[0] != 0x96 || words[1] != 0x69) return;
  size_t at = kPacketHeader;
  if (at < words.size() && words[at] == kTimecodeSection) at += kTimecodeBytes;
  if (words.size() < at + 2 || words[at] != kCaptionSection) return;
  const size_t count = words[at + 1] & 0x1F;
  at += 2;
  for (size_t i = 0; i < count && at + 3 <= words.size(); ++i, at += 3) {
    const bool valid = (words[at] & kValid) != 0;
    if (valid) triplets.push_back({static_cast<uint8_t>(words[at] & 3), words[at + 1], words[at + 2]});
  }
}

bool CaptionFormat::fits(uint32_t codec) {
  return codec == kVideoCodecH264 || codec == kVideoCodecH265;
}

MallocBytes CaptionFormat::insert(uint32_t codec, std::span<const uint8_t> picture,
                                  std::span<const Triplet> triplets, uint32_t* len) {
  const bool h265 = codec == kVideoCodecH265;
  const size_t slice = firstSlice(h265, picture);
  if (slice == picture.size() || triplets.size() > kTripletsMax) return nullptr;
  SeiWriter sei;
  writeSei(h265, triplets, sei);
  const std::span<const uint8_t> message = sei.get();
  const size_t size = picture.size() + kLengthBytes + message.size();
  MallocBytes bytes(size <= UINT32_MAX ? static_cast<uint8_t*>(std::malloc(size)) : nullptr);
  if (!bytes) return nullptr;
  uint8_t* to = bytes.get();
  to = std::copy_n(picture.data(), slice, to);
  for (int shift = 24; shift >= 0; shift -= 8) *to++ = static_cast<uint8_t>(message.size() >> shift);
  to = std::copy(message.begin(), message.end(), to);
  std::copy(picture.begin() + static_cast<ptrdiff_t>(slice), picture.end(), to);
  *len = static_cast<uint32_t>(size);
  return bytes;
}

}  // namespace qvs
