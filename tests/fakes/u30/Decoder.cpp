// The card's decoder plug-in over libavcodec, with the pictures in the fake's memory.
#include <qvs/video_decoder.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory>

#include "Card.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace {

using qvs::fakes::CardPicture;

constexpr const char* kOwner = "decoder";
constexpr uint32_t kHN12 = 0x32314E48, kNV12 = 0x3231564E;

struct Close {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

struct Decoder {
  int64_t codec = 7, fourcc = kNV12;
  std::unique_ptr<AVCodecContext, Close> context;
  std::unique_ptr<AVFrame, Close> frame{av_frame_alloc()};
  std::unique_ptr<AVPacket, Close> packet{av_packet_alloc()};
  CardPicture* ready = nullptr;
  CardPicture* shown = nullptr;  ///< in host form: kept until the next step
  uint32_t frameType = 0;
  uint64_t timecode = 0;
  bool flushing = false, waiting = false;

  ~Decoder() { drop(); }
  void drop() {
    for (CardPicture** one : {&ready, &shown}) {
      if (*one != nullptr) fake_card_free(*one, kOwner);
      *one = nullptr;
    }
  }

  int32_t open(const uint8_t* record, size_t size) {
    const AVCodec* decoder = avcodec_find_decoder(codec == 12 ? AV_CODEC_ID_HEVC : AV_CODEC_ID_H264);
    context.reset(avcodec_alloc_context3(decoder));
    context->thread_count = 1;
    context->extradata = static_cast<uint8_t*>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
    context->extradata_size = static_cast<int>(size);
    std::memcpy(context->extradata, record, size);
    av_log_set_level(AV_LOG_QUIET);
    return avcodec_open2(context.get(), decoder, nullptr) == 0 ? 0 : QVS_PLUGIN_CREATE_DECODER;
  }

  bool store() {
    const auto width = static_cast<uint32_t>(frame->width), height = static_cast<uint32_t>(frame->height);
    ready = fake_card_alloc(width, height, kOwner, "u30d decode2");
    if (ready == nullptr) return false;
    for (uint32_t row = 0; row < height; ++row) {
      std::memcpy(ready->y() + uint64_t{row} * width, frame->data[0] + int64_t{row} * frame->linesize[0],
                  width);
    }
    for (uint32_t row = 0; row < height / 2; ++row) {
      for (uint32_t i = 0; i < width / 2; ++i) {
        for (int plane : {1, 2}) {
          ready->uv()[uint64_t{row} * width + 2 * i + static_cast<uint32_t>(plane) - 1] =
              frame->data[plane][int64_t{row} * frame->linesize[plane] + i];
        }
      }
    }
    frameType = frame->key_frame != 0                   ? QVS_FRAME_KEY
                : frame->pict_type == AV_PICTURE_TYPE_B ? QVS_FRAME_BIDIRECTIONAL
                                                        : QVS_FRAME_PREDICTED;
    timecode = static_cast<uint64_t>(frame->pts);
    return true;
  }
};

Decoder* of(void* session) {
  return static_cast<Decoder*>(session);
}

}  // namespace

#define U30D(result, name) extern "C" QVS_PLUGIN_EXPORT result u30d_zarvoVideoDecoder_##name

