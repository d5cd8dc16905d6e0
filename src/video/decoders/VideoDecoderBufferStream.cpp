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

VideoDecoderBufferStream::VideoDecoderBufferStream(const BufStreamCodec& codecRow)
    : row(codecRow),
      commonParameters{{{kKeyDeinterlace, &deinterlace, false},
                        {kKeyDeinterlaceDoubleRate, &deinterlaceDoubleRate, false},
                        {kKeyOptCPUNum, &optCPUNum, true},
                        {kKeyOptSMPMode, &optSMPMode, true},
                        {kKeyOptACCMode, &optACCMode, true},
                        {kKeyEndOfStream, &endOfStream, false}}} {
  codec = row.codec;
  init_callbacks(callbacks);
}

VideoDecoderBufferStream::~VideoDecoderBufferStream() {
  VideoDecoderBufferStream::close();
}

uint32_t VideoDecoderBufferStream::initialize() {
  return guarded(row.labels.initialize, [&]() -> uint32_t {
    close();
    vid_dec = createBackEnd(&callbacks);
    return vid_dec != nullptr ? kSuccess : kFailure;
  });
}

uint32_t VideoDecoderBufferStream::close() {
  bufferList.clear();
  if (vid_dec == nullptr) return kSuccess;
  vid_dec->done(vid_dec, 1);
  vid_dec->free(vid_dec);
  vid_dec = nullptr;
  isFirstCodecConfig = 1;  // a new back end has to be set up again
  return kSuccess;
}

uint32_t VideoDecoderBufferStream::send(uint32_t code, uint32_t value, void* data, uint32_t size) {
  return vid_dec->auxinfo(vid_dec, value, code, data, size);
}

void VideoDecoderBufferStream::sendSetting(uint32_t code, int value) {
  if (value >= 0) send(code, static_cast<uint32_t>(value));
}

void VideoDecoderBufferStream::sendWorkers() {
  sendSetting(SET_CPU_NUM, optCPUNum);
  sendSetting(SET_SMP_MODE, optSMPMode);
  sendSetting(HWACC_SET_ACC_MODE, optACCMode);
}

uint32_t VideoDecoderBufferStream::deinterlaceOption() const {
  if (!row.asksDeinterlace || deinterlace == 0) return 0;
  if (row.plainDoubleRate && deinterlaceDoubleRate != 0) return 0;
  return deinterlace == 1 ? static_cast<uint32_t>(PARSE_OPTION_DEINTERLACE) : deinterlace;
}

void VideoDecoderBufferStream::feedAll(uint8_t* bytes, uint32_t len) {
  while (len != 0) {
    const uint32_t taken = vid_dec->copybytes(vid_dec, bytes, len);
    if (taken == 0 || taken > len) return;
    bytes += taken;
    len -= taken;
  }
}

// Blocks that were spliced before a new configuration came must not outlive the old one.
void VideoDecoderBufferStream::replaceSet(Bytes& stored, uint32_t& storedLen, Bytes set, uint32_t len) {
  for (size_t i = 0; i < bufferList.size(); ++i) {
    ByteBlock& block = bufferList[i];
    if (stored == nullptr || block.buffer < stored.get() || block.buffer >= stored.get() + storedLen)
      continue;
    block.buffer = set.get();
    block.len = len;
  }
  stored = std::move(set);
  storedLen = len;
}

uint32_t VideoDecoderBufferStream::setUpWithHeader(const uint8_t* record, uint32_t len,
                                                   std::span<const uint8_t> suffix) {
  if (vid_dec == nullptr) return kFailure;
  if (record == nullptr) len = 0;
  const size_t size = size_t{len} + suffix.size();
  const std::unique_ptr<uint8_t[], FreeDeleter> header(static_cast<uint8_t*>(std::malloc(size)));
  if (header == nullptr) return kNoMemory;
  std::copy_n(record, len, header.get());
  std::copy(suffix.begin(), suffix.end(), header.get() + len);
  if (isFirstCodecConfig == 0) return kSuccess;
  send(PARSE_INIT);
  send(PARSE_OPTIONS, kOptionAlways | deinterlaceOption());
  sendWorkers();
  send(PARSE_SEQ_HDR);
  feedAll(header.get(), static_cast<uint32_t>(size));
  return finishSetUp(send(CLEAN_PARSE_STATE));
}

// The back end is set up once; a header that it didn't understand isn't tried again.
uint32_t VideoDecoderBufferStream::finishSetUp(uint32_t state) {
  isFirstCodecConfig = 0;
  constexpr uint32_t kUnderstood = SEQ_HDR_FLAG | PARSE_DONE_FLAG;
  if ((state & kUnderstood) != kUnderstood) {
    send(END_OF_UNIT);  // else a unit without a record would be taken for more of the header
    return kHeaderNotUnderstood;
  }
  updateDecodeInfo();
  send(INIT_FRAME_PARSER);
  send(PARSE_FRAMES);
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
    if (vid_dec != nullptr) {
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
    const uint32_t taken = drained ? vid_dec->copybytes(vid_dec, nullptr, 0) : feedFront();
    if (drained && taken == 0) *flags |= DecodeFlagFlushed;
    if ((drained || taken == 0) && ++rounds > kRoundsMax) {
      *flags |= DecodeFlagAborted;
      bufferList.clear();
      break;
    }
    state = send(CLEAN_PARSE_STATE);
    if ((state & PARSE_DONE_FLAG) != 0 || (*flags & DecodeFlagFlushed) != 0) break;
  }
  if ((state & PARSE_DONE_FLAG) != 0) takeDoneState(state, flags);
}

