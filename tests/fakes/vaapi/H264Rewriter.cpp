// H.264 slice headers: reading x264's, and writing the caller's in front of x264's slice data.
#include "fakes/vaapi/H264Rewriter.h"

#include "BitWriter.h"
#include "CodedFrames.h"

namespace qvs::fakes {
namespace {

using vaapi::BitWriter;
using Layout = H264Rewriter::Layout;

/// Bits of a unit from which the bytes against start codes are gone.
class Bits {
 public:
  explicit Bits(std::span<const uint8_t> unit) {
    int zeros = 0;
    for (uint8_t byte : unit) {
      if (zeros >= 2 && byte == 3) {
        zeros = 0;
        continue;
      }
      bytes.push_back(byte);
      zeros = byte == 0 ? zeros + 1 : 0;
    }
  }
  uint32_t take(uint32_t count) {
    uint32_t value = 0;
    for (; count != 0; --count, ++at)
      value = value << 1 | (at / 8 < bytes.size() ? bytes[at / 8] >> (7 - at % 8) & 1 : 0);
    return value;
  }
  uint32_t golomb() {
    uint32_t zeros = 0;
    while (zeros < 31 && take(1) == 0) ++zeros;
    return (1u << zeros) - 1 + take(zeros);
  }
  int32_t signedGolomb() {
    const auto code = static_cast<int32_t>(golomb());
    return code % 2 != 0 ? (code + 1) / 2 : -(code / 2);
  }
  bool isPastEnd() const { return at > bytes.size() * 8; }
  void align() { at = (at + 7) / 8 * 8; }

