// MPEG-4 part 2, H.263 and Sorenson Spark in.
#include "video/decoders/VideoDecoderMP4.h"

#include <fmt/format.h>
#include <mc_decoder_codes.h>

#include "contract/StageIds.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr BufStreamCodec kRow{
    .labels = QVS_BUFSTREAM_LABELS("VideoDecoderMP4"),
    .codec = kVideoCodecMP4,
    .record = UnitRecord::kUserData,
    .infoFlags = SEQ_HDR_FLAG,
    .infoAlwaysReported = true,
    .secondFetch = SecondFetch::kByTimecode,
    .unitPerBlock = true,
    .plainDoubleRate = false,
    .asksDeinterlace = true,
    .missingInfo = kSuccess,
};

constexpr uint8_t kSuffix[] = {0, 0, 1};

}  // namespace

VideoDecoderMP4::VideoDecoderMP4() : VideoDecoderBufferStream(kRow) {}

bufstream_tt* VideoDecoderMP4::createBackEnd(callbacks_t* callbacks) {
  const uint32_t kind = codec == kCodecH263       ? MPEG4IN_H263
                        : codec == kCodecSorenson ? MPEG4IN_SORENSON
                                                  : MPEG4IN_MPEG4;
  return open_mpeg4in_Video_stream_ex(callbacks, kind, 0);
}

uint32_t VideoDecoderMP4::decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return guarded(kRow.labels.decodeCodecConfig,
                 [&]() -> uint32_t { return setUpWithHeader(recordOf(buffer, offset, len), kSuffix); });
}

uint32_t VideoDecoderMP4::addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                   uint32_t frameType) {
  return guarded(kRow.labels.addFrame, [&]() -> uint32_t {
    bufferList.clear();
    if (buffer != nullptr && len != 0) bufferList.push({buffer + offset, len, timecode, frameType});
    return kSuccess;
  });
}

void VideoDecoderMP4::readDisplaySize(const mc_seq_params_ex_t& info, uint32_t* width,
                                      uint32_t* height) const {
  *width = static_cast<uint32_t>(info.horizontal_size);
  *height = static_cast<uint32_t>(info.vertical_size);
  if (info.aspect_ratio_width > 0 && info.aspect_ratio_height > 0) {
    *width = static_cast<uint32_t>(int64_t{info.aspect_ratio_width} * info.horizontal_size /
                                   info.aspect_ratio_height);
  }
}

std::string VideoDecoderMP4::describeAspect(const mc_seq_params_ex_t& info) const {
  return fmt::format("aspect: PAR:{}x{}", info.aspect_ratio_width, info.aspect_ratio_height);
}

}  // namespace qvs
