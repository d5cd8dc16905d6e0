#pragma once

extern "C" {
#include <libavformat/avformat.h>
}

#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

namespace qvs::test {

using MediaBytes = std::vector<uint8_t>;

/// One coded unit as a server hands it to a session.
struct MediaUnit {
  MediaBytes bytes;
  uint64_t timecode = 0;   ///< milliseconds
  uint32_t frameType = 0;  ///< 1 key, 2 other
  int64_t dts = 0;         ///< position in decoding order
};

/// The first video stream of a file in the form that a server has: H.264 and H.265 length-prefixed behind a
/// configuration record, MPEG-4 and MPEG-2 behind their headers, the others bare.
class MediaStream {
 public:
  explicit MediaStream(const std::filesystem::path& path);

  /// The decoder's codec number; 0 where the file holds no stream of ours.
  uint32_t getCodec() const { return codec; }
  /// VP8 or VP9 under their common number; 0 where a codec has no versions.
  uint32_t getCodecVersion() const {
    return codec != 8 ? 0 : parameters().codec_id == AV_CODEC_ID_VP9 ? 9 : 8;
  }
  const AVCodecParameters& parameters() const { return *context->streams[stream]->codecpar; }
  const MediaBytes& getConfig() const { return config; }

  /// False at the end.
  bool next(MediaUnit& unit);

  /// The unit in the demuxer's own form, as libavcodec takes it; valid until the next call of `next`.
  const AVPacket& rawPacket() const { return *packet; }

 private:
  struct FormatClose {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
  };
  struct PacketFree {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
  };

  void makeConfig();

  std::unique_ptr<AVFormatContext, FormatClose> context;
  std::unique_ptr<AVPacket, PacketFree> packet{av_packet_alloc()};
  MediaBytes config;
  uint32_t codec = 0;
  int stream = -1;
  bool startCodes = false;  ///< H.264 or H.265 in Annex B form
  int64_t count = 0;
};

/// The NAL units of an Annex B stream.
std::vector<MediaBytes> splitStartCodes(const uint8_t* bytes, size_t size);
/// Each unit behind its length in `lengthSize` bytes.
MediaBytes joinLengthPrefixed(const std::vector<MediaBytes>& units, uint32_t lengthSize = 4);
/// Configuration records out of units; empty without the parameter sets.
MediaBytes makeAvcRecord(const std::vector<MediaBytes>& units);
MediaBytes makeHevcRecord(const std::vector<MediaBytes>& units);

}  // namespace qvs::test
