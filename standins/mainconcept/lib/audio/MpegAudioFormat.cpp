// Reading MPEG audio headers and tags, for the frame assembler.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "audio/FrameFormat.h"

namespace qvs::mc {

namespace {

constexpr size_t kHeaderBytes = 10;  ///< a frame's header has 4, that of an ID3 tag 10
constexpr uint32_t kFreeFormat = 0;
constexpr uint32_t kBadBitRate = 15;
constexpr uint32_t kBadRate = 3;

// Kilobits per second by [MPEG-1 or later][layer - 1][index].
constexpr uint16_t kBitRates[2][3][15] = {
    {{0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
     {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
     {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320}},
    {{0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
     {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
     {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160}},
};
constexpr uint32_t kRates[] = {44100, 48000, 32000};  ///< of MPEG-1; halved and quartered by the later ones

/// Version by the two bits of the header; 0: reserved.
constexpr uint32_t kVersions[] = {3, 0, 2, 1};

uint32_t samplesOf(uint32_t version, uint32_t layer) {
  if (layer == 1) return 384;
  return layer == 3 && version != 1 ? 576 : 1152;
}

HeaderVerdict readHeader(const uint8_t* bytes, mc_aud_frame_hdr_t& header, size_t& frameBytes) {
  const uint32_t version = kVersions[bytes[1] >> 3 & 3];
  const uint32_t layer = 4 - (bytes[1] >> 1 & 3);
  const uint32_t bitRateIndex = bytes[2] >> 4;
  const uint32_t rateIndex = bytes[2] >> 2 & 3;
  const bool synchronous = bytes[0] == 0xFF && (bytes[1] & 0xE0) == 0xE0;
  if (!synchronous || version == 0 || layer == 4 || bitRateIndex == kBadBitRate || rateIndex == kBadRate) {
    return HeaderVerdict::kNoFrame;
  }
  if (bitRateIndex == kFreeFormat) return HeaderVerdict::kRefused;
  header.sample_rate = kRates[rateIndex] >> (version - 1);
  header.channels = bytes[3] >> 6 == 3 ? 1 : 2;
  header.bit_rate = kBitRates[version != 1][layer - 1][bitRateIndex] * 1000u;
  header.version = version;
  header.layer = layer;
  header.samples = samplesOf(version, layer);
  // Lengths count slots: four bytes in layer I, one byte in the others.
  const uint32_t slotBytes = layer == 1 ? 4 : 1;
  const uint32_t slots = header.samples / 8 / slotBytes * header.bit_rate / header.sample_rate;
  frameBytes = size_t{slots + (bytes[2] >> 1 & 1)} * slotBytes;
  return HeaderVerdict::kFrame;
}

bool startsWith(const uint8_t* bytes, const char* word) {
  return std::memcmp(bytes, word, std::strlen(word)) == 0;
}

size_t tagBytes(const uint8_t* bytes) {
  constexpr size_t kId3v1Bytes = 128;
  constexpr uint8_t kFooterFlag = 0x10;
  if (startsWith(bytes, "TAG")) return kId3v1Bytes;
  const uint8_t* size = bytes + 6;
  const bool sizeIsSane = std::all_of(size, size + 4, [](uint8_t byte) { return byte < 0x80; });
  if (!startsWith(bytes, "ID3") || bytes[3] == 0xFF || !sizeIsSane) return 0;
  const size_t content = size_t{size[0]} << 21 | size_t{size[1]} << 14 | size_t{size[2]} << 7 | size[3];
  return content + (bytes[5] & kFooterFlag ? 20 : 10);
}

// A file's table of contents lies in a layer III frame of silence, behind an empty side information.
bool holdsAudio(std::span<const uint8_t> frame, const mc_aud_frame_hdr_t& header) {
  constexpr size_t kSideInfoBytes[2][2] = {{17, 32}, {9, 17}};  // [MPEG-1 or later][mono or stereo]
  constexpr size_t kWordBytes = 4;
  constexpr size_t kVbriAt = 36;
  if (header.layer != 3) return true;
  const size_t sideInfo = frame[1] & 1 ? 4 : 6;  // a checksum comes first where the bit is clear
  const size_t word = sideInfo + kSideInfoBytes[header.version != 1][header.channels - 1];
  if (frame.size() < std::max(word, kVbriAt) + kWordBytes) return true;
  const auto empty = [&](size_t end) {
    return std::all_of(frame.begin() + static_cast<std::ptrdiff_t>(sideInfo),
                       frame.begin() + static_cast<std::ptrdiff_t>(end), [](uint8_t b) { return b == 0; });
  };
  const uint8_t* xing = frame.data() + word;
  const bool isXing = (startsWith(xing, "Xing") || startsWith(xing, "Info")) && empty(word);
  return !isXing && !(startsWith(frame.data() + kVbriAt, "VBRI") && empty(kVbriAt));
}

}  // namespace

// One decoder of libavcodec serves the three layers. The float one: against the reference decode of
// conformance streams it is off by 0.01 to 0.05 of a 16-bit step (root mean square), the fixed-point ones by
// 0.50.
const FrameFormat kMpegAudioFormat = {
    .name = "MPEG audio",
    .codecName = "mp3float",
    .refusedText = "free format is not supported",
    .configBytes = sizeof(mpa_decoder_config),
    .headerBytes = kHeaderBytes,
    .readHeader = readHeader,
    .tagBytes = tagBytes,
    .holdsAudio = holdsAudio,
};

}  // namespace qvs::mc
