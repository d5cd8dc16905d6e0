// The containers and codecs that are taken without being asked for.
#include "media/FormatLists.h"

#include "media/AvHandles.h"

#include <cstring>

extern "C" {
#include <libavutil/avstring.h>
#include <libavutil/dict.h>
}

namespace qvs::host {

namespace {

constexpr const char* kFormats =
    "mov,matroska,avi,flv,live_flv,mpegts,mpeg,mpegvideo,asf,ogg,mxf,ivf,gif,apng,nut,dv,rm,h261,h263,h264,"
    "hevc,m4v,obu,av1,"
    "mjpeg,vc1,vc1test,dnxhd,dirac,yuv4mpegpipe,image2,image2pipe,bmp_pipe,dpx_pipe,exr_pipe,j2k_pipe,jpeg_"
    "pipe,"
    "jpegls_pipe,pam_pipe,pbm_pipe,pgm_pipe,png_pipe,ppm_pipe,tiff_pipe,webp_pipe,gif_pipe,"
    "aac,ac3,eac3,adts,aiff,amr,amrnb,amrwb,ape,au,caf,dts,dtshd,flac,gsm,loas,mp3,mpc,mpc8,oma,shn,sox,tak,"
    "truehd,tta,"
    "voc,w64,wav,wv,xwma,ast,ircam,nistsphere,codec2,g722,alaw,mulaw,s16le,s16be,s24le,s32le,f32le,u8";
constexpr const char* kFormatsOfServers = ",hls";
// By the start of their decoders' names: libavcodec may have several of a codec.
constexpr const char* kCodecs[] = {
    "h26",         "hevc",     "mpeg",      "msmpeg4", "vp3",      "vp4",         "vp5",     "vp6",
    "vp7",         "vp8",      "vp9",       "libvpx",  "av1",      "libdav1d",    "libaom",  "flv",
    "theora",      "prores",   "dnxhd",     "mjpeg",   "jpeg",     "libopenjpeg", "vc1",     "wmv",
    "gif",         "png",      "apng",      "bmp",     "tiff",     "webp",        "dpx",     "exr",
    "targa",       "ppm",      "pgm",       "pbm",     "pam",      "dvvideo",     "ffv",     "huffyuv",
    "utvideo",     "rawvideo", "v210",      "v308",    "v408",     "v410",        "yuv4",    "cinepak",
    "svq",         "indeo",    "rv",        "qtrle",   "cfhd",     "hap",         "msrle",   "dirac",
    "vp",          "magicyuv", "aac",       "ac3",     "eac3",     "adpcm",       "alac",    "amr",
    "libopencore", "ape",      "dca",       "flac",    "gsm",      "libgsm",      "ilbc",    "mp1",
    "mp2",         "mp3",      "mpc",       "mlp",     "truehd",   "nellymoser",  "opus",    "libopus",
    "pcm",         "qcelp",    "qdm",       "ra_",     "cook",     "sipr",        "atrac",   "shorten",
    "speex",       "libspeex", "tak",       "tta",     "vorbis",   "libvorbis",   "wavpack", "wma",
    "g72",         "codec2",   "libcodec2", "libfdk",  "ccaption", "s302m",       "dolby_e", "dst",
    "dsd"};

std::string decoders() {
  std::string names;
  void* at = nullptr;
  while (const AVCodec* codec = av_codec_iterate(&at)) {
    if (!av_codec_is_decoder(codec)) continue;
    for (const char* start : kCodecs) {
      if (std::strncmp(codec->name, start, std::strlen(start)) != 0) continue;
      names += (names.empty() ? "" : ",") + std::string(codec->name);
      break;
    }
  }
  return names;
}

std::string formats(bool url) {
  return std::string(kFormats) + (url ? kFormatsOfServers : "");
}

}  // namespace

void FormatLists::apply(AVDictionary** options, bool url) {
  static const std::string kDecoders = decoders();
  av_dict_set(options, "format_whitelist", formats(url).c_str(), 0);
  av_dict_set(options, "codec_whitelist", kDecoders.c_str(), 0);
}

std::string FormatLists::leftOut(const std::string& path) {
  AVIOContext* bytes = nullptr;
  const AVInputFormat* found = nullptr;
  if (avio_open(&bytes, path.c_str(), AVIO_FLAG_READ) < 0) return {};
  const int score = av_probe_input_buffer2(bytes, &found, path.c_str(), nullptr, 0, 0);
  avio_closep(&bytes);
  if (score <= 0 || !found || av_match_list(found->name, kFormats, ',')) return {};
  return found->name;
}

}  // namespace qvs::host
