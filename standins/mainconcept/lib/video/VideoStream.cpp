// The video decoder behind a stream record: bytes and commands in, frames and states out.
#include "video/VideoStream.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "mc_decoder_codes.h"
#include "video/Mpeg2Header.h"
#include "video/StartCodes.h"

namespace qvs::mc {

namespace {

constexpr uint32_t kAnswered = 0;
constexpr uint32_t kUnknownCode = 1;
constexpr uint32_t kRefused = 2;

VideoStream& owner(bufstream_tt* stream) {
  return *static_cast<VideoStream*>(stream->Buf_IO_struct);
}

uint32_t copyBytesOf(bufstream_tt* stream, uint8_t* bytes, uint32_t size) {
  return owner(stream).copyBytes(bytes, size);
}

uint32_t commandOf(bufstream_tt* stream, uint32_t value, uint32_t code, void* data, uint32_t size) {
  return owner(stream).command(value, code, data, size);
}

void doneOf(bufstream_tt*, int32_t) {}

void freeOf(bufstream_tt* stream) {
  delete &owner(stream);
}

template <typename Record>
uint32_t givePointer(void* data, Record* record) {
  if (data == nullptr) return kRefused;
  *static_cast<Record**>(data) = record;
  return record != nullptr ? kAnswered : kRefused;
}

}  // namespace

VideoStream::VideoStream(const VideoCodecRow& codecRow) : row(codecRow) {
  table.copybytes = copyBytesOf;
  table.auxinfo = commandOf;
  table.done = doneOf;
  table.free = freeOf;
  table.Buf_IO_struct = this;
}

// Late: the settings of the set-up come first, and a stream whose configuration never came must decode too.
bool VideoStream::openCodec() {
  if (codec.isOpen()) return true;
  if (failed) return false;
  static const UnitBuffer none;
  failed = !codec.open(row.codec, options, row.headerIsStream && sequenceKnown ? header : none);
  return !failed;
}

// 0 means refused: the host gives the unit up when that goes on.
uint32_t VideoStream::copyBytes(const uint8_t* bytes, uint32_t size) {
  if (bytes == nullptr || size == 0) return drain();
  if (!headerPhase && !openCodec()) return 0;
  UnitBuffer& gathered = headerPhase ? header : unit;
  return gathered.append(bytes, size) ? size : 0;
}

// Without END_OF_UNIT the next unit's record is what tells that the last one is whole.
void VideoStream::beginUnit(const void* record, uint32_t size) {
  headerPhase = false;
  endUnit();
  if (record == nullptr || size > lastRecord.bytes.size()) return;
  std::memcpy(lastRecord.bytes.data(), record, size);
  lastRecord.set = true;
}

void VideoStream::endUnit() {
  if (headerPhase || unit.empty()) return;
  // At a new size the codec would drop the picture that it holds back.
  bool newSize = false;
  if (row.aspect == AspectKind::kCode) {
    if (const auto info = readMpeg2Header(unit.data(), unit.size())) {
      aspectCode = info->aspectCode;
      newSize = sequenceKnown && (info->width != sequence.width || info->height != sequence.height);
    }
    if (pairing.isBrokenBy(unit.data(), unit.size())) dropLoneField();
  }
  records[static_cast<size_t>(unitNumber) % kUnitsInFlight] = lastRecord;
  if (openCodec())
    announce(newSize ? codec.decodeAfterDrain(unit, unitNumber) : codec.decode(unit, unitNumber));
  ++unitNumber;
  unit.clear();
}

// The codec forgets the field that it waits for where a group of pictures begins.
void VideoStream::dropLoneField() {
  static constexpr uint8_t kGroupHeader[] = {0, 0, 1, 0xB8, 0, 8, 0, 0};
  unit.prepend(kGroupHeader, sizeof kGroupHeader);
  if (unitNumber != 0) records[static_cast<size_t>(unitNumber - 1) % kUnitsInFlight].damaged = true;
}

// Answers 0 when nothing further comes.
uint32_t VideoStream::drain() {
  endUnit();
  if (headerPhase || !codec.isOpen()) return 0;
  const CodecResult result = codec.drain();
  announce(result);
  return result == CodecResult::kPicture ? 1 : 0;
}

void VideoStream::announce(CodecResult result) {
  pictureReady = fieldsReady = false;
  if (result == CodecResult::kPicture) announcePicture();
  if (result == CodecResult::kRefused) state |= PARSE_DONE_FLAG | PIC_DECODED_FLAG | PIC_ERROR_FLAG;
}

void VideoStream::announcePicture() {
  const AVFrame& picture = codec.picture();
  pictureReady = true;
  state |= PARSE_DONE_FLAG | PIC_DECODED_FLAG | PIC_FULL_FLAG | PIC_VALID_FLAG;
  if ((picture.flags & AV_FRAME_FLAG_CORRUPT) != 0 || picture.decode_error_flags != 0)
    state |= PIC_ERROR_FLAG;
  if (picture.pts >= 0) pictureRecord = records[static_cast<size_t>(picture.pts) % kUnitsInFlight];
  if (pictureRecord.damaged) state |= PIC_ERROR_FLAG;
  pictureParams.picture_coding_type = picture.pict_type;
  pictureParams.progressive_frame = picture.interlaced_frame == 0 ? 1 : 0;
  pictureParams.top_field_first = picture.top_field_first;
  pictureParams.repeat_first_field = picture.repeat_pict;
  // RGB has become YUV by the matrix of its height.
  pictureParams.matrix_coefficients =
      picture.colorspace != AVCOL_SPC_RGB ? picture.colorspace : AVCOL_SPC_UNSPECIFIED;
  pictureParams.video_full_range = picture.color_range == AVCOL_RANGE_JPEG ? 1 : 0;
  // The description belongs to the picture that comes out, not to the unit that went in: a change of size
  // takes effect with its first picture, in presentation order.
  SequenceInfo info = describe(codec.info(), picture);
  info.aspectCode = aspectCode;
  info.reorder = sequence.reorder;
  // A rate that only the configuration told stays.
  if (info.rateNumerator == 0) {
    info.rateNumerator = sequence.rateNumerator;
    info.rateDenominator = sequence.rateDenominator;
  }
  // Their code says it all; pixel shapes are derived from it.
  if (row.aspect == AspectKind::kCode) info.pixelAspectWidth = 0;
  info.simplify();
  if (!sequenceKnown || !(info == sequence)) {
    describeSequence(info);
    state |= SEQ_HDR_FLAG;
  }
}

void VideoStream::describeSequence(const SequenceInfo& info) {
  sequence = info;
  sequence.simplify();
  sequenceKnown = true;
  sequenceSize = {info.width, info.height};
  sequenceParams = {};
  sequenceParams.horizontal_size = info.width;
  sequenceParams.vertical_size = info.height;
  sequenceParams.aspect_ratio_information = info.aspectCode;
  sequenceParams.scale = info.rateNumerator;
  sequenceParams.units = info.rateDenominator;
  int64_t width = info.pixelAspectWidth;
  int64_t height = info.pixelAspectHeight;
  // An untold pixel shape counts as square, so that a host that scales by the picture's aspect keeps its
  // size.
  if (row.aspect == AspectKind::kPicture) {
    if (width <= 0 || height <= 0) width = height = 1;
    width *= info.width;
    height *= info.height;
  }
  if (width <= 0 || height <= 0) return;
  const int64_t divisor = std::gcd(width, height);
  sequenceParams.aspect_ratio_width = static_cast<int32_t>(std::min<int64_t>(width / divisor, INT32_MAX));
  sequenceParams.aspect_ratio_height = static_cast<int32_t>(std::min<int64_t>(height / divisor, INT32_MAX));
}

// Whether it was understood.
bool VideoStream::readHeader() {
  const auto info = row.readHeader(header, row.codec);
  if (!info) return false;
  cutHeader();
  state |= SEQ_HDR_FLAG | PARSE_DONE_FLAG;
  aspectCode = info->aspectCode;
  options.reorder = info->reorder;
  if (info->width != 0) describeSequence(*info);
  return true;
}

// The codec would take a picture in the header for shown, and the bare code of a group, which some put there to
// make parsers finish, for a start at which pictures can be shown although what they were made from lacks.
void VideoStream::cutHeader() {
  const uint8_t* bytes = header.data();
  const size_t size = header.size();
  if (row.startsPicture == nullptr) return;
  for (size_t at = findStartCode(bytes, size, 0); at + 3 < size; at = findStartCode(bytes, size, at + 3)) {
    if (row.startsPicture(bytes[at + 3])) return header.dropEnd(size - at);
  }
}

uint32_t VideoStream::cleanState() {
  if (headerPhase) readHeader();
  const uint32_t bits = state;
  state = 0;
  return bits;
}

uint32_t VideoStream::parseFed() {
  if (headerPhase) {
    // What is kept for a header in pieces is bounded, else many units without one would be searched over and over.
    if (!readHeader() && header.size() > kHeaderMax) header.clear();
  } else {
    endUnit();
    if (!openCodec()) state |= PARSE_ERR_FLAG;
  }
  const uint32_t bits = state;
  state = 0;
  return bits;
}

// The filter runs once a picture, at its first fetch, and never for progressive ones.
const AVFrame* VideoStream::chooseField(uint32_t value) {
  const AVFrame& picture = codec.picture();
  const bool oneField = (value & GET_PIC_FIELD) != 0;
  if (picture.interlaced_frame == 0 || (!oneField && (parseOptions & PARSE_OPTION_DEINTERLACE) == 0))
    return &picture;
  const auto rate = oneField ? Deinterlacer::Rate::kDouble : Deinterlacer::Rate::kSingle;
  if (!fieldsReady || fieldsRate != rate) fieldsReady = deinterlacer.put(picture, rate);
  fieldsRate = rate;
  if (!fieldsReady) return &picture;
  const bool bottom = (value & GET_PIC_FIELD_BOTTOM) != 0;
  const bool second = oneField && bottom == (picture.top_field_first != 0);
  const AVFrame* field = deinterlacer.get(second);
  return field != nullptr ? field : &picture;
}

uint32_t VideoStream::writePicture(uint32_t value, mc_frame_t* target) {
  if (!pictureReady || target == nullptr) return kRefused;
  return writer.write(*chooseField(value), *target) ? kAnswered : kRefused;
}

uint32_t VideoStream::command(uint32_t value, uint32_t code, void* data, uint32_t size) {
  switch (code) {
    case PARSE_SEQ_HDR:
      header.clear();
      headerPhase = true;
      return kAnswered;
    case PARSE_OPTIONS:
      parseOptions = value;
      return kAnswered;
    case SET_CPU_NUM:
      options.workers = static_cast<int32_t>(std::min(value, 64u));
      return kAnswered;
    case SET_SMP_MODE:
      options.sliceThreads = value != 0;
      return kAnswered;
    case SET_LOOP_FILTER_MODE:
      options.loopFilter = value != 0;
      return kAnswered;
    case PARSE_FRAMES:
      return parseFed();
    case INIT_FRAME_PARSER:
      headerPhase = false;
      return kAnswered;
    case SET_PIC_PTS:
    case SET_USER_DATA:
      beginUnit(data, size);
      return kAnswered;
    case END_OF_UNIT:
      headerPhase = false;
      endUnit();
      return kAnswered;
    case GET_PARSE_STATE:
      return state;
    case CLEAN_PARSE_STATE:
      return cleanState();
    case GET_SEQ_PARAMSP:
      return givePointer(data, sequenceKnown ? &sequenceSize : nullptr);
    case GET_SEQ_PARAMSPEX:
      return givePointer(data, sequenceKnown ? &sequenceParams : nullptr);
    case GET_PIC_PARAMSPEX:
      return givePointer(data, pictureReady ? &pictureParams : nullptr);
    case GET_LAST_PTS:
    case GET_USER_DATAP:
      return givePointer(data, pictureReady && pictureRecord.set ? pictureRecord.bytes.data() : nullptr);
    case GET_PIC:
      return writePicture(value, static_cast<mc_frame_t*>(data));
    case PARSE_INIT:
    case SET_OUTPUT_8BIT:
    case SET_MV_PRECISION:
    case SET_DPB_SIZE:
    case SET_ERROR_CONCEALMENT:
    case HWACC_SET_ACC_MODE:
      return kAnswered;
    default:
      return kUnknownCode;
  }
}

}  // namespace qvs::mc
