// The driver of video decoders behind a stream record: parameters, set-up, feeding, frames out.
#include "video/decoders/VideoDecoderBufferStream.h"

#include <fmt/format.h>
#include <mc_decoder_codes.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "bufstream/MainConceptCallbacks.h"
#include "contract/DecodeFlags.h"
#include "contract/FrameTypes.h"
#include "frames/VideoFrameBuffer.h"
#include "log/ILogger.h"
#include "platform/FreeDeleter.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr uint32_t kHeaderNotUnderstood = static_cast<uint32_t>(-2);
constexpr uint32_t kNoMemory = static_cast<uint32_t>(-3);
constexpr double kUsualFrameRate = 25.0;

}  // namespace

VideoDecoderBufferStream::VideoDecoderBufferStream(const BufStreamCodec& codecRow) : row(codecRow) {
  codec = row.codec;
  init_callbacks(callbacks);
}

VideoDecoderBufferStream::~VideoDecoderBufferStream() {
  VideoDecoderBufferStream::close();
}

uint32_t VideoDecoderBufferStream::initialize() {
  return guarded(row.labels.initialize, [&]() -> uint32_t {
    close();
    return vid_dec.open(createBackEnd(&callbacks)) ? kSuccess : kFailure;
  });
}

uint32_t VideoDecoderBufferStream::close() {
  bufferList.clear();
  if (!vid_dec) return kSuccess;
  vid_dec.close();
  isFirstCodecConfig = 1;  // a new back end has to be set up again
  return kSuccess;
}

void VideoDecoderBufferStream::sendWorkers() {
  vid_dec.sendSetting(SET_CPU_NUM, optCPUNum);
  vid_dec.sendSetting(SET_SMP_MODE, optSMPMode);
  vid_dec.sendSetting(HWACC_SET_ACC_MODE, optACCMode);
}

uint32_t VideoDecoderBufferStream::deinterlaceOption() const {
  if (!row.asksDeinterlace || deinterlace == 0) return 0;
  if (row.plainDoubleRate && deinterlaceDoubleRate != 0) return 0;
  return deinterlace == 1 ? static_cast<uint32_t>(PARSE_OPTION_DEINTERLACE) : deinterlace;
}

// Blocks that were spliced before a new configuration came must not outlive the old one.
void VideoDecoderBufferStream::storeSets(ParameterSets read) {
  parameterSets.nalUnitLen = read.nalUnitLen;
  for (auto set : {&ParameterSets::vpsFrame, &ParameterSets::spsFrame, &ParameterSets::ppsFrame}) {
    ParameterSets::Bytes& stored = parameterSets.*set;
    ParameterSets::Bytes& fresh = read.*set;
    if (fresh.empty()) continue;
    const uint8_t* const end = stored.data() + stored.size();
    for (size_t i = 0; i < bufferList.size(); ++i) {
      ByteBlock& block = bufferList[i];
      if (block.buffer < stored.data() || block.buffer >= end) continue;
      block.buffer = fresh.data();
      block.len = static_cast<uint32_t>(fresh.size());
    }
    stored.swap(fresh);
  }
}

uint32_t VideoDecoderBufferStream::setUpWithHeader(ParameterSets::View record,
                                                   std::span<const uint8_t> suffix) {
  if (!vid_dec) return kFailure;
  const size_t size = record.size() + suffix.size();
  const std::unique_ptr<uint8_t[], FreeDeleter> header(static_cast<uint8_t*>(std::malloc(size)));
  if (header == nullptr) return kNoMemory;
  std::copy(record.begin(), record.end(), header.get());
  std::copy(suffix.begin(), suffix.end(), header.get() + record.size());
  if (isFirstCodecConfig == 0) return kSuccess;
  vid_dec.send(PARSE_INIT);
  vid_dec.send(PARSE_OPTIONS, kOptionAlways | deinterlaceOption());
  sendWorkers();
  vid_dec.send(PARSE_SEQ_HDR);
  vid_dec.feedAll({header.get(), size});
  return finishSetUp(vid_dec.send(CLEAN_PARSE_STATE));
}

// The back end is set up once; a header that it didn't understand isn't tried again.
uint32_t VideoDecoderBufferStream::finishSetUp(uint32_t state) {
  isFirstCodecConfig = 0;
  constexpr uint32_t kUnderstood = SEQ_HDR_FLAG | PARSE_DONE_FLAG;
  if ((state & kUnderstood) != kUnderstood) {
    vid_dec.send(END_OF_UNIT);  // else a unit without a record would be taken for more of the header
    return kHeaderNotUnderstood;
  }
  updateDecodeInfo();
  vid_dec.send(INIT_FRAME_PARSER);
  vid_dec.send(PARSE_FRAMES);
  return kSuccess;
}

uint32_t VideoDecoderBufferStream::decode(uint32_t* flags) {
  return decodeProcess(flags, endOfStream != 0 && bufferList.empty());
}

uint32_t VideoDecoderBufferStream::flush(uint32_t* flags) {
  return decodeProcess(flags, true);
}

