// Headers of the streams that the emulated video parser takes: units, and what a sequence looks like.
#include "CuvidSequence.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/pixdesc.h>
}

#include "video/AvcHeader.h"
#include "video/Mpeg2Header.h"
#include "video/StartCodes.h"

namespace qvs::fakes {
namespace {

constexpr CuvidCodec kCodecs[] = {{cudaVideoCodec_H264, AV_CODEC_ID_H264, "h264"},
                                  {cudaVideoCodec_HEVC, AV_CODEC_ID_HEVC, "hevc"},
                                  {cudaVideoCodec_MPEG2, AV_CODEC_ID_MPEG2VIDEO, "mpeg2video"}};

using Bytes = std::vector<uint8_t>;
using CodecContext = std::unique_ptr<AVCodecContext, void (*)(AVCodecContext*)>;

/// A decoder that has seen the unit, and so knows what its headers say; null where it couldn't.
CodecContext decoderThatSaw(const CuvidCodec& codec, const Bytes& unit) {
  const AVCodec* decoder = avcodec_find_decoder_by_name(codec.decoder);
  CodecContext context(avcodec_alloc_context3(decoder),
                       [](AVCodecContext* one) { avcodec_free_context(&one); });
  context->thread_count = 1;
  context->apply_cropping = 0;
  AVPacket* packet = av_packet_alloc();
  if (avcodec_open2(context.get(), decoder, nullptr) < 0 ||
      av_new_packet(packet, static_cast<int>(unit.size())) < 0) {
    context.reset();
  } else {
    std::memcpy(packet->data, unit.data(), unit.size());
    avcodec_send_packet(context.get(), packet);
  }
  av_packet_free(&packet);
  return context;
}

void scanH264(uint8_t header, unsigned at, CuvidUnit& unit) {
  const int type = header & 31;
  if (type == 7) unit.hasSequence = true;
  if (type != 1 && type != 5) return;
  unit.slices.push_back(at);
  unit.random = unit.random || type == 5;
  unit.isReference = unit.isReference || header >> 5 != 0;
}

void scanHevc(uint8_t header, unsigned at, CuvidUnit& unit) {
  const int type = header >> 1 & 63;
  if (type == 33) unit.hasSequence = true;
  if (type == 36 || type == 37) unit.endsSequence = true;
  if (type > 21) return;
  unit.slices.push_back(at);
  unit.random = unit.random || (type >= 16 && type <= 20);
  unit.skipsLeading = unit.skipsLeading || type == 21;
  unit.leading = type == 8 || type == 9;
  unit.isReference = type > 15 || (type & 1) != 0;
}

void scanMpeg2(const uint8_t* bytes, size_t size, unsigned at, CuvidUnit& unit) {
  const uint8_t code = bytes[at + 3];
  if (code == 0xB3) unit.hasSequence = true;
  if (code == 0xB8 && at + 8 <= size) unit.closedGroup = (bytes[at + 7] & 0x40) != 0;
  if (code >= 1 && code <= 0xAF) unit.slices.push_back(at);
}

bool isParameter(cudaVideoCodec codec, uint8_t header, bool inSequence) {
  if (codec == cudaVideoCodec_H264) return (header & 31) == 7 || (header & 31) == 8;
  if (codec == cudaVideoCodec_HEVC) return (header >> 1 & 63) >= 32 && (header >> 1 & 63) <= 34;
  return header == 0xB3 || (header == 0xB5 && inSequence);
}

void setAspect(CUVIDEOFORMAT& format, int64_t sampleWidth, int64_t sampleHeight) {
  const int64_t width =
      (format.display_area.right - format.display_area.left) * std::max<int64_t>(sampleWidth, 1);
  const int64_t height =
      (format.display_area.bottom - format.display_area.top) * std::max<int64_t>(sampleHeight, 1);
  const int64_t common = std::gcd(width, height);
  format.display_aspect_ratio = {static_cast<int>(width / common), static_cast<int>(height / common)};
}

void setArea(CUVIDEOFORMAT& format, int width, int height) {
  format.display_area.right = width;
  format.display_area.bottom = height;
}

/// Where the shown part of the first picture begins.
void readOffset(AVCodecContext& context, CUVIDEOFORMAT& format) {
  AVFrame* frame = av_frame_alloc();
  avcodec_send_packet(&context, nullptr);
  if (avcodec_receive_frame(&context, frame) >= 0) {
    format.display_area.left = static_cast<int>(frame->crop_left);
    format.display_area.top = static_cast<int>(frame->crop_top);
    format.display_area.right += format.display_area.left;
    format.display_area.bottom += format.display_area.top;
  }
  av_frame_free(&frame);
}

bool readFrom(AVCodecContext& context, CuvidSequence& out) {
  CUVIDEOFORMAT& format = out.format;
  format.coded_width = static_cast<unsigned>(context.coded_width);
  format.coded_height = static_cast<unsigned>(context.coded_height);
  setArea(format, context.width, context.height);
  if (format.coded_width == 0 || context.width <= 0 || context.height <= 0) return false;
  setAspect(format, context.sample_aspect_ratio.num, context.sample_aspect_ratio.den);
  format.frame_rate = {static_cast<unsigned>(context.framerate.num),
                       static_cast<unsigned>(context.framerate.den)};
  auto& signal = format.video_signal_description;
  signal.video_full_range_flag = context.color_range == AVCOL_RANGE_JPEG;
  signal.color_primaries = static_cast<unsigned char>(context.color_primaries);
  signal.transfer_characteristics = static_cast<unsigned char>(context.color_trc);
  signal.matrix_coefficients = static_cast<unsigned char>(context.colorspace);
  out.reorder = context.has_b_frames;
  readOffset(context, format);
  return true;
}

bool readMpeg2(const Bytes& unit, CuvidSequence& out) {
  const auto info = mc::readMpeg2Header(unit.data(), unit.size());
  if (!info) return false;
  CUVIDEOFORMAT& format = out.format;
  // Without an extension it is MPEG-1: progressive.
  size_t at = mc::findStartCode(unit.data(), unit.size(), 0);
  while (at + 6 < unit.size() && unit[at + 3] != 0xB3)
    at = mc::findStartCode(unit.data(), unit.size(), at + 3);
  at = mc::findStartCode(unit.data(), unit.size(), at + 4);
  const bool progressive = at + 6 > unit.size() || unit[at + 3] != 0xB5 || (unit[at + 5] & 8) != 0;
  const unsigned rows = progressive ? 16 : 32;
  format.progressive_sequence = progressive;
  format.coded_width = (static_cast<unsigned>(info->width) + 15) / 16 * 16;
  format.coded_height = (static_cast<unsigned>(info->height) + rows - 1) / rows * rows;
  setArea(format, info->width, info->height);
  format.frame_rate = {static_cast<unsigned>(info->rateNumerator),
                       static_cast<unsigned>(info->rateDenominator)};
  setAspect(format, 1, 1);
  constexpr int kAspects[][2] = {{4, 3}, {16, 9}, {221, 100}};
  if (info->aspectCode >= 2 && info->aspectCode <= 4) {
    format.display_aspect_ratio = {kAspects[info->aspectCode - 2][0], kAspects[info->aspectCode - 2][1]};
  }
  out.reorder = 1;
  return true;
}

}  // namespace

const CuvidCodec* findCuvidCodec(cudaVideoCodec number) {
  for (const CuvidCodec& codec : kCodecs) {
    if (codec.number == number) return &codec;
  }
  return nullptr;
}

CuvidUnit scanUnit(const CuvidCodec& codec, const uint8_t* bytes, size_t size) {
  CuvidUnit unit;
  bool wasSequence = false;
  for (size_t at = mc::findStartCode(bytes, size, 0); at + 4 <= size;) {
    const size_t next = mc::findStartCode(bytes, size, at + 3);
    const uint8_t header = bytes[at + 3];
    if (codec.number == cudaVideoCodec_H264) scanH264(header, static_cast<unsigned>(at), unit);
    if (codec.number == cudaVideoCodec_HEVC) scanHevc(header, static_cast<unsigned>(at), unit);
    if (codec.number == cudaVideoCodec_MPEG2) scanMpeg2(bytes, size, static_cast<unsigned>(at), unit);
    // Of MPEG-2's extensions it is the one behind the sequence header.
    if (isParameter(codec.number, header, wasSequence)) {
      unit.parameters.insert(unit.parameters.end(), bytes + at, bytes + next);
    }
    wasSequence = header == 0xB3;
    at = next;
  }
  return unit;
}

bool readSequence(const CuvidCodec& codec, const Bytes& unit, const CuvidCoded& coded, CuvidSequence& out) {
  out = {};
  CUVIDEOFORMAT& format = out.format;
  format.codec = codec.number;
  format.chroma_format = cudaVideoChromaFormat_420;
  format.progressive_sequence = 1;
  format.video_signal_description.video_format = 5;
  format.video_signal_description.color_primaries = AVCOL_PRI_UNSPECIFIED;
  format.video_signal_description.transfer_characteristics = AVCOL_TRC_UNSPECIFIED;
  format.video_signal_description.matrix_coefficients = AVCOL_SPC_UNSPECIFIED;
  bool read = false;
  if (codec.number == cudaVideoCodec_MPEG2) {
    read = readMpeg2(unit, out);
  } else if (const CodecContext context = decoderThatSaw(codec, unit); context != nullptr) {
    read = readFrom(*context, out);
  }
  if (codec.number == cudaVideoCodec_H264) {
    // Where the header doesn't say how far pictures are reordered, it says how many references there are at most.
    const auto info = mc::readAvcHeader(unit.data(), unit.size());
    if (info && info->reorder > 0) out.reorder = std::max(out.reorder, info->reorder + 1);
  }
  // Of other pictures it is enough to know that they aren't of this kind.
  const bool plain = coded.format == AV_PIX_FMT_YUV420P || coded.format == AV_PIX_FMT_YUVJ420P;
  if (!plain && codec.number != cudaVideoCodec_MPEG2) {
    const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(coded.format));
    const int deeper = description != nullptr ? description->comp[0].depth - 8 : 0;
    format.bit_depth_luma_minus8 = format.bit_depth_chroma_minus8 = static_cast<unsigned char>(deeper);
    if (deeper == 0) format.chroma_format = cudaVideoChromaFormat_422;
  }
  format.min_num_decode_surfaces = static_cast<unsigned char>(std::min(out.reorder + 4, 20));
  return read;
}

}  // namespace qvs::fakes
