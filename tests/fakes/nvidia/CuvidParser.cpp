// The emulated video parser.
#include "CuvidParser.h"

#include <algorithm>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace qvs::fakes {
namespace {

constexpr size_t kSurfacesMost = 64;

}  // namespace

CuvidParser::CuvidParser(const CUVIDPARSERPARAMS& parameters, const CuvidCodec& codec)
    : callbacks(parameters),
      codec(codec),
      busy(std::clamp<size_t>(parameters.ulMaxNumDecodeSurfaces, 1, kSurfacesMost)) {
  openParser();
}

CuvidParser::~CuvidParser() {
  av_parser_close(splitter);
  avcodec_free_context(&context);
}

void CuvidParser::openParser() {
  if (splitter != nullptr) av_parser_close(splitter);
  avcodec_free_context(&context);
  splitter = av_parser_init(codec.avId);
  context = avcodec_alloc_context3(nullptr);
  context->codec_id = static_cast<AVCodecID>(codec.avId);
}

CUresult CuvidParser::parse(const CUVIDSOURCEDATAPACKET& packet) {
  failed = false;
  const bool timed = (packet.flags & CUVID_PKT_TIMESTAMP) != 0;
  if (packet.payload != nullptr && packet.payload_size != 0) {
    // libavcodec reads past the end.
    std::vector<uint8_t> bytes(packet.payload, packet.payload + packet.payload_size);
    bytes.resize(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE);
    feed(bytes.data(), static_cast<int>(packet.payload_size), timed ? packet.timestamp : AV_NOPTS_VALUE);
  }
  if ((packet.flags & (CUVID_PKT_ENDOFPICTURE | CUVID_PKT_ENDOFSTREAM)) != 0)
    feed(nullptr, 0, AV_NOPTS_VALUE);
  if ((packet.flags & CUVID_PKT_ENDOFSTREAM) != 0) {
    endPair(true);
    orderAll();
    show(0);
    started = false;
    openParser();
    if ((packet.flags & CUVID_PKT_NOTIFY_EOS) != 0) callbacks.pfnDisplayPicture(callbacks.pUserData, nullptr);
  }
  return failed ? CUDA_ERROR_UNKNOWN : CUDA_SUCCESS;
}

void CuvidParser::feed(const uint8_t* bytes, int size, int64_t timestamp) {
  do {
    uint8_t* out = nullptr;
    int length = 0;
    const int used =
        av_parser_parse2(splitter, context, &out, &length, bytes, size, timestamp, AV_NOPTS_VALUE, 0);
    timestamp = AV_NOPTS_VALUE;
    bytes = bytes != nullptr ? bytes + used : nullptr;
    size -= used;
    if (length > 0) unit(out, length);
  } while (size > 0);
}

void CuvidParser::unit(const uint8_t* bytes, int size) {
  const CuvidUnit found = scanUnit(codec, bytes, static_cast<size_t>(size));
  if (found.hasSequence && !startSequence(found, bytes, size)) return;
  if (found.endsSequence) started = false;
  if (found.slices.empty() || !known || !isDecodable(found)) return;
  const int structure = splitter->picture_structure;
  const int parity = codec.number != cudaVideoCodec_H264              ? 0
                     : structure == AV_PICTURE_STRUCTURE_TOP_FIELD    ? 1
                     : structure == AV_PICTURE_STRUCTURE_BOTTOM_FIELD ? 2
                                                                      : 0;
  const bool second = pair && parity != 0 && pair->parity != parity;
  if (!second) {
    endPair(true);
    flushBefore(found);
  }
  const int surface = second ? pair->info.picture_index : takeSurface();
  decode(found, bytes, size, surface, second);
  if (second) {
    pair->order = std::min<int64_t>(pair->order, splitter->output_picture_number);
    endPair(false);
  } else {
    enqueue(surface);
    if (parity != 0) {
      pair = waiting.back();
      waiting.pop_back();
      pair->parity = parity;
    }
  }
  if (!pair) {
    while (waiting.size() > static_cast<size_t>(sequence.reorder)) orderFirst();
  }
  show(callbacks.ulMaxDisplayDelay);
}

bool CuvidParser::startSequence(const CuvidUnit& unit, const uint8_t* bytes, int size) {
  if (known && unit.parameters == parameters) return true;
  CuvidSequence next;
  if (!readSequence(codec, {bytes, bytes + size},
                    {splitter->coded_width, splitter->coded_height, splitter->format}, next)) {
    return known;
  }
  endPair(true);
  orderAll();
  show(0);
  sequence = next;
  parameters = unit.parameters;
  const int answer = callbacks.pfnSequenceCallback != nullptr
                         ? callbacks.pfnSequenceCallback(callbacks.pUserData, &next.format)
                         : 1;
  known = answer > 0;
  failed = failed || !known;
  if (answer > 1) {
    busy.assign(std::min<size_t>(static_cast<size_t>(answer), kSurfacesMost), false);
    lastSurface = 0;
  }
  return known;
}

