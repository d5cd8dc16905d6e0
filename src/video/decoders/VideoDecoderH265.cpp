// H.265 in: configuration records, parameter sets with the first key frame, display size.
#include "video/decoders/VideoDecoderH265.h"

#include <mc_decoder_codes.h>

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

constexpr uint32_t kVps = 32;
constexpr uint32_t kSps = 33;
constexpr uint32_t kPps = 34;
constexpr uint32_t kDelimiter = 35;
constexpr NalRules kRules{
    .typeShift = 1, .typeMask = 63, .delimiterType = kDelimiter, .setTypes = {kVps, kSps, kPps}};

constexpr uint32_t kStartCodeLength = 4;
constexpr uint32_t kLengthSizeAt = 21;
constexpr uint32_t kArraysAt = 22;
constexpr uint32_t kShortestRecord = 24;

}  // namespace

VideoDecoderH265::VideoDecoderH265()
    : VideoDecoderBufferStream(kRow),
      splicer(kRules),
      parameters{{{kKeyMaxTemporalLayer, &maxTemporalLayer, true},
                  {kKeyLoopFilter, &loop_filter, false},
                  {kKeyOutput8Bit, &output_8bit, false},
                  {kKeyMvPrecision, &mv_precision, false},
                  {kKeyDpbSize, &dpb_size, false},
                  {kKeyEc, &ec, false}}} {}

bufstream_tt* VideoDecoderH265::createBackEnd(callbacks_t* callbacks) {
  return createDecoderHEVC(callbacks, 0, 0);
}

void VideoDecoderH265::storeSet(uint32_t type, const uint8_t* set, uint32_t len) {
  struct Store {
    uint32_t type;
    Bytes& bytes;
    uint32_t& len;
  };
  for (const Store& store : {Store{kVps, vpsFrame, vpsFrameLen}, Store{kSps, spsFrame, spsFrameLen},
                             Store{kPps, ppsFrame, ppsFrameLen}}) {
    if (store.type == type)
      replaceSet(store.bytes, store.len, withStartCode(set, len), len + kStartCodeLength);
  }
}

// Takes the last unit of each kind; a record that is cut short gives what it holds.
void VideoDecoderH265::decodeHVCC(const uint8_t* record, uint32_t len) {
  uint32_t at = kArraysAt;
  while (at < len && len - at >= 2) {
    uint32_t arrays = record[at++];
    for (; arrays != 0 && len - at >= 3; --arrays) {
      const uint32_t type = record[at] & 63;
      uint32_t units = readWord(record + at + 1);
      at += 3;
      for (; units != 0; --units) {
        if (len - at < 2) return;
        const uint32_t unitLen = readWord(record + at);
        at += 2;
        if (unitLen > len - at) return;
        storeSet(type, record + at, unitLen);
        at += unitLen;
      }
    }
    if (arrays != 0) return;  // cut short
  }
}

uint32_t VideoDecoderH265::decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return guarded(kRow.labels.decodeCodecConfig, [&]() -> uint32_t {
    if (vid_dec == nullptr) return kSuccess;
    const uint8_t* record = buffer + offset;
    if (buffer == nullptr) len = 0;
    decodeHVCC(record, len);
    nalUnitLen = len < kShortestRecord ? 4 : (record[kLengthSizeAt] & 3u) + 1;
    const bool complete = vpsFrame && spsFrame && ppsFrame;
    if (complete && isFirstCodecConfig != 0) setUp();
    return kSuccess;
  });
}

// The parameter sets go in with the first key frame.
void VideoDecoderH265::setUp() {
  send(PARSE_INIT);
  send(PARSE_OPTIONS, kOptionAlways);
  sendWorkers();
  send(SET_LOOP_FILTER_MODE, loop_filter);
  send(SET_MV_PRECISION, mv_precision);
  send(PARSE_SEQ_HDR);
  send(INIT_FRAME_PARSER);
  send(PARSE_FRAMES);
  send(SET_OUTPUT_8BIT, static_cast<uint32_t>(maxTemporalLayer));
  isFirstCodecConfig = 0;
}

uint32_t VideoDecoderH265::addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                    uint32_t frameType) {
  return guarded(kRow.labels.addFrame, [&]() -> uint32_t {
    const NalSplices splices{
        headerBuffer.get(),
        {},
        {{{vpsFrame.get(), vpsFrameLen}, {spsFrame.get(), spsFrameLen}, {ppsFrame.get(), ppsFrameLen}}}};
    return splicer.splice({buffer + offset, buffer != nullptr ? len : 0, nalUnitLen, timecode, frameType},
                          splices, bufferList);
  });
}

void VideoDecoderH265::readDisplaySize(const mc_seq_params_ex_t& info, uint32_t* width,
                                       uint32_t* height) const {
  displaySizeOfPictureAspect(info, width, height);
}

std::string VideoDecoderH265::describeAspect(const mc_seq_params_ex_t& info) const {
  return describePictureAspect(info);
}

}  // namespace qvs
