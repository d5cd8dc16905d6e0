// Row codecs too large for their header, and those that stand on libyuv.
#include "ucc/RowCodecs.h"

#include <libyuv.h>

namespace qvs::ucc {
namespace {

constexpr uint32_t kV210Pixels = 6;
constexpr uint32_t kV210Words = 4;
constexpr uint32_t kV210Neutral = 512;

constexpr uint32_t kY41pPixels = 8;
constexpr uint32_t kY41pBytes = 12;
constexpr uint8_t kY41pLuma[kY41pPixels] = {1, 3, 5, 7, 8, 9, 10, 11};
constexpr uint8_t kY41pU[2] = {0, 4};
constexpr uint8_t kY41pV[2] = {2, 6};

// Samples 3k, 3k+1 and 3k+2 of a group lie in word k from its low bits up.
void spreadV210Group(const uint8_t* bytes, uint16_t* samples) {
  uint32_t words[kV210Words];
  std::memcpy(words, bytes, sizeof words);
  for (uint32_t i = 0; i < kV210Words; ++i) {
    samples[3 * i] = words[i] & 1023;
    samples[3 * i + 1] = words[i] >> 10 & 1023;
    samples[3 * i + 2] = words[i] >> 20 & 1023;
  }
}

void gatherV210Group(uint8_t* bytes, const uint16_t* samples) {
  uint32_t words[kV210Words];
  for (uint32_t i = 0; i < kV210Words; ++i) {
    words[i] = samples[3 * i] | static_cast<uint32_t>(samples[3 * i + 1]) << 10 |
               static_cast<uint32_t>(samples[3 * i + 2]) << 20;
  }
  std::memcpy(bytes, words, sizeof words);
}

}  // namespace

// Libyuv's names for four-byte pixels go from the high byte down; one row each, so that strides don't matter.
void splitPairs(const uint8_t* row, uint8_t* first, uint8_t* second, uint32_t pairs) {
  libyuv::SplitUVPlane(row, 0, first, 0, second, 0, static_cast<int>(pairs), 1);
}

void mergePairs(uint8_t* row, const uint8_t* first, const uint8_t* second, uint32_t pairs) {
  libyuv::MergeUVPlane(first, 0, second, 0, row, 0, static_cast<int>(pairs), 1);
}

void splitThrees(const uint8_t* row, uint8_t* const at[3], uint32_t pixels) {
  libyuv::SplitRGBPlane(row, 0, at[0], 0, at[1], 0, at[2], 0, static_cast<int>(pixels), 1);
}

void mergeThrees(uint8_t* row, const uint8_t* const at[3], uint32_t pixels) {
  libyuv::MergeRGBPlane(at[0], 0, at[1], 0, at[2], 0, row, 0, static_cast<int>(pixels), 1);
}

void splitFours(const uint8_t* row, uint8_t* const at[4], uint32_t pixels) {
  libyuv::SplitARGBPlane(row, 0, at[2], 0, at[1], 0, at[0], 0, at[3], 0, static_cast<int>(pixels), 1);
}

void mergeFours(uint8_t* row, const uint8_t* const at[4], uint32_t pixels) {
  libyuv::MergeARGBPlane(at[2], 0, at[1], 0, at[0], 0, at[3], 0, row, 0, static_cast<int>(pixels), 1);
}

void splitGroups422(const uint8_t* row, const Rows& out, uint32_t pixels, bool lumaFirst) {
  const auto split = lumaFirst ? libyuv::YUY2ToI422 : libyuv::UYVYToI422;
  uint8_t* const* to = out.component;
  split(row, 0, to[0], 0, to[1], 0, to[2], 0, static_cast<int>(pixels), 1);
}

void mergeGroups422(uint8_t* row, const Rows& in, uint32_t pixels, bool lumaFirst) {
  const auto merge = lumaFirst ? libyuv::I422ToYUY2 : libyuv::I422ToUYVY;
  uint8_t* const* from = in.component;
  merge(from[0], 0, from[1], 0, from[2], 0, row, 0, static_cast<int>(pixels), 1);
}

void V210Row::unpack(const uint8_t* row, const Rows& out, uint32_t samples) {
  uint16_t* __restrict y = samplesOf<uint16_t>(out, 0);
  uint16_t* __restrict u = samplesOf<uint16_t>(out, 1);
  uint16_t* __restrict v = samplesOf<uint16_t>(out, 2);
  uint16_t group[2 * kV210Pixels];
  const auto spread = [&](uint32_t x, uint32_t pixels) {
    spreadV210Group(row, group);
    for (uint32_t i = 0; i < pixels; ++i) y[x + i] = group[2 * i + 1];
    for (uint32_t i = 0; i < pixels / 2; ++i) {
      u[x / 2 + i] = group[4 * i];
      v[x / 2 + i] = group[4 * i + 2];
    }
  };
  uint32_t x = 0;
  for (; x + kV210Pixels <= samples; x += kV210Pixels, row += 4 * kV210Words) spread(x, kV210Pixels);
  if (x < samples) spread(x, samples - x);
}

void V210Row::pack(uint8_t* row, const Rows& in, uint32_t samples) {
  const auto* y = samplesOf<uint16_t>(in, 0);
  const auto* u = samplesOf<uint16_t>(in, 1);
  const auto* v = samplesOf<uint16_t>(in, 2);
  uint16_t group[2 * kV210Pixels];
  uint32_t x = 0;
  for (; x + kV210Pixels <= samples; x += kV210Pixels, row += 4 * kV210Words) {
    for (uint32_t i = 0; i < kV210Pixels; ++i) group[2 * i + 1] = y[x + i];
    for (uint32_t i = 0; i < kV210Pixels / 2; ++i) {
      group[4 * i] = u[x / 2 + i];
      group[4 * i + 2] = v[x / 2 + i];
    }
    gatherV210Group(row, group);
  }
  if (x == samples) return;
  for (uint32_t i = 0; i < kV210Pixels; ++i) group[2 * i + 1] = y[std::min(x + i, samples - 1)];
  for (uint32_t i = 0; i < kV210Pixels / 2; ++i) {
    group[4 * i] = static_cast<uint16_t>(chromaAt(u, x / 2 + i, samples / 2, kV210Neutral));
    group[4 * i + 2] = static_cast<uint16_t>(chromaAt(v, x / 2 + i, samples / 2, kV210Neutral));
  }
  gatherV210Group(row, group);
}

void R210Row::unpack(const uint8_t* row, const Rows& out, uint32_t samples) {
  uint16_t* __restrict red = samplesOf<uint16_t>(out, 0);
  uint16_t* __restrict green = samplesOf<uint16_t>(out, 1);
  uint16_t* __restrict blue = samplesOf<uint16_t>(out, 2);
  for (uint32_t x = 0; x < samples; ++x, row += 4) {
    red[x] = static_cast<uint16_t>((row[0] & 63) << 4 | row[1] >> 4);
    green[x] = static_cast<uint16_t>((row[1] & 15) << 6 | row[2] >> 2);
    blue[x] = static_cast<uint16_t>((row[2] & 3) << 8 | row[3]);
  }
}

void R210Row::pack(uint8_t* row, const Rows& in, uint32_t samples) {
  const auto* red = samplesOf<uint16_t>(in, 0);
  const auto* green = samplesOf<uint16_t>(in, 1);
  const auto* blue = samplesOf<uint16_t>(in, 2);
  for (uint32_t x = 0; x < samples; ++x, row += 4) {
    row[0] = static_cast<uint8_t>(red[x] >> 4 & 63);
    row[1] = static_cast<uint8_t>((red[x] & 15) << 4 | green[x] >> 6);
    row[2] = static_cast<uint8_t>((green[x] & 63) << 2 | blue[x] >> 8);
    row[3] = static_cast<uint8_t>(blue[x] & 255);
  }
}

void Y41pRow::unpack(const uint8_t* row, const Rows& out, uint32_t samples) {
  uint8_t luma = 128;
  for (uint32_t x = 0; x < samples; x += kY41pPixels, row += kY41pBytes) {
    const uint32_t pixels = std::min(kY41pPixels, samples - x);
    const uint32_t bytes = pixels * kY41pBytes / kY41pPixels;
    for (uint32_t i = 0; i < pixels; ++i) {
      if (kY41pLuma[i] < bytes) luma = row[kY41pLuma[i]];
      out.component[0][x + i] = luma;
    }
    for (uint32_t i = 0; i < pixels / 4; ++i) {
      out.component[1][x / 4 + i] = row[kY41pU[i]];
      out.component[2][x / 4 + i] = row[kY41pV[i]];
    }
  }
}

void Y41pRow::pack(uint8_t* row, const Rows& in, uint32_t samples) {
  const uint8_t* y = in.component[0];
  for (uint32_t x = 0; x < samples; x += kY41pPixels, row += kY41pBytes) {
    uint8_t group[kY41pBytes];
    for (uint32_t i = 0; i < kY41pPixels; ++i) group[kY41pLuma[i]] = y[std::min(x + i, samples - 1)];
    for (uint32_t i = 0; i < 2; ++i) {
      group[kY41pU[i]] = static_cast<uint8_t>(chromaAt(in.component[1], x / 4 + i, samples / 4, 128));
      group[kY41pV[i]] = static_cast<uint8_t>(chromaAt(in.component[2], x / 4 + i, samples / 4, 128));
    }
    const uint32_t pixels = std::min(kY41pPixels, samples - x);
    std::memcpy(row, group, pixels * kY41pBytes / kY41pPixels);
  }
}

}  // namespace qvs::ucc