uint32_t VideoDecoderBufferStream::decodeProcess(uint32_t* flags, bool flushing) {
  *flags = 0;
  const uint32_t result = guarded(row.labels.decode, [&]() -> uint32_t {
    if (vid_dec) {
      decodeStep(flags, flushing);
    } else {
      *flags |= flushing ? DecodeFlagFlushed : 0u;
      bufferList.clear();
    }
    return kSuccess;
  });
  if (result != kSuccess) *flags |= DecodeFlagAborted;
  if (bufferList.empty()) *flags |= DecodeFlagInputDone;
  if ((*flags & (DecodeFlagInputDone | DecodeFlagAborted)) != 0) bufferList.clear();
  return result;
}

void VideoDecoderBufferStream::decodeStep(uint32_t* flags, bool flushing) {
  uint32_t rounds = 0;
  uint32_t state = 0;
  while (flushing || !bufferList.empty()) {
    const bool drained = bufferList.empty();
    // An empty feed is the nudge at the end of a stream.
    const uint32_t taken = drained ? vid_dec.feed(nullptr, 0) : feedFront();
    if (drained && taken == 0) *flags |= DecodeFlagFlushed;
    if ((drained || taken == 0) && ++rounds > kRoundsMax) {
      *flags |= DecodeFlagAborted;
      bufferList.clear();
      break;
    }
    state = vid_dec.send(CLEAN_PARSE_STATE);
    if ((state & PARSE_DONE_FLAG) != 0 || (*flags & DecodeFlagFlushed) != 0) break;
  }
  if ((state & PARSE_DONE_FLAG) != 0) takeDoneState(state, flags);
}

// Gives the bytes taken. A remainder stays in front, without its record.
uint32_t VideoDecoderBufferStream::feedFront() {
  ByteBlock& block = bufferList.front();
  if (block.frameType != 0) sendRecord(block);
  const uint32_t taken = block.len != 0 ? vid_dec.feed(block.buffer, block.len) : 0;
  if (taken < block.len) {
    block.buffer += taken;
    block.len -= taken;
    return taken;
  }
  const uint32_t len = block.len;
  bufferList.pop();
  // Lets the picture come now instead of with the next unit.
  if (row.unitPerBlock || bufferList.empty()) vid_dec.send(END_OF_UNIT);
  return len != 0 ? len : 1;
}

void VideoDecoderBufferStream::sendRecord(ByteBlock& block) {
  if (row.record == UnitRecord::kTimestamp) {
    zarvo_dec_timestamp_s record{{block.timecode, 0}, block.frameType};
    vid_dec.send(SET_PIC_PTS, 0, &record, sizeof record);
  } else {
    zarvo_dec_userdata_s record{block.frameType, block.timecode};
    vid_dec.send(SET_USER_DATA, 0, &record, sizeof record);
  }
  block.frameType = 0;
}

void VideoDecoderBufferStream::takeDoneState(uint32_t state, uint32_t* flags) {
  if ((state & row.infoFlags) != 0) {
    const bool updated = updateDecodeInfo() == kSuccess;
    if (updated || row.infoAlwaysReported) *flags |= DecodeFlagInfoUpdated;
  }
  constexpr uint32_t kPicture = PIC_DECODED_FLAG | PIC_VALID_FLAG;
  if ((state & kPicture) == kPicture) {
    takePicture();
    *flags |= DecodeFlagFrameAvailable;
  }
  if ((state & PIC_ERROR_FLAG) != 0) *flags |= DecodeFlagFrameError;
  if ((state & PIC_FULL_FLAG) == 0) *flags |= DecodeFlagFrameNotReady;
  *flags |= DecodeFlagPictureDone;
  ++framesDecoded;
}

void VideoDecoderBufferStream::takePicture() {
  takeRecord();
  takePictureFlags();
}

// A picture without a record keeps the time and type of the one before.
void VideoDecoderBufferStream::takeRecord() {
  if (row.record == UnitRecord::kTimestamp) {
    const auto* record = vid_dec.ask<zarvo_dec_timestamp_s>(GET_LAST_PTS);
    if (record == nullptr) return;
    decodedFrameType = record->frameType;
    decodedFrameTimecode = record->timecode[0];
  } else {
    const auto* record = vid_dec.ask<zarvo_dec_userdata_s>(GET_USER_DATAP);
    if (record == nullptr) return;
    decodedFrameType = record->frameType;
    decodedFrameTimecode = record->timecode;
  }
}

void VideoDecoderBufferStream::takePictureFlags() {
  decodedFrameFlags = 0;
  const auto* picture = vid_dec.ask<mc_pic_params_ex_t>(GET_PIC_PARAMSPEX);
  if (picture == nullptr || deinterlace != 0 || picture->progressive_frame != 0) return;
  decodedFrameFlags = kFrameFlagInterlaced | (picture->top_field_first == 0 ? kFrameFlagBottomFieldFirst : 0);
}

