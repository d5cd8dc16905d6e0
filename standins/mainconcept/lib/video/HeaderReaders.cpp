// Stream descriptions out of each codec's configuration or first picture.
#include "video/HeaderReaders.h"

#include <memory>

#include "video/AvcHeader.h"
#include "video/CodecContext.h"
#include "video/Mpeg2Header.h"

namespace qvs::mc {

namespace {

constexpr size_t kStartCodeLength = 3;

struct ParserClose {
  void operator()(AVCodecParserContext* parser) const { AvLibrary::codecs()->av_parser_close(parser); }
};

void takeRate(const AVCodecContext& context, SequenceInfo& info) {
  if (context.framerate.num <= 0 || context.framerate.den <= 0) return;
  info.rateNumerator = context.framerate.num;
  info.rateDenominator = context.framerate.den;
}

}  // namespace

std::optional<SequenceInfo> readAvcUnits(UnitBuffer& header, AVCodecID) {
  return readAvcHeader(header.data(), header.size());
}

std::optional<SequenceInfo> readMpeg2Units(UnitBuffer& header, AVCodecID) {
  return readMpeg2Header(header.data(), header.size());
}

std::optional<SequenceInfo> readParsedUnits(UnitBuffer& header, AVCodecID codec) {
  if (header.empty()) return std::nullopt;
  const AvLibrary& av = *AvLibrary::codecs();
  AvContextPtr context(av.avcodec_alloc_context3(av.avcodec_find_decoder(codec)));
  std::unique_ptr<AVCodecParserContext, ParserClose> parser(av.av_parser_init(codec));
  AvPacketPtr packet(av.av_packet_alloc());
  if (!context || !parser || !packet) return std::nullopt;
  context->log_level_offset = kAvSilence;
  // The bytes are one whole: nothing is to be kept for a next call.
  parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
  header.lend(*packet);
  uint8_t* out = nullptr;
  int outSize = 0;
  av.av_parser_parse2(parser.get(), context.get(), &out, &outSize, packet->data, packet->size, 0, 0, 0);
  packet->buf = nullptr;
  // Some parsers tell a size of their own, others write it where the codec's stands.
  SequenceInfo info{.width = parser->width > 0 ? parser->width : context->width,
                    .height = parser->height > 0 ? parser->height : context->height,
                    .pixelAspectWidth = context->sample_aspect_ratio.num,
                    .pixelAspectHeight = context->sample_aspect_ratio.den};
  takeRate(*context, info);
  if (info.width <= 0 || info.height <= 0) return std::nullopt;
  return info;
}

std::optional<SequenceInfo> readFirstPicture(UnitBuffer& header, AVCodecID codec) {
  if (header.size() <= kStartCodeLength) return SequenceInfo{};
  CodecContext context;
  const UnitBuffer none;
  if (!context.open(codec, {}, none)) return std::nullopt;
  // A codec of its own, thrown away: the picture comes again as the first unit.
  CodecResult result = context.decode(header, 0);
  if (result == CodecResult::kNothing) result = context.drain();
  if (result != CodecResult::kPicture) return std::nullopt;
  return describe(context.info(), context.picture());
}

SequenceInfo describe(const AVCodecContext& context, const AVFrame& picture) {
  SequenceInfo info{.width = picture.width,
                    .height = picture.height,
                    .pixelAspectWidth = picture.sample_aspect_ratio.num,
                    .pixelAspectHeight = picture.sample_aspect_ratio.den};
  takeRate(context, info);
  return info;
}

}  // namespace qvs::mc
