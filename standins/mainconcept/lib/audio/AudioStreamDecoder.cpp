// The audio decoder behind a stream record: bytes and commands in, blocks out.
#include "audio/AudioStreamDecoder.h"

#include <cstring>
#include <new>
#include <utility>

#include "mc_decoder_codes.h"

namespace qvs::mc {

namespace {

constexpr uint32_t kDone = 0;
constexpr uint32_t kUnserved = 1;

AudioStreamDecoder& decoderOf(bufstream_tt* stream) {
  return *static_cast<AudioStreamDecoder*>(stream->Buf_IO_struct);
}

}  // namespace

AudioStreamDecoder::AudioStreamDecoder(const FrameFormat& frameFormat, const callbacks_t* hostCallbacks,
                                       std::unique_ptr<AudioCodec> audioCodec)
    : format(frameFormat), codec(std::move(audioCodec)), assembler(frameFormat, codec->input()) {
  if (hostCallbacks != nullptr) callbacks = *hostCallbacks;
  record.Buf_IO_struct = this;
  record.copybytes = [](bufstream_tt* stream, uint8_t* source, uint32_t size) {
    return decoderOf(stream).copyBytes({source, source != nullptr ? size : 0});
  };
  record.auxinfo = [](bufstream_tt* stream, uint32_t, uint32_t code, void* info, uint32_t size) {
    return decoderOf(stream).auxInfo(code, info, size);
  };
  record.done = [](bufstream_tt* stream, int32_t) { decoderOf(stream).assembler.clear(); };
  record.free = [](bufstream_tt* stream) { delete &decoderOf(stream); };
}

bufstream_tt* AudioStreamDecoder::create(const FrameFormat& format, const callbacks_t* callbacks) {
  auto codec = AudioCodec::open(format.codecName);
  if (codec == nullptr) return nullptr;
  auto* decoder = new (std::nothrow) AudioStreamDecoder(format, callbacks, std::move(codec));
  return decoder != nullptr ? &decoder->record : nullptr;
}

uint32_t AudioStreamDecoder::copyBytes(std::span<const uint8_t> input) {
  state = 0;
  if (std::exchange(headerOnly, false)) return readHeaderOnly(input);
  room = target != nullptr ? target->bfr_size : 0;
  if (target != nullptr) target->bfr_size = 0;
  if (blockWaits && input.empty()) {
    deliver();
    return 0;
  }
  return decodeNext(input);
}

uint32_t AudioStreamDecoder::readHeaderOnly(std::span<const uint8_t> input) {
  assembler.clear();
  headerKnown = assembler.findHeader(input, header);
  state = headerKnown ? PARSE_DONE_FLAG : PARSE_ERR_FLAG;
  return headerKnown ? static_cast<uint32_t>(input.size()) : 0;
}

uint32_t AudioStreamDecoder::decodeNext(std::span<const uint8_t> input) {
  blockWaits = false;
  const size_t offered = input.size();
  const size_t junk = assembler.junkBytes();
  const size_t falseTags = assembler.falseTags();
  const FrameAssembler::Progress progress = assembler.take(input);
  if (assembler.falseTags() > falseTags && callbacks.wrn_printf != nullptr) {
    callbacks.wrn_printf("%s decoder: a tag's length was wrong, frames lay in it", format.name);
  }
  switch (progress) {
    case FrameAssembler::Progress::kFrame:
      decodeFrame();
      break;
    case FrameAssembler::Progress::kRefused:
      warnRefused();
      state = PARSE_ERR_FLAG;
      break;
    case FrameAssembler::Progress::kNeedsBytes:
      if (assembler.junkBytes() > junk) state = PARSE_ERR_FLAG;
  }
  return static_cast<uint32_t>(offered - input.size());
}

void AudioStreamDecoder::decodeFrame() {
  const mc_aud_frame_hdr_t coded = assembler.header();
  header = coded;
  headerKnown = true;
  const AudioCodec::Result result = codec->decode(assembler.frame().size());
  assembler.clear();
  if (result != AudioCodec::Result::kBlock) {
    state = result == AudioCodec::Result::kSilent ? PARSE_DONE_FLAG : PARSE_ERR_FLAG;
    return;
  }
  header.sample_rate = codec->sampleRate();
  header.channels = codec->channels();
  header.samples = codec->samples();
  if (isPlausible(coded)) return deliver();
  codec->restart();
  lastCoded = {};
  state = PARSE_ERR_FLAG;
}

// Where another rate or number of channels comes out under the same header, damage has passed for the
// extensions of HE, and the codec would stay with them.
bool AudioStreamDecoder::isPlausible(const mc_aud_frame_hdr_t& coded) {
  const bool sameHeader = coded.sample_rate == lastCoded.sample_rate && coded.channels == lastCoded.channels;
  const bool sameAudio =
      header.sample_rate == lastDecoded.sample_rate && header.channels == lastDecoded.channels;
  if (sameHeader && !sameAudio) return false;
  lastCoded = coded;
  lastDecoded = header;
  return true;
}

void AudioStreamDecoder::deliver() {
  blockWaits = target != nullptr && codec->blockBytes() > room;
  if (blockWaits) {
    state = AUD_NO_ROOM_FLAG;
    return;
  }
  if (target != nullptr && target->bfr != nullptr) {
    codec->writeBlock(target->bfr);
    target->bfr_size = codec->blockBytes();
  }
  state = PARSE_DONE_FLAG;
}

uint32_t AudioStreamDecoder::auxInfo(uint32_t code, void* info, uint32_t size) {
  switch (code) {
    case PARSE_INIT:
    case INIT_FRAME_PARSER:
      return serves(info, size);
    case PARSE_FRAMES:
      if (info == nullptr || size != sizeof(aud_bfr_tt)) return kUnserved;
      target = static_cast<aud_bfr_tt*>(info);
      return kDone;
    case GET_PARSE_STATE:
      return state;
    case CLEAN_PARSE_STATE:
      return std::exchange(state, 0);
    case GET_PIC_PARAMSP:
      return tellHeader(info);
    case PARSE_AUD_HDR:
      headerOnly = true;
      return kDone;
    default:
      return kUnserved;
  }
}

/// A configuration of nothing is fine; that of the other family has another size.
uint32_t AudioStreamDecoder::serves(const void* config, uint32_t size) const {
  if (config == nullptr) return kDone;
  if (size != format.configBytes) return kUnserved;
  if (size != sizeof(aac_decoder_config)) return kDone;
  const auto& aac = *static_cast<const aac_decoder_config*>(config);
  return aac.bitstream_format == 0 || aac.bitstream_format == ~0u ? kDone : kUnserved;
}

uint32_t AudioStreamDecoder::tellHeader(void* info) const {
  if (info == nullptr || !headerKnown) return kUnserved;
  const mc_aud_frame_hdr_t* pointer = &header;
  std::memcpy(info, &pointer, sizeof pointer);
  return kDone;
}

void AudioStreamDecoder::warnRefused() {
  if (callbacks.wrn_printf == nullptr || std::exchange(refusedWarned, true)) return;
  callbacks.wrn_printf("%s decoder: %s", format.name, format.refusedText);
}

}  // namespace qvs::mc
