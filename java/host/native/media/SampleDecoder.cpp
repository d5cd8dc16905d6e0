// Decoding of audio by libavcodec, for codecs that the transcoder does not take.
#include "media/SampleDecoder.h"

#include <algorithm>
#include <climits>
#include <cstring>

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace qvs::host {

namespace {

constexpr int kChannelsMost = 8;

MediaStatus describe(AVCodecContext* context, const CodedAudio& audio) {
  context->pkt_timebase = audio.timeBase;
  context->sample_rate = audio.sampleRate;
  context->block_align = audio.blockAlign;
  context->bits_per_coded_sample = audio.bitsPerSample;
  context->bit_rate = audio.bitRate;
  context->codec_tag = audio.codecTag;
  context->thread_count = 1;
  // Samples that are not to be heard are marked for whoever writes them.
  context->flags2 |= AV_CODEC_FLAG2_SKIP_MANUAL;
  if (audio.channelMask)
    av_channel_layout_from_mask(&context->ch_layout, audio.channelMask);
  else if (audio.channels > 0)
    av_channel_layout_default(&context->ch_layout, audio.channels);
  if (audio.config.empty()) return {};
  context->extradata = static_cast<uint8_t*>(av_mallocz(audio.config.size() + AV_INPUT_BUFFER_PADDING_SIZE));
  if (!context->extradata) return MediaStatus::failure("out of memory");
  std::memcpy(context->extradata, audio.config.data(), audio.config.size());
  context->extradata_size = static_cast<int>(audio.config.size());
  return {};
}

}  // namespace

MediaStatus SampleDecoder::open(const CodedAudio& audio) {
  const AVCodec* codec = avcodec_find_decoder_by_name(audio.codecName.c_str());
  if (!codec)
    if (const AVCodecDescriptor* descriptor = avcodec_descriptor_get_by_name(audio.codecName.c_str()))
      codec = avcodec_find_decoder(descriptor->id);
  if (!codec || codec->type != AVMEDIA_TYPE_AUDIO)
    return MediaStatus::failure("audio codec '" + audio.codecName + "' is not supported");
  decoder_.reset(avcodec_alloc_context3(codec));
  packet_.reset(av_packet_alloc());
  frame_.reset(av_frame_alloc());
  if (!decoder_ || !packet_ || !frame_) return MediaStatus::failure("out of memory");
  MediaStatus status = describe(decoder_.get(), audio);
  if (!status.ok()) return status;
  const std::string what = "its " + audio.codecName + " configuration is refused";
  return MediaStatus::fromCode(avcodec_open2(decoder_.get(), codec, nullptr), what.c_str());
}

MediaStatus SampleDecoder::send(const uint8_t* bytes, size_t size, int64_t pts) {
  if (!bytes) return MediaStatus::fromCode(avcodec_send_packet(decoder_.get(), nullptr), "end of audio");
  if (size > INT_MAX - AV_INPUT_BUFFER_PADDING_SIZE) return MediaStatus::failure("packet too large");
  av_packet_unref(packet_.get());
  MediaStatus status =
      MediaStatus::fromCode(av_new_packet(packet_.get(), static_cast<int>(size)), "audio packet");
  if (!status.ok()) return status;
  std::memcpy(packet_->data, bytes, size);
  packet_->pts = packet_->dts = pts;
  return MediaStatus::fromCode(avcodec_send_packet(decoder_.get(), packet_.get()), "damaged audio packet");
}

bool SampleDecoder::receive() {
  while (avcodec_receive_frame(decoder_.get(), frame_.get()) >= 0)
    if (frame_->nb_samples > 0 && frame_->sample_rate > 0 && convert()) return true;
  return false;
}

bool SampleDecoder::prepareConverter() {
  AVChannelLayout& given = frame_->ch_layout;
  if (converter_ && frame_->format == format_ && frame_->sample_rate == rate_ &&
      av_channel_layout_compare(&given, &source_) == 0)
    return true;
  // Speakers that nobody named, and ways to name none, are the usual ones of their count.
  if (given.order != AV_CHANNEL_ORDER_NATIVE) {
    const int count = given.nb_channels;
    av_channel_layout_uninit(&given);
    av_channel_layout_default(&given, count);
  }
  av_channel_layout_uninit(&layout_);
  av_channel_layout_default(&layout_, std::min(given.nb_channels, kChannelsMost));
  SwrContext* made = nullptr;
  swr_alloc_set_opts2(&made, &layout_, AV_SAMPLE_FMT_S16, frame_->sample_rate, &given,
                      static_cast<AVSampleFormat>(frame_->format), frame_->sample_rate, 0, nullptr);
  converter_.reset(made);
  if (!converter_ || swr_init(converter_.get()) < 0) {
    converter_.reset();
    return false;
  }
  format_ = frame_->format;
  rate_ = frame_->sample_rate;
  av_channel_layout_uninit(&source_);
  return av_channel_layout_copy(&source_, &given) >= 0;
}

bool SampleDecoder::convert() {
  if (!prepareConverter()) return false;
  samples_.resize(static_cast<size_t>(frame_->nb_samples) * static_cast<size_t>(layout_.nb_channels));
  auto* out = reinterpret_cast<uint8_t*>(samples_.data());
  const int count = swr_convert(converter_.get(), &out, frame_->nb_samples,
                                const_cast<const uint8_t**>(frame_->extended_data), frame_->nb_samples);
  return count == frame_->nb_samples;
}

}  // namespace qvs::host
