// The fake card's test picture, its sound and its blanking lines.
#include "fakes/decklink/CardPicture.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <string>

#include "fakes/support/FaultScript.h"

namespace qvs::fakes::card {
namespace {

constexpr uint16_t kWhite = 940, kBlack = 64, kGrey = 512;

void store32(uint8_t* to, uint32_t word) {
  std::memcpy(to, &word, sizeof word);
}

/// Twelve samples of 10 bits into sixteen bytes.
void packGroup(uint8_t* to, const uint16_t (&samples)[12]) {
  for (int i = 0; i < 4; ++i) {
    store32(to + 4 * i, samples[3 * i] | samples[3 * i + 1] << 10 | uint32_t{samples[3 * i + 2]} << 20);
  }
}

uint16_t withParity(uint32_t byte) {
  const uint32_t even = std::popcount(byte & 255) % 2 != 0 ? 0x100 : 0;
  return static_cast<uint16_t>((byte & 255) | even | (even != 0 ? 0 : 0x200));
}

std::vector<uint16_t> packetOf(uint8_t did, uint8_t sdid, const std::vector<uint8_t>& data, bool bad) {
  std::vector<uint16_t> words = {
      0, 1023, 1023, withParity(did), withParity(sdid), withParity(static_cast<uint32_t>(data.size()))};
  for (const uint8_t byte : data) words.push_back(withParity(byte));
  uint32_t sum = 0;
  for (size_t i = 3; i < words.size(); ++i) sum += words[i] & 511;
  sum = (sum + (bad ? 1 : 0)) & 511;
  words.push_back(static_cast<uint16_t>(sum | ((sum & 256) != 0 ? 0 : 512)));
  return words;
}

uint8_t odd(uint8_t seven) {
  return static_cast<uint8_t>(seven | (std::popcount(uint32_t{seven}) % 2 == 0 ? 0x80 : 0));
}

/// The pair of caption bytes of a picture: roll-up of two rows, a new line, the text, then nothing for a while.
std::pair<uint8_t, uint8_t> captionPair(const std::string& text, uint64_t number) {
  const uint64_t letters = (text.size() + 1) / 2, at = number % (letters + 30);
  if (at < 2) return {0x94, 0x25};
  if (at < 4) return {0x94, 0xAD};
  if (at - 4 >= letters) return {0x80, 0x80};
  const size_t first = static_cast<size_t>(at - 4) * 2;
  return {odd(static_cast<uint8_t>(text[first])),
          first + 1 < text.size() ? odd(static_cast<uint8_t>(text[first + 1])) : uint8_t{0x80}};
}

/// Code of the frame rate, and triples a packet.
std::pair<uint8_t, uint8_t> captionRate(const CardMode& mode) {
  const int64_t rate = (mode.scale + mode.duration / 2) / mode.duration;
  if (rate <= 24) return {mode.duration == 1001 ? 1 : 2, 25};
  if (rate == 25) return {3, 24};
  if (rate <= 30) return {mode.duration == 1001 ? 4 : 5, 20};
  if (rate == 50) return {6, 12};
  return {mode.duration == 1001 ? 7 : 8, 10};
}

std::vector<uint8_t> captionPacket(const CardMode& mode, uint64_t number, const std::string& text) {
  const auto [code, triples] = captionRate(mode);
  const auto sequence = static_cast<uint16_t>(number);
  const uint8_t high = static_cast<uint8_t>(sequence >> 8), low = static_cast<uint8_t>(sequence);
  std::vector<uint8_t> cdp = {0x96, 0x69, 0,    static_cast<uint8_t>(code << 4 | 15), 0x43,
                              high, low,  0x72, static_cast<uint8_t>(0xE0 | triples)};
  const auto [one, two] = captionPair(text, number);
  cdp.insert(cdp.end(), {0xFC, one, two});
  for (int i = 1; i < triples; ++i) cdp.insert(cdp.end(), {static_cast<uint8_t>(i == 1 ? 0xF9 : 0xFA), 0, 0});
  cdp.insert(cdp.end(), {0x74, high, low});
  cdp[2] = static_cast<uint8_t>(cdp.size() + 1);
  uint8_t sum = 0;
  for (const uint8_t byte : cdp) sum = static_cast<uint8_t>(sum + byte);
  cdp.push_back(static_cast<uint8_t>(256 - sum));
  return cdp;
}

/// splice_request in a multiple operation message: event 7, 500 ms ahead, a break of 30 s.
std::vector<uint8_t> splicePacket() {
  std::vector<uint8_t> message = {0xFF, 0xFF, 0, 0,        0,         0,        1,         0, 0, 0,
                                  0,    1,    1, 1,        0,         14,       1,         0, 0, 0,
                                  7,    0,    1, 500 >> 8, 500 & 255, 300 >> 8, 300 & 255, 0, 0, 1};
  message[3] = static_cast<uint8_t>(message.size());
  message.insert(message.begin(), 8);
  return message;
}

uint32_t bits(double value, double low, double high) {
  return static_cast<uint32_t>(std::lround(low + std::clamp(value, 0.0, 1.0) * (high - low)));
}

}  // namespace

long CardPicture::rowBytes(uint32_t format, long width) {
  if (format == codeOf("v210")) return (width + 47) / 48 * 128;
  if (format == codeOf("2vuy")) return width * 2;
  if (format == codeOf("r210")) return (width + 63) / 64 * 256;
  return format == codeOf("R12B") ? width * 36 / 8 : width * 4;
}

void CardPicture::colorRow(const CardMode& mode) {
  const auto half = static_cast<size_t>(mode.width / 2);
  y.assign(2 * half, 502);
  u.assign(half, 400);
  v.assign(half, 700);
  std::fill(y.begin() + half, y.end(), uint16_t{300});
  std::fill(u.begin() + half / 2, u.end(), uint16_t{640});
  std::fill(v.begin() + half / 2, v.end(), uint16_t{420});
}

void CardPicture::bar(long width, uint64_t number, int field) {
  const auto from =
      (number * 12 + static_cast<uint64_t>(field) * 6) % static_cast<uint64_t>(width - kBarWidth);
  for (uint64_t x = from; x < from + kBarWidth; ++x) {
    y[x] = kWhite;
    u[x / 2] = v[x / 2] = kGrey;
  }
}

void CardPicture::pack(const CardMode& mode, uint32_t format, uint8_t* row) const {
  const auto width = static_cast<size_t>(mode.width);
  const double kr = mode.flags == 2 ? 0.299 : 0.2126, kb = mode.flags == 2 ? 0.114 : 0.0722;
  for (size_t x = 0; x < width && format == codeOf("v210"); x += 6, row += 16) {
    uint16_t group[12] = {};
    for (size_t i = 0; i < 6 && x + i < width; ++i) group[2 * i + 1] = y[x + i];
    for (size_t i = 0; i < 3 && x / 2 + i < width / 2; ++i) {
      group[4 * i] = u[x / 2 + i];
      group[4 * i + 2] = v[x / 2 + i];
    }
    packGroup(row, group);
  }
  if (format == codeOf("v210") || format == codeOf("R12B")) return;
  for (size_t x = 0; x < width; ++x) {
    if (format == codeOf("2vuy")) {
      row[2 * x] = static_cast<uint8_t>((x % 2 == 0 ? u : v)[x / 2] / 4);
      row[2 * x + 1] = static_cast<uint8_t>(y[x] / 4);
      continue;
    }
    const double luma = (y[x] - 64) / 876.0;
    const double red = luma + (u.empty() ? 0 : (v[x / 2] - 512) / 896.0 * 2 * (1 - kr));
    const double blue = luma + (u[x / 2] - 512) / 896.0 * 2 * (1 - kb);
    const double green = (luma - kr * red - kb * blue) / (1 - kr - kb);
    if (format == codeOf("r210")) {
      const uint32_t word = bits(red, 64, 940) << 20 | bits(green, 64, 940) << 10 | bits(blue, 64, 940);
      store32(row + 4 * x, __builtin_bswap32(word));
    } else {
      const uint32_t bgra =
          bits(blue, 0, 255) | bits(green, 0, 255) << 8 | bits(red, 0, 255) << 16 | 0xFFu << 24;
      store32(row + 4 * x, format == codeOf("BGRA") ? bgra : __builtin_bswap32(bgra));
    }
  }
}

void CardPicture::paint(const CardMode& mode, uint32_t format, uint64_t number, std::vector<uint8_t>& out) {
  const auto stride = static_cast<size_t>(rowBytes(format, mode.width));
  out.resize(stride * static_cast<size_t>(mode.height));
  const bool interlaced = std::strcmp(mode.dominance, "prog") != 0;
  for (int kind = 0; kind < 3; ++kind) {  // the number's rows, and those of both fields
    colorRow(mode);
    for (int bit = 0; kind == 0 && bit < kBits; ++bit) {
      const auto from = static_cast<size_t>(bit * kBlockWidth);
      std::fill_n(y.begin() + from, kBlockWidth, number >> bit & 1 ? kWhite : kBlack);
      std::fill_n(u.begin() + from / 2, kBlockWidth / 2, kGrey);
      std::fill_n(v.begin() + from / 2, kBlockWidth / 2, kGrey);
    }
    // The later field is further on.
    const bool later = interlaced && (kind == 2) == (mode.dominance[0] == 'u');
    if (kind != 0) bar(mode.width, number, later ? 1 : 0);
    const size_t first = kind == 0 ? 0 : kBlockHeight + static_cast<size_t>(kind - 1);
    pack(mode, format, out.data() + first * stride);
    const size_t step = kind == 0 ? 1 : 2, end = kind == 0 ? kBlockHeight : static_cast<size_t>(mode.height);
    for (size_t row = first + step; row < end; row += step)
      std::memcpy(out.data() + row * stride, out.data() + first * stride, stride);
  }
}

void fillSound(uint64_t first, uint32_t samples, uint32_t channels, uint32_t bitsPerSample, bool beep,
               std::vector<uint8_t>& out) {
  static const auto table = [] {
    std::vector<double> sine(480);
    for (size_t i = 0; i < sine.size(); ++i)
      sine[i] = std::sin(2 * 3.14159265358979 * static_cast<double>(i) / 480);
    return sine;
  }();
  const uint32_t bytes = bitsPerSample / 8;
  out.assign(size_t{samples} * channels * bytes, 0);
  uint8_t* to = out.data();
  for (uint32_t i = 0; i < samples; ++i) {
    for (uint32_t c = 0; c < channels; ++c, to += bytes) {
      const uint64_t step = beep ? 10 : 3 + c;
      const auto sample = static_cast<int16_t>(table[(first + i) * step % 480] * (beep ? 24000 : 8000));
      std::memcpy(to + bytes - 2, &sample, 2);
    }
  }
}

std::vector<uint8_t> CardBlanking::line(const CardMode& mode, uint64_t number, uint32_t lineNumber) const {
  const size_t samples = static_cast<size_t>(mode.width) * 2;
  std::vector<uint16_t> all(samples + 12);
  for (size_t i = 0; i < all.size(); ++i) all[i] = i % 2 == 0 ? kGrey : kBlack;
  std::vector<uint16_t> words;
  const std::string text = faultScript().text("captions", "");
  if (lineNumber == kCaptionLine && !text.empty())
    words = packetOf(97, 1, captionPacket(mode, number, text), false);
  if (lineNumber == kSpliceLine && splice) words = packetOf(65, 7, splicePacket(), false);
  if (lineNumber == kBadLine && bad) words = packetOf(97, 1, {1, 2, 3}, true);
  const size_t step = mode.isNtsc() ? 1 : 2;
  for (size_t i = 0; i < words.size(); ++i) all[i * step + step - 1] = words[i];
  std::vector<uint8_t> bytes(static_cast<size_t>(CardPicture::rowBytes(codeOf("v210"), mode.width)));
  for (size_t group = 0; group * 12 < samples; ++group) {
    uint16_t twelve[12];
    std::copy_n(all.begin() + group * 12, 12, twelve);
    packGroup(bytes.data() + group * 16, twelve);
  }
  return bytes;
}

}  // namespace qvs::fakes::card
