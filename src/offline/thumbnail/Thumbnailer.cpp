// The plan of a still picture: find the sequence, start anew, decode the run, keep its last good picture.
#include "offline/thumbnail/Thumbnailer.h"

#include <mc_dec_video.h>
#include <mc_decoder_codes.h>

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "bufstream/BufStreamDecoder.h"
#include "bufstream/MainConceptCallbacks.h"
#include "contract/StageIds.h"
#include "offline/thumbnail/ThumbnailerUtils.h"
#include "platform/Guard.h"

namespace qvs {
namespace {

constexpr uint32_t kOptionAlways = 16;
constexpr int32_t kAbortAtEnd = 1;
constexpr int kFlushesMax = 1024;  ///< more pictures than any codec holds back

bufstream_tt* makeAvc(callbacks_t* callbacks) {
  return createDecoderAVC(callbacks, 0, 0);
}
bufstream_tt* makeHevc(callbacks_t* callbacks) {
  return createDecoderHEVC(callbacks, 0, 0);
}
bufstream_tt* makeMpeg(callbacks_t* callbacks) {
  return createDecoderMPEG(callbacks, 0, 0);
}
bufstream_tt* makeMpeg4(callbacks_t* callbacks) {
  return open_mpeg4in_Video_stream_ex(callbacks, MPEG4IN_MPEG4, 0);
}

constexpr ThumbnailerCodec kCodecs[] = {
    {"ThumbnailerH264::videoDecoderGetVideoFrame", kVideoCodecH264, makeAvc, true, SET_PIC_PTS, GET_LAST_PTS},
    {"ThumbnailerMP4::videoDecoderGetVideoFrame", kVideoCodecMP4, makeMpeg4, true, SET_USER_DATA,
     GET_USER_DATAP},
    {"ThumbnailerMP2::videoDecoderGetVideoFrame", kVideoCodecMPEG2, makeMpeg, true, SET_USER_DATA,
     GET_USER_DATAP},
    {"ThumbnailerH265::videoDecoderGetVideoFrame", kVideoCodecH265, makeHevc, false, SET_PIC_PTS,
     GET_LAST_PTS},
};

/// A setting that is sent where the request has it.
struct Setting {
  uint32_t code;
  int32_t ThumbnailerRequestData::*value;
  bool mpeg;  ///< for MPEG-2 and MPEG-4 too
  bool h265;
};
constexpr Setting kSettings[] = {
    {SET_CPU_NUM, &ThumbnailerRequestData::cpuNum, true, true},
    {SET_SMP_MODE, &ThumbnailerRequestData::smpMode, true, true},
    {HWACC_SET_ACC_MODE, &ThumbnailerRequestData::accMode, true, true},
    {SET_LOOP_FILTER_MODE, &ThumbnailerRequestData::loopFilter, false, true},
    {SET_OUTPUT_8BIT, &ThumbnailerRequestData::output8Bit, false, false},
    {SET_MV_PRECISION, &ThumbnailerRequestData::mvPrecision, false, true},
    {SET_DPB_SIZE, &ThumbnailerRequestData::dpbSize, false, false},
    {SET_ERROR_CONCEALMENT, &ThumbnailerRequestData::ec, false, false},
};

bool serves(const Setting& setting, uint32_t codec) {
  if (codec == kVideoCodecH264) return true;
  return codec == kVideoCodecH265 ? setting.h265 : setting.mpeg;
}

uint32_t parseOptions(const ThumbnailerCodec& codec, int32_t deinterlace) {
  if (!codec.deinterlaces || deinterlace == 0) return kOptionAlways;
  if (deinterlace == 1) return kOptionAlways | PARSE_OPTION_DEINTERLACE;
  return kOptionAlways | static_cast<uint32_t>(deinterlace);
}

/// When the picture of a packet is shown, milliseconds.
int64_t timeOf(const ThumbnailerRequestPacketData& packet) {
  return static_cast<int64_t>(packet.timecode + packet.timecodeOffset);
}

/// One request on its way through a decoder.
class Run {
 public:
  Run(const ThumbnailerCodec& codec, const ThumbnailerRequestData& request)
      : codec(codec), request(request) {}

