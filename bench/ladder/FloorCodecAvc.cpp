extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/mem.h>
#include <x264.h>
}

#include <cstring>

#include "ladder/FloorCodec.h"

namespace qvs::bench {
namespace {

class AvcDecoder : public FloorDecoder {
 public:
  explicit AvcDecoder(PacketSource& source) {
    const AVCodec* found = avcodec_find_decoder(AV_CODEC_ID_H264);
    context = avcodec_alloc_context3(found);
    checkFloor(context && packet && frame, "avcodec_alloc_context3");
    const auto record = source.config();
    context->extradata = static_cast<uint8_t*>(av_mallocz(record.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    std::memcpy(context->extradata, record.data(), record.size());
    context->extradata_size = static_cast<int>(record.size());
    context->thread_count = 1;
    checkFloor(avcodec_open2(context, found, nullptr) == 0, "avcodec_open2");
  }
  ~AvcDecoder() override {
    av_frame_free(&frame);
    av_packet_free(&packet);
    avcodec_free_context(&context);
  }

  void decode(std::span<uint8_t> unit, const Taker& take) override {
    static_assert(PacketSource::kPadding >= AV_INPUT_BUFFER_PADDING_SIZE);
    // Lent, else libavcodec would copy it; it is done with it when it returns.
    const auto keep = [](void*, uint8_t*) {};
    packet->buf = av_buffer_create(unit.data(), unit.size() + AV_INPUT_BUFFER_PADDING_SIZE, keep, nullptr, 0);
    packet->data = unit.data();
    packet->size = static_cast<int>(unit.size());
    checkFloor(avcodec_send_packet(context, packet) == 0, "avcodec_send_packet");
    av_packet_unref(packet);
    while (avcodec_receive_frame(context, frame) == 0) {
      const auto width = static_cast<uint32_t>(frame->width), height = static_cast<uint32_t>(frame->height);
      take({width,
            height,
            {frame->data[0], frame->data[1], frame->data[2]},
            {frame->linesize[0], frame->linesize[1], frame->linesize[2]}});
      av_frame_unref(frame);
    }
  }

 private:
  AVCodecContext* context = nullptr;
  AVPacket* packet = av_packet_alloc();
  AVFrame* frame = av_frame_alloc();
};

class AvcEncoder : public FloorEncoder {
 public:
  explicit AvcEncoder(const Rung& rung) {
    x264_param_t parameters;
    x264_param_default_preset(&parameters, "veryfast", "zerolatency");
    parameters.i_threads = kEncoderThreads;
    parameters.b_sliced_threads = 0;
    parameters.i_width = static_cast<int>(rung.width);
    parameters.i_height = static_cast<int>(rung.height);
    parameters.i_fps_num = kFrameRate;
    parameters.i_fps_den = 1;
    parameters.i_keyint_max = X264_KEYINT_MAX_INFINITE;
    parameters.i_keyint_min = 1;
    parameters.i_scenecut_threshold = 0;
    parameters.rc.i_rc_method = X264_RC_ABR;
    parameters.rc.i_bitrate = parameters.rc.i_vbv_max_bitrate = static_cast<int>(rung.bitrate / 1000);
    // As a session sets it: two seconds at 1.1 times the rate.
    parameters.rc.i_vbv_buffer_size = parameters.rc.i_bitrate * 220 / 100;
    parameters.b_aud = parameters.b_repeat_headers = 1;
    parameters.b_annexb = 0;
    parameters.i_log_level = X264_LOG_NONE;
    checkFloor(x264_param_apply_profile(&parameters, "high") == 0, "x264_param_apply_profile");
    encoder = x264_encoder_open(&parameters);
    checkFloor(encoder != nullptr, "x264_encoder_open");
  }
  ~AvcEncoder() override { x264_encoder_close(encoder); }

  void encode(const FloorPicture& source, uint64_t frameNumber, PacketSink& sink) override {
    x264_picture_t picture, coded;
    x264_picture_init(&picture);
    picture.img.i_csp = X264_CSP_I420;
    picture.img.i_plane = 3;
    for (int plane = 0; plane < 3; ++plane) {
      picture.img.plane[plane] = source.planes[plane];
      picture.img.i_stride[plane] = source.strides[plane];
    }
    picture.i_pts = static_cast<int64_t>(frameNumber);
    picture.i_type = isKeyFrame(frameNumber) ? X264_TYPE_IDR : X264_TYPE_AUTO;
    x264_nal_t* units = nullptr;
    int count = 0;
    const int size = x264_encoder_encode(encoder, &units, &count, &picture, &coded);
    checkFloor(size >= 0, "x264_encoder_encode");
    if (size > 0) sink.write(units[0].p_payload, static_cast<size_t>(size));
  }

 private:
  x264_t* encoder = nullptr;
};

}  // namespace

std::unique_ptr<FloorDecoder> FloorDecoder::make(PacketSource& source) {
  return std::make_unique<AvcDecoder>(source);
}

std::unique_ptr<FloorEncoder> FloorEncoder::make(const Rung& rung) {
  return std::make_unique<AvcEncoder>(rung);
}

}  // namespace qvs::bench
