// H.264 in: configuration records, stored parameter sets, display size.
#include "video/decoders/VideoDecoderH264.h"

#include <fmt/format.h>
#include <mc_decoder_codes.h>

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

constexpr NalRules kRules{.typeShift = 0, .typeMask = 31, .delimiterType = 9, .setTypes = {7, 8, 8}};

constexpr uint32_t kDelimiterLength = 6;
constexpr uint32_t kStartCodeLength = 4;
constexpr uint32_t kBidirectionalFrame = 3;
constexpr uint32_t kSpsLengthAt = 6;

}  // namespace

VideoDecoderH264::VideoDecoderH264()
    : VideoDecoderBufferStream(kRow),
      splicer(kRules),
      parameters{{{kKeyLoopFilter, &loop_filter, false},
                  {kKeyOutput8Bit, &output_8bit, false},
                  {kKeyMvPrecision, &mv_precision, false},
                  {kKeyDpbSize, &dpb_size, false},
                  {kKeyEc, &ec, false}}} {}

bufstream_tt* VideoDecoderH264::createBackEnd(callbacks_t* callbacks) {
  return createDecoderAVC(callbacks, 0, 0);
}

bool VideoDecoderH264::reportOverrun(const char* what, uint32_t value, uint32_t len) {
  getLogger()->info(
      kLogContextVideoDecoder, 0,
      fmt::format("VideoDecoderH264.decodeCodecConfig[{{context}}]: Failed to decode h.264 codec config. "
                  "{} ({}) overruns buffer of len ({})",
                  what, value, len));
  return false;
}

bool VideoDecoderH264::storeSets(const uint8_t* record, uint32_t len) {
  nalUnitLen = len > 4 ? (record[4] & 3u) + 1 : 4;
  if (len < kSpsLengthAt + 2) return reportOverrun("spsOffset", kSpsLengthAt, len);
  const uint32_t spsLen = readWord(record + kSpsLengthAt);
  const uint32_t spsAt = kSpsLengthAt + 2;
  if (spsLen == 0 || spsAt + spsLen + 3 > len) return reportOverrun("spsLen", spsLen, len);
  // Behind the set: the count of picture sets, taken for one, and the length of the first.
  const uint32_t ppsAt = spsAt + spsLen + 3;
  const uint32_t ppsLen = readWord(record + ppsAt - 2);
  if (ppsLen == 0 || ppsAt + ppsLen > len) return reportOverrun("ppsLen", ppsLen, len);
  replaceSet(spsFrame, spsFrameLen, withStartCode(record + spsAt, spsLen), spsLen + kStartCodeLength);
  replaceSet(ppsFrame, ppsFrameLen, withStartCode(record + ppsAt, ppsLen), ppsLen + kStartCodeLength);
  return true;
}

uint32_t VideoDecoderH264::decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return guarded(kRow.labels.decodeCodecConfig, [&]() -> uint32_t {
    if (vid_dec == nullptr) return kSuccess;
    // A bad record is no failure: the decoder goes on with what it has.
    if (!storeSets(buffer + offset, buffer != nullptr ? len : 0)) return kSuccess;
    return isFirstCodecConfig != 0 ? setUp() : kSuccess;
  });
}

uint32_t VideoDecoderH264::setUp() {
  send(PARSE_INIT);
  send(PARSE_OPTIONS, kOptionAlways | deinterlaceOption());
  sendWorkers();
  send(SET_LOOP_FILTER_MODE, loop_filter);
  send(SET_OUTPUT_8BIT, output_8bit);
  send(SET_MV_PRECISION, mv_precision);
  send(SET_DPB_SIZE, dpb_size);
  send(SET_ERROR_CONCEALMENT, ec);
  send(PARSE_SEQ_HDR);
  feedAll(spsFrame.get(), spsFrameLen);
  send(CLEAN_PARSE_STATE);  // what the first set alone gives doesn't count
  feedAll(ppsFrame.get(), ppsFrameLen);
  return finishSetUp(send(CLEAN_PARSE_STATE));
}

uint32_t VideoDecoderH264::addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                    uint32_t frameType) {
  return guarded(kRow.labels.addFrame, [&]() -> uint32_t {
    lastTimecodeDebug = timecode;
    uint8_t* delimiter = frameType == kFrameTypeKey         ? audKFrame.get()
                         : frameType == kBidirectionalFrame ? audBFrame.get()
                                                            : audPFrame.get();
    const NalSplices splices{headerBuffer.get(),
                             {delimiter, kDelimiterLength},
                             {{{spsFrame.get(), spsFrameLen}, {ppsFrame.get(), ppsFrameLen}, {}}}};
    return splicer.splice({buffer + offset, buffer != nullptr ? len : 0, nalUnitLen, timecode, frameType},
                          splices, bufferList);
  });
}

void VideoDecoderH264::readDisplaySize(const mc_seq_params_ex_t& info, uint32_t* width,
                                       uint32_t* height) const {
  displaySizeOfPictureAspect(info, width, height);
}

std::string VideoDecoderH264::describeAspect(const mc_seq_params_ex_t& info) const {
  return describePictureAspect(info);
}

}  // namespace qvs
