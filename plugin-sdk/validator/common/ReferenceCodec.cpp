// libavcodec as the judge of what plug-ins code, and as the source of what they decode.
#include "common/ReferenceCodec.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <memory>

#include "common/CodecRow.h"
#include "qvs/video_frame.h"

namespace qvs::validator {
namespace {

// In the order of CodecNumber.
constexpr AVCodecID kCodecs[kCodecCount] = {AV_CODEC_ID_NONE, AV_CODEC_ID_H264, AV_CODEC_ID_HEVC,
                                            AV_CODEC_ID_VP8,  AV_CODEC_ID_VP9,  AV_CODEC_ID_MPEG2VIDEO};
constexpr AVRational kMilliseconds{1, 1000};
constexpr int64_t kFrameTime = 40;
constexpr size_t kMostFrames = 300;

struct Free {
  void operator()(AVCodecContext* it) const { avcodec_free_context(&it); }
  void operator()(AVFormatContext* it) const { avformat_close_input(&it); }
  void operator()(AVPacket* it) const { av_packet_free(&it); }
  void operator()(AVFrame* it) const { av_frame_free(&it); }
};
template <typename T>
using Owned = std::unique_ptr<T, Free>;

std::string words(const char* what, int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof text);
  return std::string(what) + ": " + text;
}

bool isNot420(int format) {
  return format != AV_PIX_FMT_YUV420P && format != AV_PIX_FMT_YUVJ420P;
}

PlainPicture plain(const AVFrame& frame) {
  PlainPicture picture{frame.pts, static_cast<uint32_t>(frame.width), static_cast<uint32_t>(frame.height)};
  for (uint32_t plane : {kY, kU, kV}) {
    for (uint32_t y = 0; y < picture.heightOf(plane); ++y) {
      const uint8_t* row = frame.data[plane] + static_cast<ptrdiff_t>(y) * frame.linesize[plane];
      picture.planes[plane].insert(picture.planes[plane].end(), row, row + picture.widthOf(plane));
    }
  }
  return picture;
}

void takePictures(AVCodecContext* decoder, std::vector<PlainPicture>& pictures, std::string& error) {
  const Owned<AVFrame> frame(av_frame_alloc());
  while (avcodec_receive_frame(decoder, frame.get()) == 0) {
    if (isNot420(frame->format)) {
      error = std::string("the pictures are coded as ") +
              av_get_pix_fmt_name(static_cast<AVPixelFormat>(frame->format));
      return;
    }
    pictures.push_back(plain(*frame));
  }
}

// libavcodec reads some bytes beyond a packet's end: they belong to the packet that is made here.
Owned<AVPacket> packetOf(const std::vector<uint8_t>& bytes, const CodedFrame& frame) {
  Owned<AVPacket> packet(av_packet_alloc());
  if (av_new_packet(packet.get(), static_cast<int>(bytes.size())) != 0) return nullptr;
  std::copy(bytes.begin(), bytes.end(), packet->data);
  packet->pts = frame.presentation();
  packet->dts = static_cast<int64_t>(frame.timecode);
  return packet;
}

void giveConfig(AVCodecContext* decoder, const std::vector<uint8_t>& config) {
  if (config.empty()) return;
  decoder->extradata = static_cast<uint8_t*>(av_mallocz(config.size() + AV_INPUT_BUFFER_PADDING_SIZE));
  std::copy(config.begin(), config.end(), decoder->extradata);
  decoder->extradata_size = static_cast<int>(config.size());
}

// Version 1 of the record of MP4: one set of each kind, lengths of four bytes.
std::vector<uint8_t> avcRecord(const std::vector<uint8_t>& extradata) {
  std::vector<uint8_t> sets[2];
  forEachAnnexBUnit(extradata, [&](Bytes unit) {
    if ((unit[0] & 31) == 7) sets[0].assign(unit.begin(), unit.end());
    if ((unit[0] & 31) == 8) sets[1].assign(unit.begin(), unit.end());
  });
  if (sets[0].size() < 4 || sets[1].empty()) return {};
  std::vector<uint8_t> record{1, sets[0][1], sets[0][2], sets[0][3], 0xFF};
  for (const auto& set : sets) {
    record.push_back(&set == sets ? 0xE1 : 1);
    record.push_back(static_cast<uint8_t>(set.size() >> 8));
    record.push_back(static_cast<uint8_t>(set.size()));
    record.insert(record.end(), set.begin(), set.end());
  }
  return record;
}

// A container's record stays; H.264's start codes become one, H.265's sets stay in the stream.
void takeConfig(Clip& clip, const uint8_t* extradata, int size) {
  if (extradata == nullptr || size <= 0) return;
  clip.config.assign(extradata, extradata + size);
  if (!codecRow(clip.codec).hasUnits || extradata[0] != 0) return;
  clip.config = clip.codec == kH264 ? avcRecord(clip.config) : std::vector<uint8_t>{};
}

void takePacket(Clip& clip, const AVPacket& packet, bool hasStartCodes) {
  const Bytes bytes(packet.data, static_cast<size_t>(packet.size));
  CodedFrame frame;
  frame.bytes = hasStartCodes ? startCodesToLengths(bytes) : std::vector<uint8_t>(bytes.begin(), bytes.end());
  frame.type = (packet.flags & AV_PKT_FLAG_KEY) != 0 ? QVS_FRAME_KEY : QVS_FRAME_PREDICTED;
  const bool timed = packet.pts != AV_NOPTS_VALUE && packet.pts >= 0;
  frame.timecode = timed ? static_cast<uint64_t>(packet.pts) : kFrameTime * clip.frames.size();
  clip.frames.push_back(std::move(frame));
}

void fill(AVFrame* frame, uint32_t index) {
  const PlainPicture picture =
      pattern(static_cast<uint32_t>(frame->width), static_cast<uint32_t>(frame->height), index, 1);
  for (uint32_t plane : {kY, kU, kV}) {
    const uint32_t width = picture.widthOf(plane);
    for (uint32_t y = 0; y < picture.heightOf(plane); ++y) {
      std::copy_n(picture.planes[plane].data() + size_t{y} * width, width,
                  frame->data[plane] + static_cast<ptrdiff_t>(y) * frame->linesize[plane]);
    }
  }
  frame->pts = kFrameTime * index;
}

int startEncoder(AVCodecContext* encoder, const AVCodec* codec, uint32_t width, uint32_t height) {
  encoder->width = static_cast<int>(width);
  encoder->height = static_cast<int>(height);
  encoder->pix_fmt = AV_PIX_FMT_YUV420P;
  encoder->time_base = {1, 25};
  encoder->framerate = {25, 1};
  encoder->bit_rate = 2'000'000;
  encoder->gop_size = 10;
  if (codec->id == AV_CODEC_ID_H264 || codec->id == AV_CODEC_ID_MPEG2VIDEO) encoder->max_b_frames = 2;
  if (codec->id == AV_CODEC_ID_H264) encoder->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  return avcodec_open2(encoder, codec, nullptr);
}

void takePackets(AVCodecContext* encoder, Clip& clip) {
  const Owned<AVPacket> packet(av_packet_alloc());
  while (avcodec_receive_packet(encoder, packet.get()) == 0) {
    av_packet_rescale_ts(packet.get(), encoder->time_base, kMilliseconds);
    takePacket(clip, *packet, codecRow(clip.codec).hasUnits);
    av_packet_unref(packet.get());
  }
}

}  // namespace

