#include "video/decoders/UnitStream.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <stdexcept>

// The H.265 encoder of these streams forgets some of its memory.
extern "C" const char* __lsan_default_suppressions();
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libx265";
}

namespace qvs::test {

namespace {

constexpr AVPixelFormat kTenBit = AV_PIX_FMT_YUV420P10;

AVPixelFormat formatOf(const CodedSetup& setup) {
  return setup.tenBit ? kTenBit : AV_PIX_FMT_YUV420P;
}

const AVCodec* encoderOf(uint32_t codec) {
  switch (codec) {
    case 7:
      return avcodec_find_encoder_by_name("libx264");
    case 12:
      return avcodec_find_encoder_by_name("libx265");
    case 11:
      return avcodec_find_encoder(AV_CODEC_ID_MPEG2VIDEO);
    case 10:
      return avcodec_find_encoder(AV_CODEC_ID_MPEG4);
    case 9:
      return avcodec_find_encoder(AV_CODEC_ID_H263);
    default:
      return avcodec_find_encoder(AV_CODEC_ID_FLV1);
  }
}

/// `value` is of eight bits.
void putSample(AVFrame& frame, int plane, int x, int y, int value) {
  uint8_t* row = frame.data[plane] + static_cast<ptrdiff_t>(y) * frame.linesize[plane];
  if (frame.format == kTenBit) {
    reinterpret_cast<uint16_t*>(row)[x] = static_cast<uint16_t>(value << 2);
  } else {
    row[x] = static_cast<uint8_t>(value);
  }
}

/// A bright block that moves 4 pixels a field over a gradient.
void paint(AVFrame& frame, int index, bool interlaced) {
  for (int y = 0; y < frame.height; ++y) {
    const int field = 2 * index + (interlaced ? y % 2 : 0);
    const int left = 4 * field % frame.width;
    for (int x = 0; x < frame.width; ++x) {
      const bool inside = x >= left && x < left + frame.width / 4;
      putSample(frame, 0, x, y, inside ? 220 : 40 + x / 2 + y / 4);
    }
  }
  for (int plane = 1; plane < 3; ++plane) {
    for (int y = 0; y < (frame.height + 1) / 2; ++y) {
      for (int x = 0; x < (frame.width + 1) / 2; ++x)
        putSample(frame, plane, x, y, plane == 1 ? 90 + x : 180 - y);
    }
  }
}

void setOptions(AVCodecContext& context, const CodedSetup& setup) {
  context.width = setup.width;
  context.height = setup.height;
  context.pix_fmt = formatOf(setup);
  context.time_base = {1, 25};
  context.framerate = {25, 1};
  context.gop_size = setup.keyInterval;
  context.max_b_frames = setup.bFrames;
  context.thread_count = 1;
  context.bit_rate = 400000;
  if (setup.codec == 11 || setup.codec == 10) context.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  if (setup.codec == 7 && !setup.sets) context.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  if (setup.interlaced) context.flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
  if (setup.codec == 7) {
    av_opt_set(context.priv_data, "preset", "veryfast", 0);
    av_opt_set(context.priv_data, "x264-params", "scenecut=0:log=-1", 0);
  }
  if (setup.codec == 12) {
    const std::string params =
        "log-level=none:pools=none:frame-threads=1:repeat-headers=1:scenecut=0:bframes=" +
        std::to_string(setup.bFrames);
    av_opt_set(context.priv_data, "preset", "ultrafast", 0);
    av_opt_set(context.priv_data, "x265-params", params.c_str(), 0);
  }
}

MediaUnit unitOf(const AVPacket& packet, uint32_t codec) {
  MediaUnit unit;
  const auto size = static_cast<size_t>(packet.size);
  if (codec == 7 || codec == 12) {
    unit.bytes = joinLengthPrefixed(splitStartCodes(packet.data, size));
  } else {
    unit.bytes.assign(packet.data, packet.data + size);
  }
  unit.timecode = 1000 + 40 * static_cast<uint64_t>(packet.pts);
  unit.frameType = (packet.flags & AV_PKT_FLAG_KEY) != 0 ? 1 : 2;
  return unit;
}

}  // namespace

UnitStream makeUnitStream(const CodedSetup& setup) {
  av_log_set_level(AV_LOG_PANIC);
  const AVCodec* encoder = encoderOf(setup.codec);
  AVCodecContext* context = avcodec_alloc_context3(encoder);
  setOptions(*context, setup);
  if (avcodec_open2(context, encoder, nullptr) < 0) throw std::runtime_error("no encoder");
  AVFrame* frame = av_frame_alloc();
  AVPacket* packet = av_packet_alloc();
  UnitStream stream;
  for (int index = 0; index <= setup.frames; ++index) {
    const bool last = index == setup.frames;
    if (!last) {
      av_frame_unref(frame);
      frame->width = setup.width;
      frame->height = setup.height;
      frame->format = formatOf(setup);
      av_frame_get_buffer(frame, 0);
      paint(*frame, index, setup.interlaced);
      frame->pts = index;
      frame->interlaced_frame = frame->top_field_first = setup.interlaced ? 1 : 0;
    }
    avcodec_send_frame(context, last ? nullptr : frame);
    while (avcodec_receive_packet(context, packet) >= 0) {
      stream.units.push_back(unitOf(*packet, setup.codec));
      av_packet_unref(packet);
    }
  }
  const auto size = static_cast<size_t>(context->extradata_size);
  if (setup.codec == 7) {
    auto sets = splitStartCodes(context->extradata, size);
    // Without global headers the sets stand in the first unit only.
    for (size_t at = 0; setup.sets && at + 4 < stream.units[0].bytes.size();) {
      const MediaBytes& bytes = stream.units[0].bytes;
      const size_t len = size_t{bytes[at + 2]} << 8 | bytes[at + 3];
      sets.emplace_back(bytes.begin() + static_cast<ptrdiff_t>(at + 4),
                        bytes.begin() + static_cast<ptrdiff_t>(std::min(at + 4 + len, bytes.size())));
      at += 4 + len;
    }
    stream.config = makeAvcRecord(sets);
  } else if (setup.codec == 11) {
    // The sequence header stands in front of the first group of pictures.
    const MediaBytes& first = stream.units[0].bytes;
    const uint8_t group[] = {0, 0, 1, 0xB8};
    stream.config.assign(first.begin(), std::search(first.begin(), first.end(), group, group + 4));
  } else if (setup.codec == 10) {
    stream.config.assign(context->extradata, context->extradata + size);
  }
  av_packet_free(&packet);
  av_frame_free(&frame);
  avcodec_free_context(&context);
  return stream;
}

}  // namespace qvs::test
