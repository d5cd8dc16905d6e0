// MPEG-1 and MPEG-2 video in, with a queue of waiting units.
#include "video/decoders/VideoDecoderMP2.h"

#include <fmt/format.h>
#include <mc_decoder_codes.h>

#include <algorithm>
#include <new>

#include "contract/StageIds.h"
#include "log/ILogger.h"
#include "platform/Guard.h"

namespace qvs {

namespace {

constexpr BufStreamCodec kRow{
    .labels = QVS_BUFSTREAM_LABELS("VideoDecoderMP2"),
    .codec = kVideoCodecMPEG2,
    .record = UnitRecord::kUserData,
    .infoFlags = SEQ_HDR_FLAG,
    .infoAlwaysReported = true,
    .secondFetch = SecondFetch::kByTimecode,
    .unitPerBlock = true,
    .plainDoubleRate = true,
    .asksDeinterlace = true,
    .missingInfo = kSuccess,
};

constexpr uint8_t kSuffix[] = {0, 0, 1, 0xB8};

struct Ratio {
  int32_t width;
  int32_t height;
};
// By aspect_ratio_information, of the whole picture; code 1 gives a square one.
constexpr Ratio kRatios[16] = {{0, 1}, {1, 1}, {4, 3}, {16, 9}, {221, 100}, {0, 1}, {0, 1}, {0, 1},
                               {0, 1}, {0, 1}, {0, 1}, {0, 1},  {0, 1},     {0, 1}, {0, 1}, {0, 1}};

Ratio ratioOf(const mc_seq_params_ex_t& info) {
  const int32_t code = info.aspect_ratio_information;
  return code >= 1 && code <= 14 ? kRatios[code] : Ratio{0, 1};
}

}  // namespace

VideoDecoderMP2::VideoDecoderMP2() : VideoDecoderBufferStream(kRow) {}

bufstream_tt* VideoDecoderMP2::createBackEnd(callbacks_t* callbacks) {
  return createDecoderMPEG(callbacks, 0, 0);
}

uint32_t VideoDecoderMP2::decodeCodecConfig(uint8_t* buffer, uint32_t offset, uint32_t len) {
  return guarded(kRow.labels.decodeCodecConfig,
                 [&]() -> uint32_t { return setUpWithHeader(recordOf(buffer, offset, len), kSuffix); });
}

// Only the block added last is still the caller's: those before it were copied in their turn. A unit that is
// decoded before the next one comes is never copied.
bool VideoDecoderMP2::keepLast() {
  if (bufferList.empty()) return true;
  ByteBlock& last = bufferList[bufferList.size() - 1];
  if (last.kept != nullptr) return true;
  std::unique_ptr<uint8_t[]> copy(new (std::nothrow) uint8_t[last.len]);
  if (copy == nullptr) {
    bufferList.popBack();  // its bytes are about to go
    return false;
  }
  std::copy_n(last.buffer, last.len, copy.get());
  last.buffer = copy.get();
  last.kept = std::move(copy);
  return true;
}

uint32_t VideoDecoderMP2::addFrame(uint8_t* buffer, uint32_t offset, uint32_t len, uint64_t timecode,
                                   uint32_t frameType) {
  return guarded(kRow.labels.addFrame, [&]() -> uint32_t {
    const bool holdsBytes = buffer != nullptr && len != 0;
    if (holdsBytes && bufferList.size() > kQueueMax) bufferList.clear();
    const bool kept = keepLast();
    if (holdsBytes) bufferList.push({buffer + offset, len, timecode, frameType});
    if (kept) return kSuccess;
    getLogger()->error(kLogContextVideoDecoder, 0,
                       "VideoDecoderMP2.addFrame[{context}]: No memory to queue a unit: it is lost");
    return kFailure;
  });
}

void VideoDecoderMP2::readDisplaySize(const mc_seq_params_ex_t& info, uint32_t* width,
                                      uint32_t* height) const {
  *width = static_cast<uint32_t>(info.horizontal_size);
  *height = static_cast<uint32_t>(info.vertical_size);
  const Ratio ratio = ratioOf(info);
  if (ratio.width >= 1 && ratio.height >= 1)
    *width = static_cast<uint32_t>(int64_t{ratio.width} * info.vertical_size / ratio.height);
}

std::string VideoDecoderMP2::describeAspect(const mc_seq_params_ex_t& info) const {
  const Ratio ratio = ratioOf(info);
  return fmt::format("aspect[{}]:{}x{}", info.aspect_ratio_information, ratio.width, ratio.height);
}

}  // namespace qvs
