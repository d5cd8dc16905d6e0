// H.265 in: configuration records, parameter sets with the first key frame, display size.
#include "video/decoders/VideoDecoderH265.h"

#include <mc_decoder_codes.h>

#include <utility>

#include "contract/StageIds.h"
#include "platform/Guard.h"
#include "video/decoders/H26XCommon.h"

namespace qvs {

namespace {

constexpr BufStreamCodec kRow{
    .labels = QVS_BUFSTREAM_LABELS("VideoDecoderH265"),
    .codec = kVideoCodecH265,
    .record = UnitRecord::kTimestamp,
    .infoFlags = SEQ_HDR_FLAG | GOP_HDR_FLAG,
    .infoAlwaysReported = false,
    .secondFetch = SecondFetch::kNone,
    .unitPerBlock = false,
    .plainDoubleRate = false,
    .asksDeinterlace = false,
    .missingInfo = static_cast<uint32_t>(-2),
};

}  // namespace

VideoDecoderH265::VideoDecoderH265() : VideoDecoderBufferStream(kRow), splicer(kNalRulesH265) {}

bufstream_tt* VideoDecoderH265::createBackEnd(callbacks_t* callbacks) {
  return createDecoderHEVC(callbacks, 0, 0);
}

uint32_t VideoDecoderH265::decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return guarded(kRow.labels.decodeCodecConfig, [&]() -> uint32_t {
    if (!vid_dec) return kSuccess;
    ParameterSets read;
    read.readHevcRecord(recordOf(buffer, offset, len));
    storeSets(std::move(read));
    const ParameterSets& sets = parameterSets;
    const bool complete = !sets.vpsFrame.empty() && !sets.spsFrame.empty() && !sets.ppsFrame.empty();
    if (complete && isFirstCodecConfig != 0) setUp();
    return kSuccess;
  });
}

// The parameter sets go in with the first key frame.
void VideoDecoderH265::setUp() {
  vid_dec.send(PARSE_INIT);
  vid_dec.send(PARSE_OPTIONS, kOptionAlways);
  sendWorkers();
  vid_dec.send(SET_LOOP_FILTER_MODE, loop_filter);
  vid_dec.send(SET_MV_PRECISION, mv_precision);
  vid_dec.send(PARSE_SEQ_HDR);
  vid_dec.send(INIT_FRAME_PARSER);
  vid_dec.send(PARSE_FRAMES);
  vid_dec.send(SET_OUTPUT_8BIT, static_cast<uint32_t>(maxTemporalLayer));
  isFirstCodecConfig = 0;
}

uint32_t VideoDecoderH265::addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                    uint32_t frameType) {
  return guarded(kRow.labels.addFrame, [&]() -> uint32_t {
    const NalSplices splices{
        headerBuffer.get(),
        {},
        {spliced(parameterSets.vpsFrame), spliced(parameterSets.spsFrame), spliced(parameterSets.ppsFrame)}};
    return splicer.splice(
        {buffer + offset, buffer != nullptr ? len : 0, parameterSets.nalUnitLen, timecode, frameType},
        splices, bufferList);
  });
}

const VideoDecoderH265::Parameter* VideoDecoderH265::codecParameter(uint32_t key) const {
  using This = VideoDecoderH265;
  static constexpr Parameter kRows[] = {
      parameterField<VideoDecoderBufferStream, &This::maxTemporalLayer>(kKeyMaxTemporalLayer),
      parameterField<VideoDecoderBufferStream, &This::loop_filter>(kKeyLoopFilter),
      parameterField<VideoDecoderBufferStream, &This::output_8bit>(kKeyOutput8Bit),
      parameterField<VideoDecoderBufferStream, &This::mv_precision>(kKeyMvPrecision),
      parameterField<VideoDecoderBufferStream, &This::dpb_size>(kKeyDpbSize),
      parameterField<VideoDecoderBufferStream, &This::ec>(kKeyEc),
  };
  return findParameter(kRows, key);
}

void VideoDecoderH265::readDisplaySize(const mc_seq_params_ex_t& info, uint32_t* width,
                                       uint32_t* height) const {
  displaySizeOfPictureAspect(info, width, height);
}

std::string VideoDecoderH265::describeAspect(const mc_seq_params_ex_t& info) const {
  return describePictureAspect(info);
}

}  // namespace qvs
