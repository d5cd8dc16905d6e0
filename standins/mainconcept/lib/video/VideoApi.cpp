// The C interface of the video decoders.
#include <iterator>
#include <new>

#include "mc_dec_video.h"
#include "video/VideoStream.h"

namespace {

using namespace qvs::mc;

constexpr VideoCodecRow kAvc{AV_CODEC_ID_H264, readAvcUnits, AspectKind::kPicture, true};
constexpr VideoCodecRow kHevc{AV_CODEC_ID_HEVC, nullptr, AspectKind::kPicture, false};
constexpr VideoCodecRow kMpeg{AV_CODEC_ID_MPEG2VIDEO, readMpeg2Units, AspectKind::kCode, true};
constexpr VideoCodecRow kMpeg4In[] = {
    {AV_CODEC_ID_MPEG4, readMpeg4Units, AspectKind::kPixel, true},
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
