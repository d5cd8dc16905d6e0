// One video decoder of libavcodec.
#include "video/CodecContext.h"

#include <algorithm>
#include <cstring>
#include <thread>

namespace qvs::mc {

namespace {

// The largest picture that a frame takes: what is larger is refused before memory is asked for.
constexpr int64_t kPixelsMax = 35389440;

}  // namespace

bool CodecContext::giveHeader(const UnitBuffer& header) {
  if (header.empty()) return true;
  auto* bytes =
      static_cast<uint8_t*>(AvLibrary::codecs()->av_mallocz(header.size() + AV_INPUT_BUFFER_PADDING_SIZE));
  if (bytes == nullptr) return false;
  std::memcpy(bytes, header.data(), header.size());
  context->extradata = bytes;
  context->extradata_size = static_cast<int>(header.size());
  return true;
}

bool CodecContext::open(AVCodecID codec, const CodecOptions& options, const UnitBuffer& header) {
  const AvLibrary& av = *AvLibrary::codecs();
  const AVCodec* found = av.avcodec_find_decoder(codec);
  if (found == nullptr) return false;
  context.reset(av.avcodec_alloc_context3(found));
  packet.reset(av.av_packet_alloc());
  frame.reset(av.av_frame_alloc());
  if (!context || !packet || !frame || !giveHeader(header)) {
    context.reset();
    return false;
  }
  context->log_level_offset = kAvSilence;
  // Crops to the pixel: the copy out needs no alignment.
  context->flags |= AV_CODEC_FLAG_UNALIGNED;
  // Without it vector forms of the half-pixel interpolation round wrongly, and errors add up to the next key
  // picture. It costs nothing that can be measured.
  context->flags |= AV_CODEC_FLAG_BITEXACT;
  context->max_pixels = kPixelsMax;
  // Frame threads would hold pictures back; threads beyond the processor's only spin.
  const int processors = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  context->thread_count = options.sliceThreads ? std::clamp(options.workers, 1, processors) : 1;
  context->thread_type = FF_THREAD_SLICE;
  // Else libavcodec starts with no delay and drops pictures until it has seen how far they are reordered.
  context->has_b_frames = options.reorder;
  if (!options.loopFilter) context->skip_loop_filter = AVDISCARD_ALL;
  if (av.avcodec_open2(context.get(), found, nullptr) < 0) context.reset();
  return context != nullptr;
}

CodecResult CodecContext::receive() {
  const int result = AvLibrary::codecs()->avcodec_receive_frame(context.get(), frame.get());
  if (result >= 0) return CodecResult::kPicture;
  return result == AVERROR(EAGAIN) || result == AVERROR_EOF ? CodecResult::kNothing : CodecResult::kRefused;
}

int CodecContext::send(UnitBuffer& unit, int64_t number) {
  const AvLibrary& av = *AvLibrary::codecs();
  // After its end a codec takes nothing until it is flushed.
  if (draining) av.avcodec_flush_buffers(context.get());
  draining = false;
  unit.lend(*packet);
  packet->pts = number;
  int sent = av.avcodec_send_packet(context.get(), packet.get());
  // A picture in the way, left by a unit that held more than one: it is lost.
  if (sent == AVERROR(EAGAIN)) {
    receive();
    sent = av.avcodec_send_packet(context.get(), packet.get());
  }
  // The memory is the unit's: it must not go with the packet.
  packet->buf = nullptr;
  packet->data = nullptr;
  packet->size = 0;
  return sent;
}

CodecResult CodecContext::decode(UnitBuffer& unit, int64_t number) {
  const int sent = send(unit, number);
  const CodecResult result = receive();
  return sent < 0 && result != CodecResult::kPicture ? CodecResult::kRefused : result;
}

CodecResult CodecContext::decodeAfterDrain(UnitBuffer& unit, int64_t number) {
  if (drain() != CodecResult::kPicture) return decode(unit, number);
  send(unit, number);
  return CodecResult::kPicture;
}

CodecResult CodecContext::drain() {
  if (!draining) AvLibrary::codecs()->avcodec_send_packet(context.get(), nullptr);
  draining = true;
  CodecResult result = receive();
  // A damaged unit among those held back must not hide the ones behind it.
  for (int attempts = 0; result == CodecResult::kRefused && attempts < 32; ++attempts) result = receive();
  return result;
}

}  // namespace qvs::mc