  uint32_t make(ThumbnailerResponseData& response) {
    callbacks_t callbacks{};
    init_callbacks(callbacks);
    if (!decoder.open(codec.create(&callbacks))) {
      std::puts("Can't create decoder.");
      return kFailure;
    }
    setUp();
    if (!findSequence()) return kFailure;
    decoder.send(INIT_FRAME_PARSER);
    decoder.send(PARSE_FRAMES);
    decodeAll();
    flush();
    const uint32_t result = ThumbnailerUtils::frameToRGBA(frame, request, response);
    if (result != kSuccess) std::printf("%s: ThumbnailerUtils::frameToRGBA failed\n", codec.label);
    return result;
  }

 private:
  void setUp() {
    decoder.send(PARSE_OPTIONS, parseOptions(codec, request.deinterlace));
    decoder.send(PARSE_INIT);
    for (const Setting& setting : kSettings) {
      if (serves(setting, codec.codec)) decoder.sendSetting(setting.code, request.*setting.value);
    }
    decoder.send(PARSE_SEQ_HDR);
  }

  /// Feeds a packet piece by piece, and tells the parse state after each. True: the piece was enough.
  template <typename Then>
  bool feed(const ThumbnailerRequestPacketData& packet, Then then) {
    uint8_t* at = packet.packetData;
    uint32_t left = at != nullptr ? packet.packetDataLen : 0;
    while (left != 0) {
      const uint32_t taken = decoder.feed(at, left);
      if (then(decoder.send(PARSE_FRAMES))) return true;
      if (taken == 0 || taken > left) return false;
      at += taken;
      left -= taken;
    }
    return false;
  }

  bool findSequence() {
    constexpr uint32_t kFound = SEQ_HDR_FLAG | PARSE_DONE_FLAG;
    const auto isHeader = [&](uint32_t state) { return (state & kFound) == kFound && readSize(); };
    return std::any_of(request.packets, request.packets + request.packetsLen,
                       [&](const auto& packet) { return feed(packet, isHeader); });
  }

  bool readSize() {
    const auto* params = decoder.ask<mc_seq_params_t>(GET_SEQ_PARAMSP);
    if (params == nullptr || params->horizontal_size <= 0 || params->vertical_size <= 0) return false;
    size = {static_cast<uint32_t>(params->horizontal_size), static_cast<uint32_t>(params->vertical_size)};
    return true;
  }

  void decodeAll() {
    for (uint32_t i = 0; i < request.packetsLen; ++i) {
      const ThumbnailerRequestPacketData& packet = request.packets[i];
      if (wantsLastPacket()) {
        int64_t time = timeOf(packet);
        decoder.send(codec.setRecord, 0, &time, sizeof time);
      }
      feed(packet, [&](uint32_t state) {
        take(state);
        return false;
      });
    }
  }

  void flush() {
    for (int flushes = 0; flushes < kFlushesMax && decoder.feed(nullptr, 0) != 0; ++flushes) {
      take(decoder.send(PARSE_FRAMES));
    }
  }

  void take(uint32_t state) {
    if ((state & SEQ_HDR_FLAG) != 0) readSize();
    if (isWanted()) ThumbnailerUtils::decoderToFrame(decoder, frame, state, size);
  }

  bool wantsLastPacket() const {
    return (request.implementation & ThumbnailerRequestData::kPictureOfLastPacket) != 0;
  }

  /// Pictures come in the order in which they are shown: those behind the last packet's are not taken.
  bool isWanted() {
    if (!wantsLastPacket()) return true;
    const auto* time = decoder.ask<int64_t>(codec.getRecord);
    return time == nullptr || *time <= timeOf(request.packets[request.packetsLen - 1]);
  }

  const ThumbnailerCodec& codec;
  const ThumbnailerRequestData& request;
  BufStreamDecoder decoder{kAbortAtEnd};
  PixelSize size;
  ThumbnailerFrame frame;
};

}  // namespace

const ThumbnailerCodec* Thumbnailer::codecOf(int32_t codec) {
  const auto* found = std::find_if(
      std::begin(kCodecs), std::end(kCodecs),
      [codec](const ThumbnailerCodec& row) { return row.codec == static_cast<uint32_t>(codec); });
  return found != std::end(kCodecs) ? found : nullptr;
}

uint32_t Thumbnailer::videoDecoderGetVideoFrame(const ThumbnailerCodec& codec,
                                                const ThumbnailerRequestData& request,
                                                ThumbnailerResponseData& response) {
  return guarded(codec.label, [&]() -> uint32_t { return Run(codec, request).make(response); });
}

}  // namespace qvs