U30D(int32_t, getVersion)(uint8_t*, uint32_t, uint32_t* major, uint32_t* minor) {
  QVS_U30_CALL("u30d_getVersion");
  *major = 3;
  *minor = 0;
  return 0;
}
U30D(int32_t, create)(void** session) {
  QVS_U30_CALL("u30d_create");
  *session = new Decoder;
  return 0;
}
U30D(int32_t, destroy)(void* session) {
  delete of(session);
  return fake_card_fault("u30d_destroy");
}
U30D(int32_t, initialize)(void*) {
  QVS_U30_CALL("u30d_initialize");
  return 0;
}
U30D(int32_t, setParameterValueLong)(void* session, uint32_t key, int64_t value) {
  QVS_U30_CALL("u30d_setParameterValueLong");
  if (key == 30004) of(session)->codec = value;
  if (key == 30005) of(session)->fourcc = value;
  return 0;
}
U30D(uint32_t, decodeCodecConfig)(void* session, uint8_t* buffer, uint32_t offset, uint32_t len) {
  QVS_U30_CALL("u30d_decodeCodecConfig");
  return static_cast<uint32_t>(of(session)->open(buffer + offset, len));
}
U30D(uint32_t, addFrame)
(void* session, uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode, uint32_t) {
  QVS_U30_CALL("u30d_addFrame");
  Decoder& decoder = *of(session);
  if (decoder.context == nullptr) return QVS_PLUGIN_INIT_DECODER;
  av_packet_unref(decoder.packet.get());
  if (av_new_packet(decoder.packet.get(), static_cast<int>(len)) < 0) return QVS_PLUGIN_ALLOCATE_BUFFER;
  std::memcpy(decoder.packet->data, buffer + offset, len);
  decoder.packet->pts = static_cast<int64_t>(timecode);
  decoder.waiting = true;
  return 0;
}
U30D(uint8_t, isFrameDone)(void* session) {
  return of(session)->waiting ? 0 : 1;
}
U30D(uint32_t, decode2)(void* session, uint32_t* flags, uint8_t flush) {
  *flags = 0;
  QVS_U30_CALL("u30d_decode2");
  Decoder& decoder = *of(session);
  if (decoder.context == nullptr) return QVS_PLUGIN_INIT_DECODER;
  decoder.drop();
  if (decoder.waiting) avcodec_send_packet(decoder.context.get(), decoder.packet.get());
  if (decoder.waiting) av_packet_unref(decoder.packet.get());
  decoder.waiting = false;
  if (flush != 0 && !decoder.flushing) avcodec_send_packet(decoder.context.get(), nullptr);
  decoder.flushing = decoder.flushing || flush != 0;
  *flags = QVS_DECODE_INPUT_DONE;
  if (avcodec_receive_frame(decoder.context.get(), decoder.frame.get()) < 0) {
    if (decoder.flushing) *flags |= QVS_DECODE_FLUSHED;
    return 0;
  }
  if (!decoder.store()) return QVS_PLUGIN_ALLOCATE_BUFFER;
  *flags |= QVS_DECODE_PICTURE_DONE | QVS_DECODE_FRAME_AVAILABLE;
  return 0;
}
U30D(uint32_t, getFrameWidth)(void* session) {
  const AVCodecContext* context = of(session)->context.get();
  return context != nullptr ? static_cast<uint32_t>(context->width) : 0;
}
U30D(uint32_t, getFrameHeight)(void* session) {
  const AVCodecContext* context = of(session)->context.get();
  return context != nullptr ? static_cast<uint32_t>(context->height) : 0;
}
U30D(double, getFrameRate)(void*) {
  return 25.0;
}
U30D(uint32_t, getDecodedFrameSize)
(void* session, uint32_t* width, uint32_t* height, uint32_t* shownWidth, uint32_t* shownHeight) {
  const CardPicture* ready = of(session)->ready;
  *width = *shownWidth = ready != nullptr ? ready->width : 0;
  *height = *shownHeight = ready != nullptr ? ready->height : 0;
  return 0;
}
U30D(uint32_t, getFrameBuffer)(void* session, PluginVideoBuffer* out) {
  QVS_U30_CALL("u30d_getFrameBuffer");
  Decoder& decoder = *of(session);
  if (decoder.ready == nullptr) return QVS_PLUGIN_INIT_DECODER;
  out->width = decoder.ready->width;
  out->height = decoder.ready->height;
  out->frameType = decoder.frameType;
  out->timecode = decoder.timecode;
  out->four_cc = static_cast<uint32_t>(decoder.fourcc);
  if (decoder.fourcc == kHN12) {
    out->opaque_ = fake_card_pass(decoder.ready, kOwner, "host");
  } else {
    out->plane[0] = decoder.ready->y();
    out->plane[1] = decoder.ready->uv();
    out->stride[0] = out->stride[1] = out->width;
    decoder.shown = decoder.ready;
  }
  decoder.ready = nullptr;
  return 0;
}
