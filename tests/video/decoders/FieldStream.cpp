#include "video/decoders/FieldStream.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace qvs::test {

namespace {

constexpr uint32_t kColumns = kFieldStreamWidth / 16;
constexpr uint32_t kFieldRows = kFieldStreamHeight / 32;
constexpr uint32_t kBlocks = kColumns * kFieldRows;

class BitWriter {
 public:
  void put(uint32_t value, uint32_t count) {
    for (; count != 0; --count) {
      if (used == 0) bytes.push_back(0);
      bytes.back() |= static_cast<uint8_t>((value >> (count - 1) & 1) << (7 - used));
      used = (used + 1) % 8;
    }
  }
  /// An unsigned Exp-Golomb number.
  void golomb(uint32_t value) {
    uint32_t zeros = 0;
    while ((value + 1) >> (zeros + 1) != 0) ++zeros;
    put(0, zeros);
    put(value + 1, zeros + 1);
  }
  void align() { used = 0; }
  /// The bit 1 that ends a NAL unit's payload.
  void stop() {
    put(1, 1);
    align();
  }
  const MediaBytes& written() const { return bytes; }

 private:
  MediaBytes bytes;
  uint32_t used = 0;  ///< bits of the last byte; 0: it is full
};

/// A flat macroblock, Y, U, V.
using Flat = std::array<uint8_t, 3>;
using FlatField = std::array<Flat, kBlocks>;

/// No two fields and no two macroblocks are alike; U and V are far apart.
Flat freshBlock(uint32_t pair, bool bottom, uint32_t block) {
  const uint32_t shade = pair * 23 + (bottom ? 11 : 0) + block * 7;
  return {static_cast<uint8_t>(40 + shade % 170), static_cast<uint8_t>(60 + shade % 40),
          static_cast<uint8_t>(150 + shade % 60)};
}

bool isIntra(bool key, uint32_t block) {
  return key || block % kColumns == 0;
}

void appendNal(MediaBytes& unit, uint8_t header, const MediaBytes& payload) {
  MediaBytes nal{header};
  uint32_t zeros = 0;
  for (const uint8_t byte : payload) {
    if (zeros >= 2 && byte <= 3) {
      nal.push_back(3);
      zeros = 0;
    }
    nal.push_back(byte);
    zeros = byte == 0 ? zeros + 1 : 0;
  }
  const MediaBytes prefixed = joinLengthPrefixed({nal});
  unit.insert(unit.end(), prefixed.begin(), prefixed.end());
}

MediaBytes avcSequenceSet() {
  BitWriter bits;
  bits.put(77, 8);  // Main
  bits.put(0, 8);
  bits.put(30, 8);
  bits.golomb(0);
  bits.golomb(0);  // frame numbers of 4 bits
  bits.golomb(0);  // order counts in each slice,
  bits.golomb(4);  // of 8 bits
  bits.golomb(2);  // of references there are two frames: a second field needs the one before its own
  bits.put(0, 1);
  bits.golomb(kColumns - 1);
  bits.golomb(kFieldRows - 1);
  bits.put(0, 1);  // there are fields,
  bits.put(0, 1);  // no macroblocks of fields in frames
  bits.put(1, 1);
  bits.put(0, 2);  // no cropping, no usability information
  bits.stop();
  return bits.written();
}

MediaBytes avcPictureSet() {
  BitWriter bits;
  bits.golomb(0);
  bits.golomb(0);
  bits.put(0, 2);  // CAVLC, no order counts of bottom fields
  bits.golomb(0);
  bits.golomb(0);
  bits.golomb(0);
  bits.put(0, 3);  // no weights
  bits.golomb(0);
  bits.golomb(0);
  bits.golomb(0);
  bits.put(4, 3);  // slices tell of their loop filter
  bits.stop();
  return bits.written();
}

void putRawBlock(BitWriter& bits, const Flat& block) {
  bits.align();
  for (uint32_t plane = 0; plane < 3; ++plane) {
    for (uint32_t sample = 0; sample < (plane == 0 ? 256u : 64u); ++sample) bits.put(block[plane], 8);
  }
}

/// A slice that holds a whole field.
MediaBytes avcField(const CodedField& field, const FlatField& blocks, uint32_t keyInterval, bool first) {
  const bool idr = field.key && first;
  const uint32_t sinceKey = field.pair % keyInterval;
  BitWriter bits;
  bits.golomb(0);
  bits.golomb(field.key ? 7 : 5);
  bits.golomb(0);
  bits.put(sinceKey, 4);
  bits.put(1, 1);
  bits.put(field.bottom ? 1 : 0, 1);
  if (idr) bits.golomb(field.pair / keyInterval % 2);
  bits.put(2 * sinceKey + (first ? 0 : 1), 8);
  if (!field.key) bits.put(0, 2);  // the usual count and order of references
  bits.put(0, idr ? 2 : 1);        // references leave in the order in which they came
  bits.golomb(0);
  bits.golomb(1);  // no loop filter
  constexpr uint32_t kRaw = 25;
  uint32_t skipped = 0;
  for (uint32_t block = 0; block < kBlocks; ++block) {
    if (!isIntra(field.key, block)) {
      ++skipped;
      continue;
    }
    if (!field.key) bits.golomb(skipped);
    skipped = 0;
    bits.golomb(field.key ? kRaw : kRaw + 5);
    putRawBlock(bits, blocks[block]);
  }
  if (skipped != 0) bits.golomb(skipped);
  bits.stop();
  MediaBytes unit;
  appendNal(unit, idr ? 0x65 : 0x61, bits.written());
  return unit;
}

void putStartCode(BitWriter& bits, uint32_t code) {
  bits.align();
  bits.put(0x100 | code, 32);
}

void putSequenceHeader(BitWriter& bits) {
  putStartCode(bits, 0xB3);
  bits.put(kFieldStreamWidth, 12);
  bits.put(kFieldStreamHeight, 12);
  bits.put(0x13, 8);  // square pixels, 25 frames a second
  bits.put(20000, 18);
  bits.put(1, 1);
  bits.put(112 << 3, 13);
  putStartCode(bits, 0xB5);
  bits.put(0x148, 12);  // Main profile, main level
  bits.put(2, 4);       // interlaced, 4:2:0; then nothing that the sizes lack
  bits.put(0, 15);
  bits.put(1, 1);
  bits.put(0, 16);
}

void putGroupHeader(BitWriter& bits) {
  putStartCode(bits, 0xB8);
  bits.put(1 << 12, 25);
  bits.put(2, 2);  // closed
}

void putPictureHeader(BitWriter& bits, const CodedField& field, uint32_t keyInterval) {
  putStartCode(bits, 0);
  bits.put(field.pair % keyInterval, 10);
  bits.put(field.key ? 1 : 2, 3);
  bits.put(0xFFFF, 16);
  if (!field.key) bits.put(7, 4);
  bits.put(0, 1);
  putStartCode(bits, 0xB5);
  bits.put(8, 4);
  bits.put(field.key ? 0xFFFF : 0x11FF, 16);
  bits.put(0, 2);
  bits.put(field.bottom ? 2 : 1, 2);
  bits.put(0, 10);
}

/// `before`: what the value is predicted from.
void putFlatBlock(BitWriter& bits, bool chroma, uint8_t value, int& before) {
  struct Code {
    uint8_t bits, count;
  };
  static constexpr Code kLuma[] = {{4, 3},  {0, 2},  {1, 2},  {5, 3},  {6, 3},
                                   {14, 4}, {30, 5}, {62, 6}, {126, 7}};
  static constexpr Code kChroma[] = {{0, 2},  {1, 2},  {2, 2},   {6, 3},  {14, 4},
                                     {30, 5}, {62, 6}, {126, 7}, {254, 8}};
  const int difference = value - before;
  before = value;
  uint32_t size = 0;
  while (std::abs(difference) >> size != 0) ++size;
  const Code& code = chroma ? kChroma[size] : kLuma[size];
  bits.put(code.bits, code.count);
  bits.put(static_cast<uint32_t>(difference < 0 ? difference + (1 << size) - 1 : difference), size);
  bits.put(2, 2);  // no further coefficients
}

MediaBytes mpegField(const CodedField& field, const FlatField& blocks, const FieldStreamSetup& setup,
                     bool first) {
  BitWriter bits;
  if (field.key && first) {
    putSequenceHeader(bits);
    if (setup.groupHeaders || field.pair == 0) putGroupHeader(bits);
  }
  putPictureHeader(bits, field, setup.keyInterval);
  int before[3] = {};
  for (uint32_t block = 0; block < kBlocks; ++block) {
    if (block % kColumns == 0) {
      putStartCode(bits, block / kColumns + 1);
      bits.put(2 << 1, 6);  // the quantizer
      std::fill(before, before + 3, 128);
    }
    bits.put(1, 1);  // the next macroblock
    if (isIntra(field.key, block)) {
      bits.put(field.key ? 1 : 3, field.key ? 1 : 5);
      for (int i = 0; i < 4; ++i) putFlatBlock(bits, false, blocks[block][0], before[0]);
      putFlatBlock(bits, true, blocks[block][1], before[1]);
      putFlatBlock(bits, true, blocks[block][2], before[2]);
    } else {
      bits.put(1, 3);                     // copied,
      bits.put(1, 2);                     // from one field,
      bits.put(field.bottom ? 1 : 0, 1);  // of the same parity,
      bits.put(3, 2);                     // from the same place
    }
  }
  return bits.written();
}

/// Both fields woven.
MediaBytes weave(const FlatField& top, const FlatField& bottom) {
  MediaBytes picture;
  for (uint32_t plane = 0; plane < 3; ++plane) {
    const uint32_t side = plane == 0 ? 16 : 8;
    for (uint32_t y = 0; y < 2 * kFieldRows * side; ++y) {
      const FlatField& field = y % 2 == 0 ? top : bottom;
      for (uint32_t x = 0; x < kColumns * side; ++x)
        picture.push_back(field[y / 2 / side * kColumns + x / side][plane]);
    }
  }
  return picture;
}

}  // namespace

