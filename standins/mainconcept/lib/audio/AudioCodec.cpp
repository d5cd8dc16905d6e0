// One audio decoder of libavcodec.
#include "audio/AudioCodec.h"

#include <algorithm>

#include "audio/SampleWriter.h"

namespace qvs::mc {

std::unique_ptr<AudioCodec> AudioCodec::open(const char* codecName) {
  const AvLibrary* library = AvLibrary::codecs();
  if (library == nullptr) return nullptr;
  std::unique_ptr<AudioCodec> codec(new AudioCodec(*library));
  return codec->start(codecName) ? std::move(codec) : nullptr;
}

bool AudioCodec::start(const char* codecName) {
  decoder = av.avcodec_find_decoder_by_name(codecName);
  packet = av.av_packet_alloc();
  block = av.av_frame_alloc();
  rest = av.av_frame_alloc();
  if (decoder == nullptr || packet == nullptr || block == nullptr || rest == nullptr) return false;
  // A counted reference to memory of our own: sending a packet then copies nothing.
  packet->buf = av.av_buffer_create(
      memory.data(), memory.size(), [](void*, uint8_t*) {}, nullptr, 0);
  packet->data = memory.data();
  return packet->buf != nullptr && openContext();
}

bool AudioCodec::openContext() {
  constexpr int kSilent = 100;  // beyond all levels; from 256 on bits would mean a colour
  context = av.avcodec_alloc_context3(decoder);
  if (context == nullptr) return false;
  context->thread_count = 1;
  context->log_level_offset = kSilent;
  return av.avcodec_open2(context, decoder, nullptr) >= 0;
}

void AudioCodec::restart() {
  av.avcodec_free_context(&context);
  if (!openContext()) av.avcodec_free_context(&context);
}

AudioCodec::~AudioCodec() {
  av.avcodec_free_context(&context);
  av.av_packet_free(&packet);
  av.av_frame_free(&block);
  av.av_frame_free(&rest);
}

AudioCodec::Result AudioCodec::decode(size_t size) {
  if (context == nullptr) return Result::kError;
  std::fill_n(memory.begin() + static_cast<std::ptrdiff_t>(size), AV_INPUT_BUFFER_PADDING_SIZE, uint8_t{0});
  packet->size = static_cast<int>(size);
  if (av.avcodec_send_packet(context, packet) < 0) return Result::kError;
  const int status = av.avcodec_receive_frame(context, block);
  // The frame's own field is one frame late where the rate changes.
  rate = static_cast<uint32_t>(context->sample_rate);
  dropRest();
  if (status == AVERROR(EAGAIN)) return Result::kSilent;
  if (status < 0 || block->format != AV_SAMPLE_FMT_FLTP) return Result::kError;
  if (samples() == 0 || channels() == 0) return Result::kSilent;
  return sampleRate() != 0 ? Result::kBlock : Result::kError;
}

// What a frame's own data leave over would be decoded as one more frame. Such bytes are refused at their
// first look, before they can touch the decoder's state.
void AudioCodec::dropRest() {
  constexpr int kMostFrames = 16;
  std::fill_n(memory.begin(), packet->size, uint8_t{0xFF});
  for (int count = 0; count < kMostFrames; ++count) {
    if (av.avcodec_receive_frame(context, rest) == AVERROR(EAGAIN)) return;
  }
}

void AudioCodec::writeBlock(uint8_t* target) const {
  const auto* const* planes = reinterpret_cast<const float* const*>(block->extended_data);
  writeSamples(planes, channels(), samples(), reinterpret_cast<int16_t*>(target));
}

}  // namespace qvs::mc
