// The C interface of the video decoders.
#include <iterator>
#include <new>

#include "mc_dec_video.h"
#include "video/VideoStream.h"

namespace {

using namespace qvs::mc;

bool startsAvcPicture(uint8_t code) {
  const int type = code & 31;
  return type == 1 || type == 2 || type == 5;
}

bool startsMpeg2Picture(uint8_t code) {
  return code == 0 || code == 0xB8;
}

bool startsMpeg4Picture(uint8_t code) {
  return code == 0xB6 || code == 0xB3;
}

constexpr VideoCodecRow kAvc{AV_CODEC_ID_H264, readAvcUnits, AspectKind::kPicture, true, startsAvcPicture};
constexpr VideoCodecRow kHevc{AV_CODEC_ID_HEVC, readParsedUnits, AspectKind::kPicture, false};
constexpr VideoCodecRow kMpeg{AV_CODEC_ID_MPEG2VIDEO, readMpeg2Units, AspectKind::kCode, true,
                              startsMpeg2Picture};
constexpr VideoCodecRow kMpeg4In[] = {
    {AV_CODEC_ID_MPEG4, readParsedUnits, AspectKind::kPixel, true, startsMpeg4Picture},
    {AV_CODEC_ID_H263, readFirstPicture, AspectKind::kPixel, false},
    {AV_CODEC_ID_FLV1, readFirstPicture, AspectKind::kPixel, false},
};

bufstream_tt* create(const VideoCodecRow& row) {
  const AvLibrary* av = AvLibrary::codecs();
  if (av == nullptr || av->avcodec_find_decoder(row.codec) == nullptr) return nullptr;
  auto* made = new (std::nothrow) VideoStream(row);
  return made != nullptr ? made->stream() : nullptr;
}

}  // namespace

extern "C" {

bufstream_tt* createDecoderAVC(callbacks_t*, uint32_t, uint32_t) {
  return create(kAvc);
}

bufstream_tt* createDecoderHEVC(callbacks_t*, uint32_t, uint32_t) {
  return create(kHevc);
}

bufstream_tt* open_mpeg4in_Video_stream_ex(callbacks_t*, uint32_t kind, uint32_t) {
  return kind < std::size(kMpeg4In) ? create(kMpeg4In[kind]) : nullptr;
}

bufstream_tt* createDecoderMPEG(callbacks_t*, uint32_t, uint32_t) {
  return create(kMpeg);
}
}