uint32_t VideoDecoderBufferStream::updateDecodeInfo() {
  mc_seq_params_ex_t* info = nullptr;
  if (vid_dec.send(GET_SEQ_PARAMSPEX, 0, &info, sizeof info) != kSuccess || info == nullptr)
    return row.missingInfo;
  const double rate = info->units > 0 ? static_cast<double>(info->scale) / info->units : 0.0;
  uint32_t width = 0, height = 0;
  readDisplaySize(*info, &width, &height);
  const auto codedWidth = static_cast<uint32_t>(info->horizontal_size);
  const auto codedHeight = static_cast<uint32_t>(info->vertical_size);
  // Stored through the virtual setters, so that derived classes and the session see one state.
  const bool changed = width != getDisplayWidth() || height != getDisplayHeight() ||
                       codedWidth != getFrameWidth() || codedHeight != getFrameHeight() ||
                       rate != getFrameRate();
  setDisplayWidth(width);
  setDisplayHeight(height);
  setFrameWidth(codedWidth);
  setFrameHeight(codedHeight);
  setFrameRate(rate);
  if (displayInfo != 0 || changed) logDecodeInfo(*info);
  displayInfo = 0;
  return kSuccess;
}

void VideoDecoderBufferStream::logDecodeInfo(const mc_seq_params_ex_t& info) {
  getLogger()->info(
      kLogContextVideoDecoder, 0,
      fmt::format("{}{} frame:{}x{} display:{}x{} frameRate:{:g} deinterlace:{}", row.labels.updateDecodeInfo,
                  describeAspect(info), getFrameWidth(), getFrameHeight(), getDisplayWidth(),
                  getDisplayHeight(), getFrameRate(), deinterlaceOption()));
}

uint32_t VideoDecoderBufferStream::getDecodedFrameSize(uint32_t* frameWidthOut, uint32_t* frameHeightOut,
                                                       uint32_t* displayWidthOut,
                                                       uint32_t* displayHeightOut) {
  *frameWidthOut = getFrameWidth();
  *frameHeightOut = getFrameHeight();
  *displayWidthOut = getDisplayWidth();
  *displayHeightOut = getDisplayHeight();
  return kSuccess;
}

uint32_t VideoDecoderBufferStream::getDecodedFrame(VideoFrameBuffer& target) {
  return guarded(row.labels.getDecodedFrame, [&]() -> uint32_t {
    if (!vid_dec) return kFailure;
    uint64_t timecode = decodedFrameTimecode;
    uint64_t flags = decodedFrameFlags;
    // A picture is fetched twice at double rate: which fetch this is shows in what has changed since the
    // last.
    const bool second = row.secondFetch == SecondFetch::kByTimecode ? lastGetFrameTC == decodedFrameTimecode
                                                                    : lastFramesDecoded == framesDecoded;
    const bool doubled = row.secondFetch != SecondFetch::kNone && deinterlaceDoubleRate != 0;
    if (doubled || deinterlace != 0) flags &= ~(kFrameFlagInterlaced | kFrameFlagBottomFieldFirst);
    const uint32_t result = doubled ? fetchDoubleRate(target.getFrame(), second, &timecode)
                                    : vid_dec.send(GET_PIC, 0, &target.getFrame(), sizeof(mc_frame_t));
    target.setFrameType(decodedFrameType);
    target.setTimecode(timecode);
    target.setDisplayWidth(static_cast<int32_t>(getDisplayWidth()));
    target.setDisplayHeight(static_cast<int32_t>(getDisplayHeight()));
    target.setLocations(VideoFrameBuffer::systemMem);
    target.setFlags(flags);
    lastGetFrameTC = decodedFrameTimecode;
    lastFramesDecoded = framesDecoded;
    return result;
  });
}

uint32_t VideoDecoderBufferStream::fetchDoubleRate(mc_frame_t& frame, bool second, uint64_t* timecode) {
  const auto* picture = vid_dec.ask<mc_pic_params_ex_t>(GET_PIC_PARAMSPEX);
  // First the field that was first in time.
  uint32_t selection = 0;
  if (picture != nullptr && picture->progressive_frame == 0) {
    const bool bottom = (picture->top_field_first != 0) == second;
    selection = GET_PIC_FIELD | (bottom ? static_cast<uint32_t>(GET_PIC_FIELD_BOTTOM) : 0u);
  }
  const double rate = getFrameRate() > 0 ? getFrameRate() : kUsualFrameRate;
  if (second) *timecode += static_cast<uint64_t>(1000.0 / (2 * rate));
  return vid_dec.send(GET_PIC, selection, &frame, sizeof frame);
}

const VideoDecoderBufferStream::Parameter* VideoDecoderBufferStream::parameterOf(uint32_t key) const {
  using This = VideoDecoderBufferStream;
  static constexpr Parameter kRows[] = {
      parameterField<This, &This::deinterlace>(kKeyDeinterlace),
      parameterField<This, &This::deinterlaceDoubleRate>(kKeyDeinterlaceDoubleRate),
      parameterField<This, &This::optCPUNum>(kKeyOptCPUNum),
      parameterField<This, &This::optSMPMode>(kKeyOptSMPMode),
      parameterField<This, &This::optACCMode>(kKeyOptACCMode),
      parameterField<This, &This::endOfStream>(kKeyEndOfStream),
  };
  const Parameter* common = findParameter(kRows, key);
  return common != nullptr ? common : codecParameter(key);
}

}  // namespace qvs