std::vector<PlainPicture> decodeForReference(const Clip& clip, std::string& error) {
  av_log_set_level(AV_LOG_QUIET);
  std::vector<PlainPicture> pictures;
  const AVCodec* decoder = avcodec_find_decoder(kCodecs[clip.codec]);
  const Owned<AVCodecContext> context(avcodec_alloc_context3(decoder));
  giveConfig(context.get(), clip.config);
  context->thread_count = 1;
  context->err_recognition = AV_EF_EXPLODE;
  if (const int code = avcodec_open2(context.get(), decoder, nullptr); code < 0) {
    error = words("libavcodec's decoder", code);
    return {};
  }
  // Told a container's record it wants lengths, else start codes.
  const bool converts = codecRow(clip.codec).hasUnits && clip.config.empty();
  for (const CodedFrame& frame : clip.frames) {
    const Owned<AVPacket> packet = packetOf(converts ? lengthsToStartCodes(frame.bytes) : frame.bytes, frame);
    if (const int code = avcodec_send_packet(context.get(), packet.get()); code < 0) {
      error = words(("the frame of " + std::to_string(frame.timecode) + " ms does not decode").c_str(), code);
      return pictures;
    }
    takePictures(context.get(), pictures, error);
  }
  avcodec_send_packet(context.get(), nullptr);
  takePictures(context.get(), pictures, error);
  return pictures;
}