FieldStream makeFieldStream(const FieldStreamSetup& setup) {
  const bool avc = setup.codec == 7;
  FieldStream stream;
  if (avc) {
    MediaBytes sps = avcSequenceSet(), pps = avcPictureSet();
    sps.insert(sps.begin(), 0x67);
    pps.insert(pps.begin(), 0x68);
    stream.config = makeAvcRecord({sps, pps});
  } else {
    BitWriter bits;
    putSequenceHeader(bits);
    stream.config = bits.written();
  }
  FlatField shown[2];  // by parity
  for (uint32_t pair = 0; pair < setup.pairs; ++pair) {
    for (const bool first : {true, false}) {
      CodedField field{
          .pair = pair, .bottom = first == setup.bottomFirst, .key = pair % setup.keyInterval == 0};
      FlatField& blocks = shown[field.bottom ? 1 : 0];
      for (uint32_t block = 0; block < kBlocks; ++block) {
        if (isIntra(field.key, block)) blocks[block] = freshBlock(pair, field.bottom, block);
      }
      field.bytes =
          avc ? avcField(field, blocks, setup.keyInterval, first) : mpegField(field, blocks, setup, first);
      stream.fields.push_back(std::move(field));
    }
    stream.pictures.push_back(weave(shown[0], shown[1]));
  }
  return stream;
}

}  // namespace qvs::test