// Gives the bytes taken. A remainder stays in front, without its record.
uint32_t VideoDecoderBufferStream::feedFront() {
  ByteBlock& block = bufferList.front();
  if (block.frameType != 0) sendRecord(block);
  const uint32_t taken = block.len != 0 ? vid_dec->copybytes(vid_dec, block.buffer, block.len) : 0;
  if (taken < block.len) {
    block.buffer += taken;
    block.len -= taken;
    return taken;
  }
  const uint32_t len = block.len;
  bufferList.pop();
  // Lets the picture come now instead of with the next unit.
  if (row.unitPerBlock || bufferList.empty()) send(END_OF_UNIT);
  return len != 0 ? len : 1;
}

void VideoDecoderBufferStream::sendRecord(ByteBlock& block) {
  if (row.record == UnitRecord::kTimestamp) {
    zarvo_dec_timestamp_s record{{block.timecode, 0}, block.frameType};
    send(SET_PIC_PTS, 0, &record, sizeof record);
  } else {
    zarvo_dec_userdata_s record{block.frameType, block.timecode};
    send(SET_USER_DATA, 0, &record, sizeof record);
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
    zarvo_dec_timestamp_s* record = nullptr;
    send(GET_LAST_PTS, 0, &record, sizeof record);
    if (record == nullptr) return;
    decodedFrameType = record->frameType;
    decodedFrameTimecode = record->timecode[0];
  } else {
    zarvo_dec_userdata_s* record = nullptr;
    send(GET_USER_DATAP, 0, &record, sizeof record);
    if (record == nullptr) return;
    decodedFrameType = record->frameType;
    decodedFrameTimecode = record->timecode;
  }
}

void VideoDecoderBufferStream::takePictureFlags() {
  decodedFrameFlags = 0;
  mc_pic_params_ex_t* picture = nullptr;
  send(GET_PIC_PARAMSPEX, 0, &picture, sizeof picture);
  if (picture == nullptr || deinterlace != 0 || picture->progressive_frame != 0) return;
  decodedFrameFlags = kFrameFlagInterlaced | (picture->top_field_first == 0 ? kFrameFlagBottomFieldFirst : 0);
}

uint32_t VideoDecoderBufferStream::updateDecodeInfo() {
  mc_seq_params_ex_t* info = nullptr;
  if (send(GET_SEQ_PARAMSPEX, 0, &info, sizeof info) != kSuccess || info == nullptr) return row.missingInfo;
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
    if (vid_dec == nullptr) return kFailure;
    uint64_t timecode = decodedFrameTimecode;
    uint64_t flags = decodedFrameFlags;
    // A picture is fetched twice at double rate: which fetch this is shows in what has changed since the
    // last.
    const bool second = row.secondFetch == SecondFetch::kByTimecode ? lastGetFrameTC == decodedFrameTimecode
                                                                    : lastFramesDecoded == framesDecoded;
    const bool doubled = row.secondFetch != SecondFetch::kNone && deinterlaceDoubleRate != 0;
    if (doubled || deinterlace != 0) flags &= ~(kFrameFlagInterlaced | kFrameFlagBottomFieldFirst);
    const uint32_t result = doubled ? fetchDoubleRate(target.getFrame(), second, &timecode)
                                    : send(GET_PIC, 0, &target.getFrame(), sizeof(mc_frame_t));
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
  mc_pic_params_ex_t* picture = nullptr;
  send(GET_PIC_PARAMSPEX, 0, &picture, sizeof picture);
  // First the field that was first in time.
  uint32_t selection = 0;
  if (picture != nullptr && picture->progressive_frame == 0) {
    const bool bottom = (picture->top_field_first != 0) == second;
    selection = GET_PIC_FIELD | (bottom ? static_cast<uint32_t>(GET_PIC_FIELD_BOTTOM) : 0u);
  }
  const double rate = getFrameRate() > 0 ? getFrameRate() : kUsualFrameRate;
  if (second) *timecode += static_cast<uint64_t>(1000.0 / (2 * rate));
  return send(GET_PIC, selection, &frame, sizeof frame);
}

const VideoDecoderBufferStream::Parameter* VideoDecoderBufferStream::parameterOf(uint32_t key) {
  for (const Parameter& parameter : commonParameters) {
    if (parameter.key == key) return &parameter;
  }
  for (const Parameter& parameter : codecParameters()) {
    if (parameter.key == key) return &parameter;
  }
  return nullptr;
}

uint32_t VideoDecoderBufferStream::setParameterValue(uint32_t key, int64_t value) {
  const Parameter* parameter = parameterOf(key);
  if (parameter == nullptr) return kSuccess;
  if (parameter->isSigned) {
    *static_cast<int*>(parameter->field) = static_cast<int>(value);
  } else {
    *static_cast<uint32_t*>(parameter->field) = static_cast<uint32_t>(value);
  }
  return kSuccess;
}

uint32_t VideoDecoderBufferStream::getParameterValueType(uint32_t key, uint32_t* arrayLength) {
  clear(arrayLength);
  return parameterOf(key) != nullptr ? kParameterLong : kParameterUnknown;
}

uint32_t VideoDecoderBufferStream::getParameterValue(uint32_t key, int64_t* value) {
  clear(value);
  const Parameter* parameter = parameterOf(key);
  if (parameter == nullptr || value == nullptr) return kSuccess;
  *value = parameter->isSigned ? int64_t{*static_cast<int*>(parameter->field)}
                               : int64_t{*static_cast<uint32_t*>(parameter->field)};
  return kSuccess;
}

}  // namespace qvs