Clip makeClip(uint32_t codec, uint32_t width, uint32_t height, uint32_t pictures, std::string& error) {
  av_log_set_level(AV_LOG_QUIET);
  Clip clip;
  clip.codec = codec;
  const AVCodec* encoder = avcodec_find_encoder(kCodecs[codec]);
  if (encoder == nullptr) {
    error = std::string("libavcodec has no encoder for ") + codecRow(codec).name;
    return clip;
  }
  const Owned<AVCodecContext> context(avcodec_alloc_context3(encoder));
  if (const int code = startEncoder(context.get(), encoder, width, height); code < 0) {
    error = words("libavcodec's encoder", code);
    return clip;
  }
  takeConfig(clip, context->extradata, context->extradata_size);
  const Owned<AVFrame> frame(av_frame_alloc());
  frame->format = AV_PIX_FMT_YUV420P;
  frame->width = static_cast<int>(width);
  frame->height = static_cast<int>(height);
  av_frame_get_buffer(frame.get(), 0);
  for (uint32_t index = 0; index < pictures; ++index) {
    av_frame_make_writable(frame.get());
    fill(frame.get(), index);
    frame->pts = index;
    avcodec_send_frame(context.get(), frame.get());
    takePackets(context.get(), clip);
  }
  avcodec_send_frame(context.get(), nullptr);
  takePackets(context.get(), clip);
  if (clip.frames.size() != pictures) error = "libavcodec's encoder did not answer every picture";
  return clip;
}

Clip readClip(const std::string& file, std::string& error) {
  av_log_set_level(AV_LOG_QUIET);
  Clip clip;
  AVFormatContext* opened = nullptr;
  int code = avformat_open_input(&opened, file.c_str(), nullptr, nullptr);
  const Owned<AVFormatContext> container(opened);
  if (code >= 0) code = avformat_find_stream_info(opened, nullptr);
  if (code >= 0) code = av_find_best_stream(opened, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (code < 0) {
    error = words(file.c_str(), code);
    return clip;
  }
  const AVStream* stream = opened->streams[code];
  for (uint32_t number = kH264; number < kCodecCount; ++number) {
    if (kCodecs[number] == stream->codecpar->codec_id) clip.codec = number;
  }
  if (clip.codec == kUnknownCodec) {
    error = file + ": no video of a known codec";
    return clip;
  }
  takeConfig(clip, stream->codecpar->extradata, stream->codecpar->extradata_size);
  const uint8_t* extradata = stream->codecpar->extradata;
  const bool hasStartCodes = codecRow(clip.codec).hasUnits && (extradata == nullptr || extradata[0] == 0);
  const Owned<AVPacket> packet(av_packet_alloc());
  while (clip.frames.size() < kMostFrames && av_read_frame(opened, packet.get()) >= 0) {
    if (packet->stream_index == code && packet->size > 4) {
      av_packet_rescale_ts(packet.get(), stream->time_base, kMilliseconds);
      takePacket(clip, *packet, hasStartCodes);
    }
    av_packet_unref(packet.get());
  }
  return clip;
}

}  // namespace qvs::validator