/// Nothing is decoded before the first picture that needs no other, nor what leans on pictures before that.
bool CuvidParser::isDecodable(const CuvidUnit& unit) {
  if (!started) {
    if (!unit.random && splitter->key_frame != 1 && splitter->pict_type != AV_PICTURE_TYPE_I) return false;
    references = 0;
  }
  if (codec.number == cudaVideoCodec_MPEG2) {
    if (splitter->pict_type == AV_PICTURE_TYPE_B) return references > 1 || unit.closedGroup;
    references = std::min(references + 1, 2);
  }
  if (codec.number == cudaVideoCodec_HEVC) {
    if (unit.leading && skipLeading) return false;
    if (unit.random || unit.skipsLeading) skipLeading = unit.skipsLeading && !started;
  }
  return true;
}

void CuvidParser::flushBefore(const CuvidUnit& unit) {
  const bool isBreak = unit.random || (unit.skipsLeading && !started);
  // MPEG-2: the reference before it is shown when the next one comes.
  if (isBreak || (codec.number == cudaVideoCodec_MPEG2 && splitter->pict_type != AV_PICTURE_TYPE_B))
    orderAll();
  started = true;
}

int CuvidParser::takeSurface() {
  for (size_t step = 1; step <= busy.size(); ++step) {
    const size_t surface = (lastSurface + step) % busy.size();
    if (busy[surface]) continue;
    busy[surface] = true;
    lastSurface = surface;
    return static_cast<int>(surface);
  }
  // All wait to be shown: the first has to go.
  if (due.empty()) orderFirst();
  show(due.size() - 1);
  return takeSurface();
}

void CuvidParser::decode(const CuvidUnit& unit, const uint8_t* bytes, int size, int surface, bool second) {
  const auto picture = std::make_unique<CUVIDPICPARAMS>();
  picture->PicWidthInMbs = static_cast<int>(sequence.format.coded_width + 15) / 16;
  picture->FrameHeightInMbs = static_cast<int>(sequence.format.coded_height + 15) / 16;
  picture->CurrPicIdx = surface;
  picture->field_pic_flag = second || (codec.number == cudaVideoCodec_H264 &&
                                       splitter->picture_structure != AV_PICTURE_STRUCTURE_FRAME);
  picture->bottom_field_flag = splitter->picture_structure == AV_PICTURE_STRUCTURE_BOTTOM_FIELD;
  picture->second_field = second;
  picture->nBitstreamDataLen = static_cast<unsigned>(size);
  picture->pBitstreamData = bytes;
  picture->nNumSlices = static_cast<unsigned>(unit.slices.size());
  picture->pSliceDataOffsets = unit.slices.data();
  picture->ref_pic_flag = unit.isReference;
  picture->intra_pic_flag = splitter->pict_type == AV_PICTURE_TYPE_I;
  if (callbacks.pfnDecodePicture == nullptr) return;
  if (callbacks.pfnDecodePicture(callbacks.pUserData, picture.get()) <= 0) failed = true;
}

void CuvidParser::enqueue(int surface) {
  Picture picture{};
  picture.info.picture_index = surface;
  const int fields = splitter->field_order;
  picture.info.progressive_frame = fields == AV_FIELD_PROGRESSIVE || fields == AV_FIELD_UNKNOWN;
  picture.info.top_field_first = fields != AV_FIELD_BB && fields != AV_FIELD_BT;
  if (codec.number == cudaVideoCodec_MPEG2) {
    // libavcodec counts half pictures beyond the first.
    const int repeat = splitter->repeat_pict;
    picture.info.repeat_first_field = repeat == 2 ? 1 : repeat == 3 ? 2 : repeat == 5 ? 4 : 0;
  }
  picture.info.timestamp = splitter->pts != AV_NOPTS_VALUE ? splitter->pts : 0;
  picture.order = splitter->output_picture_number;
  // MPEG-2: what is coded last of two is shown first.
  if (codec.number == cudaVideoCodec_MPEG2) picture.order = splitter->pict_type == AV_PICTURE_TYPE_B ? 0 : 1;
  waiting.push_back(picture);
}

void CuvidParser::endPair(bool isUnpaired) {
  if (!pair) return;
  if (isUnpaired) pair->info.repeat_first_field = -1;
  pair->info.progressive_frame = 0;
  waiting.push_back(*pair);
  pair.reset();
}

void CuvidParser::orderFirst() {
  const auto first = std::min_element(waiting.begin(), waiting.end(),
                                      [](const Picture& a, const Picture& b) { return a.order < b.order; });
  if (first == waiting.end()) return;
  due.push_back(*first);
  waiting.erase(first);
}

void CuvidParser::orderAll() {
  while (!waiting.empty()) orderFirst();
}

void CuvidParser::show(size_t delay) {
  while (due.size() > delay) {
    Picture picture = due.front();
    due.pop_front();
    const auto surface = static_cast<size_t>(picture.info.picture_index);
    if (surface < busy.size()) busy[surface] = false;
    if (callbacks.pfnDisplayPicture == nullptr) continue;
    if (callbacks.pfnDisplayPicture(callbacks.pUserData, &picture.info) <= 0) failed = true;
  }
}

}  // namespace qvs::fakes
