#include "support/MediaStream.h"

#include <algorithm>
#include <array>

namespace qvs::test {

namespace {

struct CodecNumber {
  AVCodecID id;
  uint32_t codec;
};
constexpr CodecNumber kCodecs[] = {
    {AV_CODEC_ID_H264, 7},        {AV_CODEC_ID_HEVC, 12},      {AV_CODEC_ID_MPEG4, 10}, {AV_CODEC_ID_H263, 9},
    {AV_CODEC_ID_FLV1, 2},        {AV_CODEC_ID_H263P, 9},      {AV_CODEC_ID_VP8, 8},    {AV_CODEC_ID_VP9, 8},
    {AV_CODEC_ID_MPEG2VIDEO, 11}, {AV_CODEC_ID_MPEG1VIDEO, 11}};

uint32_t codecOf(AVCodecID id) {
  for (const CodecNumber& row : kCodecs) {
    if (row.id == id) return row.codec;
  }
  return 0;
}

void appendNumber(MediaBytes& bytes, size_t value, uint32_t size) {
  for (uint32_t i = size; i-- != 0;) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

void appendUnit(MediaBytes& bytes, const MediaBytes& unit, uint32_t lengthSize) {
  appendNumber(bytes, unit.size(), lengthSize);
  bytes.insert(bytes.end(), unit.begin(), unit.end());
}

const MediaBytes* findUnit(const std::vector<MediaBytes>& units, uint32_t shift, uint32_t mask,
                           uint32_t type) {
  const auto found = std::find_if(units.begin(), units.end(),
                                  [&](const MediaBytes& unit) { return (unit[0] >> shift & mask) == type; });
  return found != units.end() ? &*found : nullptr;
}

}  // namespace

std::vector<MediaBytes> splitStartCodes(const uint8_t* bytes, size_t size) {
  std::vector<MediaBytes> units;
  size_t begin = size;
  for (size_t at = 0; at <= size; ++at) {
    const bool end = at == size;
    if (!end && (at + 3 > size || bytes[at] != 0 || bytes[at + 1] != 0 || bytes[at + 2] != 1)) continue;
    size_t stop = at;
    while (stop > begin && bytes[stop - 1] == 0) --stop;
    if (begin < stop) units.emplace_back(bytes + begin, bytes + stop);
    begin = at + 3;
  }
  return units;
}

MediaBytes joinLengthPrefixed(const std::vector<MediaBytes>& units, uint32_t lengthSize) {
  MediaBytes bytes;
  for (const MediaBytes& unit : units) appendUnit(bytes, unit, lengthSize);
  return bytes;
}

MediaBytes makeAvcRecord(const std::vector<MediaBytes>& units) {
  const MediaBytes* sps = findUnit(units, 0, 31, 7);
  const MediaBytes* pps = findUnit(units, 0, 31, 8);
  if (sps == nullptr || pps == nullptr || sps->size() < 4) return {};
  MediaBytes record{1, (*sps)[1], (*sps)[2], (*sps)[3], 0xFF, 0xE1};
  appendUnit(record, *sps, 2);
  record.push_back(1);
  appendUnit(record, *pps, 2);
  return record;
}

MediaBytes makeHevcRecord(const std::vector<MediaBytes>& units) {
  MediaBytes record(22);
  record[0] = 1;
  record[21] = 0xFF;
  record.push_back(3);
  for (const uint32_t type : {32u, 33u, 34u}) {
    const MediaBytes* set = findUnit(units, 1, 63, type);
    if (set == nullptr) return {};
    record.push_back(static_cast<uint8_t>(0x80 | type));
    appendNumber(record, 1, 2);
    appendUnit(record, *set, 2);
  }
  return record;
}

MediaStream::MediaStream(const std::filesystem::path& path) {
  AVFormatContext* opened = nullptr;
  if (avformat_open_input(&opened, path.c_str(), nullptr, nullptr) != 0) return;
  context.reset(opened);
  if (avformat_find_stream_info(context.get(), nullptr) < 0) return;
  for (unsigned i = 0; i < context->nb_streams && codec == 0; ++i) {
    if (context->streams[i]->codecpar->codec_type != AVMEDIA_TYPE_VIDEO) continue;
    codec = codecOf(context->streams[i]->codecpar->codec_id);
    stream = static_cast<int>(i);
  }
  if (codec != 0) makeConfig();
}

void MediaStream::makeConfig() {
  const AVCodecParameters& from = parameters();
  const auto size = static_cast<size_t>(from.extradata_size);
  const bool h26x = codec == 7 || codec == 12;
  startCodes = h26x && (size == 0 || from.extradata[0] == 0);
  if (startCodes) {
    const auto units = splitStartCodes(from.extradata, size);
    config = codec == 7 ? makeAvcRecord(units) : makeHevcRecord(units);
  } else if (codec != 9 && codec != 8 && codec != 2 && size != 0) {
    config.assign(from.extradata, from.extradata + size);
  }
}

bool MediaStream::next(MediaUnit& unit) {
  do {
    av_packet_unref(packet.get());
    if (av_read_frame(context.get(), packet.get()) < 0) return false;
  } while (packet->stream_index != stream);
  if (startCodes) {
    unit.bytes = joinLengthPrefixed(splitStartCodes(packet->data, static_cast<size_t>(packet->size)));
  } else {
    unit.bytes.assign(packet->data, packet->data + packet->size);
  }
  unit.dts = count++;
  const AVRational base = context->streams[stream]->time_base;
  unit.timecode = packet->pts != AV_NOPTS_VALUE
                      ? static_cast<uint64_t>(av_rescale(packet->pts, 1000 * base.num, base.den))
                      : static_cast<uint64_t>(unit.dts) * 40;
  unit.frameType = (packet->flags & AV_PKT_FLAG_KEY) != 0 ? 1 : 2;
  return true;
}

}  // namespace qvs::test
