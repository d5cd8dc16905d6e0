// H.264 in: configuration records, stored parameter sets, display size.
#include "video/decoders/VideoDecoderH264.h"

#include <fmt/format.h>
#include <mc_decoder_codes.h>

#include <utility>

#include "contract/FrameTypes.h"
#include "contract/StageIds.h"
#include "log/ILogger.h"
#include "platform/Guard.h"
#include "video/decoders/H26XCommon.h"

namespace qvs {

namespace {

constexpr BufStreamCodec kRow{
    .labels = QVS_BUFSTREAM_LABELS("VideoDecoderH264"),
    .codec = kVideoCodecH264,
    .record = UnitRecord::kTimestamp,
    .infoFlags = SEQ_HDR_FLAG | GOP_HDR_FLAG,
    .infoAlwaysReported = false,
    .secondFetch = SecondFetch::kByDecodeCount,
    .unitPerBlock = false,
    .plainDoubleRate = true,
    .asksDeinterlace = true,
    .missingInfo = static_cast<uint32_t>(-2),
};

constexpr uint32_t kDelimiterLength = 6;

}  // namespace

VideoDecoderH264::VideoDecoderH264() : VideoDecoderBufferStream(kRow), splicer(kNalRulesH264) {}

bufstream_tt* VideoDecoderH264::createBackEnd(callbacks_t* callbacks) {
  return createDecoderAVC(callbacks, 0, 0);
}

void VideoDecoderH264::reportOverrun(const ParameterSets::Overrun& overrun, size_t len) {
  getLogger()->info(
      kLogContextVideoDecoder, 0,
      fmt::format("VideoDecoderH264.decodeCodecConfig[{{context}}]: Failed to decode h.264 codec config. "
                  "{} ({}) overruns buffer of len ({})",
                  overrun.field, overrun.value, len));
}

uint32_t VideoDecoderH264::decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return guarded(kRow.labels.decodeCodecConfig, [&]() -> uint32_t {
    if (!vid_dec) return kSuccess;
    const ParameterSets::View record = recordOf(buffer, offset, len);
    ParameterSets read;
    const ParameterSets::Overrun overrun = read.readAvcRecord(record);
    storeSets(std::move(read));
    if (overrun.field != nullptr) {
      reportOverrun(overrun, record.size());  // no failure: the decoder goes on with what it has
      return kSuccess;
    }
    return isFirstCodecConfig != 0 ? setUp() : kSuccess;
  });
}

uint32_t VideoDecoderH264::setUp() {
  vid_dec.send(PARSE_INIT);
  vid_dec.send(PARSE_OPTIONS, kOptionAlways | deinterlaceOption());
  sendWorkers();
  vid_dec.send(SET_LOOP_FILTER_MODE, loop_filter);
  vid_dec.send(SET_OUTPUT_8BIT, output_8bit);
  vid_dec.send(SET_MV_PRECISION, mv_precision);
  vid_dec.send(SET_DPB_SIZE, dpb_size);
  vid_dec.send(SET_ERROR_CONCEALMENT, ec);
  vid_dec.send(PARSE_SEQ_HDR);
  vid_dec.feedAll(parameterSets.spsFrame);
  vid_dec.send(CLEAN_PARSE_STATE);  // what the first set alone gives doesn't count
  vid_dec.feedAll(parameterSets.ppsFrame);
  return finishSetUp(vid_dec.send(CLEAN_PARSE_STATE));
}

uint32_t VideoDecoderH264::addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                    uint32_t frameType) {
  return guarded(kRow.labels.addFrame, [&]() -> uint32_t {
    lastTimecodeDebug = timecode;
    uint8_t* delimiter = frameType == kFrameTypeKey             ? audKFrame.get()
                         : frameType == kFrameTypeBidirectional ? audBFrame.get()
                                                                : audPFrame.get();
    const NalSplices splices{headerBuffer.get(),
                             {delimiter, kDelimiterLength},
                             {spliced(parameterSets.spsFrame), spliced(parameterSets.ppsFrame)}};
    return splicer.splice(
        {buffer + offset, buffer != nullptr ? len : 0, parameterSets.nalUnitLen, timecode, frameType},
        splices, bufferList);
  });
}

const VideoDecoderH264::Parameter* VideoDecoderH264::codecParameter(uint32_t key) const {
  using This = VideoDecoderH264;
  static constexpr Parameter kRows[] = {
      parameterField<VideoDecoderBufferStream, &This::loop_filter>(kKeyLoopFilter),
      parameterField<VideoDecoderBufferStream, &This::output_8bit>(kKeyOutput8Bit),
      parameterField<VideoDecoderBufferStream, &This::mv_precision>(kKeyMvPrecision),
      parameterField<VideoDecoderBufferStream, &This::dpb_size>(kKeyDpbSize),
      parameterField<VideoDecoderBufferStream, &This::ec>(kKeyEc),
  };
  return findParameter(kRows, key);
}

void VideoDecoderH264::readDisplaySize(const mc_seq_params_ex_t& info, uint32_t* width,
                                       uint32_t* height) const {
  displaySizeOfPictureAspect(info, width, height);
}

std::string VideoDecoderH264::describeAspect(const mc_seq_params_ex_t& info) const {
  return describePictureAspect(info);
}

}  // namespace qvs