  std::vector<uint8_t> bytes;
  size_t at = 0;  ///< bits
};

struct Header {
  uint32_t unitByte, type, cabacInit;
  int32_t qp;
  uint32_t deblocking;
  int32_t alpha, beta;
  size_t qpAt;  ///< bit at which the quantizer's difference stands
};

void skipReordering(Bits& in) {
  if (in.take(1) == 0) return;
  while (!in.isPastEnd() && in.golomb() != 3) in.golomb();
}

void skipMarking(Bits& in, bool key) {
  if (key) {
    in.take(2);
  } else if (in.take(1) != 0) {
    for (uint32_t operation; !in.isPastEnd() && (operation = in.golomb()) != 0;) {
      if (operation != 5) in.golomb();
      if (operation == 3) in.golomb();
    }
  }
}

/// Leaves `in` behind the header.
Header readHeader(Bits& in, const Layout& layout) {
  Header header{};
  header.unitByte = in.take(8);
  const bool key = (header.unitByte & 31) == 5;
  in.golomb();
  header.type = in.golomb() % 5;
  in.golomb();
  in.take(layout.frameNumBits);
  if (key) in.golomb();
  if (layout.orderType == 0) {
    in.take(layout.orderBits);
    if (layout.bottomOrder) in.signedGolomb();
  }
  if (layout.redundant) in.golomb();
  if (header.type == 0) {
    if (in.take(1) != 0) in.golomb();
    skipReordering(in);
  }
  if ((header.unitByte >> 5 & 3) != 0) skipMarking(in, key);
  if (layout.cabac && header.type != 2) header.cabacInit = in.golomb();
  header.qpAt = in.at;
  header.qp = layout.initialQp + in.signedGolomb();
  if (layout.deblocking) {
    header.deblocking = in.golomb();
    if (header.deblocking != 1) {
      header.alpha = in.signedGolomb();
      header.beta = in.signedGolomb();
    }
  }
  return header;
}

/// The driver's own header, up to the quantizer.
void writeFront(BitWriter& out, const Header& from, const VAEncSequenceParameterBufferH264& sequence,
                const VAEncPictureParameterBufferH264& picture, const VAEncSliceParameterBufferH264& slice) {
  const bool key = (from.unitByte & 31) == 5;
  out.bits(from.unitByte, 8);
  out.unsignedGolomb(0);
  out.unsignedGolomb(from.type + 5);
  out.unsignedGolomb(slice.pic_parameter_set_id);
  out.bits(picture.frame_num, sequence.seq_fields.bits.log2_max_frame_num_minus4 + 4);
  if (key) out.unsignedGolomb(slice.idr_pic_id);
  if (sequence.seq_fields.bits.pic_order_cnt_type == 0) {
    out.bits(slice.pic_order_cnt_lsb, sequence.seq_fields.bits.log2_max_pic_order_cnt_lsb_minus4 + 4);
  }
  if (from.type == 0) {
    const bool override = picture.num_ref_idx_l0_active_minus1 != 0;
    out.bit(override);
    if (override) out.unsignedGolomb(0);
    out.bit(false);
  }
  out.bits(0, key ? 2 : 1);
  if (picture.pic_fields.bits.entropy_coding_mode_flag != 0 && from.type != 2)
    out.unsignedGolomb(from.cabacInit);
}

Layout layoutOf(const VAEncSequenceParameterBufferH264& sequence,
                const VAEncPictureParameterBufferH264& picture) {
  const auto& fields = sequence.seq_fields.bits;
  Layout layout;
  layout.frameNumBits = fields.log2_max_frame_num_minus4 + 4;
  layout.orderType = fields.pic_order_cnt_type;
  layout.orderBits = fields.log2_max_pic_order_cnt_lsb_minus4 + 4;
  layout.cabac = picture.pic_fields.bits.entropy_coding_mode_flag != 0;
  layout.bottomOrder = picture.pic_fields.bits.pic_order_present_flag != 0;
  layout.deblocking = picture.pic_fields.bits.deblocking_filter_control_present_flag != 0;
  layout.redundant = picture.pic_fields.bits.redundant_pic_cnt_present_flag != 0;
  layout.initialQp = picture.pic_init_qp;
  return layout;
}

}  // namespace

void H264Rewriter::setHeaders(std::span<const uint8_t> annexB) {
  plugins::forEachUnit(annexB, [&](std::span<const uint8_t> unit) {
    Bits in(unit);
    const uint32_t type = in.take(8) & 31;
    if (type == 7) {
      const uint32_t profile = in.take(8);
      in.take(16);
      in.golomb();
      if (profile >= 100) {
        in.golomb();
        in.golomb();
        in.golomb();
        in.take(2);
      }
      own.frameNumBits = in.golomb() + 4;
      own.orderType = in.golomb();
      if (own.orderType == 0) own.orderBits = in.golomb() + 4;
    } else if (type == 8) {
      in.golomb();
      in.golomb();
      own.cabac = in.take(1) != 0;
      own.bottomOrder = in.take(1) != 0;
      in.golomb();
      own.references = in.golomb() + 1;
      in.golomb();
      in.take(3);
      own.initialQp = 26 + in.signedGolomb();
      in.signedGolomb();
      in.signedGolomb();
      own.deblocking = in.take(1) != 0;
      in.take(1);
      own.redundant = in.take(1) != 0;
    }
  });
}

void H264Rewriter::append(std::span<const uint8_t> unit, const VAEncSequenceParameterBufferH264& sequence,
                          const VAEncPictureParameterBufferH264& picture,
                          const VAEncSliceParameterBufferH264& slice, std::span<const uint8_t> packed,
                          std::vector<uint8_t>& out) const {
  Bits in(unit);
  const Header header = readHeader(in, own);
  const Layout layout = layoutOf(sequence, picture);
  BitWriter made;
  if (packed.empty()) {
    writeFront(made, header, sequence, picture, slice);
  } else {
    Bits given(packed);
    const size_t end = readHeader(given, layout).qpAt;
    given.at = 0;
    while (given.at < end) made.bit(given.take(1) != 0);
  }
  made.signedGolomb(header.qp - layout.initialQp);
  if (layout.deblocking) {
    made.unsignedGolomb(header.deblocking);
    if (header.deblocking != 1) {
      made.signedGolomb(header.alpha);
      made.signedGolomb(header.beta);
    }
  }
  if (layout.cabac) {
    while (made.bitLength() % 8 != 0) made.bit(true);
    in.align();
  }
  // The bits behind the last one that is set are the unit's end in x264's alignment: they follow the new one.
  size_t last = in.bytes.size() * 8;
  while (last > in.at && (in.bytes[(last - 1) / 8] >> (7 - (last - 1) % 8) & 1) == 0) --last;
  while (in.at < last) made.bit(in.take(1) != 0);
  while (made.bitLength() % 8 != 0) made.bit(false);
  vaapi::appendUnit(out, made.data(), made.bitLength());
}

}  // namespace qvs::fakes
